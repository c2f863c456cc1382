// ProjectionMax and ProjectionSum, through their facades, in each direction: on 256^3 against minimal
// loops doing the same arithmetic in the same order into a new zeroed output, on 512 x 512 x 256
// against the fastest loops that give the same bits.
#include "BenchVolume.h"
#include "LargeVolume.h"

#include <Kito/IVolume>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IProjectionMax.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionSum.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include <emmintrin.h>

namespace {

using LumoBench::edge;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

constexpr std::int64_t voxels = static_cast<std::int64_t>(edge * edge * edge);

/// The facade's run on the shared volume, direction state.range(0), the output type picked by a
/// volume of type O in outputVolume, as a host that wants another sum type does.
template <class Facade, class O> void facadeProjection(benchmark::State& state)
{
    using Parameter = typename Facade::Parameter;
    typename Facade::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::sharedVolume()));
    p->inputDirection.setValue(static_cast<Tarn::uint64>(state.range(0)));
    const SmartPointer<Tarn::Kito::IVolume> selector = DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(
        Tarn::Kito::VolumePtr<O, Tarn::Kito::Allocator::SingleBlockAllocator>(
            new Tarn::Kito::Volume<O, Tarn::Kito::Allocator::SingleBlockAllocator>(
                Tarn::Kito::Dimension<SizeType>(1, 1, 1))));
    for (auto _ : state) {
        p->outputVolume.setValue(selector);
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputVolume.getValue());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

/// The same projection by hand: a zeroed output of edge * edge voxels, the input read in storage
/// order, each voxel folded into its output voxel with fold(output, voxel).
template <class O, class Fold> void plainProjection(benchmark::State& state, Fold fold)
{
    const auto direction = state.range(0);
    const Tarn::uint16* const first = LumoBench::sharedVolume()->getIterator();
    // The extent as a loop over any volume has it, from the volume: a constant 256 would let the
    // compiler drop the remainder handling of every line, which no walk over a view can do.
    const SizeType n = LumoBench::sharedVolume()->getDimPrim();
    for (auto _ : state) {
        std::vector<O> out(n * n, O(0));
        const Tarn::uint16* p = first;
        for (SizeType t = 0; t < n; ++t)
            for (SizeType s = 0; s < n; ++s, p += n) {
                if (direction == 2) {
                    O running = out[t * n + s];
                    for (SizeType i = 0; i < n; ++i) running = fold(running, p[i]);
                    out[t * n + s] = running;
                } else {
                    O* const row = out.data() + (direction == 0 ? s : t) * n;
                    for (SizeType i = 0; i < n; ++i) row[i] = fold(row[i], p[i]);
                }
            }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

void ProjectionMaxFacade(benchmark::State& state) { facadeProjection<Tarn::Lumo_DLL::IProjectionMax, Tarn::uint16>(state); }
void ProjectionMaxPlain(benchmark::State& state)
{
    plainProjection<Tarn::uint16>(state, [](Tarn::uint16 w, Tarn::uint16 v) { return (w > v) ? w : v; });
}

void ProjectionSumUint32Facade(benchmark::State& state)
{
    facadeProjection<Tarn::Lumo_DLL::IProjectionSum, Tarn::uint32>(state);
}
void ProjectionSumUint32Plain(benchmark::State& state)
{
    plainProjection<Tarn::uint32>(state, [](Tarn::uint32 w, Tarn::uint16 v) { return w + static_cast<Tarn::uint32>(v); });
}

void ProjectionSumFloat64Facade(benchmark::State& state)
{
    facadeProjection<Tarn::Lumo_DLL::IProjectionSum, Tarn::float64>(state);
}
void ProjectionSumFloat64Plain(benchmark::State& state)
{
    plainProjection<Tarn::float64>(state, [](Tarn::float64 w, Tarn::uint16 v) { return w + static_cast<Tarn::float64>(v); });
}

BENCHMARK(ProjectionMaxFacade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionMaxPlain)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumUint32Facade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumUint32Plain)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumFloat64Facade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumFloat64Plain)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

} // namespace

// ---- 512 x 512 x 256, against the fastest loops that give the same bits ------------------------------

namespace {

using LumoBench::LargeVolumePtr;
using LumoBench::largeCount;

constexpr std::int64_t largeVoxels = static_cast<std::int64_t>(largeCount);

/// The projection of the large volume of I along direction by the facade, in a new volume of O, which
/// a small volume of O in outputVolume picks, as a host does.
template <class Facade, class I, class O>
LargeVolumePtr<O> facadeLarge(typename Facade::IOperator& facade, Tarn::uint64 direction)
{
    SmartPointer<typename Facade::Parameter> p(new typename Facade::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::largeVolume<I>()));
    p->inputDirection.setValue(direction);
    p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(
        LargeVolumePtr<O>(new LumoBench::LargeVolume<O>(Tarn::Kito::Dimension<SizeType>(1, 1, 1)))));
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    return DynamicCast<LargeVolumePtr<O>>(p->outputVolume.getValue());
}

/// The input's extent as a loop over any volume has it: from the volume, since constants would let
/// the compiler drop the remainder handling.
struct Extent {
    SizeType P, S, T;
};
template <class I> Extent extentOf()
{
    const LargeVolumePtr<I>& v = LumoBench::largeVolume<I>();
    return {v->getDimPrim(), v->getDimSec(), v->getDimTert()};
}

/// A hint to fetch the cache line bytes past p; 16 KiB ahead the large volume is read up to twice as
/// fast as the processor's own prefetching reads it.
constexpr std::uintptr_t ahead = 16384;
template <class T> void fetchAhead(const T* p, std::uintptr_t bytes = ahead)
{
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(p) + bytes), 0, 1);
}

/// out[i] = fold(out[i], in[i]) for n voxels, the input fetched bytes ahead once per cache line.
template <class O, class I, class Fold>
void foldInto(O* __restrict out, const I* __restrict in, SizeType n, Fold fold, std::uintptr_t bytes = ahead)
{
    constexpr SizeType chunk = 64 / sizeof(I);
    SizeType i = 0;
    for (; i + chunk <= n; i += chunk) {
        fetchAhead(in + i, bytes);
        for (SizeType j = i; j < i + chunk; ++j) out[j] = fold(out[j], in[j]);
    }
    for (; i < n; ++i) out[i] = fold(out[i], in[i]);
}

/// out[i] = fold(fold(out[i], a[i]), b[i]) for n voxels: two slices in one pass over the output.
template <class O, class I, class Fold>
void foldTwoInto(O* __restrict out, const I* __restrict a, const I* __restrict b, SizeType n, Fold fold,
                 std::uintptr_t bytes)
{
    constexpr SizeType chunk = 64 / sizeof(I);
    SizeType i = 0;
    for (; i + chunk <= n; i += chunk) {
        fetchAhead(a + i, bytes);
        fetchAhead(b + i, bytes);
        for (SizeType j = i; j < i + chunk; ++j) out[j] = fold(fold(out[j], a[j]), b[j]);
    }
    for (; i < n; ++i) out[i] = fold(fold(out[i], a[i]), b[i]);
}

/// Along tert (direction 0) the fastest order is not the walk's: the output in blocks of 2048 voxels,
/// which stay in the nearest cache while all slices are folded into them, two slices per pass, each
/// voxel still in slice order; what is fetched ahead is the block's part of the next two slices.
template <class O, class I, class Fold> void alongTert(const I* in, const Extent& e, O* out, Fold fold)
{
    const SizeType plane = e.P * e.S, block = 2048;
    for (SizeType b = 0; b < plane; b += block) {
        const SizeType n = std::min(block, plane - b);
        SizeType t = 0;
        for (; t + 2 <= e.T; t += 2)
            foldTwoInto(out + b, in + t * plane + b, in + (t + 1) * plane + b, n, fold, 2 * plane * sizeof(I));
        if (t < e.T) foldInto(out + b, in + t * plane + b, n, fold);
    }
}

/// row[i] = fold(... fold(row[i], line 0[i]) ..., line G-1[i]) for n voxels, the lines stride apart.
template <int G, class O, class I, class Fold>
void foldLinesInto(O* __restrict row, const I* __restrict line, SizeType stride, SizeType n, Fold fold)
{
    constexpr SizeType chunk = 64 / sizeof(I);
    SizeType i = 0;
    for (; i + chunk <= n; i += chunk) {
        for (int g = 0; g < G; ++g) fetchAhead(line + g * stride + i);
        for (SizeType j = i; j < i + chunk; ++j) {
            O v = row[j];
            for (int g = 0; g < G; ++g) v = fold(v, line[g * stride + j]);
            row[j] = v;
        }
    }
    for (; i < n; ++i) {
        O v = row[i];
        for (int g = 0; g < G; ++g) v = fold(v, line[g * stride + i]);
        row[i] = v;
    }
}

/// Along sec (direction 1): slice t folds its lines into row t, which stays in the nearest cache, G
/// lines per pass over the row.
template <int G, class O, class I, class Fold> void alongSec(const I* in, const Extent& e, O* out, Fold fold)
{
    for (SizeType t = 0; t < e.T; ++t) {
        SizeType s = 0;
        for (; s + G <= e.S; s += G) foldLinesInto<G>(out + t * e.P, in + (t * e.S + s) * e.P, e.P, e.P, fold);
        for (; s < e.S; ++s) foldLinesInto<1>(out + t * e.P, in + (t * e.S + s) * e.P, e.P, e.P, fold);
    }
}

/// Along prim (direction 2) where the result does not depend on the order: each line reduced on its
/// own by ray(line, P), the next lines fetched ahead.
template <class O, class I, class Ray> void alongPrimAnyOrder(const I* in, const Extent& e, O* out, Ray ray)
{
    const SizeType lines = e.S * e.T;
    for (SizeType l = 0; l < lines; ++l) {
        const I* line = in + l * e.P;
        for (SizeType b = 0; b < e.P * sizeof(I); b += 64) fetchAhead(line, ahead + b);
        out[l] = ray(line, e.P);
    }
}

/// The rest of the lines from l on, each folded alone in its order, for the loops by bands below.
template <class O, class I, class Fold>
void remainingRays(const I* in, const Extent& e, O* out, SizeType l, Fold fold)
{
    for (; l < e.S * e.T; ++l) {
        O v = O(0);
        for (SizeType i = 0; i < e.P; ++i) v = fold(v, in[l * e.P + i]);
        out[l] = v;
    }
}

/// Along prim in the walk's order per ray, float32 voxels: sixteen rays side by side, four to a
/// vector, each 4 x 4 block transposed so that vector k holds voxel k of four rays; combine is
/// _mm_add_ps or _mm_max_ps (whose result is (w > v) ? w : v, the maximum's own test).
template <class Combine, class Fold>
void alongPrimFloatBands(const Tarn::float32* in, const Extent& e, Tarn::float32* out, Combine combine, Fold fold)
{
    const SizeType lines = e.S * e.T;
    SizeType l = 0;
    for (; l + 16 <= lines; l += 16) {
        const Tarn::float32* r = in + l * e.P;
        __m128 acc[4] = {_mm_setzero_ps(), _mm_setzero_ps(), _mm_setzero_ps(), _mm_setzero_ps()};
        const auto step = [&](SizeType i) {
            for (int g = 0; g < 4; ++g) {
                __m128 a = _mm_loadu_ps(r + (4 * g) * e.P + i), b = _mm_loadu_ps(r + (4 * g + 1) * e.P + i);
                __m128 c = _mm_loadu_ps(r + (4 * g + 2) * e.P + i), d = _mm_loadu_ps(r + (4 * g + 3) * e.P + i);
                _MM_TRANSPOSE4_PS(a, b, c, d);
                acc[g] = combine(combine(combine(combine(acc[g], a), b), c), d);
            }
        };
        // A cache line of each ray per pass, the same place of the next sixteen rays fetched ahead.
        SizeType i = 0;
        for (; i + 16 <= e.P; i += 16) {
            for (int k = 0; k < 16; ++k) fetchAhead(r + k * e.P + i, 16 * e.P * sizeof(Tarn::float32));
            for (SizeType j = i; j < i + 16; j += 4) step(j);
        }
        for (; i + 4 <= e.P; i += 4) step(i);
        for (int g = 0; g < 4; ++g) _mm_storeu_ps(out + l + 4 * g, acc[g]);
        for (int k = 0; k < 16; ++k)
            for (SizeType j = i; j < e.P; ++j) out[l + k] = fold(out[l + k], r[k * e.P + j]);
    }
    remainingRays(in, e, out, l, fold);
}

/// Along prim in the walk's order per ray, Tarn::uint16 voxels into float32 sums: eight rays at a
/// time, an 8 x 8 transposition of 16-bit voxels leaving voxel k of ray j in 16-bit lane j of vector
/// k; its even lanes (rays 0, 2, 4, 6) and odd lanes (1, 3, 5, 7) are 32-bit integers after a mask
/// and a shift, converted and added to two sums. Two such groups side by side.
void alongPrimUint16Sums(const Tarn::uint16* in, const Extent& e, Tarn::float32* out)
{
    const auto fold = [](Tarn::float32 w, Tarn::uint16 v) { return w + static_cast<Tarn::float32>(v); };
    const SizeType lines = e.S * e.T;
    const __m128i low = _mm_set1_epi32(0xFFFF);
    SizeType l = 0;
    for (; l + 16 <= lines; l += 16) {
        const Tarn::uint16* r = in + l * e.P;
        __m128 even[2] = {_mm_setzero_ps(), _mm_setzero_ps()}, odd[2] = {_mm_setzero_ps(), _mm_setzero_ps()};
        SizeType i = 0;
        for (; i + 8 <= e.P; i += 8) {
            if (i % 32 == 0)
                for (int k = 0; k < 16; ++k) fetchAhead(r + k * e.P + i, 16 * e.P * sizeof(Tarn::uint16));
            for (int g = 0; g < 2; ++g) {
                __m128i a[8];
                for (int k = 0; k < 8; ++k)
                    a[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r + (8 * g + k) * e.P + i));
                __m128i b[8], c[8];
                for (int k = 0; k < 4; ++k) {
                    b[2 * k] = _mm_unpacklo_epi16(a[2 * k], a[2 * k + 1]);
                    b[2 * k + 1] = _mm_unpackhi_epi16(a[2 * k], a[2 * k + 1]);
                }
                for (int k = 0; k < 2; ++k) {
                    c[4 * k] = _mm_unpacklo_epi32(b[4 * k], b[4 * k + 2]);
                    c[4 * k + 1] = _mm_unpackhi_epi32(b[4 * k], b[4 * k + 2]);
                    c[4 * k + 2] = _mm_unpacklo_epi32(b[4 * k + 1], b[4 * k + 3]);
                    c[4 * k + 3] = _mm_unpackhi_epi32(b[4 * k + 1], b[4 * k + 3]);
                }
                for (int k = 0; k < 4; ++k) {
                    const __m128i lo = _mm_unpacklo_epi64(c[k], c[k + 4]), hi = _mm_unpackhi_epi64(c[k], c[k + 4]);
                    even[g] = _mm_add_ps(even[g], _mm_cvtepi32_ps(_mm_and_si128(lo, low)));
                    odd[g] = _mm_add_ps(odd[g], _mm_cvtepi32_ps(_mm_srli_epi32(lo, 16)));
                    even[g] = _mm_add_ps(even[g], _mm_cvtepi32_ps(_mm_and_si128(hi, low)));
                    odd[g] = _mm_add_ps(odd[g], _mm_cvtepi32_ps(_mm_srli_epi32(hi, 16)));
                }
            }
        }
        for (int g = 0; g < 2; ++g) {
            alignas(16) Tarn::float32 ev[4], od[4];
            _mm_store_ps(ev, even[g]);
            _mm_store_ps(od, odd[g]);
            for (int k = 0; k < 4; ++k) {
                out[l + 8 * g + 2 * k] = ev[k];
                out[l + 8 * g + 2 * k + 1] = od[k];
            }
        }
        for (int k = 0; k < 16; ++k)
            for (SizeType j = i; j < e.P; ++j) out[l + k] = fold(out[l + k], r[k * e.P + j]);
    }
    remainingRays(in, e, out, l, fold);
}

/// The output extent of a direction, in voxels.
SizeType projectedCount(const Extent& e, Tarn::uint64 direction)
{
    return direction == 0 ? e.P * e.S : (direction == 1 ? e.P * e.T : e.S * e.T);
}

/// The fastest exact loops of a case on the large volume of I: along sec LinesAlongSec lines per pass
/// (the fastest count for the case), along prim alongPrim(in, extent, out).
template <int LinesAlongSec, class O, class I, class Fold, class AlongPrim>
std::vector<O> fastestProjection(Tarn::uint64 direction, Fold fold, AlongPrim alongPrim)
{
    const I* in = LumoBench::largeVolume<I>()->getIterator();
    const Extent e = extentOf<I>();
    std::vector<O> out(projectedCount(e, direction), O(0));
    if (direction == 0) alongTert(in, e, out.data(), fold);
    if (direction == 1) alongSec<LinesAlongSec>(in, e, out.data(), fold);
    if (direction == 2) alongPrim(in, e, out.data());
    return out;
}

/// alongPrimAnyOrder with Ray as the reduction of one line, called directly, so that it is inlined.
template <auto Ray> auto linesAlone()
{
    return [](const auto* in, const Extent& e, auto* out) { alongPrimAnyOrder(in, e, out, Ray); };
}

/// alongPrimFloatBands with combine and fold.
template <class Combine, class Fold> auto floatBands(Combine combine, Fold fold)
{
    return [=](const Tarn::float32* in, const Extent& e, Tarn::float32* out) {
        alongPrimFloatBands(in, e, out, combine, fold);
    };
}

template <class O> struct SumIn {
    template <class I> O operator()(O w, I v) const { return static_cast<O>(w + static_cast<O>(v)); }
};
struct Larger {
    template <class T> T operator()(T w, T v) const { return (w > v) ? w : v; }
};

/// Sums modulo 256 are the low bytes of sums modulo 65536: a line is added in 16-bit lanes.
Tarn::uint8 lowByteOfSum(const Tarn::uint16* line, SizeType n)
{
    Tarn::uint16 sum = 0;
    for (SizeType i = 0; i < n; ++i) sum = static_cast<Tarn::uint16>(sum + line[i]);
    return static_cast<Tarn::uint8>(sum);
}

/// 512 voxels below 2^16 sum to less than 2^25: every partial sum is an exact double, and the chain
/// gives the integer sum, formed in 32-bit lanes.
Tarn::float64 exactSum(const Tarn::uint16* line, SizeType n)
{
    Tarn::uint32 sum = 0;
    for (SizeType i = 0; i < n; ++i) sum += line[i];
    return static_cast<Tarn::float64>(sum);
}

/// Four running maxima side by side, free of the chain that SSE2's maximum built from two
/// instructions makes of one, were a third slower on this volume.
Tarn::uint16 largestOf(const Tarn::uint16* line, SizeType n)
{
    Tarn::uint16 largest = 0;
    for (SizeType i = 0; i < n; ++i) largest = largest > line[i] ? largest : line[i];
    return largest;
}

struct AddLanes {
    __m128 operator()(__m128 w, __m128 v) const { return _mm_add_ps(w, v); }
};
struct LargerLanes {
    __m128 operator()(__m128 w, __m128 v) const { return _mm_max_ps(w, v); }
};

std::vector<Tarn::uint8> fastestSumUint16ToUint8(Tarn::uint64 direction)
{
    return fastestProjection<4, Tarn::uint8, Tarn::uint16>(direction, SumIn<Tarn::uint8>(), linesAlone<lowByteOfSum>());
}

std::vector<Tarn::float32> fastestSumUint16ToFloat32(Tarn::uint64 direction)
{
    // A line's partial sums pass 2^24, so the float32 chain rounds: each ray in its order.
    return fastestProjection<2, Tarn::float32, Tarn::uint16>(direction, SumIn<Tarn::float32>(), alongPrimUint16Sums);
}

std::vector<Tarn::float64> fastestSumUint16ToFloat64(Tarn::uint64 direction)
{
    return fastestProjection<1, Tarn::float64, Tarn::uint16>(direction, SumIn<Tarn::float64>(), linesAlone<exactSum>());
}

std::vector<Tarn::float32> fastestSumFloat32(Tarn::uint64 direction)
{
    const SumIn<Tarn::float32> add;
    return fastestProjection<4, Tarn::float32, Tarn::float32>(direction, add, floatBands(AddLanes(), add));
}

std::vector<Tarn::uint16> fastestMaxUint16(Tarn::uint64 direction)
{
    return fastestProjection<4, Tarn::uint16, Tarn::uint16>(direction, Larger(), linesAlone<largestOf>());
}

std::vector<Tarn::float32> fastestMaxFloat32(Tarn::uint64 direction)
{
    return fastestProjection<4, Tarn::float32, Tarn::float32>(direction, Larger(), floatBands(LargerLanes(), Larger()));
}

/// The facade's run, checked once bit for bit against the fastest loop's output before it is timed.
template <class Facade, class I, class O, class Loop> void largeFacade(benchmark::State& state, Loop loop)
{
    const auto direction = static_cast<Tarn::uint64>(state.range(0));
    typename Facade::IOperator facade;
    {
        const LargeVolumePtr<O> made = facadeLarge<Facade, I, O>(facade, direction);
        const std::vector<O> expected = loop(direction);
        if (made->size() != expected.size() ||
            std::memcmp(made->getIterator(), expected.data(), expected.size() * sizeof(O)) != 0)
            state.SkipWithError("the operator's projection differs from the loop's");
    }
    for (auto _ : state) benchmark::DoNotOptimize(facadeLarge<Facade, I, O>(facade, direction).get());
    state.SetItemsProcessed(state.iterations() * largeVoxels);
}

template <class Loop> void largeFastestExact(benchmark::State& state, Loop loop)
{
    const auto direction = static_cast<Tarn::uint64>(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(loop(direction).data());
    state.SetItemsProcessed(state.iterations() * largeVoxels);
}

using Tarn::Lumo_DLL::IProjectionMax;
using Tarn::Lumo_DLL::IProjectionSum;

// Each case's facade and fastest exact loop in the three directions.
#define LUMO_BENCH_LARGE(name, Api, I, O)                                                                              \
    void LargeProjection##name##Facade(benchmark::State& state) { largeFacade<Api, I, O>(state, fastest##name); }      \
    void LargeProjection##name##FastestExact(benchmark::State& state) { largeFastestExact(state, fastest##name); }     \
    BENCHMARK(LargeProjection##name##Facade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);                   \
    BENCHMARK(LargeProjection##name##FastestExact)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
LUMO_BENCH_LARGE(SumUint16ToUint8, IProjectionSum, Tarn::uint16, Tarn::uint8)
LUMO_BENCH_LARGE(SumUint16ToFloat32, IProjectionSum, Tarn::uint16, Tarn::float32)
LUMO_BENCH_LARGE(SumUint16ToFloat64, IProjectionSum, Tarn::uint16, Tarn::float64)
LUMO_BENCH_LARGE(SumFloat32, IProjectionSum, Tarn::float32, Tarn::float32)
LUMO_BENCH_LARGE(MaxUint16, IProjectionMax, Tarn::uint16, Tarn::uint16)
LUMO_BENCH_LARGE(MaxFloat32, IProjectionMax, Tarn::float32, Tarn::float32)
#undef LUMO_BENCH_LARGE

} // namespace
