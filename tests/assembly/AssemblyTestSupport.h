// AssemblyTestSupport: what the tests of joined and repeated volumes share.
#ifndef TARN_TESTS_ASSEMBLY_ASSEMBLYTESTSUPPORT_H_INCLUDED
#define TARN_TESTS_ASSEMBLY_ASSEMBLYTESTSUPPORT_H_INCLUDED

#include <Kito/IVolume>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>

#include <support/RandomVolume.h>

#include <cstring>
#include <string>
#include <vector>

namespace AssemblyTest {

using Tarn::Kito::Dimension;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;

template <class V> Tarn::Kito::SmartPointer<Tarn::Kito::IVolume> asVolume(const V& volume)
{
    return Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(volume);
}

/// The bytes of a list of voxels: a comparison to the bit, floats included.
template <class T> std::vector<unsigned char> bytesOf(const std::vector<T>& values)
{
    std::vector<unsigned char> bytes(values.size() * sizeof(T));
    if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

/// The bytes of the voxels of a view in walk order.
template <class V> std::vector<unsigned char> bytesInView(const V& volume)
{
    return bytesOf(TestSupport::valuesInView(volume));
}

/// The text of a failure of class E, "no failure" if nothing was thrown; any other class fails
/// the test by passing through.
template <class E, class F> std::string failureText(F&& action)
{
    try {
        action();
    } catch (const E& failure) {
        return failure.what();
    }
    return "no failure";
}

/// "Tarn::Kito::Volume< Tarn::uint16 , Tarn::Kito::Allocator::SingleBlockAllocator >" for uint16.
template <class T> std::string memoryVolumeText()
{
    return std::string("Tarn::Kito::Volume< ") + TestSupport::voxelName<T>() +
           " , Tarn::Kito::Allocator::SingleBlockAllocator >";
}

} // namespace AssemblyTest

#endif
