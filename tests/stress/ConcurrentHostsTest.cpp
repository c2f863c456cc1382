// Several hosts at once: four threads apply different facades to volumes of their own, a thousand
// applies in all, file-backed volumes among them, and every result equals that of the same apply
// run alone, one after another.
#include "StressSupport.h"

#include <Kito/BufferedInputFileAllocator>
#include <Kito/Data>
#include <Kito/InputFileAllocator>
#include <Kito/Orientation>
#include <Kito/Table>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <support/RandomVolume.h>
#include <support/Views.h>
#include <support/VolumeFiles.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Tarn::Lumo_DLL;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Volume;
using Tarn::Kito::VolumePtr;
using Tarn::Kito::Allocator::BufferedInputFileAllocator;
using Tarn::Kito::Allocator::InputFileAllocator;
using Tarn::Kito::Container::Table;
using Tarn::Kito::Container::TablePtr;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::IData;
using TestSupport::asComposite;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

using Bytes = std::vector<unsigned char>;

template <class V> SmartPointer<IVolume> asVolume(const V& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }

template <class T> void append(Bytes& bytes, const T& value)
{
    const unsigned char* b = reinterpret_cast<const unsigned char*>(&value);
    bytes.insert(bytes.end(), b, b + sizeof(T));
}

/// The extent and the voxels of a result volume's view, in walk order; empty for none.
template <class T> Bytes bytesOf(const SmartPointer<IVolume>& volume)
{
    Bytes bytes;
    const MemoryVolumePtr<T> typed = DynamicCast<MemoryVolumePtr<T>>(volume);
    if (typed == 0) return bytes;
    append(bytes, typed->getDimension().prim);
    append(bytes, typed->getDimension().sec);
    append(bytes, typed->getDimension().tert);
    for (const T& v : TestSupport::valuesInView(*typed)) append(bytes, v);
    return bytes;
}

template <class T> Bytes bytesOfData(const SmartPointer<IData>& data)
{
    Bytes bytes;
    const DataPtr<T> typed = DynamicCast<DataPtr<T>>(data);
    if (typed != 0) append(bytes, typed->getValue());
    return bytes;
}

template <class T> SmartPointer<IData> dataOf(T value) { return DynamicCast<SmartPointer<IData>>(DataPtr<T>(value)); }

template <class T> MemoryVolumePtr<T> oneVoxel() { return MemoryVolumePtr<T>(new MemoryVolume<T>(Dimension<SizeType>(1, 1, 1))); }

/// One apply of one facade, with everything it reads made beforehand and owned by it alone, and
/// the bytes of its results.
struct Apply {
    std::string name;
    std::function<Bytes()> run;
};

/// A small volume of random voxels, of an extent and in a view drawn from engine.
template <class T> MemoryVolumePtr<T> smallVolume(std::mt19937_64& engine)
{
    std::uniform_int_distribution<SizeType> extent(3, 24);
    const Dimension<SizeType> size(extent(engine), extent(engine), extent(engine));
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(size, engine());
    static const Orientation orientations[] = {Orientation(0, 2, 4), Orientation(2, 0, 4), Orientation(5, 2, 0),
                                               Orientation(1, 4, 2)};
    volume->setOrientation(orientations[engine() % 4]);
    return volume;
}

/// The median writes one plane of an output of the input view's extent and leaves the rest as it
/// finds it: the host hands in one of zeros there, so that the whole output is a result.
template <class T> MemoryVolumePtr<T> zeros(const Dimension<SizeType>& extent)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(extent));
    T* voxels = volume->getPosOffset(Position<SizeType>(0, 0, 0));
    std::fill(voxels, voxels + extent.size(), T(0));
    return volume;
}

template <class Face, class Out> Apply projection(const char* name, std::mt19937_64& engine, bool viewSizedOutput = false)
{
    const MemoryVolumePtr<Tarn::uint16> volume = smallVolume<Tarn::uint16>(engine);
    const Tarn::uint64 direction = engine() % 3;
    return {name, [volume, direction, viewSizedOutput] {
                typename Face::IOperator op;
                SmartPointer<typename Face::Parameter> p = TestSupport::parameterWithInput<typename Face::Parameter>(volume);
                p->inputDirection.setValue(direction);
                p->outputVolume.setValue(asVolume(viewSizedOutput ? zeros<Out>(volume->getDimension()) : oneVoxel<Out>()));
                op.apply(asComposite(p));
                return bytesOf<Out>(p->outputVolume.getValue());
            }};
}

/// A volume file of random voxels and its voxels, written once and read by many applies.
struct VolumeFile {
    std::string path;
    Dimension<SizeType> size;
};

template <class Source> Apply copyFromFile(const char* name, const VolumeFile& file)
{
    return {name, [file] {
                VolumePtr<Tarn::int16, Source> source(new Volume<Tarn::int16, Source>(file.path, file.size));
                ICopy::IOperator op;
                SmartPointer<ICopy::Parameter> p = TestSupport::parameterWithInput<ICopy::Parameter>(source);
                // An output in memory chooses the instance that reads the file.
                p->outputVolume.setValue(asVolume(oneVoxel<Tarn::int16>()));
                op.apply(asComposite(p));
                return bytesOf<Tarn::int16>(p->outputVolume.getValue());
            }};
}

/// The i-th apply of the mix: each kind in turn, each with volumes of its own.
Apply applyNumber(int i, std::mt19937_64& engine, const std::vector<VolumeFile>& files)
{
    switch (i % 15) {
    case 0: {
        const MemoryVolumePtr<Tarn::float32> volume = smallVolume<Tarn::float32>(engine);
        return {"ISumOfVoxels", [volume] {
                    ISumOfVoxels::IOperator op;
                    auto p = TestSupport::parameterWithInput<ISumOfVoxels::Parameter>(volume);
                    op.apply(asComposite(p));
                    Bytes bytes;
                    append(bytes, p->outputSum.getValue());
                    return bytes;
                }};
    }
    case 1: {
        const MemoryVolumePtr<Tarn::int16> volume = smallVolume<Tarn::int16>(engine);
        return {"IStatisticsFromVolume", [volume] {
                    IStatisticsFromVolume::IOperator op;
                    auto p = TestSupport::parameterWithInput<IStatisticsFromVolume::Parameter>(volume);
                    op.apply(asComposite(p));
                    Bytes bytes = bytesOfData<Tarn::int16>(p->outputMinimum.getValue());
                    const Bytes maximum = bytesOfData<Tarn::int16>(p->outputMaximum.getValue());
                    bytes.insert(bytes.end(), maximum.begin(), maximum.end());
                    append(bytes, p->outputMean.getValue());
                    append(bytes, p->outputVariance.getValue());
                    append(bytes, p->outputStandardDeviation.getValue());
                    return bytes;
                }};
    }
    case 2: return projection<IProjectionMax, Tarn::uint16>("IProjectionMax", engine);
    case 3: return projection<IProjectionSum, Tarn::float32>("IProjectionSum", engine);
    case 4: return projection<IProjectionMean, Tarn::float64>("IProjectionMean", engine);
    case 5: return projection<IProjectionMedian, Tarn::uint16>("IProjectionMedian", engine, true);
    case 6: {
        const MemoryVolumePtr<Tarn::int16> volume = smallVolume<Tarn::int16>(engine);
        return {"ICopy", [volume] {
                    ICopy::IOperator op;
                    auto p = TestSupport::parameterWithInput<ICopy::Parameter>(volume);
                    op.apply(asComposite(p));
                    return bytesOf<Tarn::int16>(p->outputVolume.getValue());
                }};
    }
    case 7: return copyFromFile<InputFileAllocator>("ICopy from InputFileAllocator", files[engine() % files.size()]);
    case 8:
        return copyFromFile<BufferedInputFileAllocator>("ICopy from BufferedInputFileAllocator",
                                                        files[engine() % files.size()]);
    case 9: {
        const MemoryVolumePtr<Tarn::uint8> volume = smallVolume<Tarn::uint8>(engine);
        const double lower = static_cast<double>(engine() % 128), upper = lower + static_cast<double>(engine() % 128);
        return {"IFrequencyOfValuesInsideRange", [volume, lower, upper] {
                    IFrequencyOfValuesInsideRange::IOperator op;
                    auto p = TestSupport::parameterWithInput<IFrequencyOfValuesInsideRange::Parameter>(volume);
                    p->inputRangeLowerValue.setValue(dataOf(lower));
                    p->inputRangeUpperValue.setValue(dataOf(upper));
                    op.apply(asComposite(p));
                    Bytes bytes;
                    append(bytes, p->outputFrequency.getValue());
                    return bytes;
                }};
    }
    case 10: {
        const MemoryVolumePtr<Tarn::uint8> volume = smallVolume<Tarn::uint8>(engine);
        TablePtr<Tarn::uint8, Tarn::float32> table(new Table<Tarn::uint8, Tarn::float32>);
        table->volume = TestSupport::makeRandomVolume<Tarn::float32>(Dimension<SizeType>(256, 1, 1), engine());
        table->tertOffsetToOrigin = 0;
        table->size = 256;
        return {"ILookupTableConversion", [volume, table] {
                    ILookupTableConversion::IOperator op;
                    auto p = TestSupport::parameterWithInput<ILookupTableConversion::Parameter>(volume);
                    p->inputLookupTable.setValue(DynamicCast<SmartPointer<IComposite>>(table));
                    p->outputVolume.setValue(asVolume(oneVoxel<Tarn::float32>()));
                    op.apply(asComposite(p));
                    return bytesOf<Tarn::float32>(p->outputVolume.getValue());
                }};
    }
    case 11: {
        const MemoryVolumePtr<Tarn::int32> volume = smallVolume<Tarn::int32>(engine);
        return {"IRangePassTransformation", [volume] {
                    IRangePassTransformation::IOperator op;
                    auto p = TestSupport::parameterWithInput<IRangePassTransformation::Parameter>(volume);
                    p->inputMinThreshold.setValue(dataOf(Tarn::int32(-1000000000)));
                    p->inputMaxThreshold.setValue(dataOf(Tarn::int32(1000000000)));
                    p->inputBackgroundValue.setValue(dataOf(Tarn::int32(5)));
                    op.apply(asComposite(p));
                    return bytesOf<Tarn::int32>(p->outputVolume.getValue());
                }};
    }
    case 12: {
        // The height map turns its input: this volume is this apply's alone, and is turned back.
        const MemoryVolumePtr<Tarn::uint8> volume = smallVolume<Tarn::uint8>(engine);
        const Orientation before = volume->getOrientation();
        const Tarn::uint64 direction = engine() % 3;
        return {"IHeightMap then IOrthogonalPlanarisationOperator", [volume, before, direction] {
                    volume->setOrientation(before);
                    IHeightMap::IOperator op;
                    auto p = TestSupport::parameterWithInput<IHeightMap::Parameter>(volume);
                    p->inputDirection.setValue(direction);
                    p->outputVolume.setValue(asVolume(oneVoxel<Tarn::uint16>()));
                    op.apply(asComposite(p));
                    Bytes bytes = bytesOf<Tarn::uint16>(p->outputVolume.getValue());
                    if (direction != 2) return bytes;
                    // Flattened in the view the height map left, as a host does.
                    IOrthogonalPlanarisationOperator::IOperator flatten;
                    auto q = TestSupport::parameterWithInput<IOrthogonalPlanarisationOperator::Parameter>(volume);
                    q->inputHeightMapVolume.setValue(p->outputVolume.getValue());
                    q->inputNumberOfThreads.setValue(0);
                    flatten.apply(asComposite(q));
                    const Bytes flat = bytesOf<Tarn::uint8>(q->outputVolume.getValue());
                    bytes.insert(bytes.end(), flat.begin(), flat.end());
                    return bytes;
                }};
    }
    case 13: {
        const MemoryVolumePtr<Tarn::float64> volume = smallVolume<Tarn::float64>(engine);
        volume->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 2, 2), Position<SizeType>(1, 1, 1)));
        return {"IQuickSelectMedianValueOfRoi", [volume] {
                    IQuickSelectMedianValueOfRoi::IOperator op;
                    auto p = TestSupport::parameterWithInput<IQuickSelectMedianValueOfRoi::Parameter>(volume);
                    op.apply(asComposite(p));
                    return bytesOfData<Tarn::float64>(p->outputValue.getValue());
                }};
    }
    default: {
        const SizeType triangles = 1 + engine() % 40;
        MemoryVolumePtr<Tarn::float64> table(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3 * triangles, 3, 1)));
        TestSupport::fillRandom(*table, engine());
        return {"ISumOfTriangleAreas", [table] {
                    ISumOfTriangleAreas::IOperator op;
                    SmartPointer<ISumOfTriangleAreas::Parameter> p(new ISumOfTriangleAreas::Parameter);
                    p->inputTriangleVolume.setValue(asVolume(table));
                    p->inputVoxelSizePrimInMicrometers.setValue(1.0);
                    p->inputVoxelSizeSecInMicrometers.setValue(2.0);
                    p->inputVoxelSizeTertInMicrometers.setValue(3.0);
                    op.apply(asComposite(p));
                    Bytes bytes;
                    append(bytes, p->outputSumOfTriangleAreas.getValue());
                    return bytes;
                }};
    }
    }
}

/// The bytes of a run, or the text of its failure, which then must be the same in both passes.
Bytes outcomeOf(const Apply& apply)
{
    try {
        return apply.run();
    } catch (const std::exception& e) {
        const std::string text = std::string("failed: ") + e.what();
        return Bytes(text.begin(), text.end());
    }
}

TEST(ConcurrentHosts, FourHostsGiveWhatOneAfterAnotherGives)
{
    const TestSupport::ScratchDirectory scratch;
    std::mt19937_64 engine(2026);
    std::vector<VolumeFile> files;
    for (int f = 0; f < 3; ++f) {
        const Dimension<SizeType> size(8 + f * 5, 9 + f * 3, 7 + f * 4);
        const MemoryVolumePtr<Tarn::int16> voxels = TestSupport::makeRandomVolume<Tarn::int16>(size, engine());
        const std::string path = scratch.file("volume" + std::to_string(f) + ".rek");
        TestSupport::writeVolumeFile(path, TestSupport::storageVoxels(*voxels));
        files.push_back(VolumeFile{path, size});
    }

    const int count = 1000, hosts = 4;
    std::vector<Apply> applies;
    for (int i = 0; i < count; ++i) applies.push_back(applyNumber(i, engine, files));

    std::vector<Bytes> alone(count);
    for (int i = 0; i < count; ++i) alone[i] = outcomeOf(applies[i]);

    // Host h takes every fourth apply from h on, so that each runs all kinds against the others.
    std::vector<Bytes> together(count);
    std::vector<std::thread> threads;
    for (int h = 0; h < hosts; ++h)
        threads.emplace_back([&, h] {
            for (int i = h; i < count; i += hosts) together[i] = outcomeOf(applies[i]);
        });
    for (std::thread& t : threads) t.join();

    int failures = 0, differences = 0;
    for (int i = 0; i < count; ++i) {
        const std::string text(alone[i].begin(), alone[i].end());
        if (text.rfind("failed: ", 0) == 0) {
            ++failures;
            ADD_FAILURE() << applies[i].name << " (apply " << i << ") " << text;
        }
        if (alone[i].empty()) ADD_FAILURE() << applies[i].name << " (apply " << i << ") gave no result";
        if (together[i] != alone[i]) {
            ++differences;
            ADD_FAILURE() << applies[i].name << " (apply " << i << ") gave another result beside other hosts";
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(differences, 0);
}

} // namespace
