#include "DirectionalReference.h"
#include "FlatteningTestSupport.h"

#include <LumoStudio/Operators/DirectionalPlanarisationOperator/TrilinearSampler.h>

#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace FlatteningTesting;
using Tarn::Lumo::PlanarisationOperators::TrilinearSampler;

/// A volume of extent (values, 1, 1).
template <class T> MemoryVolumePtr<T> makeRow(const std::vector<T>& values)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(dim(values.size(), 1, 1)));
    for (SizeType p = 0; p < values.size(); ++p) *volume->getPosOffset(pos(p, 0, 0)) = values[p];
    return volume;
}

template <class T> class TrilinearSamplerTyped : public ::testing::Test {};
TYPED_TEST_SUITE(TrilinearSamplerTyped, AllVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(TrilinearSamplerTyped, RandomPositionsInATurnedRegionAsThePlainBlend)
{
    using T = TypeParam;
    // A region, then sec backwards as view prim, tert as view sec, prim as view tert: (5, 4, 6).
    const MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(dim(7, 6, 5), 31);
    volume->setRoi(Region(dim(6, 5, 4), pos(1, 1, 1)));
    volume->setOrientation(Orientation(3, 4, 0));
    ASSERT_EQ(volume->getDimension(), dim(5, 4, 6));
    const TrilinearSampler<T> sampler(volume, T(0));
    std::mt19937_64 engine(32);
    std::uniform_real_distribution<float> along(-1.5f, 7.5f);
    for (int n = 0; n < 4000; ++n) {
        const float x1 = along(engine), x2 = along(engine), x3 = along(engine);
        ASSERT_EQ(bitPatterns(std::vector<T>{sampler.value(x1, x2, x3)}),
                  bitPatterns(std::vector<T>{referenceSample(volume, x1, x2, x3)}))
            << x1 << " " << x2 << " " << x3;
    }
}

TYPED_TEST(TrilinearSamplerTyped, AWholePositionGivesItsVoxelAndTheLastOneToo)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> volume = TestSupport::makeIndexVolume<T>(dim(3, 2, 2));
    const TrilinearSampler<T> sampler(volume, T(0));
    // At (2, 1, 1) the corners at 3 and 2 lie outside and count 0, but with weight 0.
    EXPECT_EQ(sampler.value(2.0f, 1.0f, 1.0f), T(11));
    EXPECT_EQ(sampler.value(1.0f, 0.0f, 1.0f), T(7));
    EXPECT_EQ(sampler.value(0.0f, 0.0f, 0.0f), T(0));
}

TEST(TrilinearSampler, BordersBlendWithTheDefaultValue)
{
    const MemoryVolumePtr<Tarn::float32> volume = makeRow<Tarn::float32>({8.0f, 4.0f});
    const TrilinearSampler<Tarn::float32> sampler(volume, 0.0f);
    EXPECT_EQ(sampler.value(1.5f, 0.0f, 0.0f), 2.0f);   // half of the last voxel
    EXPECT_EQ(sampler.value(-0.25f, 0.0f, 0.0f), 6.0f); // three quarters of the first
    EXPECT_EQ(sampler.value(0.5f, 0.5f, 0.0f), 3.0f);   // half way to the missing row
    EXPECT_EQ(sampler.value(0.0f, 0.0f, -1.0f), 0.0f);  // a whole slice outside
    EXPECT_EQ(sampler.value(-3.0f, 0.0f, 0.0f), 0.0f);
}

TEST(TrilinearSampler, AnotherDefaultValueTakesThePlaceOfMissingCorners)
{
    const MemoryVolumePtr<Tarn::int16> volume = makeRow<Tarn::int16>({10});
    const TrilinearSampler<Tarn::int16> sampler(volume, Tarn::int16(-30));
    EXPECT_EQ(sampler.value(0.5f, 0.0f, 0.0f), Tarn::int16(-10));
    EXPECT_EQ(sampler.value(5.0f, 5.0f, 5.0f), Tarn::int16(-30));
}

TEST(TrilinearSampler, IntegersRoundHalfUpNotTowardZero)
{
    const MemoryVolumePtr<Tarn::int8> volume = makeRow<Tarn::int8>({2, 3, -2, -3});
    const TrilinearSampler<Tarn::int8> sampler(volume, Tarn::int8(0));
    EXPECT_EQ(sampler.value(0.5f, 0.0f, 0.0f), Tarn::int8(3));  // 2.5
    EXPECT_EQ(sampler.value(2.5f, 0.0f, 0.0f), Tarn::int8(-2)); // -2.5
    EXPECT_EQ(sampler.value(2.75f, 0.0f, 0.0f), Tarn::int8(-3)); // -2.75
    EXPECT_EQ(sampler.value(1.25f, 0.0f, 0.0f), Tarn::int8(2)); // 3 - 5 * 0.25 = 1.75
}

TEST(TrilinearSampler, HalfUpIsTakenOfTheFloatBlendItself)
{
    // 0.49999997 (the float below 0.5) is no half: it rounds to 0, although 0.49999997f + 0.5f
    // rounds to 1 in float.
    const MemoryVolumePtr<Tarn::uint8> volume = makeRow<Tarn::uint8>({0, 1});
    const TrilinearSampler<Tarn::uint8> sampler(volume, Tarn::uint8(0));
    const float below = 0.49999997f;
    ASSERT_EQ(below + 0.5f, 1.0f);
    EXPECT_EQ(sampler.value(below, 0.0f, 0.0f), Tarn::uint8(0));
    EXPECT_EQ(sampler.value(0.5f, 0.0f, 0.0f), Tarn::uint8(1));
}

TEST(TrilinearSampler, ResultsBeyondTheTypeWrap)
{
    // The largest uint32 and int32 become 2^32 and 2^31 as floats, which wrap to 0 and to the
    // smallest int32; the largest uint64 becomes 2^64, which wraps to 0.
    EXPECT_EQ(TrilinearSampler<Tarn::uint32>(makeRow<Tarn::uint32>({4294967295u}), 0u).value(0.0f, 0.0f, 0.0f), 0u);
    EXPECT_EQ(TrilinearSampler<Tarn::int32>(makeRow<Tarn::int32>({2147483647}), 0).value(0.0f, 0.0f, 0.0f),
              -2147483647 - 1);
    EXPECT_EQ(TrilinearSampler<Tarn::uint64>(makeRow<Tarn::uint64>({18446744073709551615u}), 0u).value(0.0f, 0.0f, 0.0f),
              0u);
    EXPECT_EQ(TrilinearSampler<Tarn::uint64>(makeRow<Tarn::uint64>({9223372036854775808u}), 0u).value(0.0f, 0.0f, 0.0f),
              9223372036854775808u);
    EXPECT_EQ(TrilinearSampler<Tarn::int64>(makeRow<Tarn::int64>({9223372036854775807}), 0).value(0.0f, 0.0f, 0.0f),
              -9223372036854775807 - 1);
    // 16777217 is no float: it blends as 16777216.
    EXPECT_EQ(TrilinearSampler<Tarn::int32>(makeRow<Tarn::int32>({16777217}), 0).value(0.0f, 0.0f, 0.0f), 16777216);
}

TEST(TrilinearSampler, Float64IsBlendedInSinglePrecision)
{
    const MemoryVolumePtr<Tarn::float64> volume = makeRow<Tarn::float64>({0.1, 0.2});
    const TrilinearSampler<Tarn::float64> sampler(volume, 0.0);
    EXPECT_EQ(sampler.value(0.0f, 0.0f, 0.0f), static_cast<double>(0.1f));
    EXPECT_EQ(sampler.value(0.5f, 0.0f, 0.0f), static_cast<double>(0.1f + (0.2f - 0.1f) * 0.5f));
}

TEST(TrilinearSampler, PositionsWithoutAnIndexTakeNoVoxel)
{
    const MemoryVolumePtr<Tarn::uint16> volume = makeRow<Tarn::uint16>({7, 9});
    const TrilinearSampler<Tarn::uint16> sampler(volume, Tarn::uint16(0));
    EXPECT_EQ(sampler.value(1e30f, 0.0f, 0.0f), Tarn::uint16(0));
    EXPECT_EQ(sampler.value(-1e30f, 0.0f, 0.0f), Tarn::uint16(0));
    EXPECT_EQ(sampler.value(0.0f, 0.0f, 4294967296.0f), Tarn::uint16(0));
}

TEST(TrilinearSampler, TheViewIsTakenAsItIsAtConstruction)
{
    const MemoryVolumePtr<Tarn::uint8> volume = makeRow<Tarn::uint8>({1, 2, 3, 4});
    volume->setRoi(Region(dim(2, 1, 1), pos(2, 0, 0)));
    const TrilinearSampler<Tarn::uint8> sampler(volume, Tarn::uint8(0));
    volume->popRoi();
    EXPECT_EQ(sampler.value(0.0f, 0.0f, 0.0f), Tarn::uint8(3));
    EXPECT_EQ(sampler.value(1.5f, 0.0f, 0.0f), Tarn::uint8(2)); // half of 4, beside the region's end
    EXPECT_EQ(sampler.getCountPrim(), 2u);
}

} // namespace
