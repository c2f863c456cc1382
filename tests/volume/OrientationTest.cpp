#include <Kito/Data>
#include <Kito/Exceptions>
#include <Kito/Orientation>
#include <Kito/SmartPointer>

#include <gtest/gtest.h>
#include <support/FailureOf.h>

#include <stdexcept>
#include <string>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::Orientation;
using Tarn::Kito::OrientationPtr;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;

using Failure = TestSupport::TarnFailure;
using TestSupport::tarnFailureOf;

SmartPointer<IComposite> int8Data(Tarn::int8 value)
{
    return DynamicCast<SmartPointer<IComposite>>(DataPtr<Tarn::int8>(value));
}

Tarn::int8 codeOf(const SmartPointer<IComposite>& value)
{
    const DataPtr<Tarn::int8> data = DynamicCast<DataPtr<Tarn::int8>>(value);
    if (data == 0) throw std::logic_error("not a Data< Tarn::int8 >");
    return data->getValue();
}

TEST(Orientation, DefaultIsTheStorageOrder)
{
    const Orientation o;
    EXPECT_EQ(o.prim, 0);
    EXPECT_EQ(o.sec, 2);
    EXPECT_EQ(o.tert, 4);
}

TEST(Orientation, ConstructorTakesTheCodesInViewOrder)
{
    const Orientation o(5, 0, 3);
    EXPECT_EQ(o.prim, 5);
    EXPECT_EQ(o.sec, 0);
    EXPECT_EQ(o.tert, 3);
}

TEST(Orientation, AxisOfACode)
{
    EXPECT_EQ(Orientation::axisOf(0), 0);
    EXPECT_EQ(Orientation::axisOf(1), 0);
    EXPECT_EQ(Orientation::axisOf(2), 1);
    EXPECT_EQ(Orientation::axisOf(3), 1);
    EXPECT_EQ(Orientation::axisOf(4), 2);
    EXPECT_EQ(Orientation::axisOf(5), 2);
}

TEST(Orientation, OddCodesAreMirrored)
{
    EXPECT_FALSE(Orientation::isMirrored(0));
    EXPECT_TRUE(Orientation::isMirrored(1));
    EXPECT_FALSE(Orientation::isMirrored(2));
    EXPECT_TRUE(Orientation::isMirrored(3));
    EXPECT_FALSE(Orientation::isMirrored(4));
    EXPECT_TRUE(Orientation::isMirrored(5));
}

TEST(Orientation, MirroredAxisHasTheSameAxesButIsNotEqual)
{
    const Orientation plain(0, 2, 4), mirrored(1, 2, 5);
    EXPECT_TRUE(plain.hasSameAxes(mirrored));
    EXPECT_TRUE(mirrored.hasSameAxes(plain));
    EXPECT_FALSE(plain == mirrored);
    EXPECT_TRUE(plain != mirrored);
}

TEST(Orientation, SwappedAxesAreNeitherSameAxesNorEqual)
{
    const Orientation plain(0, 2, 4), swapped(2, 0, 4);
    EXPECT_FALSE(plain.hasSameAxes(swapped));
    EXPECT_FALSE(plain == swapped);
    EXPECT_FALSE(Orientation(0, 2, 4).hasSameAxes(Orientation(0, 4, 2)));
}

TEST(Orientation, EqualCodesAreBothSameAxesAndEqual)
{
    const Orientation a(3, 5, 0), b(3, 5, 0);
    EXPECT_TRUE(a.hasSameAxes(b));
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    EXPECT_TRUE(Orientation() == Orientation(0, 2, 4));
}

TEST(OrientationComposite, NameKeysAndSize)
{
    const Orientation o;
    const IComposite& composite = o;
    EXPECT_EQ(composite.getType(), "Tarn::Kito::Orientation");
    ASSERT_EQ(composite.size(), 3u);
    EXPECT_EQ(composite.getKey(0), "prim");
    EXPECT_EQ(composite.getKey(1), "sec");
    EXPECT_EQ(composite.getKey(2), "tert");
}

TEST(OrientationComposite, GetValueGivesACopyOfTheCode)
{
    Orientation o(1, 3, 5);
    const SmartPointer<IComposite> sec = o.getValue("sec");
    EXPECT_EQ(sec->getType(), "Tarn::Kito::Persistence::Data< Tarn::int8 >");
    EXPECT_EQ(codeOf(sec), 3);
    EXPECT_EQ(codeOf(o.getValue("prim")), 1);
    EXPECT_EQ(codeOf(o.getValue("tert")), 5);
    DynamicCast<DataPtr<Tarn::int8>>(sec)->setValue(0);
    EXPECT_EQ(o.sec, 3);
}

TEST(OrientationComposite, SetValueCopiesWithoutValidation)
{
    Orientation o;
    SmartPointer<IComposite> value = int8Data(1);
    o.setValue("prim", value);
    o.setValue("tert", int8Data(9));
    EXPECT_EQ(o, Orientation(1, 2, 9));
    DynamicCast<DataPtr<Tarn::int8>>(value)->setValue(4);
    EXPECT_EQ(o.prim, 1);
}

TEST(OrientationComposite, ThroughAHandleOfTheInterface)
{
    OrientationPtr o(new Orientation(4, 2, 0));
    SmartPointer<IComposite> asComposite = DynamicCast<SmartPointer<IComposite>>(o);
    asComposite->setValue("sec", int8Data(3));
    EXPECT_EQ(o->sec, 3);
    EXPECT_FALSE(DynamicCast<OrientationPtr>(asComposite) == 0);
}

TEST(OrientationComposite, KeyWithOtherCaseIsUnknownToSetValue)
{
    Orientation o;
    const Failure f = tarnFailureOf([&] { o.setValue("Prim", int8Data(1)); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Orientation::setValue");
    EXPECT_EQ(f.gui, "Invalid argument!");
    EXPECT_EQ(f.error, "");
    EXPECT_EQ(f.file, "Kito/include/Kito/Orientation");
    EXPECT_EQ(o, Orientation());
    EXPECT_THROW(o.setValue("prim ", int8Data(1)), std::invalid_argument);
}

TEST(OrientationComposite, UnknownKeyInGetValue)
{
    Orientation o;
    const Failure f = tarnFailureOf([&] { o.getValue("Prim"); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Orientation::getValue");
    EXPECT_EQ(f.gui, "Invalid argument!");
}

TEST(OrientationComposite, GetKeyBeyondTertFails)
{
    const Orientation o;
    const Failure f = tarnFailureOf([&] { o.getKey(3); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(f.origin, "Tarn::Kito::Orientation::getKey");
    EXPECT_EQ(f.gui, "The index 3 is out of the valid range (0 to 2)!");
    EXPECT_EQ(f.error, "Index out of range!");
    EXPECT_THROW(o.getKey(3), std::out_of_range);
}

TEST(OrientationComposite, NullValueIsRefused)
{
    Orientation o(1, 3, 5);
    try {
        o.setValue("sec", SmartPointer<IComposite>());
        FAIL();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Orientation::setValue data is NULL");
    }
    EXPECT_EQ(o, Orientation(1, 3, 5));
}

TEST(OrientationComposite, ValueOfAnotherTypeCountsAsNull)
{
    Orientation o;
    try {
        o.setValue("sec", DynamicCast<SmartPointer<IComposite>>(DataPtr<Tarn::int16>(3)));
        FAIL();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Orientation::setValue data is NULL");
    }
    EXPECT_EQ(o.sec, 2);
}

} // namespace
