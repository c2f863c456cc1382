// FuzzFile: a file of the fuzzer's bytes, for readers that take a path. One per process, overwritten
// by each input and removed at exit.
#ifndef LUMO_FUZZ_FUZZFILE_H_INCLUDED
#define LUMO_FUZZ_FUZZFILE_H_INCLUDED

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace LumoFuzz {

/// The path of this process's file with the given ending: "rek" or "raw".
inline std::string filePath(const char* ending)
{
    // In memory where the system has such a directory: one file is written per input, and on a
    // disk that others write to as well each write can turn into a wait.
    static const std::filesystem::path directory =
        std::filesystem::is_directory("/dev/shm") ? std::filesystem::path("/dev/shm") : std::filesystem::temp_directory_path();
    static const std::string base = (directory / ("lumo-fuzz-" + std::to_string(::getpid()) + "-")).string();
    return base + "input." + ending;
}

/// Replaces the file's content by size bytes from data.
inline void writeFile(const std::string& path, const std::uint8_t* data, std::size_t size)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) std::abort();
    if (size != 0 && std::fwrite(data, 1, size, file) != size) std::abort();
    std::fclose(file);
}

/// Removes the files at exit, so that a long run leaves nothing behind. It keeps its own copies of
/// the paths: statics end in the reverse order of their making, whichever of them is asked first.
struct Cleanup {
    ~Cleanup()
    {
        std::error_code ignored;
        std::filesystem::remove(rek, ignored);
        std::filesystem::remove(raw, ignored);
    }

    const std::string rek = filePath("rek");
    const std::string raw = filePath("raw");
};

} // namespace LumoFuzz

#endif
