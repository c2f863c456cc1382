// lumo: the library's first host. It runs the operators on a built-in volume and prints what a
// user wants to read. Exit codes: 0 success, 1 a failure reported by the library, 2 bad usage.
#include "BuiltinVolume.h"
#include "DirectionalDemo.h"
#include "PngImage.h"
#include "VolumeFiles.h"

#include <AncillaryKitoOperators/VoxelTypeConversionParameter>
#include <Kito/Kito>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <type_traits>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

/// Bad usage: reported with the help text, exit code 2.
using UsageError = LumoTool::UsageError;

void printHelp(std::ostream& out)
{
    out << "usage: lumo <command> [arguments]\n"
           "\n"
           "commands:\n"
           "  demo [--out DIR]            flatten the built-in bent sheet and write four PNG images\n"
           "                              to DIR (default: lumo-demo); report what the operators give\n"
           "  sum <volume> [--roi R]      sum of the voxels of the volume's view\n"
           "  statistics <volume> [--roi R]\n"
           "                              minimum, maximum, mean, variance and deviation of the view\n"
           "  label-statistics <volume> --labels <volume> [--roi R]\n"
           "                              statistics of the voxels of each label; a label volume\n"
           "                              that is not uint8 gives each voxel its value / 256 as label\n"
           "  count-in-range <volume> --min A --max B [--roi R]\n"
           "                              number of voxels with A <= value <= B, the bounds taken to\n"
           "                              the voxel type (1.5 is 1 for integers)\n"
           "  median <volume> [--roi R]   median of the view (the lower middle value for an even count)\n"
           "  area <mesh> [--voxel-size um]\n"
           "                              area of a triangle mesh, in square micrometres\n"
           "  project-max <volume> [--direction D] [--roi R] [--png FILE]\n"
           "                              largest value on every ray; D 0 along tert (default), 1 sec,\n"
           "                              2 prim\n"
           "  project-sum <volume> [--direction D] [--type T] [--roi R] [--png FILE]\n"
           "                              sum of every ray, formed in voxel type T (default: the\n"
           "                              volume's own, which wraps around)\n"
           "  project-mean <volume> [--direction D] [--type T] [--roi R] [--png FILE]\n"
           "                              mean of every ray, summed in float64; T float32, float64 or\n"
           "                              the volume's own type (default), where means are rounded\n"
           "  project-median <volume> [--direction D] [--roi R] [--png FILE]\n"
           "                              median of every ray (the lower middle value for an even\n"
           "                              length), in the view's first plane across the rays\n"
           "  height-map <volume> [--direction A] [--type T] [--roi R] [--png FILE]\n"
           "                              depth of the first voxel that is not 0 on every ray; A 0\n"
           "                              along prim, 1 sec, 2 tert (default); T uint8, uint16 (default)\n"
           "                              or uint32\n"
           "  flatten <volume> [--threads N] [--slice K] [--roi R] [--png FILE]\n"
           "                              height map along tert, then every column moved up by its\n"
           "                              height; the PNG shows slice K (default 0) of the result\n"
           "  window <volume> --min A --max B --background C [--roi R] [--png FILE]\n"
           "                              voxels from A to B pass, all others become C; the three\n"
           "                              values are of the volume's voxel type\n"
           "  lut <volume> --table FILE [--type T] [--roi R] [--png FILE]\n"
           "                              every voxel mapped through the table in FILE into type T\n"
           "                              (default float32); FILE holds lines 'key value', and keys\n"
           "                              it does not name map to 0\n"
           "  convert <volume> --type T [--no-rounding] [--unchecked] [--roi R] [--png FILE]\n"
           "                              the volume's values, read as float64, rounded half up and\n"
           "                              written as type T; a value that T cannot hold fails unless\n"
           "                              --unchecked\n"
           "  concat <volume> <volume> --face F [--roi R] [--slice K] [--png FILE]\n"
           "                              the two volumes joined: F 0, 1, 2 puts the second below the\n"
           "                              first along sec, prim, tert; 3, 4, 5 above it; the region R\n"
           "                              is taken of both; the PNG shows slice K (default 0)\n"
           "  duplicate-slice <volume> --plane P --index I --count N [--roi R] [--slice K] [--png FILE]\n"
           "                              slice I of plane P (XY, XZ or YZ) repeated N times; the PNG\n"
           "                              shows slice K (default 0) of the result\n"
           "  identifiers                 every class identifier known to the class factory\n"
           "  --help                      this text\n"
           "\n"
           "<volume> and <mesh> name the data to work on; 'builtin' is the demo's own volume\n"
           "(192 x 128 x 72 Tarn::uint16, a bent sheet with writing inside) and the mesh of its\n"
           "upper surface. R is a region of the view as prim,sec,tert,sizePrim,sizeSec,sizeTert.\n"
           "T is a voxel type: int8, uint8, int16, uint16, int32, uint32, float32 or float64.\n"
        << LumoTool::fileHelp();
}

template <class P> SmartPointer<IComposite> asComposite(const SmartPointer<P>& parameter)
{
    return DynamicCast<SmartPointer<IComposite>>(parameter);
}

SmartPointer<Tarn::Kito::IVolume> volumeNamed(const std::string& name, const LumoTool::FileOptions& files)
{
    if (name == "builtin" && !files.raw)
        return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoTool::makeBuiltinVolume());
    return LumoTool::readVolumeFile(name, files);
}

LumoTool::Table meshNamed(const std::string& name)
{
    if (name == "builtin") return LumoTool::makeBuiltinMesh();
    throw UsageError("unknown mesh '" + name + "' (this build knows 'builtin')");
}

Tarn::Kito::RegionOfInterest<SizeType> parseRegion(const std::string& text)
{
    std::vector<SizeType> numbers;
    std::istringstream in(text);
    std::string part;
    while (std::getline(in, part, ',')) {
        try {
            std::size_t used = 0;
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

/// The options after a command. Each command takes the ones its help line names.
struct Options {
    bool hasRegion = false;
    Tarn::Kito::RegionOfInterest<SizeType> region;
    double voxelSize = LumoTool::builtinVoxelSizeInMicrometers;
    Tarn::uint64 direction = 0;
    bool hasDirection = false;
    std::string type;
    int threads = 0;
    SizeType slice = 0;
    std::string png;
    std::string out = "lumo-demo";
    /// A REK file for the result, from the file options.
    std::string rek;
    // window, lut, convert; count-in-range takes --min and --max too
    std::string minimum, maximum, background;
    std::string table;
    bool rounding = true;
    bool checked = true;
    // label-statistics
    std::string labels;
    // concat, duplicate-slice
    std::string face, plane, index, count;
};

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

SizeType parseCount(const std::string& text, const char* what)
{
    try {
        std::size_t used = 0;
        const unsigned long long value = std::stoull(text, &used);
        if (used == text.size() && text[0] != '-') return value;
    } catch (const std::logic_error&) {
    }
    throw UsageError(std::string(what) + " takes a number that is not negative");
}

Options parseOptions(const std::vector<std::string>& args, std::size_t from, const std::vector<std::string>& allowed)
{
    Options options;
    for (std::size_t i = from; i < args.size(); ++i) {
        const std::string& name = args[i];
        const bool known = std::find(allowed.begin(), allowed.end(), name) != allowed.end();
        // The two switches of convert take no value.
        if (known && (name == "--no-rounding" || name == "--unchecked")) {
            (name == "--no-rounding" ? options.rounding : options.checked) = false;
            continue;
        }
        if (!known || i + 1 >= args.size()) throw UsageError("unexpected argument '" + name + "'");
        const std::string& value = args[++i];
        if (name == "--roi") {
            options.hasRegion = true;
            options.region = parseRegion(value);
        } else if (name == "--voxel-size") {
            try {
                options.voxelSize = std::stod(value);
            } catch (const std::logic_error&) {
                throw UsageError("--voxel-size takes a number of micrometres");
            }
        } else if (name == "--direction") {
            options.direction = parseCount(value, "--direction");
            options.hasDirection = true;
        } else if (name == "--type") {
            options.type = value;
        } else if (name == "--threads") {
            options.threads = static_cast<int>(std::min<SizeType>(parseCount(value, "--threads"), 1024));
        } else if (name == "--slice") {
            options.slice = parseCount(value, "--slice");
        } else if (name == "--png") {
            options.png = value;
        } else if (name == "--out") {
            options.out = value;
        } else if (name == "--min") {
            options.minimum = value;
        } else if (name == "--max") {
            options.maximum = value;
        } else if (name == "--background") {
            options.background = value;
        } else if (name == "--table") {
            options.table = value;
        } else if (name == "--labels") {
            options.labels = value;
        } else if (name == "--face") {
            options.face = value;
        } else if (name == "--plane") {
            options.plane = value;
        } else if (name == "--index") {
            options.index = value;
        } else if (name == "--count") {
            options.count = value;
        }
    }
    return options;
}

std::string describe(const Tarn::Kito::IVolume& volume)
{
    std::ostringstream text;
    text << volume.getDimPrim() << " x " << volume.getDimSec() << " x " << volume.getDimTert() << " "
         << volume.getVoxelTypeName();
    return text.str();
}

SmartPointer<Tarn::Kito::IVolume> asVolume(const LumoTool::Volume16& volume)
{
    return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume);
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

/// Writes the first slice of an operator's result. hidden, when given, is a value left out of the
/// grey scale: a height map's "not found".
void writeSlice(const SmartPointer<Tarn::Kito::IVolume>& slice, const std::string& path, bool hideLargest = false)
{
    withVoxelType(slice->getVoxelTypeName(), [&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        const InMemory<T> typed = DynamicCast<InMemory<T>>(slice);
        if (typed == 0) throw std::runtime_error("the result is not held in memory");
        const T largest = std::numeric_limits<T>::max();
        LumoTool::writePng(path, LumoTool::imageOf(typed, hideLargest ? &largest : nullptr));
    });
}

double sumOf(const SmartPointer<Tarn::Kito::IVolume>& volume)
{
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> p(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    p->inputVolume.setValue(volume);
    Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputSum.getValue();
}

void printStatistics(const SmartPointer<Tarn::Kito::IVolume>& volume, const std::string& indent)
{
    using Parameter = Tarn::Lumo_DLL::IStatisticsFromVolume::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    Tarn::Lumo_DLL::IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    std::printf("%sminimum %s, maximum %s, mean %.3f, variance %.3f, standard deviation %.3f\n", indent.c_str(),
                p->outputMinimum.getValue()->toString().c_str(), p->outputMaximum.getValue()->toString().c_str(),
                p->outputMean.getValue(), p->outputVariance.getValue(), p->outputStandardDeviation.getValue());
}

/// The labels of a volume's view: a Tarn::uint8 volume in memory as it stands; any other volume is
/// turned into one by the tool's own loop, each voxel's label its value divided by 256 and kept in
/// 0 to 255 (for 16-bit grey values their upper byte).
SmartPointer<Tarn::Kito::IVolume> labelsOf(const SmartPointer<Tarn::Kito::IVolume>& volume)
{
    if (DynamicCast<InMemory<Tarn::uint8>>(volume) != 0) return volume;
    SmartPointer<Tarn::Kito::IVolume> result;
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
        result = DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(labels);
    });
    return result;
}

void printLabelStatistics(const SmartPointer<Tarn::Kito::IVolume>& volume, const SmartPointer<Tarn::Kito::IVolume>& labels)
{
    using Parameter = Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputLabelVolume.setValue(labels);
    Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    const auto map = p->outputMapStatistics.getValue();
    std::printf("%zu labels\n", map->size());
    for (const auto& entry : *map) {
        const auto& s = entry.second;
        std::printf("label %3u: minimum %s, maximum %s, mean %.3f, variance %.3f, standard deviation %.3f\n",
                    static_cast<unsigned>(entry.first), s->outputMinimum.getValue()->toString().c_str(),
                    s->outputMaximum.getValue()->toString().c_str(), s->outputMean.getValue(),
                    s->outputVariance.getValue(), s->outputStandardDeviation.getValue());
    }
}

Tarn::uint64 countInRange(const SmartPointer<Tarn::Kito::IVolume>& volume, double minimum, double maximum)
{
    using Parameter = Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputRangeLowerValue.setValue(
        DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<double>(minimum)));
    p->inputRangeUpperValue.setValue(
        DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<double>(maximum)));
    Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputFrequency.getValue();
}

/// The median of the view. The operator pushes the region in force again, on the bottom region too,
/// so the stack is put back as it was.
std::string medianOf(const SmartPointer<Tarn::Kito::IVolume>& volume)
{
    using Parameter = Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi::Parameter;
    const SizeType depth = volume->getRoiStack().size();
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi::IOperator facade;
    facade.apply(asComposite(p));
    while (volume->getRoiStack().size() > depth) volume->popRoi();
    return p->outputValue.getValue()->toString();
}

double areaOf(const LumoTool::Table& mesh, double voxelSize)
{
    using Parameter = Tarn::Lumo_DLL::ISumOfTriangleAreas::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputTriangleVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(mesh));
    p->inputVoxelSizePrimInMicrometers.setValue(voxelSize);
    p->inputVoxelSizeSecInMicrometers.setValue(voxelSize);
    p->inputVoxelSizeTertInMicrometers.setValue(voxelSize);
    Tarn::Lumo_DLL::ISumOfTriangleAreas::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputSumOfTriangleAreas.getValue();
}

/// A projection of either kind; outputType empty keeps the volume's own type.
template <class Facade>
SmartPointer<Tarn::Kito::IVolume> project(const SmartPointer<Tarn::Kito::IVolume>& volume, Tarn::uint64 direction,
                                          const std::string& outputType)
{
    SmartPointer<typename Facade::Parameter> p(new typename Facade::Parameter);
    p->inputVolume.setValue(volume);
    p->outputVolume.setValue(outputType.empty() ? SmartPointer<Tarn::Kito::IVolume>() : placeholderOfType(outputType));
    p->inputDirection.setValue(direction);
    typename Facade::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputVolume.getValue();
}

/// The plane of a median filter's result that holds the medians, as a region on it: the first plane
/// across the rays.
SmartPointer<Tarn::Kito::IVolume> medianPlaneOf(const SmartPointer<Tarn::Kito::IVolume>& filtered, Tarn::uint64 direction)
{
    const SizeType P = filtered->getDimPrim(), S = filtered->getDimSec(), T = filtered->getDimTert();
    const Tarn::Kito::Dimension<SizeType> plane = direction == 0   ? Tarn::Kito::Dimension<SizeType>(P, S, 1)
                                                  : direction == 1 ? Tarn::Kito::Dimension<SizeType>(P, 1, T)
                                                                   : Tarn::Kito::Dimension<SizeType>(1, S, T);
    filtered->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(plane, Tarn::Kito::Position<SizeType>(0, 0, 0)));
    std::printf("medians in the plane: ");
    return filtered;
}

/// The height map leaves the volume turned so that its view's tert is the searched axis.
SmartPointer<Tarn::Kito::IVolume> heightMapOf(const SmartPointer<Tarn::Kito::IVolume>& volume, Tarn::uint64 direction,
                                              const std::string& outputType)
{
    using Parameter = Tarn::Lumo_DLL::IHeightMap::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputDirection.setValue(direction);
    p->inputNumberOfThreads.setValue(0);
    p->outputVolume.setValue(placeholderOfType(outputType));
    Tarn::Lumo_DLL::IHeightMap::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputVolume.getValue();
}

SmartPointer<Tarn::Kito::IVolume> flatten(const SmartPointer<Tarn::Kito::IVolume>& volume,
                                          const SmartPointer<Tarn::Kito::IVolume>& heightMap, int threads)
{
    using Parameter = Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputHeightMapVolume.setValue(heightMap);
    p->inputNumberOfThreads.setValue(threads);
    Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputVolume.getValue();
}

void makeDirectory(const std::string& path)
{
    std::error_code failure;
    std::filesystem::create_directories(path, failure);
    if (failure) throw std::runtime_error("cannot make the directory " + path + ": " + failure.message());
}

int demo(const Options& options)
{
    const auto identifiers = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    std::printf("Lumo demo: %zu class identifiers registered with the class factory\n\n", identifiers.size());

    const LumoTool::Volume16 sheet = LumoTool::makeBuiltinVolume();
    const SmartPointer<Tarn::Kito::IVolume> volume = asVolume(sheet);
    std::printf("Built-in volume: %s, a bent sheet ten voxels thick in air masked to 0,\n"
                "with the word LUMO written in lighter material %llu voxels under its upper surface\n",
                describe(*volume).c_str(), static_cast<unsigned long long>(LumoTool::builtinWritingDepth));
    std::printf("  sum of all voxels: %.0f\n", sumOf(volume));
    printStatistics(volume, "  ");
    const LumoTool::Table mesh = LumoTool::makeBuiltinMesh();
    std::printf("  upper surface as a mesh of %llu triangles: %.2f mm^2 at %.0f um per voxel\n",
                static_cast<unsigned long long>(mesh->getDimPrim() / 3),
                areaOf(mesh, LumoTool::builtinVoxelSizeInMicrometers) / 1e6, LumoTool::builtinVoxelSizeInMicrometers);

    makeDirectory(options.out);
    const std::string maxPath = options.out + "/max-projection.png";
    const std::string heightPath = options.out + "/height-map.png";
    const std::string flatPath =
        options.out + "/flattened-slice-" + std::to_string(LumoTool::builtinWritingDepth) + ".png";

    const SmartPointer<Tarn::Kito::IVolume> maximum = project<Tarn::Lumo_DLL::IProjectionMax>(volume, 0, "");
    writeSlice(maximum, maxPath);
    std::printf("\n1. Maximum projection along tert (IProjectionMax): %s\n", describe(*maximum).c_str());
    printStatistics(maximum, "   ");
    std::printf("   %s: the sheet seen from above, dense material on every ray; the writing\n"
                "   does not show, since the material above and below it wins each maximum\n",
                maxPath.c_str());

    const SmartPointer<Tarn::Kito::IVolume> heights = heightMapOf(volume, 2, "uint8");
    writeSlice(heights, heightPath, true);
    std::printf("\n2. Height map along tert (IHeightMap): %s, the depth of the first voxel that is not 0\n",
                describe(*heights).c_str());
    printStatistics(heights, "   ");
    std::printf("   %s: the shape of the upper surface, dark where it lies high (small depth),\n"
                "   bright towards the ends of prim where the sheet bends down\n",
                heightPath.c_str());

    const SmartPointer<Tarn::Kito::IVolume> flat = flatten(volume, heights, 0);
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
    LumoTool::writeDirectionalDemo(options.out);

    std::printf("\nWhat a host sees when it forgets the volume:\n");
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> empty(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    try {
        Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
        facade.apply(asComposite(empty));
    } catch (const std::invalid_argument& failure) {
        std::printf("  %s\n", failure.what());
    }
    std::printf("\nImages written to %s\n", options.out.c_str());
    return 0;
}

int identifiers()
{
    for (const auto& identifier : Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers())
        std::cout << identifier << "\n";
    return 0;
}

/// Prints a single-slice result and writes it when a PNG was asked for.
void report(const SmartPointer<Tarn::Kito::IVolume>& result, const Options& options, bool hideLargest = false)
{
    if (!options.rek.empty()) {
        LumoTool::writeRek(options.rek, result);
        std::printf("written to %s\n", options.rek.c_str());
    }
    std::printf("result: %s\n", describe(*result).c_str());
    printStatistics(result, "");
    if (!options.png.empty()) {
        writeSlice(result, options.png, hideLargest);
        std::printf("written to %s\n", options.png.c_str());
    }
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

SmartPointer<Tarn::Kito::IVolume> windowOf(const SmartPointer<Tarn::Kito::IVolume>& volume, const Options& options)
{
    if (options.minimum.empty() || options.maximum.empty() || options.background.empty())
        throw UsageError("window takes --min, --max and --background");
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
    facade.apply(asComposite(p));
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

SmartPointer<Tarn::Kito::IVolume> lookUp(const SmartPointer<Tarn::Kito::IVolume>& volume, const Options& options)
{
    if (options.table.empty()) throw UsageError("lut takes --table FILE");
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
    facade.apply(asComposite(p));
    return p->outputVolume.getValue();
}

/// The volume's values as float64, the type the conversion reads, then converted into the type
/// asked for by the instance that the class factory holds for the pair.
SmartPointer<Tarn::Kito::IVolume> convertTo(const SmartPointer<Tarn::Kito::IVolume>& volume, const Options& options)
{
    if (options.type.empty()) throw UsageError("convert takes --type T");
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
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(values));
    p->inputRounding.setValue(options.rounding);
    p->inputCheckedCast.setValue(options.checked);
    const SmartPointer<Tarn::Kito::IVolume> placeholder = placeholderOfType(options.type);
    const SmartPointer<Tarn::Kito::IOperator> conversion =
        DynamicCast<SmartPointer<Tarn::Kito::IOperator>>(Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
            "Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator< " +
            DynamicCast<SmartPointer<IComposite>>(p->inputVolume.getValue())->getType() + ", " +
            DynamicCast<SmartPointer<IComposite>>(placeholder)->getType() + " >"));
    conversion->apply(asComposite(p));
    return p->outputVolume.getValue();
}

// ---- volume assembly: concat, duplicate-slice ----------------------------------------------------------

SmartPointer<Tarn::Kito::IVolume> concatOf(const SmartPointer<Tarn::Kito::IVolume>& first,
                                           const SmartPointer<Tarn::Kito::IVolume>& second, Tarn::uint64 face)
{
    SmartPointer<Tarn::Lumo_DLL::IConcatVolumes::Parameter> p(new Tarn::Lumo_DLL::IConcatVolumes::Parameter);
    p->inputVolumeFirst.setValue(first);
    p->inputVolumeSecond.setValue(second);
    p->inputFace.setValue(face);
    Tarn::Lumo_DLL::IConcatVolumes::IOperator concat;
    concat.apply(asComposite(p));
    return p->outputVolume.getValue();
}

SmartPointer<Tarn::Kito::IVolume> duplicateSliceOf(const SmartPointer<Tarn::Kito::IVolume>& volume,
                                                   const std::string& plane, SizeType index, SizeType count)
{
    SmartPointer<Tarn::Lumo_DLL::IDuplicateSlices::Parameter> p(new Tarn::Lumo_DLL::IDuplicateSlices::Parameter);
    p->inputVolume.setValue(volume);
    p->inputSliceOrientation.setValue(plane + "-Slice");
    p->inputSliceIndex.setValue(index);
    p->inputNumberOfSlices.setValue(count);
    Tarn::Lumo_DLL::IDuplicateSlices::IOperator duplicate;
    duplicate.apply(asComposite(p));
    return p->outputVolume.getValue();
}

/// concat A B and duplicate-slice V: the inputs and the new volume are described, then slice K of
/// the new volume is reported (and written) as a single-slice result.
int assemble(const std::vector<std::string>& args, const LumoTool::FileOptions& files)
{
    const bool concat = args[0] == "concat";
    const std::size_t volumes = concat ? 2 : 1;
    if (args.size() < volumes + 1) throw UsageError("unknown command or wrong arguments: '" + args[0] + "'");
    const std::vector<std::string> allowed =
        concat ? std::vector<std::string>{"--face", "--roi", "--slice", "--png"}
               : std::vector<std::string>{"--plane", "--index", "--count", "--roi", "--slice", "--png"};
    Options options = parseOptions(args, volumes + 1, allowed);
    options.rek = files.rek;
    std::vector<SmartPointer<Tarn::Kito::IVolume>> inputs;
    for (std::size_t k = 1; k <= volumes; ++k) {
        const SmartPointer<Tarn::Kito::IVolume> named = volumeNamed(args[k], files);
        if (options.hasRegion) named->setRoi(options.region);
        inputs.push_back(named);
        std::printf("%s: %s\n", args[k].c_str(), describe(*inputs.back()).c_str());
    }
    SmartPointer<Tarn::Kito::IVolume> result;
    if (concat) {
        if (options.face.empty()) throw UsageError("concat takes --face");
        result = concatOf(inputs[0], inputs[1], parseCount(options.face, "--face"));
    } else {
        if (options.plane.empty() || options.index.empty() || options.count.empty())
            throw UsageError("duplicate-slice takes --plane, --index and --count");
        if (options.plane != "XY" && options.plane != "XZ" && options.plane != "YZ")
            throw UsageError("--plane takes XY, XZ or YZ");
        result = duplicateSliceOf(inputs[0], options.plane, parseCount(options.index, "--index"),
                                  parseCount(options.count, "--count"));
    }
    std::printf("%s: %s\n", concat ? "joined" : "repeated", describe(*result).c_str());
    if (options.slice >= result->getDimTert()) throw UsageError("--slice lies outside the new volume");
    result->setRoiToSlice(options.slice);
    std::printf("slice %llu of it: ", static_cast<unsigned long long>(options.slice));
    report(result, options);
    return 0;
}

int run(std::vector<std::string> args)
{
    const LumoTool::FileOptions files = LumoTool::takeFileOptions(args, 1);
    const std::string& command = args[0];
    if (command == "info" && args.size() == 2) return LumoTool::printInfo(args[1]);
    if (command == "demo") return demo(parseOptions(args, 1, {"--out"}));
    if (command == "identifiers" && args.size() == 1) return identifiers();
    if (command == "concat" || command == "duplicate-slice") return assemble(args, files);
    if (command == "area" && args.size() >= 2) {
        const Options options = parseOptions(args, 2, {"--voxel-size"});
        const LumoTool::Table mesh = meshNamed(args[1]);
        std::printf("%s: %llu triangles, voxel size %g um\narea %.17g um^2\n", args[1].c_str(),
                    static_cast<unsigned long long>(mesh->getDimPrim() / 3), options.voxelSize,
                    areaOf(mesh, options.voxelSize));
        return 0;
    }
    const std::vector<std::string> volumeCommands = {"sum",     "statistics",       "project-max",    "project-sum",
                                                     "height-map", "flatten",       "window",         "lut",
                                                     "convert",    "label-statistics", "count-in-range", "median",
                                                     "project-mean", "project-median"};
    if (std::find(volumeCommands.begin(), volumeCommands.end(), command) == volumeCommands.end() || args.size() < 2)
        throw UsageError("unknown command or wrong arguments: '" + command + "'");

    std::vector<std::string> allowed = {"--roi"};
    if (command == "project-max" || command == "project-sum" || command == "project-mean" ||
        command == "project-median" || command == "height-map")
        allowed.insert(allowed.end(), {"--direction", "--png"});
    if (command == "project-sum" || command == "project-mean" || command == "height-map") allowed.push_back("--type");
    if (command == "flatten") allowed.insert(allowed.end(), {"--threads", "--slice", "--png"});
    if (command == "window") allowed.insert(allowed.end(), {"--min", "--max", "--background", "--png"});
    if (command == "lut") allowed.insert(allowed.end(), {"--table", "--type", "--png"});
    if (command == "convert") allowed.insert(allowed.end(), {"--type", "--no-rounding", "--unchecked", "--png"});
    if (command == "label-statistics") allowed.push_back("--labels");
    if (command == "count-in-range") allowed.insert(allowed.end(), {"--min", "--max"});
    Options options = parseOptions(args, 2, allowed);
    options.rek = files.rek;
    if (command == "label-statistics" && options.labels.empty()) throw UsageError("label-statistics needs --labels");
    if (command == "count-in-range" && (options.minimum.empty() || options.maximum.empty()))
        throw UsageError("count-in-range needs --min and --max");
    const SmartPointer<Tarn::Kito::IVolume> volume = volumeNamed(args[1], files);
    if (options.hasRegion) volume->setRoi(options.region);
    std::printf("%s: %s\n", args[1].c_str(), describe(*volume).c_str());

    if (command == "sum") {
        std::printf("sum %.17g\n", sumOf(volume));
    } else if (command == "statistics") {
        printStatistics(volume, "");
    } else if (command == "label-statistics") {
        // The label volume gets the same region, so that the two views have the same extents.
        // A label file is read as a REK file: the raw options describe the volume.
        const SmartPointer<Tarn::Kito::IVolume> namedLabels = volumeNamed(options.labels, LumoTool::FileOptions());
        if (options.hasRegion) namedLabels->setRoi(options.region);
        const SmartPointer<Tarn::Kito::IVolume> labels = labelsOf(namedLabels);
        std::printf("labels %s: %s\n", options.labels.c_str(), describe(*labels).c_str());
        printLabelStatistics(volume, labels);
    } else if (command == "count-in-range") {
        const double minimum = parseNumber(options.minimum, "--min"), maximum = parseNumber(options.maximum, "--max");
        const Tarn::uint64 count = countInRange(volume, minimum, maximum);
        const SizeType all = volume->getDimPrim() * volume->getDimSec() * volume->getDimTert();
        std::printf("%llu of %llu voxels in [%g, %g] (%.3f%%)\n", static_cast<unsigned long long>(count),
                    static_cast<unsigned long long>(all), minimum, maximum,
                    all == 0 ? 0.0 : 100.0 * static_cast<double>(count) / static_cast<double>(all));
    } else if (command == "median") {
        std::printf("median %s\n", medianOf(volume).c_str());
    } else if (command == "project-max") {
        report(project<Tarn::Lumo_DLL::IProjectionMax>(volume, options.direction, ""), options);
    } else if (command == "project-sum") {
        report(project<Tarn::Lumo_DLL::IProjectionSum>(volume, options.direction, options.type), options);
    } else if (command == "project-mean") {
        report(project<Tarn::Lumo_DLL::IProjectionMean>(volume, options.direction, options.type), options);
    } else if (command == "project-median") {
        const SmartPointer<Tarn::Kito::IVolume> filtered =
            project<Tarn::Lumo_DLL::IProjectionMedian>(volume, options.direction, "");
        std::printf("filtered: %s\n", describe(*filtered).c_str());
        report(medianPlaneOf(filtered, options.direction), options);
    } else if (command == "window") {
        report(windowOf(volume, options), options);
    } else if (command == "lut") {
        report(lookUp(volume, options), options);
    } else if (command == "convert") {
        report(convertTo(volume, options), options);
    } else if (command == "height-map") {
        const Tarn::uint64 direction = options.hasDirection ? options.direction : 2;
        report(heightMapOf(volume, direction, options.type.empty() ? "uint16" : options.type), options, true);
    } else {
        const SmartPointer<Tarn::Kito::IVolume> flat = flatten(volume, heightMapOf(volume, 2, "uint16"), options.threads);
        std::printf("flattened: %s\n", describe(*flat).c_str());
        if (options.slice >= flat->getDimTert()) throw UsageError("--slice lies outside the flattened volume");
        flat->setRoiToSlice(options.slice);
        std::printf("slice %llu of it: ", static_cast<unsigned long long>(options.slice));
        report(flat, options);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
        printHelp(std::cout);
        return 0;
    }
    if (args.empty()) {
        printHelp(std::cerr);
        return exitUsage;
    }
    try {
        return run(args);
    } catch (const UsageError& failure) {
        std::cerr << "lumo: " << failure.what() << "\n\n";
        printHelp(std::cerr);
        return exitUsage;
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
