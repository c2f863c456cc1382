#include "VolumeTestSupport.h"

#include <AncillaryKitoOperators/Operator>
#include <Kito/Composite>
#include <Kito/IVolume>
#include <Kito/Operator>
#include <Kito/SmartPointer>
#include <Kito/Volume>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using namespace VolumeTesting;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IOperator;
using Tarn::Kito::IVolume;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

using Output = MemoryVolumePtr<Tarn::uint16>;

// Operators of both bases that only lend their checkOutputVolume to the tests.
class KitoOutputOperator : public Tarn::Kito::Operator<KitoOutputOperator> {
public:
    using Tarn::Kito::Operator<KitoOutputOperator>::checkOutputVolume;
    void apply(SmartPointer<IComposite>) override {}
    std::string getType() const override { return "Test::KitoOutputOperator"; }
};

class AncillaryOutputOperator : public Tarn::AncillaryKitoOperators::Operator<AncillaryOutputOperator> {
public:
    using Tarn::AncillaryKitoOperators::Operator<AncillaryOutputOperator>::checkOutputVolume;
    void apply(SmartPointer<IComposite>) override {}
    std::string getType() const override { return "Test::AncillaryOutputOperator"; }
};

SmartPointer<IVolume> asVolume(IVolume* volume) { return SmartPointer<IVolume>(volume); }

template <class F> std::string parameterFailureOf(F&& action)
{
    try {
        action();
    } catch (const IOperator::InvalidParameterObjectException& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(CheckOutputVolume, NullMakesANewVolumeOfTheWantedSize)
{
    const Output made = KitoOutputOperator::checkOutputVolume<Output>(SmartPointer<IVolume>(), dim(3, 4, 5));
    ASSERT_FALSE(made == 0);
    EXPECT_EQ(made->getDimension(), dim(3, 4, 5));
    EXPECT_EQ(made->getVolumeDimension(), dim(3, 4, 5));
    EXPECT_EQ(made->getRoiStack().size(), 1u);
    const Output again = AncillaryOutputOperator::checkOutputVolume<Output>(SmartPointer<IVolume>(), dim(1, 1, 2));
    ASSERT_FALSE(again == 0);
    EXPECT_EQ(again->getDimension(), dim(1, 1, 2));
}

TEST(CheckOutputVolume, VolumeOfTheRightSizeIsReturnedAsItStands)
{
    MemoryVolume<Tarn::uint16>* volume = new MemoryVolume<Tarn::uint16>(dim(6, 6, 6));
    const SmartPointer<IVolume> given = asVolume(volume);
    volume->fill(77);
    volume->setRoi(region(dim(3, 4, 5), pos(1, 1, 1)));
    const Tarn::uint16* first = volume->getIterator();
    const Output kept = KitoOutputOperator::checkOutputVolume<Output>(given, dim(3, 4, 5));
    EXPECT_EQ(kept.get(), volume);
    EXPECT_EQ(kept->getRoiStack().size(), 2u);
    EXPECT_EQ(kept->getIterator(), first);
    EXPECT_EQ(kept->getValueAt(pos(2, 3, 4)), 77);
}

TEST(CheckOutputVolume, ExtentsAreThoseOfTheView)
{
    MemoryVolume<Tarn::uint16>* volume = new MemoryVolume<Tarn::uint16>(dim(2, 3, 4));
    const SmartPointer<IVolume> given = asVolume(volume);
    volume->setOrientation(Orientation(4, 2, 0));
    const Output kept = AncillaryOutputOperator::checkOutputVolume<Output>(given, dim(4, 3, 2));
    EXPECT_EQ(kept.get(), volume);
    EXPECT_EQ(kept->getVolumeDimension(), dim(2, 3, 4));
}

TEST(CheckOutputVolume, VolumeOfAnotherSizeIsResized)
{
    MemoryVolume<Tarn::uint16>* volume = new MemoryVolume<Tarn::uint16>(dim(2, 2, 2));
    const SmartPointer<IVolume> given = asVolume(volume);
    volume->setRoi(region(dim(1, 1, 1), pos(0, 0, 0)));
    const Output resized = KitoOutputOperator::checkOutputVolume<Output>(given, dim(5, 1, 3));
    EXPECT_EQ(resized.get(), volume);
    EXPECT_EQ(resized->getVolumeDimension(), dim(5, 1, 3));
    EXPECT_EQ(resized->getDimension(), dim(5, 1, 3));
    EXPECT_EQ(resized->getRoiStack().size(), 1u);
    const Output again = AncillaryOutputOperator::checkOutputVolume<Output>(given, dim(2, 2, 1));
    EXPECT_EQ(again->getDimension(), dim(2, 2, 1));
}

TEST(CheckOutputVolume, VolumeOfAnotherTypeFailsInTheWordsOfTheKitoBase)
{
    const SmartPointer<IVolume> given = asVolume(new MemoryVolume<float>(dim(2, 2, 2)));
    EXPECT_EQ(parameterFailureOf([&] { KitoOutputOperator::checkOutputVolume<Output>(given, dim(2, 2, 2)); }),
              "Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
    const SmartPointer<IVolume> chunkType = asVolume(new Tarn::Kito::Volume<Tarn::uint16, External1>());
    EXPECT_EQ(parameterFailureOf([&] { KitoOutputOperator::checkOutputVolume<Output>(chunkType, dim(2, 2, 2)); }),
              "Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(CheckOutputVolume, VolumeOfAnotherTypeFailsInTheWordsOfTheAncillaryBase)
{
    const SmartPointer<IVolume> given = asVolume(new MemoryVolume<Tarn::int16>(dim(2, 2, 2)));
    EXPECT_EQ(parameterFailureOf([&] { AncillaryOutputOperator::checkOutputVolume<Output>(given, dim(2, 2, 2)); }),
              "Tarn::AncillaryKitoOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(CheckOutputVolume, FailureIsAnInvalidArgument)
{
    const SmartPointer<IVolume> given = asVolume(new MemoryVolume<Tarn::int16>(dim(2, 2, 2)));
    EXPECT_THROW(KitoOutputOperator::checkOutputVolume<Output>(given, dim(2, 2, 2)), std::invalid_argument);
}

} // namespace
