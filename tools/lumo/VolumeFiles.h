// VolumeFiles: the tool's volumes from REK and raw files, what a REK file holds, and REK output.
#ifndef LUMO_TOOLS_VOLUMEFILES_H_INCLUDED
#define LUMO_TOOLS_VOLUMEFILES_H_INCLUDED

#include <Kito/IVolume>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>

#include <stdexcept>
#include <string>
#include <vector>

namespace LumoTool {

/// Bad usage of the command line: reported with the help text, exit code 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// How the command line asks for files to be read and written. A file is read as a REK file
/// unless an extent is given; then it is a raw file of that extent and voxel type, its voxels
/// from byte skip on.
struct FileOptions {
    bool raw = false;
    std::string voxelType;
    Tarn::Kito::Dimension<Tarn::Kito::SizeType> extent;
    Tarn::uint64 skip = 0;
    bool hasSkip = false;
    /// Where a command writes its volume result as a REK file; empty for none.
    std::string rek;
};

/// The file options from the texts of --raw-type T, --extent P,S,T, --skip N and --rek FILE, each
/// empty when not given; bad values are usage failures.
FileOptions fileOptionsOf(const std::string& rawType, const std::string& extent, const std::string& skip,
                          const std::string& rek);

/// The volume named: a REK file, or a raw file as options describe it. The voxel type of a REK
/// file is what RekTypeReader finds, and the library's loader of that type reads it.
Tarn::Kito::SmartPointer<Tarn::Kito::IVolume> readVolumeFile(const std::string& path, const FileOptions& options);

/// The voxel type that RekTypeReader finds in a REK file, as "Tarn::uint16".
std::string voxelTypeOfRek(const std::string& path);

/// `lumo info FILE`: prints what RekTypeReader finds in the file, and how each of the header's
/// extents compares with the file.
int printInfo(const std::string& path);

/// Writes the view of a volume in memory as a REK file: a new header with the voxel type, the
/// extent in the reko block and, where all three fit 16 bits, in the image block too; then the
/// voxels in view order.
void writeRek(const std::string& path, const Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>& volume);

} // namespace LumoTool

#endif
