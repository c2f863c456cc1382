#include <Kito/IVolume>
#include <Kito/Operator>
#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::OffsetType;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Lumo_DLL::ISumOfVoxels;

// A stand-in for a volume of a class that no library instantiates: the facade needs only its
// class text, so every other operation answers as an empty volume would.
class TestVolume : public IVolume, public Tarn::Kito::Persistence::CompositeLeaf<TestVolume> {
public:
    std::string getType() const override { return "Test::Volume"; }
    std::string getVoxelTypeName() const override { return "Test::voxel"; }
    std::string getAllocatorName() const override { return "Test::allocator"; }
    Dimension<SizeType> getDimension() const override { return Dimension<SizeType>(); }
    SizeType getDimPrim() const override { return 0; }
    SizeType getDimSec() const override { return 0; }
    SizeType getDimTert() const override { return 0; }
    OffsetType getStepPrim() const override { return 0; }
    OffsetType getStepSec() const override { return 0; }
    OffsetType getStepTert() const override { return 0; }
    SizeType size() const override { return 0; }
    Orientation getDefaultOrientation() const override { return Orientation(); }
    Dimension<SizeType> getVolumeDimension() const override { return Dimension<SizeType>(); }
    SizeType getVolumeDimPrim() const override { return 0; }
    SizeType getVolumeDimSec() const override { return 0; }
    SizeType getVolumeDimTert() const override { return 0; }
    std::list<RegionOfInterest<SizeType>> getBlockList() const override { return {}; }
    std::list<RegionOfInterest<SizeType>> getRoiStack() const override { return {}; }
    void setRoi(const RegionOfInterest<SizeType>&) override {}
    RegionOfInterest<SizeType> getRoi() const override { return RegionOfInterest<SizeType>(); }
    void clearRoiStack() override {}
    void popRoi() override {}
    void setRoiToSlice(SizeType) override {}
    void reallocate(const Dimension<SizeType>&) override {}
    void setOrientation(const Orientation&) override {}
    Orientation getOrientation() const override { return Orientation(); }
    Position<SizeType> getPosition() const override { return Position<SizeType>(); }
    OffsetType getOffset(const Position<SizeType>&) const override { return 0; }
};

// A real volume of a voxel type that the sum has no instance for.
using Int64Volume = Tarn::Kito::Volume<Tarn::int64, Tarn::Kito::Allocator::SingleBlockAllocator>;

std::atomic<bool> testOperatorRunning{false};
std::atomic<bool> releaseTestOperator{false};

// Registered from this executable; the facade in the dispatcher library finds it, so both see
// one factory.
class TestSumOperator : public Tarn::Kito::Operator<TestSumOperator> {
public:
    void apply(SmartPointer<IComposite> parameter) override
    {
        startRun();
        SmartPointer<ISumOfVoxels::Parameter> p = DynamicCast<SmartPointer<ISumOfVoxels::Parameter>>(parameter);
        testOperatorRunning = true;
        while (releaseTestOperator.load() == false && !Tarn::Kito::stopRequested(&abortFlag)) std::this_thread::yield();
        progress.setProgress(Tarn::Kito::stopRequested(&abortFlag) ? 0.5 : 1.0);
        p->outputSum.setValue(42.0);
        testOperatorRunning = false;
    }
    std::string getType() const override { return "Tarn::Kito::Statistics::SumOfVoxels::Operator< Test::Volume >"; }
};

SmartPointer<IComposite> asComposite(const SmartPointer<ISumOfVoxels::Parameter>& p)
{
    return DynamicCast<SmartPointer<IComposite>>(p);
}

SmartPointer<ISumOfVoxels::Parameter> parameterWith(IVolume* volume)
{
    SmartPointer<ISumOfVoxels::Parameter> p(new ISumOfVoxels::Parameter);
    p->inputVolume.setValue(SmartPointer<IVolume>(volume));
    return p;
}

template <class F> std::string invalidArgumentOf(F&& action)
{
    try {
        action();
    } catch (const Tarn::Kito::IOperator::InvalidParameterObjectException& failure) {
        return std::string("parameter: ") + failure.what();
    } catch (const std::invalid_argument& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(SumOfVoxelsFacade, ParameterOfAnotherClassIsAnInvalidParameterObject)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(DataPtr<double>(1.0));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::ISumOfVoxels::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::ISumOfVoxels::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
}

TEST(SumOfVoxelsFacade, MissingVolumeIsReported)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<ISumOfVoxels::Parameter> p(new ISumOfVoxels::Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::ISumOfVoxels::IOperator::getOperatorTypeFromParameterObject: inputVolume is "
              "NULL!");
}

TEST(SumOfVoxelsFacade, VolumeKeyGivenADoubleBecomesNullAndIsReported)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<ISumOfVoxels::Parameter> p = parameterWith(new TestVolume);
    p->setValue("inputVolume", DynamicCast<SmartPointer<IComposite>>(DataPtr<double>(3.0)));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::ISumOfVoxels::IOperator::getOperatorTypeFromParameterObject: inputVolume is "
              "NULL!");
}

TEST(SumOfVoxelsFacade, Int64VolumePassesTheFacadeAndFailsInTheFactory)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<ISumOfVoxels::Parameter> p = parameterWith(new Int64Volume(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Statistics::SumOfVoxels::Operator< Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(SumOfVoxelsFacade, ProgressBeforeAnyApplyIsZero)
{
    ISumOfVoxels::IOperator facade;
    EXPECT_EQ(facade.getProgress().getProgress(), 0.0);
    facade.abort();
}

TEST(SumOfVoxelsFacade, FindsAnOperatorRegisteredByTheHostAndRunsItOnTheSameParameter)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<ISumOfVoxels::Parameter> p = parameterWith(new TestVolume);
    releaseTestOperator = true;
    facade.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), 42.0);
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
}

TEST(SumOfVoxelsFacade, AbortAndProgressFromAnotherThreadReachTheRunningOperator)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<ISumOfVoxels::Parameter> p = parameterWith(new TestVolume);
    releaseTestOperator = false;
    std::thread host([&] { facade.apply(asComposite(p)); });
    while (!testOperatorRunning) std::this_thread::yield();
    EXPECT_EQ(facade.getProgress().getProgress(), 0.0);
    facade.abort();
    host.join();
    EXPECT_EQ(facade.getProgress().getProgress(), 0.5);
    releaseTestOperator = true;
}

TEST(Operator, IsALeafWithItsTypeAsIdentifier)
{
    TestSumOperator op;
    const IComposite& composite = op;
    EXPECT_EQ(composite.size(), 0u);
    EXPECT_EQ(composite.getType(), "Tarn::Kito::Statistics::SumOfVoxels::Operator< Test::Volume >");
    EXPECT_THROW(op.getValue("x"), std::exception);
}

TEST(Operator, RegisteredUnderItsOwnTypeBeforeMain)
{
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), "Tarn::Kito::Statistics::SumOfVoxels::Operator< Test::Volume >"),
              ids.end());
}

TEST(Operator, ApplyClearsAnEarlierAbort)
{
    TestSumOperator op;
    op.abort();
    SmartPointer<ISumOfVoxels::Parameter> p = parameterWith(new TestVolume);
    releaseTestOperator = true;
    op.apply(asComposite(p));
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
}

} // namespace
