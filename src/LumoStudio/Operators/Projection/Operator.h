// Projection: the walk, functor and run that the maximum and the sum projection share. They differ
// only in the rule that folds one input voxel into its output voxel.
#ifndef TARN_LUMO_PROJECTION_OPERATOR_H_INCLUDED
#define TARN_LUMO_PROJECTION_OPERATOR_H_INCLUDED

#include <Kito/Functor>
#include <Kito/IOperator>
#include <Kito/IVolume>
#include <Kito/IterateValues>
#include <Kito/Progress>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <Kito/Walk>

#include <cstdint>
#include <string>
#include <type_traits>

namespace Tarn::Lumo::Projection {

using Tarn::Kito::Dimension;
using Tarn::Kito::OffsetType;
using Tarn::Kito::SizeType;

/// The extent of the projection of a view of extent (P, S, T): the collapsed axis becomes 1, the
/// others keep their extents and their places, so direction 2 gives a slice in the (sec, tert)
/// plane, not one turned to (prim, sec).
inline Dimension<SizeType> projectedDimension(SizeType direction, SizeType nPrim, SizeType nSec, SizeType nTert)
{
    if (direction == 0) return Dimension<SizeType>(nPrim, nSec, 1);
    if (direction == 1) return Dimension<SizeType>(nPrim, 1, nTert);
    return Dimension<SizeType>(1, nSec, nTert);
}

/// How the output voxel that an input voxel projects onto moves along the walk, in a new output
/// volume (whole, default orientation, so its voxels lie at p + P*s + P*S*t). alongPrim: the
/// output moves on by one voxel with each input voxel of a line; otherwise the whole line folds
/// into one output voxel. afterLine and afterSlice are corrections from a line's first output
/// voxel, as the walk's increments are.
struct OutputPath {
    bool alongPrim;
    OffsetType afterLine;
    OffsetType afterSlice;
};

inline OutputPath outputPath(SizeType direction, SizeType nPrim, SizeType nSec)
{
    const auto P = static_cast<OffsetType>(nPrim), S = static_cast<OffsetType>(nSec);
    // Direction 0, output (p, s): each slice starts again at the output's first voxel.
    if (direction == 0) return {true, P, -(P * S)};
    // Direction 1, output (p, t): all lines of slice t fold into output row t.
    if (direction == 1) return {true, 0, P};
    // Direction 2, output (s, t): one output voxel per line, the lines' voxels one after the other.
    return {false, 1, 0};
}

/// Folds one input voxel into the output voxel it projects onto, by Rule::fold. The position fields
/// are the walk's; the fold never reads them. I and O are the operator's volume pointer types.
template <class Rule, class I, class O> class Functor : public Tarn::Kito::Iterating::Functor {
public:
    using InputPointer = I;
    using OutputPointer = O;
    using InputVoxel = typename I::element_type::VoxelType;
    using OutputVoxel = typename O::element_type::VoxelType;

    Functor(const O& output, SizeType direction) : output(output), direction(direction) {}

    void operator()(const InputVoxel& voxel, OutputVoxel& projected) const
    {
        projected = Rule::template fold<OutputVoxel>(projected, voxel);
    }

    /// The new output volume; the walk writes it through its raw storage.
    O output;
    SizeType direction;
};

namespace detail {

/// One input line whose voxels project onto consecutive output voxels from q on. With Unit the
/// input pointer steps by one and the loop can be vectorised.
template <bool Unit, class F, class It, class V>
It foldLine(const F& f, It p, V* q, SizeType count, OffsetType dPrim)
{
    for (SizeType i = 0; i < count; ++i) {
        f(*p, q[i]);
        if constexpr (Unit)
            p += 1;
        else
            p += dPrim;
    }
    return p;
}

/// One input line that projects onto the single output voxel target. The running value stays in a
/// local: the input may be of the output's type, so the compiler could not keep target itself in
/// a register across the reads of the line.
template <bool Unit, class F, class It, class V>
It reduceLine(const F& f, It p, V& target, SizeType count, OffsetType dPrim)
{
    V running = target;
    for (SizeType i = 0; i < count; ++i) {
        f(*p, running);
        if constexpr (Unit)
            p += 1;
        else
            p += dPrim;
    }
    target = running;
    return p;
}

/// The serial walk of the input's view, tert outermost, prim innermost, each voxel folded into its
/// output voxel. The tert loop with its progress, abort byte and hand-back of the functor is the
/// one every walk shares; only the lines differ, since a line that falls on one output voxel is
/// folded into a local. Returns false if stopped. All loop state is in locals: a store through a
/// uint8 output may alias anything. Behind a call, for the reason walkSlices gives: inlined into
/// apply, the functor's unwinding would pin its fields to memory.
template <bool AlongPrim, bool Unit, class F, class It, class V>
[[gnu::noinline]] bool projectSlices(F& caller, It p, V* q, const Tarn::Kito::Iterating::IterateValues& in,
                                     const OutputPath& path, Tarn::Kito::Progress& progress, const std::uint8_t* abort)
{
    const SizeType nPrim = in.countPrim, nSec = in.countSec;
    const OffsetType dPrim = in.primIncrement, dSec = in.secIncrement, dTert = in.tertIncrement;
    const OffsetType qLine = path.afterLine, qSlice = path.afterSlice;
    return Tarn::Kito::Iterating::walkSlices(caller, 0, in.countTert, progress, abort, [&](F& f) {
        for (SizeType s = 0; s < nSec; ++s) {
            f.sec = s;
            if constexpr (AlongPrim)
                p = foldLine<Unit>(f, p, q, nPrim, dPrim);
            else
                p = reduceLine<Unit>(f, p, *q, nPrim, dPrim);
            // The fold does not read the position, so prim is brought up to date once per line.
            if (nPrim != 0) f.prim = nPrim - 1;
            p += dSec; // a correction, not a stride: p has already moved nPrim times
            q += qLine;
        }
        p += dTert;
        q += qSlice;
    });
}

} // namespace detail

/// Walks input's view and folds every voxel into f's output, which is new, whole and of the
/// extent projectedDimension gives. Progress goes up by 0.99 / T after each tert slice and to 1.0
/// at the end; a stop leaves it below 1.0 and the output as far as the walk came.
template <class F, class Volume>
void walk(F& f, const Volume& input, Tarn::Kito::Progress& progress, const std::uint8_t* abort)
{
    const Tarn::Kito::Iterating::IterateValues in = input.getIterateValues();
    const OutputPath path = outputPath(f.direction, in.countPrim, in.countSec);
    const auto p = input.getIterator();
    auto* const q = f.output->getIterator();
    f.prim = f.sec = f.tert = 0;
    const bool unit = in.primIncrement == 1;
    bool ended;
    // One branch per walk, none in the loops.
    if (path.alongPrim)
        ended = unit ? detail::projectSlices<true, true>(f, p, q, in, path, progress, abort)
                     : detail::projectSlices<true, false>(f, p, q, in, path, progress, abort);
    else
        ended = unit ? detail::projectSlices<false, true>(f, p, q, in, path, progress, abort)
                     : detail::projectSlices<false, false>(f, p, q, in, path, progress, abort);
    if (ended) progress.setProgress(1.0);
}

/// The whole of a projection's apply after the stop flag and the progress have been reset. where
/// is the operator's "...::Operator::apply", the head of its failure texts. F is the operator's
/// Functor over its volume pointer types. A failure leaves outputVolume as it was; a stopped walk
/// stores its partial result like a finished one.
template <class Parameter, class F>
void project(const Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>& parameterObject,
             const std::string& where, Tarn::Kito::Progress& progress, const std::uint8_t* abort)
{
    using Tarn::Kito::DynamicCast;
    using Tarn::Kito::SmartPointer;
    using Failure = Tarn::Kito::IOperator::InvalidParameterObjectException;
    using In = typename F::InputPointer;
    using Out = typename F::OutputPointer;
    using OutputVolume = typename Out::element_type;

    const SmartPointer<Parameter> parameter = DynamicCast<SmartPointer<Parameter>>(parameterObject);
    if (parameter == 0) throw Failure(where + ": Invalid parameter object");
    // Always a new volume: one handed in through outputVolume only picked this instance.
    Out output(new OutputVolume(Dimension<SizeType>(1, 1, 1)));
    const In input = DynamicCast<In>(parameter->inputVolume.getValue());
    // The facade has tested for NULL and found this instance by the input's type; an operator
    // called directly with something else must not walk a NULL volume.
    if (input == 0) throw Failure(where + ": Invalid input volume");
    const SizeType direction = parameter->inputDirection.getValue();
    if (direction > 2) throw Failure(where + ": Invalid direction");
    output->reallocate(projectedDimension(direction, input->getDimPrim(), input->getDimSec(), input->getDimTert()));
    // 0, not the type's smallest value: a ray of negative values projects to 0.
    output->fill(typename OutputVolume::VoxelType(0));
    F functor(output, direction);
    walk(functor, *input, progress, abort);
    parameter->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(output));
}

/// "<prefix>" In " , " Out " >", with each volume's class text.
template <class In, class Out> std::string identifier(const char* prefix)
{
    return prefix + typename In::element_type().getType() + " , " + typename Out::element_type().getType() + " >";
}

} // namespace Tarn::Lumo::Projection

#endif
