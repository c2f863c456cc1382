#include "ContainerTestSupport.h"

#include <Kito/CompositeOfProperties>
#include <Kito/Progress>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <string>
#include <vector>

namespace {

using namespace ContainerTesting;

using Names = List<std::string>;
using Regions = List<RoiPtr>;

const std::string rule = "=======================================================================";

std::vector<std::string> elementsOf(const std::list<std::string>& list) { return {list.begin(), list.end()}; }

void expectRefusedValue(const Failure& failure)
{
    expectInvalidArg(failure, "value is not an valid DataPtr",
                     "Tarn::Kito::Container::ImplementationHelper::ListDataWrapper::setValue", "Kito/include/Kito/List");
}

void expectRefusedPosition(const Failure& failure)
{
    expectIndexOutOfRange(failure, "The index is out of the valid range!",
                          "Tarn::Kito::Container::ImplementationHelper::ListDataWrapper::setValue", "Kito/include/Kito/List");
}

void expectNoElementToRead(const Failure& failure)
{
    expectIndexOutOfRange(failure, "The index is out of the valid range!", "Tarn::Kito::Container::List::setValue",
                          "Kito/include/Kito/List");
}

// ---- class names --------------------------------------------------------------------------------

TEST(ListClassName, NamesTheElementType)
{
    EXPECT_EQ(Names().getType(), "Tarn::Kito::Container::List< std::string >");
    EXPECT_EQ(List<double>().getType(), "Tarn::Kito::Container::List< Tarn::float64 >");
    EXPECT_EQ(List<Tarn::int8>().getType(), "Tarn::Kito::Container::List< Tarn::int8 >");
}

TEST(ListClassName, AHandleIsNamedAfterItsTarget)
{
    EXPECT_EQ(Regions().getType(), "Tarn::Kito::Container::List< Tarn::Kito::Roi >");
    EXPECT_EQ(List<Tarn::Kito::DimensionCompositePtr<SizeType>>().getType(), "Tarn::Kito::Container::List< Tarn::Kito::Dim >");
    // A composite class without a name of its own for handles: the name its objects give.
    EXPECT_EQ(List<SmartPointer<Tarn::Kito::Progress>>().getType(), "Tarn::Kito::Container::List< Tarn::Kito::Progress >");
}

TEST(ListClassName, FactoryMakesEmptyListsByName)
{
    const ListPtr<std::string> names =
        DynamicCast<ListPtr<std::string>>(makeByName("Tarn::Kito::Container::List< std::string >"));
    ASSERT_FALSE(names == 0);
    EXPECT_TRUE(names->empty());
    const ListPtr<RoiPtr> regions = DynamicCast<ListPtr<RoiPtr>>(makeByName("Tarn::Kito::Container::List< Tarn::Kito::Roi >"));
    ASSERT_FALSE(regions == 0);
    EXPECT_TRUE(regions->empty());
    EXPECT_TRUE((DynamicCast<ListPtr<RoiPtr>>(makeByName("Tarn::Kito::Container::List< std::string >")) == 0));
}

// ---- keys ---------------------------------------------------------------------------------------

TEST(ListKeys, EmptyListHasNoKeyZero)
{
    const Names list;
    const IComposite& composite = list;
    EXPECT_EQ(composite.size(), 0u);
    expectIndexOutOfRange(tarnFailureOf([&] { composite.getKey(0); }), "The index 0 is out of the valid range (0 to 0)!",
                          "Tarn::Kito::Container::List::getKey", "Kito/include/Kito/List");
    EXPECT_EQ(additionalInfoOf([&] { composite.getKey(0); }),
              (std::list<std::string>{"Current index = 0", "Min valid index = 0", "Max valid index = 0", rule}));
}

TEST(ListKeys, AreThePositionsInDecimal)
{
    Names list{"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"};
    const IComposite& composite = list;
    EXPECT_EQ(composite.size(), 12u);
    EXPECT_EQ(composite.getKey(0), "0");
    EXPECT_EQ(composite.getKey(1), "1");
    EXPECT_EQ(composite.getKey(11), "11");
    // The size itself is the upper bound the failure shows.
    EXPECT_EQ(tarnFailureOf([&] { composite.getKey(12); }).gui, "The index 12 is out of the valid range (0 to 12)!");
    EXPECT_EQ(additionalInfoOf([&] { composite.getKey(12); }),
              (std::list<std::string>{"Current index = 12", "Min valid index = 0", "Max valid index = 12", rule}));
}

// ---- reading ------------------------------------------------------------------------------------

TEST(ListGetValue, GivesTheElementInANewData)
{
    Names list{"first", "second"};
    const SmartPointer<IComposite> value = list.getValue("1");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Persistence::Data< std::string >");
    EXPECT_EQ(valueOf<std::string>(value), "second");
    DynamicCast<DataPtr<std::string>>(value)->setValue("changed");
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(valueOf<std::string>(list.getValue("0")), "first");
}

TEST(ListGetValue, BeyondTheEndFailsInTheWordsOfSetValue)
{
    Names list{"only"};
    expectNoElementToRead(tarnFailureOf([&] { list.getValue("1"); }));
    Names empty;
    expectNoElementToRead(tarnFailureOf([&] { empty.getValue("0"); }));
}

TEST(ListGetValue, KeysThatAreNoPositionNameNoElement)
{
    Names list{"a", "b", "c"};
    for (const char* key : {"abc", "1x", "-1", "", "1.5", "99999999999999999999999"}) {
        SCOPED_TRACE(key);
        expectNoElementToRead(tarnFailureOf([&] { list.getValue(key); }));
    }
    EXPECT_EQ(valueOf<std::string>(list.getValue("02")), "c");
}

// ---- writing ------------------------------------------------------------------------------------

TEST(ListSetValue, KeyZeroOnAnEmptyListAppends)
{
    Names list;
    list.setValue("0", dataOf<std::string>("first"));
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"first"}));
    EXPECT_EQ(static_cast<IComposite&>(list).size(), 1u);
}

TEST(ListSetValue, KeysInTurnFillTheList)
{
    Names list;
    list.setValue("0", dataOf<std::string>("a.rek"));
    list.setValue("1", dataOf<std::string>("b.rek"));
    list.setValue("2", dataOf<std::string>("c.rek"));
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"a.rek", "b.rek", "c.rek"}));
}

TEST(ListSetValue, AKeyBelowTheSizeReplaces)
{
    Names list{"a", "b", "c"};
    list.setValue("1", dataOf<std::string>("B"));
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"a", "B", "c"}));
}

TEST(ListSetValue, KeyTwoOnAListOfOneFailsAndDoesNotGrowIt)
{
    Names list{"only"};
    expectRefusedPosition(tarnFailureOf([&] { list.setValue("2", dataOf<std::string>("far")); }));
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"only"}));
}

TEST(ListSetValue, KeysThatAreNoPositionAreRefused)
{
    Names list{"a"};
    for (const char* key : {"one", "0x", "-0", ""}) {
        SCOPED_TRACE(key);
        expectRefusedPosition(tarnFailureOf([&] { list.setValue(key, dataOf<std::string>("z")); }));
    }
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"a"}));
}

TEST(ListSetValue, AValueOfAnotherTypeIsRefused)
{
    Names list{"a"};
    expectRefusedValue(tarnFailureOf([&] { list.setValue("0", dataOf<double>(1.0)); }));
    expectRefusedValue(tarnFailureOf([&] { list.setValue("1", SmartPointer<IComposite>()); }));
    // The value is tested first: a wrong value at a wrong position tells of the value.
    expectRefusedValue(tarnFailureOf([&] { list.setValue("7", dataOf<int>(1)); }));
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"a"}));
}

TEST(ListSetValue, NumbersGoThroughDataOfExactlyTheElementType)
{
    List<Tarn::uint8> bytes;
    bytes.setValue("0", dataOf<Tarn::uint8>(200));
    expectRefusedValue(tarnFailureOf([&] { bytes.setValue("1", dataOf<Tarn::int8>(-1)); }));
    ASSERT_EQ(bytes.size(), 1u);
    EXPECT_EQ(bytes.front(), 200);
    EXPECT_EQ(valueOf<Tarn::uint8>(bytes.getValue("0")), 200);
}

TEST(ListDataWrapper, FillsAPlainListAsTheCompositeFaceDoes)
{
    using Wrapper = Tarn::Kito::Container::ImplementationHelper::ListDataWrapper<Tarn::int32>;
    std::list<Tarn::int32> plain;
    Wrapper::setValue(plain, "0", dataOf<Tarn::int32>(5));
    Wrapper::setValue(plain, "1", dataOf<Tarn::int32>(-6));
    Wrapper::setValue(plain, "0", dataOf<Tarn::int32>(4));
    expectRefusedValue(tarnFailureOf([&] { Wrapper::setValue(plain, "2", dataOf<Tarn::uint32>(5)); }));
    expectRefusedPosition(tarnFailureOf([&] { Wrapper::setValue(plain, "3", dataOf<Tarn::int32>(6)); }));
    EXPECT_EQ(plain, (std::list<Tarn::int32>{4, -6}));
    EXPECT_EQ(valueOf<Tarn::int32>(Wrapper::getValue(-7)), -7);
}

// ---- lists of region composites -----------------------------------------------------------------

TEST(RegionList, ElementsTravelAsTheObjectsThemselves)
{
    Regions list;
    const RoiPtr first = roi(4, 3, 2, 0, 0, 0);
    list.setValue("0", asComposite(first));
    list.setValue("1", asComposite(roi(2, 2, 1, 1, 1, 1)));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list.front().get(), first.get());
    const SmartPointer<IComposite> value = list.getValue("0");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Roi");
    EXPECT_EQ(DynamicCast<RoiPtr>(value).get(), first.get());
    EXPECT_EQ(static_cast<const Region&>(*list.back()), Region(Tarn::Kito::Dimension<SizeType>(2, 2, 1),
                                                                Tarn::Kito::Position<SizeType>(1, 1, 1)));
}

TEST(RegionList, OtherCompositesAndNullAreRefused)
{
    Regions list;
    const auto size = Tarn::Kito::DimensionCompositePtr<SizeType>(new Tarn::Kito::DimensionComposite<SizeType>);
    expectRefusedValue(tarnFailureOf([&] { list.setValue("0", asComposite(size)); }));
    expectRefusedValue(tarnFailureOf([&] { list.setValue("0", SmartPointer<IComposite>()); }));
    expectRefusedValue(tarnFailureOf([&] { list.setValue("0", dataOf<SizeType>(3)); }));
    EXPECT_TRUE(list.empty());
}

// ---- as an ordinary container and a handle ------------------------------------------------------

TEST(ListContainer, IsAStdListWithItsOwnCopies)
{
    Names list{"c", "a", "b"};
    list.sort();
    list.push_front("0");
    Names copy = list;
    copy.pop_back();
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"0", "a", "b", "c"}));
    EXPECT_EQ(elementsOf(copy), (std::vector<std::string>{"0", "a", "b"}));
    EXPECT_EQ(static_cast<IComposite&>(copy).size(), 3u);
    EXPECT_EQ(copy.getType(), "Tarn::Kito::Container::List< std::string >");
    EXPECT_EQ(valueOf<std::string>(copy.getValue("2")), "b");
}

TEST(ListPtr, FromAStdListMakesANewListWithACopy)
{
    std::list<std::string> source{"x", "y"};
    const ListPtr<std::string> list(source);
    source.push_back("z");
    ASSERT_FALSE(list == 0);
    EXPECT_EQ(elementsOf(*list), (std::vector<std::string>{"x", "y"}));
    EXPECT_EQ(list.getOwnerCount(), 1u);
    const ListPtr<std::string> same = DynamicCast<ListPtr<std::string>>(asComposite(list));
    EXPECT_EQ(same.get(), list.get());
    EXPECT_TRUE(ListPtr<std::string>() == 0);
}

// A parameter object's member that holds a list: hosts hand lists of file names in this way.
class FileListParameter : public Tarn::Kito::Persistence::CompositeOfProperties<FileListParameter> {
public:
    Property<ListPtr<std::string>> inputFileList;
    FileListParameter() { append("inputFileList", inputFileList); }
    std::string getType() const override { return "Test::FileListParameter"; }
};

TEST(ListPtr, TravelsThroughAPropertyAsTheSameList)
{
    FileListParameter parameter;
    const ListPtr<std::string> files(std::list<std::string>{"a.rek", "b.rek"});
    parameter.setValue("inputFileList", asComposite(files));
    EXPECT_EQ(parameter.inputFileList.getValue().get(), files.get());
    EXPECT_EQ(parameter.getValue("inputFileList")->getType(), "Tarn::Kito::Container::List< std::string >");
    // A list of another element type is no list of names: the property becomes NULL.
    parameter.setValue("inputFileList", asComposite(ListPtr<RoiPtr>(new Regions)));
    EXPECT_TRUE(parameter.inputFileList.getValue() == 0);
}

} // namespace
