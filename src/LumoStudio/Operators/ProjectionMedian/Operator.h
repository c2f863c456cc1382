// ProjectionMedian::Operator: for every ray along one axis, the median of the voxels on it, written
// by a median filter whose mask is one ray long into a volume of the input's extent.
#ifndef TARN_LUMO_PROJECTIONMEDIAN_OPERATOR_H_INCLUDED
#define TARN_LUMO_PROJECTIONMEDIAN_OPERATOR_H_INCLUDED

#include <Kito/IOperator>
#include <Kito/IVolume>
#include <Kito/MaskOffsets>
#include <Kito/MedianOperators/QuickSelectMedian>
#include <Kito/Operator>
#include <Kito/Progress>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <LumoStudio/Operators/Projection/Operator.h>
#include <LumoStudio/Operators/ProjectionMedian/Parameter.h>

#include <omp.h>

#include <cstdint>
#include <string>
#include <type_traits>

namespace Tarn::Lumo::ProjectionMedian {

using Tarn::Kito::Dimension;
using Tarn::Kito::OffsetType;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;

/// The mask of one ray: all voxels 1.
using Mask = Tarn::Kito::VolumePtr<Tarn::uint8, Tarn::Kito::Allocator::SingleBlockAllocator>;

/// The mask's extent for a ray along direction (0 tert, 1 sec, 2 prim) through a view of extent
/// (P, S, T): (1, 1, T), (1, S, 1) or (P, 1, 1).
inline Dimension<SizeType> rayDimension(SizeType direction, const Dimension<SizeType>& view)
{
    if (direction == 0) return Dimension<SizeType>(1, 1, view.tert);
    if (direction == 1) return Dimension<SizeType>(1, view.sec, 1);
    return Dimension<SizeType>(view.prim, 1, 1);
}

/// The anchor of the ray mask: its first voxel. The walked plane is then the view's first plane
/// across the ray (tert 0, sec 0 or prim 0), and each ray's median lands on the ray's first voxel.
inline Position<SizeType> rayAnchor() { return Position<SizeType>(0, 0, 0); }

/// The median filter's functor over voxels of type V: for the voxel under the anchor it gathers the
/// voxels at the mask's offsets into its scratch buffer, selects their median there, and writes it
/// to the output voxel. Each copy (the parallel walk makes one per slab) has a scratch buffer of its
/// own, so the selection may reorder it without a lock and without touching the input.
template <class V> class Functor : public Tarn::Kito::Iterating::MaskOffsets<Mask> {
    using Base = Tarn::Kito::Iterating::MaskOffsets<Mask>;

public:
    using Scratch = Tarn::Kito::VolumePtr<V, Tarn::Kito::Allocator::SingleBlockAllocator>;

    template <class WalkedVolume>
    Functor(const WalkedVolume& volume, const Mask& mask, const Position<SizeType>& anchor)
        : Base(volume, mask, anchor), scratch(makeScratch(this->count)), buffer(scratch->getIterator())
    {
        // A ray mask from its first voxel gives offsets 0, d, 2d, ...: then the gather needs no
        // offset list, and a ray along prim (d = 1) is a plain copy the compiler turns into wide
        // loads. (Through the list, a ray of 512 voxels along prim took about a fifth longer.)
        step = this->count > 1 ? this->offsetData[1] : 1;
        for (SizeType i = 0; i < this->count; ++i)
            if (this->offsetData[i] != static_cast<OffsetType>(i) * step) step = 0;
    }
    Functor(const Functor& other)
        : Base(other), scratch(makeScratch(other.count)), buffer(scratch->getIterator()), step(other.step)
    {
    }
    /// The walks hand a working copy's state back after every slice: the buffer stays this copy's own,
    /// and is made anew only if it is too small for other's mask.
    Functor& operator=(const Functor& other)
    {
        Base::operator=(other);
        step = other.step;
        if (scratch->getDimPrim() < other.count) {
            scratch = makeScratch(other.count);
            buffer = scratch->getIterator();
        }
        return *this;
    }

    void operator()(const V& underAnchor, V& median) const
    {
        const V* const p = &underAnchor;
        const OffsetType* const offsets = this->offsetData;
        V* const b = buffer;
        const auto n = static_cast<Tarn::uint32>(this->count);
        const OffsetType d = step;
        if (d == 1)
            for (Tarn::uint32 i = 0; i < n; ++i) b[i] = p[i];
        else if (d != 0)
            for (Tarn::uint32 i = 0; i < n; ++i) b[i] = p[static_cast<OffsetType>(i) * d];
        else
            for (Tarn::uint32 i = 0; i < n; ++i) b[i] = p[offsets[i]];
        median = Tarn::Kito::MedianOperators::QuickSelectMedian(b, n);
    }

    /// A one-dimensional volume of as many voxels as the mask has (one at least).
    static Scratch makeScratch(SizeType count)
    {
        return Scratch(new typename Scratch::element_type(Dimension<SizeType>(count == 0 ? 1 : count, 1, 1)));
    }

    Scratch scratch;
    V* buffer;
    /// The distance between neighbouring offsets if they are 0, d, 2d, ..., else 0.
    OffsetType step = 0;
};

namespace detail {

/// Rays gathered side by side along tert: the rays of neighbouring prim positions lie next to each
/// other, so one cache line read serves up to a line's worth of rays. Read one at a time, a ray along
/// tert touches a line per voxel in a volume larger than the caches, and lines of the same place in
/// many slices fall into the same cache sets and push each other out before the next ray needs them.
template <class V> constexpr SizeType raysSideBySide = sizeof(V) >= 64 ? 1 : 64 / sizeof(V);

/// The medians of the plane that a ray mask along tert walks, the region (P, S, 1) pushed on both
/// views: line by line of the plane, on all cores, up to raysSideBySide rays gathered at once, each
/// selected by QuickSelectMedian in its own stretch of the thread's scratch buffer. The same medians
/// as the mask walk (every ray is gathered in mask order and selected alike). Observable as the mask
/// walk over a region of one slice: the slice is walked whole whatever the stop byte says, and
/// progress is 0.99 after it and 1.0 at the end.
template <class V, class In, class Out>
void alongTert(const Functor<V>& functor, const In& input, const Out& output, Tarn::Kito::Progress& progress)
{
    const Tarn::Kito::Iterating::IterateValues in = input->getIterateValues();
    const Tarn::Kito::Iterating::IterateValues out = output->getIterateValues();
    const SizeType nPrim = in.countPrim, nSec = in.countSec, n = functor.count;
    const OffsetType inPrim = in.primStride, inSec = in.secStride, outPrim = out.primStride, outSec = out.secStride;
    const V* const first = input->getIterator();
    V* const target = output->getIterator();
    const OffsetType* const offsets = functor.offsetData;
    constexpr SizeType B = raysSideBySide<V>;
    const auto lines = static_cast<std::int64_t>(nSec);
    // No more threads than lines, as the parallel walk starts no more slabs than slices.
    const int threads = lines < omp_get_max_threads() ? static_cast<int>(lines < 1 ? 1 : lines) : omp_get_max_threads();
#pragma omp parallel num_threads(threads)
    {
        // The thread's own scratch: B rays of n voxels, ray r from r * n on.
        const typename Functor<V>::Scratch scratch = Functor<V>::makeScratch(n * B);
        V* const buffer = scratch->getIterator();
        const auto count = static_cast<Tarn::uint32>(n);
#pragma omp for schedule(static)
        for (std::int64_t s = 0; s < lines; ++s) {
            const V* const line = first + s * inSec;
            V* const row = target + s * outSec;
            for (SizeType p = 0; p < nPrim; p += B) {
                const SizeType rays = nPrim - p < B ? nPrim - p : B;
                const V* const base = line + static_cast<OffsetType>(p) * inPrim;
                for (SizeType i = 0; i < n; ++i) {
                    const V* const voxel = base + offsets[i];
                    for (SizeType r = 0; r < rays; ++r) buffer[r * n + i] = voxel[static_cast<OffsetType>(r) * inPrim];
                }
                for (SizeType r = 0; r < rays; ++r)
                    row[static_cast<OffsetType>(p + r) * outPrim] =
                        Tarn::Kito::MedianOperators::QuickSelectMedian(buffer + r * n, count);
            }
        }
    }
    progress.setProgress(0.99);
    progress.setProgress(1.0);
}

} // namespace detail

/// In and Out are one VolumePtr<T, SingleBlockAllocator> type, for the eight voxel types. The output
/// has the input view's extent; a volume handed in through outputVolume is reused (resized if its
/// extent differs) and keeps its voxels outside the walked plane, and a new one has those of a
/// volume just made. The median of a ray of n voxels is the element of rank (n - 1) / 2, compared
/// in the voxel type: for an even n the lower middle value.
///
/// The texts of apply's failures are those of the median filter this operator descends from, and
/// the direction's names the mean projection; hosts compare them as they stand.
template <class In, class Out> class Operator : public Tarn::Kito::Operator<Operator<In, Out>> {
    static_assert(std::is_same_v<In, Out>, "the median keeps the voxel type");

public:
    using Voxel = typename In::element_type::VoxelType;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::SmartPointer;
        using Failure = Tarn::Kito::IOperator::InvalidParameterObjectException;
        this->startRun();
        const SmartPointer<Parameter> parameter = DynamicCast<SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0) throw Failure("Tarn::Kito::MedianOperators::QuickSelectMedian::Operator::apply");
        const In input = DynamicCast<In>(parameter->inputVolume.getValue());
        if (input == 0)
            throw Failure("Tarn::Kito::MedianOperators::QuickSelectMedian::Operator::apply the inputVolume is NULL");
        const Dimension<SizeType> view = input->getDimension();
        // Made or resized before the direction is looked at: a bad direction leaves it so.
        const Out output = this->template checkOutputVolume<Out>(parameter->outputVolume.getValue(), view);
        const SizeType direction = parameter->inputDirection.getValue();
        if (direction > 2) throw Failure("Tarn::Lumo::ProjectionMean::Operator::apply: Invalid direction");
        const Mask mask(new typename Mask::element_type(rayDimension(direction, view)));
        mask->fill(1);
        const Functor<Voxel> functor(*input, mask, rayAnchor());
        if (direction == 0) {
            Tarn::Kito::Iterating::detail::PushedRegion<typename In::element_type> a(*input, functor.getRegion());
            Tarn::Kito::Iterating::detail::PushedRegion<typename Out::element_type> b(*output, functor.getRegion());
            detail::alongTert(functor, input, output, this->progress);
        } else {
            Tarn::Kito::Iterating::walkByMask(functor, input, output, this->progress, &this->abortFlag);
        }
        parameter->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(output));
    }

    std::string getType() const override
    {
        return Projection::identifier<In, Out>("Tarn::Lumo::ProjectionMedian::Operator< ");
    }
};

} // namespace Tarn::Lumo::ProjectionMedian

#endif
