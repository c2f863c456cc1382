// PNG output of single slices: the demo's way of showing what the operators made.
#ifndef LUMO_TOOLS_PNGIMAGE_H_INCLUDED
#define LUMO_TOOLS_PNGIMAGE_H_INCLUDED

#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace LumoTool {

/// Grey levels, row by row from the top: 8 bits in pixels, or 16 bits in widePixels.
struct GrayImage {
    Tarn::Kito::SizeType width = 0;
    Tarn::Kito::SizeType height = 0;
    int bits = 8;
    std::vector<std::uint8_t> pixels;
    std::vector<std::uint16_t> widePixels;
};

/// The grey values that become black and white; values outside are clipped. Not given: the
/// slice's own lowest and highest value.
struct GreyWindow {
    bool given = false;
    double low = 0.0;
    double high = 0.0;
};

/// Writes image as an 8- or 16-bit greyscale PNG; fails with std::runtime_error naming the path.
void writePng(const std::string& path, const GrayImage& image);

/// The two axes of a view that a slice spreads over: a projection along prim gives a (1, S, T)
/// slice, which is shown with sec across and tert down.
struct SliceAxes {
    int across, down;
};
SliceAxes sliceAxesOf(const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& extent);

/// The first slice of a view as grey levels of bits 8 or 16, its values stretched from their
/// lowest (black) to their highest (white), or over the window when one is given. Voxels equal to
/// hidden, when given, are left out of the stretch and shown black: a height map's "not found"
/// would otherwise squeeze every real height into a few grey levels. NaN is shown black.
template <class T>
GrayImage imageOf(const Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>& slice,
                  const T* hidden = nullptr, int bits = 8, const GreyWindow& window = GreyWindow())
{
    using Tarn::Kito::Position;
    using Tarn::Kito::SizeType;
    const Tarn::Kito::Dimension<SizeType> extent = slice->getDimension();
    const SliceAxes axes = sliceAxesOf(extent);
    const SizeType count[3] = {extent.prim, extent.sec, extent.tert};
    GrayImage image;
    image.width = count[axes.across];
    image.height = count[axes.down];
    std::vector<double> values;
    values.reserve(image.width * image.height);
    std::vector<bool> shown;
    shown.reserve(image.width * image.height);
    double low = 0.0, high = 0.0;
    bool any = false;
    for (SizeType y = 0; y < image.height; ++y)
        for (SizeType x = 0; x < image.width; ++x) {
            SizeType at[3] = {0, 0, 0};
            at[axes.across] = x;
            at[axes.down] = y;
            const T value = slice->getValueAt(Position<SizeType>(at[0], at[1], at[2]));
            const double v = static_cast<double>(value);
            const bool show = (hidden == nullptr || !(value == *hidden)) && v == v;
            if (show) {
                low = any ? std::min(low, v) : v;
                high = any ? std::max(high, v) : v;
                any = true;
            }
            values.push_back(v);
            shown.push_back(show);
        }
    if (window.given) {
        low = window.low;
        high = window.high;
    }
    image.bits = bits == 16 ? 16 : 8;
    const double white = image.bits == 16 ? 65535.0 : 255.0;
    const double scale = high > low ? white / (high - low) : 0.0;
    std::vector<std::uint16_t> levels(values.size(), 0);
    for (std::size_t i = 0; i < values.size(); ++i)
        if (shown[i]) levels[i] = static_cast<std::uint16_t>(std::clamp((values[i] - low) * scale + 0.5, 0.0, white));
    if (image.bits == 16)
        image.widePixels = std::move(levels);
    else
        image.pixels.assign(levels.begin(), levels.end());
    return image;
}

} // namespace LumoTool

#endif
