#include "Watch.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>

namespace LumoTool {

namespace {

// Touched by the signal handler: a lock-free atomic is the one kind of object it may change.
std::atomic<int> interrupts{0};
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler needs a lock-free counter");

bool barWanted = false;

extern "C" void onInterrupt(int)
{
    if (interrupts.fetch_add(1) == 0) return;
    // The second Ctrl-C: the operator may be one that never looks at its stop flag.
    static const char message[] = "\nlumo: stopped at once\n";
    const ssize_t ignored = ::write(STDERR_FILENO, message, sizeof message - 1);
    (void)ignored;
    ::_exit(130);
}

bool stopAsked() { return interrupts.load() > 0; }

std::string seconds(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, value < 10.0 ? "%.1f s" : "%.0f s", value);
    return text;
}

void drawBar(const std::string& what, double progress, double elapsed)
{
    constexpr int width = 30;
    const double shown = progress < 0.0 ? 0.0 : progress > 1.0 ? 1.0 : progress;
    const int filled = static_cast<int>(shown * width);
    std::string bar(static_cast<std::size_t>(filled), '#');
    bar.append(static_cast<std::size_t>(width - filled), '.');
    // The rest is estimated from the pace so far, once there is a pace to speak of.
    const std::string rest = shown >= 0.01 ? "about " + seconds(elapsed * (1.0 - shown) / shown) + " left" : "";
    std::fprintf(stderr, "\r\033[K%s [%s] %3.0f%%  %s  %s", what.c_str(), bar.c_str(), 100.0 * shown,
                 seconds(elapsed).c_str(), rest.c_str());
    std::fflush(stderr);
}

} // namespace

void installStopHandler()
{
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
}

void showProgress(bool wanted) { barWanted = wanted && ::isatty(STDERR_FILENO); }

void runWatched(Tarn::Kito::IOperator& operation, const Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>& parameter,
                const std::string& what)
{
    if (stopAsked()) throw Stopped("stopped before " + what + " began");
    // What the tool has said so far is out before the run, for a reader on a pipe too.
    std::fflush(stdout);
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    std::mutex lock;
    std::condition_variable wake;
    bool done = false;
    std::thread watcher([&] {
        bool drawn = false;
        std::unique_lock<std::mutex> held(lock);
        while (!wake.wait_for(held, std::chrono::milliseconds(100), [&] { return done; })) {
            if (stopAsked()) operation.abort();
            const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
            // Runs shorter than a few polls are not worth a bar that flickers.
            if (barWanted && elapsed >= 0.3) {
                drawBar(what, operation.getProgress().getProgress(), elapsed);
                drawn = true;
            }
        }
        if (drawn) {
            std::fprintf(stderr, "\r\033[K");
            std::fflush(stderr);
        }
    });
    const auto finish = [&] {
        {
            const std::lock_guard<std::mutex> held(lock);
            done = true;
        }
        wake.notify_one();
        watcher.join();
    };
    try {
        operation.apply(parameter);
    } catch (...) {
        finish();
        throw;
    }
    finish();
    if (!stopAsked()) return;
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    // Operators that never look at their stop flag run to their end: the stop then comes after them.
    const double reached = operation.getProgress().getProgress();
    char where[160];
    if (reached >= 1.0)
        std::snprintf(where, sizeof where, "stopped after %s (%s), which runs to its end", what.c_str(), seconds(elapsed).c_str());
    else
        std::snprintf(where, sizeof where, "%s stopped at %.0f%% after %s", what.c_str(), 100.0 * reached, seconds(elapsed).c_str());
    throw Stopped(where);
}

} // namespace LumoTool
