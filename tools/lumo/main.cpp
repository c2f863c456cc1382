// lumo: the library's first host. It runs the operators on a built-in volume and prints what a
// user wants to read. Exit codes: 0 success, 1 a failure reported by the library, 2 bad usage.
#include <Kito/Kito>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

void printHelp(std::ostream& out)
{
    out << "usage: lumo <command>\n"
           "\n"
           "commands:\n"
           "  demo          run the library's operators on the built-in volume and report\n"
           "  identifiers   list every class identifier registered with the class factory\n"
           "  --help        show this text\n";
}

int demo()
{
    const auto identifiers = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    std::cout << "Lumo demo\n"
              << "  class factory: " << identifiers.size() << " registered identifiers\n";

    // The spine from host to factory: a facade asked for the sum of an empty parameter object.
    Tarn::Lumo_DLL::ISumOfVoxels::IOperator sum;
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> parameter(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    try {
        sum.apply(DynamicCast<SmartPointer<IComposite>>(parameter));
        std::cout << "  ISumOfVoxels: sum " << parameter->outputSum.getValue() << "\n";
    } catch (const std::invalid_argument& failure) {
        std::cout << "  ISumOfVoxels without a volume answers:\n    " << failure.what() << "\n";
    }
    return 0;
}

int identifiers()
{
    for (const auto& identifier : Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers())
        std::cout << identifier << "\n";
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
    if (args.size() != 1) {
        printHelp(std::cerr);
        return exitUsage;
    }
    try {
        if (args[0] == "demo") return demo();
        if (args[0] == "identifiers") return identifiers();
    } catch (const Tarn::Exceptions::Exception& failure) {
        std::cerr << "lumo: " << failure.getClassName() << ": " << failure.getErrorMessage() << " ("
                  << failure.what() << ")\n";
        return exitFailure;
    } catch (const std::exception& failure) {
        std::cerr << "lumo: " << failure.what() << "\n";
        return exitFailure;
    }
    std::cerr << "lumo: unknown command '" << args[0] << "'\n";
    printHelp(std::cerr);
    return exitUsage;
}
