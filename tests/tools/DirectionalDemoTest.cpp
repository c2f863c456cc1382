// The demo's comparison of the two planarisations on the built-in cylinder segment: the image it
// writes, decoded with libpng, and what it shows of the writing in each half.
#include "../files/FileTestSupport.h"

#include <DirectionalDemo.h>

#include <png.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

/// An 8-bit grey image as libpng reads it, row by row from the top; width 0 if it could not.
struct Decoded {
    std::uint32_t width = 0, height = 0;
    std::vector<std::uint8_t> pixels;

    int at(std::uint32_t x, std::uint32_t y) const { return pixels[static_cast<std::size_t>(y) * width + x]; }
};

Decoded decode(const std::string& path)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Decoded result;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return result;
    image.format = PNG_FORMAT_GRAY;
    std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) return result;
    result.width = image.width;
    result.height = image.height;
    result.pixels = std::move(pixels);
    return result;
}

/// The cylinder segment is 192 voxels wide in prim and 96 in sec; its two slices stand side by side
/// with 4 black columns between them.
constexpr std::uint32_t halfWidth = 192, gapWidth = 4, imageHeight = 96;

/// Darker than the middle grey: the writing (about 400) rather than the shell (about 1000), on a
/// scale that begins at most at 400 and ends at least at 1000.
bool dark(int grey) { return grey < 128; }

/// Dark pixels of one half in the columns [from, to) of that half.
int darkPixels(const Decoded& image, std::uint32_t offset, std::uint32_t from, std::uint32_t to)
{
    int count = 0;
    for (std::uint32_t y = 0; y < image.height; ++y)
        for (std::uint32_t x = from; x < to; ++x) count += dark(image.at(offset + x, y)) ? 1 : 0;
    return count;
}

class DirectionalDemo : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        directory = new FileTest::TemporaryDirectory;
        path = new std::string(LumoTool::writeDirectionalDemo(directory->path));
        image = new Decoded(decode(*path));
    }
    static void TearDownTestSuite()
    {
        delete image;
        delete path;
        delete directory;
    }

    static FileTest::TemporaryDirectory* directory;
    static std::string* path;
    static Decoded* image;
};

FileTest::TemporaryDirectory* DirectionalDemo::directory = nullptr;
std::string* DirectionalDemo::path = nullptr;
Decoded* DirectionalDemo::image = nullptr;

constexpr std::uint32_t leftHalf = 0, rightHalf = halfWidth + gapWidth;

TEST_F(DirectionalDemo, WritesOneGreyImageOfBothSlicesSideBySide)
{
    EXPECT_EQ(*path, directory->path + "/orthogonal-vs-directional.png");
    ASSERT_EQ(image->width, 2 * halfWidth + gapWidth);
    ASSERT_EQ(image->height, imageHeight);
    for (std::uint32_t y = 0; y < image->height; ++y)
        for (std::uint32_t x = halfWidth; x < rightHalf; ++x) ASSERT_EQ(image->at(x, y), 0) << "at " << x << ", " << y;
}

TEST_F(DirectionalDemo, TheTwoHalvesDiffer)
{
    ASSERT_EQ(image->width, 2 * halfWidth + gapWidth);
    int differing = 0;
    for (std::uint32_t y = 0; y < image->height; ++y)
        for (std::uint32_t x = 0; x < halfWidth; ++x)
            differing += std::abs(image->at(leftHalf + x, y) - image->at(rightHalf + x, y)) > 64 ? 1 : 0;
    EXPECT_GT(differing, 1000);
}

// The letters stand in prim 15 to 175, 7 voxels per font pixel, 7 font pixels high from sec 23 on.
// L's upright stroke, in [15, 22), and O's right one, in [169, 176), lie where the surface tilts
// by 45 to 54 degrees: a slice straight down at the writing's depth lies above them there.
TEST_F(DirectionalDemo, OnlyTheUnrolledSliceShowsTheOuterStrokes)
{
    ASSERT_EQ(image->width, 2 * halfWidth + gapWidth);
    // 7 x 49 and 7 x 35 voxels of writing.
    EXPECT_GT(darkPixels(*image, rightHalf, 15, 22), 300);
    EXPECT_GT(darkPixels(*image, rightHalf, 169, 176), 200);
    EXPECT_LT(darkPixels(*image, leftHalf, 15, 22), 20);
    EXPECT_LT(darkPixels(*image, leftHalf, 169, 176), 20);
}

// U and M, in [57, 134), lie where the surface tilts by 22 degrees at most; 735 and 833 voxels.
TEST_F(DirectionalDemo, BothSlicesShowTheMiddleLettersWhereTheSurfaceIsFlatter)
{
    ASSERT_EQ(image->width, 2 * halfWidth + gapWidth);
    EXPECT_GT(darkPixels(*image, rightHalf, 57, 134), 1400);
    EXPECT_GT(darkPixels(*image, leftHalf, 57, 134), 1300);
}

} // namespace
