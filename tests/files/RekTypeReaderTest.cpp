// RekTypeReader: a file's type, extent and header by the votes of its three extents, the name test,
// and every way a file can be refused.
#include "FileTestSupport.h"

#include <AncillaryKitoOperators/RekTypeReader>
#include <Kito/Data>
#include <support/FailureOf.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using FileTest::bytesOf;
using FileTest::operator+;
using FileTest::headerWith;
using FileTest::zeros;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
namespace Reader = Tarn::AncillaryKitoOperators::RekTypeReader;

const std::string head = "Tarn::AncillaryKitoOperators::RekTypeReader::Operator";

SmartPointer<Reader::Parameter> read(const std::string& path)
{
    SmartPointer<Reader::Parameter> parameter(new Reader::Parameter);
    parameter->inputFilename.setValue(path);
    Reader::Operator reader;
    reader.apply(DynamicCast<SmartPointer<IComposite>>(parameter));
    return parameter;
}

/// What reading path throws: "invalid: " or "runtime: " and the text, or "no failure".
std::string failureOf(const std::string& path)
{
    try {
        read(path);
    } catch (const Tarn::Kito::IOperator::InvalidParameterObjectException& failure) {
        return std::string("parameter: ") + failure.what();
    } catch (const std::invalid_argument& failure) {
        return std::string("invalid: ") + failure.what();
    } catch (const std::runtime_error& failure) {
        return std::string("runtime: ") + failure.what();
    }
    return "no failure";
}

Tarn::RecHeader_V260 withSlice(Tarn::RecHeader_V260 header, Tarn::int32 prim, Tarn::int32 sec)
{
    header.slicePrim = prim;
    header.sliceSec = sec;
    return header;
}

class RekTypeReaderFiles : public ::testing::Test {
protected:
    /// Writes header and payload bytes to name and gives the path.
    std::string write(const std::string& name, const Tarn::RecHeader_V260& header, std::size_t payload)
    {
        const std::string path = directory.file(name);
        FileTest::writeFile(path, bytesOf(header) + zeros(payload));
        return path;
    }

    FileTest::TemporaryDirectory directory;
};

TEST_F(RekTypeReaderFiles, ImageBlockThatFitsGivesTypeExtentAndHeader)
{
    Tarn::RecHeader_V260 header = headerWith(16, {4, 3, 2}, {0, 0, 0});
    header.reserved1024[5] = 42;
    const auto parameter = read(write("a.rek", header, 48));
    EXPECT_EQ(parameter->outputVoxelType.getValue(), "Tarn::uint16");
    EXPECT_EQ(parameter->outputDimension.getValue(), Dimension<SizeType>(4, 3, 2));
    EXPECT_EQ(bytesOf(parameter->outputHeader.getValue()->header), bytesOf(header));
}

TEST_F(RekTypeReaderFiles, EqualBlocksThatBothFitAreAccepted)
{
    const auto path = write("a.rek", withSlice(headerWith(8, {4, 3, 2}, {4, 3, 2}), 0, 0), 24);
    EXPECT_EQ(read(path)->outputDimension.getValue(), Dimension<SizeType>(4, 3, 2));
    const auto all = write("b.rek", withSlice(headerWith(8, {4, 3, 1}, {4, 3, 1}), 4, 3), 12);
    EXPECT_EQ(read(all)->outputDimension.getValue(), Dimension<SizeType>(4, 3, 1));
}

TEST_F(RekTypeReaderFiles, BlocksOfTheSameSizeButAnotherShapeAreAmbiguous)
{
    const std::string ambiguous = "runtime: " + head + " the dimensions specified in the header are ambiguous";
    EXPECT_EQ(failureOf(write("a.rek", headerWith(8, {4, 3, 2}, {2, 3, 4}), 24)), ambiguous);
    EXPECT_EQ(failureOf(write("b.rek", withSlice(headerWith(8, {4, 3, 1}, {0, 0, 0}), 3, 4), 12)), ambiguous);
    EXPECT_EQ(failureOf(write("c.rek", withSlice(headerWith(8, {0, 0, 0}, {4, 3, 1}), 6, 2), 12)), ambiguous);
    EXPECT_EQ(failureOf(write("d.rek", withSlice(headerWith(8, {4, 3, 1}, {4, 3, 1}), 2, 6), 12)), ambiguous);
}

TEST_F(RekTypeReaderFiles, AnImageBlockWithAZeroCountsAsEmpty)
{
    const auto path = write("a.rek", headerWith(8, {100, 100, 0}, {5, 5, 5}), 125);
    EXPECT_EQ(read(path)->outputDimension.getValue(), Dimension<SizeType>(5, 5, 5));
}

TEST_F(RekTypeReaderFiles, ABlockThatDoesNotFitHasNoVote)
{
    const auto path = write("a.rek", withSlice(headerWith(32, {7, 7, 7}, {2, 2, 2}), 9, 9), 32);
    EXPECT_EQ(read(path)->outputDimension.getValue(), Dimension<SizeType>(2, 2, 2));
}

TEST_F(RekTypeReaderFiles, ASliceOnlyHeaderGivesOneSlice)
{
    const auto parameter = read(write("a.rek", withSlice(headerWith(24, {0, 0, 0}, {0, 0, 0}), 5, 3), 60));
    EXPECT_EQ(parameter->outputVoxelType.getValue(), "Tarn::float32");
    EXPECT_EQ(parameter->outputDimension.getValue(), Dimension<SizeType>(5, 3, 1));
}

TEST_F(RekTypeReaderFiles, EveryCodeOfTheTableIsKnown)
{
    const std::vector<std::pair<Tarn::int16, std::string>> codes = {
        {7, "Tarn::int8"},     {8, "Tarn::uint8"},     {15, "Tarn::int16"}, {16, "Tarn::uint16"},
        {31, "Tarn::int32"},   {32, "Tarn::uint32"},   {63, "Tarn::int64"}, {64, "Tarn::uint64"},
        {24, "Tarn::float32"}, {53, "Tarn::float64"}};
    const std::vector<std::size_t> sizes = {1, 1, 2, 2, 4, 4, 8, 8, 4, 8};
    for (std::size_t i = 0; i < codes.size(); ++i) {
        const auto path = write("t" + std::to_string(i) + ".rek", headerWith(codes[i].first, {3, 1, 1}, {0, 0, 0}), 3 * sizes[i]);
        EXPECT_EQ(read(path)->outputVoxelType.getValue(), codes[i].second);
    }
}

TEST_F(RekTypeReaderFiles, UnknownCodeFailsEvenIfTheExtentsFit)
{
    for (const Tarn::int16 code : {0, 1, 17, 65, -8})
        EXPECT_EQ(failureOf(write("a.rek", headerWith(code, {2, 2, 2}, {0, 0, 0}), 8)), "runtime: " + head + " unknown voxel type")
            << code;
}

TEST_F(RekTypeReaderFiles, AFileOfOnlyAHeaderIsTooSmall)
{
    EXPECT_EQ(failureOf(write("a.rek", headerWith(8, {0, 0, 0}, {0, 0, 0}), 0)),
              "runtime: " + head + " file is smaller than the REK header");
    FileTest::writeFile(directory.file("b.rek"), zeros(100));
    EXPECT_EQ(failureOf(directory.file("b.rek")), "runtime: " + head + " file is smaller than the REK header");
    FileTest::writeFile(directory.file("c.rek"), {});
    EXPECT_EQ(failureOf(directory.file("c.rek")), "runtime: " + head + " file is smaller than the REK header");
}

TEST_F(RekTypeReaderFiles, NoFittingBlockFails)
{
    const std::string misfit = "runtime: " + head + " file size does not fit to the dimensions specified in the header";
    EXPECT_EQ(failureOf(write("a.rek", headerWith(16, {2, 2, 2}, {2, 2, 2}), 15)), misfit);
    EXPECT_EQ(failureOf(write("b.rek", headerWith(16, {0, 0, 0}, {0, 0, 0}), 16)), misfit);
    // An odd byte is no voxel, and this reader counts bytes.
    EXPECT_EQ(failureOf(write("c.rek", headerWith(16, {2, 2, 2}, {0, 0, 0}), 17)), misfit);
    // Negative fields are huge extents; their bytes pass 64 bits and fit no file.
    EXPECT_EQ(failureOf(write("d.rek", headerWith(16, {-1, 1, 1}, {0, 0, 0}), 16)), misfit);
}

TEST_F(RekTypeReaderFiles, ExtentsWhoseProductPasses64BitsFailAsTheSizeSays)
{
    try {
        read(write("a.rek", headerWith(8, {-1, -1, 1}, {0, 0, 0}), 8));
        ADD_FAILURE() << "no failure";
    } catch (const std::overflow_error& failure) {
        EXPECT_STREQ(failure.what(),
                     "Tarn::Kito::Dimension< Tarn::uint64 >::size current size exceeds to boundarys of Tarn::uint64");
    }
}

TEST_F(RekTypeReaderFiles, NamesAreTestedBeforeTheFileSystem)
{
    EXPECT_EQ(failureOf(""), "invalid: " + head + " input filename is empty");
    EXPECT_EQ(failureOf(directory.file("a=b.rek")), "invalid: " + head + " input filename is invalid");
    EXPECT_EQ(failureOf(directory.file("missing.rek")), "runtime: " + head + " failed to open file");
}

TEST_F(RekTypeReaderFiles, AnotherParameterObjectFails)
{
    Reader::Operator reader;
    const SmartPointer<IComposite> other =
        DynamicCast<SmartPointer<IComposite>>(SmartPointer<Reader::Header>(new Reader::Header));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { reader.apply(other); }),
              "parameter: Tarn::AncillaryKitoOperators::RekTypeReader::Operator::apply");
}

TEST_F(RekTypeReaderFiles, TheFileIsClosedOnEveryPath)
{
    const std::vector<std::string> paths = {
        write("ok.rek", headerWith(8, {2, 1, 1}, {0, 0, 0}), 2), write("small.rek", headerWith(8, {0, 0, 0}, {0, 0, 0}), 0),
        write("code.rek", headerWith(3, {2, 1, 1}, {0, 0, 0}), 2), write("misfit.rek", headerWith(8, {9, 1, 1}, {0, 0, 0}), 2),
        write("ambiguous.rek", headerWith(8, {2, 1, 1}, {1, 2, 1}), 2),
        write("overflow.rek", headerWith(8, {-1, -1, 1}, {0, 0, 0}), 2), directory.path};
    const std::size_t before = FileTest::openDescriptors();
    for (const std::string& path : paths) {
        try {
            read(path);
        } catch (const std::exception&) {
        }
        EXPECT_EQ(FileTest::openDescriptors(), before) << path;
    }
}

TEST_F(RekTypeReaderFiles, ADirectoryIsNoREKFile)
{
    EXPECT_NE(failureOf(directory.path), "no failure");
}

TEST(RekTypeReader, TypeAndParameterNames)
{
    EXPECT_EQ(Reader::Operator().getType(), head);
    const Reader::Parameter parameter;
    EXPECT_EQ(parameter.getType(), "Tarn::AncillaryKitoOperators::RekTypeReader::Parameter");
    EXPECT_EQ(parameter.getKey(0), "inputFilename");
    EXPECT_EQ(parameter.getKey(1), "outputVoxelType");
    EXPECT_EQ(parameter.getKey(2), "outputDimension");
    EXPECT_EQ(parameter.getKey(3), "outputHeader");
    EXPECT_EQ(bytesOf(parameter.outputHeader.getValue()->header), bytesOf(Tarn::RecHeader_V260()));
}

// ---- the header as a composite ----------------------------------------------------------------------

TEST(RekHeaderComposite, HasTheOneKeyHeader)
{
    Reader::Header composite;
    EXPECT_EQ(composite.getType(), "Tarn::AncillaryKitoOperators::RekHeaderComposite< Tarn::RecHeader_V260 >");
    EXPECT_EQ(composite.size(), 1u);
    EXPECT_EQ(composite.getKey(0), "header");
    try {
        composite.getKey(1);
        ADD_FAILURE() << "no failure";
    } catch (const std::out_of_range& failure) {
        EXPECT_STREQ(failure.what(), "index_ is out of the valid range");
    }
    try {
        composite.getValue("Header");
        ADD_FAILURE() << "no failure";
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Header is an unknown key");
    }
}

TEST(RekHeaderComposite, ValueIsTheHeaderBytesZerosIncluded)
{
    Tarn::RecHeader_V260 header = headerWith(16, {1, 2, 3}, {0, 0, 0});
    Reader::Header composite(header);
    const auto data = DynamicCast<Tarn::Kito::Persistence::DataPtr<std::string>>(composite.getValue("header"));
    ASSERT_FALSE(data == 0);
    const FileTest::Bytes bytes(data->getValue().begin(), data->getValue().end());
    EXPECT_EQ(bytes, bytesOf(header));

    Reader::Header other;
    other.setValue("header", composite.getValue("header"));
    EXPECT_EQ(bytesOf(other.header), bytesOf(header));
    EXPECT_THROW(other.setValue("header", DynamicCast<SmartPointer<IComposite>>(Tarn::Kito::Persistence::DataPtr<std::string>("short"))),
                 std::invalid_argument);
}

// ---- the name test ------------------------------------------------------------------------------------

TEST(RekFileName, PrintableNamesAndLocalPathsPass)
{
    for (const char* name : {"a", "volume.rek", "/tmp/x/volume.rek", "dir\\volume.rek", "C:\\data\\v.rek", "c:/data/v.rek",
                             "D:", "z:\\", "with blank & (brackets) ~ ' \" ; , [ ] { } ! @ # $ % ^ + -", "\\\\server\\share",
                             "//server/share", "\\\\server/a", "x/", "\xb5\xc4\xd6\xdc\xdf\xe4\xf6\xfc.rek"})
        EXPECT_TRUE(Reader::isValidFileName(name)) << name;
}

TEST(RekFileName, RefusedCharactersAndPlaces)
{
    for (const char* name : {"", "a*b", "a<b", "a=b", "a>b", "a?b", "a|b", "ab:c", ":abc", "1:\\x", "C:x", "C:data",
                             "a\tb", "a\nb", "\x7f", "\xe9t\xe9.rek", "\x80", "a\\\\b", "a//b", "/a//b", "\\\\server",
                             "//server", "//server/", "\\\\\\server\\x", "///x/y", "C://x", "C:\\\\x"})
        EXPECT_FALSE(Reader::isValidFileName(name)) << name;
}

TEST(RekFileName, AColonIsAllowedOnlySecondAfterALetter)
{
    EXPECT_TRUE(Reader::isValidFileName("a:"));
    EXPECT_TRUE(Reader::isValidFileName("Z:/"));
    EXPECT_FALSE(Reader::isValidFileName("[:/"));
    EXPECT_FALSE(Reader::isValidFileName("a:/b:"));
}

TEST(RekFileName, AZeroByteIsRefused)
{
    EXPECT_FALSE(Reader::isValidFileName(std::string("a\0b", 3)));
}

} // namespace
