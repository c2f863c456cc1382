// DirectionalPlanarisationOperator::Operator: unrolls a curved surface by walking from each surface
// point along its normal, so that a layer at constant depth under the surface becomes one slice.
#ifndef TARN_LUMO_DIRECTIONALPLANARISATIONOPERATOR_OPERATOR_H_INCLUDED
#define TARN_LUMO_DIRECTIONALPLANARISATIONOPERATOR_OPERATOR_H_INCLUDED

#include <Kito/Abort>
#include <Kito/Copy/Operator>
#include <Kito/Copy/Parameter>
#include <Kito/IVolume>
#include <Kito/Operator>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <LumoStudio/Operators/DirectionalPlanarisationOperator/Parameter.h>
#include <LumoStudio/Operators/DirectionalPlanarisationOperator/TrilinearSampler.h>

#include <omp.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator {

namespace detail {

using Tarn::Kito::OffsetType;
using Tarn::Kito::SizeType;
template <class T> using InMemory = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;

/// The grid that stands in for a missing one: a volume of C with the height map's extents whose
/// first slice holds p (along prim) or s (along sec) wherever the input has a column. The input
/// and the height map are meant to agree in prim and sec; where a host's do not, the columns
/// beyond the input hold 0 rather than what the new block happened to contain.
template <class C>
InMemory<C> identityGrid(const Tarn::Kito::Dimension<SizeType>& heightMapExtent, SizeType inputPrim,
                         SizeType inputSec, bool alongPrim)
{
    const InMemory<C> grid(new Tarn::Kito::Volume<C, Tarn::Kito::Allocator::SingleBlockAllocator>(heightMapExtent));
    const SizeType nPrim = std::min(inputPrim, heightMapExtent.prim), nSec = std::min(inputSec, heightMapExtent.sec);
    if (nPrim < heightMapExtent.prim || nSec < heightMapExtent.sec) grid->fill(C(0));
    C* row = grid->getIterator();
    const Tarn::Kito::Iterating::IterateValues g = grid->getIterateValues();
    for (SizeType s = 0; s < nSec; ++s, row += g.secStride)
        for (SizeType p = 0; p < nPrim; ++p) row[static_cast<OffsetType>(p) * g.primStride] = static_cast<C>(alongPrim ? p : s);
    return grid;
}

/// Where one output slice k reads: the position k steps along the normal below the surface pixel
/// (a, b), in 32-bit floats. With float32 grids and normals every term is a float, in the order
/// normal * k, then * ratio, then + a.
struct SinglePrecisionStep {
    float k, ratio;
    explicit SinglePrecisionStep(OffsetType slice, float sizeXY, float sizeZ)
        : k(static_cast<float>(slice)), ratio(sizeZ / sizeXY)
    {
    }
    float along(float normal, float start) const { return normal * k * ratio + start; }
    float down(float normal, float height) const { return normal * k + height; }
    static float position(float start) { return start; }
};

/// The same with float64 grids and normals: k and the ratio in double, the in-plane product
/// rounded to float before it is widened and added to the double start, the sum rounded to float;
/// normal * k rounded to float before the height is added in float. The extra precision of the
/// grid thus ends in the sum, where it still shifts the position.
struct DoublePrecisionStep {
    double k, ratio;
    explicit DoublePrecisionStep(OffsetType slice, float sizeXY, float sizeZ)
        : k(static_cast<double>(slice)), ratio(static_cast<double>(sizeZ) / static_cast<double>(sizeXY))
    {
    }
    float along(double normal, double start) const
    {
        return static_cast<float>(static_cast<double>(static_cast<float>(normal * k * ratio)) + start);
    }
    float down(double normal, float height) const { return static_cast<float>(normal * k) + height; }
    static float position(double start) { return static_cast<float>(start); }
};

/// Where one row of output slice k reads: for each output pixel p, the position k steps along the
/// normal below its surface pixel (a, b), four samples of the maps at (a, b, 0). a and b are read
/// from the row of each grid with that grid's prim stride. The positions depend on the height
/// map's and the grids' types only, not on the input's: so they are compiled 20 times, not 200.
/// Never inlined, all state in locals: a store through a float pointer may alias the samplers.
template <class H, class C>
[[gnu::noinline]] void rowPositions(Tarn::Kito::OffsetType k, float sizeXY, float sizeZ, const TrilinearSampler<H>& height,
                                    const TrilinearSampler<C>& normalX, const TrilinearSampler<C>& normalY,
                                    const TrilinearSampler<C>& normalZ, const C* aVoxel, Tarn::Kito::OffsetType aPrim,
                                    const C* bVoxel, Tarn::Kito::OffsetType bPrim, Tarn::Kito::SizeType nPrim, float* x,
                                    float* y, float* z)
{
    using Step = std::conditional_t<std::is_same_v<C, float>, SinglePrecisionStep, DoublePrecisionStep>;
    const Step step(k, sizeXY, sizeZ);
    for (Tarn::Kito::SizeType p = 0; p < nPrim; ++p) {
        const C a = *aVoxel, b = *bVoxel;
        const float af = Step::position(a), bf = Step::position(b);
        x[p] = step.along(normalX.value(af, bf, 0.0f), a);
        y[p] = step.along(normalY.value(af, bf, 0.0f), b);
        z[p] = step.down(normalZ.value(af, bf, 0.0f), static_cast<float>(height.value(af, bf, 0.0f)));
        aVoxel += aPrim;
        bVoxel += bPrim;
    }
}

/// One row of an output slice from the positions of rowPositions: the input sampled where the
/// position lies in the input's view (0 <= x < P, 0 <= y < S, 0 <= z < T, the extents as floats),
/// 0 elsewhere. True if a voxel of the row is not 0. Depends on the input's type only.
template <class V>
[[gnu::noinline]] bool sampleRow(const TrilinearSampler<V>& input, const float* x, const float* y, const float* z,
                                 Tarn::Kito::SizeType nPrim, V* out, Tarn::Kito::OffsetType outPrim)
{
    const float inputPrim = static_cast<float>(input.getCountPrim());
    const float inputSec = static_cast<float>(input.getCountSec());
    const float inputTert = static_cast<float>(input.getCountTert());
    bool material = false;
    for (Tarn::Kito::SizeType p = 0; p < nPrim; ++p) {
        const float xp = x[p], yp = y[p], zp = z[p];
        V v = V(0);
        if (0.0f <= xp && xp < inputPrim && 0.0f <= yp && yp < inputSec && 0.0f <= zp && zp < inputTert) {
            v = input.value(xp, yp, zp);
            material |= v != V(0);
        }
        *out = v;
        out += outPrim;
    }
    return material;
}

} // namespace detail

/// The directional planarisation of T1 (the input's and the output's voxel type) with a height map
/// of T2 and grids and normals of T3 (float32 or float64), all VolumePtr over single blocks. Output
/// pixel (p, s) belongs to the surface pixel (a, b) that the grids give (the identity if a grid is
/// missing or of another type); slice k holds the input k tert voxels along the normal below it,
/// the in-plane part of the step scaled by the ratio of the voxel edges. The result is cropped to
/// the slices below the last one that holds a sample other than 0. Output slices are divided
/// among the threads. No progress, no stop.
template <class T1, class T2, class T3> class Operator : public Tarn::Kito::Operator<Operator<T1, T2, T3>> {
public:
    using Voxel = typename T1::element_type::VoxelType;
    using Height = typename T2::element_type::VoxelType;
    using Coordinate = typename T3::element_type::VoxelType;
    static_assert(std::is_floating_point_v<Coordinate>, "grids and normals are float32 or float64");

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::IOperator;
        using Tarn::Kito::OffsetType;
        using Tarn::Kito::SizeType;
        Tarn::Kito::clearStop(&this->abortFlag);
        const Tarn::Kito::SmartPointer<Parameter> parameter = DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0) throw failure("apply: paramaeter Object is NULL");
        const T1 input = DynamicCast<T1>(parameter->inputVolume.getValue());
        if (input == 0) throw failure("apply: input volume is NULL");
        const T2 heightMap = DynamicCast<T2>(parameter->inputHeightMapVolume.getValue());
        if (heightMap == 0) throw failure("apply: height-map volume is NULL");
        T3 primGrid = DynamicCast<T3>(parameter->inputResampledGridVolumePrim.getValue());
        T3 secGrid = DynamicCast<T3>(parameter->inputResampledGridVolumeSec.getValue());
        // "applX" is how hosts have always seen this one; they compare the text.
        const T3 normalX = DynamicCast<T3>(parameter->inputNormalMapVolumeX.getValue());
        if (normalX == 0) throw failure("applX: normal volume (X) is NULL");
        const T3 normalY = DynamicCast<T3>(parameter->inputNormalMapVolumeY.getValue());
        if (normalY == 0) throw failure("apply: normal volume (Y) is NULL");
        const T3 normalZ = DynamicCast<T3>(parameter->inputNormalMapVolumeZ.getValue());
        if (normalZ == 0) throw failure("apply: normal volume (Z) is NULL");
        const float sizeXY = parameter->inputVoxelSizeXY_um.getValue();
        const float sizeZ = parameter->inputVoxelSizeZ_um.getValue();
        int threads = parameter->inputNumberOfThreads.getValue();
        if (threads < 1) threads = omp_get_max_threads();

        const SizeType inputPrim = input->getDimPrim(), inputSec = input->getDimSec();
        if (primGrid == 0) primGrid = detail::identityGrid<Coordinate>(heightMap->getDimension(), inputPrim, inputSec, true);
        if (secGrid == 0) secGrid = detail::identityGrid<Coordinate>(heightMap->getDimension(), inputPrim, inputSec, false);

        const Tarn::Kito::Dimension<SizeType> extent(primGrid->getDimPrim(), primGrid->getDimSec(), input->getDimTert());
        const T1 output =
            Tarn::Kito::Operator<Operator<T1, T2, T3>>::template checkOutputVolume<T1>(parameter->outputVolume.getValue(), extent);
        const Tarn::Kito::Iterating::IterateValues out = output->getIterateValues();
        // The slices write every voxel of the output's view where that view is as large as the
        // grids and the output is no volume that is also read: each voxel is then written once,
        // and a new output's pages are first touched by the threads that write them. Otherwise
        // the view is set to 0 first, as the voxels no slice reaches must be.
        const SizeType nPrim = std::min({out.countPrim, primGrid->getDimPrim(), secGrid->getDimPrim()});
        const SizeType nSec = std::min({out.countSec, primGrid->getDimSec(), secGrid->getDimSec()});
        const OffsetType nTert = static_cast<OffsetType>(out.countTert);
        const Tarn::Kito::IVolume* written = &*output;
        const bool alsoRead = written == &*input || written == heightMap.get() || written == primGrid.get() ||
                              written == secGrid.get() || written == normalX.get() || written == normalY.get() ||
                              written == normalZ.get();
        if (alsoRead || nPrim != out.countPrim || nSec != out.countSec) output->fill(Voxel(0));

        const TrilinearSampler<Voxel> inputSampler(input, Voxel(0));
        const TrilinearSampler<Height> heightSampler(heightMap, Height(0));
        const TrilinearSampler<Coordinate> xSampler(normalX, Coordinate(0));
        const TrilinearSampler<Coordinate> ySampler(normalY, Coordinate(0));
        const TrilinearSampler<Coordinate> zSampler(normalZ, Coordinate(0));
        const Tarn::Kito::Iterating::IterateValues a = primGrid->getIterateValues(), b = secGrid->getIterateValues();
        const Coordinate* aFirst = primGrid->getIterator();
        const Coordinate* bFirst = secGrid->getIterator();
        Voxel* outFirst = output->getIterator();
        // Three rows of positions per thread, made before the region, where a failed allocation
        // can still leave it as a failure; each row is filled and used at once, so that no more
        // than the output is held whatever its depth.
        std::vector<float> positions(static_cast<std::size_t>(threads) * 3 * std::max<SizeType>(nPrim, 1));

        OffsetType maxSlice = 0;
        // The team size goes in the clause, not through omp_set_num_threads, which would change the
        // default of the host thread's later parallel regions too. Nothing in the region throws.
#pragma omp parallel num_threads(threads)
        {
            float* x = positions.data() + static_cast<std::size_t>(omp_get_thread_num()) * 3 * std::max<SizeType>(nPrim, 1);
            float* y = x + nPrim;
            float* z = y + nPrim;
#pragma omp for schedule(static)
            for (OffsetType k = 0; k < nTert; ++k) {
                bool material = false;
                for (SizeType s = 0; s < nSec; ++s) {
                    const OffsetType row = static_cast<OffsetType>(s);
                    detail::rowPositions(k, sizeXY, sizeZ, heightSampler, xSampler, ySampler, zSampler,
                                         aFirst + row * a.secStride, a.primStride, bFirst + row * b.secStride,
                                         b.primStride, nPrim, x, y, z);
                    material |= detail::sampleRow(inputSampler, x, y, z, nPrim,
                                                  outFirst + k * out.tertStride + row * out.secStride, out.primStride);
                }
                // Read without the lock: a stale value only sends a thread into the critical
                // section, where the test is made again. A thread comes here a handful of times.
                if (material && k > __atomic_load_n(&maxSlice, __ATOMIC_RELAXED)) {
#pragma omp critical
                    if (k > maxSlice) __atomic_store_n(&maxSlice, k, __ATOMIC_RELAXED);
                }
            }
        }

        // The last slice with a sample other than 0 is cut away with everything below it; hosts
        // rely on that depth. A crop to no slice at all is the invalid size it is, and fails here,
        // after the work, with the output property untouched.
        const Tarn::Kito::Dimension<SizeType> cropped(out.countPrim, out.countSec, static_cast<SizeType>(maxSlice));
        cropped.check();
        output->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(cropped, Tarn::Kito::Position<SizeType>(0, 0, 0)));
        const Tarn::Kito::SmartPointer<Tarn::Kito::Copy::Parameter> copy(new Tarn::Kito::Copy::Parameter);
        copy->inputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(output));
        copy->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(
            T1(new typename T1::element_type(cropped))));
        Tarn::Kito::Copy::Operator<T1, T1> crop;
        crop.apply(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(copy));
        parameter->outputVolume.setValue(copy->outputVolume.getValue());
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator< " +
               typename T1::element_type().getType() + ", " + typename T2::element_type().getType() + ", " +
               typename T3::element_type().getType() + " >";
    }

private:
    static Tarn::Kito::IOperator::InvalidParameterObjectException failure(const char* text)
    {
        return Tarn::Kito::IOperator::InvalidParameterObjectException(
            std::string("Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator::") + text);
    }
};

} // namespace Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator

#endif
