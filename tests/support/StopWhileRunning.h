// StopWhileRunning: a host's second thread that watches an operator's progress and asks it to stop.
#ifndef TARN_TESTS_SUPPORT_STOPWHILERUNNING_H_INCLUDED
#define TARN_TESTS_SUPPORT_STOPWHILERUNNING_H_INCLUDED

#include <atomic>
#include <thread>
#include <vector>

namespace TestSupport {

/// What the watching thread saw: every progress value it read, in order, the last one read after
/// the run had ended; and whether it asked for the stop before the run ended.
struct StoppedRun {
    bool stopAsked = false;
    std::vector<double> seen;
};

/// Runs run() on this thread while a second thread reads op.getProgress() over and over and calls
/// op.abort() once it sees a value above 0 (the walk is under way then, so the stop cannot be
/// forgotten by the start of apply). Whether the walk saw the stop before its end depends on the
/// scheduler: callers look at the final progress.
template <class Op, class Run> StoppedRun stopWhileRunning(Op& op, Run&& run)
{
    std::atomic<bool> finished{false};
    StoppedRun result;
    std::thread watcher([&] {
        while (!finished.load()) {
            const double value = op.getProgress().getProgress();
            result.seen.push_back(value);
            if (value > 0.0 && !result.stopAsked) {
                op.abort();
                result.stopAsked = true;
            }
            std::this_thread::yield();
        }
        result.seen.push_back(op.getProgress().getProgress());
    });
    try {
        run();
    } catch (...) {
        finished = true;
        watcher.join();
        throw;
    }
    finished = true;
    watcher.join();
    return result;
}

/// True if no value is below the one before it.
inline bool neverFalls(const std::vector<double>& values)
{
    for (std::size_t k = 1; k < values.size(); ++k)
        if (values[k] < values[k - 1]) return false;
    return true;
}

} // namespace TestSupport

#endif
