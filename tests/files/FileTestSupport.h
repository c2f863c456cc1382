// FileTestSupport: files written by the tests of the file readers, in a directory of their own.
#ifndef TARN_TESTS_FILES_FILETESTSUPPORT_H_INCLUDED
#define TARN_TESTS_FILES_FILETESTSUPPORT_H_INCLUDED

#include <Kito/Persistence/RecHeader_V260>
#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>
#include <Kito/Types>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace FileTest {

/// A fresh directory under the system's temporary directory, removed with everything in it at the
/// end of the test. Its path holds only characters that the REK reader's name test allows.
class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        std::random_device seed;
        const std::string name = "lumo-files-" + std::to_string(::getpid()) + "-" + std::to_string(seed());
        path = (std::filesystem::temp_directory_path() / name).string();
        std::filesystem::create_directories(path);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::string file(const std::string& name) const { return path + "/" + name; }

    std::string path;
};

using Bytes = std::vector<char>;

/// The bytes of anything trivially copyable, as the file holds them on this little-endian host.
template <class T> Bytes bytesOf(const T& value)
{
    Bytes bytes(sizeof(T));
    std::memcpy(bytes.data(), &value, sizeof(T));
    return bytes;
}

template <class T> Bytes bytesOf(const std::vector<T>& values)
{
    Bytes bytes(values.size() * sizeof(T));
    if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

inline Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline void writeFile(const std::string& path, const Bytes& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

/// A header of voxel code code with the image block image and the reko block reko (prim, sec, tert).
inline Tarn::RecHeader_V260 headerWith(Tarn::int16 code, const std::vector<Tarn::int64>& image,
                                       const std::vector<Tarn::int64>& reko)
{
    Tarn::RecHeader_V260 header;
    header.voxelTypeCode = code;
    header.imagePrim = static_cast<Tarn::int16>(image.at(0));
    header.imageSec = static_cast<Tarn::int16>(image.at(1));
    header.imageTert = static_cast<Tarn::int16>(image.at(2));
    header.rekoPrim = static_cast<Tarn::int32>(reko.at(0));
    header.rekoSec = static_cast<Tarn::int32>(reko.at(1));
    header.rekoTert = static_cast<Tarn::int32>(reko.at(2));
    return header;
}

/// count zero bytes, the payload of a file whose voxel values do not matter.
inline Bytes zeros(std::size_t count) { return Bytes(count, 0); }

/// The count values 0, 1, 2, ... of T, as the voxels of a file.
template <class T> std::vector<T> countingVoxels(std::size_t count)
{
    std::vector<T> values(count);
    for (std::size_t i = 0; i < count; ++i) values[i] = static_cast<T>(i * 7 + 3);
    return values;
}

/// Every voxel of a volume in memory in storage order, wherever its view starts.
template <class T>
std::vector<T> storageVoxels(const Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>& volume)
{
    const T* first = volume->getIterator() - volume->getOffset(Tarn::Kito::Position<Tarn::Kito::SizeType>(0, 0, 0));
    return std::vector<T>(first, first + volume->getVolumeDimension().size());
}

/// A volume of several MiB, large enough that a reader of a new one reads its back half on a
/// second thread: 256 x 256 x 64 Tarn::uint16 (8 MiB).
constexpr Tarn::Kito::SizeType largePrim = 256, largeSec = 256, largeTert = 64;
constexpr std::size_t largeSlice = largePrim * largeSec;

/// A host's volume of the large extent, every voxel value.
inline Tarn::Kito::VolumePtr<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator> largeVolumeOf(Tarn::uint16 value)
{
    const Tarn::Kito::VolumePtr<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator> volume(
        new Tarn::Kito::Volume<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>(
            Tarn::Kito::Dimension<Tarn::Kito::SizeType>(largePrim, largeSec, largeTert)));
    volume->fill(value);
    return volume;
}

/// How many leading slices of sliceVoxels voxels stored has from file, when every voxel after them
/// is rest; -1 when some voxel after them is neither. Tells where a read stopped.
template <class T>
long long fileSlicesThenOnly(const std::vector<T>& stored, const std::vector<T>& file, T rest, std::size_t sliceVoxels)
{
    std::size_t done = 0;
    while (done + sliceVoxels <= stored.size() && done + sliceVoxels <= file.size() &&
           std::equal(stored.begin() + static_cast<std::ptrdiff_t>(done),
                      stored.begin() + static_cast<std::ptrdiff_t>(done + sliceVoxels),
                      file.begin() + static_cast<std::ptrdiff_t>(done)))
        done += sliceVoxels;
    for (std::size_t i = done; i < stored.size(); ++i)
        if (stored[i] != rest) return -1;
    return static_cast<long long>(done / sliceVoxels);
}

/// The number of file descriptors the process holds open.
inline std::size_t openDescriptors()
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}

} // namespace FileTest

#endif
