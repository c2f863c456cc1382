// VolumeFiles: volumes written to files in a directory of their own, as the file allocators read
// them (a header of 2048 bytes, then the voxels in storage order), and what a test needs to see
// that nothing was ever written back.
#ifndef TARN_TESTS_SUPPORT_VOLUMEFILES_H_INCLUDED
#define TARN_TESTS_SUPPORT_VOLUMEFILES_H_INCLUDED

#include <Kito/Triple>
#include <Kito/Types>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace TestSupport {

/// A directory under the system's temporary directory, removed with everything in it at the end.
class ScratchDirectory {
public:
    ScratchDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "lumo-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no scratch directory");
        path = pattern;
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    ~ScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string file(const std::string& name) const { return (path / name).string(); }

private:
    std::filesystem::path path;
};

/// The bytes of a file, and when it was last modified, to the nanosecond.
struct FileState {
    std::vector<char> bytes;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    bool operator==(const FileState& other) const
    {
        return bytes == other.bytes && modifiedSeconds == other.modifiedSeconds &&
               modifiedNanoseconds == other.modifiedNanoseconds;
    }
};

inline FileState stateOf(const std::string& path)
{
    FileState state;
    std::ifstream in(path, std::ios::binary);
    state.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    struct stat status;
    if (::stat(path.c_str(), &status) == 0) {
        state.modifiedSeconds = status.st_mtim.tv_sec;
        state.modifiedNanoseconds = status.st_mtim.tv_nsec;
    }
    return state;
}

/// Writes a header of 2048 bytes (each byte 0xA5, so that a read that strays into it shows) and
/// then the bytes of voxels.
template <class T> void writeVolumeFile(const std::string& path, const std::vector<T>& voxels)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    const std::vector<char> header(2048, static_cast<char>(0xA5));
    out.write(header.data(), static_cast<std::streamsize>(header.size()));
    out.write(reinterpret_cast<const char*>(voxels.data()), static_cast<std::streamsize>(voxels.size() * sizeof(T)));
    ASSERT_TRUE(out.good()) << "cannot write " << path;
}

/// The voxels of a whole volume that still stands in its first view, in storage order.
template <class V> std::vector<typename V::VoxelType> storageVoxels(const V& volume)
{
    std::vector<typename V::VoxelType> voxels;
    const Tarn::Kito::Dimension<Tarn::Kito::SizeType> d = volume.getVolumeDimension();
    for (Tarn::Kito::SizeType t = 0; t < d.tert; ++t)
        for (Tarn::Kito::SizeType s = 0; s < d.sec; ++s)
            for (Tarn::Kito::SizeType p = 0; p < d.prim; ++p)
                voxels.push_back(volume.getValueAt(Tarn::Kito::Position<Tarn::Kito::SizeType>(p, s, t)));
    return voxels;
}

} // namespace TestSupport

#endif
