#include <Kito/Triple>
#include <Kito/Types>

#include <gtest/gtest.h>

#include <complex>
#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::getBoundingDim;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::Triple;

constexpr SizeType largest = std::numeric_limits<SizeType>::max();
constexpr SizeType two32 = SizeType(1) << 32;
constexpr SizeType two31 = SizeType(1) << 31;

/// The text of the standard exception E thrown by action; "no failure" if nothing was thrown.
template <class E, class F> std::string failureText(F&& action)
{
    try {
        action();
    } catch (const E& failure) {
        return failure.what();
    }
    return "no failure";
}

// ---- Triple ------------------------------------------------------------------------------------

TEST(Triple, DefaultIsZeroForEveryKindOfComponent)
{
    const Triple<SizeType> sizes;
    EXPECT_EQ(sizes.prim, 0u);
    EXPECT_EQ(sizes.sec, 0u);
    EXPECT_EQ(sizes.tert, 0u);
    const Triple<double> reals;
    EXPECT_EQ(reals.prim, 0.0);
    EXPECT_EQ(reals.tert, 0.0);
    const Triple<bool> flags;
    EXPECT_FALSE(flags.prim);
    EXPECT_FALSE(flags.sec);
    EXPECT_FALSE(flags.tert);
    const Triple<std::string> texts;
    EXPECT_EQ(texts.prim, "");
    EXPECT_EQ(texts.tert, "");
    const Triple<std::complex<Tarn::int16>> complexes;
    EXPECT_EQ(complexes.sec, std::complex<Tarn::int16>(0, 0));
}

TEST(Triple, ConstructorKeepsStorageOrder)
{
    const Triple<Tarn::int32> t(-1, 2, 3);
    EXPECT_EQ(t.prim, -1);
    EXPECT_EQ(t.sec, 2);
    EXPECT_EQ(t.tert, 3);
    const Triple<std::string> s("a", "b", "c");
    EXPECT_EQ(s.prim + s.sec + s.tert, "abc");
}

TEST(Triple, EqualityComparesEachComponent)
{
    const Triple<int> base(1, 2, 3);
    EXPECT_TRUE(base == Triple<int>(1, 2, 3));
    EXPECT_FALSE(base != Triple<int>(1, 2, 3));
    EXPECT_TRUE(base != Triple<int>(9, 2, 3));
    EXPECT_TRUE(base != Triple<int>(1, 9, 3));
    EXPECT_TRUE(base != Triple<int>(1, 2, 9));
    EXPECT_FALSE(base == Triple<int>(3, 2, 1));
    EXPECT_TRUE(Triple<std::string>("x", "y", "z") == Triple<std::string>("x", "y", "z"));
    EXPECT_TRUE(Triple<bool>(true, false, true) != Triple<bool>(true, false, false));
}

TEST(Triple, CopyIsIndependent)
{
    Triple<double> original(1.5, 2.5, 3.5);
    Triple<double> copy = original;
    copy.sec = 7.0;
    EXPECT_EQ(original.sec, 2.5);
    original = copy;
    EXPECT_EQ(original.sec, 7.0);
}

// ---- Dimension::check --------------------------------------------------------------------------

TEST(DimensionCheck, AllZeroIsTheEmptySize)
{
    EXPECT_NO_THROW(Dimension<SizeType>(0, 0, 0).check());
    EXPECT_NO_THROW(Dimension<SizeType>().check());
}

TEST(DimensionCheck, AllNonZeroPasses)
{
    EXPECT_NO_THROW(Dimension<SizeType>(1, 1, 1).check());
    EXPECT_NO_THROW(Dimension<SizeType>(largest, largest, largest).check());
}

TEST(DimensionCheck, ZeroPrimWithOthersSetFails)
{
    EXPECT_EQ(failureText<std::out_of_range>([] { Dimension<SizeType>(0, 1, 1).check(); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 0 , 1 , 1 ) ");
}

TEST(DimensionCheck, ZeroTertWithOthersSetFails)
{
    EXPECT_EQ(failureText<std::out_of_range>([] { Dimension<SizeType>(1, 1, 0).check(); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 1 , 1 , 0 ) ");
}

TEST(DimensionCheck, ZeroSecAloneFails)
{
    EXPECT_EQ(failureText<std::out_of_range>([] { Dimension<SizeType>(7, 0, 9).check(); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 7 , 0 , 9 ) ");
}

TEST(DimensionCheck, LargeComponentsAreWrittenInFull)
{
    EXPECT_EQ(failureText<std::out_of_range>([] { Dimension<SizeType>(largest, 0, 0).check(); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 18446744073709551615 , 0 , 0 ) ");
}

TEST(DimensionCheck, TheTypeInTheTextIsTheComponentType)
{
    EXPECT_EQ(failureText<std::out_of_range>([] { Dimension<Tarn::uint16>(0, 3, 0).check(); }),
              "Tarn::Kito::Dimension< Tarn::uint16 >::check invalid values detected ( 0 , 3 , 0 ) ");
}

// ---- Dimension::size ---------------------------------------------------------------------------

TEST(DimensionSize, EmptySizeHasNoVoxels)
{
    EXPECT_EQ(Dimension<SizeType>(0, 0, 0).size(), 0u);
}

TEST(DimensionSize, MultipliesTheThreeComponents)
{
    EXPECT_EQ(Dimension<SizeType>(2, 3, 4).size(), 24u);
    EXPECT_EQ(Dimension<SizeType>(1, 1, 1).size(), 1u);
    EXPECT_EQ(Dimension<SizeType>(1, 1, largest).size(), largest);
}

TEST(DimensionSize, MixedSizeIsNotCheckedAndCountsZero)
{
    EXPECT_EQ(Dimension<SizeType>(0, 5, 5).size(), 0u);
}

TEST(DimensionSize, TwoToThe63FitsExactly)
{
    EXPECT_EQ(Dimension<SizeType>(two32, two31, 1).size(), SizeType(1) << 63);
}

TEST(DimensionSize, TwoHighHalvesOverflow)
{
    EXPECT_EQ(failureText<std::overflow_error>([] { Dimension<SizeType>(two32, two32, 1).size(); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::size current size exceeds to boundarys of Tarn::uint64");
}

TEST(DimensionSize, OverflowInTheSecondProductIsFound)
{
    EXPECT_EQ(failureText<std::overflow_error>([] { Dimension<SizeType>(two32, two31, 2).size(); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::size current size exceeds to boundarys of Tarn::uint64");
}

TEST(DimensionSize, OverflowOfTheFirstProductFailsEvenIfTertIsZero)
{
    EXPECT_THROW(Dimension<SizeType>(two32, two32, 0).size(), std::overflow_error);
}

TEST(DimensionSize, CrossTermJustTooWideOverflows)
{
    // (2^32 + 1) * (2^32 - 1) = 2^64 - 1 fits; one more in the first factor does not.
    EXPECT_EQ(Dimension<SizeType>(two32 + 1, two32 - 1, 1).size(), largest);
    EXPECT_THROW(Dimension<SizeType>(two32 + 2, two32 - 1, 1).size(), std::overflow_error);
    // The cross term alone fits 32 bits, but adding it to the low product wraps.
    EXPECT_THROW(Dimension<SizeType>(two32 + (two32 - 1), two32 - 1, 1).size(), std::overflow_error);
}

__extension__ typedef unsigned __int128 Wide;

/// The true product of a, b and c in 128 bits, and whether each of the two steps fits 64 bits.
bool referenceFits(SizeType a, SizeType b, SizeType c, SizeType& product)
{
    const Wide first = static_cast<Wide>(a) * b;
    if (first > largest) return false;
    const Wide second = first * c;
    if (second > largest) return false;
    product = static_cast<SizeType>(second);
    return true;
}

TEST(DimensionSize, OverflowTestAgreesWithAWideReference)
{
    const std::vector<SizeType> edges = {0,         1,          2,         3,          two31 - 1,   two31,
                                         two31 + 1, two32 - 1,  two32,     two32 + 1,  two32 * 2,   (two32 - 1) * 2,
                                         largest,   largest - 1, largest / 2, largest / 3, SizeType(1) << 63,
                                         (SizeType(1) << 48) + 12345};
    std::mt19937_64 random(20240611u);
    // Random numbers of a random bit length, so that products fall often near 2^64.
    const auto next = [&random, &edges]() -> SizeType {
        const unsigned choice = static_cast<unsigned>(random() % 4);
        if (choice == 0) return edges[random() % edges.size()];
        const unsigned bits = static_cast<unsigned>(random() % 64) + 1;
        const SizeType value = random();
        return bits == 64 ? value : value & ((SizeType(1) << bits) - 1);
    };

    std::size_t overflows = 0, fits = 0;
    for (SizeType a : edges)
        for (SizeType b : edges) {
            SizeType expected = 0;
            const bool ok = referenceFits(a, b, 1, expected);
            if (ok) {
                EXPECT_EQ(Dimension<SizeType>(a, b, 1).size(), expected) << a << " * " << b;
                ++fits;
            } else {
                EXPECT_THROW(Dimension<SizeType>(a, b, 1).size(), std::overflow_error) << a << " * " << b;
                ++overflows;
            }
        }
    for (int i = 0; i < 4000; ++i) {
        const SizeType a = next(), b = next();
        // The same pair as the first product (a, b, 1) and as the second (1, a, b).
        SizeType expected = 0;
        const bool ok = referenceFits(a, b, 1, expected);
        for (const Dimension<SizeType>& d : {Dimension<SizeType>(a, b, 1), Dimension<SizeType>(1, a, b)}) {
            if (ok) {
                EXPECT_EQ(d.size(), expected) << a << " * " << b;
            } else {
                EXPECT_THROW(d.size(), std::overflow_error) << a << " * " << b;
            }
        }
        if (ok)
            ++fits;
        else
            ++overflows;
    }
    for (int i = 0; i < 2000; ++i) {
        const SizeType a = next(), b = next(), c = next();
        SizeType expected = 0;
        if (referenceFits(a, b, c, expected)) {
            EXPECT_EQ(Dimension<SizeType>(a, b, c).size(), expected) << a << " * " << b << " * " << c;
        } else {
            EXPECT_THROW(Dimension<SizeType>(a, b, c).size(), std::overflow_error) << a << " * " << b << " * " << c;
        }
    }
    // Both outcomes must have been exercised often for the comparison to mean anything.
    EXPECT_GT(overflows, 500u);
    EXPECT_GT(fits, 500u);
}

// ---- Position and RegionOfInterest -------------------------------------------------------------

TEST(Position, IsATripleWithItsConstructors)
{
    const Position<SizeType> p(4, 5, 6);
    const Triple<SizeType>& asTriple = p;
    EXPECT_EQ(asTriple, Triple<SizeType>(4, 5, 6));
    EXPECT_EQ(Position<SizeType>(), Position<SizeType>(0, 0, 0));
    EXPECT_NE(p, Position<SizeType>(4, 5, 7));
}

TEST(RegionOfInterest, HoldsSizeThenOrigin)
{
    const RegionOfInterest<SizeType> roi(Dimension<SizeType>(10, 20, 30), Position<SizeType>(1, 2, 3));
    EXPECT_EQ(roi.dim, Dimension<SizeType>(10, 20, 30));
    EXPECT_EQ(roi.origin, Position<SizeType>(1, 2, 3));
    const RegionOfInterest<SizeType> empty;
    EXPECT_EQ(empty.dim, Dimension<SizeType>(0, 0, 0));
    EXPECT_EQ(empty.origin, Position<SizeType>(0, 0, 0));
}

TEST(RegionOfInterest, EqualityNeedsSizeAndOrigin)
{
    const RegionOfInterest<SizeType> roi(Dimension<SizeType>(10, 20, 30), Position<SizeType>(1, 2, 3));
    EXPECT_TRUE(roi == RegionOfInterest<SizeType>(Dimension<SizeType>(10, 20, 30), Position<SizeType>(1, 2, 3)));
    EXPECT_TRUE(roi != RegionOfInterest<SizeType>(Dimension<SizeType>(10, 20, 31), Position<SizeType>(1, 2, 3)));
    EXPECT_TRUE(roi != RegionOfInterest<SizeType>(Dimension<SizeType>(10, 20, 30), Position<SizeType>(0, 2, 3)));
    EXPECT_FALSE(roi != RegionOfInterest<SizeType>(roi));
}

// ---- getBoundingDim ----------------------------------------------------------------------------

TEST(GetBoundingDim, AddsPositionAndSizePerComponent)
{
    EXPECT_EQ(getBoundingDim(Position<SizeType>(1, 2, 3), Dimension<SizeType>(4, 5, 6)),
              Dimension<SizeType>(5, 7, 9));
}

TEST(GetBoundingDim, PositionZeroTakesTheLargestSize)
{
    EXPECT_EQ(getBoundingDim(Position<SizeType>(0, 0, 0), Dimension<SizeType>(largest, largest, largest)),
              Dimension<SizeType>(largest, largest, largest));
}

TEST(GetBoundingDim, SumReachingTheLargestValueFits)
{
    EXPECT_EQ(getBoundingDim(Position<SizeType>(1, largest, 5), Dimension<SizeType>(largest - 1, 0, largest - 5)),
              Dimension<SizeType>(largest, largest, largest));
}

TEST(GetBoundingDim, PositionOneWithTheLargestSizeFails)
{
    EXPECT_EQ(failureText<std::out_of_range>([] {
                  getBoundingDim(Position<SizeType>(1, 0, 0), Dimension<SizeType>(largest, 1, 1));
              }),
              "Tarn::Kito::< Tarn::uint64 >getBoundingDim prim component is out of range");
}

TEST(GetBoundingDim, OverflowInSecOrTertStillNamesPrim)
{
    EXPECT_EQ(failureText<std::out_of_range>([] {
                  getBoundingDim(Position<SizeType>(0, 2, 0), Dimension<SizeType>(1, largest - 1, 1));
              }),
              "Tarn::Kito::< Tarn::uint64 >getBoundingDim prim component is out of range");
    EXPECT_EQ(failureText<std::out_of_range>([] {
                  getBoundingDim(Position<SizeType>(0, 0, largest), Dimension<SizeType>(1, 1, 1));
              }),
              "Tarn::Kito::< Tarn::uint64 >getBoundingDim prim component is out of range");
}

TEST(GetBoundingDim, ResultIsNotChecked)
{
    // A mixed size passes through: the caller checks the corner.
    EXPECT_EQ(getBoundingDim(Position<SizeType>(0, 0, 0), Dimension<SizeType>(0, 1, 1)),
              Dimension<SizeType>(0, 1, 1));
    EXPECT_THROW(getBoundingDim(Position<SizeType>(0, 0, 0), Dimension<SizeType>(0, 1, 1)).check(),
                 std::out_of_range);
}

} // namespace
