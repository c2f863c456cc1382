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
#include <Kito/detail/PagesAhead>
#include <LumoStudio/Operators/DuplicateSlices/Parameter.h>

#include <stdexcept>
#include <string>

namespace Tarn::Lumo::DuplicateSlices {

namespace detail {

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

        // Any failure while the slices are copied, an index beyond the plane's extent among them,
        // reaches the host as this one text; the volumes keep the regions and orientation they
        // had at that moment.
        // The copies run one after another, each on one thread: a second thread makes the new
        // volume's pages ahead of them.
        try {
            Tarn::Kito::detail::writeWithPagesAhead(result->getIterator(), extent.size() * sizeof(Voxel), [&] {
                if (xy) {
                    duplicate(input, result, index, count);
                } else {
                    const Orientation turned = xz ? Orientation(0, 4, 2) : Orientation(2, 4, 0);
                    input->setOrientation(turned);
                    result->setOrientation(turned);
                    duplicate(input, result, index, count);
                    input->setOrientation(Orientation(0, 2, 4));
                    result->setOrientation(Orientation(0, 2, 4));
                }
                input->popRoi();
            });
        } catch (...) {
            throw std::invalid_argument(named.getType() + "::DuplicateSlices Copy Slices Failed 0!");
        }
        parameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(result));
    }

private:
    /// Pushes the input's slice index (a tert slice of its view) and copies it into each tert
    /// slice of the result in turn. The slice stays pushed on the input for the caller to pop.
    static void duplicate(const In& input, const Result& result, Tarn::Kito::SizeType index, Tarn::Kito::SizeType count)
    {
        using Tarn::Kito::DynamicCast;
        input->setRoiToSlice(index);
        Tarn::Kito::SmartPointer<Tarn::Kito::Copy::Parameter> copyParameter(new Tarn::Kito::Copy::Parameter);
        copyParameter->inputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(input));
        copyParameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(result));
        const auto asComposite = DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(copyParameter);
        for (Tarn::Kito::SizeType i = 0; i < count; ++i) {
            result->setRoiToSlice(i);
            Tarn::Kito::Copy::Operator<In, Result> copy;
            copy.apply(asComposite);
            result->clearRoiStack();
        }
    }
};

} // namespace detail

/// In and Out are VolumePtr<V, SingleBlockAllocator>, of any two of the voxel types: Out only
/// names the instance (a host picks it by the volume it leaves in outputVolume), and the result is
/// always a new volume of In's type. An XZ or YZ slice is reached by turning both volumes so that
/// it becomes a tert slice of the view; those copies go voxel by voxel, an XY slice's line by line.
/// Each copy walks one slice, which is one slab of the parallel walk: it runs on one thread.
///
/// The copies are operators of their own, each with its own progress and stop flag: this
/// operator's progress stands at 0 until it returns, and a stop asked of it does not reach them.
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
