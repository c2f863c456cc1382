// Headers that claim more voxels than their file holds are refused before memory is asked for. The
// global operator new is replaced here to note the largest request, so this file is a program of
// its own, built without the sanitizers, whose runtimes replace operator new themselves.
#include "../FileTestSupport.h"

#include <AncillaryKitoOperators/RekTypeReader>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {
std::size_t largestRequest = 0;

void* allocate(std::size_t size, std::size_t alignment)
{
    if (size > largestRequest) largestRequest = size;
    void* p = alignment <= alignof(std::max_align_t) ? std::malloc(size == 0 ? 1 : size)
                                                      : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}
} // namespace

void* operator new(std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
void* operator new(std::size_t size, std::align_val_t alignment) { return allocate(size, static_cast<std::size_t>(alignment)); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }

namespace {

using FileTest::bytesOf;
using FileTest::operator+;
using FileTest::headerWith;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;
using Meta = Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;
using Loader = Files::RecHeaderFileInputOutput::Loader::Operator<TestSupport::MemoryVolumePtr<Tarn::uint16>, Meta>;

/// Whatever loading path throws, and the largest allocation made meanwhile.
std::size_t largestRequestLoading(const std::string& path)
{
    SmartPointer<Files::Loader::Parameter> parameter(new Files::Loader::Parameter);
    parameter->inputFileName.setValue(path);
    Loader loader;
    largestRequest = 0;
    EXPECT_ANY_THROW(loader.apply(DynamicCast<SmartPointer<IComposite>>(parameter)));
    return largestRequest;
}

const std::size_t aMegabyte = 1 << 20;

TEST(ClaimedSize, AHeaderFarLargerThanItsFileAllocatesNothingOfThatSize)
{
    FileTest::TemporaryDirectory directory;
    // 2 GiB of voxels claimed by a file of 4 KiB: once in the reko block, once in a .raw file's image block.
    FileTest::writeFile(directory.file("a.rek"), bytesOf(headerWith(16, {0, 0, 0}, {1024, 1024, 1024})) + FileTest::zeros(2048));
    FileTest::writeFile(directory.file("b.raw"), bytesOf(headerWith(16, {1024, 1024, 1024}, {0, 0, 0})) + FileTest::zeros(2048));
    EXPECT_LT(largestRequestLoading(directory.file("a.rek")), aMegabyte);
    EXPECT_LT(largestRequestLoading(directory.file("b.raw")), aMegabyte);
}

TEST(ClaimedSize, ExtentsPast64BitsAllocateNothing)
{
    FileTest::TemporaryDirectory directory;
    FileTest::writeFile(directory.file("a.rek"), bytesOf(headerWith(16, {0, 0, 0}, {-1, -1, -1})) + FileTest::zeros(2048));
    FileTest::writeFile(directory.file("b.raw"), bytesOf(headerWith(16, {-1, -1, 2}, {0, 0, 0})) + FileTest::zeros(2048));
    EXPECT_LT(largestRequestLoading(directory.file("a.rek")), aMegabyte);
    EXPECT_LT(largestRequestLoading(directory.file("b.raw")), aMegabyte);
}

TEST(ClaimedSize, TheTypeReaderAllocatesNothingOfTheClaimedSize)
{
    FileTest::TemporaryDirectory directory;
    FileTest::writeFile(directory.file("a.rek"), bytesOf(headerWith(16, {0, 0, 0}, {1024, 1024, 1024})) + FileTest::zeros(2048));
    SmartPointer<Tarn::AncillaryKitoOperators::RekTypeReader::Parameter> parameter(
        new Tarn::AncillaryKitoOperators::RekTypeReader::Parameter);
    parameter->inputFilename.setValue(directory.file("a.rek"));
    Tarn::AncillaryKitoOperators::RekTypeReader::Operator reader;
    largestRequest = 0;
    EXPECT_ANY_THROW(reader.apply(DynamicCast<SmartPointer<IComposite>>(parameter)));
    EXPECT_LT(largestRequest, aMegabyte);
}

} // namespace
