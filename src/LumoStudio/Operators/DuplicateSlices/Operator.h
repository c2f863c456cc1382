// DuplicateSlices::Operator: one slice of a volume, in any of the three axis planes, repeated into
// a new volume.
#ifndef TARN_LUMO_DUPLICATESLICES_OPERATOR_H_INCLUDED
#define TARN_LUMO_DUPLICATESLICES_OPERATOR_H_INCLUDED

#include <Kito/Copy/Operator>
#include <Kito/Copy/Parameter>
#include <Kito/Operator>
#include <Kito/Orientation>
#include <Kito/Triple>
#include <Kito/Volume>
#include <LumoStudio/Operators/DuplicateSlices/Parameter.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Tarn::Lumo::DuplicateSlices {

namespace detail {

template <std::size_t Bytes> struct UnsignedOfSize;
template <> struct UnsignedOfSize<1> { using type = std::uint8_t; };
template <> struct UnsignedOfSize<2> { using type = std::uint16_t; };
template <> struct UnsignedOfSize<4> { using type = std::uint32_t; };
template <> struct UnsignedOfSize<8> { using type = std::uint64_t; };

/// The whole run for an input of type In, shared by the eight operators that differ only in the
/// volume type that names them: named is the operator, asked for its type only to begin a
/// failure text.
template <class In> class Duplication {
public:
    using Voxel = typename In::element_type::VoxelType;
    using Result = Tarn::Kito::VolumePtr<Voxel, Tarn::Kito::Allocator::SingleBlockAllocator>;

    static void run(const Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>& parameterObject,
                    const Tarn::Kito::Persistence::IComposite& named)
    {
        using Tarn::Kito::Dimension;
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::Orientation;
        using Tarn::Kito::SizeType;
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0)
            throw Tarn::Kito::IOperator::InvalidParameterObjectException(named.getType() + "::apply parameter is NULL");
        const In input = DynamicCast<In>(parameter->inputVolume.getValue());
        const std::string plane = parameter->inputSliceOrientation.getValue();
        const SizeType index = parameter->inputSliceIndex.getValue();
        const SizeType count = parameter->inputNumberOfSlices.getValue();
        if (input == 0) throw std::invalid_argument(named.getType() + "::apply One or more parameter values are null!");

        // Only the first eight characters are compared: a longer text that starts with a literal
        // is that literal, as hosts have always had it.
        const bool xy = plane.compare(0, 8, "XY-Slice") == 0;
        const bool xz = plane.compare(0, 8, "XZ-Slice") == 0;
        const bool yz = plane.compare(0, 8, "YZ-Slice") == 0;
        if (!xy && !xz && !yz)
            throw std::invalid_argument(named.getType() + "::Orientation have to be xy or xz or yz !");

        const SizeType prim = input->getDimPrim(), sec = input->getDimSec(), tert = input->getDimTert();
        // A count of 0 leaves one axis at zero, which the volume's constructor refuses, before
        // anything is turned.
        const Dimension<SizeType> extent = xy ? Dimension<SizeType>(prim, sec, count)
                                           : xz ? Dimension<SizeType>(prim, count, tert)
                                                : Dimension<SizeType>(count, sec, tert);
        const Result result(new typename Result::element_type(extent));

        // Any failure while the slice is taken, an index beyond the plane's extent among them,
        // reaches the host as this one text; the volumes keep the regions and orientation they
        // had at that moment.
        try {
            const Slice slice = xy ? take(input, index)
                                   : takeTurned(input, index, xz ? Orientation(0, 4, 2) : Orientation(2, 4, 0));
            input->popRoi();
            repeat(*slice, *result, xy ? Axis::tert : xz ? Axis::sec : Axis::prim);
        } catch (...) {
            throw std::invalid_argument(named.getType() + "::DuplicateSlices Copy Slices Failed 0!");
        }
        parameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(result));
    }

private:
    using Slice = Result;   // a volume of one slice
    /// The memory axis of the result along which the slice repeats.
    enum class Axis { prim, sec, tert };

    /// Pushes the input's slice index (a tert slice of its view) and copies that slice into a
    /// volume of one slice. The slice stays pushed on the input for the caller to pop.
    static Slice take(const In& input, Tarn::Kito::SizeType index)
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::IVolume;
        input->setRoiToSlice(index);
        const Slice slice(new typename Slice::element_type(
            Tarn::Kito::Dimension<Tarn::Kito::SizeType>(input->getDimPrim(), input->getDimSec(), 1)));
        Tarn::Kito::SmartPointer<Tarn::Kito::Copy::Parameter> copyParameter(new Tarn::Kito::Copy::Parameter);
        copyParameter->inputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<IVolume>>(input));
        copyParameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<IVolume>>(slice));
        Tarn::Kito::Copy::Operator<In, Slice> copy;
        copy.apply(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(copyParameter));
        return slice;
    }

    /// take() on the input turned so that the wanted plane is a tert slice of its view; the input
    /// is turned back to the default orientation afterwards, as after every XZ or YZ repetition.
    static Slice takeTurned(const In& input, Tarn::Kito::SizeType index, const Tarn::Kito::Orientation& turned)
    {
        input->setOrientation(turned);
        const Slice slice = take(input, index);
        input->setOrientation(Tarn::Kito::Orientation(0, 2, 4));
        return slice;
    }

    /// Fills the result, in memory order and parallel over its tert slices, with the slice
    /// repeated along one memory axis. Each thread first touches the pages it writes, as a plain
    /// parallel copy would; the bytes are the same on any number of threads.
    static void repeat(const typename Slice::element_type& slice, typename Result::element_type& result, Axis along)
    {
        const Voxel* const from = slice.getIterator();
        Voxel* const to = result.getIterator();
        const auto nPrim = static_cast<std::int64_t>(result.getDimPrim());
        const auto nSec = static_cast<std::int64_t>(result.getDimSec());
        const auto nTert = static_cast<std::int64_t>(result.getDimTert());
        const std::size_t rowBytes = static_cast<std::size_t>(nPrim) * sizeof(Voxel);
        if (along == Axis::tert) {
            // Every tert slice of the result is the slice.
            const std::size_t sliceBytes = rowBytes * static_cast<std::size_t>(nSec);
#pragma omp parallel for schedule(static)
            for (std::int64_t t = 0; t < nTert; ++t)
                std::memcpy(to + t * nPrim * nSec, from, sliceBytes);
        } else if (along == Axis::sec) {
            // The slice's rows are the result's rows at each tert position, repeated along sec.
#pragma omp parallel for schedule(static) collapse(2)
            for (std::int64_t t = 0; t < nTert; ++t)
                for (std::int64_t s = 0; s < nSec; ++s)
                    std::memcpy(to + (t * nSec + s) * nPrim, from + t * nPrim, rowBytes);
        } else {
            // Each voxel of the slice fills one row of the result. The bits are moved as bytes,
            // never as a float, so that a signalling NaN passes unchanged.
            using Bits = typename UnsignedOfSize<sizeof(Voxel)>::type;
#pragma omp parallel for schedule(static) collapse(2)
            for (std::int64_t t = 0; t < nTert; ++t)
                for (std::int64_t s = 0; s < nSec; ++s) {
                    Bits value;
                    std::memcpy(&value, from + t * nSec + s, sizeof(Voxel));
                    Voxel* const row = to + (t * nSec + s) * nPrim;
                    for (std::int64_t p = 0; p < nPrim; ++p) std::memcpy(row + p, &value, sizeof(Voxel));
                }
        }
    }
};

} // namespace detail

/// In and Out are VolumePtr<V, SingleBlockAllocator>, of any two of the voxel types: Out only
/// names the instance (a host picks it by the volume it leaves in outputVolume), and the result is
/// always a new volume of In's type. An XZ or YZ slice is reached by turning the input so that it
/// becomes a tert slice of the view. The slice is copied once, by a Copy of its own, into a volume
/// of one slice; the result is then filled from that in memory order on all threads. A copy per
/// result slice, as the repetition is usually put, would give the same bytes: the copies are
/// between volumes of one type, so a voxel's bits pass unchanged.
///
/// The copy is an operator of its own, with its own progress and stop flag: this operator's
/// progress stands at 0 until it returns, and a stop asked of it does not reach the copy.
template <class In, class Out> class Operator : public Tarn::Kito::Operator<Operator<In, Out>> {
public:
    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        this->startRun();
        detail::Duplication<In>::run(parameterObject, *this);
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::DuplicateSlices::Operator< " + typename In::element_type().getType() + " , " +
               typename Out::element_type().getType() + " >";
    }
};

} // namespace Tarn::Lumo::DuplicateSlices

#endif
