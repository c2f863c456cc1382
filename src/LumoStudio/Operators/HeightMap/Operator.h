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

/// The search, slice by slice in the order of the input's view, so that a view in storage order
/// is streamed once; a ray is never followed on its own and has no early exit. out is the new
/// image, one slice in storage order, already holding notFound everywhere.
///
/// Never inlined, and all state in locals: a store through an 8-bit output pointer may alias
/// anything in memory, which would force a reload of every field after every voxel.
template <bool Unit, class In, class Out>
[[gnu::noinline]] void search(const In* in, Tarn::Kito::OffsetType stepPrim, Tarn::Kito::OffsetType stepSec,
                              Tarn::Kito::OffsetType stepTert, Tarn::Kito::SizeType nPrim, Tarn::Kito::SizeType nSec,
                              Tarn::Kito::SizeType nTert, Out* out)
{
    const In background = backgroundValue<In>();
    const Out notFound = std::numeric_limits<Out>::max();
    // 32-bit counters, widened for the comparison with the extents. The height is t narrowed to
    // Out with nothing to guard it: in Tarn::uint8, t = 256 is stored as 0, and t = 255 is the
    // not-found value itself, so such a pixel stays open for a later voxel of its ray.
    for (Tarn::int32 t = 0; static_cast<Tarn::Kito::SizeType>(t) < nTert; ++t) {
        const Out height = static_cast<Out>(t);
        Out* o = out;
        for (Tarn::int32 s = 0; static_cast<Tarn::Kito::SizeType>(s) < nSec; ++s) {
            for (Tarn::int32 p = 0; static_cast<Tarn::Kito::SizeType>(p) < nPrim; ++p) {
                // Written back unchanged where nothing is found: the store then needs no branch,
                // which lets the compiler vectorise the line; nobody else sees the new image yet.
                *o = (*in != background && *o == notFound) ? height : *o;
                ++o;
                if constexpr (Unit)
                    ++in;
                else
                    in += stepPrim;
            }
            in += stepSec; // a correction, not a stride: in has already moved nPrim times
        }
        in += stepTert;
    }
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

        const SizeType nPrim = input->getDimPrim(), nSec = input->getDimSec(), nTert = input->getDimTert();
        const Out output(new OutVolume(Tarn::Kito::Dimension<SizeType>(nPrim, nSec, 1)));
        output->fill(std::numeric_limits<OutVoxel>::max());
        const InVoxel* first = input->getIterator();
        OutVoxel* image = output->getIterator();
        const Tarn::Kito::OffsetType stepPrim = input->getStepPrim();
        if (stepPrim == 1)
            detail::search<true>(first, stepPrim, input->getStepSec(), input->getStepTert(), nPrim, nSec, nTert, image);
        else
            detail::search<false>(first, stepPrim, input->getStepSec(), input->getStepTert(), nPrim, nSec, nTert, image);
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
