#include <Kito/MaskFactory/MaskParameters>
#include <Kito/MaskOffsets>
#include <Kito/Orientation>
#include <Kito/Volume>

#include <projections/ProjectionTestSupport.h>
#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace ProjectionTesting;
using TestSupport::tarnFailureOf;
using Mask = MemoryVolumePtr<Tarn::uint8>;
using Offsets = Tarn::Kito::Iterating::MaskOffsets<Mask>;
using Tarn::Kito::OffsetType;

Mask makeMask(const Dimension<SizeType>& dimension, const std::vector<Tarn::uint8>& values)
{
    Mask mask(new MemoryVolume<Tarn::uint8>(dimension));
    std::copy(values.begin(), values.end(), mask->getIterator());
    return mask;
}

std::vector<OffsetType> offsetsOf(const Offsets& o) { return std::vector<OffsetType>(o.offsetData, o.offsetData + o.count); }
std::vector<Tarn::uint8> valuesOf(const Offsets& o) { return std::vector<Tarn::uint8>(o.valueData, o.valueData + o.count); }

TEST(MaskOffsets, ListsTheVoxelsThatAreNotZeroInWalkOrderFromTheAnchor)
{
    // A 3 x 3 x 2 mask with a cross in its first slice and one voxel in its second, anchor (1, 1, 0),
    // over a volume of extent (10, 8, 6): prim 1, sec 10, tert 80 voxels apart.
    const Mask mask = makeMask(Dimension<SizeType>(3, 3, 2), {0, 2, 0, 3, 4, 5, 0, 6, 0,  //
                                                              0, 0, 0, 0, 7, 0, 0, 0, 0});
    const MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(10, 8, 6)));
    const Offsets o(*volume, mask, Position<SizeType>(1, 1, 0));
    EXPECT_EQ(o.count, 6u);
    EXPECT_EQ(offsetsOf(o), (std::vector<OffsetType>{-10, -1, 0, 1, 10, 80}));
    EXPECT_EQ(valuesOf(o), (std::vector<Tarn::uint8>{2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(o.offsets->getDimension(), Dimension<SizeType>(6, 1, 1));
    EXPECT_EQ(o.values->getDimension(), Dimension<SizeType>(6, 1, 1));
    EXPECT_EQ(o.getRegion(), Region(Dimension<SizeType>(8, 6, 5), Position<SizeType>(1, 1, 0)));
    EXPECT_EQ(o.anchor, Position<SizeType>(1, 1, 0));
}

TEST(MaskOffsets, OffsetsFollowTheViewOfTheWalkedVolume)
{
    // Every offset is the distance between the view offsets of the two positions.
    const Mask mask = makeMask(Dimension<SizeType>(2, 2, 2), {1, 0, 1, 1, 0, 1, 1, 1});
    for (const View& view : allViews) {
        SCOPED_TRACE("view " + std::to_string(view.index));
        MemoryVolumePtr<Tarn::float32> volume(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(13, 12, 11)));
        setView(*volume, view);
        const Position<SizeType> anchor(1, 0, 1);
        const Offsets o(*volume, mask, anchor);
        std::vector<OffsetType> expected;
        for (SizeType t = 0; t < 2; ++t)
            for (SizeType s = 0; s < 2; ++s)
                for (SizeType p = 0; p < 2; ++p)
                    if (mask->getValueAt(Position<SizeType>(p, s, t)) != 0)
                        expected.push_back(volume->getOffset(Position<SizeType>(p, s, t)) - volume->getOffset(anchor));
        EXPECT_EQ(offsetsOf(o), expected);
        const Dimension<SizeType> v = volume->getDimension();
        EXPECT_EQ(o.getRegion(), Region(Dimension<SizeType>(v.prim - 1, v.sec - 1, v.tert - 1), anchor));
    }
}

TEST(MaskOffsets, AMaskOfTheVolumesSizeWithTheAnchorAtTheOriginFitsInOneVoxel)
{
    const MemoryVolumePtr<Tarn::int8> volume(new MemoryVolume<Tarn::int8>(Dimension<SizeType>(4, 3, 2)));
    const Mask mask(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 3, 2)));
    mask->fill(1);
    const Offsets o(*volume, mask, Position<SizeType>(0, 0, 0));
    EXPECT_EQ(o.count, 24u);
    EXPECT_EQ(o.getRegion(), Region(Dimension<SizeType>(1, 1, 1), Position<SizeType>(0, 0, 0)));
    EXPECT_EQ(o.offsetData[23], 23);
}

TEST(MaskOffsets, AMaskOfZerosHasNoOffsetsAndItsWalkReadsNothing)
{
    const MemoryVolumePtr<Tarn::int32> volume(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(5, 5, 5)));
    const Mask mask(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(3, 1, 2)));
    mask->fill(0);
    const Offsets o(*volume, mask, Position<SizeType>(2, 0, 1));
    EXPECT_EQ(o.count, 0u);
    EXPECT_EQ(o.offsetData, nullptr);
    EXPECT_EQ(o.valueData, nullptr);
    EXPECT_EQ(o.offsets->getDimension(), Dimension<SizeType>(0, 0, 0));
    EXPECT_EQ(o.getRegion(), Region(Dimension<SizeType>(3, 5, 4), Position<SizeType>(2, 0, 1)));
}

TEST(MaskOffsets, AnAnchorOnTheFarEdgeFitsAndOneAtTheSizeFails)
{
    const MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(6, 6, 6)));
    const Mask mask(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(3, 2, 4)));
    mask->fill(1);
    const Offsets fits(*volume, mask, Position<SizeType>(2, 1, 3));
    EXPECT_EQ(fits.getRegion(), Region(Dimension<SizeType>(4, 5, 3), Position<SizeType>(2, 1, 3)));
    EXPECT_EQ(fits.offsetData[0], -(2 + 6 + 3 * 36));
    for (const Position<SizeType>& outside :
         {Position<SizeType>(3, 0, 0), Position<SizeType>(0, 2, 0), Position<SizeType>(0, 0, 4)}) {
        const TestSupport::TarnFailure f = tarnFailureOf([&] { static_cast<void>(Offsets(*volume, mask, outside)); });
        EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
        EXPECT_EQ(f.error, "Anchor is not inside of mask_!");
        EXPECT_EQ(f.origin, "Tarn::Kito::Iterating::MaskOffsets::MaskFunktor()");
        EXPECT_EQ(f.file, "Kito/include/Kito/MaskOffsets");
    }
}

TEST(MaskOffsets, AMaskLargerThanTheVolumeAlongAnyAxisFails)
{
    const MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 4, 4)));
    for (const Dimension<SizeType>& size :
         {Dimension<SizeType>(5, 1, 1), Dimension<SizeType>(1, 5, 1), Dimension<SizeType>(1, 1, 5)}) {
        const Mask mask(new MemoryVolume<Tarn::uint8>(size));
        mask->fill(1);
        const TestSupport::TarnFailure f = tarnFailureOf([&] { static_cast<void>(Offsets(*volume, mask, Position<SizeType>(0, 0, 0))); });
        EXPECT_EQ(f.className, "Tarn::Exceptions::InvalidArg");
        EXPECT_EQ(f.error, "Mask is bigger than volume!");
        EXPECT_EQ(f.origin, "Tarn::Kito::Iterating::MaskOffsets::MaskFunktor()");
        EXPECT_EQ(f.file, "Kito/include/Kito/MaskOffsets");
    }
    // The anchor is tested first.
    const Mask large(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(5, 1, 1)));
    EXPECT_EQ(tarnFailureOf([&] { static_cast<void>(Offsets(*volume, large, Position<SizeType>(5, 0, 0))); }).error,
              "Anchor is not inside of mask_!");
}

TEST(MaskOffsets, ANullMaskFailsWithItsOwnText)
{
    const MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 4, 4)));
    std::string text = "no failure";
    try {
        static_cast<void>(Offsets(*volume, Mask(), Position<SizeType>(0, 0, 0)));
    } catch (const std::invalid_argument& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::Kito::Iterating::MaskOffsets::MaskFunktor::MaskFunktor() mask_ is NULL");
}

/// Writes, under the anchor, the sum of the voxels at the mask's offsets weighted by the mask's values.
class WeightedSum : public Offsets {
public:
    WeightedSum(const MemoryVolume<Tarn::int32>& volume, const Mask& mask, const Position<SizeType>& anchor)
        : Offsets(volume, mask, anchor)
    {
    }
    void operator()(const Tarn::int32& underAnchor, Tarn::int32& result) const
    {
        const Tarn::int32* p = &underAnchor;
        Tarn::int32 sum = 0;
        for (SizeType i = 0; i < count; ++i) sum += valueData[i] * p[offsetData[i]];
        result = sum;
    }
};

TEST(MaskWalk, AMaskOfZerosReadsNothingAndWritesItsEmptySumEverywhereInTheFitRegion)
{
    MemoryVolumePtr<Tarn::int32> input(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(4, 3, 2)));
    input->fill(9);
    const MemoryVolumePtr<Tarn::int32> output(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(4, 3, 2)));
    output->fill(-1);
    const Mask mask(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 1, 1)));
    mask->fill(0);
    const WeightedSum functor(*input, mask, Position<SizeType>(1, 0, 0));
    Tarn::Kito::Progress progress;
    const std::uint8_t goOn = 0;
    Tarn::Kito::Iterating::walkByMask(functor, input, output, progress, &goOn);
    // Prim 1 to 3 lie in the fit region and get the sum of no voxel; prim 0 keeps its -1.
    std::vector<Tarn::int32> expected(24, 0);
    for (std::size_t k = 0; k < 24; k += 4) expected[k] = -1;
    expectVolume(output, Dimension<SizeType>(4, 3, 2), expected);
}

TEST(MaskWalk, WritesUnderTheAnchorInTheFitRegionOnlyAndRestoresTheViews)
{
    for (const View& view : allViews) {
        SCOPED_TRACE("view " + std::to_string(view.index));
        MemoryVolumePtr<Tarn::int32> input(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(13, 12, 11)));
        Tarn::int32* v = input->getIterator();
        for (SizeType k = 0; k < 13 * 12 * 11; ++k) v[k] = static_cast<Tarn::int32>(k % 97);
        setView(*input, view);
        const Dimension<SizeType> d = input->getDimension();
        MemoryVolumePtr<Tarn::int32> output(new MemoryVolume<Tarn::int32>(d));
        output->fill(-1);
        // Prim neighbours weighted 1 and 2, and the voxel two slices above the anchor weighted 3; anchor
        // (1, 0, 0).
        const Mask mask = makeMask(Dimension<SizeType>(2, 1, 3), {1, 2, 0, 0, 0, 3});
        const WeightedSum functor(*input, mask, Position<SizeType>(1, 0, 0));
        const auto stackBefore = input->getRoiStack();
        Tarn::Kito::Progress progress;
        const std::uint8_t goOn = 0;
        Tarn::Kito::Iterating::walkByMask(functor, input, output, progress, &goOn);
        EXPECT_EQ(progress.getProgress(), 1.0);
        EXPECT_EQ(input->getRoiStack().size(), stackBefore.size());
        EXPECT_EQ(input->getDimension(), d);
        EXPECT_EQ(output->getDimension(), d);
        for (SizeType t = 0; t < d.tert; ++t)
            for (SizeType s = 0; s < d.sec; ++s)
                for (SizeType p = 0; p < d.prim; ++p) {
                    const auto at = [&](SizeType q, SizeType r, SizeType u) {
                        return input->getValueAt(Position<SizeType>(q, r, u));
                    };
                    const bool inside = p >= 1 && t + 2 < d.tert;
                    const Tarn::int32 expected = inside ? at(p - 1, s, t) + 2 * at(p, s, t) + 3 * at(p, s, t + 2) : -1;
                    ASSERT_EQ(output->getValueAt(Position<SizeType>(p, s, t)), expected) << p << " " << s << " " << t;
                }
    }
}

// ---- the parameter classes of the mask factory ------------------------------------------------------

template <class P> std::vector<std::string> keysOf()
{
    P p;
    std::vector<std::string> keys;
    for (SizeType k = 0; k < p.size(); ++k) keys.push_back(p.getKey(k));
    return keys;
}

TEST(MaskFactoryParameters, TypesAndProperties)
{
    namespace Masks = Tarn::Kito::MaskFactory;
    const std::vector<std::string> plain = {"inputDimension", "inputBackgroundValue", "inputForegroundValue",
                                            "outputVolume"};
    std::vector<std::string> thinned = plain;
    thinned.push_back("inputThickness");
    EXPECT_EQ(Masks::StructuringElements::CrossMask::Parameter().getType(),
              "Tarn::Kito::MaskFactory::StructuringElements::CrossMask::Parameter");
    EXPECT_EQ(Masks::StructuringElements::CuboidMask::Parameter().getType(),
              "Tarn::Kito::MaskFactory::StructuringElements::CuboidMask::Parameter");
    EXPECT_EQ(Masks::StructuringElements::SphericalThinnedCuboidMask::Parameter().getType(),
              "Tarn::Kito::MaskFactory::StructuringElements::SphericalThinnedCuboidMask::Parameter");
    EXPECT_EQ(Masks::ThinnedCuboidMask::Parameter().getType(), "Tarn::Kito::MaskFactory::ThinnedCuboidMask::Parameter");
    EXPECT_EQ(Masks::StructuringElements::SphericalMask::Parameter().getType(),
              "Tarn::Kito:MaskFactory::StructuringElements::SphericalMask::Parameter");
    EXPECT_EQ(keysOf<Masks::StructuringElements::CrossMask::Parameter>(), plain);
    EXPECT_EQ(keysOf<Masks::StructuringElements::CuboidMask::Parameter>(), plain);
    EXPECT_EQ(keysOf<Masks::StructuringElements::SphericalMask::Parameter>(), plain);
    EXPECT_EQ(keysOf<Masks::StructuringElements::SphericalThinnedCuboidMask::Parameter>(), thinned);
    EXPECT_EQ(keysOf<Masks::ThinnedCuboidMask::Parameter>(), thinned);
}

TEST(MaskFactoryParameters, ValuesSurviveACopy)
{
    Tarn::Kito::MaskFactory::ThinnedCuboidMask::Parameter p;
    p.inputDimension.setValue(Dimension<SizeType>(3, 5, 7));
    p.inputThickness.setValue(2);
    const Tarn::Kito::MaskFactory::ThinnedCuboidMask::Parameter copy(p);
    EXPECT_EQ(copy.inputDimension.getValue(), Dimension<SizeType>(3, 5, 7));
    EXPECT_EQ(copy.inputThickness.getValue(), 2u);
    EXPECT_EQ(copy.size(), 5u);
}

} // namespace
