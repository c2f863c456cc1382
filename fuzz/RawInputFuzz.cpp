// VolumeFromRawFileInput with arbitrary parameters over a small file: type, skip, start and end
// indices, and whether a volume of some type and size is handed in. The instance is chosen from the
// data type as the facade chooses it; a type without one is the factory's failure, not the reader's. Volumes of more than 2^18 voxels are
// not asked for: the reader allocates what its caller asks, and the test is of the reading.
#include "FuzzFile.h"

#include <Kito/Volume>
#include <LumoStudio/Operators/VolumeFromRawFileInput/Operator.h>

#include <cstring>
#include <stdexcept>

namespace {

LumoFuzz::Cleanup cleanup;

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
namespace Raw = Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput;

template <class T> void read(const SmartPointer<Raw::Parameter>& p)
{
    Raw::Operator<Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>> reader;
    reader.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
}

/// The facade's choice of instance by the number of value bits; false for a number without one.
bool readAs(Tarn::uint64 dataType, const SmartPointer<Raw::Parameter>& p)
{
    switch (dataType) {
    case 7: read<Tarn::int8>(p); return true;
    case 8: read<Tarn::uint8>(p); return true;
    case 15: read<Tarn::int16>(p); return true;
    case 16: read<Tarn::uint16>(p); return true;
    case 24: read<Tarn::float32>(p); return true;
    case 31: read<Tarn::int32>(p); return true;
    case 32: read<Tarn::uint32>(p); return true;
    case 53: read<Tarn::float64>(p); return true;
    default: return false;
    }
}

/// The next 8 bytes of the input as a number, zeros past its end.
struct Numbers {
    const std::uint8_t* data;
    std::size_t size;
    std::size_t at = 0;

    Tarn::uint64 next()
    {
        Tarn::uint64 value = 0;
        for (int i = 0; i < 8; ++i, ++at) value |= Tarn::uint64(at < size ? data[at] : 0) << (8 * i);
        return value;
    }
};

const std::string& smallFile()
{
    static const std::string path = [] {
        const std::string p = LumoFuzz::filePath("raw");
        std::uint8_t bytes[4096];
        for (std::size_t i = 0; i < sizeof bytes; ++i) bytes[i] = static_cast<std::uint8_t>(i * 13 + 1);
        LumoFuzz::writeFile(p, bytes, sizeof bytes);
        return p;
    }();
    return path;
}

/// Small extents mostly, any value sometimes: an end is start plus a small count, or itself.
Tarn::uint64 endFor(Tarn::uint64 start, Tarn::uint64 code) { return code & 0x8000 ? code : start + (code & 0x3f); }

SmartPointer<Tarn::Kito::IVolume> givenVolume(Tarn::uint64 code)
{
    const Tarn::Kito::Dimension<SizeType> extent(1 + code % 7, 1 + (code >> 3) % 5, 1 + (code >> 6) % 3);
    switch ((code >> 8) % 4) {
    case 1:
        return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(
            Tarn::Kito::VolumePtr<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>(
                new Tarn::Kito::Volume<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>(extent)));
    case 2:
        return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(
            Tarn::Kito::VolumePtr<Tarn::float32, Tarn::Kito::Allocator::SingleBlockAllocator>(
                new Tarn::Kito::Volume<Tarn::float32, Tarn::Kito::Allocator::SingleBlockAllocator>(extent)));
    default:
        return {};
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Numbers in{data, size};
    static const Tarn::uint64 types[] = {7, 8, 15, 16, 24, 31, 32, 53, 63, 0};
    const Tarn::uint64 choice = in.next();
    SmartPointer<Raw::Parameter> p(new Raw::Parameter);
    p->inputFilePath.setValue(smallFile());
    p->inputDataType.setValue(choice & 0x100 ? choice >> 9 : types[choice % 10]);
    p->inputHeaderSkip.setValue(choice & 0x200 ? in.next() : in.next() % 5000);
    Tarn::uint64 extent[3];
    for (int axis = 0; axis < 3; ++axis) {
        const Tarn::uint64 start = in.next(), code = in.next();
        const Tarn::uint64 end = endFor(start, code);
        extent[axis] = end - start + 1;
        (axis == 0 ? p->inputStartPrim : axis == 1 ? p->inputStartSec : p->inputStartTert).setValue(start);
        (axis == 0 ? p->inputEndPrim : axis == 1 ? p->inputEndSec : p->inputEndTert).setValue(end);
    }
    // The volume's own tests refuse a mixed or overflowing extent before it allocates; only an
    // extent that fits but is large is kept from the allocator here.
    Tarn::uint64 voxels = 0;
    const bool fits = Tarn::Kito::detail::multiplyWithoutOverflow(extent[0], extent[1], voxels) &&
                      Tarn::Kito::detail::multiplyWithoutOverflow(voxels, extent[2], voxels);
    // Nor many thousands of slices: each is a region pushed and a read, and the fuzzer would spend
    // its time on them rather than on new parameters.
    if (fits && (voxels > (Tarn::uint64(1) << 18) || extent[2] > 1024)) return 0;
    p->outputVolume.setValue(givenVolume(in.next()));
    try {
        readAs(p->inputDataType.getValue(), p);
    } catch (const std::invalid_argument&) {
        // a given volume of another type
    } catch (const std::out_of_range&) {
        // a mixed extent
    } catch (const std::overflow_error&) {
    }
    return 0;
}
