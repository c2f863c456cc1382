// lumo: the library's command-line host. One command per facade, run on REK files, raw files or
// the built-in volume, with results as text or JSON, volumes as REK files and slices as PNG images.
// Exit codes: 0 success, 1 a failure reported by the library, 2 bad usage, 130 stopped by Ctrl-C.
#include "BuiltinVolume.h"
#include "DirectionalDemo.h"
#include "PngImage.h"
#include "VolumeFiles.h"
#include "Watch.h"

#include <AncillaryKitoOperators/VoxelTypeConversionParameter>
#include <Kito/Kito>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <list>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using Json = nlohmann::ordered_json;
using UsageError = LumoTool::UsageError;
using VolumeHandle = SmartPointer<Tarn::Kito::IVolume>;

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;
constexpr int exitStopped = 130;

/// What the command line gave. One command runs per process, so its options share one object.
struct Options {
    std::string volume;
    std::vector<std::string> volumes;
    std::string region;
    std::string rawType, extent, skip, rek;
    std::string png;
    int bits = 8;
    LumoTool::GreyWindow window;
    SizeType slice = 0;
    Tarn::uint64 direction = 0;
    bool hasDirection = false;
    std::string type;
    int threads = 0;
    std::string out = "lumo-demo";
    double voxelSize = LumoTool::builtinVoxelSizeInMicrometers;
    // window and count-in-range; as texts, since a window's values are of the volume's voxel type
    std::string minimum, maximum, background;
    std::string table;
    bool noRounding = false, unchecked = false;
    std::string labels;
    Tarn::uint64 face = 0;
    std::string plane;
    SizeType index = 0, count = 0;
    std::string heightMap, normalsX, normalsY, normalsZ;
    float voxelSizeXY = 1.0f, voxelSizeZ = 1.0f;
    bool json = false;
    bool quiet = false;

    LumoTool::FileOptions inputFiles;
    /// The command has --slice: its PNG shows slice K of a 3-D result.
    bool pngOfSlice = false;
    bool hasRegion = false;
    Tarn::Kito::RegionOfInterest<SizeType> roi;
};

Options options;

/// The text a reader sees, or with --json nothing but one JSON document at the end, which the
/// commands fill as they go.
Json document = Json::object();

void say(const char* format, ...) __attribute__((format(printf, 1, 2)));
void say(const char* format, ...)
{
    if (options.json) return;
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
}

template <class P> SmartPointer<IComposite> asComposite(const SmartPointer<P>& parameter)
{
    return DynamicCast<SmartPointer<IComposite>>(parameter);
}

/// Runs a facade on its parameter object, watched: progress bar, Ctrl-C.
template <class Facade, class P> void run(Facade& facade, const SmartPointer<P>& parameter, const std::string& what)
{
    LumoTool::runWatched(facade, asComposite(parameter), what);
}

std::string describe(const Tarn::Kito::IVolume& volume)
{
    std::ostringstream text;
    text << volume.getDimPrim() << " x " << volume.getDimSec() << " x " << volume.getDimTert() << " "
         << volume.getVoxelTypeName();
    return text.str();
}

Json volumeJson(const Tarn::Kito::IVolume& volume)
{
    return Json{{"extent", {volume.getDimPrim(), volume.getDimSec(), volume.getDimTert()}},
                {"type", volume.getVoxelTypeName()}};
}

/// A value the library gives as text ("1003", "119.84722137451171875"), as a JSON number where it
/// is one; NaN and the infinities stay text, which JSON has no numbers for.
Json numberOf(const std::string& text)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end == text.c_str() + text.size() && !text.empty() && std::isfinite(value)) {
        if (text.find_first_of(".eE") == std::string::npos && text[0] == '-') return Json(static_cast<long long>(value));
        if (text.find_first_of(".eE") == std::string::npos) return Json(static_cast<unsigned long long>(value));
        return Json(value);
    }
    return Json(text);
}

Json finite(double value) { return std::isfinite(value) ? Json(value) : Json(std::to_string(value)); }

Tarn::Kito::RegionOfInterest<SizeType> parseRegion(const std::string& text)
{
    std::vector<SizeType> numbers;
    std::istringstream in(text);
    std::string part;
    while (std::getline(in, part, ',')) {
        try {
            std::size_t used = 0;
            if (part.empty() || part[0] == '-') throw std::invalid_argument(part);
            numbers.push_back(std::stoull(part, &used));
            if (used != part.size()) throw std::invalid_argument(part);
        } catch (const std::logic_error&) {
            throw UsageError("a region is six numbers: prim,sec,tert,sizePrim,sizeSec,sizeTert");
        }
    }
    if (numbers.size() != 6) throw UsageError("a region is six numbers: prim,sec,tert,sizePrim,sizeSec,sizeTert");
    return Tarn::Kito::RegionOfInterest<SizeType>(Tarn::Kito::Dimension<SizeType>(numbers[3], numbers[4], numbers[5]),
                                                  Tarn::Kito::Position<SizeType>(numbers[0], numbers[1], numbers[2]));
}

double parseNumber(const std::string& text, const char* what)
{
    try {
        std::size_t used = 0;
        const double value = std::stod(text, &used);
        if (used == text.size()) return value;
    } catch (const std::logic_error&) {
    }
    throw UsageError(std::string(what) + " takes a number");
}

/// The volume a name stands for: 'builtin', a REK file, or with the raw options a raw file.
VolumeHandle volumeNamed(const std::string& name, const LumoTool::FileOptions& files)
{
    if (name == "builtin" && !files.raw)
        return DynamicCast<VolumeHandle>(LumoTool::makeBuiltinVolume());
    return LumoTool::readVolumeFile(name, files);
}

/// The command's volume argument with its region, described in a line and in the document.
VolumeHandle input(const std::string& name, const LumoTool::FileOptions& files)
{
    const VolumeHandle volume = volumeNamed(name, files);
    if (options.hasRegion) volume->setRoi(options.roi);
    say("%s: %s\n", name.c_str(), describe(*volume).c_str());
    Json entry = Json{{"name", name}};
    entry.update(volumeJson(*volume));
    document["inputs"].push_back(entry);
    return volume;
}

/// A second volume of a command (labels, height map, normals): 'builtin', a REK file, or a raw
/// file written raw:T:P,S,T[:N]:FILE, since the command's own --raw-type, --extent and --skip
/// describe its first volume. The path comes last and may hold colons of its own.
VolumeHandle auxiliary(const std::string& name)
{
    const std::string prefix = "raw:";
    if (name.rfind(prefix, 0) != 0) return volumeNamed(name, LumoTool::FileOptions());
    std::vector<std::string> fields;
    std::string rest = name.substr(prefix.size());
    for (int i = 0; i < 3; ++i) {
        const std::string::size_type colon = rest.find(':');
        if (colon == std::string::npos) break;
        fields.push_back(rest.substr(0, colon));
        rest = rest.substr(colon + 1);
    }
    // A third field of digits is the skip; anything else belongs to the path.
    if (fields.size() == 3 && (fields[2].empty() || fields[2].find_first_not_of("0123456789") != std::string::npos)) {
        rest = fields[2] + ":" + rest;
        fields.pop_back();
    }
    if (fields.size() < 2 || rest.empty())
        throw UsageError("a raw second volume is written raw:T:P,S,T[:N]:FILE, not " + name);
    const std::string skip = fields.size() == 3 ? fields[2] : std::string();
    return volumeNamed(rest, LumoTool::fileOptionsOf(fields[0], fields[1], skip, std::string()));
}

template <class T> using InMemory = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;


/// Calls f with a null pointer of the voxel type whose short name ("uint16") or full name
/// ("Tarn::uint16") is given: the one place where the tool turns a type name into a type.
template <class F> void withVoxelType(const std::string& name, F&& f)
{
    const std::string shortName = name.rfind("Tarn::", 0) == 0 ? name.substr(6) : name;
    if (shortName == "int8") return f(static_cast<Tarn::int8*>(nullptr));
    if (shortName == "uint8") return f(static_cast<Tarn::uint8*>(nullptr));
    if (shortName == "int16") return f(static_cast<Tarn::int16*>(nullptr));
    if (shortName == "uint16") return f(static_cast<Tarn::uint16*>(nullptr));
    if (shortName == "int32") return f(static_cast<Tarn::int32*>(nullptr));
    if (shortName == "uint32") return f(static_cast<Tarn::uint32*>(nullptr));
    if (shortName == "int64") return f(static_cast<Tarn::int64*>(nullptr));
    if (shortName == "uint64") return f(static_cast<Tarn::uint64*>(nullptr));
    if (shortName == "float32") return f(static_cast<Tarn::float32*>(nullptr));
    if (shortName == "float64") return f(static_cast<Tarn::float64*>(nullptr));
    throw UsageError("unknown voxel type '" + name + "'");
}

/// A volume of one voxel whose only use is to choose an operator's output type.
SmartPointer<Tarn::Kito::IVolume> placeholderOfType(const std::string& name)
{
    SmartPointer<Tarn::Kito::IVolume> result;
    withVoxelType(name, [&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        InMemory<T> volume(new Tarn::Kito::Volume<T, Tarn::Kito::Allocator::SingleBlockAllocator>(
            Tarn::Kito::Dimension<SizeType>(1, 1, 1)));
        result = DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume);
    });
    return result;
}


/// Writes the first slice of the view as a PNG image of the given bits and window. hideLargest
/// leaves the type's largest value, a height map's "not found", out of the grey scale.
void writeSlice(const VolumeHandle& slice, const std::string& path, bool hideLargest = false, int bits = 8,
                const LumoTool::GreyWindow& window = LumoTool::GreyWindow())
{
    withVoxelType(slice->getVoxelTypeName(), [&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        const InMemory<T> typed = DynamicCast<InMemory<T>>(slice);
        if (typed == 0) throw std::runtime_error("the result is not held in memory");
        const T largest = std::numeric_limits<T>::max();
        LumoTool::writePng(path, LumoTool::imageOf(typed, hideLargest ? &largest : nullptr, bits, window));
    });
}

double sumOf(const VolumeHandle& volume)
{
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> p(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    p->inputVolume.setValue(volume);
    Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
    run(facade, p, "sum");
    return p->outputSum.getValue();
}

/// The statistics of a parameter that has them (of a volume or of one label), as JSON.
template <class P> Json statisticsJson(const P& p)
{
    return Json{{"minimum", numberOf(p.outputMinimum.getValue()->toString())},
                {"maximum", numberOf(p.outputMaximum.getValue()->toString())},
                {"mean", finite(p.outputMean.getValue())},
                {"variance", finite(p.outputVariance.getValue())},
                {"standardDeviation", finite(p.outputStandardDeviation.getValue())}};
}

template <class P> std::string statisticsText(const P& p)
{
    char text[512];
    std::snprintf(text, sizeof text, "minimum %s, maximum %s, mean %.3f, variance %.3f, standard deviation %.3f",
                  p.outputMinimum.getValue()->toString().c_str(), p.outputMaximum.getValue()->toString().c_str(),
                  p.outputMean.getValue(), p.outputVariance.getValue(), p.outputStandardDeviation.getValue());
    return text;
}

/// The statistics of a view: the line a reader sees, and the same as JSON.
std::pair<std::string, Json> statisticsOf(const VolumeHandle& volume)
{
    using Parameter = Tarn::Lumo_DLL::IStatisticsFromVolume::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    Tarn::Lumo_DLL::IStatisticsFromVolume::IOperator facade;
    run(facade, p, "statistics");
    return {statisticsText(*p), statisticsJson(*p)};
}

Json printStatistics(const VolumeHandle& volume, const std::string& indent)
{
    const auto statistics = statisticsOf(volume);
    say("%s%s\n", indent.c_str(), statistics.first.c_str());
    return statistics.second;
}

/// The labels of a volume's view: a Tarn::uint8 volume in memory as it stands; any other volume is
/// turned into one by the tool's own loop, each voxel's label its value divided by 256 and kept in
/// 0 to 255 (for 16-bit grey values their upper byte).
VolumeHandle labelsOf(const VolumeHandle& volume)
{
    if (DynamicCast<InMemory<Tarn::uint8>>(volume) != 0) return volume;
    VolumeHandle result;
    withVoxelType(volume->getVoxelTypeName(), [&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        const InMemory<T> typed = DynamicCast<InMemory<T>>(volume);
        if (typed == 0) throw std::runtime_error("the label volume is not held in memory");
        const Tarn::Kito::Dimension<SizeType> size = typed->getDimension();
        InMemory<Tarn::uint8> labels(new Tarn::Kito::Volume<Tarn::uint8, Tarn::Kito::Allocator::SingleBlockAllocator>(size));
        for (SizeType t = 0; t < size.tert; ++t)
            for (SizeType s = 0; s < size.sec; ++s)
                for (SizeType p = 0; p < size.prim; ++p) {
                    const Tarn::Kito::Position<SizeType> at(p, s, t);
                    const double label = std::floor(static_cast<double>(typed->getValueAt(at)) / 256.0);
                    *labels->getPosOffset(at) = static_cast<Tarn::uint8>(std::clamp(label, 0.0, 255.0));
                }
        result = DynamicCast<VolumeHandle>(labels);
    });
    return result;
}


void printLabelStatistics(const VolumeHandle& volume, const VolumeHandle& labels)
{
    using Parameter = Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputLabelVolume.setValue(labels);
    Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    run(facade, p, "label-statistics");
    const auto map = p->outputMapStatistics.getValue();
    say("%zu labels\n", map->size());
    document["labels"] = Json::array();
    for (const auto& entry : *map) {
        say("label %3u: %s\n", static_cast<unsigned>(entry.first), statisticsText(*entry.second).c_str());
        Json label = Json{{"label", static_cast<unsigned>(entry.first)}};
        label.update(statisticsJson(*entry.second));
        document["labels"].push_back(label);
    }
}

Tarn::uint64 countInRange(const VolumeHandle& volume, double minimum, double maximum)
{
    using Parameter = Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputRangeLowerValue.setValue(
        DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<double>(minimum)));
    p->inputRangeUpperValue.setValue(
        DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<double>(maximum)));
    Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange::IOperator facade;
    run(facade, p, "count-in-range");
    return p->outputFrequency.getValue();
}

/// The median of the view. The operator pushes the region in force again, on the bottom region too,
/// so the stack is put back as it was.
std::string medianOf(const VolumeHandle& volume)
{
    using Parameter = Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi::Parameter;
    const SizeType depth = volume->getRoiStack().size();
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi::IOperator facade;
    run(facade, p, "median");
    while (volume->getRoiStack().size() > depth) volume->popRoi();
    return p->outputValue.getValue()->toString();
}

double areaOf(const VolumeHandle& mesh, double voxelSize)
{
    using Parameter = Tarn::Lumo_DLL::ISumOfTriangleAreas::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputTriangleVolume.setValue(mesh);
    p->inputVoxelSizePrimInMicrometers.setValue(voxelSize);
    p->inputVoxelSizeSecInMicrometers.setValue(voxelSize);
    p->inputVoxelSizeTertInMicrometers.setValue(voxelSize);
    Tarn::Lumo_DLL::ISumOfTriangleAreas::IOperator facade;
    run(facade, p, "area");
    return p->outputSumOfTriangleAreas.getValue();
}

/// A projection of any kind; outputType empty keeps the volume's own type.
template <class Facade>
VolumeHandle project(const VolumeHandle& volume, Tarn::uint64 direction, const std::string& outputType, const std::string& what)
{
    SmartPointer<typename Facade::Parameter> p(new typename Facade::Parameter);
    p->inputVolume.setValue(volume);
    p->outputVolume.setValue(outputType.empty() ? VolumeHandle() : placeholderOfType(outputType));
    p->inputDirection.setValue(direction);
    typename Facade::IOperator facade;
    run(facade, p, what);
    return p->outputVolume.getValue();
}

/// The plane of a median filter's result that holds the medians, as a region on it: the first plane
/// across the rays.
VolumeHandle medianPlaneOf(const VolumeHandle& filtered, Tarn::uint64 direction)
{
    const SizeType P = filtered->getDimPrim(), S = filtered->getDimSec(), T = filtered->getDimTert();
    const Tarn::Kito::Dimension<SizeType> plane = direction == 0   ? Tarn::Kito::Dimension<SizeType>(P, S, 1)
                                                  : direction == 1 ? Tarn::Kito::Dimension<SizeType>(P, 1, T)
                                                                   : Tarn::Kito::Dimension<SizeType>(1, S, T);
    filtered->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(plane, Tarn::Kito::Position<SizeType>(0, 0, 0)));
    say("medians in the plane: ");
    return filtered;
}

/// The height map leaves the volume turned so that its view's tert is the searched axis.
VolumeHandle heightMapOf(const VolumeHandle& volume, Tarn::uint64 direction, const std::string& outputType)
{
    using Parameter = Tarn::Lumo_DLL::IHeightMap::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputDirection.setValue(direction);
    p->inputNumberOfThreads.setValue(0);
    p->outputVolume.setValue(placeholderOfType(outputType));
    Tarn::Lumo_DLL::IHeightMap::IOperator facade;
    run(facade, p, "height-map");
    return p->outputVolume.getValue();
}

VolumeHandle flatten(const VolumeHandle& volume, const VolumeHandle& heightMap, int threads)
{
    using Parameter = Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputHeightMapVolume.setValue(heightMap);
    p->inputNumberOfThreads.setValue(threads);
    Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator facade;
    run(facade, p, "flatten");
    return p->outputVolume.getValue();
}

/// The directional planarisation without a resampling grid: every output column is the walk from
/// its own surface pixel along the normal given there.
VolumeHandle flattenAlongNormals(const VolumeHandle& volume, const VolumeHandle& heightMap, const VolumeHandle& x,
                                 const VolumeHandle& y, const VolumeHandle& z)
{
    using Parameter = Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputHeightMapVolume.setValue(heightMap);
    p->inputNormalMapVolumeX.setValue(x);
    p->inputNormalMapVolumeY.setValue(y);
    p->inputNormalMapVolumeZ.setValue(z);
    p->inputVoxelSizeXY_um.setValue(options.voxelSizeXY);
    p->inputVoxelSizeZ_um.setValue(options.voxelSizeZ);
    p->inputNumberOfThreads.setValue(options.threads);
    Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::IOperator facade;
    run(facade, p, "flatten-normals");
    return p->outputVolume.getValue();
}

/// The view of a volume copied into a new volume in memory.
VolumeHandle copyOf(const VolumeHandle& volume)
{
    SmartPointer<Tarn::Lumo_DLL::ICopy::Parameter> p(new Tarn::Lumo_DLL::ICopy::Parameter);
    p->inputVolume.setValue(volume);
    Tarn::Lumo_DLL::ICopy::IOperator facade;
    run(facade, p, "copy");
    return p->outputVolume.getValue();
}

void makeDirectory(const std::string& path)
{
    std::error_code failure;
    std::filesystem::create_directories(path, failure);
    if (failure) throw std::runtime_error("cannot make the directory " + path + ": " + failure.message());
}


int demo(const std::string& out)
{
    const auto identifiers = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    std::printf("Lumo demo: %zu class identifiers registered with the class factory\n\n", identifiers.size());

    const LumoTool::Volume16 sheet = LumoTool::makeBuiltinVolume();
    const VolumeHandle volume = DynamicCast<VolumeHandle>(sheet);
    std::printf("Built-in volume: %s, a bent sheet ten voxels thick in air masked to 0,\n"
                "with the word LUMO written in lighter material %llu voxels under its upper surface\n",
                describe(*volume).c_str(), static_cast<unsigned long long>(LumoTool::builtinWritingDepth));
    std::printf("  sum of all voxels: %.0f\n", sumOf(volume));
    printStatistics(volume, "  ");
    const LumoTool::Table mesh = LumoTool::makeBuiltinMesh();
    std::printf("  upper surface as a mesh of %llu triangles: %.2f mm^2 at %.0f um per voxel\n",
                static_cast<unsigned long long>(mesh->getDimPrim() / 3),
                areaOf(DynamicCast<VolumeHandle>(mesh), LumoTool::builtinVoxelSizeInMicrometers) / 1e6, LumoTool::builtinVoxelSizeInMicrometers);

    makeDirectory(out);
    const std::string maxPath = out + "/max-projection.png";
    const std::string heightPath = out + "/height-map.png";
    const std::string flatPath =
        out + "/flattened-slice-" + std::to_string(LumoTool::builtinWritingDepth) + ".png";

    const VolumeHandle maximum = project<Tarn::Lumo_DLL::IProjectionMax>(volume, 0, "", "project-max");
    writeSlice(maximum, maxPath);
    std::printf("\n1. Maximum projection along tert (IProjectionMax): %s\n", describe(*maximum).c_str());
    printStatistics(maximum, "   ");
    std::printf("   %s: the sheet seen from above, dense material on every ray; the writing\n"
                "   does not show, since the material above and below it wins each maximum\n",
                maxPath.c_str());

    const VolumeHandle heights = heightMapOf(volume, 2, "uint8");
    writeSlice(heights, heightPath, true);
    std::printf("\n2. Height map along tert (IHeightMap): %s, the depth of the first voxel that is not 0\n",
                describe(*heights).c_str());
    printStatistics(heights, "   ");
    std::printf("   %s: the shape of the upper surface, dark where it lies high (small depth),\n"
                "   bright towards the ends of prim where the sheet bends down\n",
                heightPath.c_str());

    const VolumeHandle flat = flatten(volume, heights, 0);
    std::printf("\n3. Flattened by the height map (IOrthogonalPlanarisationOperator): %s;\n"
                "   the upper surface now lies in slice 0 and depth d in slice d\n",
                describe(*flat).c_str());
    for (SizeType depth : {SizeType(0), LumoTool::builtinWritingDepth, SizeType(8)}) {
        flat->setRoiToSlice(depth);
        std::printf("   slice %llu: ", static_cast<unsigned long long>(depth));
        printStatistics(flat, "");
        if (depth == LumoTool::builtinWritingDepth) writeSlice(flat, flatPath);
        flat->popRoi();
    }
    std::printf("   %s: slice %llu, where the writing lies; LUMO is readable, dark on bright\n",
                flatPath.c_str(), static_cast<unsigned long long>(LumoTool::builtinWritingDepth));
    LumoTool::writeDirectionalDemo(out);

    std::printf("\nWhat a host sees when it forgets the volume:\n");
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> empty(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    try {
        Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
        facade.apply(asComposite(empty));
    } catch (const std::invalid_argument& failure) {
        std::printf("  %s\n", failure.what());
    }
    std::printf("\nImages written to %s\n", out.c_str());
    return 0;
}


/// Prints a result and writes it where asked. The PNG shows the result's first slice, or, for
/// the commands that have --slice, slice K of it.
void report(const VolumeHandle& result, bool hideLargest = false)
{
    if (!options.png.empty() && options.pngOfSlice && options.slice >= result->getDimTert())
        throw UsageError("--slice lies outside the result");
    // The statistics come first: a stop while they run leaves no file behind.
    const auto statistics = statisticsOf(result);
    if (!options.rek.empty()) {
        LumoTool::writeRek(options.rek, result);
        say("written to %s\n", options.rek.c_str());
        document["written"].push_back(options.rek);
    }
    say("result: %s\n%s\n", describe(*result).c_str(), statistics.first.c_str());
    Json entry = volumeJson(*result);
    entry["statistics"] = statistics.second;
    document["result"] = entry;
    if (!options.png.empty()) {
        if (options.pngOfSlice) result->setRoiToSlice(options.slice);
        writeSlice(result, options.png, hideLargest, options.bits, options.window);
        if (options.pngOfSlice) result->popRoi();
        say("written to %s\n", options.png.c_str());
        document["written"].push_back(options.png);
    }
}

/// A three-dimensional result: described, then slice K of it reported as a single-slice result,
/// which the PNG shows; the REK file holds the whole volume.
void reportSliceOf(const VolumeHandle& result, const char* what)
{
    say("%s: %s\n", what, describe(*result).c_str());
    document["volume"] = volumeJson(*result);
    if (!options.rek.empty()) {
        LumoTool::writeRek(options.rek, result);
        say("written to %s\n", options.rek.c_str());
        document["written"].push_back(options.rek);
    }
    if (options.slice >= result->getDimTert()) throw UsageError("--slice lies outside the new volume");
    result->setRoiToSlice(options.slice);
    say("slice %llu of it: ", static_cast<unsigned long long>(options.slice));
    const std::string rek = options.rek;
    options.rek.clear();
    options.pngOfSlice = false;
    report(result);
    options.rek = rek;
    document["slice"] = options.slice;
}

// ---- voxel transforms: window, lut, convert ----------------------------------------------------------


/// A number given for option that a voxel of type T, whose part is named by whose, holds exactly.
template <class T> T valueOfType(const std::string& text, const std::string& option, const char* whose = "the volume's")
{
    double value = 0.0;
    try {
        std::size_t used = 0;
        value = std::stod(text, &used);
        if (used != text.size()) throw std::invalid_argument(text);
    } catch (const std::logic_error&) {
        throw UsageError(option + " takes a number");
    }
    const double lowest = static_cast<double>(std::numeric_limits<T>::lowest());
    const double highest = static_cast<double>(std::numeric_limits<T>::max());
    if (!(value >= lowest && value <= highest) || static_cast<double>(static_cast<T>(value)) != value)
        throw UsageError(option + " takes a value of " + whose + " voxel type");
    return static_cast<T>(value);
}

template <class T> SmartPointer<Tarn::Kito::Persistence::IData> dataOf(T value)
{
    return DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<T>(value));
}


VolumeHandle windowOf(const VolumeHandle& volume)
{
    using Facade = Tarn::Lumo_DLL::IRangePassTransformation;
    SmartPointer<Facade::Parameter> p(new Facade::Parameter);
    p->inputVolume.setValue(volume);
    withVoxelType(volume->getVoxelTypeName(), [&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        p->inputMinThreshold.setValue(dataOf(valueOfType<T>(options.minimum, "--min")));
        p->inputMaxThreshold.setValue(dataOf(valueOfType<T>(options.maximum, "--max")));
        p->inputBackgroundValue.setValue(dataOf(valueOfType<T>(options.background, "--background")));
    });
    Facade::IOperator facade;
    run(facade, p, "window");
    return p->outputVolume.getValue();
}


/// A table over every key of K, from the lines "key value" of a file; keys it does not name map to
/// 0. Every key has a value, since the operator reads the table without a bounds test.
template <class K, class V> SmartPointer<IComposite> tableFromFile(const std::string& path)
{
    std::ifstream in(path);
    if (!in) throw UsageError("cannot read the table " + path);
    const Tarn::int64 lowest = std::numeric_limits<K>::lowest(), highest = std::numeric_limits<K>::max();
    Tarn::Kito::Container::TablePtr<K, V> table(new Tarn::Kito::Container::Table<K, V>);
    table->size = static_cast<SizeType>(highest - lowest + 1);
    table->tertOffsetToOrigin = static_cast<SizeType>(-lowest);
    table->volume = InMemory<V>(new Tarn::Kito::Volume<V, Tarn::Kito::Allocator::SingleBlockAllocator>(
        Tarn::Kito::Dimension<SizeType>(table->size, 1, 1)));
    table->volume->fill(V(0));
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::istringstream fields(line);
        std::string key, value, rest;
        if (!(fields >> key) || key[0] == '#') continue;
        const std::string where = path + " line " + std::to_string(number);
        if (!(fields >> value) || (fields >> rest)) throw UsageError(where + ": a line is 'key value'");
        const K k = valueOfType<K>(key, where + ": the key");
        table->volume->getIterator()[Tarn::int64(k) - lowest] = valueOfType<V>(value, where + ": the value", "the output's");
    }
    return DynamicCast<SmartPointer<IComposite>>(table);
}


VolumeHandle lookUp(const VolumeHandle& volume)
{
    const std::string outputType = options.type.empty() ? "float32" : options.type;
    using Facade = Tarn::Lumo_DLL::ILookupTableConversion;
    SmartPointer<Facade::Parameter> p(new Facade::Parameter);
    p->inputVolume.setValue(volume);
    p->outputVolume.setValue(placeholderOfType(outputType));
    withVoxelType(volume->getVoxelTypeName(), [&](auto* key) {
        using K = std::remove_pointer_t<decltype(key)>;
        if constexpr (std::is_integral_v<K> && sizeof(K) <= 2) {
            withVoxelType(outputType, [&](auto* value) {
                p->inputLookupTable.setValue(tableFromFile<K, std::remove_pointer_t<decltype(value)>>(options.table));
            });
        }
        // Other key types have no table; the facade reports that they have no instance either.
    });
    Facade::IOperator facade;
    run(facade, p, "lut");
    return p->outputVolume.getValue();
}

/// The volume's values as float64, the type the conversion reads, then converted into the type
/// asked for by the instance that the class factory holds for the pair.
VolumeHandle convertTo(const VolumeHandle& volume)
{
    const InMemory<double> values(new Tarn::Kito::Volume<double, Tarn::Kito::Allocator::SingleBlockAllocator>(
        Tarn::Kito::Dimension<SizeType>(volume->getDimPrim(), volume->getDimSec(), volume->getDimTert())));
    withVoxelType(volume->getVoxelTypeName(), [&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        const InMemory<T> typed = DynamicCast<InMemory<T>>(volume);
        if (typed == 0) throw std::runtime_error("the volume is not held in memory");
        double* q = values->getIterator();
        for (SizeType t = 0; t < typed->getDimTert(); ++t)
            for (SizeType s = 0; s < typed->getDimSec(); ++s)
                for (SizeType i = 0; i < typed->getDimPrim(); ++i)
                    *q++ = static_cast<double>(typed->getValueAt(Tarn::Kito::Position<SizeType>(i, s, t)));
    });
    using Parameter = Tarn::AncillaryKitoOperators::VoxelTypeConversion::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(DynamicCast<VolumeHandle>(values));
    p->inputRounding.setValue(!options.noRounding);
    p->inputCheckedCast.setValue(!options.unchecked);
    const VolumeHandle placeholder = placeholderOfType(options.type);
    const SmartPointer<Tarn::Kito::IOperator> conversion =
        DynamicCast<SmartPointer<Tarn::Kito::IOperator>>(Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
            "Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator< " +
            DynamicCast<SmartPointer<IComposite>>(p->inputVolume.getValue())->getType() + ", " +
            DynamicCast<SmartPointer<IComposite>>(placeholder)->getType() + " >"));
    LumoTool::runWatched(*conversion, asComposite(p), "convert");
    return p->outputVolume.getValue();
}

// ---- the image average ---------------------------------------------------------------------------------

/// The voxel-wise mean of REK files of one voxel type and extent. The facade IAverageImage asks the
/// class factory for an identifier that no operator registers, so that its apply always fails;
/// the tool asks for the operator of the first file's voxel type by the operator's own identifier.
VolumeHandle averageOf(const std::vector<std::string>& files)
{
    using Parameter = Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputFileList.setValue(Tarn::Kito::Container::ListPtr<std::string>(std::list<std::string>(files.begin(), files.end())));
    const std::string identifier = "Tarn::Lumo::ArithmeticOperators::AverageImage::Operator< Tarn::Kito::Volume< " +
                                   LumoTool::voxelTypeOfRek(files.front()) +
                                   " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
    const SmartPointer<Tarn::Kito::IOperator> average = DynamicCast<SmartPointer<Tarn::Kito::IOperator>>(
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(identifier));
    LumoTool::runWatched(*average, asComposite(p), "average");
    return p->outputVolume.getValue();
}

// ---- volume assembly: concat, duplicate-slice ----------------------------------------------------------

VolumeHandle concatOf(const VolumeHandle& first, const VolumeHandle& second, Tarn::uint64 face)
{
    SmartPointer<Tarn::Lumo_DLL::IConcatVolumes::Parameter> p(new Tarn::Lumo_DLL::IConcatVolumes::Parameter);
    p->inputVolumeFirst.setValue(first);
    p->inputVolumeSecond.setValue(second);
    p->inputFace.setValue(face);
    Tarn::Lumo_DLL::IConcatVolumes::IOperator concat;
    run(concat, p, "concat");
    return p->outputVolume.getValue();
}

VolumeHandle duplicateSliceOf(const VolumeHandle& volume, const std::string& plane, SizeType index, SizeType count)
{
    SmartPointer<Tarn::Lumo_DLL::IDuplicateSlices::Parameter> p(new Tarn::Lumo_DLL::IDuplicateSlices::Parameter);
    p->inputVolume.setValue(volume);
    p->inputSliceOrientation.setValue(plane + "-Slice");
    p->inputSliceIndex.setValue(index);
    p->inputNumberOfSlices.setValue(count);
    Tarn::Lumo_DLL::IDuplicateSlices::IOperator duplicate;
    run(duplicate, p, "duplicate-slice");
    return p->outputVolume.getValue();
}

/// The region of one slice of a plane: XY at tert index, XZ at sec index, YZ at prim index.
Tarn::Kito::RegionOfInterest<SizeType> planeRegion(const Tarn::Kito::IVolume& volume, const std::string& plane, SizeType index)
{
    const SizeType P = volume.getDimPrim(), S = volume.getDimSec(), T = volume.getDimTert();
    using Tarn::Kito::Dimension;
    using Tarn::Kito::Position;
    const SizeType across = plane == "XY" ? T : plane == "XZ" ? S : P;
    if (index >= across)
        throw UsageError("--index " + std::to_string(index) + " lies outside the volume (" + plane + " slices 0 to " +
                         std::to_string(across - 1) + ")");
    if (plane == "XY") return {Dimension<SizeType>(P, S, 1), Position<SizeType>(0, 0, index)};
    if (plane == "XZ") return {Dimension<SizeType>(P, 1, T), Position<SizeType>(0, index, 0)};
    return {Dimension<SizeType>(1, S, T), Position<SizeType>(index, 0, 0)};
}


// ---- the commands ------------------------------------------------------------------------------------

int identifiers()
{
    const auto all = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    for (const auto& identifier : all) say("%s\n", identifier.c_str());
    document["identifiers"] = all;
    return 0;
}

void sumCommand()
{
    const double sum = sumOf(input(options.volume, options.inputFiles));
    say("sum %.17g\n", sum);
    document["sum"] = finite(sum);
}

void statisticsCommand() { document["statistics"] = printStatistics(input(options.volume, options.inputFiles), ""); }

void labelStatisticsCommand()
{
    const VolumeHandle volume = input(options.volume, options.inputFiles);
    // The label volume gets the same region, so that the two views have the same extents.
    const VolumeHandle named = auxiliary(options.labels);
    if (options.hasRegion) named->setRoi(options.roi);
    const VolumeHandle labels = labelsOf(named);
    say("labels %s: %s\n", options.labels.c_str(), describe(*labels).c_str());
    printLabelStatistics(volume, labels);
}

void countInRangeCommand()
{
    const double minimum = parseNumber(options.minimum, "--min"), maximum = parseNumber(options.maximum, "--max");
    const VolumeHandle volume = input(options.volume, options.inputFiles);
    const Tarn::uint64 count = countInRange(volume, minimum, maximum);
    const SizeType all = volume->getDimPrim() * volume->getDimSec() * volume->getDimTert();
    say("%llu of %llu voxels in [%g, %g] (%.3f%%)\n", static_cast<unsigned long long>(count),
        static_cast<unsigned long long>(all), minimum, maximum,
        all == 0 ? 0.0 : 100.0 * static_cast<double>(count) / static_cast<double>(all));
    document["count"] = count;
    document["voxels"] = all;
    document["range"] = {finite(minimum), finite(maximum)};
}

void medianCommand()
{
    const std::string median = medianOf(input(options.volume, options.inputFiles));
    say("median %s\n", median.c_str());
    document["median"] = numberOf(median);
}

void areaCommand()
{
    const VolumeHandle mesh = options.volume == "builtin" ? DynamicCast<VolumeHandle>(LumoTool::makeBuiltinMesh())
                                                          : volumeNamed(options.volume, options.inputFiles);
    const double area = areaOf(mesh, options.voxelSize);
    say("%s: %llu triangles, voxel size %g um\narea %.17g um^2\n", options.volume.c_str(),
        static_cast<unsigned long long>(mesh->getDimPrim() / 3), options.voxelSize, area);
    document["triangles"] = mesh->getDimPrim() / 3;
    document["voxelSize"] = options.voxelSize;
    document["area"] = finite(area);
}

template <class Facade> void projectCommand(const std::string& name, const std::string& type)
{
    report(project<Facade>(input(options.volume, options.inputFiles), options.direction, type, name));
}

void projectMedianCommand()
{
    const VolumeHandle filtered =
        project<Tarn::Lumo_DLL::IProjectionMedian>(input(options.volume, options.inputFiles), options.direction, "", "project-median");
    say("filtered: %s\n", describe(*filtered).c_str());
    report(medianPlaneOf(filtered, options.direction));
}

void heightMapCommand()
{
    const Tarn::uint64 direction = options.hasDirection ? options.direction : 2;
    report(heightMapOf(input(options.volume, options.inputFiles), direction, options.type.empty() ? "uint16" : options.type), true);
}

void flattenCommand()
{
    const VolumeHandle volume = input(options.volume, options.inputFiles);
    reportSliceOf(flatten(volume, heightMapOf(volume, 2, "uint16"), options.threads), "flattened");
}

void flattenNormalsCommand()
{
    const VolumeHandle volume = input(options.volume, options.inputFiles);
    const VolumeHandle heights = options.heightMap.empty() ? heightMapOf(volume, 2, "uint16") : auxiliary(options.heightMap);
    const VolumeHandle x = auxiliary(options.normalsX), y = auxiliary(options.normalsY), z = auxiliary(options.normalsZ);
    say("height map: %s, normals: %s\n", describe(*heights).c_str(), describe(*x).c_str());
    reportSliceOf(flattenAlongNormals(volume, heights, x, y, z), "flattened");
}

void concatCommand()
{
    const VolumeHandle first = input(options.volumes[0], options.inputFiles), second = input(options.volumes[1], options.inputFiles);
    reportSliceOf(concatOf(first, second, options.face), "joined");
}

void duplicateSliceCommand()
{
    const VolumeHandle volume = input(options.volume, options.inputFiles);
    reportSliceOf(duplicateSliceOf(volume, options.plane, options.index, options.count), "repeated");
}

void copyCommand() { report(copyOf(input(options.volume, options.inputFiles))); }
void windowCommand() { report(windowOf(input(options.volume, options.inputFiles))); }
void lutCommand() { report(lookUp(input(options.volume, options.inputFiles))); }
void convertCommand() { report(convertTo(input(options.volume, options.inputFiles))); }

void averageCommand() { report(averageOf(options.volumes)); }

void readRawCommand()
{
    if (!options.inputFiles.raw) throw UsageError("read-raw needs --raw-type and --extent");
    report(input(options.volume, options.inputFiles));
}

void sliceCommand()
{
    const VolumeHandle volume = input(options.volume, options.inputFiles);
    volume->setRoi(planeRegion(*volume, options.plane, options.index));
    say("%s slice %llu: ", options.plane.c_str(), static_cast<unsigned long long>(options.index));
    document["plane"] = options.plane;
    document["index"] = options.index;
    report(volume);
}


// ---- the command line ----------------------------------------------------------------------------------

const char* volumeHelp =
    "A volume is a REK file, a raw file described by --raw-type T --extent P,S,T [--skip N] (N bytes\n"
    "before the voxels, default 0), or 'builtin', the demo's own volume (192 x 128 x 72 Tarn::uint16,\n"
    "a bent sheet with writing inside). Second volumes (--labels, --height-map, --normals-*) are REK\n"
    "files, 'builtin', or raw files written raw:T:P,S,T[:N]:FILE. R is a region of the view as\n"
    "prim,sec,tert,sizePrim,sizeSec,sizeTert. T is a\n"
    "voxel type: int8, uint8, int16, uint16, int32, uint32, float32 or float64.\n"
    "Exit codes: 0 success, 1 a failure the library reports, 2 bad usage, 130 stopped by Ctrl-C.";

/// Builds the command line: one subcommand per command, each with its own options and --help.
class CommandLine {
public:
    CommandLine() : app("lumo: runs the operators of the Lumo library on volume files and prints what they give", "lumo")
    {
        app.require_subcommand(1);
        app.footer(volumeHelp);
        app.add_flag("--quiet,-q", options.quiet, "no progress bar");
        app.fallthrough();
        build();
    }

    CLI::App app;
    std::map<std::string, std::function<void()>> actions;

    /// The command that was chosen, or null before one was seen.
    CLI::App* chosen() const
    {
        const auto given = app.get_subcommands();
        return given.empty() ? nullptr : given.front();
    }

private:
    CLI::App* command(const std::string& name, const std::string& help, std::function<void()> action)
    {
        CLI::App* sub = app.add_subcommand(name, help);
        sub->footer(volumeHelp);
        actions[name] = std::move(action);
        return sub;
    }

    static void volumeArgument(CLI::App* sub, const char* what = "the volume: a REK file, a raw file or 'builtin'")
    {
        sub->add_option("volume", options.volume, what)->required();
    }

    static void volumeOptions(CLI::App* sub)
    {
        sub->add_option("--roi", options.region, "work on the region R of the view only")->type_name("R");
        sub->add_option("--raw-type", options.rawType, "voxel type of a raw file")->type_name("T");
        sub->add_option("--extent", options.extent, "extent of a raw file: prim,sec,tert")->type_name("P,S,T");
        sub->add_option("--skip", options.skip, "bytes before the voxels of a raw file")->type_name("N");
    }

    static void json(CLI::App* sub) { sub->add_flag("--json", options.json, "print the results as one JSON object"); }

    static void threads(CLI::App* sub)
    {
        sub->add_option("--threads", options.threads, "threads of the parallel parts (default: every core)")
            ->check(CLI::NonNegativeNumber)
            ->type_name("N");
    }

    /// --rek, --png with its bits and window; freeWindowNames: the window may be called --min and
    /// --max, which window and count-in-range use for their own range; --slice for 3-D results.
    static void results(CLI::App* sub, bool freeWindowNames, bool slices)
    {
        sub->add_option("--rek", options.rek, "write the volume result as a REK file")->type_name("FILE");
        sub->add_option("--png", options.png, "write a slice of the result as a PNG image")->type_name("FILE");
        sub->add_option("--bits", options.bits, "bits per grey level of the PNG image: 8 (default) or 16")
            ->check(CLI::IsMember({8, 16}));
        sub->add_option(freeWindowNames ? "--min,--png-min" : "--png-min", options.window.low,
                        "grey value shown black (default: the slice's lowest)")
            ->type_name("A");
        sub->add_option(freeWindowNames ? "--max,--png-max" : "--png-max", options.window.high,
                        "grey value shown white (default: the slice's highest)")
            ->type_name("B");
        if (slices) sub->add_option("--slice", options.slice, "the slice of the result that the PNG shows (default 0)")->type_name("K");
    }

    static void direction(CLI::App* sub, const char* help)
    {
        sub->add_option("--direction", options.direction, help)->type_name("D");
    }

    void build()
    {
        CLI::App* sub = command("demo", "flatten the built-in bent sheet and write four PNG images", [] {});
        sub->add_option("--out", options.out, "directory of the images (default: lumo-demo)")->type_name("DIR");

        sub = command("info", "what the header of a REK file says: voxel type, extent, voxel size, which block fits", [] {
            LumoTool::printInfo(options.volume);
        });
        volumeArgument(sub, "the REK file");

        sub = command("identifiers", "every class identifier known to the class factory", [] { identifiers(); });
        json(sub);

        sub = command("sum", "sum of the voxels of the volume's view (ISumOfVoxels)", sumCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub);

        sub = command("statistics", "minimum, maximum, mean, variance and deviation of the view (IStatisticsFromVolume)",
                      statisticsCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub);

        sub = command("label-statistics",
                      "statistics of the voxels of each label (IStatisticsFromVolumeOfMultipleLabels); a label volume "
                      "that is not uint8 gives each voxel its value / 256 as label",
                      labelStatisticsCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub);
        sub->add_option("--labels", options.labels, "the label volume: a REK file, 'builtin' or raw:T:P,S,T[:N]:FILE")->required()->type_name("VOLUME");

        sub = command("count-in-range",
                      "number of voxels with A <= value <= B (IFrequencyOfValuesInsideRange), the bounds taken to the "
                      "voxel type (1.5 is 1 for integers)",
                      countInRangeCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), threads(sub);
        sub->add_option("--min", options.minimum, "lower bound")->required()->type_name("A");
        sub->add_option("--max", options.maximum, "upper bound")->required()->type_name("B");

        sub = command("median", "median of the view, the lower middle value for an even count (IQuickSelectMedianValueOfRoi)",
                      medianCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub);

        sub = command("area", "area of a triangle mesh in square micrometres (ISumOfTriangleAreas)", areaCommand);
        volumeArgument(sub, "the mesh: 'builtin' (the sheet's upper surface) or a float64 REK file of vertices, three per triangle");
        sub->add_option("--voxel-size", options.voxelSize, "edge of a voxel in micrometres (default 25)")->type_name("UM");
        json(sub);

        const char* projection = "D 0 along tert (default), 1 along sec, 2 along prim";
        sub = command("project-max", "largest value on every ray (IProjectionMax)",
                      [] { projectCommand<Tarn::Lumo_DLL::IProjectionMax>("project-max", ""); });
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, false), direction(sub, projection);

        sub = command("project-sum", "sum of every ray, formed in voxel type T (IProjectionSum)",
                      [] { projectCommand<Tarn::Lumo_DLL::IProjectionSum>("project-sum", options.type); });
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, false), direction(sub, projection);
        sub->add_option("--type", options.type, "type of the sums (default: the volume's own, which wraps around)")->type_name("T");

        sub = command("project-mean", "mean of every ray, summed in float64 (IProjectionMean)",
                      [] { projectCommand<Tarn::Lumo_DLL::IProjectionMean>("project-mean", options.type); });
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, false), direction(sub, projection);
        sub->add_option("--type", options.type, "float32, float64 or the volume's own type (default), where means are rounded")
            ->type_name("T");

        sub = command("project-median",
                      "median of every ray, the lower middle value for an even length, in the view's first plane across "
                      "the rays (IProjectionMedian)",
                      projectMedianCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, false), direction(sub, projection), threads(sub);

        sub = command("height-map", "depth of the first voxel that is not 0 on every ray (IHeightMap)", heightMapCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, false);
        direction(sub, "D 0 along prim, 1 along sec, 2 along tert (default)");
        sub->add_option("--type", options.type, "uint8, uint16 (default) or uint32")->type_name("T");

        sub = command("flatten",
                      "height map along tert, then every column moved up by its height (IOrthogonalPlanarisationOperator)",
                      flattenCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, true), threads(sub);

        sub = command("flatten-normals",
                      "the surface unrolled by walking along its normals (IDirectionalPlanarisationOperator); the normal "
                      "maps are float32 or float64 volumes of the height map's extent",
                      flattenNormalsCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, true), threads(sub);
        sub->add_option("--height-map", options.heightMap, "the surface heights (default: the height map along tert, uint16)")
            ->type_name("VOLUME");
        sub->add_option("--normals-x", options.normalsX, "prim component of the normals")->required()->type_name("VOLUME");
        sub->add_option("--normals-y", options.normalsY, "sec component of the normals")->required()->type_name("VOLUME");
        sub->add_option("--normals-z", options.normalsZ, "tert component of the normals")->required()->type_name("VOLUME");
        sub->add_option("--voxel-size-xy", options.voxelSizeXY, "voxel edge across the slices (default 1)")->type_name("UM");
        sub->add_option("--voxel-size-z", options.voxelSizeZ, "voxel edge along tert (default 1)")->type_name("UM");

        sub = command("concat",
                      "the two volumes joined (IConcatVolumes): face 0, 1, 2 puts the second below the first along sec, "
                      "prim, tert; 3, 4, 5 above it; the region is taken of both",
                      concatCommand);
        sub->add_option("volumes", options.volumes, "the two volumes")->required()->expected(2);
        volumeOptions(sub), json(sub), results(sub, true, true);
        sub->add_option("--face", options.face, "where the second volume goes")->required()->type_name("F");

        sub = command("duplicate-slice", "slice I of plane P repeated N times (IDuplicateSlices)", duplicateSliceCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, true);
        sub->add_option("--plane", options.plane, "XY, XZ or YZ")->required()->check(CLI::IsMember({"XY", "XZ", "YZ"}));
        sub->add_option("--index", options.index, "the slice")->required()->type_name("I");
        sub->add_option("--count", options.count, "how many times")->required()->type_name("N");

        sub = command("copy", "the view copied into a new volume in memory (ICopy)", copyCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, true), threads(sub);

        sub = command("window",
                      "voxels from A to B pass, all others become C (IRangePassTransformation); the three values are of "
                      "the volume's voxel type",
                      windowCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, false, true);
        sub->add_option("--min", options.minimum, "lowest value that passes")->required()->type_name("A");
        sub->add_option("--max", options.maximum, "highest value that passes")->required()->type_name("B");
        sub->add_option("--background", options.background, "value of the others")->required()->type_name("C");

        sub = command("lut",
                      "every voxel mapped through a table into type T (ILookupTableConversion); FILE holds lines "
                      "'key value', keys it does not name map to 0",
                      lutCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, true), threads(sub);
        sub->add_option("--table", options.table, "the table")->required()->type_name("FILE");
        sub->add_option("--type", options.type, "output type (default float32)")->type_name("T");

        sub = command("convert",
                      "the volume's values, read as float64, rounded half up and written as type T; a value that T "
                      "cannot hold fails unless --unchecked",
                      convertCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub), results(sub, true, true), threads(sub);
        sub->add_option("--type", options.type, "output type")->required()->type_name("T");
        sub->add_flag("--no-rounding", options.noRounding, "cut towards zero instead of rounding");
        sub->add_flag("--unchecked", options.unchecked, "let values that T cannot hold wrap");

        sub = command("average",
                      "the voxel-wise mean of REK files of one voxel type and extent, in that type (integers rounded "
                      "half up); run by the operator itself, since the facade IAverageImage never reaches it",
                      averageCommand);
        sub->add_option("files", options.volumes, "the REK files")->required()->expected(1, 1 << 20);
        json(sub), results(sub, true, true), threads(sub);

        sub = command("read-raw", "a raw file read into memory (IVolumeFromRawFileInput); with --rek it becomes a REK file",
                      readRawCommand);
        volumeArgument(sub, "the raw file"), volumeOptions(sub), json(sub), results(sub, true, true);

        sub = command("slice", "one slice of any plane as a PNG image, with its statistics", sliceCommand);
        volumeArgument(sub), volumeOptions(sub), json(sub);
        sub->add_option("--plane", options.plane, "XY (default), XZ or YZ")->check(CLI::IsMember({"XY", "XZ", "YZ"}));
        sub->add_option("--index", options.index, "the slice (default 0)")->type_name("I");
        sub->add_option("--png", options.png, "the image")->required()->type_name("FILE");
        sub->add_option("--bits", options.bits, "bits per grey level: 8 (default) or 16")->check(CLI::IsMember({8, 16}));
        sub->add_option("--min", options.window.low, "grey value shown black (default: the slice's lowest)")->type_name("A");
        sub->add_option("--max", options.window.high, "grey value shown white (default: the slice's highest)")->type_name("B");
        sub->add_option("--rek", options.rek, "write the slice as a REK file")->type_name("FILE");
    }
};

/// What the parser cannot check itself: the values that need each other or a parser of our own.
void checkOptions(CLI::App& sub)
{
    options.inputFiles = LumoTool::fileOptionsOf(options.rawType, options.extent, options.skip, options.rek);
    if (!options.region.empty()) {
        options.hasRegion = true;
        options.roi = parseRegion(options.region);
    }
    const auto given = [&](const char* name) { return sub.get_option_no_throw(name) != nullptr && sub.get_option(name)->count() > 0; };
    options.hasDirection = given("--direction");
    options.pngOfSlice = sub.get_option_no_throw("--slice") != nullptr;
    const bool low = given("--png-min") || (sub.get_name() == "slice" && given("--min")) ||
                     (given("--min") && sub.get_option("--min")->check_name("--png-min"));
    const bool high = given("--png-max") || (sub.get_name() == "slice" && given("--max")) ||
                      (given("--max") && sub.get_option("--max")->check_name("--png-max"));
    if (low != high) throw UsageError("the image's window takes both ends, --min and --max");
    options.window.given = low;
    if (!options.type.empty()) withVoxelType(options.type, [](auto*) {});
    if (sub.get_name() == "slice" && !given("--plane")) options.plane = "XY";
    if (options.threads > 0) omp_set_num_threads(options.threads);
}

int runCommand(CommandLine& line)
{
    CLI::App* sub = line.chosen();
    checkOptions(*sub);
    const std::string name = sub->get_name();
    if (name == "demo") return demo(options.out);
    document["command"] = name;
    line.actions.at(name)();
    if (options.json) std::cout << document.dump(2) << "\n";
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        if (failure.get_exit_code() == 0) return line.app.exit(failure);
        CLI::App* sub = line.chosen();
        // CLI11 would call a word that names no command a missing command.
        if (sub == nullptr && argc > 1 && argv[1][0] != '-')
            std::cerr << "lumo: unknown command '" << argv[1] << "'\n";
        else
            std::cerr << "lumo: " << failure.what() << "\n";
        std::cerr << "Run 'lumo " << (sub != nullptr ? sub->get_name() + " " : std::string()) << "--help' for more.\n";
        return exitUsage;
    }
    LumoTool::installStopHandler();
    LumoTool::showProgress(!options.quiet);
    try {
        return runCommand(line);
    } catch (const UsageError& failure) {
        std::cerr << "lumo: " << failure.what() << "\n";
        std::cerr << "Run 'lumo " << line.chosen()->get_name() << " --help' for more.\n";
        return exitUsage;
    } catch (const LumoTool::Stopped& failure) {
        std::cerr << "lumo: " << failure.what() << "; no result written\n";
        return exitStopped;
    } catch (const Tarn::Exceptions::Exception& failure) {
        std::cerr << "lumo: " << failure.getClassName() << ": " << failure.what();
        if (!failure.getErrorMessage().empty()) std::cerr << " " << failure.getErrorMessage();
        if (!failure.getOrigin().empty()) std::cerr << " (" << failure.getOrigin() << ")";
        std::cerr << "\n";
        return exitFailure;
    } catch (const std::exception& failure) {
        std::cerr << "lumo: " << failure.what() << "\n";
        return exitFailure;
    }
}
