// VolumeFromRawFileInput::Operator: a headerless voxel file read into a volume in memory.
#ifndef TARN_LUMO_VOLUMEFROMRAWFILEINPUT_OPERATOR_H_INCLUDED
#define TARN_LUMO_VOLUMEFROMRAWFILEINPUT_OPERATOR_H_INCLUDED

#include <Kito/Exceptions>
#include <Kito/IOperator>
#include <Kito/Operator>
#include <Kito/Progress>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <Kito/detail/SlicesAhead>
#include <LumoStudio/Operators/VolumeFromRawFileInput/Parameter.h>

#include <fstream>
#include <ios>
#include <string>
#include <type_traits>

namespace Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput {

/// Reads the file's bytes from inputHeaderSkip on into the volume, slice by slice, as they are:
/// host byte order, no conversion. The reader is lenient on purpose, as hosts rely on it: a file
/// too short leaves the rest of the volume as it was, without a failure, and bytes beyond the
/// volume are never looked at. It does not stop on request: a read, once begun, runs to its end.
template <class VolumePointer> class Operator : public Tarn::Kito::Operator<Operator<VolumePointer>> {
public:
    using Volume = typename VolumePointer::element_type;
    using Voxel = typename Volume::VoxelType;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        this->startRun();
        // The origin names another namespace than the class's own; hosts compare it as it is.
        const char* const origin = "Tarn::Kito::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator::apply";
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0) throw Tarn::Kito::IOperator::InvalidParameterObjectException(origin);
        const std::string path = parameter->inputFilePath.getValue();
        std::ifstream stream(path, std::ios::binary);
        if (!stream.is_open())
            throw Tarn::Exceptions::FileOpen(path, origin, "src/LumoStudio/Operators/VolumeFromRawFileInput/Operator.h",
                                             __LINE__);
        // Unsigned differences: an end below its start wraps, and the volume's own checks judge it.
        const Tarn::Kito::Dimension<Tarn::Kito::SizeType> dimension(
            parameter->inputEndPrim.getValue() - parameter->inputStartPrim.getValue() + 1,
            parameter->inputEndSec.getValue() - parameter->inputStartSec.getValue() + 1,
            parameter->inputEndTert.getValue() - parameter->inputStartTert.getValue() + 1);
        const Tarn::Kito::SmartPointer<Tarn::Kito::IVolume> given = parameter->outputVolume.getValue();
        const bool fresh = Tarn::Kito::detail::freshVoxels(given, dimension);   // asked before a resize
        const VolumePointer volume = this->template checkOutputVolume<VolumePointer>(given, dimension);
        parameter->outputVolume.setValue(Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(volume));
        readVolume(stream, volume, parameter->inputHeaderSkip.getValue(), this->progress, fresh ? &path : nullptr);
        stream.close();
        this->progress.setProgress(1.0);
    }

    /// Fills volume from stream, from byte headerSkip on: block by block, each slice of a block
    /// with one read. Reads past the end of the file deliver nothing and fail nothing. Given the
    /// file's path, the volume's voxels are new (nobody's until read): a whole volume in storage
    /// order then has the back half of its slices read by a second thread meanwhile.
    static void readVolume(std::istream& stream, const VolumePointer& volume, Tarn::uint64 headerSkip,
                           Tarn::Kito::Progress& progress, const std::string* freshFile = nullptr)
    {
        using Tarn::Kito::SizeType;
        // A skip beyond the stream's offsets wraps to a negative position, whose seek fails: the
        // stream is then failed, and the reads below deliver nothing, as for a short file.
        stream.seekg(static_cast<std::streamoff>(headerSkip), std::ios::beg);
        const double step = 0.99 / static_cast<double>(volume->getDimTert());
        const auto read = [&](Tarn::Kito::detail::SlicesAhead& ahead) {
            bool behind = false;   // the stream stands before slices read ahead
            for (const Tarn::Kito::RegionOfInterest<SizeType>& block : volume->getBlockList()) {
                volume->setRoi(block);
                const SizeType slices = volume->getDimTert();
                for (SizeType index = 0; index < slices; ++index) {
                    volume->setRoiToSlice(index);
                    Voxel* const first = lowestVoxel(*volume);
                    const SizeType bytes = volume->sizeOfRoi() * sizeof(Voxel);
                    // Only a stream that has read every byte so far would come to the slices read
                    // ahead; a failed one reads nothing more, and what was read ahead is cleared.
                    if (stream.good() && ahead.claim(index)) {
                        behind = true;
                    } else {
                        if (behind) stream.seekg(static_cast<std::streamoff>(headerSkip + index * bytes), std::ios::beg);
                        behind = false;
                        stream.read(reinterpret_cast<char*>(first), static_cast<std::streamsize>(bytes));
                    }
                    volume->popRoi();
                    progress.setProgress(progress.getProgress() + step);
                }
                volume->popRoi();
            }
        };
        // Slices one after another in one block of memory, as in the file: the whole volume in
        // storage order.
        void* begin = nullptr;
        if constexpr (std::is_pointer_v<typename Volume::Iterator>) {
            if (freshFile != nullptr && volume->getDimension() == volume->getVolumeDimension() &&
                volume->getOrientation() == volume->getDefaultOrientation() && volume->getBlockList().size() == 1)
                begin = volume->getIterator();
        }
        const SizeType sliceBytes = volume->getDimPrim() * volume->getDimSec() * sizeof(Voxel);
        Tarn::Kito::detail::readWithSlicesAhead(begin, sliceBytes, volume->getDimTert(),
                                                begin != nullptr ? *freshFile : std::string(), headerSkip,
                                                begin != nullptr, read);
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator< " + Volume().getType() +
               " >";
    }

private:
    /// The view's voxel with the lowest address. In storage order that is the view's first voxel;
    /// a mirrored view starts at the other end, and the bytes of a slice must still go forward from
    /// its lowest voxel, or they would run past the end of the block.
    static Voxel* lowestVoxel(const Volume& volume)
    {
        const Tarn::Kito::RegionOfInterest<Tarn::Kito::SizeType> region = volume.getRoiStack().back();
        const Tarn::Kito::SizeType offset =
            region.origin.prim +
            volume.getVolumeDimPrim() * (region.origin.sec + volume.getVolumeDimSec() * region.origin.tert);
        Voxel* const begin =
            volume.getIterator() - volume.getOffset(Tarn::Kito::Position<Tarn::Kito::SizeType>(0, 0, 0));
        return begin + offset;
    }
};

} // namespace Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput

#endif
