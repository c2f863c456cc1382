#include "PngImage.h"

#include <png.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

namespace LumoTool {

SliceAxes sliceAxesOf(const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& extent)
{
    if (extent.tert == 1 || (extent.prim != 1 && extent.sec != 1)) return {0, 1};
    if (extent.sec == 1 && extent.prim != 1) return {0, 2};
    return {1, 2};
}

namespace {
struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
} // namespace

void writePng(const std::string& path, const GrayImage& image)
{
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file) throw std::runtime_error("cannot write " + path);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        throw std::runtime_error("cannot write " + path + ": out of memory");
    }
    // PNG stores 16-bit samples most significant byte first, whatever the machine does.
    const bool wide = image.bits == 16;
    std::vector<std::uint8_t> row(wide ? image.width * 2 : 0);
    // libpng reports its failures by a long jump back to here; nothing with a destructor has been
    // made since, so jumping over this frame's locals is safe.
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        throw std::runtime_error("cannot write " + path);
    }
    png_init_io(png, file.get());
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height),
                 wide ? 16 : 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (Tarn::Kito::SizeType y = 0; y < image.height; ++y) {
        if (!wide) {
            png_write_row(png, image.pixels.data() + y * image.width);
            continue;
        }
        for (Tarn::Kito::SizeType x = 0; x < image.width; ++x) {
            const std::uint16_t level = image.widePixels[y * image.width + x];
            row[2 * x] = static_cast<std::uint8_t>(level >> 8);
            row[2 * x + 1] = static_cast<std::uint8_t>(level & 0xff);
        }
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
}

} // namespace LumoTool
