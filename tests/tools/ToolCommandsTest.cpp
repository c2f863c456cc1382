// Every command of the lumo tool on REK and raw files that the test writes: what the built program
// gives (as JSON, as REK files, as PNG images) is compared with what the facade gives in this
// process for the same volume; then bad usage, missing and broken files, and a stop by SIGINT.
#include "../files/FileTestSupport.h"
#include "ToolRun.h"

#include <Kito/Kito>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>
#include <LumoStudio/Operators/AverageImage/Operator.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <png.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <list>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using FileTest::bytesOf;
using FileTest::operator+;
using nlohmann::json;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using ToolTest::lumo;
using ToolTest::lumoErrors;
using ToolTest::ToolRun;
using VolumeHandle = SmartPointer<Tarn::Kito::IVolume>;

constexpr SizeType P = 12, S = 10, T = 8;

/// Air (0) above a surface that rises and falls along prim and sec, material below it.
Tarn::uint16 voxelAt(SizeType p, SizeType s, SizeType t)
{
    if (t < (p + 2 * s) % 5) return 0;
    return static_cast<Tarn::uint16>(100 + (p * 7 + s * 13 + t * 29) % 900);
}

MemoryVolumePtr<Tarn::uint16> makeVolume()
{
    MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(P, S, T)));
    for (SizeType t = 0; t < T; ++t)
        for (SizeType s = 0; s < S; ++s)
            for (SizeType p = 0; p < P; ++p) *volume->getPosOffset(Position<SizeType>(p, s, t)) = voxelAt(p, s, t);
    return volume;
}

template <class V> void writeRek(const std::string& path, Tarn::int16 code, const V& volume)
{
    const Dimension<SizeType> d = volume->getVolumeDimension();
    const std::vector<Tarn::int64> extent = {Tarn::int64(d.prim), Tarn::int64(d.sec), Tarn::int64(d.tert)};
    FileTest::writeFile(path, bytesOf(FileTest::headerWith(code, extent, extent)) + bytesOf(FileTest::storageVoxels(volume)));
}

/// A REK file as the library's loader reads it.
template <class U> MemoryVolumePtr<U> loadRek(const std::string& path)
{
    namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;
    using Meta = Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;
    SmartPointer<Files::Loader::Parameter> p(new Files::Loader::Parameter);
    p->inputFileName.setValue(path);
    Files::RecHeaderFileInputOutput::Loader::Operator<MemoryVolumePtr<U>, Meta> loader;
    loader.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
    return DynamicCast<MemoryVolumePtr<U>>(p->modifyVolume.getValue());
}

/// Runs a facade in this process on a parameter object that fill has filled.
template <class Facade, class Fill> SmartPointer<typename Facade::Parameter> applied(Fill fill)
{
    SmartPointer<typename Facade::Parameter> p(new typename Facade::Parameter);
    fill(*p);
    typename Facade::IOperator facade;
    facade.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
    return p;
}

template <class U> VolumeHandle placeholder()
{
    return DynamicCast<VolumeHandle>(MemoryVolumePtr<U>(new MemoryVolume<U>(Dimension<SizeType>(1, 1, 1))));
}

/// The tool's REK file holds the view of the facade's result, voxel for voxel, bit for bit.
template <class U> void expectSameVoxels(const VolumeHandle& expected, const std::string& path)
{
    const MemoryVolumePtr<U> typed = DynamicCast<MemoryVolumePtr<U>>(expected);
    ASSERT_FALSE(typed == 0) << "the facade's result is no " << TestSupport::voxelName<U>() << " volume";
    const MemoryVolumePtr<U> written = loadRek<U>(path);
    ASSERT_FALSE(written == 0) << path;
    EXPECT_EQ(written->getDimension(), typed->getDimension()) << path;
    const std::vector<U> want = TestSupport::valuesInView(*typed), got = TestSupport::valuesInView(*written);
    ASSERT_EQ(got.size(), want.size()) << path;
    EXPECT_EQ(std::memcmp(got.data(), want.data(), want.size() * sizeof(U)), 0) << path;
}

std::uint64_t bitsOf(const json& value) { return TestSupport::bitsOf(value.get<double>()); }

class ToolCommands : public ::testing::Test {
protected:
    void SetUp() override { writeRek(rek(), 16, makeVolume()); }

    std::string rek() const { return directory.file("volume.rek"); }
    std::string file(const std::string& name) const { return directory.file(name); }
    /// A fresh volume for each facade: the height map turns the view of its input.
    static VolumeHandle volume() { return DynamicCast<VolumeHandle>(makeVolume()); }

    json jsonOf(const std::string& arguments) const
    {
        const ToolRun run = lumo(arguments + " --json");
        EXPECT_EQ(run.code, 0) << arguments;
        return json::parse(run.out);
    }

    FileTest::TemporaryDirectory directory;
};

TEST_F(ToolCommands, SumStatisticsMedianAndCountAsJsonAreTheFacades)
{
    const VolumeHandle v = volume();
    const json sum = jsonOf("sum " + rek());
    EXPECT_EQ(sum["command"], "sum");
    EXPECT_EQ(sum["inputs"][0]["name"], rek());
    EXPECT_EQ(sum["inputs"][0]["extent"], json::array({P, S, T}));
    EXPECT_EQ(sum["inputs"][0]["type"], "Tarn::uint16");
    const auto s = applied<Tarn::Lumo_DLL::ISumOfVoxels>([&](auto& p) { p.inputVolume.setValue(v); });
    EXPECT_EQ(bitsOf(sum["sum"]), TestSupport::bitsOf(s->outputSum.getValue()));

    // A region of the view, given to the tool and put on the volume here.
    const json statistics = jsonOf("statistics " + rek() + " --roi 2,1,1,6,5,4")["statistics"];
    v->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(6, 5, 4), Position<SizeType>(2, 1, 1)));
    const auto st = applied<Tarn::Lumo_DLL::IStatisticsFromVolume>([&](auto& p) { p.inputVolume.setValue(v); });
    EXPECT_EQ(statistics["minimum"].dump(), st->outputMinimum.getValue()->toString());
    EXPECT_EQ(statistics["maximum"].dump(), st->outputMaximum.getValue()->toString());
    EXPECT_EQ(bitsOf(statistics["mean"]), TestSupport::bitsOf(st->outputMean.getValue()));
    EXPECT_EQ(bitsOf(statistics["variance"]), TestSupport::bitsOf(st->outputVariance.getValue()));
    EXPECT_EQ(bitsOf(statistics["standardDeviation"]), TestSupport::bitsOf(st->outputStandardDeviation.getValue()));

    const json median = jsonOf("median " + rek() + " --roi 2,1,1,6,5,4");
    const auto m = applied<Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi>([&](auto& p) { p.inputVolume.setValue(v); });
    EXPECT_EQ(median["median"].dump(), m->outputValue.getValue()->toString());

    const json count = jsonOf("count-in-range " + rek() + " --min 300 --max 600.5 --threads 2");
    const VolumeHandle whole = volume();
    const auto c = applied<Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange>([&](auto& p) {
        p.inputVolume.setValue(whole);
        p.inputRangeLowerValue.setValue(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<double>(300.0)));
        p.inputRangeUpperValue.setValue(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<double>(600.5)));
    });
    EXPECT_EQ(count["count"].get<Tarn::uint64>(), c->outputFrequency.getValue());
    EXPECT_EQ(count["voxels"].get<Tarn::uint64>(), P * S * T);
    EXPECT_GT(count["count"].get<Tarn::uint64>(), 0u);
}

TEST_F(ToolCommands, LabelStatisticsAsJsonAreTheFacades)
{
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(P, S, T)));
    for (SizeType t = 0; t < T; ++t)
        for (SizeType s = 0; s < S; ++s)
            for (SizeType p = 0; p < P; ++p) *labels->getPosOffset(Position<SizeType>(p, s, t)) = static_cast<Tarn::uint8>(p / 4 + 1);
    writeRek(file("labels.rek"), 8, labels);
    const json result = jsonOf("label-statistics " + rek() + " --labels " + file("labels.rek"));
    // The same labels as a raw file after 16 bytes of header, and the first volume as raw as well.
    FileTest::writeFile(file("labels.raw"), FileTest::Bytes(16, 'x') + bytesOf(FileTest::storageVoxels(labels)));
    FileTest::writeFile(file("volume.raw"), bytesOf(FileTest::storageVoxels(makeVolume())));
    const json fromRaw = jsonOf("label-statistics " + file("volume.raw") + " --raw-type uint16 --extent 12,10,8 --labels raw:uint8:12,10,8:16:" +
                                file("labels.raw"));
    EXPECT_EQ(fromRaw["labels"].dump(), result["labels"].dump());
    const ToolRun badRaw = lumoErrors("label-statistics " + rek() + " --labels raw:uint8:" + file("labels.raw"));
    EXPECT_EQ(badRaw.code, 2) << badRaw.out;
    EXPECT_NE(badRaw.out.find("a raw second volume is written raw:T:P,S,T[:N]:FILE, not raw:uint8:"), std::string::npos) << badRaw.out;
    const auto l = applied<Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels>([&](auto& p) {
        p.inputVolume.setValue(volume());
        p.inputLabelVolume.setValue(DynamicCast<VolumeHandle>(labels));
    });
    const auto map = l->outputMapStatistics.getValue();
    ASSERT_EQ(result["labels"].size(), 3u);
    ASSERT_EQ(map->size(), 3u);
    std::size_t k = 0;
    for (const auto& entry : *map) {
        const json& label = result["labels"][k++];
        EXPECT_EQ(label["label"].get<unsigned>(), entry.first);
        EXPECT_EQ(label["minimum"].dump(), entry.second->outputMinimum.getValue()->toString());
        EXPECT_EQ(label["maximum"].dump(), entry.second->outputMaximum.getValue()->toString());
        EXPECT_EQ(bitsOf(label["mean"]), TestSupport::bitsOf(entry.second->outputMean.getValue()));
        EXPECT_EQ(bitsOf(label["variance"]), TestSupport::bitsOf(entry.second->outputVariance.getValue()));
    }
}

TEST_F(ToolCommands, AreaOfAMeshFileIsTheFacades)
{
    // Two triangles, three vertices each along prim, the coordinate along sec.
    MemoryVolumePtr<Tarn::float64> mesh(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(6, 3, 1)));
    const double vertices[6][3] = {{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {1, 1, 1}, {1, 2, 3}, {2, 5, 1}};
    for (SizeType i = 0; i < 6; ++i)
        for (SizeType axis = 0; axis < 3; ++axis) *mesh->getPosOffset(Position<SizeType>(i, axis, 0)) = vertices[i][axis];
    writeRek(file("mesh.rek"), 53, mesh);
    const json result = jsonOf("area " + file("mesh.rek") + " --voxel-size 2.5");
    const auto a = applied<Tarn::Lumo_DLL::ISumOfTriangleAreas>([&](auto& p) {
        p.inputTriangleVolume.setValue(DynamicCast<VolumeHandle>(mesh));
        p.inputVoxelSizePrimInMicrometers.setValue(2.5);
        p.inputVoxelSizeSecInMicrometers.setValue(2.5);
        p.inputVoxelSizeTertInMicrometers.setValue(2.5);
    });
    EXPECT_EQ(result["triangles"], 2);
    EXPECT_EQ(bitsOf(result["area"]), TestSupport::bitsOf(a->outputSumOfTriangleAreas.getValue()));
    EXPECT_GT(result["area"].get<double>(), 6.0 * 2.5 * 2.5);
}

template <class Facade> VolumeHandle projection(const VolumeHandle& v, Tarn::uint64 direction, const VolumeHandle& output)
{
    return applied<Facade>([&](auto& p) {
               p.inputVolume.setValue(v);
               p.outputVolume.setValue(output);
               p.inputDirection.setValue(direction);
           })->outputVolume.getValue();
}

TEST_F(ToolCommands, ProjectionsWrittenAsREKAreTheFacades)
{
    ASSERT_EQ(lumo("project-max " + rek() + " --direction 1 --rek " + file("max.rek")).code, 0);
    expectSameVoxels<Tarn::uint16>(projection<Tarn::Lumo_DLL::IProjectionMax>(volume(), 1, VolumeHandle()), file("max.rek"));
    ASSERT_EQ(lumo("project-sum " + rek() + " --type float64 --rek " + file("sum.rek")).code, 0);
    expectSameVoxels<Tarn::float64>(projection<Tarn::Lumo_DLL::IProjectionSum>(volume(), 0, placeholder<Tarn::float64>()),
                                    file("sum.rek"));
    ASSERT_EQ(lumo("project-mean " + rek() + " --type float32 --direction 2 --rek " + file("mean.rek")).code, 0);
    expectSameVoxels<Tarn::float32>(projection<Tarn::Lumo_DLL::IProjectionMean>(volume(), 2, placeholder<Tarn::float32>()),
                                    file("mean.rek"));
    // The median filter's result holds the medians in its first plane across the rays.
    ASSERT_EQ(lumo("project-median " + rek() + " --direction 1 --threads 1 --rek " + file("median.rek")).code, 0);
    const VolumeHandle filtered = projection<Tarn::Lumo_DLL::IProjectionMedian>(volume(), 1, VolumeHandle());
    filtered->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(P, 1, T), Position<SizeType>(0, 0, 0)));
    expectSameVoxels<Tarn::uint16>(filtered, file("median.rek"));
}

VolumeHandle heightMapOf(const VolumeHandle& v)
{
    return applied<Tarn::Lumo_DLL::IHeightMap>([&](auto& p) {
               p.inputVolume.setValue(v);
               p.inputDirection.setValue(2);
               p.outputVolume.setValue(placeholder<Tarn::uint16>());
           })->outputVolume.getValue();
}

TEST_F(ToolCommands, HeightMapAndBothFlatteningsAreTheFacades)
{
    ASSERT_EQ(lumo("height-map " + rek() + " --rek " + file("heights.rek")).code, 0);
    expectSameVoxels<Tarn::uint16>(heightMapOf(volume()), file("heights.rek"));

    ASSERT_EQ(lumo("flatten " + rek() + " --threads 2 --rek " + file("flat.rek")).code, 0);
    VolumeHandle v = volume();
    const VolumeHandle flat = applied<Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator>([&](auto& p) {
                                  p.inputVolume.setValue(v);
                                  p.inputHeightMapVolume.setValue(heightMapOf(v));
                              })->outputVolume.getValue();
    expectSameVoxels<Tarn::uint16>(flat, file("flat.rek"));

    // Normals that lean along prim by a quarter voxel per slice in every third column.
    MemoryVolumePtr<Tarn::float32> normals[3];
    for (int axis = 0; axis < 3; ++axis) {
        normals[axis] = MemoryVolumePtr<Tarn::float32>(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(P, S, 1)));
        for (SizeType s = 0; s < S; ++s)
            for (SizeType p = 0; p < P; ++p)
                *normals[axis]->getPosOffset(Position<SizeType>(p, s, 0)) =
                    axis == 0 ? 0.25f * static_cast<float>(p % 3) : axis == 1 ? 0.0f : 1.0f;
        writeRek(file("normal" + std::to_string(axis) + ".rek"), 24, normals[axis]);
    }
    ASSERT_EQ(lumo("flatten-normals " + rek() + " --normals-x " + file("normal0.rek") + " --normals-y " +
                   file("normal1.rek") + " --normals-z " + file("normal2.rek") + " --voxel-size-xy 2 --voxel-size-z 1 --rek " +
                   file("unrolled.rek"))
                  .code,
              0);
    v = volume();
    const VolumeHandle unrolled = applied<Tarn::Lumo_DLL::IDirectionalPlanarisationOperator>([&](auto& p) {
                                      p.inputVolume.setValue(v);
                                      p.inputHeightMapVolume.setValue(heightMapOf(v));
                                      p.inputNormalMapVolumeX.setValue(DynamicCast<VolumeHandle>(normals[0]));
                                      p.inputNormalMapVolumeY.setValue(DynamicCast<VolumeHandle>(normals[1]));
                                      p.inputNormalMapVolumeZ.setValue(DynamicCast<VolumeHandle>(normals[2]));
                                      p.inputVoxelSizeXY_um.setValue(2.0f);
                                  })->outputVolume.getValue();
    expectSameVoxels<Tarn::uint16>(unrolled, file("unrolled.rek"));
}

TEST_F(ToolCommands, AssemblyAndCopyAreTheFacades)
{
    ASSERT_EQ(lumo("concat " + rek() + " " + rek() + " --face 5 --rek " + file("joined.rek")).code, 0);
    expectSameVoxels<Tarn::uint16>(applied<Tarn::Lumo_DLL::IConcatVolumes>([&](auto& p) {
                                       p.inputVolumeFirst.setValue(volume());
                                       p.inputVolumeSecond.setValue(volume());
                                       p.inputFace.setValue(5);
                                   })->outputVolume.getValue(),
                                   file("joined.rek"));
    ASSERT_EQ(lumo("duplicate-slice " + rek() + " --plane XZ --index 3 --count 4 --rek " + file("repeated.rek")).code, 0);
    expectSameVoxels<Tarn::uint16>(applied<Tarn::Lumo_DLL::IDuplicateSlices>([&](auto& p) {
                                       p.inputVolume.setValue(volume());
                                       p.inputSliceOrientation.setValue("XZ-Slice");
                                       p.inputSliceIndex.setValue(3);
                                       p.inputNumberOfSlices.setValue(4);
                                   })->outputVolume.getValue(),
                                   file("repeated.rek"));
    ASSERT_EQ(lumo("copy " + rek() + " --roi 2,1,1,6,5,4 --threads 2 --rek " + file("copy.rek")).code, 0);
    const VolumeHandle v = volume();
    v->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(6, 5, 4), Position<SizeType>(2, 1, 1)));
    expectSameVoxels<Tarn::uint16>(applied<Tarn::Lumo_DLL::ICopy>([&](auto& p) { p.inputVolume.setValue(v); })->outputVolume.getValue(),
                                   file("copy.rek"));
}

TEST_F(ToolCommands, AverageOfThreeFilesIsTheOperatorsAndTheFacadeStillFails)
{
    // Three files that differ voxel by voxel: the first, the first doubled, and the first plus one.
    const MemoryVolumePtr<Tarn::uint16> first = makeVolume(), second = makeVolume(), third = makeVolume();
    for (SizeType t = 0; t < T; ++t)
        for (SizeType s = 0; s < S; ++s)
            for (SizeType p = 0; p < P; ++p) {
                const Position<SizeType> at(p, s, t);
                *second->getPosOffset(at) = static_cast<Tarn::uint16>(2 * *first->getPosOffset(at));
                *third->getPosOffset(at) = static_cast<Tarn::uint16>(*first->getPosOffset(at) + 1);
            }
    writeRek(file("a.rek"), 16, first);
    writeRek(file("b.rek"), 16, second);
    writeRek(file("c.rek"), 16, third);
    const std::vector<std::string> names = {file("a.rek"), file("b.rek"), file("c.rek")};
    ASSERT_EQ(lumo("average " + names[0] + " " + names[1] + " " + names[2] + " --threads 2 --rek " + file("mean.rek")).code, 0);

    using Parameter = Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter;
    const auto listed = [&] {
        SmartPointer<Parameter> p(new Parameter);
        p->inputFileList.setValue(Tarn::Kito::Container::ListPtr<std::string>(std::list<std::string>(names.begin(), names.end())));
        return p;
    };
    const SmartPointer<Parameter> direct = listed();
    Tarn::Lumo::ArithmeticOperators::AverageImage::Operator<MemoryVolumePtr<Tarn::uint16>> average;
    average.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(direct));
    expectSameVoxels<Tarn::uint16>(direct->outputVolume.getValue(), file("mean.rek"));
    // (x + 2x + x + 1) / 3 rounded half up, by hand at one voxel.
    const MemoryVolumePtr<Tarn::uint16> mean = loadRek<Tarn::uint16>(file("mean.rek"));
    const double x = voxelAt(3, 2, 5);
    EXPECT_EQ(*mean->getPosOffset(Position<SizeType>(3, 2, 5)), static_cast<Tarn::uint16>(std::floor((4 * x + 1) / 3 + 0.5)));

    // The facade, as a host reaches it, still ends in the class factory.
    Tarn::Lumo_DLL::IAverageImage::IOperator facade;
    EXPECT_THROW(facade.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(listed())), std::invalid_argument);
}

TEST_F(ToolCommands, WindowLookupTableAndConversionAreTheFacades)
{
    ASSERT_EQ(lumo("window " + rek() + " --min 200 --max 700 --background 7 --rek " + file("window.rek")).code, 0);
    expectSameVoxels<Tarn::uint16>(applied<Tarn::Lumo_DLL::IRangePassTransformation>([&](auto& p) {
                                       p.inputVolume.setValue(volume());
                                       p.inputMinThreshold.setValue(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<Tarn::uint16>(200)));
                                       p.inputMaxThreshold.setValue(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<Tarn::uint16>(700)));
                                       p.inputBackgroundValue.setValue(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<Tarn::uint16>(7)));
                                   })->outputVolume.getValue(),
                                   file("window.rek"));

    // The table's keys that the file names, every other key 0.
    FileTest::writeFile(file("table.txt"), FileTest::Bytes{'1', '0', '0', ' ', '0', '.', '5', '\n', '5', '0', '0', ' ', '2', '.', '2', '5', '\n'});
    ASSERT_EQ(lumo("lut " + rek() + " --table " + file("table.txt") + " --rek " + file("lut.rek")).code, 0);
    Tarn::Kito::Container::TablePtr<Tarn::uint16, Tarn::float32> table(new Tarn::Kito::Container::Table<Tarn::uint16, Tarn::float32>);
    table->size = 65536;
    table->tertOffsetToOrigin = 0;
    table->volume = MemoryVolumePtr<Tarn::float32>(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(65536, 1, 1)));
    table->volume->fill(0.0f);
    table->volume->getIterator()[100] = 0.5f;
    table->volume->getIterator()[500] = 2.25f;
    expectSameVoxels<Tarn::float32>(applied<Tarn::Lumo_DLL::ILookupTableConversion>([&](auto& p) {
                                        p.inputVolume.setValue(volume());
                                        p.outputVolume.setValue(placeholder<Tarn::float32>());
                                        p.inputLookupTable.setValue(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(table));
                                    })->outputVolume.getValue(),
                                    file("lut.rek"));

    // The conversion into uint8 without the check wraps as the cast does: a plain loop here.
    ASSERT_EQ(lumo("convert " + rek() + " --type uint8 --unchecked --rek " + file("bytes.rek")).code, 0);
    const MemoryVolumePtr<Tarn::uint8> bytes = loadRek<Tarn::uint8>(file("bytes.rek"));
    ASSERT_FALSE(bytes == 0);
    const std::vector<Tarn::uint8> got = FileTest::storageVoxels(bytes);
    std::vector<Tarn::uint8> want;
    for (SizeType t = 0; t < T; ++t)
        for (SizeType s = 0; s < S; ++s)
            for (SizeType p = 0; p < P; ++p) want.push_back(static_cast<Tarn::uint8>(voxelAt(p, s, t)));
    EXPECT_EQ(got, want);
}

TEST_F(ToolCommands, ReadRawGivesTheRawReadersVolume)
{
    const std::vector<Tarn::int16> voxels = {-3, 7, 1000, -32768, 32767, 0, 5, 6, 9, -1, 2, 4};
    FileTest::writeFile(file("small.raw"), FileTest::zeros(5) + bytesOf(voxels));
    const json result = jsonOf("read-raw " + file("small.raw") + " --raw-type int16 --extent 3,2,2 --skip 5 --rek " + file("raw.rek"));
    EXPECT_EQ(result["result"]["extent"], json::array({3, 2, 2}));
    EXPECT_EQ(result["result"]["statistics"]["minimum"], -32768);
    EXPECT_EQ(result["written"], json::array({file("raw.rek")}));
    expectSameVoxels<Tarn::int16>(applied<Tarn::Lumo_DLL::IVolumeFromRawFileInput>([&](auto& p) {
                                      p.inputFilePath.setValue(file("small.raw"));
                                      p.inputHeaderSkip.setValue(5);
                                      p.inputEndPrim.setValue(2);
                                      p.inputEndSec.setValue(1);
                                      p.inputEndTert.setValue(1);
                                      p.inputDataType.setValue(15);
                                  })->outputVolume.getValue(),
                                  file("raw.rek"));
}

/// A PNG file decoded: its size, bit depth and grey levels row by row.
struct Decoded {
    png_uint_32 width = 0, height = 0;
    int bits = 0, colour = -1;
    std::vector<unsigned> levels;
};

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// libpng reports a broken file by a long jump back into this frame: everything with a destructor
/// is made before it, so that the jump leaves nothing behind; a broken file gives no levels.
Decoded decodePng(const std::string& path)
{
    Decoded image;
    std::vector<png_byte> row;
    const std::unique_ptr<std::FILE, FileCloser> in(std::fopen(path.c_str(), "rb"));
    if (!in) return image;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        image.levels.clear();
        return image;
    }
    png_init_io(png, in.get());
    png_read_info(png, info);
    image.width = png_get_image_width(png, info);
    image.height = png_get_image_height(png, info);
    image.bits = png_get_bit_depth(png, info);
    image.colour = png_get_color_type(png, info);
    row.resize(png_get_rowbytes(png, info));
    for (png_uint_32 y = 0; y < image.height; ++y) {
        png_read_row(png, row.data(), nullptr);
        for (png_uint_32 x = 0; x < image.width; ++x)
            image.levels.push_back(image.bits == 16 ? (unsigned(row[2 * x]) << 8 | row[2 * x + 1]) : row[x]);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return image;
}

TEST_F(ToolCommands, ASliceOfAnyPlaneIsAPNGImageOfItsOwnRangeOrOfAWindow)
{
    // Plane XZ at sec 3: prim across, tert down; black at the slice's lowest, white at its highest.
    ASSERT_EQ(lumo("slice " + rek() + " --plane XZ --index 3 --png " + file("xz.png")).code, 0);
    Decoded image = decodePng(file("xz.png"));
    ASSERT_EQ(image.width, P);
    ASSERT_EQ(image.height, T);
    EXPECT_EQ(image.bits, 8);
    EXPECT_EQ(image.colour, PNG_COLOR_TYPE_GRAY);
    double low = 1e9, high = -1e9;
    for (SizeType t = 0; t < T; ++t)
        for (SizeType p = 0; p < P; ++p) low = std::min<double>(low, voxelAt(p, 3, t)), high = std::max<double>(high, voxelAt(p, 3, t));
    for (SizeType t = 0; t < T; ++t)
        for (SizeType p = 0; p < P; ++p)
            EXPECT_EQ(image.levels[t * P + p], unsigned((voxelAt(p, 3, t) - low) * 255.0 / (high - low) + 0.5)) << p << "," << t;

    // 16 bits over the window 100 to 600: below black, above white.
    ASSERT_EQ(lumo("slice " + rek() + " --plane YZ --index 5 --bits 16 --min 100 --max 600 --png " + file("yz.png")).code, 0);
    image = decodePng(file("yz.png"));
    ASSERT_EQ(image.width, S);
    ASSERT_EQ(image.height, T);
    EXPECT_EQ(image.bits, 16);
    for (SizeType t = 0; t < T; ++t)
        for (SizeType s = 0; s < S; ++s) {
            const double level = std::clamp((voxelAt(5, s, t) - 100.0) * 65535.0 / 500.0 + 0.5, 0.0, 65535.0);
            EXPECT_EQ(image.levels[t * S + s], unsigned(level)) << s << "," << t;
        }

    // A window on a command's result, by its own names where --min and --max are the command's.
    ASSERT_EQ(lumo("window " + rek() + " --min 0 --max 65535 --background 0 --png-min 0 --png-max 1000 --slice 7 --png " +
                   file("w.png"))
                  .code,
              0);
    image = decodePng(file("w.png"));
    ASSERT_EQ(image.levels.size(), P * S);
    for (SizeType s = 0; s < S; ++s)
        for (SizeType p = 0; p < P; ++p)
            EXPECT_EQ(image.levels[s * P + p], unsigned(voxelAt(p, s, 7) * 255.0 / 1000.0 + 0.5)) << p << "," << s;
}

TEST_F(ToolCommands, BadUsageExitsWithTwoAndSaysWhy)
{
    ToolRun run = lumoErrors("sum");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "lumo: volume is required\nRun 'lumo sum --help' for more.\n");
    run = lumoErrors("project-max " + rek() + " --direction up");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "lumo: Could not convert: --direction = up\nRun 'lumo project-max --help' for more.\n");
    run = lumoErrors("median " + rek() + " --png x.png");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "lumo: The following arguments were not expected: x.png --png\nRun 'lumo median --help' for more.\n");
    run = lumoErrors("slice " + rek() + " --png x.png --bits 12");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "lumo: --bits: 12 not in {8,16}");
    run = lumoErrors("slice " + rek() + " --png " + file("x.png") + " --min 3");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "lumo: the image's window takes both ends, --min and --max\nRun 'lumo slice --help' for more.\n");
    run = lumoErrors("frobnicate");
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.out, "lumo: unknown command 'frobnicate'\nRun 'lumo --help' for more.\n");
    // Each command has its own help, on standard output, with exit code 0.
    run = lumo("count-in-range --help");
    EXPECT_EQ(run.code, 0);
    EXPECT_NE(run.out.find("--threads"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("IFrequencyOfValuesInsideRange"), std::string::npos) << run.out;
}

TEST_F(ToolCommands, AMissingFileAndABrokenHeaderAreLibraryFailures)
{
    ToolRun run = lumoErrors("statistics " + file("nothing.rek"));
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "lumo: Tarn::AncillaryKitoOperators::RekTypeReader::Operator failed to open file\n");
    FileTest::writeFile(file("short.rek"), bytesOf(FileTest::headerWith(16, {4, 4, 4}, {4, 4, 4})) + FileTest::zeros(100));
    run = lumoErrors("project-max " + file("short.rek") + " --rek " + file("never.rek"));
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "lumo: Tarn::AncillaryKitoOperators::RekTypeReader::Operator file size does not fit to the "
                       "dimensions specified in the header\n");
    EXPECT_FALSE(std::filesystem::exists(file("never.rek")));
}

/// Starts the tool with arguments, its standard output on a pipe and its errors in a file.
pid_t start(const std::vector<std::string>& arguments, int& output, const std::string& errors)
{
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0) return -1;
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(pipeEnds[1], STDOUT_FILENO);
        const int errorFile = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ::dup2(errorFile, STDERR_FILENO);
        ::close(pipeEnds[0]);
        std::vector<char*> argv{const_cast<char*>(LUMO_TOOL)};
        for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        ::execv(LUMO_TOOL, argv.data());
        ::_exit(127);
    }
    ::close(pipeEnds[1]);
    output = pipeEnds[0];
    return child;
}

TEST_F(ToolCommands, SIGINTStopsALongRunWithoutAResult)
{
    // 1024 x 1024 x 256 bytes of zeros, a sparse file that costs no disk. The copy is quick; the
    // statistics of its 2^28 voxels, which come before the REK file is written, take about a second
    // and look at their stop flag after every slice.
    const std::string raw = file("large.raw"), out = file("copy.rek"), errors = file("errors.txt");
    {
        const int fd = ::open(raw.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(::ftruncate(fd, 1024 * 1024 * 256), 0);
        ::close(fd);
    }
    int output = -1;
    const pid_t child =
        start({"copy", raw, "--raw-type", "uint8", "--extent", "1024,1024,256", "--rek", out}, output, errors);
    ASSERT_GT(child, 0);
    // The tool describes its volume once it has read it, just before the operators start.
    std::string said;
    char c;
    while (said.find('\n') == std::string::npos && ::read(output, &c, 1) == 1) said += c;
    EXPECT_EQ(said, raw + ": 1024 x 1024 x 256 Tarn::uint8\n");
    // A quarter of a second on the copy is done and the statistics are under way; the tool's
    // watcher passes the stop on at its next look, a tenth of a second later at most.
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    ::kill(child, SIGINT);
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(output);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
    const std::string message = ToolTest::contentOf(errors);
    const std::string ending = "; no result written\n";
    ASSERT_GT(message.size(), ending.size()) << message;
    EXPECT_EQ(message.substr(message.size() - ending.size()), ending) << message;
    // Where it stopped: in the statistics at less than all of them; on a machine so busy that the
    // copy was still running, in the copy, or just after it.
    unsigned reached = 100;
    char after[64] = "";
    const bool inStatistics =
        std::sscanf(message.c_str(), "lumo: statistics stopped at %u%% after %63[^;]", &reached, after) == 2;
    const bool inCopy = std::sscanf(message.c_str(), "lumo: copy stopped at %u%% after %63[^;]", &reached, after) == 2;
    const bool afterCopy = message.rfind("lumo: stopped after copy (", 0) == 0;
    EXPECT_TRUE(inStatistics || inCopy || afterCopy) << message;
    if (inStatistics || inCopy) {
        EXPECT_LT(reached, 100u) << message;
    }
    EXPECT_FALSE(std::filesystem::exists(out));
}

} // namespace
