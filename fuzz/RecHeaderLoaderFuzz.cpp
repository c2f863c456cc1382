// The REK header loader and, for a header it accepts, the loader of that voxel type, on arbitrary
// bytes as a file. The first byte chooses the file's ending, so that the ".raw" rule, which takes
// the image block without a size test, is reached too.
#include "FuzzFile.h"

#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderLoader/Operator>

#include <ios>
#include <stdexcept>

namespace {

LumoFuzz::Cleanup cleanup;

namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;
using Meta = Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

template <class T> void load(const std::string& path)
{
    using Volume = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
    SmartPointer<Files::Loader::Parameter> parameter(new Files::Loader::Parameter);
    parameter->inputFileName.setValue(path);
    Files::RecHeaderFileInputOutput::Loader::Operator<Volume, Meta> loader;
    loader.apply(DynamicCast<SmartPointer<IComposite>>(parameter));
    // Loaded: a volume of the reported extent, filled from the file.
    if (DynamicCast<Volume>(parameter->modifyVolume.getValue()) == 0) std::abort();
}

void loadAs(const std::string& type, const std::string& path)
{
    if (type == "Tarn::int8") load<Tarn::int8>(path);
    if (type == "Tarn::uint8") load<Tarn::uint8>(path);
    if (type == "Tarn::int16") load<Tarn::int16>(path);
    if (type == "Tarn::uint16") load<Tarn::uint16>(path);
    if (type == "Tarn::int32") load<Tarn::int32>(path);
    if (type == "Tarn::uint32") load<Tarn::uint32>(path);
    if (type == "Tarn::float32") load<Tarn::float32>(path);
    if (type == "Tarn::float64") load<Tarn::float64>(path);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const std::string path = LumoFuzz::filePath(data[0] % 4 == 0 ? "raw" : "rek");
    LumoFuzz::writeFile(path, data + 1, size - 1);
    SmartPointer<Files::RecHeaderLoader::Parameter> parameter(new Files::RecHeaderLoader::Parameter);
    parameter->inputFileName.setValue(path);
    Files::RecHeaderLoader::Operator<Meta> headerLoader;
    try {
        headerLoader.apply(DynamicCast<SmartPointer<IComposite>>(parameter));
        loadAs(parameter->outputVoxelTypeName.getValue(), path);
    } catch (const Tarn::Exceptions::BadFile&) {
    } catch (const std::ios_base::failure&) {
    } catch (const std::logic_error&) {
        // invalid_argument of the type codes, out_of_range of a mixed extent
    } catch (const std::overflow_error&) {
    }
    return 0;
}
