#include "VolumeFiles.h"

#include "Watch.h"

#include <AncillaryKitoOperators/RekTypeReader>
#include <Kito/ClassFactory>
#include <Kito/Persistence/RecHeader_V260>
#include <Kito/Persistence/VoxelTypeConverter>
#include <Kito/Persistence/VolumeFileInputOutput/Loader/Parameter>
#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IVolumeFromRawFileInput.h>

#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>
#include <system_error>
#include <filesystem>

namespace LumoTool {

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::VolumeFileInputOutput::VoxelTypeConverter;

template <class P> SmartPointer<IComposite> composite(const SmartPointer<P>& p) { return DynamicCast<SmartPointer<IComposite>>(p); }

/// "uint16" or "Tarn::uint16" as the library spells it, or a usage failure.
std::string fullTypeName(const std::string& name)
{
    const std::string full = name.rfind("Tarn::", 0) == 0 ? name : "Tarn::" + name;
    if (VoxelTypeConverter::voxelSize(full) == 0) throw UsageError("unknown voxel type '" + name + "'");
    return full;
}

Dimension<SizeType> parseExtent(const std::string& text)
{
    SizeType values[3] = {0, 0, 0};
    std::istringstream in(text);
    std::string part;
    int count = 0;
    while (std::getline(in, part, ',')) {
        std::size_t used = 0;
        try {
            if (count < 3 && !part.empty() && part[0] != '-') values[count] = std::stoull(part, &used);
        } catch (const std::logic_error&) {
            used = 0;
        }
        if (count >= 3 || used != part.size() || used == 0 || values[count] == 0)
            throw UsageError("--extent takes three positive numbers: prim,sec,tert");
        ++count;
    }
    if (count != 3) throw UsageError("--extent takes three positive numbers: prim,sec,tert");
    return Dimension<SizeType>(values[0], values[1], values[2]);
}

SizeType parseSkip(const std::string& text)
{
    try {
        std::size_t used = 0;
        const unsigned long long value = std::stoull(text, &used);
        if (used == text.size() && text[0] != '-') return value;
    } catch (const std::logic_error&) {
    }
    throw UsageError("--skip takes a number of bytes");
}

/// The number of value bits by which the raw reader's facade knows a type.
Tarn::uint64 dataTypeOf(const std::string& fullName)
{
    return static_cast<Tarn::uint64>(VoxelTypeConverter()[fullName]);
}

SmartPointer<Tarn::Kito::IVolume> readRaw(const std::string& path, const FileOptions& options)
{
    if (options.voxelType.empty()) throw UsageError("a raw file needs --raw-type with its --extent");
    const std::string type = fullTypeName(options.voxelType);
    // The reader itself would take a file too short and leave the rest of the volume as memory
    // held it; the tool refuses to show such a volume, and to allocate for it.
    std::error_code failure;
    const SizeType fileSize = std::filesystem::file_size(path, failure);
    if (failure) throw std::runtime_error("cannot read the raw file " + path + ": " + failure.message());
    const SizeType voxels = options.extent.size();
    const SizeType size = VoxelTypeConverter::voxelSize(type);
    if (options.skip > fileSize || voxels > (fileSize - options.skip) / size)
        throw UsageError("the raw file " + path + " holds " + std::to_string(fileSize) + " bytes, fewer than a skip of " +
                         std::to_string(options.skip) + " and the voxels of the extent need");
    using Facade = Tarn::Lumo_DLL::IVolumeFromRawFileInput;
    SmartPointer<Facade::Parameter> p(new Facade::Parameter);
    p->inputFilePath.setValue(path);
    p->inputHeaderSkip.setValue(options.skip);
    p->inputEndPrim.setValue(options.extent.prim - 1);
    p->inputEndSec.setValue(options.extent.sec - 1);
    p->inputEndTert.setValue(options.extent.tert - 1);
    p->inputDataType.setValue(dataTypeOf(type));
    Facade::IOperator facade;
    runWatched(facade, composite(p), "reading " + path);
    return p->outputVolume.getValue();
}

/// What RekTypeReader reads from path.
SmartPointer<Tarn::AncillaryKitoOperators::RekTypeReader::Parameter> typeOfRek(const std::string& path)
{
    namespace Reader = Tarn::AncillaryKitoOperators::RekTypeReader;
    SmartPointer<Reader::Parameter> p(new Reader::Parameter);
    p->inputFilename.setValue(path);
    Reader::Operator reader;
    reader.apply(composite(p));
    return p;
}

SmartPointer<Tarn::Kito::IVolume> readRek(const std::string& path)
{
    const std::string type = voxelTypeOfRek(path);
    // The loader instance of the file's type comes from the class factory, as for any host; a
    // type without a loader fails there with the identifier it looked for.
    const std::string identifier =
        "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator< "
        "Tarn::Kito::Volume< " + type + " , Tarn::Kito::Allocator::SingleBlockAllocator > , "
        "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< " +
        Tarn::RecHeader_V260::name() + " > >";
    const SmartPointer<Tarn::Kito::IOperator> loader = DynamicCast<SmartPointer<Tarn::Kito::IOperator>>(
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(identifier));
    using Parameter = Tarn::Kito::Persistence::VolumeFileInputOutput::Loader::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputFileName.setValue(path);
    runWatched(*loader, composite(p), "reading " + path);
    return p->modifyVolume.getValue();
}

std::string extentText(SizeType prim, SizeType sec, SizeType tert)
{
    return std::to_string(prim) + " x " + std::to_string(sec) + " x " + std::to_string(tert);
}

/// One line about an extent block of the header: its values, and whether its voxels are the file's.
void printBlock(const char* name, Tarn::int64 prim, Tarn::int64 sec, Tarn::int64 tert, SizeType voxelSize, SizeType payload)
{
    std::printf("%-12s %lld x %lld x %lld", name, static_cast<long long>(prim), static_cast<long long>(sec),
                static_cast<long long>(tert));
    if (prim <= 0 || sec <= 0 || tert <= 0) {
        std::printf(prim == 0 || sec == 0 || tert == 0 ? ", empty\n" : ", not an extent\n");
        return;
    }
    SizeType voxels = 0, bytes = 0;
    const bool fits = Tarn::Kito::detail::multiplyWithoutOverflow(SizeType(prim), SizeType(sec), voxels) &&
                      Tarn::Kito::detail::multiplyWithoutOverflow(voxels, SizeType(tert), voxels) &&
                      Tarn::Kito::detail::multiplyWithoutOverflow(voxels, voxelSize, bytes) && bytes == payload;
    std::printf(fits ? ", fits the file\n" : ", does not fit the file\n");
}

/// The voxels of a typed volume's view in view order, appended to out.
template <class T> bool appendVoxels(const SmartPointer<Tarn::Kito::IVolume>& volume, std::ofstream& out)
{
    const auto typed = DynamicCast<Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>>(volume);
    if (typed == 0) return false;
    std::vector<T> line(typed->getDimPrim());
    for (SizeType t = 0; t < typed->getDimTert(); ++t)
        for (SizeType s = 0; s < typed->getDimSec(); ++s) {
            for (SizeType p = 0; p < line.size(); ++p) line[p] = typed->getValueAt(Tarn::Kito::Position<SizeType>(p, s, t));
            out.write(reinterpret_cast<const char*>(line.data()), static_cast<std::streamsize>(line.size() * sizeof(T)));
        }
    return true;
}

template <class... T> bool appendVoxelsOfAny(const SmartPointer<Tarn::Kito::IVolume>& volume, std::ofstream& out)
{
    return (appendVoxels<T>(volume, out) || ...);
}

} // namespace

FileOptions fileOptionsOf(const std::string& rawType, const std::string& extent, const std::string& skip,
                          const std::string& rek)
{
    FileOptions options;
    options.voxelType = rawType;
    options.rek = rek;
    if (!extent.empty()) {
        options.raw = true;
        options.extent = parseExtent(extent);
    }
    if (!skip.empty()) {
        options.skip = parseSkip(skip);
        options.hasSkip = true;
    }
    if (!options.raw && (!options.voxelType.empty() || options.hasSkip))
        throw UsageError("--raw-type and --skip describe a raw file and need its --extent");
    return options;
}

SmartPointer<Tarn::Kito::IVolume> readVolumeFile(const std::string& path, const FileOptions& options)
{
    return options.raw ? readRaw(path, options) : readRek(path);
}

int printInfo(const std::string& path)
{
    const auto found = typeOfRek(path);
    const Tarn::RecHeader_V260& header = found->outputHeader.getValue()->header;
    const Dimension<SizeType> extent = found->outputDimension.getValue();
    const std::string type = found->outputVoxelType.getValue();
    const SizeType payload = std::filesystem::file_size(path) - sizeof(Tarn::RecHeader_V260);
    const SizeType voxelSize = VoxelTypeConverter::voxelSize(type);
    std::printf("%s: REK file, header version %u.%u.%u\n", path.c_str(), header.versionMajor, header.versionMinor,
                header.versionRevision);
    std::printf("%-12s %s (code %d)\n", "voxel type", type.c_str(), header.voxelTypeCode);
    std::printf("%-12s %s\n", "extent", extentText(extent.prim, extent.sec, extent.tert).c_str());
    std::printf("%-12s %g x %g x %g\n", "voxel size", header.voxelSizeXY, header.voxelSizeXY, header.voxelSizeZ);
    printBlock("image block", header.imagePrim, header.imageSec, header.imageTert, voxelSize, payload);
    printBlock("reko block", header.rekoPrim, header.rekoSec, header.rekoTert, voxelSize, payload);
    printBlock("slice block", header.slicePrim, header.sliceSec, 1, voxelSize, payload);
    // The reader's order of preference among the blocks that fit.
    const bool image = extent == Dimension<SizeType>(SizeType(Tarn::int64(header.imagePrim)),
                                                     SizeType(Tarn::int64(header.imageSec)),
                                                     SizeType(Tarn::int64(header.imageTert)));
    const bool reko = extent == Dimension<SizeType>(SizeType(Tarn::int64(header.rekoPrim)), SizeType(Tarn::int64(header.rekoSec)),
                                                    SizeType(Tarn::int64(header.rekoTert)));
    std::printf("%-12s %s\n", "counted", image ? "image block" : reko ? "reko block" : "slice block");
    return 0;
}

void writeRek(const std::string& path, const SmartPointer<Tarn::Kito::IVolume>& volume)
{
    const std::string type = volume->getVoxelTypeName();
    Tarn::RecHeader_V260 header;
    header.voxelTypeCode = static_cast<Tarn::int16>(VoxelTypeConverter()[type]);
    const Dimension<SizeType> extent = volume->getDimension();
    const SizeType largest = static_cast<SizeType>(std::numeric_limits<Tarn::int32>::max());
    if (extent.prim > largest || extent.sec > largest || extent.tert > largest)
        throw std::runtime_error("the extent " + extentText(extent.prim, extent.sec, extent.tert) +
                                 " does not fit the header of a REK file");
    header.rekoPrim = static_cast<Tarn::int32>(extent.prim);
    header.rekoSec = static_cast<Tarn::int32>(extent.sec);
    header.rekoTert = static_cast<Tarn::int32>(extent.tert);
    const SizeType imageLargest = static_cast<SizeType>(std::numeric_limits<Tarn::int16>::max());
    if (extent.prim <= imageLargest && extent.sec <= imageLargest && extent.tert <= imageLargest) {
        header.imagePrim = static_cast<Tarn::int16>(extent.prim);
        header.imageSec = static_cast<Tarn::int16>(extent.sec);
        header.imageTert = static_cast<Tarn::int16>(extent.tert);
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) throw std::runtime_error("cannot write " + path);
    out.write(reinterpret_cast<const char*>(&header), sizeof header);
    const bool written = appendVoxelsOfAny<Tarn::int8, Tarn::uint8, Tarn::int16, Tarn::uint16, Tarn::int32, Tarn::uint32,
                                           Tarn::int64, Tarn::uint64, Tarn::float32, Tarn::float64>(volume, out);
    if (!written) throw std::runtime_error("the volume is not held in memory");
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path);
}

std::string voxelTypeOfRek(const std::string& path) { return typeOfRek(path)->outputVoxelType.getValue(); }

} // namespace LumoTool
