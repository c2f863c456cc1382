// RekTypeReader on arbitrary bytes as a file: every input ends in a result or in one of the
// reader's failures, and a result's extent holds exactly the file's voxels.
#include "FuzzFile.h"

#include <AncillaryKitoOperators/RekTypeReader>
#include <Kito/Persistence/VoxelTypeConverter>

#include <cstdlib>
#include <stdexcept>

namespace {
LumoFuzz::Cleanup cleanup;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    namespace Reader = Tarn::AncillaryKitoOperators::RekTypeReader;
    const std::string path = LumoFuzz::filePath("rek");
    LumoFuzz::writeFile(path, data, size);
    Tarn::Kito::SmartPointer<Reader::Parameter> parameter(new Reader::Parameter);
    parameter->inputFilename.setValue(path);
    Reader::Operator reader;
    try {
        reader.apply(Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(parameter));
    } catch (const std::runtime_error&) {
        return 0; // the reader's own refusals, and the size's overflow failure
    }
    // Accepted: the extent's bytes are the payload, to the byte.
    const Tarn::Kito::Dimension<Tarn::Kito::SizeType> extent = parameter->outputDimension.getValue();
    const std::string type = parameter->outputVoxelType.getValue();
    const Tarn::Kito::SizeType voxelSize =
        Tarn::Kito::Persistence::VolumeFileInputOutput::VoxelTypeConverter::voxelSize(type);
    if (size < 2049 || voxelSize == 0 || extent.size() * voxelSize != size - 2048) std::abort();
    return 0;
}
