// RekFiles: REK files written by tests, with a header that names their voxel type and extent, as
// the REK readers and loaders expect them.
#ifndef TARN_TESTS_SUPPORT_REKFILES_H_INCLUDED
#define TARN_TESTS_SUPPORT_REKFILES_H_INCLUDED

#include <Kito/Persistence/RecHeader_V260>
#include <Kito/Persistence/VoxelTypeConverter>
#include <Kito/Triple>
#include <Kito/Types>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace TestSupport {

/// Writes a REK file of extent whose header names T's voxel code and the extent in its reko block,
/// then voxels (extent.size() of them, in storage order).
template <class T>
void writeRekFile(const std::string& path, const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& extent,
                  const std::vector<T>& voxels)
{
    ASSERT_EQ(voxels.size(), extent.size()) << "voxels of another extent for " << path;
    Tarn::RecHeader_V260 header;
    header.voxelTypeCode = static_cast<Tarn::int16>(
        Tarn::Kito::Persistence::VolumeFileInputOutput::VoxelTypeConverter()[Tarn::Kito::typeName<T>()]);
    header.rekoPrim = static_cast<Tarn::int32>(extent.prim);
    header.rekoSec = static_cast<Tarn::int32>(extent.sec);
    header.rekoTert = static_cast<Tarn::int32>(extent.tert);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(&header), sizeof header);
    out.write(reinterpret_cast<const char*>(voxels.data()), static_cast<std::streamsize>(voxels.size() * sizeof(T)));
    ASSERT_TRUE(out.good()) << "cannot write " << path;
}

} // namespace TestSupport

#endif
