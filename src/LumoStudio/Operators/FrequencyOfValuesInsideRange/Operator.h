// FrequencyOfValuesInsideRange::Operator: the number of voxels of a view whose value lies in a
// closed range, counted on all cores.
#ifndef TARN_LUMO_FREQUENCYOFVALUESINSIDERANGE_OPERATOR_H_INCLUDED
#define TARN_LUMO_FREQUENCYOFVALUESINSIDERANGE_OPERATOR_H_INCLUDED

#include <Kito/Data>
#include <Kito/Exceptions>
#include <Kito/ForEachParallel>
#include <Kito/Functor>
#include <Kito/Operator>
#include <Kito/SmartPointer>
#include <Kito/Types>
#include <Kito/Volume>
#include <LumoStudio/Operators/FrequencyOfValuesInsideRange/Parameter.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

namespace Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange {

namespace detail {

/// value in type W as the language converts it: integers into integers modulo 2^n, anything into a
/// float type rounded, a float into an integer truncated toward zero, so 1.5 is 1 and -0.5 is 0.
/// Where the language defines no result, a float outside W's range, it is clamped to the nearest
/// end of the range, and NaN is 0.
template <class W, class S> W narrowed(const S& value)
{
    if constexpr (std::is_floating_point_v<S> && std::is_integral_v<W>) {
        if (std::isnan(value)) return W(0);
        // long double holds every integer limit up to 64 bits exactly.
        const long double truncated = std::trunc(static_cast<long double>(value));
        if (truncated < static_cast<long double>(std::numeric_limits<W>::min())) return std::numeric_limits<W>::min();
        if (truncated > static_cast<long double>(std::numeric_limits<W>::max())) return std::numeric_limits<W>::max();
        return static_cast<W>(truncated);
    } else {
        return static_cast<W>(value);
    }
}

/// The value of data in type W, if data holds a Data of one of the ten numeric voxel types.
template <class W, class S> bool readAs(const Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IData>& data, W& result)
{
    const Tarn::Kito::Persistence::DataPtr<S> typed = Tarn::Kito::DynamicCast<Tarn::Kito::Persistence::DataPtr<S>>(data);
    if (typed == 0) return false;
    result = narrowed<W>(typed->getValue());
    return true;
}

/// A bound of the range in the voxel type W. Any numeric Data is taken and narrowed; anything else
/// (NULL, text, bool) fails as extractValue fails for it, which reads it strictly as a Data of W.
template <class W, class P> W boundOf(const P& property)
{
    const Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IData> data = property.getValue();
    W result{};
    if (data != 0 &&
        (readAs<W, W>(data, result) || readAs<W, Tarn::int8>(data, result) || readAs<W, Tarn::uint8>(data, result) ||
         readAs<W, Tarn::int16>(data, result) || readAs<W, Tarn::uint16>(data, result) ||
         readAs<W, Tarn::int32>(data, result) || readAs<W, Tarn::uint32>(data, result) ||
         readAs<W, Tarn::int64>(data, result) || readAs<W, Tarn::uint64>(data, result) ||
         readAs<W, Tarn::float32>(data, result) || readAs<W, Tarn::float64>(data, result)))
        return result;
    return property.template extractValue<W>();
}

} // namespace detail

/// Counts, in each slab of the parallel walk for itself, the voxels v with v >= lower and
/// upper >= v, compared in the voxel type. A NaN voxel fails both tests. Count is the type of the
/// count: unsigned 64 bits, or 32 where the whole view has fewer than 2^32 voxels, which no slab's
/// count can then pass; a narrower count lets the compiler count more voxels per instruction.
template <class VolumePointer, class Count = Tarn::uint64> class Functor : public Tarn::Kito::Iterating::Functor {
public:
    using Voxel = typename VolumePointer::element_type::VoxelType;

    Functor(const Voxel& lower, const Voxel& upper) : lower(lower), upper(upper) {}

    void operator()(const Voxel& value) { count += (value >= lower && upper >= value) ? Count(1) : Count(0); }

    Voxel lower;
    Voxel upper;
    Count count = 0;
};

/// The same count for integer voxels with lower <= upper, by one comparison per voxel: v lies in
/// [lower, upper] exactly if v - lower, taken modulo 2^n as an unsigned n-bit number, is at most
/// upper - lower.
template <class VolumePointer, class Count> class SpanFunctor : public Tarn::Kito::Iterating::Functor {
public:
    using Voxel = typename VolumePointer::element_type::VoxelType;
    using Unsigned = std::make_unsigned_t<Voxel>;

    SpanFunctor(const Voxel& lower, const Voxel& upper)
        : lower(static_cast<Unsigned>(lower)), span(static_cast<Unsigned>(static_cast<Unsigned>(upper) - this->lower))
    {
    }

    void operator()(const Voxel& value)
    {
        count += static_cast<Unsigned>(static_cast<Unsigned>(value) - lower) <= span ? Count(1) : Count(0);
    }

    Unsigned lower;
    Unsigned span;
    Count count = 0;
};

/// VolumePointer is VolumePtr<T, SingleBlockAllocator> for one of the eight voxel types. The bounds
/// are neither swapped nor tested: with lower above upper nothing is counted.
template <class VolumePointer> class Operator : public Tarn::Kito::Operator<Operator<VolumePointer>> {
public:
    using Voxel = typename VolumePointer::element_type::VoxelType;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        this->startRun();
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0)
            throw Tarn::Kito::IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator::apply");
        const VolumePointer input = Tarn::Kito::DynamicCast<VolumePointer>(parameter->inputVolume.getValue());
        if (input == 0)
            throw Tarn::Exceptions::InvalidArg("inputVolume is NULL",
                                               "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator::apply",
                                               "src/LumoStudio/Operators/FrequencyOfValuesInsideRange/Operator.h",
                                               __LINE__);
        const Voxel lower = detail::boundOf<Voxel>(parameter->inputRangeLowerValue);
        const Voxel upper = detail::boundOf<Voxel>(parameter->inputRangeUpperValue);
        // The functors differ in how they count, not in what.
        const bool narrow = input->getDimension().size() < (Tarn::uint64(1) << 32);
        Tarn::uint64 frequency = 0;
        if constexpr (std::is_integral_v<Voxel>) {
            if (!(upper < lower)) {
                frequency = narrow ? count(SpanFunctor<VolumePointer, Tarn::uint32>(lower, upper), input)
                                   : count(SpanFunctor<VolumePointer, Tarn::uint64>(lower, upper), input);
                parameter->outputFrequency.setValue(frequency);
                return;
            }
        }
        frequency = narrow ? count(Functor<VolumePointer, Tarn::uint32>(lower, upper), input)
                           : count(Functor<VolumePointer>(lower, upper), input);
        parameter->outputFrequency.setValue(frequency);
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator< " +
               typename VolumePointer::element_type().getType() + " >";
    }

private:
    /// The parallel walk with functor, and the sum of the counts of its slabs in the order of the
    /// list it returns; a sum of integers does not depend on it. A stopped walk gives the count of
    /// what it saw.
    template <class F> Tarn::uint64 count(const F& functor, const VolumePointer& input)
    {
        const auto counted =
            Tarn::Kito::Iterating::ForEachParallel::apply(&functor, input, this->progress, &this->abortFlag);
        Tarn::uint64 frequency = 0;
        for (const auto& slab : counted) frequency += slab->count;
        return frequency;
    }
};

} // namespace Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange

#endif
