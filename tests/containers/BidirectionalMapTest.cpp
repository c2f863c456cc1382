#include "ContainerTestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

using namespace ContainerTesting;

using TypeCodes = BidirectionalMap<std::string, Tarn::int32>;
using NameToCode = std::map<std::string, Tarn::int32>;
using CodeToName = std::map<Tarn::int32, std::string>;

TypeCodes someCodes()
{
    TypeCodes codes;
    codes.add("Tarn::int8", 7);
    codes.add("Tarn::uint8", 8);
    codes.add("Tarn::float32", 24);
    return codes;
}

void expectSomeCodes(const TypeCodes& codes)
{
    EXPECT_EQ(codes.getFirstToSecond(), (NameToCode{{"Tarn::int8", 7}, {"Tarn::uint8", 8}, {"Tarn::float32", 24}}));
    EXPECT_EQ(codes.getSecondToFirst(), (CodeToName{{7, "Tarn::int8"}, {8, "Tarn::uint8"}, {24, "Tarn::float32"}}));
}

TEST(BidirectionalMapClassName, NamesBothSides)
{
    EXPECT_EQ(TypeCodes().getType(), "Tarn::Kito::Container::BidirectionalMap< std::string , Tarn::int32 >");
    EXPECT_EQ((BidirectionalMap<Tarn::uint8, double>().getType()),
              "Tarn::Kito::Container::BidirectionalMap< Tarn::uint8 , Tarn::float64 >");
}

TEST(BidirectionalMapClassName, FactoryMakesAnEmptyMapByName)
{
    const auto made = DynamicCast<SmartPointer<TypeCodes>>(
        makeByName("Tarn::Kito::Container::BidirectionalMap< std::string , Tarn::int32 >"));
    ASSERT_FALSE(made == 0);
    EXPECT_TRUE(made->getFirstToSecond().empty());
    EXPECT_TRUE(made->getSecondToFirst().empty());
}

TEST(BidirectionalMapAdd, PairsAreFoundFromEitherSide)
{
    const TypeCodes codes = someCodes();
    expectSomeCodes(codes);
    EXPECT_EQ(codes["Tarn::uint8"], 8);
    EXPECT_EQ(codes[std::string("Tarn::float32")], 24);
    EXPECT_EQ(codes[7], "Tarn::int8");
    EXPECT_EQ(codes[24], "Tarn::float32");
}

TEST(BidirectionalMapAdd, ASecondPartnerForTheFirstSideIsRefused)
{
    TypeCodes codes = someCodes();
    EXPECT_EQ(plainInvalidArgumentOf([&] { codes.add("Tarn::uint8", 99); }),
              "Tarn::Kito::Container::BidirectionalMap::add The key already exists!");
    expectSomeCodes(codes);
}

TEST(BidirectionalMapAdd, TheSameSecondTwiceFailsWithTheOtherWordAndChangesNothing)
{
    TypeCodes codes = someCodes();
    EXPECT_EQ(plainInvalidArgumentOf([&] { codes.add("Tarn::int16", 8); }),
              "Tarn::Kito::Container::BidirectionalMap::add This key already exists!");
    expectSomeCodes(codes);
}

TEST(BidirectionalMapLookup, AnAbsentKeyOnEitherSideIsInvalid)
{
    const TypeCodes codes = someCodes();
    EXPECT_EQ(plainInvalidArgumentOf([&] { static_cast<void>(codes["Tarn::int64"]); }),
              "Tarn::Kito::Container::BidirectionalMap::operator[] Invalid key!");
    EXPECT_EQ(plainInvalidArgumentOf([&] { static_cast<void>(codes[0]); }),
              "Tarn::Kito::Container::BidirectionalMap::operator[] Invalid key!");
}

TEST(BidirectionalMapComposite, HasTheTwoMapsAsKeys)
{
    const TypeCodes codes = someCodes();
    const IComposite& composite = codes;
    EXPECT_EQ(composite.size(), 2u);
    EXPECT_EQ(composite.getKey(0), "firstToSecond");
    EXPECT_EQ(composite.getKey(1), "secondToFirst");
    expectIndexOutOfRange(tarnFailureOf([&] { composite.getKey(2); }), "The index 2 is out of the valid range (0 to 1)!",
                          "Tarn::Kito::Container::BidirectionalMap::getKey", "Kito/include/Kito/BidirectionalMap");
}

TEST(BidirectionalMapComposite, ValuesAreCopiesOfTheTwoMaps)
{
    TypeCodes codes = someCodes();
    const SmartPointer<IComposite> forward = codes.getValue("firstToSecond");
    const SmartPointer<IComposite> backward = codes.getValue("secondToFirst");
    EXPECT_EQ(forward->getType(), "Tarn::Kito::Container::Map< std::string , Tarn::int32 >");
    EXPECT_EQ(backward->getType(), "Tarn::Kito::Container::Map< Tarn::int32 , std::string >");
    const auto forwardMap = DynamicCast<MapPtr<std::string, Tarn::int32>>(forward);
    const auto backwardMap = DynamicCast<MapPtr<Tarn::int32, std::string>>(backward);
    ASSERT_FALSE(forwardMap == 0);
    ASSERT_FALSE(backwardMap == 0);
    EXPECT_EQ(*forwardMap, codes.getFirstToSecond());
    EXPECT_EQ(*backwardMap, codes.getSecondToFirst());
    (*forwardMap)["Tarn::int32"] = 31;
    backwardMap->erase(7);
    expectSomeCodes(codes);
}

TEST(BidirectionalMapComposite, UnknownKeysAreRefused)
{
    TypeCodes codes = someCodes();
    expectInvalidArg(tarnFailureOf([&] { codes.getValue("FirstToSecond"); }), "",
                     "Tarn::Kito::Container::BidirectionalMap::getValue", "Kito/include/Kito/BidirectionalMap");
    expectInvalidArg(tarnFailureOf([&] { codes.setValue("pairs", codes.getValue("firstToSecond")); }), "",
                     "Tarn::Kito::Container::BidirectionalMap::setValue", "Kito/include/Kito/BidirectionalMap");
    expectSomeCodes(codes);
}

TEST(BidirectionalMapComposite, EitherMapRebuildsBothSides)
{
    TypeCodes source = someCodes();
    TypeCodes fromFirst;
    fromFirst.add("Tarn::uint64", 64);
    fromFirst.setValue("firstToSecond", source.getValue("firstToSecond"));
    expectSomeCodes(fromFirst);
    TypeCodes fromSecond;
    fromSecond.setValue("secondToFirst", source.getValue("secondToFirst"));
    expectSomeCodes(fromSecond);
    EXPECT_EQ(fromSecond["Tarn::float32"], 24);
    EXPECT_EQ(fromSecond[8], "Tarn::uint8");
}

TEST(BidirectionalMapComposite, AMapThatGivesAValueTwoPartnersChangesNothing)
{
    TypeCodes codes = someCodes();
    const MapPtr<std::string, Tarn::int32> twice(NameToCode{{"a", 1}, {"b", 1}});
    EXPECT_EQ(plainInvalidArgumentOf([&] { codes.setValue("firstToSecond", asComposite(twice)); }),
              "Tarn::Kito::Container::BidirectionalMap::add This key already exists!");
    expectSomeCodes(codes);
}

TEST(BidirectionalMapComposite, AValueThatIsNoMapOfThatSideIsRefused)
{
    TypeCodes codes = someCodes();
    for (const SmartPointer<IComposite>& value :
         {codes.getValue("secondToFirst"), dataOf<Tarn::int32>(3), SmartPointer<IComposite>()}) {
        expectInvalidArg(tarnFailureOf([&] { codes.setValue("firstToSecond", value); }), "value is not a valid MapPtr",
                         "Tarn::Kito::Container::BidirectionalMap::setValue", "Kito/include/Kito/BidirectionalMap");
    }
    expectSomeCodes(codes);
}

} // namespace
