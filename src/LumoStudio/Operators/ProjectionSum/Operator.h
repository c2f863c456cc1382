// ProjectionSum::Operator: for every ray along one axis, the sum of the voxels on it, formed in the
// output's voxel type, in a new slice.
#ifndef TARN_LUMO_PROJECTIONSUM_OPERATOR_H_INCLUDED
#define TARN_LUMO_PROJECTIONSUM_OPERATOR_H_INCLUDED

#include <Kito/Operator>
#include <Kito/Types>
#include <LumoStudio/Operators/Projection/Operator.h>
#include <LumoStudio/Operators/ProjectionSum/Parameter.h>

#include <limits>
#include <string>
#include <type_traits>

namespace Tarn::Lumo::ProjectionSum {

using Tarn::Kito::SizeType;

/// x truncated toward zero as a 32-bit integer. Outside that range, and for NaN, the result is
/// -2^31, the value the processor's truncating conversion gives there; the language leaves the
/// case undefined, so it is decided here and not by the compiler.
inline Tarn::int32 truncatedToInt32(double x)
{
    const bool inRange = x > -2147483649.0 && x < 2147483648.0; // false for NaN
    return inRange ? static_cast<Tarn::int32>(x) : std::numeric_limits<Tarn::int32>::min();
}

/// x truncated toward zero as a 64-bit integer; outside that range, and for NaN, -2^63.
inline Tarn::int64 truncatedToInt64(double x)
{
    const bool inRange = x >= -9223372036854775808.0 && x < 9223372036854775808.0;
    return inRange ? static_cast<Tarn::int64>(x) : std::numeric_limits<Tarn::int64>::min();
}

/// An input voxel as a term of the sum, in the output's type O. Integers and floats into floats,
/// and integers into integers, take the language's conversion (into a narrower or an unsigned
/// type: the low bits, so -1 as a signed 8-bit voxel is 255 as an unsigned one). A float into an
/// integer is truncated toward zero: into Tarn::uint32 as a 64-bit integer, so that negative values
/// wrap as the integers do; into the narrower types as a 32-bit integer of which the low bits count.
template <class O, class I> O termOf(const I& voxel)
{
    if constexpr (std::is_floating_point_v<I> && std::is_integral_v<O>) {
        if constexpr (std::is_same_v<O, Tarn::uint32>)
            return static_cast<O>(truncatedToInt64(static_cast<double>(voxel)));
        else
            return static_cast<O>(truncatedToInt32(static_cast<double>(voxel)));
    } else {
        return static_cast<O>(voxel);
    }
}

/// a + b in O itself: integers wrap around modulo their width (added as unsigned, where wrapping
/// is defined), floats round to O at every addition. No wider accumulator: the host chose O.
template <class O> O sumIn(const O& a, const O& b)
{
    if constexpr (std::is_integral_v<O>) {
        using U = std::make_unsigned_t<O>;
        return static_cast<O>(static_cast<U>(static_cast<U>(a) + static_cast<U>(b)));
    } else {
        return a + b;
    }
}

/// The integer type in which integer voxels of type I are added up exactly: 32 bits for voxels of
/// up to 16 bits, so that four of them share a vector register, 64 bits for wider ones.
template <class I>
using ExactLane = std::conditional_t<(sizeof(I) <= 2), std::conditional_t<std::is_signed_v<I>, Tarn::int32, Tarn::uint32>,
                                     std::conditional_t<std::is_signed_v<I>, Tarn::int64, Tarn::uint64>>;

/// The largest magnitude of an integer voxel of type I.
template <class I> constexpr Tarn::uint64 largestMagnitude()
{
    if constexpr (std::is_signed_v<I>)
        return Tarn::uint64(0) - static_cast<Tarn::uint64>(static_cast<Tarn::int64>(std::numeric_limits<I>::min()));
    else
        return static_cast<Tarn::uint64>(std::numeric_limits<I>::max());
}

/// The largest magnitude up to which every integer is both an O (2^24 for Tarn::float32, 2^53 for
/// Tarn::float64) and an ExactLane<I>.
template <class I, class O> constexpr Tarn::uint64 exactBound()
{
    const Tarn::uint64 inOutput = Tarn::uint64(1) << std::numeric_limits<O>::digits;
    const auto inLane = static_cast<Tarn::uint64>(std::numeric_limits<ExactLane<I>>::max());
    return inOutput < inLane ? inOutput : inLane;
}

/// The running sum plus the voxel converted to the output's type. fold also takes whole vectors of
/// voxels already converted to O, lane by lane: the term of such a value is the value itself.
struct Add {
    template <class O, class I> static O fold(const O& projected, const I& voxel)
    {
        return sumIn<O>(projected, termOf<O>(voxel));
    }

    /// A ray of n voxels summed from 0 gives the same bits in any order when the output is an
    /// integer, since wrapping addition is associative; and when integer voxels go into a float
    /// output and no partial sum can pass the integers that the output holds exactly, since then
    /// every addition of the walk's chain is exact and its result is the integer sum.
    template <class I, class O> static bool raysInAnyOrder(SizeType n)
    {
        if constexpr (std::is_integral_v<O>)
            return true;
        else if constexpr (std::is_integral_v<I>)
            return n <= exactBound<I, O>() / largestMagnitude<I>();
        else
            return false;
    }

    /// The sum of the n voxels from p, in the order the compiler finds fastest: in O for an integer
    /// output, as an integer converted once for integers into a float. Floats into floats, which
    /// raysInAnyOrder never lets through, are summed in walk order.
    template <class O, class I> static O rayInAnyOrder(const I* p, SizeType n)
    {
        if constexpr (std::is_integral_v<O> || !std::is_integral_v<I>) {
            O sum = O(0);
            for (SizeType i = 0; i < n; ++i) sum = fold(sum, p[i]);
            return sum;
        } else {
            ExactLane<I> sum = 0;
            for (SizeType i = 0; i < n; ++i) sum += static_cast<ExactLane<I>>(p[i]);
            return static_cast<O>(sum);
        }
    }
};

/// In and Out are VolumePtr<T, SingleBlockAllocator> of any two of the eight voxel types: the sum
/// is formed in Out's type, in walk order, tert outermost and prim innermost.
template <class In, class Out> class Operator : public Tarn::Kito::Operator<Operator<In, Out>> {
public:
    template <class I, class O> using Functor = Projection::Functor<Add, I, O>;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        this->startRun();
        Projection::project<Parameter, Functor<In, Out>>(parameterObject, "Tarn::Lumo::ProjectionSum::Operator::apply",
                                                         this->progress, &this->abortFlag);
    }

    std::string getType() const override
    {
        return Projection::identifier<In, Out>("Tarn::Lumo::ProjectionSum::Operator< ");
    }
};

} // namespace Tarn::Lumo::ProjectionSum

#endif
