// Watch: how the tool runs an operator. A second thread draws a progress bar on a terminal and
// passes a Ctrl-C on to the operator's abort.
#ifndef LUMO_TOOLS_WATCH_H_INCLUDED
#define LUMO_TOOLS_WATCH_H_INCLUDED

#include <Kito/Composite>
#include <Kito/IOperator>
#include <Kito/SmartPointer>

#include <stdexcept>
#include <string>

namespace LumoTool {

/// The user stopped the run with Ctrl-C; what() says where. Exit code 130, no result written.
struct Stopped : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Makes SIGINT ask for a stop: the handler only counts the signal; a second one ends the process
/// at once with exit code 130.
void installStopHandler();

/// Whether the progress bar is drawn: only when asked and stderr is a terminal.
void showProgress(bool wanted);

/// Runs operation.apply(parameter) on this thread. Meanwhile a watching thread polls its progress
/// about ten times a second, draws the bar, and calls abort while a stop is asked for (the
/// operator clears its flag when it starts, so one call could come too early). what names the
/// work in the bar and in the message of Stopped, which is thrown when a stop was asked for
/// before or during the run, also when the operator ran to its end regardless.
void runWatched(Tarn::Kito::IOperator& operation, const Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>& parameter,
                const std::string& what);

} // namespace LumoTool

#endif
