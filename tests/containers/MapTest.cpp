#include "ContainerTestSupport.h"

#include <Kito/Progress>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ContainerTesting;

using CodeToName = Map<Tarn::int32, std::string>;
using NameToCode = Map<std::string, Tarn::int32>;
// The form of a later operator's results per label: handles to composites as values.
using ProgressByLabel = Map<Tarn::uint32, SmartPointer<Tarn::Kito::Progress>>;

void expectNoSuchKey(const Failure& failure)
{
    expectIndexOutOfRange(failure, "The index is out of the valid range!", "Tarn::Kito::Container::Map::setValue",
                          "Kito/include/Kito/Map");
}

void expectRefusedValue(const Failure& failure)
{
    expectInvalidArg(failure, "value is not an valid DataPtr",
                     "Tarn::Kito::Container::ImplementationHelper::MapDataWrapper::setValue", "Kito/include/Kito/Map");
}

TEST(MapClassName, NamesKeyAndValueTypes)
{
    EXPECT_EQ(CodeToName().getType(), "Tarn::Kito::Container::Map< Tarn::int32 , std::string >");
    EXPECT_EQ(NameToCode().getType(), "Tarn::Kito::Container::Map< std::string , Tarn::int32 >");
    EXPECT_EQ(ProgressByLabel().getType(), "Tarn::Kito::Container::Map< Tarn::uint32 , Tarn::Kito::Progress >");
    EXPECT_EQ((Map<Tarn::uint8, Tarn::Kito::RegionOfInterestCompositePtr<SizeType>>().getType()),
              "Tarn::Kito::Container::Map< Tarn::uint8 , Tarn::Kito::Roi >");
}

TEST(MapClassName, FactoryMakesEmptyMapsByName)
{
    const auto codes = DynamicCast<MapPtr<Tarn::int32, std::string>>(
        makeByName("Tarn::Kito::Container::Map< Tarn::int32 , std::string >"));
    ASSERT_FALSE(codes == 0);
    EXPECT_TRUE(codes->empty());
    const auto names = DynamicCast<MapPtr<std::string, Tarn::int32>>(
        makeByName("Tarn::Kito::Container::Map< std::string , Tarn::int32 >"));
    ASSERT_FALSE(names == 0);
    EXPECT_TRUE(names->empty());
}

TEST(MapKeys, AreTheKeysAsTextInTheMapsOrder)
{
    CodeToName codes;
    codes[10] = "ten";
    codes[-3] = "minus three";
    codes[2] = "two";
    EXPECT_EQ(static_cast<IComposite&>(codes).size(), 3u);
    // Numeric order, not the order of the texts.
    EXPECT_EQ(keysOf(codes), (std::vector<std::string>{"-3", "2", "10"}));

    NameToCode names{{"b", 2}, {"B", 1}, {"a", 3}};
    EXPECT_EQ(keysOf(names), (std::vector<std::string>{"B", "a", "b"}));
}

TEST(MapKeys, OneKeyTooManyFailsInTheWordsOfSetValue)
{
    NameToCode names{{"Tarn::uint8", 8}};
    expectNoSuchKey(tarnFailureOf([&] { static_cast<IComposite&>(names).getKey(1); }));
    const CodeToName empty;
    expectNoSuchKey(tarnFailureOf([&] { static_cast<const IComposite&>(empty).getKey(0); }));
}

TEST(MapGetValue, GivesTheValueInANewData)
{
    CodeToName codes{{8, "Tarn::uint8"}, {-7, "Tarn::int8"}};
    const SmartPointer<IComposite> value = codes.getValue("-7");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Persistence::Data< std::string >");
    EXPECT_EQ(valueOf<std::string>(value), "Tarn::int8");
    DynamicCast<DataPtr<std::string>>(value)->setValue("changed");
    EXPECT_EQ(codes.at(-7), "Tarn::int8");
    EXPECT_EQ(valueOf<Tarn::int32>(NameToCode{{"x", -40}}.getValue("x")), -40);
}

TEST(MapGetValue, AbsentOrUnreadableKeysFailInTheWordsOfSetValue)
{
    CodeToName codes{{0, "zero"}, {12, "twelve"}};
    for (const char* key : {"5", "abc", "12a", "", "3000000000", "0.5"}) {
        SCOPED_TRACE(key);
        expectNoSuchKey(tarnFailureOf([&] { codes.getValue(key); }));
    }
    NameToCode names{{"a", 1}};
    expectNoSuchKey(tarnFailureOf([&] { names.getValue("A"); }));
}

TEST(MapSetValue, AnExistingKeyIsReplacedAndTheSizeStays)
{
    NameToCode names{{"Tarn::int16", 15}, {"Tarn::uint16", 16}};
    names.setValue("Tarn::int16", dataOf<Tarn::int32>(-15));
    EXPECT_EQ(names.size(), 2u);
    EXPECT_EQ(names.at("Tarn::int16"), -15);
    EXPECT_EQ(names.at("Tarn::uint16"), 16);
}

TEST(MapSetValue, AnAbsentKeyIsInsertedInItsPlace)
{
    CodeToName codes{{1, "one"}, {9, "nine"}};
    codes.setValue("5", dataOf<std::string>("five"));
    codes.setValue("-2", dataOf<std::string>("minus two"));
    EXPECT_EQ(keysOf(codes), (std::vector<std::string>{"-2", "1", "5", "9"}));
    EXPECT_EQ(codes.at(5), "five");
}

TEST(MapSetValue, AValueOfAnotherTypeIsRefused)
{
    CodeToName codes{{1, "one"}};
    expectRefusedValue(tarnFailureOf([&] { codes.setValue("1", dataOf<Tarn::int32>(1)); }));
    expectRefusedValue(tarnFailureOf([&] { codes.setValue("2", SmartPointer<IComposite>()); }));
    // The value is tested before the key.
    expectRefusedValue(tarnFailureOf([&] { codes.setValue("not a number", dataOf<double>(2.0)); }));
    EXPECT_EQ(codes, (std::map<Tarn::int32, std::string>{{1, "one"}}));
}

TEST(MapSetValue, AKeyTextThatIsNoKeyIsRefused)
{
    CodeToName codes{{0, "zero"}};
    for (const char* key : {"abc", "7 7", "2147483648", ""}) {
        SCOPED_TRACE(key);
        expectNoSuchKey(tarnFailureOf([&] { codes.setValue(key, dataOf<std::string>("x")); }));
    }
    EXPECT_EQ(codes, (std::map<Tarn::int32, std::string>{{0, "zero"}}));
    Map<Tarn::uint8, std::string> bytes;
    expectNoSuchKey(tarnFailureOf([&] { bytes.setValue("256", dataOf<std::string>("x")); }));
    expectNoSuchKey(tarnFailureOf([&] { bytes.setValue("-1", dataOf<std::string>("x")); }));
    bytes.setValue("255", dataOf<std::string>("last"));
    EXPECT_EQ(bytes.at(255), "last");
    EXPECT_EQ(keysOf(bytes), (std::vector<std::string>{"255"}));
}

TEST(MapDataWrapper, FillsAPlainMapAsTheCompositeFaceDoes)
{
    using Wrapper = Tarn::Kito::Container::ImplementationHelper::MapDataWrapper<std::string, double>;
    std::map<std::string, double> plain;
    Wrapper::setValue(plain, "x", dataOf<double>(0.5));
    Wrapper::setValue(plain, "x", dataOf<double>(1.5));
    Wrapper::setValue(plain, "y", dataOf<double>(-2.0));
    expectRefusedValue(tarnFailureOf([&] { Wrapper::setValue(plain, "z", dataOf<float>(1.0f)); }));
    EXPECT_EQ(plain, (std::map<std::string, double>{{"x", 1.5}, {"y", -2.0}}));
    EXPECT_EQ(valueOf<double>(Wrapper::getValue(0.25)), 0.25);
}

TEST(MapOfHandles, ValuesTravelAsTheObjectsThemselves)
{
    ProgressByLabel results;
    const SmartPointer<Tarn::Kito::Progress> progress(new Tarn::Kito::Progress);
    results.setValue("7", asComposite(progress));
    ASSERT_EQ(results.count(7), 1u);
    EXPECT_EQ(results.at(7).get(), progress.get());
    EXPECT_EQ(results.getValue("7").get(), static_cast<IComposite*>(progress.get()));
    expectRefusedValue(tarnFailureOf([&] { results.setValue("8", dataOf<double>(0.5)); }));
    expectRefusedValue(tarnFailureOf([&] { results.setValue("8", asComposite(roi(1, 1, 1, 0, 0, 0))); }));
    EXPECT_EQ(results.size(), 1u);
    // The map's operator[] makes an absent element as std::map does: a NULL handle.
    EXPECT_TRUE(results[3] == 0);
    EXPECT_EQ(keysOf(results), (std::vector<std::string>{"3", "7"}));
}

TEST(MapContainer, IsAStdMapWithItsOwnCopies)
{
    NameToCode names{{"a", 1}, {"b", 2}};
    EXPECT_TRUE(names.find("a") != names.end());
    EXPECT_TRUE(names.find("c") == names.end());
    NameToCode copy = names;
    copy.erase("a");
    EXPECT_EQ(names.size(), 2u);
    EXPECT_EQ(keysOf(copy), (std::vector<std::string>{"b"}));
    const MapPtr<std::string, Tarn::int32> handle(std::map<std::string, Tarn::int32>{{"z", 26}});
    EXPECT_EQ(handle->at("z"), 26);
    const MapPtr<std::string, Tarn::int32> same = DynamicCast<MapPtr<std::string, Tarn::int32>>(asComposite(handle));
    EXPECT_EQ(same.get(), handle.get());
}

} // namespace
