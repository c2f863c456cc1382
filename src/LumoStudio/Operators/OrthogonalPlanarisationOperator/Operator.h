// OrthogonalPlanarisationOperator::Operator: flattens a curved surface by shifting each column of
// a volume along view tert by its height, so that the surface comes to lie in slice 0.
#ifndef TARN_LUMO_ORTHOGONALPLANARISATIONOPERATOR_OPERATOR_H_INCLUDED
#define TARN_LUMO_ORTHOGONALPLANARISATIONOPERATOR_OPERATOR_H_INCLUDED

#include <Kito/Abort>
#include <Kito/IVolume>
#include <Kito/Operator>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <LumoStudio/Operators/HeightMap/Operator.h>
#include <LumoStudio/Operators/OrthogonalPlanarisationOperator/Parameter.h>

#include <omp.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator {

namespace detail {

using Tarn::Kito::OffsetType;
using Tarn::Kito::SizeType;

/// One column of the height map as the shift needs it. The heights are read once per run, not
/// once per output voxel: what a voxel needs is then one load, and no multiplication by the
/// height.
struct Column {
    /// The height as a signed 64-bit integer.
    OffsetType height;
    /// From the input view's first voxel to in(p, s, height); 0 where the height shifts the whole
    /// column out, since it is then never used.
    OffsetType offset;
};

/// A height as a signed 64-bit integer: integers by plain conversion (a Tarn::uint64 above the
/// int64 range turns negative), floating-point heights truncated toward zero. Floating-point
/// values outside the int64 range have no such integer: large ones and NaN shift the column out,
/// as any height at or past the input's extent does, and very negative ones become the most
/// negative height.
template <class H> OffsetType heightOf(H value)
{
    if constexpr (std::is_floating_point_v<H>) {
        const H limit = static_cast<H>(9223372036854775808.0); // 2^63, exact in both float types
        if (!(value < limit)) return std::numeric_limits<OffsetType>::max();
        if (value < -limit) return std::numeric_limits<OffsetType>::min();
    }
    return static_cast<OffsetType>(value);
}

/// Fills the columns of one row of the height map. hm is the row's first height, walked with the
/// height map's own prim stride; base is the offset of in(0, s, 0) from the input view's first
/// voxel. A negative height is taken as it is and points before the column: the height map of
/// this library is never negative, and nothing else is checked for.
template <class H>
void prepareRow(const H* hm, OffsetType hmPrimStride, OffsetType base, OffsetType inPrimStride, OffsetType inTertStride,
                SizeType nPrim, OffsetType nTert, Column* column)
{
    for (SizeType p = 0; p < nPrim; ++p) {
        const OffsetType h = heightOf(*hm);
        // In unsigned arithmetic, which wraps instead of overflowing for the unchecked negatives.
        const OffsetType shift = static_cast<OffsetType>(static_cast<std::uint64_t>(h) *
                                                         static_cast<std::uint64_t>(inTertStride));
        column->height = h;
        column->offset = h < nTert ? base + shift : 0;
        ++column;
        base += inPrimStride;
        hm += hmPrimStride;
    }
}

/// How many columns a block of rows should hold: their 16-byte entries, 32 KiB, stay in the
/// fastest caches while a thread sweeps all its slices through the block.
constexpr SizeType columnsPerBlock = 2048;

/// A block of rows of one output slice k: in is the input's slice k, out the block's first voxel,
/// column the block's first column, limit the input's tert extent minus k, so that "h + k is less
/// than the extent" is "h is less than limit" and cannot overflow. With Fill, voxels whose column
/// is shifted out get background here; without, they keep the background the output was filled
/// with beforehand.
///
/// Never inlined, all state in locals: a store through an 8-bit or 64-bit voxel pointer may alias
/// fields of the caller, which would force reloads after every voxel.
template <bool Unit, bool Fill, class T>
[[gnu::noinline]] void shiftRows(const T* in, OffsetType limit, const Column* column, T* out, OffsetType outStepPrim,
                                 OffsetType outStepSec, SizeType nPrim, SizeType nRows, T background)
{
    for (SizeType s = 0; s < nRows; ++s) {
        for (SizeType p = 0; p < nPrim; ++p) {
            const Column c = *column;
            if (c.height < limit)
                *out = in[c.offset];
            else if constexpr (Fill)
                *out = background;
            ++column;
            if constexpr (Unit)
                ++out;
            else
                out += outStepPrim;
        }
        out += outStepSec; // a correction: out has already moved nPrim times
    }
}

} // namespace detail

/// The planarisation of In (the input's and the output's voxel type) by a height map of H, both
/// VolumePtr over single blocks. Every volume is walked in its own view: the input's view gives
/// the extents (P, S, T) and the axis of the shift; the height map's first slice gives the
/// heights; the output's view is what is written. The output is filled with the input type's
/// background first, and then out(p, s, k) = in(p, s, k + h) wherever h + k < T. Output slices are
/// divided among the threads. No progress, no stop.
template <class In, class H> class Operator : public Tarn::Kito::Operator<Operator<In, H>> {
public:
    using Voxel = typename In::element_type::VoxelType;
    using Height = typename H::element_type::VoxelType;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::OffsetType;
        using Tarn::Kito::SizeType;
        using Tarn::Kito::IOperator;
        Tarn::Kito::clearStop(&this->abortFlag);
        const Tarn::Kito::SmartPointer<Parameter> parameter = DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0)
            throw IOperator::InvalidParameterObjectException("Tarn::Lumo::PlanarisationOperators::"
                                                             "OrthogonalPlanarisationOperator::Operator::apply: "
                                                             "paramaeter Object is NULL");
        const In input = DynamicCast<In>(parameter->inputVolume.getValue());
        if (input == 0)
            throw IOperator::InvalidParameterObjectException("Tarn::Lumo::PlanarisationOperators::"
                                                             "OrthogonalPlanarisationOperator::Operator::apply: input "
                                                             "volume is NULL");
        const H heightMap = DynamicCast<H>(parameter->inputHeightMapVolume.getValue());
        if (heightMap == 0)
            throw IOperator::InvalidParameterObjectException("Tarn::Lumo::PlanarisationOperators::"
                                                             "OrthogonalPlanarisationOperator::Operator::apply: "
                                                             "height-map volume is NULL");
        int threads = parameter->inputNumberOfThreads.getValue();
        if (threads < 1) threads = omp_get_max_threads();

        const Tarn::Kito::Dimension<SizeType> extent(input->getDimPrim(), input->getDimSec(), input->getDimTert());
        // Made before the output is touched: a failed allocation leaves it as it was.
        std::vector<detail::Column> columns(static_cast<std::size_t>(extent.prim * extent.sec));
        const In output = Tarn::Kito::Operator<Operator<In, H>>::template checkOutputVolume<In>(
            parameter->outputVolume.getValue(), extent);
        const Voxel background = HeightMap::backgroundValue<Voxel>();

        const Tarn::Kito::Iterating::IterateValues in = input->getIterateValues();
        const Tarn::Kito::Iterating::IterateValues hm = heightMap->getIterateValues();
        const Tarn::Kito::Iterating::IterateValues outValues = output->getIterateValues();
        // A resized output that has a turned view shows the new extents turned; the loops stay
        // inside both views whatever the output shows.
        const SizeType nPrim = std::min(extent.prim, outValues.countPrim);
        const SizeType nSec = std::min(extent.sec, outValues.countSec);
        const OffsetType nTert = static_cast<OffsetType>(std::min(extent.tert, outValues.countTert));
        const OffsetType inputTert = static_cast<OffsetType>(extent.tert);
        const Voxel* inFirst = input->getIterator();
        const Height* hmFirst = heightMap->getIterator();
        Voxel* outFirst = output->getIterator();
        detail::Column* table = columns.data();
        const bool unit = outValues.primStride == 1;
        // Where the shift writes every voxel of the output's view, it writes the background of the
        // shifted-out voxels itself, and each output voxel is written once; a new output's pages
        // are then also first touched by the threads that write them. Otherwise the view is
        // filled first, and the shift leaves the shifted-out voxels alone. So is an output that is
        // the input itself: the shift then reads what the fill has left.
        const bool shiftWritesAll = &*output != &*input && nPrim == outValues.countPrim && nSec == outValues.countSec &&
                                    nTert == static_cast<OffsetType>(outValues.countTert);
        if (!shiftWritesAll) output->fill(background);
        const OffsetType outStepSec = outValues.secStride - static_cast<OffsetType>(nPrim) * outValues.primStride;

        const SizeType rowsPerBlock = std::max<SizeType>(1, detail::columnsPerBlock / std::max<SizeType>(1, nPrim));

        // The team size goes in the clause, not through omp_set_num_threads: that call would
        // change the default of every later parallel region of the host's thread, long after
        // this run. Nothing in the region can throw.
#pragma omp parallel num_threads(threads)
        {
#pragma omp for schedule(static)
            for (OffsetType s = 0; s < static_cast<OffsetType>(nSec); ++s)
                detail::prepareRow(hmFirst + s * hm.secStride, hm.primStride, s * in.secStride, in.primStride,
                                   in.tertStride, nPrim, inputTert, table + s * static_cast<OffsetType>(nPrim));
            // The implicit barrier above: every column is ready before any slice is shifted.
            //
            // Each thread sweeps its slices through one block of rows before the next block, so
            // that the block's columns are read from cache rather than from memory once per slice.
            // The slices are divided by the same static schedule in every block, which gives every
            // thread the same slices each time; the blocks need no barrier between them, since
            // each output voxel is written once, from voxels that the shift does not change.
            for (SizeType first = 0; first < nSec; first += rowsPerBlock) {
                const SizeType rows = std::min(rowsPerBlock, nSec - first);
                const detail::Column* block = table + first * nPrim;
#pragma omp for schedule(static) nowait
                for (OffsetType k = 0; k < nTert; ++k) {
                    const Voxel* inSlice = inFirst + k * in.tertStride;
                    Voxel* out = outFirst + k * outValues.tertStride + static_cast<OffsetType>(first) * outValues.secStride;
                    const OffsetType limit = inputTert - k, outPrim = outValues.primStride;
                    if (unit && shiftWritesAll)
                        detail::shiftRows<true, true>(inSlice, limit, block, out, outPrim, outStepSec, nPrim, rows, background);
                    else if (unit)
                        detail::shiftRows<true, false>(inSlice, limit, block, out, outPrim, outStepSec, nPrim, rows, background);
                    else if (shiftWritesAll)
                        detail::shiftRows<false, true>(inSlice, limit, block, out, outPrim, outStepSec, nPrim, rows, background);
                    else
                        detail::shiftRows<false, false>(inSlice, limit, block, out, outPrim, outStepSec, nPrim, rows, background);
                }
            }
        }
        parameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(output));
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator< " +
               typename In::element_type().getType() + " , " + typename H::element_type().getType() + " >";
    }
};

} // namespace Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator

#endif
