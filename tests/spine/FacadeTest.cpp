#include <Kito/IVolume>
#include <Kito/Operator>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Lumo_DLL::ISumOfVoxels;

// Stand-ins for volumes: the facade needs only the class text.
template <class Self> class FakeVolume : public IVolume, public Tarn::Kito::Persistence::CompositeLeaf<Self> {
public:
    std::string getVoxelTypeName() const override { return "Test::voxel"; }
};
struct Int64Volume : FakeVolume<Int64Volume> {
    std::string getType() const override
    {
        return "Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::SingleBlockAllocator >";
    }
};
struct TestVolume : FakeVolume<TestVolume> {
    std::string getType() const override { return "Test::Volume"; }
};

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
    SmartPointer<ISumOfVoxels::Parameter> p = parameterWith(new Int64Volume);
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
