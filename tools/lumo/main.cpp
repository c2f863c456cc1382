// lumo: the library's first host. It runs the operators on a built-in volume and prints what a
// user wants to read. Exit codes: 0 success, 1 a failure reported by the library, 2 bad usage.
#include "BuiltinVolume.h"

#include <Kito/Kito>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <cstdio>
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
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void printHelp(std::ostream& out)
{
    out << "usage: lumo <command> [arguments]\n"
           "\n"
           "commands:\n"
           "  demo                        run the operators on the built-in volume and report\n"
           "  sum <volume> [--roi R]      sum of the voxels of the volume's view\n"
           "  statistics <volume> [--roi R]\n"
           "                              minimum, maximum, mean, variance and deviation of the view\n"
           "  area <mesh> [--voxel-size um]\n"
           "                              area of a triangle mesh, in square micrometres\n"
           "  identifiers                 every class identifier known to the class factory\n"
           "  --help                      this text\n"
           "\n"
           "<volume> and <mesh> name the data to work on; 'builtin' is the demo's own volume\n"
           "(96 x 80 x 48 Tarn::uint16) and the surface mesh of its block. R is a region of the\n"
           "view as prim,sec,tert,sizePrim,sizeSec,sizeTert.\n";
}

template <class P> SmartPointer<IComposite> asComposite(const SmartPointer<P>& parameter)
{
    return DynamicCast<SmartPointer<IComposite>>(parameter);
}

LumoTool::Volume16 volumeNamed(const std::string& name)
{
    if (name == "builtin") return LumoTool::makeBuiltinVolume();
    throw UsageError("unknown volume '" + name + "' (this build knows 'builtin')");
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

/// The options after a command: only "--roi R" and "--voxel-size x" exist.
struct Options {
    bool hasRegion = false;
    Tarn::Kito::RegionOfInterest<SizeType> region;
    double voxelSize = LumoTool::builtinVoxelSizeInMicrometers;
};

Options parseOptions(const std::vector<std::string>& args, std::size_t from)
{
    Options options;
    for (std::size_t i = from; i < args.size(); ++i) {
        if (args[i] == "--roi" && i + 1 < args.size()) {
            options.hasRegion = true;
            options.region = parseRegion(args[++i]);
        } else if (args[i] == "--voxel-size" && i + 1 < args.size()) {
            try {
                options.voxelSize = std::stod(args[++i]);
            } catch (const std::logic_error&) {
                throw UsageError("--voxel-size takes a number of micrometres");
            }
        } else {
            throw UsageError("unexpected argument '" + args[i] + "'");
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

double sumOf(const LumoTool::Volume16& volume)
{
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> p(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume));
    Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputSum.getValue();
}

void printStatistics(const LumoTool::Volume16& volume, const std::string& indent)
{
    using Parameter = Tarn::Lumo_DLL::IStatisticsFromVolume::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume));
    Tarn::Lumo_DLL::IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    std::printf("%sminimum %u, maximum %u, mean %.3f, variance %.3f, standard deviation %.3f\n", indent.c_str(),
                static_cast<unsigned>(p->outputMinimum.extractValue<Tarn::uint16>()),
                static_cast<unsigned>(p->outputMaximum.extractValue<Tarn::uint16>()), p->outputMean.getValue(),
                p->outputVariance.getValue(), p->outputStandardDeviation.getValue());
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

int demo()
{
    const auto identifiers = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    std::printf("Lumo demo: %zu class identifiers registered with the class factory\n\n", identifiers.size());

    const LumoTool::Volume16 volume = LumoTool::makeBuiltinVolume();
    std::printf("Built-in volume: %s, air around an aluminium block with a steel sphere inside\n",
                describe(*volume).c_str());
    std::printf("  sum of all voxels: %.0f\n", sumOf(volume));
    printStatistics(volume, "  whole volume: ");
    volume->setRoi(LumoTool::builtinBlockRegion());
    std::printf("  region %s of the block alone:\n", describe(*volume).c_str());
    printStatistics(volume, "    ");
    volume->popRoi();

    const LumoTool::Table mesh = LumoTool::makeBuiltinMesh();
    std::printf("\nSurface of the block as a mesh of %llu triangles, voxel size %.0f um:\n",
                static_cast<unsigned long long>(mesh->getDimPrim() / 3), LumoTool::builtinVoxelSizeInMicrometers);
    std::printf("  area %.0f um^2\n", areaOf(mesh, LumoTool::builtinVoxelSizeInMicrometers));

    std::printf("\nWhat a host sees when it forgets the volume:\n");
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> empty(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    try {
        Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
        facade.apply(asComposite(empty));
    } catch (const std::invalid_argument& failure) {
        std::printf("  %s\n", failure.what());
    }
    return 0;
}

int identifiers()
{
    for (const auto& identifier : Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers())
        std::cout << identifier << "\n";
    return 0;
}

int run(const std::vector<std::string>& args)
{
    const std::string& command = args[0];
    if (command == "demo" && args.size() == 1) return demo();
    if (command == "identifiers" && args.size() == 1) return identifiers();
    if ((command == "sum" || command == "statistics") && args.size() >= 2) {
        const Options options = parseOptions(args, 2);
        const LumoTool::Volume16 volume = volumeNamed(args[1]);
        if (options.hasRegion) volume->setRoi(options.region);
        std::printf("%s: %s\n", args[1].c_str(), describe(*volume).c_str());
        if (command == "sum")
            std::printf("sum %.17g\n", sumOf(volume));
        else
            printStatistics(volume, "");
        return 0;
    }
    if (command == "area" && args.size() >= 2) {
        const Options options = parseOptions(args, 2);
        const LumoTool::Table mesh = meshNamed(args[1]);
        std::printf("%s: %llu triangles, voxel size %g um\narea %.17g um^2\n", args[1].c_str(),
                    static_cast<unsigned long long>(mesh->getDimPrim() / 3), options.voxelSize,
                    areaOf(mesh, options.voxelSize));
        return 0;
    }
    throw UsageError("unknown command or wrong arguments: '" + command + "'");
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
