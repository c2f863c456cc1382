// ToolRun: the built lumo program run as a user types a command, with what it printed and its exit
// code; the tool tests share it.
#ifndef LUMO_TESTS_TOOLS_TOOLRUN_H_INCLUDED
#define LUMO_TESTS_TOOLS_TOOLRUN_H_INCLUDED

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace ToolTest {

/// What the tool printed, and its exit code.
struct ToolRun {
    std::string out;
    int code = -1;
};

/// The tool's standard output, or with redirect "2>&1 1>/dev/null" its error output.
inline ToolRun lumo(const std::string& arguments, const char* redirect = "2>/dev/null")
{
    ToolRun run;
    std::FILE* pipe = ::popen((std::string(LUMO_TOOL) + " " + arguments + " " + redirect).c_str(), "r");
    if (pipe == nullptr) return run;
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) run.out.append(buffer, n);
    const int status = ::pclose(pipe);
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

inline ToolRun lumoErrors(const std::string& arguments) { return lumo(arguments, "2>&1 1>/dev/null"); }

/// The whole content of a file, empty when there is none.
inline std::string contentOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace ToolTest

#endif
