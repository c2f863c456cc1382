// Parameter objects from a careless host: the bytes are a script of calls on the composite face of
// the registered parameter classes and containers (setValue, getValue, getKey with any key, type
// and value), interleaved with applies of every facade on small volumes. Every call ends in a
// result or in an exception of the library's families; a crash, a sanitizer report or a leak is a
// finding.
#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Exceptions>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <limits>
#include <type_traits>
#include <string>
#include <vector>

namespace {

using namespace Tarn::Lumo_DLL;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Factory = Tarn::Kito::Factory::DefaultClassFactory;

/// The script: bytes read from the front, zeros once they run out.
class Script {
public:
    Script(const std::uint8_t* data, std::size_t size) : data(data), size(size) {}
    bool done() const { return at >= size; }
    std::uint8_t byte() { return at < size ? data[at++] : 0; }
    template <class T> T number()
    {
        T value{};
        unsigned char bytes[sizeof(T)] = {};
        for (unsigned char& b : bytes) b = byte();
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }
    std::string text()
    {
        const std::size_t length = byte() % 48;
        std::string s;
        for (std::size_t k = 0; k < length; ++k) s.push_back(static_cast<char>(byte()));
        return s;
    }

private:
    const std::uint8_t* data;
    std::size_t size;
    std::size_t at = 0;
};

/// The registered classes whose composite face a host fills: parameter objects and containers.
const std::vector<std::string>& fillable()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> result;
        for (const std::string& id : Factory::instance().getIdentifiers())
            if (id.find("Parameter") != std::string::npos || id.find("Container::") != std::string::npos)
                result.push_back(id);
        return result;
    }();
    return names;
}

/// Every registered class, as values: volumes of extent 0, operators, data, containers, parameters.
const std::vector<std::string>& registered()
{
    static const std::vector<std::string> names = Factory::instance().getIdentifiers();
    return names;
}

template <class T> SmartPointer<IComposite> smallVolume(Script& s)
{
    const Dimension<SizeType> extent(s.byte() % 7, s.byte() % 7, s.byte() % 7);
    Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator> volume(
        new Tarn::Kito::Volume<T, Tarn::Kito::Allocator::SingleBlockAllocator>(extent));
    for (SizeType t = 0; t < extent.tert; ++t)
        for (SizeType q = 0; q < extent.sec; ++q)
            for (SizeType p = 0; p < extent.prim; ++p)
                *volume->getPosOffset(Tarn::Kito::Position<SizeType>(p, q, t)) = s.number<T>();
    return DynamicCast<SmartPointer<IComposite>>(volume);
}

/// A number for a Data value: for integers the limits, the middle of the range, or a small value.
/// Sizes come from such numbers, and a huge size that the library accepts as valid would only be
/// an allocation that the sanitizer's operator new ends the process on instead of throwing, so the
/// values between small and the limits are left out; the limits themselves test the overflow
/// checks. Floats take any bits.
template <class T> T wild(Script& s)
{
    if constexpr (std::is_floating_point_v<T>) {
        if (s.byte() % 2 == 0) return s.number<T>();
        return static_cast<T>(static_cast<std::int8_t>(s.byte()));
    } else {
        switch (s.byte() % 4) {
        case 0: return std::numeric_limits<T>::max();
        case 1: return std::numeric_limits<T>::min();
        case 2: return static_cast<T>(std::numeric_limits<T>::max() / 2 + 1);
        default: return static_cast<T>(static_cast<std::int8_t>(s.byte()));
        }
    }
}

template <class T> SmartPointer<IComposite> data(Script& s) { return DynamicCast<SmartPointer<IComposite>>(DataPtr<T>(wild<T>(s))); }

/// A value of any kind the script asks for. Fresh objects only: a composite set into itself would
/// be a cycle of reference counts, which no counting pointer can free.
SmartPointer<IComposite> value(Script& s)
{
    switch (s.byte() % 26) {
    case 0: return SmartPointer<IComposite>();
    case 1: return data<Tarn::int8>(s);
    case 2: return data<Tarn::uint8>(s);
    case 3: return data<Tarn::int16>(s);
    case 4: return data<Tarn::uint16>(s);
    case 5: return data<Tarn::int32>(s);
    case 6: return data<Tarn::uint32>(s);
    case 7: return data<Tarn::int64>(s);
    case 8: return data<Tarn::uint64>(s);
    case 9: return data<Tarn::float32>(s);
    case 10: return data<Tarn::float64>(s);
    case 11: return DynamicCast<SmartPointer<IComposite>>(DataPtr<std::string>(s.text()));
    case 12: return smallVolume<Tarn::int8>(s);
    case 13: return smallVolume<Tarn::uint8>(s);
    case 14: return smallVolume<Tarn::int16>(s);
    case 15: return smallVolume<Tarn::uint16>(s);
    case 16: return smallVolume<Tarn::int32>(s);
    case 17: return smallVolume<Tarn::uint32>(s);
    case 18: return smallVolume<Tarn::int64>(s);
    case 19: return smallVolume<Tarn::uint64>(s);
    case 20: return smallVolume<Tarn::float32>(s);
    case 21: return smallVolume<Tarn::float64>(s);
    default: {
        const std::vector<std::string>& names = registered();
        return Factory::instance().createInstance(names[s.number<std::uint16_t>() % names.size()]);
    }
    }
}

/// Every facade, applied to whatever composite the script holds, but the two planarisations: they
/// take the caller's word that the height map (and the normals and grids) have the input view's
/// extent and hold no negative height, and read outside those volumes otherwise, by design.
template <class Face> void applyThrough(const SmartPointer<IComposite>& p)
{
    typename Face::IOperator op;
    op.apply(p);
}
const std::vector<void (*)(const SmartPointer<IComposite>&)> facades = {
    applyThrough<IConcatVolumes>,
    applyThrough<ICopy>,
    applyThrough<IDuplicateSlices>,
    applyThrough<IFrequencyOfValuesInsideRange>,
    applyThrough<IHeightMap>,
    applyThrough<ILookupTableConversion>,
    applyThrough<IProjectionMax>,
    applyThrough<IProjectionMean>,
    applyThrough<IProjectionMedian>,
    applyThrough<IProjectionSum>,
    applyThrough<IQuickSelectMedianValueOfRoi>,
    applyThrough<IRangePassTransformation>,
    applyThrough<IStatisticsFromVolume>,
    applyThrough<IStatisticsFromVolumeOfMultipleLabels>,
    applyThrough<ISumOfTriangleAreas>,
    applyThrough<ISumOfVoxels>,
    applyThrough<IVolumeFromRawFileInput>,
};

/// A key: one the target names (by an index that may be out of range), or any text.
std::string key(Script& s, const SmartPointer<IComposite>& target)
{
    if (s.byte() % 4 == 0) return s.text();
    const SizeType count = target->size();
    if (count == 0) return s.text();
    return target->getKey(s.byte() % count);
}

/// One call; the library's failures are results too.
void step(Script& s, SmartPointer<IComposite>& target, std::vector<SmartPointer<IComposite>>& held)
{
    switch (s.byte() % 8) {
    case 0:
    case 1: target->setValue(key(s, target), value(s)); break;
    case 2: held.push_back(target->getValue(key(s, target))); break;
    case 3: static_cast<void>(target->getKey(s.number<SizeType>() % 64 == 0 ? s.number<SizeType>() : s.byte())); break;
    case 4: static_cast<void>(target->getType()); break;
    case 5: facades[s.byte() % facades.size()](target); break;
    case 6: {
        // Go down into a value just read, if it is one of the fillable kinds.
        if (held.empty() || held.back() == 0) break;
        const std::string type = held.back()->getType();
        for (const std::string& name : fillable())
            if (name == type) target = held.back();
        break;
    }
    default: {
        const std::vector<std::string>& names = fillable();
        target = Factory::instance().createInstance(names[s.number<std::uint16_t>() % names.size()]);
        break;
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Script s(data, size);
    const std::vector<std::string>& names = fillable();
    SmartPointer<IComposite> target = Factory::instance().createInstance(names[s.byte() % names.size()]);
    std::vector<SmartPointer<IComposite>> held;
    for (int calls = 0; calls < 64 && !s.done(); ++calls) {
        try {
            step(s, target, held);
        } catch (const Tarn::Exceptions::Exception&) {
            // The library's own family, which also derives from std::exception twice over.
        } catch (const std::exception&) {
        }
    }
    return 0;
}
