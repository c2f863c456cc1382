// The REK header as bytes: where each field lies, what a new header holds, and the voxel type codes.
#include "FileTestSupport.h"

#include <Kito/Persistence/RecHeader_V260>
#include <Kito/Persistence/VoxelTypeConverter>
#include <Kito/Persistence/VolumeFileInputOutput/MetaInformation>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/MetaInformation>
#include <Kito/Persistence/VolumeFileInputOutput/Loader/Parameter>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderLoader/Parameter>
#include <Kito/Persistence/VolumeFileInputOutput/Saver/Parameter>
#include <Kito/Data>
#include <Kito/Map>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using FileTest::Bytes;
using FileTest::bytesOf;
namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;

template <class T> T at(const Bytes& bytes, std::size_t offset)
{
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

TEST(RecHeader, IsOneBlockOf2048Bytes) { EXPECT_EQ(sizeof(Tarn::RecHeader_V260), 2048u); }

TEST(RecHeader, NewHeaderHoldsSizeVersionAndByteOrderMarksAndZeroElsewhere)
{
    const Bytes bytes = bytesOf(Tarn::RecHeader_V260());
    // As little-endian words: 2048 and version 2 at offset 8, minor version 6 at offset 12.
    EXPECT_EQ(at<std::uint32_t>(bytes, 8), 0x00020800u);
    EXPECT_EQ(at<std::uint32_t>(bytes, 12), 6u);
    EXPECT_EQ(at<std::uint32_t>(bytes, 1008), 0x01020304u);
    EXPECT_EQ(at<std::uint64_t>(bytes, 1016), 0x0102030405060708ull);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool named = (i >= 8 && i < 16) || (i >= 1008 && i < 1012) || (i >= 1016 && i < 1024);
        if (!named) {
            EXPECT_EQ(bytes[i], 0) << "byte " << i;
        }
    }
}

TEST(RecHeader, EachFieldLiesAtItsOffset)
{
    Tarn::RecHeader_V260 header;
    header.imagePrim = 0x0102;
    header.imageSec = 0x0304;
    header.voxelTypeCode = 16;
    header.imageTert = 0x0506;
    header.headerSize = 0x0708;
    header.versionMajor = 0x090a;
    header.versionMinor = 0x0b0c;
    header.versionRevision = 0x0d0e;
    header.slicePrim = 0x11121314;
    header.sliceSec = 0x15161718;
    header.rekoPrim = 0x21222324;
    header.rekoSec = 0x25262728;
    header.rekoTert = 0x292a2b2c;
    header.voxelSizeXY = 0.25f;
    header.voxelSizeZ = 1.5f;
    header.byteOrderMark32 = 0x31323334;
    header.byteOrderMark64 = 0x4142434445464748ull;
    const Bytes bytes = bytesOf(header);
    EXPECT_EQ(at<std::int16_t>(bytes, 0), 0x0102);
    EXPECT_EQ(at<std::int16_t>(bytes, 2), 0x0304);
    EXPECT_EQ(at<std::int16_t>(bytes, 4), 16);
    EXPECT_EQ(at<std::int16_t>(bytes, 6), 0x0506);
    EXPECT_EQ(at<std::uint16_t>(bytes, 8), 0x0708);
    EXPECT_EQ(at<std::uint16_t>(bytes, 10), 0x090a);
    EXPECT_EQ(at<std::uint16_t>(bytes, 12), 0x0b0c);
    EXPECT_EQ(at<std::uint16_t>(bytes, 14), 0x0d0e);
    EXPECT_EQ(at<std::int32_t>(bytes, 40), 0x11121314);
    EXPECT_EQ(at<std::int32_t>(bytes, 44), 0x15161718);
    EXPECT_EQ(at<std::int32_t>(bytes, 568), 0x21222324);
    EXPECT_EQ(at<std::int32_t>(bytes, 572), 0x25262728);
    EXPECT_EQ(at<std::int32_t>(bytes, 576), 0x292a2b2c);
    EXPECT_EQ(at<float>(bytes, 584), 0.25f);
    EXPECT_EQ(at<float>(bytes, 588), 1.5f);
    EXPECT_EQ(at<std::uint32_t>(bytes, 1008), 0x31323334u);
    EXPECT_EQ(at<std::uint64_t>(bytes, 1016), 0x4142434445464748ull);
}

TEST(RecHeader, ReservedBytesSurviveACopy)
{
    Bytes bytes(2048);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 + 5);
    Tarn::RecHeader_V260 header;
    std::memcpy(&header, bytes.data(), bytes.size());
    const Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260> meta(header);
    const Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260> copy(meta);
    EXPECT_EQ(bytesOf(copy.header), bytes);
}

TEST(RecHeader, NameIsMadeOfTheVersionNumbers) { EXPECT_EQ(Tarn::RecHeader_V260::name(), "RecHeader_V260"); }

// ---- voxel type codes ---------------------------------------------------------------------------

const std::vector<std::pair<std::string, Tarn::int32>> codes = {
    {"Tarn::int8", 7},    {"Tarn::uint8", 8},    {"Tarn::int16", 15},   {"Tarn::uint16", 16},   {"Tarn::int32", 31},
    {"Tarn::uint32", 32}, {"Tarn::int64", 63},   {"Tarn::uint64", 64},  {"Tarn::float32", 24},  {"Tarn::float64", 53}};

TEST(VoxelTypeConverter, HoldsTheTenPairsBothWays)
{
    const Files::VoxelTypeConverter converter;
    for (const auto& pair : codes) {
        EXPECT_EQ(converter[pair.first], pair.second) << pair.first;
        EXPECT_EQ(converter[pair.second], pair.first) << pair.second;
    }
    EXPECT_EQ(converter.getFirstToSecond().size(), 10u);
    EXPECT_EQ(converter.getSecondToFirst().size(), 10u);
}

TEST(VoxelTypeConverter, VoxelSizesFollowTheNames)
{
    const std::vector<Tarn::Kito::SizeType> sizes = {1, 1, 2, 2, 4, 4, 8, 8, 4, 8};
    for (std::size_t i = 0; i < codes.size(); ++i)
        EXPECT_EQ(Files::VoxelTypeConverter::voxelSize(codes[i].first), sizes[i]) << codes[i].first;
    EXPECT_EQ(Files::VoxelTypeConverter::voxelSize("Tarn::int9"), 0u);
}

TEST(VoxelTypeConverter, AnUnknownCodeOrNameFailsAsTheMapDoes)
{
    const Files::VoxelTypeConverter converter;
    for (const Tarn::int32 code : {0, 1, 9, 17, 65, -16}) {
        try {
            static_cast<void>(converter[code]);
            ADD_FAILURE() << "code " << code << " was found";
        } catch (const std::invalid_argument& failure) {
            EXPECT_STREQ(failure.what(), "Tarn::Kito::Container::BidirectionalMap::operator[] Invalid key!");
        }
    }
    EXPECT_THROW(static_cast<void>(converter[std::string("uint16")]), std::invalid_argument);
}

TEST(VoxelTypeConverter, IsABidirectionalMapAsComposite)
{
    Files::VoxelTypeConverter converter;
    Tarn::Kito::Persistence::IComposite& composite = converter;
    EXPECT_EQ(composite.getType(), "Tarn::Kito::Container::BidirectionalMap< std::string , Tarn::int32 >");
    EXPECT_EQ(composite.size(), 2u);
    EXPECT_EQ(composite.getKey(0), "firstToSecond");
    EXPECT_EQ(composite.getKey(1), "secondToFirst");
}

// ---- meta information and parameter objects -------------------------------------------------------

TEST(MetaInformation, HoldsTheVoxelSizeStartingAtZero)
{
    Files::MetaInformation meta;
    EXPECT_EQ(meta.getType(), "Tarn::Kito::Persistence::VolumeFileInputOutput::MetaInformation");
    EXPECT_EQ(meta.size(), 1u);
    EXPECT_EQ(meta.getKey(0), "modifyVoxelSize");
    EXPECT_EQ(meta.modifyVoxelSize.getValue(), Tarn::Kito::Triple<Tarn::float32>(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(meta.getValue("modifyVoxelSize")->getType(), "Tarn::Kito::Triple< Tarn::float32 >");
}

TEST(MetaInformation, RecHeaderFormIsALeafWithANewHeader)
{
    Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260> meta;
    EXPECT_EQ(meta.getType(),
              "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< RecHeader_V260 >");
    EXPECT_EQ(meta.size(), 0u);
    EXPECT_EQ(bytesOf(meta.header), bytesOf(Tarn::RecHeader_V260()));
}

std::vector<std::string> keysOf(const Tarn::Kito::Persistence::IComposite& composite)
{
    std::vector<std::string> keys;
    for (Tarn::Kito::SizeType i = 0; i < composite.size(); ++i) keys.push_back(composite.getKey(i));
    return keys;
}

TEST(FileParameters, NamesAndKeysInOrder)
{
    const Files::Loader::Parameter loader;
    EXPECT_EQ(loader.getType(), "Tarn::Kito::Persistence::VolumeFileInputOutput::Loader::Parameter");
    EXPECT_EQ(keysOf(loader), (std::vector<std::string>{"inputFileName", "modifyVolume", "outputMetaInformation",
                                                         "outputFormatSpecificMetaInformation"}));
    const Files::Saver::Parameter saver;
    EXPECT_EQ(saver.getType(), "Tarn::Kito::Persistence::VolumeFileInputOutput::Saver::Parameter");
    EXPECT_EQ(keysOf(saver), (std::vector<std::string>{"inputFileName", "inputVolume", "inputMetaInformation",
                                                        "inputFormatSpecificMetaInformation"}));
    const Files::RecHeaderLoader::Parameter header;
    EXPECT_EQ(header.getType(), "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderLoader::Parameter");
    EXPECT_EQ(keysOf(header), (std::vector<std::string>{"inputFileName", "outputMetaInformation", "outputVoxelTypeName",
                                                         "outputVolumeDimension"}));
}

TEST(FileParameters, OutputsStartAsNewObjects)
{
    const Files::Loader::Parameter loader;
    EXPECT_TRUE(loader.modifyVolume.getValue() == 0);
    ASSERT_FALSE(loader.outputMetaInformation.getValue() == 0);
    EXPECT_EQ(loader.outputFormatSpecificMetaInformation.getValue()->getType(),
              "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< RecHeader_V260 >");
    const Files::RecHeaderLoader::Parameter header;
    EXPECT_EQ(header.outputMetaInformation.getValue()->getType(),
              "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< RecHeader_V260 >");
    EXPECT_EQ(header.outputVoxelTypeName.getValue(), "");
    EXPECT_EQ(header.outputVolumeDimension.getValue(), Tarn::Kito::Dimension<Tarn::Kito::SizeType>(0, 0, 0));
    const Files::Saver::Parameter saver;
    EXPECT_TRUE(saver.inputVolume.getValue() == 0);
    EXPECT_TRUE(saver.inputMetaInformation.getValue() == 0);
}

} // namespace
