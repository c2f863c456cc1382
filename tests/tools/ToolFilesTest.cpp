// The lumo tool on files that the test writes: REK files, raw files, and the REK files it writes
// itself. Each test runs the built program as a user types its command and reads what it prints.
#include "../files/FileTestSupport.h"
#include "ToolRun.h"

#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using FileTest::bytesOf;
using FileTest::operator+;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using ToolTest::lumo;
using ToolTest::lumoErrors;
using ToolTest::ToolRun;

/// 2, 4, 4, 4 in the first slice, 5, 5, 7, 9 in the second: mean 5, sample variance 32 / 7.
const std::vector<Tarn::uint8> voxels = {2, 4, 4, 4, 5, 5, 7, 9};

class ToolFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        Tarn::RecHeader_V260 header = FileTest::headerWith(8, {4, 1, 2}, {4, 1, 2});
        header.voxelSizeXY = 12.5f;
        header.voxelSizeZ = 20.0f;
        FileTest::writeFile(rek(), bytesOf(header) + bytesOf(voxels));
        FileTest::writeFile(raw(), FileTest::zeros(3) + bytesOf(voxels) + FileTest::zeros(5));
    }

    std::string rek() const { return directory.file("small.rek"); }
    std::string raw() const { return directory.file("small.bin"); }

    FileTest::TemporaryDirectory directory;
};

const std::string statistics = "minimum 2, maximum 9, mean 5.000, variance 4.571, standard deviation 2.138\n";
const std::string maximum = "result: 4 x 1 x 1 Tarn::uint8\n"
                            "minimum 5, maximum 9, mean 6.500, variance 3.667, standard deviation 1.915\n";

TEST_F(ToolFiles, InfoTellsWhatTheHeaderSays)
{
    const ToolRun run = lumo("info " + rek());
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, rek() + ": REK file, header version 2.6.0\n"
                               "voxel type   Tarn::uint8 (code 8)\n"
                               "extent       4 x 1 x 2\n"
                               "voxel size   12.5 x 12.5 x 20\n"
                               "image block  4 x 1 x 2, fits the file\n"
                               "reko block   4 x 1 x 2, fits the file\n"
                               "slice block  0 x 0 x 1, empty\n"
                               "counted      image block\n");
}

TEST_F(ToolFiles, InfoNamesTheBlockThatCounted)
{
    FileTest::writeFile(directory.file("slice.rek"),
                        bytesOf([] {
                            Tarn::RecHeader_V260 h = FileTest::headerWith(16, {9, 9, 9}, {0, 0, 0});
                            h.slicePrim = 2;
                            h.sliceSec = 3;
                            return h;
                        }()) + FileTest::zeros(12));
    const ToolRun run = lumo("info " + directory.file("slice.rek"));
    EXPECT_EQ(run.out, directory.file("slice.rek") + ": REK file, header version 2.6.0\n"
                                                     "voxel type   Tarn::uint16 (code 16)\n"
                                                     "extent       2 x 3 x 1\n"
                                                     "voxel size   0 x 0 x 0\n"
                                                     "image block  9 x 9 x 9, does not fit the file\n"
                                                     "reko block   0 x 0 x 0, empty\n"
                                                     "slice block  2 x 3 x 1, fits the file\n"
                                                     "counted      slice block\n");
}

TEST_F(ToolFiles, StatisticsOfAREKFile)
{
    const ToolRun run = lumo("statistics " + rek());
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, rek() + ": 4 x 1 x 2 Tarn::uint8\n" + statistics);
}

TEST_F(ToolFiles, StatisticsOfARawFile)
{
    const ToolRun run = lumo("statistics " + raw() + " --raw-type uint8 --extent 4,1,2 --skip 3");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, raw() + ": 4 x 1 x 2 Tarn::uint8\n" + statistics);
}

TEST_F(ToolFiles, ProjectMaxOfAREKFileAndOfARawFile)
{
    ToolRun run = lumo("project-max " + rek());
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, rek() + ": 4 x 1 x 2 Tarn::uint8\n" + maximum);
    run = lumo("project-max " + raw() + " --skip 3 --extent 4,1,2 --raw-type Tarn::uint8 --direction 0");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, raw() + ": 4 x 1 x 2 Tarn::uint8\n" + maximum);
}

TEST_F(ToolFiles, ARegionOfARawFile)
{
    const ToolRun run = lumo("statistics " + raw() + " --raw-type uint8 --extent 4,1,2 --skip 3 --roi 2,0,0,2,1,2");
    EXPECT_EQ(run.out, raw() + ": 2 x 1 x 2 Tarn::uint8\n"
                               "minimum 4, maximum 9, mean 6.000, variance 6.000, standard deviation 2.449\n");
}

TEST_F(ToolFiles, AResultWrittenAsREKReadsBackWithTheSameVoxels)
{
    const std::string out = directory.file("max.rek");
    const ToolRun run = lumo("project-max " + rek() + " --rek " + out);
    EXPECT_EQ(run.out, rek() + ": 4 x 1 x 2 Tarn::uint8\nwritten to " + out + "\n" + maximum);
    namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;
    using Meta = Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;
    SmartPointer<Files::Loader::Parameter> p(new Files::Loader::Parameter);
    p->inputFileName.setValue(out);
    Files::RecHeaderFileInputOutput::Loader::Operator<TestSupport::MemoryVolumePtr<Tarn::uint8>, Meta> loader;
    loader.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
    const auto volume = DynamicCast<TestSupport::MemoryVolumePtr<Tarn::uint8>>(p->modifyVolume.getValue());
    ASSERT_FALSE(volume == 0);
    EXPECT_EQ(volume->getVolumeDimension(), Tarn::Kito::Dimension<SizeType>(4, 1, 1));
    EXPECT_EQ(FileTest::storageVoxels(volume), (std::vector<Tarn::uint8>{5, 5, 7, 9}));
    // And the tool reads its own file: the same statistics as the result it wrote.
    EXPECT_EQ(lumo("statistics " + out).out, out + ": 4 x 1 x 1 Tarn::uint8\n" + maximum.substr(maximum.find('\n') + 1));
}

TEST_F(ToolFiles, TheBuiltinVolumeWrittenAndReadAgain)
{
    const std::string out = directory.file("sum.rek");
    const ToolRun written = lumo("project-sum builtin --type float64 --rek " + out);
    ASSERT_EQ(written.code, 0);
    const std::string result = written.out.substr(written.out.find("result: "));
    const ToolRun read = lumo("statistics " + out);
    EXPECT_EQ(read.out, out + ": 192 x 128 x 1 Tarn::float64\n" + result.substr(result.find('\n') + 1));
}

TEST_F(ToolFiles, AFileOf64BitIntegersFindsNoLoader)
{
    FileTest::writeFile(directory.file("wide.rek"), bytesOf(FileTest::headerWith(63, {2, 1, 1}, {0, 0, 0})) + FileTest::zeros(16));
    const ToolRun run = lumoErrors("statistics " + directory.file("wide.rek"));
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "lumo: Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
                       "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator< "
                       "Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::SingleBlockAllocator > , "
                       "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< "
                       "RecHeader_V260 > > is registered\n");
}

TEST_F(ToolFiles, ABrokenREKFileIsALibraryFailure)
{
    FileTest::writeFile(directory.file("short.rek"), bytesOf(FileTest::headerWith(8, {4, 4, 4}, {0, 0, 0})) + FileTest::zeros(10));
    const ToolRun run = lumoErrors("info " + directory.file("short.rek"));
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "lumo: Tarn::AncillaryKitoOperators::RekTypeReader::Operator file size does not fit to the "
                       "dimensions specified in the header\n");
}

TEST_F(ToolFiles, ARawFileShorterThanItsDescriptionIsRefused)
{
    const ToolRun run = lumoErrors("statistics " + raw() + " --raw-type uint8 --extent 4,1,4 --skip 3");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')),
              "lumo: the raw file " + raw() + " holds 16 bytes, fewer than a skip of 3 and the voxels of the extent need");
}

TEST_F(ToolFiles, RawSettingsWithoutAnExtentOrWithABadOneAreBadUsage)
{
    ToolRun run = lumoErrors("statistics " + raw() + " --raw-type uint8");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "lumo: --raw-type and --skip describe a raw file and need its --extent");
    run = lumoErrors("statistics " + raw() + " --raw-type uint8 --extent 4,0,2");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "lumo: --extent takes three positive numbers: prim,sec,tert");
    run = lumoErrors("statistics " + raw() + " --raw-type uint9 --extent 4,1,2");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "lumo: unknown voxel type 'uint9'");
    run = lumoErrors("statistics " + raw() + " --extent 4,1,2");
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "lumo: a raw file needs --raw-type with its --extent");
}

} // namespace
