#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/Data>
#include <Kito/Exceptions>
#include <Kito/SmartPointer>
#include <Kito/TripleComposite>

#include <gtest/gtest.h>
#include <support/FailureOf.h>

#include <algorithm>
#include <complex>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

// This instance is compiled once, in the dispatcher library. Using it from here is what makes this
// executable depend on that library (the linker drops libraries nobody calls into), and loading
// the library is what registers every geometry wrapper with the class factory.
extern template class Tarn::Kito::TripleComposite<std::complex<Tarn::uint32>>;

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DimensionComposite;
using Tarn::Kito::DimensionCompositePtr;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::Position;
using Tarn::Kito::PositionComposite;
using Tarn::Kito::PositionCompositePtr;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::RegionOfInterestComposite;
using Tarn::Kito::RegionOfInterestCompositePtr;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Triple;
using Tarn::Kito::TripleComposite;
using Tarn::Kito::Persistence::CompositeOfProperties;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;

using Failure = TestSupport::TarnFailure;
using TestSupport::tarnFailureOf;

template <class E, class F> std::string failureText(F&& action)
{
    try {
        action();
    } catch (const E& failure) {
        return failure.what();
    }
    return "no failure";
}

template <class T> SmartPointer<IComposite> dataOf(const T& value)
{
    return DynamicCast<SmartPointer<IComposite>>(DataPtr<T>(value));
}

template <class T> T valueOf(const SmartPointer<IComposite>& composite)
{
    const DataPtr<T> data = DynamicCast<DataPtr<T>>(composite);
    if (data == 0) throw std::logic_error("not a Data of the expected type");
    return data->getValue();
}

template <class C> SmartPointer<IComposite> compositeOf(C* object)
{
    return DynamicCast<SmartPointer<IComposite>>(SmartPointer<C>(object));
}

// ---- TripleComposite ---------------------------------------------------------------------------

TEST(TripleComposite, ClassNameCarriesTheComponentType)
{
    EXPECT_EQ(TripleComposite<SizeType>().getType(), "Tarn::Kito::Triple< Tarn::uint64 >");
    EXPECT_EQ(TripleComposite<std::complex<double>>().getType(), "Tarn::Kito::Triple< std::complex< Tarn::float64 > >");
    EXPECT_EQ(TripleComposite<std::complex<Tarn::uint8>>().getType(),
              "Tarn::Kito::Triple< std::complex< Tarn::uint8 > >");
    EXPECT_EQ(TripleComposite<bool>().getType(), "Tarn::Kito::Triple< bool >");
    EXPECT_EQ(TripleComposite<std::string>().getType(), "Tarn::Kito::Triple< std::string >");
    EXPECT_EQ(TripleComposite<Tarn::int8>().getType(), "Tarn::Kito::Triple< Tarn::int8 >");
    EXPECT_EQ(TripleComposite<float>().getType(), "Tarn::Kito::Triple< Tarn::float32 >");
}

TEST(TripleComposite, KeysInStorageOrder)
{
    const TripleComposite<double> t;
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t.getKey(0), "prim");
    EXPECT_EQ(t.getKey(1), "sec");
    EXPECT_EQ(t.getKey(2), "tert");
}

TEST(TripleComposite, IsMadeFromItsValueClass)
{
    const TripleComposite<Tarn::int32> t(Triple<Tarn::int32>(-4, 5, -6));
    EXPECT_EQ(t, Triple<Tarn::int32>(-4, 5, -6));
    const TripleComposite<Tarn::int32> zero;
    EXPECT_EQ(zero, Triple<Tarn::int32>(0, 0, 0));
}

TEST(TripleComposite, GetValueGivesANewDataWithACopy)
{
    TripleComposite<float> t(Triple<float>(1.5f, 2.5f, 3.5f));
    const SmartPointer<IComposite> first = t.getValue("sec");
    const SmartPointer<IComposite> second = t.getValue("sec");
    EXPECT_EQ(first->getType(), "Tarn::Kito::Persistence::Data< Tarn::float32 >");
    EXPECT_EQ(valueOf<float>(first), 2.5f);
    EXPECT_NE(first.get(), second.get());
    DynamicCast<DataPtr<float>>(first)->setValue(9.0f);
    EXPECT_EQ(t.sec, 2.5f);
    EXPECT_EQ(valueOf<float>(second), 2.5f);
    EXPECT_EQ(valueOf<float>(t.getValue("prim")), 1.5f);
    EXPECT_EQ(valueOf<float>(t.getValue("tert")), 3.5f);
}

TEST(TripleComposite, SetValueCopiesOutOfTheData)
{
    TripleComposite<SizeType> t;
    const SmartPointer<IComposite> value = dataOf<SizeType>(42);
    t.setValue("tert", value);
    t.setValue("prim", dataOf<SizeType>(std::numeric_limits<SizeType>::max()));
    DynamicCast<DataPtr<SizeType>>(value)->setValue(1);
    EXPECT_EQ(t, Triple<SizeType>(std::numeric_limits<SizeType>::max(), 0, 42));
}

TEST(TripleComposite, TextAndComplexComponentsRoundTrip)
{
    TripleComposite<std::string> names;
    names.setValue("sec", dataOf<std::string>("middle"));
    EXPECT_EQ(valueOf<std::string>(names.getValue("sec")), "middle");
    EXPECT_EQ(names.prim, "");

    TripleComposite<std::complex<Tarn::int16>> waves;
    waves.setValue("prim", dataOf(std::complex<Tarn::int16>(3, -4)));
    EXPECT_EQ(valueOf<std::complex<Tarn::int16>>(waves.getValue("prim")), std::complex<Tarn::int16>(3, -4));

    TripleComposite<bool> flags;
    flags.setValue("tert", dataOf(true));
    EXPECT_EQ(flags, Triple<bool>(false, false, true));
}

TEST(TripleComposite, KeyWithOtherCaseIsUnknown)
{
    TripleComposite<SizeType> t;
    Failure f = tarnFailureOf([&] { t.setValue("Prim", dataOf<SizeType>(1)); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Triple::setValue");
    EXPECT_EQ(f.gui, "Invalid argument!");
    EXPECT_EQ(f.file, "Kito/include/Kito/TripleComposite");
    f = tarnFailureOf([&] { t.getValue("Prim"); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Triple::getValue");
    EXPECT_EQ(t, Triple<SizeType>(0, 0, 0));
}

TEST(TripleComposite, FailureOriginsDoNotNameTheComponentType)
{
    TripleComposite<std::complex<double>> t;
    EXPECT_EQ(tarnFailureOf([&] { t.getValue("dim"); }).origin, "Tarn::Kito::Triple::getValue");
    EXPECT_EQ(tarnFailureOf([&] { t.getKey(3); }).origin, "Tarn::Kito::Triple::getKey");
}

TEST(TripleComposite, GetKeyThreeFails)
{
    const TripleComposite<Tarn::uint8> t;
    const Failure f = tarnFailureOf([&] { t.getKey(3); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(f.origin, "Tarn::Kito::Triple::getKey");
    EXPECT_EQ(f.gui, "The index 3 is out of the valid range (0 to 2)!");
    EXPECT_THROW(t.getKey(3), std::out_of_range);
}

TEST(TripleComposite, ValueOfAnotherComponentTypeIsRefused)
{
    TripleComposite<SizeType> t(Triple<SizeType>(1, 2, 3));
    EXPECT_EQ(failureText<std::invalid_argument>([&] { t.setValue("sec", dataOf<Tarn::int32>(5)); }),
              "Tarn::Kito::Triple::setValue data is NULL");
    EXPECT_EQ(failureText<std::invalid_argument>([&] { t.setValue("sec", SmartPointer<IComposite>()); }),
              "Tarn::Kito::Triple::setValue data is NULL");
    EXPECT_EQ(t, Triple<SizeType>(1, 2, 3));
}

// ---- DimensionComposite and PositionComposite --------------------------------------------------

TEST(DimensionComposite, NameKeysAndValues)
{
    DimensionComposite<SizeType> d(Dimension<SizeType>(4, 5, 6));
    EXPECT_EQ(d.getType(), "Tarn::Kito::Dim");
    ASSERT_EQ(static_cast<const IComposite&>(d).size(), 3u);
    EXPECT_EQ(d.getKey(0), "prim");
    EXPECT_EQ(d.getKey(1), "sec");
    EXPECT_EQ(d.getKey(2), "tert");
    const SmartPointer<IComposite> prim = d.getValue("prim");
    EXPECT_EQ(prim->getType(), "Tarn::Kito::Persistence::Data< Tarn::uint64 >");
    EXPECT_EQ(valueOf<SizeType>(prim), 4u);
    EXPECT_EQ(valueOf<SizeType>(d.getValue("tert")), 6u);
    // Still a size: the voxel count is the value class's.
    EXPECT_EQ(static_cast<const Dimension<SizeType>&>(d).size(), 120u);
}

TEST(DimensionComposite, SetValueDoesNotCheckTheSize)
{
    DimensionComposite<SizeType> d(Dimension<SizeType>(1, 1, 1));
    d.setValue("prim", dataOf<SizeType>(0));
    EXPECT_EQ(d, Dimension<SizeType>(0, 1, 1));
    EXPECT_EQ(failureText<std::out_of_range>([&] { d.check(); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 0 , 1 , 1 ) ");
}

TEST(DimensionComposite, FailuresNameTheClass)
{
    DimensionComposite<SizeType> d;
    Failure f = tarnFailureOf([&] { d.setValue("Prim", dataOf<SizeType>(1)); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Dim::setValue");
    f = tarnFailureOf([&] { d.getValue("Prim"); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Dim::getValue");
    f = tarnFailureOf([&] { d.getKey(3); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(f.origin, "Tarn::Kito::Dim::getKey");
    EXPECT_EQ(failureText<std::invalid_argument>([&] { d.setValue("sec", dataOf<double>(1.0)); }),
              "Tarn::Kito::Dim::setValue data is NULL");
}

TEST(PositionComposite, NameKeysValuesAndFailures)
{
    PositionComposite<SizeType> p(Position<SizeType>(7, 8, 9));
    EXPECT_EQ(p.getType(), "Tarn::Kito::Pos");
    EXPECT_EQ(p.size(), 3u);
    EXPECT_EQ(p.getKey(1), "sec");
    EXPECT_EQ(valueOf<SizeType>(p.getValue("sec")), 8u);
    p.setValue("sec", dataOf<SizeType>(80));
    EXPECT_EQ(p, Position<SizeType>(7, 80, 9));
    EXPECT_EQ(tarnFailureOf([&] { p.setValue("Sec", dataOf<SizeType>(1)); }).origin, "Tarn::Kito::Pos::setValue");
    EXPECT_EQ(tarnFailureOf([&] { p.getValue("Sec"); }).origin, "Tarn::Kito::Pos::getValue");
    const Failure f = tarnFailureOf([&] { p.getKey(3); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(f.origin, "Tarn::Kito::Pos::getKey");
}

// ---- RegionOfInterestComposite -----------------------------------------------------------------

RegionOfInterest<SizeType> sampleRegion()
{
    return RegionOfInterest<SizeType>(Dimension<SizeType>(10, 20, 30), Position<SizeType>(1, 2, 3));
}

TEST(RegionOfInterestComposite, NameAndKeys)
{
    const RegionOfInterestComposite<SizeType> roi(sampleRegion());
    EXPECT_EQ(roi.getType(), "Tarn::Kito::Roi");
    ASSERT_EQ(roi.size(), 2u);
    EXPECT_EQ(roi.getKey(0), "dim");
    EXPECT_EQ(roi.getKey(1), "origin");
}

TEST(RegionOfInterestComposite, GetKeyTwoFails)
{
    const RegionOfInterestComposite<SizeType> roi;
    const Failure f = tarnFailureOf([&] { roi.getKey(2); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(f.origin, "Tarn::Kito::Roi::getKey");
    EXPECT_EQ(f.gui, "The index 2 is out of the valid range (0 to 1)!");
}

TEST(RegionOfInterestComposite, GetValueGivesNewWrappersWithCopies)
{
    RegionOfInterestComposite<SizeType> roi(sampleRegion());
    const SmartPointer<IComposite> dim = roi.getValue("dim");
    const SmartPointer<IComposite> origin = roi.getValue("origin");
    EXPECT_EQ(dim->getType(), "Tarn::Kito::Dim");
    EXPECT_EQ(origin->getType(), "Tarn::Kito::Pos");
    DimensionCompositePtr<SizeType> typedDim = DynamicCast<DimensionCompositePtr<SizeType>>(dim);
    PositionCompositePtr<SizeType> typedOrigin = DynamicCast<PositionCompositePtr<SizeType>>(origin);
    ASSERT_FALSE(typedDim == 0);
    ASSERT_FALSE(typedOrigin == 0);
    EXPECT_EQ(*typedDim, Dimension<SizeType>(10, 20, 30));
    EXPECT_EQ(*typedOrigin, Position<SizeType>(1, 2, 3));
    typedDim->prim = 99;
    typedOrigin->setValue("tert", dataOf<SizeType>(77));
    EXPECT_EQ(roi, sampleRegion());
}

TEST(RegionOfInterestComposite, SetValueCopiesThePartWithoutChecking)
{
    RegionOfInterestComposite<SizeType> roi(sampleRegion());
    DimensionCompositePtr<SizeType> mixed(new DimensionComposite<SizeType>(Dimension<SizeType>(0, 5, 5)));
    roi.setValue("dim", DynamicCast<SmartPointer<IComposite>>(mixed));
    roi.setValue("origin", compositeOf(new PositionComposite<SizeType>(Position<SizeType>(4, 4, 4))));
    mixed->tert = 1;
    EXPECT_EQ(roi.dim, Dimension<SizeType>(0, 5, 5));
    EXPECT_EQ(roi.origin, Position<SizeType>(4, 4, 4));
}

TEST(RegionOfInterestComposite, PartOfTheWrongClassIsRefused)
{
    RegionOfInterestComposite<SizeType> roi(sampleRegion());
    const SmartPointer<IComposite> position = compositeOf(new PositionComposite<SizeType>(Position<SizeType>(9, 9, 9)));
    EXPECT_EQ(failureText<std::invalid_argument>([&] { roi.setValue("dim", position); }),
              "Tarn::Kito::Roi::setValue data is NULL");
    EXPECT_EQ(failureText<std::invalid_argument>([&] { roi.setValue("origin", SmartPointer<IComposite>()); }),
              "Tarn::Kito::Roi::setValue data is NULL");
    EXPECT_EQ(roi, sampleRegion());
}

TEST(RegionOfInterestComposite, UnknownKeysNameTheClass)
{
    RegionOfInterestComposite<SizeType> roi;
    Failure f = tarnFailureOf([&] { roi.setValue("Dim", compositeOf(new DimensionComposite<SizeType>())); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Roi::setValue");
    f = tarnFailureOf([&] { roi.getValue("prim"); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(f.origin, "Tarn::Kito::Roi::getValue");
}

TEST(GeometryTypeNames, HandlesAreNamedAfterTheirTargets)
{
    EXPECT_EQ(Tarn::Kito::typeName<RegionOfInterestCompositePtr<SizeType>>(), "Tarn::Kito::Roi");
    EXPECT_EQ(Tarn::Kito::typeName<DimensionCompositePtr<SizeType>>(), "Tarn::Kito::Dim");
    EXPECT_EQ(Tarn::Kito::typeName<PositionCompositePtr<SizeType>>(), "Tarn::Kito::Pos");
    EXPECT_EQ(Tarn::Kito::typeName<SmartPointer<TripleComposite<std::complex<float>>>>(),
              "Tarn::Kito::Triple< std::complex< Tarn::float32 > >");
}

// ---- Registration with the class factory -------------------------------------------------------

TEST(GeometryFactory, EveryWrapperIsRegistered)
{
    const std::vector<std::string> ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    const char* const expected[] = {
        "Tarn::Kito::Dim",
        "Tarn::Kito::Pos",
        "Tarn::Kito::Roi",
        "Tarn::Kito::Triple< bool >",
        "Tarn::Kito::Triple< std::string >",
        "Tarn::Kito::Triple< Tarn::int8 >",
        "Tarn::Kito::Triple< Tarn::uint8 >",
        "Tarn::Kito::Triple< Tarn::int16 >",
        "Tarn::Kito::Triple< Tarn::uint16 >",
        "Tarn::Kito::Triple< Tarn::int32 >",
        "Tarn::Kito::Triple< Tarn::uint32 >",
        "Tarn::Kito::Triple< Tarn::int64 >",
        "Tarn::Kito::Triple< Tarn::uint64 >",
        "Tarn::Kito::Triple< Tarn::float32 >",
        "Tarn::Kito::Triple< Tarn::float64 >",
        "Tarn::Kito::Triple< std::complex< Tarn::int8 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::uint8 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::int16 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::uint16 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::int32 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::uint32 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::int64 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::uint64 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::float32 > >",
        "Tarn::Kito::Triple< std::complex< Tarn::float64 > >",
    };
    for (const char* id : expected)
        EXPECT_NE(std::find(ids.begin(), ids.end(), id), ids.end()) << id << " is not registered";
}

TEST(GeometryFactory, CreatesAnEmptyWrapperByName)
{
    auto& factory = Tarn::Kito::Factory::DefaultClassFactory::instance();
    // No test here constructs a TripleComposite of complex uint64: the registration comes from
    // the dispatcher library's instances.
    const SmartPointer<IComposite> triple = factory.createInstance("Tarn::Kito::Triple< std::complex< Tarn::uint64 > >");
    ASSERT_FALSE(triple == 0);
    EXPECT_EQ(triple->getType(), "Tarn::Kito::Triple< std::complex< Tarn::uint64 > >");
    EXPECT_EQ(triple->getKey(2), "tert");
    EXPECT_EQ(valueOf<std::complex<Tarn::uint64>>(triple->getValue("sec")), std::complex<Tarn::uint64>(0, 0));

    const SmartPointer<IComposite> roi = factory.createInstance("Tarn::Kito::Roi");
    const RegionOfInterestCompositePtr<SizeType> typed = DynamicCast<RegionOfInterestCompositePtr<SizeType>>(roi);
    ASSERT_FALSE(typed == 0);
    EXPECT_EQ(*typed, RegionOfInterest<SizeType>());
}

TEST(GeometryFactory, InstanceFromTheLibraryIsTheClassSeenHere)
{
    using Wave = TripleComposite<std::complex<Tarn::uint32>>;
    const Wave local(Triple<std::complex<Tarn::uint32>>({1, 2}, {3, 4}, {5, 6}));
    EXPECT_EQ(local.getType(), "Tarn::Kito::Triple< std::complex< Tarn::uint32 > >");
    EXPECT_EQ(valueOf<std::complex<Tarn::uint32>>(const_cast<Wave&>(local).getValue("tert")),
              std::complex<Tarn::uint32>(5, 6));
    const SmartPointer<IComposite> made =
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(local.getType());
    const SmartPointer<Wave> typed = DynamicCast<SmartPointer<Wave>>(made);
    ASSERT_FALSE(typed == 0);
    EXPECT_EQ(*typed, Triple<std::complex<Tarn::uint32>>());
}

// ---- PropertyTripleComposite -------------------------------------------------------------------

class Placement : public CompositeOfProperties<Placement> {
public:
    PropertyTripleComposite<DimensionComposite<SizeType>, SizeType> inputDimension;
    PropertyTripleComposite<PositionComposite<SizeType>, SizeType> inputPosition;
    PropertyTripleComposite<RegionOfInterestComposite<SizeType>, SizeType> inputRegion;
    PropertyTripleComposite<TripleComposite<double>, double> outputScale;

    Placement()
    {
        append("inputDimension", inputDimension);
        append("inputPosition", inputPosition);
        append("inputRegion", inputRegion);
        append("outputScale", outputScale);
    }
    std::string getType() const override { return "Test::Placement"; }
};

TEST(PropertyTripleComposite, GetGivesANewWrapperWithACopy)
{
    Placement p;
    p.inputDimension.setValue(Dimension<SizeType>(3, 4, 5));
    const SmartPointer<IComposite> value = p.getValue("inputDimension");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Dim");
    const DimensionCompositePtr<SizeType> typed = DynamicCast<DimensionCompositePtr<SizeType>>(value);
    ASSERT_FALSE(typed == 0);
    EXPECT_EQ(*typed, Dimension<SizeType>(3, 4, 5));
    typed->sec = 40;
    EXPECT_EQ(p.inputDimension.getValue(), Dimension<SizeType>(3, 4, 5));
    EXPECT_NE(p.getValue("inputDimension").get(), value.get());
}

TEST(PropertyTripleComposite, SetCopiesTheComponentsWithoutChecking)
{
    Placement p;
    DimensionCompositePtr<SizeType> given(new DimensionComposite<SizeType>(Dimension<SizeType>(0, 7, 0)));
    p.setValue("inputDimension", DynamicCast<SmartPointer<IComposite>>(given));
    given->prim = 1;
    EXPECT_EQ(p.inputDimension.getValue(), Dimension<SizeType>(0, 7, 0));
    EXPECT_THROW(p.inputDimension.getValue().check(), std::out_of_range);

    p.setValue("inputPosition", compositeOf(new PositionComposite<SizeType>(Position<SizeType>(8, 9, 10))));
    EXPECT_EQ(p.inputPosition.getValue(), Position<SizeType>(8, 9, 10));

    p.setValue("outputScale", compositeOf(new TripleComposite<double>(Triple<double>(0.5, 1.0, 2.0))));
    EXPECT_EQ(p.outputScale.getValue(), Triple<double>(0.5, 1.0, 2.0));
    EXPECT_EQ(p.getValue("outputScale")->getType(), "Tarn::Kito::Triple< Tarn::float64 >");
}

TEST(PropertyTripleComposite, RegionTravelsWithSizeAndOrigin)
{
    Placement p;
    p.setValue("inputRegion", compositeOf(new RegionOfInterestComposite<SizeType>(sampleRegion())));
    EXPECT_EQ(p.inputRegion.getValue(), sampleRegion());
    const SmartPointer<IComposite> back = p.getValue("inputRegion");
    EXPECT_EQ(back->getType(), "Tarn::Kito::Roi");
    EXPECT_EQ(valueOf<SizeType>(back->getValue("origin")->getValue("sec")), 2u);
    EXPECT_EQ(valueOf<SizeType>(back->getValue("dim")->getValue("tert")), 30u);
}

TEST(PropertyTripleComposite, ValueOfAnotherClassIsABadCast)
{
    Placement p;
    p.inputDimension.setValue(Dimension<SizeType>(1, 1, 1));
    Failure f = tarnFailureOf(
        [&] { p.setValue("inputDimension", compositeOf(new PositionComposite<SizeType>(Position<SizeType>(1, 2, 3)))); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::BadCast");
    EXPECT_EQ(f.error, "The data type 'Tarn::Kito::Pos' couldn't be convertet to 'Tarn::Kito::Dim'!");
    EXPECT_EQ(f.origin, "Tarn::Kito::Persistence::CompositeOfProperties::PropertyTripleComposite::set");
    f = tarnFailureOf([&] { p.setValue("inputDimension", SmartPointer<IComposite>()); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::BadCast");
    EXPECT_EQ(f.error, "A data type couldn't be convertet to 'Tarn::Kito::Dim'!");
    EXPECT_EQ(p.inputDimension.getValue(), Dimension<SizeType>(1, 1, 1));
}

TEST(PropertyTripleComposite, NeverAppendedReportsItsMisuse)
{
    Placement::PropertyTripleComposite<DimensionComposite<SizeType>, SizeType> loose;
    Failure f = tarnFailureOf([&] { loose.get(); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidState");
    EXPECT_EQ(f.error, "You tried to use an Property without appending it to an CompositeOfProperties instance. This "
                       "will never work. Test::Placement");
    f = tarnFailureOf([&] { loose.set(compositeOf(new DimensionComposite<SizeType>())); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidState");
}

TEST(PropertyTripleComposite, PlainPropertyOfASizeHasNoCompositeForm)
{
    Placement p;
    Placement::Property<Dimension<SizeType>> plain;
    p.append("inputPlain", plain);
    plain.setValue(Dimension<SizeType>(2, 2, 2));
    EXPECT_EQ(plain.getValue(), Dimension<SizeType>(2, 2, 2));
    const Failure f = tarnFailureOf([&] { p.getValue("inputPlain"); });
    EXPECT_EQ(f.className, "Tarn::Exceptions::NotSupported");
    EXPECT_EQ(f.error, "This property has no composite form; get needs a property class that knows one");
}

} // namespace
