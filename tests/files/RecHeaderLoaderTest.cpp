// RecHeaderLoader: which of a header's extents counts, and what the operator reports of a file.
#include "FileTestSupport.h"

#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderLoader/Operator>
#include <Kito/Persistence/VolumeFileInputOutput/Saver/Parameter>
#include <support/FailureOf.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using FileTest::bytesOf;
using FileTest::operator+;
using FileTest::headerWith;
using FileTest::zeros;
using Tarn::Kito::Dimension;
using Tarn::Kito::SizeType;
namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;
using Meta = Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;
using HeaderLoader = Files::RecHeaderLoader::Operator<Meta>;

const std::string loaderType = "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderLoader::Operator< "
                               "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::"
                               "MetaInformation< RecHeader_V260 > >";

Dimension<SizeType> dim(SizeType p, SizeType s, SizeType t) { return Dimension<SizeType>(p, s, t); }

/// The size of a file of that many voxels of size bytes behind its header.
SizeType fileOf(SizeType voxels, SizeType size) { return 2048 + voxels * size; }

TEST(CalculateDim, ImageBlockWithEmptyRekoBlockIsTakenWhenTheSizeFits)
{
    const Tarn::RecHeader_V260 header = headerWith(8, {512, 512, 100}, {0, 0, 0});
    EXPECT_EQ(HeaderLoader::calculateDim(header, "a.rek", fileOf(512 * 512 * 100, 1)), dim(512, 512, 100));
}

TEST(CalculateDim, RekoBlockIsTakenWhenTheImageBlockIsEmpty)
{
    const Tarn::RecHeader_V260 header = headerWith(16, {0, 0, 0}, {30, 20, 10});
    EXPECT_EQ(HeaderLoader::calculateDim(header, "a.rek", fileOf(6000, 2)), dim(30, 20, 10));
}

TEST(CalculateDim, EqualBlocksGiveThatExtent)
{
    const Tarn::RecHeader_V260 header = headerWith(24, {3, 4, 5}, {3, 4, 5});
    EXPECT_EQ(HeaderLoader::calculateDim(header, "a.rek", fileOf(60, 4)), dim(3, 4, 5));
}

TEST(CalculateDim, ImageBlockHoldingTheRekoBlockCutTo16BitsCountsAsEqual)
{
    const Tarn::RecHeader_V260 header = headerWith(8, {-25536, 512, 100}, {40000, 512, 100});
    EXPECT_EQ(HeaderLoader::calculateDim(header, "wide.rek", fileOf(40000ull * 512 * 100, 1)), dim(40000, 512, 100));
}

TEST(CalculateDim, DifferentBlocksFailWithTheFileNamed)
{
    const Tarn::RecHeader_V260 header = headerWith(8, {512, 512, 100}, {512, 512, 101});
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { HeaderLoader::calculateDim(header, "b.rek", fileOf(512 * 512 * 101, 1)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::BadFile");
    EXPECT_EQ(failure.gui, "In 'b.rek': Invalid Rek Header! image != reko");
    EXPECT_EQ(failure.error, "In 'b.rek': Invalid Rek Header! image != reko");
    EXPECT_EQ(failure.origin, loaderType + "::calculateDim");
}

TEST(CalculateDim, ASizeThatDoesNotFitFails)
{
    const Tarn::RecHeader_V260 header = headerWith(16, {10, 10, 10}, {0, 0, 0});
    for (const SizeType size : {fileOf(999, 2), fileOf(1001, 2), SizeType(2048), SizeType(0), SizeType(100)}) {
        const TestSupport::TarnFailure failure =
            TestSupport::tarnFailureOf([&] { HeaderLoader::calculateDim(header, "c.rek", size); });
        EXPECT_EQ(failure.className, "Tarn::Exceptions::BadFile") << size;
        EXPECT_EQ(failure.gui, "In 'c.rek': Invalid Rek Header! wrong filesize") << size;
        EXPECT_EQ(failure.origin, loaderType + "::calculateDim") << size;
    }
}

TEST(CalculateDim, AnOddByteAfterTheVoxelsIsDropped)
{
    const Tarn::RecHeader_V260 header = headerWith(16, {10, 10, 10}, {0, 0, 0});
    EXPECT_EQ(HeaderLoader::calculateDim(header, "d.rek", fileOf(1000, 2) + 1), dim(10, 10, 10));
}

TEST(CalculateDim, ExtentsWhoseProductPasses64BitsFailAsAWrongSize)
{
    // Negative fields are sign-extended: each component is near 2^64.
    const Tarn::RecHeader_V260 header = headerWith(8, {-1, -1, -1}, {0, 0, 0});
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { HeaderLoader::calculateDim(header, "e.rek", fileOf(1, 1)); });
    EXPECT_EQ(failure.gui, "In 'e.rek': Invalid Rek Header! wrong filesize");
    Tarn::RecHeader_V260 reko = headerWith(8, {0, 0, 0}, {65536, 65536, 65536});
    EXPECT_EQ(TestSupport::tarnFailureOf([&] { HeaderLoader::calculateDim(reko, "e.rek", fileOf(0, 1)); }).gui,
              "In 'e.rek': Invalid Rek Header! wrong filesize");
}

TEST(CalculateDim, RawNameTakesTheImageBlockWithoutAnyTest)
{
    const Tarn::RecHeader_V260 header = headerWith(16, {4, 5, 6}, {7, 8, 9});
    EXPECT_EQ(HeaderLoader::calculateDim(header, "dir/volume.raw", 0), dim(4, 5, 6));
    const Tarn::RecHeader_V260 mixed = headerWith(16, {4, 0, 6}, {0, 0, 0});
    EXPECT_EQ(HeaderLoader::calculateDim(mixed, "volume.raw", 0), dim(4, 0, 6));
}

TEST(CalculateDim, RawRuleIsCaseSensitiveAndLooksAtTheLastFullStopOnly)
{
    const Tarn::RecHeader_V260 header = headerWith(16, {4, 5, 6}, {7, 8, 9});
    for (const char* name : {"volume.RAW", "volume.Raw", "volume.raw.rek", "volume.raws", "volume_raw", "dir.raw/volume"}) {
        const TestSupport::TarnFailure failure =
            TestSupport::tarnFailureOf([&] { HeaderLoader::calculateDim(header, name, fileOf(4 * 5 * 6, 2)); });
        EXPECT_EQ(failure.gui, std::string("In '") + name + "': Invalid Rek Header! image != reko") << name;
    }
}

TEST(CalculateDim, AMixedExtentFailsAsASizeCheck)
{
    const Tarn::RecHeader_V260 header = headerWith(8, {100, 100, 0}, {100, 100, 1});
    try {
        HeaderLoader::calculateDim(header, "f.rek", fileOf(10000, 1));
        ADD_FAILURE() << "no failure";
    } catch (const std::out_of_range& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 100 , 100 , 0 ) ");
    }
}

TEST(CalculateDim, AnUnknownVoxelCodeFailsInTheConverter)
{
    const Tarn::RecHeader_V260 header = headerWith(0, {2, 2, 2}, {0, 0, 0});
    try {
        HeaderLoader::calculateDim(header, "g.rek", fileOf(8, 1));
        ADD_FAILURE() << "no failure";
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Container::BidirectionalMap::operator[] Invalid key!");
    }
}

// ---- the operator ---------------------------------------------------------------------------------

Tarn::Kito::SmartPointer<Files::RecHeaderLoader::Parameter> readHeader(const std::string& path)
{
    Tarn::Kito::SmartPointer<Files::RecHeaderLoader::Parameter> parameter(new Files::RecHeaderLoader::Parameter);
    parameter->inputFileName.setValue(path);
    HeaderLoader loader;
    loader.apply(Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(parameter));
    EXPECT_EQ(loader.getProgress().getProgress(), 1.0);
    return parameter;
}

Tarn::RecHeader_V260 headerIn(const Files::RecHeaderLoader::Parameter& parameter)
{
    return Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Meta>>(parameter.outputMetaInformation.getValue())->header;
}

TEST(RecHeaderLoader, ReportsTypeExtentAndTheWholeHeader)
{
    FileTest::TemporaryDirectory directory;
    Tarn::RecHeader_V260 header = headerWith(31, {3, 2, 2}, {3, 2, 2});
    header.voxelSizeXY = 0.5f;
    header.reserved592[7] = 99;
    FileTest::writeFile(directory.file("v.rek"), bytesOf(header) + zeros(12 * 4));
    const auto parameter = readHeader(directory.file("v.rek"));
    EXPECT_EQ(parameter->outputVoxelTypeName.getValue(), "Tarn::int32");
    EXPECT_EQ(parameter->outputVolumeDimension.getValue(), dim(3, 2, 2));
    EXPECT_EQ(bytesOf(headerIn(*parameter)), bytesOf(header));
    EXPECT_EQ(HeaderLoader().getType(), loaderType);
}

TEST(RecHeaderLoader, ReportsCodesThatNoLoaderServes)
{
    FileTest::TemporaryDirectory directory;
    FileTest::writeFile(directory.file("w.rek"), bytesOf(headerWith(64, {2, 1, 1}, {0, 0, 0})) + zeros(16));
    EXPECT_EQ(readHeader(directory.file("w.rek"))->outputVoxelTypeName.getValue(), "Tarn::uint64");
    FileTest::writeFile(directory.file("x.rek"), bytesOf(headerWith(63, {2, 1, 1}, {0, 0, 0})) + zeros(16));
    EXPECT_EQ(readHeader(directory.file("x.rek"))->outputVoxelTypeName.getValue(), "Tarn::int64");
}

TEST(RecHeaderLoader, AShortFileKeepsTheNewHeaderWhereItEnds)
{
    FileTest::TemporaryDirectory directory;
    const Tarn::RecHeader_V260 written = headerWith(8, {0, 0, 0}, {0, 0, 0});
    FileTest::Bytes bytes = bytesOf(written);
    bytes.resize(6);
    bytes[0] = 9; // imagePrim 9, as far as the file goes
    FileTest::writeFile(directory.file("short.rek"), bytes);
    Tarn::Kito::SmartPointer<Files::RecHeaderLoader::Parameter> parameter(new Files::RecHeaderLoader::Parameter);
    parameter->inputFileName.setValue(directory.file("short.rek"));
    HeaderLoader loader;
    // The image block (9, 0, 0) is neither empty nor whole.
    EXPECT_THROW(loader.apply(Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(parameter)),
                 std::out_of_range);
    Tarn::RecHeader_V260 expected;
    expected.imagePrim = 9;
    expected.voxelTypeCode = 8;
    EXPECT_EQ(bytesOf(headerIn(*parameter)), bytesOf(expected));
}

TEST(RecHeaderLoader, AMissingFileFailsWithItsName)
{
    Tarn::Kito::SmartPointer<Files::RecHeaderLoader::Parameter> parameter(new Files::RecHeaderLoader::Parameter);
    parameter->inputFileName.setValue("no/such/file.rek");
    HeaderLoader loader;
    try {
        loader.apply(Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(parameter));
        ADD_FAILURE() << "no failure";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(std::string(failure.what()),
                  loaderType + "::apply failed to open file no/such/file.rek, this often indicates an invalid file path");
    }
}

TEST(RecHeaderLoader, AnotherParameterObjectFails)
{
    HeaderLoader loader;
    const Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> other(
        Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(
            Tarn::Kito::SmartPointer<Files::Saver::Parameter>(new Files::Saver::Parameter)));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { loader.apply(other); }),
              "parameter: " + loaderType + "::apply parameter is NULL");
}

} // namespace
