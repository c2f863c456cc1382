// The REK header loader and, for a header it accepts, the loader of that voxel type, on arbitrary
// bytes as a file. The first byte chooses the file's ending, so that the ".raw" rule, which takes
// the image block without a size test, is reached too, and whether the loader fills a new volume
// (direct path) or a region of a larger one, perhaps turned (copy path).
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

/// How the destination is given: NULL, or a volume one voxel larger along each axis with a region
/// of the file's extent at (1, 1, 1), which takes the copy path, perhaps turned as well.
struct Destination {
    bool region = false;
    bool turned = false;
};

template <class T>
SmartPointer<Tarn::Kito::IVolume> destinationFor(const Destination& how, const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& extent,
                                                 Tarn::Kito::SizeType payload)
{
    using Volume = Tarn::Kito::Volume<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
    // Only what the file can back: the header of a ".raw" file is taken untested.
    const bool small = extent.prim != 0 && extent.prim < 4096 && extent.sec < 4096 && extent.tert < 4096 &&
                       extent.sec != 0 && extent.tert != 0 && extent.size() * sizeof(T) <= payload;
    if (!how.region || !small) return {};
    Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator> volume(
        new Volume(Tarn::Kito::Dimension<Tarn::Kito::SizeType>(extent.prim + 1, extent.sec + 1, extent.tert + 1)));
    volume->fill(T());
    if (how.turned) volume->setOrientation(Tarn::Kito::Orientation(1, 2, 5));
    volume->setRoi(Tarn::Kito::RegionOfInterest<Tarn::Kito::SizeType>(extent, Tarn::Kito::Position<Tarn::Kito::SizeType>(1, 1, 1)));
    return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume);
}

template <class T>
void load(const std::string& path, const Destination& how, const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& extent,
          Tarn::Kito::SizeType payload)
{
    using Volume = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
    SmartPointer<Files::Loader::Parameter> parameter(new Files::Loader::Parameter);
    parameter->inputFileName.setValue(path);
    parameter->modifyVolume.setValue(destinationFor<T>(how, extent, payload));
    Files::RecHeaderFileInputOutput::Loader::Operator<Volume, Meta> loader;
    loader.apply(DynamicCast<SmartPointer<IComposite>>(parameter));
    // Loaded: a volume of the reported extent, filled from the file.
    if (DynamicCast<Volume>(parameter->modifyVolume.getValue()) == 0) std::abort();
}

template <class... T>
void loadAs(const std::string& type, const std::string& path, const Destination& how,
            const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& extent, Tarn::Kito::SizeType payload)
{
    const int order[] = {0, (type == Tarn::Kito::typeName<T>() ? load<T>(path, how, extent, payload) : void(), 0)...};
    static_cast<void>(order);
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
        const Destination how{(data[0] & 4) != 0, (data[0] & 8) != 0};
        const Tarn::Kito::SizeType payload = size - 1 > 2048 ? size - 1 - 2048 : 0;
        loadAs<Tarn::int8, Tarn::uint8, Tarn::int16, Tarn::uint16, Tarn::int32, Tarn::uint32, Tarn::float32, Tarn::float64>(
            parameter->outputVoxelTypeName.getValue(), path, how, parameter->outputVolumeDimension.getValue(), payload);
    } catch (const Tarn::Exceptions::BadFile&) {
    } catch (const std::ios_base::failure&) {
    } catch (const std::logic_error&) {
        // invalid_argument of the type codes, out_of_range of a mixed extent
    } catch (const std::overflow_error&) {
    }
    return 0;
}
