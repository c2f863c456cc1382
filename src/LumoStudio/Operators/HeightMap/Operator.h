// HeightMap::Operator: for each ray along one axis of a volume, the depth of its first voxel that
// is not background.
#ifndef TARN_LUMO_HEIGHTMAP_OPERATOR_H_INCLUDED
#define TARN_LUMO_HEIGHTMAP_OPERATOR_H_INCLUDED

#include <Kito/Abort>
#include <Kito/IVolume>
#include <Kito/Operator>
#include <Kito/Orientation>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <LumoStudio/Operators/HeightMap/Parameter.h>

#include <cstdlib>
#include <limits>
#include <string>

namespace Tarn::Lumo::HeightMap {

/// The value that counts as "nothing here" in a volume of T: the smallest value its numeric limits
/// name. For floating-point types that is the smallest positive normalised number, so 0.0 and
/// negative voxels are material; a host that wants a threshold writes this value beforehand. The
/// planarisations fill their voids with the same value.
template <class T> constexpr T backgroundValue() { return std::numeric_limits<T>::min(); }

namespace detail {

/// The view codes under which the searched axis is view tert, or false for a direction above 2.
/// The codes refer to the stored axes, so a second search with another direction starts from the
/// stored volume, whatever view an earlier one left.
inline bool orientationOf(Tarn::uint64 direction, Tarn::Kito::Orientation& orientation)
{
    switch (direction) {
    case 0: orientation = Tarn::Kito::Orientation(3, 4, 0); return true; // sec backwards, tert, prim
    case 1: orientation = Tarn::Kito::Orientation(0, 5, 2); return true; // prim, tert backwards, sec
    case 2: orientation = Tarn::Kito::Orientation(0, 2, 4); return true; // the stored order
    default: return false;
    }
}

using Tarn::Kito::OffsetType;
using Tarn::Kito::SizeType;

/// The first index from t on at which the ray from ray on (voxels one apart) leaves background, or
/// n. The first voxel is looked at alone, since rays through material hit at once; then blocks of a
/// cache line are tested at once, with no branch inside: that test vectorises, and only the block
/// with the hit is searched voxel by voxel.
template <class In> SizeType firstHit(const In* ray, SizeType t, SizeType n, In background)
{
    if (t < n && ray[t] != background) return t;
    constexpr SizeType block = 64 / sizeof(In) < 8 ? 8 : 64 / sizeof(In);
    while (t + block <= n) {
        bool hit = false;
        for (SizeType k = 0; k < block; ++k) hit |= ray[t + k] != background;
        if (hit) break;
        t += block;
    }
    for (; t < n; ++t)
        if (ray[t] != background) return t;
    return n;
}

/// The height of a ray from ray on, with its voxels one apart: the first t whose voxel is not
/// background. A hit whose t, narrowed to Out, is the not-found value leaves the pixel open, as it
/// does in the slice-by-slice search, so the search goes on behind it.
template <class In, class Out> Out rayHeight(const In* ray, SizeType n, In background, Out notFound)
{
    SizeType t = firstHit(ray, 0, n, background);
    while (t < n && static_cast<Out>(t) == notFound) t = firstHit(ray, t + 1, n, background);
    return t < n ? static_cast<Out>(t) : notFound;
}

/// Folds one row of the view at depth t into the row of the image: a pixel still open takes the
/// height where the voxel is not background. Gives whether a pixel of the row is still open
/// afterwards. The pixel is written back unchanged where nothing is found: the store then needs no
/// branch, and the loop vectorises.
template <class In, class Out>
bool foldRow(const In* row, Out* o, SizeType nPrim, In background, Out notFound, Out height)
{
    bool open = false;
    for (SizeType p = 0; p < nPrim; ++p) {
        const Out now = (row[p] != background && o[p] == notFound) ? height : o[p];
        o[p] = now;
        open |= now == notFound;
    }
    return open;
}

/// The search when the searched axis runs along the stored prim: every ray lies in memory as one
/// piece, and is read up to its first hit only.
template <class In, class Out>
[[gnu::noinline]] void searchRays(const In* first, OffsetType primStride, OffsetType secStride, SizeType nPrim,
                                  SizeType nSec, SizeType nTert, Out* out)
{
    const In background = backgroundValue<In>();
    const Out notFound = std::numeric_limits<Out>::max();
    for (SizeType s = 0; s < nSec; ++s) {
        const In* ray = first + static_cast<OffsetType>(s) * secStride;
        Out* o = out + s * nPrim;
        if (primStride < 0) {
            // The rays in the order of memory: view prim runs backwards through it.
            ray += static_cast<OffsetType>(nPrim - 1) * primStride;
            for (SizeType p = nPrim; p-- > 0; ray -= primStride) o[p] = rayHeight(ray, nTert, background, notFound);
        } else {
            for (SizeType p = 0; p < nPrim; ++p, ray += primStride) o[p] = rayHeight(ray, nTert, background, notFound);
        }
    }
}

/// The search when view prim runs forward along the stored prim and the slices of the view lie
/// further apart than its rows (the stored order): layer by layer over the whole image, ending
/// with the first layer after which no pixel is open.
template <class In, class Out>
[[gnu::noinline]] void searchLayers(const In* first, OffsetType secStride, OffsetType tertStride, SizeType nPrim,
                                    SizeType nSec, SizeType nTert, Out* out)
{
    const In background = backgroundValue<In>();
    const Out notFound = std::numeric_limits<Out>::max();
    bool open = true;
    for (SizeType t = 0; t < nTert && open; ++t) {
        const In* layer = first + static_cast<OffsetType>(t) * tertStride;
        open = false;
        for (SizeType s = 0; s < nSec; ++s)
            open |= foldRow(layer + static_cast<OffsetType>(s) * secStride, out + s * nPrim, nPrim, background,
                            notFound, static_cast<Out>(t));
    }
}

/// The search when view prim runs forward along the stored prim and the rows of the view lie
/// further apart than its slices: each row of the image is found from one stored slice, read row
/// by row in memory order up to the first row after which none of its pixels is open.
template <class In, class Out>
[[gnu::noinline]] void searchPlanes(const In* first, OffsetType secStride, OffsetType tertStride, SizeType nPrim,
                                    SizeType nSec, SizeType nTert, Out* out)
{
    const In background = backgroundValue<In>();
    const Out notFound = std::numeric_limits<Out>::max();
    for (SizeType s = 0; s < nSec; ++s) {
        const In* plane = first + static_cast<OffsetType>(s) * secStride;
        Out* o = out + s * nPrim;
        bool open = true;
        for (SizeType t = 0; t < nTert && open; ++t)
            open = foldRow(plane + static_cast<OffsetType>(t) * tertStride, o, nPrim, background, notFound,
                           static_cast<Out>(t));
    }
}

/// The image of the view w of the input from first on, into out (one slice in storage order,
/// holding the not-found value everywhere). The result, the smallest t of each ray, does not depend
/// on the order in which the voxels are read, so the input is read in the order of its memory,
/// and a ray or a layer ends as soon as nothing is left to find.
template <class In, class Out> void search(const In* first, const Tarn::Kito::Iterating::IterateValues& w, Out* out)
{
    if (w.countPrim == 0 || w.countSec == 0 || w.countTert == 0) return;
    // The three views of orientationOf: direction 0 searches along the stored prim, the other two
    // keep view prim on it.
    if (w.tertStride == 1)
        searchRays(first, w.primStride, w.secStride, w.countPrim, w.countSec, w.countTert, out);
    else if (std::abs(w.secStride) <= std::abs(w.tertStride))
        searchLayers(first, w.secStride, w.tertStride, w.countPrim, w.countSec, w.countTert, out);
    else
        searchPlanes(first, w.secStride, w.tertStride, w.countPrim, w.countSec, w.countTert, out);
}

} // namespace detail

/// The height map of In (a VolumePtr of any voxel type) as a new one-slice volume of Out
/// (Tarn::uint8, Tarn::uint16 or Tarn::uint32). It turns the input's view so that view tert runs
/// along the searched axis and leaves it so: the height map refers to that view, and the
/// planarisations take the volume in it. Nobody else may use the input meanwhile. It reports no
/// progress and cannot be stopped.
template <class In, class Out> class Operator : public Tarn::Kito::Operator<Operator<In, Out>> {
public:
    using InVoxel = typename In::element_type::VoxelType;
    using OutVoxel = typename Out::element_type::VoxelType;
    using OutVolume = typename Out::element_type;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::SizeType;
        Tarn::Kito::clearStop(&this->abortFlag);
        const Tarn::Kito::SmartPointer<Parameter> parameter = DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0) throw Tarn::Kito::IOperator::InvalidParameterObjectException("Tarn::Lumo::HeightMap::Operator::apply");
        const In input = DynamicCast<In>(parameter->inputVolume.getValue());
        if (input == 0)
            throw Tarn::Kito::IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::HeightMap::Operator::apply: input volume is NULL");
        const Tarn::uint64 direction = parameter->inputDirection.getValue();
        // Read for its test of having been appended, and no more: the search is serial.
        static_cast<void>(parameter->inputNumberOfThreads.getValue());
        // Tested before the view is touched: a refused direction leaves the input as it was.
        Tarn::Kito::Orientation orientation;
        if (!detail::orientationOf(direction, orientation))
            throw Tarn::Kito::IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::HeightMap::Operator::apply: Invalid direction value");
        input->setOrientation(orientation);

        const SizeType nPrim = input->getDimPrim(), nSec = input->getDimSec();
        const Out output(new OutVolume(Tarn::Kito::Dimension<SizeType>(nPrim, nSec, 1)));
        output->fill(std::numeric_limits<OutVoxel>::max());
        detail::search(input->getIterator(), input->getIterateValues(), output->getIterator());
        parameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(output));
    }

    /// ", " between the two volumes, without the blank before the comma that other operators
    /// have: hosts look the class up by this text.
    std::string getType() const override
    {
        return "Tarn::Lumo::HeightMap::Operator< " + typename In::element_type().getType() + ", " +
               typename Out::element_type().getType() + " >";
    }
};

} // namespace Tarn::Lumo::HeightMap

#endif
