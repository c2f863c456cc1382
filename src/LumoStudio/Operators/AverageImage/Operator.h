// AverageImage::Operator: the voxel-wise mean of REK files of one voxel type and one extent.
#ifndef TARN_LUMO_AVERAGEIMAGE_OPERATOR_H_INCLUDED
#define TARN_LUMO_AVERAGEIMAGE_OPERATOR_H_INCLUDED

#include <AncillaryKitoOperators/VoxelTypeConversion>
#include <Kito/Abort>
#include <Kito/ArithmeticOperators/GenericArithmeticOperator/Operator>
#include <Kito/ForEach>
#include <Kito/ForEachParallel>
#include <Kito/IOperator>
#include <Kito/List>
#include <Kito/Persistence/RecHeader_V260>
#include <Kito/Persistence/VolumeFileInputOutput/Loader/Parameter>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/MetaInformation>
#include <Kito/Progress>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Types>
#include <Kito/Volume>
#include <LumoStudio/Operators/AverageImage/Parameter.h>

#include <string>
#include <type_traits>
#include <vector>

namespace Tarn::Lumo::ArithmeticOperators::AverageImage {

/// The volume in which the files are summed, one Tarn::float64 per voxel: exact for every sum of
/// up to 2^21 files of 32-bit integers, and for floats the sum a plain loop in list order forms.
using Accumulator = Tarn::Kito::VolumePtr<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>;

/// Adds a loaded volume (In, the file's voxel type) into the accumulator (Acc). The first file is
/// copied rather than added to a zero, so that the sum of each voxel is ((x1 + x2) + x3) ... in the
/// list's order, as a plain loop starting from the first file forms it: a mean of negative zeros
/// stays a negative zero. Each voxel depends on itself alone, so the slabs of the parallel walk
/// give the same bits for any number of threads.
template <class In, class Acc> class Functor : public Tarn::Kito::ArithmeticOperators::GenericArithmeticOperator::Functor {
public:
    using Voxel = typename In::element_type::VoxelType;
    using Sum = typename Acc::element_type::VoxelType;

    explicit Functor(bool first) : first(first) {}

    void operator()(const Voxel& x, Sum& sum) { sum = first ? static_cast<Sum>(x) : sum + static_cast<Sum>(x); }

    bool first;
};

/// Takes the sums of the accumulator (Acc) back to the voxel type of Out as means: sum / count, a
/// true division in Tarn::float64. Into an integer type rounded half up, floor(mean + 0.5), by the
/// voxel type conversion's own rounding and checked cast: a mean of values of the type lies within
/// its range, so the check never fires for files of the type. Into a float type the nearest value,
/// and NaN where any file holds one (or infinities of both signs meet).
template <class Acc, class Out> class Functor2 : public Tarn::Kito::ArithmeticOperators::GenericArithmeticOperator::Functor {
public:
    using Sum = typename Acc::element_type::VoxelType;
    using Voxel = typename Out::element_type::VoxelType;

    explicit Functor2(Tarn::float64 count) : count(count) {}

    void operator()(const Sum& sum, Voxel& y) { y = toVoxel(sum / count); }

    Tarn::float64 count;

private:
    static Voxel toVoxel(Tarn::float64 mean)
    {
        namespace Conversion = Tarn::AncillaryKitoOperators::VoxelTypeConversion::detail;
        if constexpr (std::is_floating_point_v<Voxel>)
            return Conversion::Unchecked<Voxel>::apply(Conversion::AsItIs::apply(mean));
        else
            return Conversion::Checked<Voxel>::apply(Conversion::HalfUp::apply(mean));
    }
};

/// VolumePointer is VolumePtr<T, SingleBlockAllocator> for the eight voxel types; every file of the
/// list must hold voxels of T (the loader refuses any other, naming both types) and have the extent
/// of the first file (checkDimensions refuses any other). The files are read one after the other
/// into one reused volume, so memory holds one file and the accumulator, whatever the list's length.
///
/// Progress: 0.99 spread over the files and the conversion, each step reported when it is done,
/// then 1.0. A stop is seen between the slices of the walks and between files (a file being read is
/// read to its end): a stop before the conversion leaves outputVolume as it was, since a partial sum
/// is the mean of nothing; a stop during the conversion leaves the slices converted up to there.
template <class VolumePointer>
class Operator : public Tarn::Kito::ArithmeticOperators::GenericArithmeticOperator::Operator<Operator<VolumePointer>,
                                                                                             VolumePointer> {
public:
    using Volume = typename VolumePointer::element_type;
    using Voxel = typename Volume::VoxelType;
    using Loader = Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator<
        VolumePointer,
        Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>>;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using Failure = Tarn::Kito::IOperator::InvalidParameterObjectException;
        this->startRun();
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0)
            throw Failure("Tarn::Lumo::ArithmeticOperators::AverageImage::Operator::apply || parameter == NULL");
        const Tarn::Kito::Container::ListPtr<std::string> list = parameter->inputFileList.getValue();
        // A NULL list holds no names either, and is refused in the same words.
        if (list == 0 || list->empty())
            throw Failure("Tarn::Lumo::ArithmeticOperators::AverageImage::Operator::apply || size of list equals zero");
        const std::vector<std::string> names(list->begin(), list->end());
        const double share = 0.99 / static_cast<double>(names.size() + 1);

        VolumePointer loaded;
        Accumulator sum;
        for (std::size_t index = 0; index < names.size(); ++index) {
            loaded = load(names[index], loaded);
            if (index == 0)
                sum = Accumulator(new typename Accumulator::element_type(loaded->getDimension()));
            else
                this->checkDimensions(loaded, sum, Accumulator());
            if (Tarn::Kito::stopRequested(&this->abortFlag)) return;
            const Functor<VolumePointer, Accumulator> functor(index == 0);
            // The walk ends its own progress at 1.0; the operator's moves by whole files.
            Tarn::Kito::Progress walked;
            Tarn::Kito::Iterating::ForEachParallel::apply(&functor, loaded, sum, walked, &this->abortFlag);
            if (Tarn::Kito::stopRequested(&this->abortFlag)) return;
            this->progress.setProgress(share * static_cast<double>(index + 1));
        }
        loaded = VolumePointer();   // one file's memory less while the output is made

        const VolumePointer output =
            this->template checkOutputVolume<VolumePointer>(parameter->outputVolume.getValue(), sum->getDimension());
        parameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(output));
        Functor2<Accumulator, VolumePointer> functor2(static_cast<Tarn::float64>(names.size()));
        Tarn::Kito::Progress converted;
        Tarn::Kito::Iterating::ForEach::apply(functor2, sum, output, converted, &this->abortFlag);
        if (!Tarn::Kito::stopRequested(&this->abortFlag)) this->progress.setProgress(1.0);
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::ArithmeticOperators::AverageImage::Operator< " + Volume().getType() + " >";
    }

private:
    /// The file's voxels in reuse, which the loader fills in place when its extent is the file's and
    /// reallocates otherwise; a NULL reuse gives a new volume. A file that cannot be opened fails in
    /// the loader as Tarn::Exceptions::FileOpen with its name.
    static VolumePointer load(const std::string& name, const VolumePointer& reuse)
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::SmartPointer;
        using LoaderParameter = Tarn::Kito::Persistence::VolumeFileInputOutput::Loader::Parameter;
        const SmartPointer<LoaderParameter> p(new LoaderParameter);
        p->inputFileName.setValue(name);
        p->modifyVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(reuse));
        Loader loader;
        loader.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
        return DynamicCast<VolumePointer>(p->modifyVolume.getValue());
    }
};

} // namespace Tarn::Lumo::ArithmeticOperators::AverageImage

#endif
