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
#include <cstring>
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
///
/// Rule::fold(projected, voxel) gives the new output voxel. Besides it, a rule tells the walk along
/// prim, where each line is a whole ray folded from 0, whether such a ray of a given length gives
/// the same bits in any order (raysInAnyOrder<I, O>(length)), and if so folds it so
/// (rayInAnyOrder<O>(first, length)).
template <class Rule, class I, class O> class Functor : public Tarn::Kito::Iterating::Functor {
public:
    using FoldRule = Rule;
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

/// How far ahead of the voxel being read a walk asks for its input, in bytes. On a volume larger
/// than the caches the processor's own prefetching leaves a single thread waiting: asked for 16 KiB
/// ahead, lines of a Tarn::uint16 volume folded into rows ran about twice as fast; 4 KiB ahead was
/// a little slower, 64 KiB no faster.
constexpr OffsetType readAhead = 16384;

/// Voxels of T in one 64-byte cache line: a walk asks for its input ahead once per such chunk.
template <class T> constexpr SizeType perCacheLine = sizeof(T) >= 64 ? 1 : 64 / sizeof(T);

/// Asks for the cache line that lies bytes past p. Only a hint, and one that never faults, so the
/// address may be past the view or the volume, where it costs one useless fetch; the sum is formed
/// as an integer, since a pointer may not point there. Into the outer caches (locality 1): asked
/// into the nearest cache (3), the same folds took half as long again.
template <class T> void prefetch(const T* p, OffsetType bytes)
{
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(p) + static_cast<std::uintptr_t>(bytes)),
                       0, 1);
}

/// The distance in bytes from a voxel to the same voxel of the line that the walk reaches about
/// readAhead bytes later. The lines of a view need not follow each other in memory (a region, a
/// turned sec axis), so the distance follows the view's own line stride.
template <class I> OffsetType linesAhead(OffsetType lineStride, SizeType nPrim)
{
    const auto lineBytes = static_cast<OffsetType>(nPrim * sizeof(I));
    const OffsetType lines = lineBytes >= readAhead ? 1 : (readAhead + lineBytes - 1) / lineBytes;
    return lines * lineStride * static_cast<OffsetType>(sizeof(I));
}

/// One input line whose voxels project onto consecutive output voxels from q on, for views of any
/// prim increment.
template <class F, class It, class V> It foldLine(const F& f, It p, V* q, SizeType count, OffsetType dPrim)
{
    for (SizeType i = 0; i < count; ++i, p += dPrim) f(*p, q[i]);
    return p;
}

/// One input line that projects onto the single output voxel target, for views of any prim
/// increment. The running value stays in a local: the input may be of the output's type, so the
/// compiler could not keep target itself in a register across the reads of the line.
template <class F, class It, class V> It reduceLine(const F& f, It p, V& target, SizeType count, OffsetType dPrim)
{
    V running = target;
    for (SizeType i = 0; i < count; ++i, p += dPrim) f(*p, running);
    target = running;
    return p;
}

/// The position a walk voxel by voxel leaves after a slice. The fold never reads it, so the walks
/// bring it up to date once per slice.
template <class F> void positionAfterSlice(F& f, SizeType nPrim, SizeType nSec)
{
    if (nSec == 0) return;
    f.sec = nSec - 1;
    if (nPrim != 0) f.prim = nPrim - 1;
}

/// The serial walk of a view of any prim increment, tert outermost, prim innermost, each voxel
/// folded into its output voxel; a line that falls on one output voxel is folded into a local.
/// Returns false if stopped. The tert loop with its progress, abort byte and hand-back of the
/// functor is the one every walk shares. All loop state is in locals: a store through a uint8
/// output may alias anything. Behind a call, for the reason walkSlices gives: inlined into apply,
/// the functor's unwinding would pin its fields to memory. The same holds for the walks below.
template <bool AlongPrim, class F, class It, class V>
[[gnu::noinline]] bool projectSlices(F& caller, It p, V* q, const Tarn::Kito::Iterating::IterateValues& in,
                                     const OutputPath& path, Tarn::Kito::Progress& progress, const std::uint8_t* abort)
{
    const SizeType nPrim = in.countPrim, nSec = in.countSec;
    const OffsetType dPrim = in.primIncrement, dSec = in.secIncrement, dTert = in.tertIncrement;
    const OffsetType qLine = path.afterLine, qSlice = path.afterSlice;
    return Tarn::Kito::Iterating::walkSlices(caller, 0, in.countTert, progress, abort, [&](F& f) {
        for (SizeType s = 0; s < nSec; ++s) {
            if constexpr (AlongPrim)
                p = foldLine(f, p, q, nPrim, dPrim);
            else
                p = reduceLine(f, p, *q, nPrim, dPrim);
            p += dSec; // a correction, not a stride: p has already moved nPrim times
            q += qLine;
        }
        positionAfterSlice(f, nPrim, nSec);
        p += dTert;
        q += qSlice;
    });
}

/// The n consecutive voxels from p folded into the n consecutive output voxels from q, the input
/// asked for ahead bytes on once per cache line. The output is a new volume and never overlaps the
/// input; restrict tells the compiler so, which lets it vectorise the fold even where input and
/// output have one type.
template <class F, class I, class O>
void foldRun(const F& f, const I* __restrict p, O* __restrict q, SizeType n, OffsetType ahead)
{
    constexpr SizeType chunk = perCacheLine<I>;
    SizeType i = 0;
    for (; i + chunk <= n; i += chunk) {
        prefetch(p + i, ahead);
        for (SizeType j = i; j < i + chunk; ++j) f(p[j], q[j]);
    }
    for (; i < n; ++i) f(p[i], q[i]);
}

/// Lines read side by side where they fold into one row (direction 1). One line at a time left the
/// memory system idle between the requests of a single stream, and loaded and stored the row once
/// per line: four lines side by side folded float32 voxels along sec about 1.4 times as fast
/// (ProjectionBench, Large..., direction 1).
constexpr int sideBySide = 4;

/// sideBySide lines of n voxels, lineStride apart, folded into the one row of output voxels from q
/// on, each output voxel taking the lines' voxels in line order, as the walk gives them.
template <class F, class I, class O>
void foldLines(const F& f, const I* __restrict p, OffsetType lineStride, O* __restrict q, SizeType n, OffsetType ahead)
{
    constexpr SizeType chunk = perCacheLine<I>;
    const auto foldVoxel = [&](SizeType j) {
        O v = q[j];
        // The line's start first: a negative stride added to the unsigned index would wrap.
        for (int k = 0; k < sideBySide; ++k) f((p + k * lineStride)[j], v);
        q[j] = v;
    };
    SizeType i = 0;
    for (; i + chunk <= n; i += chunk) {
        for (int k = 0; k < sideBySide; ++k) prefetch(p + k * lineStride + i, ahead);
        for (SizeType j = i; j < i + chunk; ++j) foldVoxel(j);
    }
    for (; i < n; ++i) foldVoxel(i);
}

/// Directions 0 and 1 on a view whose lines lie voxel after voxel in memory (prim increment 1):
/// each line is a run onto a row of output voxels. In direction 1, where all lines of a slice fold
/// into one row, sideBySide lines are read at a time. Direction 0 on a view whose lines follow each
/// other without a gap folds a whole slice as one run, since its output rows do too: one pointer,
/// one count, as the walk of a whole volume has. (Cut into four parts read side by side, such a run
/// was slower, by a sixth for float32 voxels.)
template <class F, class I, class O>
[[gnu::noinline]] bool foldSlices(F& caller, const I* p, O* q, const Tarn::Kito::Iterating::IterateValues& in,
                                  const OutputPath& path, Tarn::Kito::Progress& progress, const std::uint8_t* abort)
{
    const SizeType nPrim = in.countPrim, nSec = in.countSec;
    const OffsetType lineStride = in.secStride, dTert = in.tertIncrement;
    const OffsetType qLine = path.afterLine, qSlice = path.afterSlice;
    const bool wholeSlices = in.secIncrement == 0 && qLine == static_cast<OffsetType>(nPrim);
    const OffsetType ahead = linesAhead<I>(lineStride, nPrim);
    return Tarn::Kito::Iterating::walkSlices(caller, 0, in.countTert, progress, abort, [&](F& f) {
        SizeType s = 0;
        if (wholeSlices) {
            foldRun(f, p, q, nPrim * nSec, readAhead);
            p += lineStride * static_cast<OffsetType>(nSec);
            q += qLine * static_cast<OffsetType>(nSec);
            s = nSec;
        } else if (qLine == 0) {
            for (; s + sideBySide <= nSec; s += sideBySide, p += sideBySide * lineStride)
                foldLines(f, p, lineStride, q, nPrim, ahead);
        }
        for (; s < nSec; ++s, p += lineStride, q += qLine) foldRun(f, p, q, nPrim, ahead);
        positionAfterSlice(f, nPrim, nSec);
        p += dTert;
        q += qSlice;
    });
}

/// Four float32 or two float64 as one 16-byte vector, which the compiler keeps in one register.
template <class T, int N> struct VectorOf {
    typedef T Type __attribute__((vector_size(N * sizeof(T))));
};
template <class O> constexpr int laneCount = static_cast<int>(16 / sizeof(O));
template <class O> using Lanes = typename VectorOf<O, laneCount<O>>::Type;

/// Rays folded side by side in lanes: sixteen, as four vectors of float32 or eight of float64, so
/// that enough independent additions are under way to hide each one's latency.
constexpr int bandRays = 16;

/// Whether rays of I voxels fold into O side by side in lanes: float outputs, from voxels of which
/// one vector step reads at least 8 bytes per ray. Narrower loads the compiler converts voxel by
/// voxel; and such rays (one-byte voxels, or two-byte ones into float64) are integers whose sums are
/// exact in any order, in all but very long rays.
template <class I, class O> constexpr bool inLanes = std::is_floating_point_v<O> && sizeof(I) * laneCount<O> >= 8;

/// laneCount<O> consecutive voxels from p, converted to O as the fold's term does (for a float
/// output, the language's conversion).
template <class O, class I> Lanes<O> loadLanes(const I* p)
{
    using In = typename VectorOf<I, laneCount<O>>::Type;
    In v;
    std::memcpy(&v, p, sizeof v);
    if constexpr (std::is_same_v<I, O>) {
        return v;
    } else if constexpr (sizeof(I) == 2 && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) {
        // Each 16-bit voxel next to its sign (or zero) half is its 32-bit value: one interleave,
        // where the compiler's own widening of the vector takes four shuffles.
        In high{};
        if constexpr (std::is_signed_v<I>) high = v >> 15;
        using Int = typename VectorOf<Tarn::int32, 4>::Type;
        return __builtin_convertvector((Int)__builtin_shufflevector(v, high, 0, 4, 1, 5, 2, 6, 3, 7), Lanes<O>);
    } else {
        return __builtin_convertvector(v, Lanes<O>);
    }
}

/// Turns laneCount rows (ray r in row r) into columns: afterwards vector k holds voxel k of every ray.
template <class V, int L> void transpose(V (&c)[L])
{
    if constexpr (L == 4) {
        const V t0 = __builtin_shufflevector(c[0], c[1], 0, 4, 1, 5), t1 = __builtin_shufflevector(c[0], c[1], 2, 6, 3, 7);
        const V t2 = __builtin_shufflevector(c[2], c[3], 0, 4, 1, 5), t3 = __builtin_shufflevector(c[2], c[3], 2, 6, 3, 7);
        c[0] = __builtin_shufflevector(t0, t2, 0, 1, 4, 5);
        c[1] = __builtin_shufflevector(t0, t2, 2, 3, 6, 7);
        c[2] = __builtin_shufflevector(t1, t3, 0, 1, 4, 5);
        c[3] = __builtin_shufflevector(t1, t3, 2, 3, 6, 7);
    } else {
        static_assert(L == 2, "16-byte vectors hold four or two output values");
        const V t = __builtin_shufflevector(c[0], c[1], 0, 2);
        c[1] = __builtin_shufflevector(c[0], c[1], 1, 3);
        c[0] = t;
    }
}

/// Folds a band of bandRays rays into the output voxels q[0] to q[bandRays - 1], ray r being the n
/// voxels from p + r * lineStride, each ray in its own order from voxel 0: after a transposition,
/// vector k of a step holds voxel k of each ray of a lane group, and the lanes advance their rays
/// side by side. Rule::fold works on whole vectors of O here: a voxel converted to O is its own
/// term of the sum, and the maximum's test runs lane by lane as it does on one value. Meanwhile
/// the same places of the next band are asked for. The last n % laneCount voxels of each ray are
/// folded one by one, after the vectors, so each ray keeps its order.
template <class Rule, class F, class I, class O>
void foldBand(const F& f, const I* p, OffsetType lineStride, SizeType n, O* q)
{
    using V = Lanes<O>;
    constexpr int L = laneCount<O>, G = bandRays / L;
    constexpr SizeType chunk = perCacheLine<I>; // a multiple of L
    const OffsetType nextBand = bandRays * lineStride * static_cast<OffsetType>(sizeof(I));
    V acc[G];
    std::memcpy(acc, q, sizeof acc);
    const auto step = [&](SizeType k) {
        for (int g = 0; g < G; ++g) {
            V c[L];
            for (int j = 0; j < L; ++j) c[j] = loadLanes<O>(p + (g * L + j) * lineStride + k);
            transpose(c);
            for (int j = 0; j < L; ++j) acc[g] = Rule::fold(acc[g], c[j]);
        }
    };
    SizeType i = 0;
    for (; i + chunk <= n; i += chunk) {
        for (int r = 0; r < bandRays; ++r) prefetch(p + r * lineStride + i, nextBand);
        for (SizeType k = i; k < i + chunk; k += L) step(k);
    }
    for (; i + L <= n; i += L) step(i);
    std::memcpy(q, acc, sizeof acc);
    for (int r = 0; r < bandRays; ++r)
        for (SizeType k = i; k < n; ++k) f((p + r * lineStride)[k], q[r]);
}

/// Direction 2 on a view whose lines lie voxel after voxel in memory: each line is a whole ray and
/// folds into one output voxel, which is still 0. Where the rule's result for such a ray does not
/// depend on the order (Rule::raysInAnyOrder), the rule folds each line as fast as it can, the line
/// that follows some readAhead bytes later asked for before; otherwise a slice's lines go in bands
/// of bandRays rays side by side in lanes, and the rest line by line.
template <class F, class I, class O>
[[gnu::noinline]] bool reduceSlices(F& caller, const I* p, O* q, const Tarn::Kito::Iterating::IterateValues& in,
                                    Tarn::Kito::Progress& progress, const std::uint8_t* abort)
{
    using Rule = typename F::FoldRule;
    const SizeType nPrim = in.countPrim, nSec = in.countSec;
    const OffsetType lineStride = in.secStride, dTert = in.tertIncrement;
    const bool anyOrder = Rule::template raysInAnyOrder<I, O>(nPrim);
    const OffsetType ahead = linesAhead<I>(lineStride, nPrim);
    const auto lineBytes = static_cast<OffsetType>(nPrim * sizeof(I));
    return Tarn::Kito::Iterating::walkSlices(caller, 0, in.countTert, progress, abort, [&](F& f) {
        SizeType s = 0;
        if (anyOrder) {
            for (; s < nSec; ++s, p += lineStride) {
                for (OffsetType b = 0; b < lineBytes; b += 64) prefetch(p, ahead + b);
                q[s] = Rule::template rayInAnyOrder<O>(p, nPrim);
            }
        } else {
            if constexpr (inLanes<I, O>)
                for (; s + bandRays <= nSec; s += bandRays, p += bandRays * lineStride)
                    foldBand<Rule>(f, p, lineStride, nPrim, q + s);
            for (; s < nSec; ++s, p += lineStride) reduceLine(f, p, q[s], nPrim, 1);
        }
        positionAfterSlice(f, nPrim, nSec);
        p += dTert;
        q += nSec;
    });
}

} // namespace detail

/// Walks input's view and folds every voxel into f's output, which is new, whole and of the
/// extent projectedDimension gives. Progress goes up by 0.99 / T after each tert slice and to 1.0
/// at the end; a stop leaves it below 1.0 and the output as far as the walk came. Views whose
/// lines lie voxel after voxel in memory take the fast walks; others, turned so that prim runs
/// along another storage axis or backwards, the general one.
template <class F, class Volume>
void walk(F& f, const Volume& input, Tarn::Kito::Progress& progress, const std::uint8_t* abort)
{
    const Tarn::Kito::Iterating::IterateValues in = input.getIterateValues();
    const OutputPath path = outputPath(f.direction, in.countPrim, in.countSec);
    const auto p = input.getIterator();
    auto* const q = f.output->getIterator();
    f.prim = f.sec = f.tert = 0;
    bool ended;
    // One branch per walk, none in the loops.
    if (in.primIncrement == 1)
        ended = path.alongPrim ? detail::foldSlices(f, p, q, in, path, progress, abort)
                               : detail::reduceSlices(f, p, q, in, progress, abort);
    else
        ended = path.alongPrim ? detail::projectSlices<true>(f, p, q, in, path, progress, abort)
                               : detail::projectSlices<false>(f, p, q, in, path, progress, abort);
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
