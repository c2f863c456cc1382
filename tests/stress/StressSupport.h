// StressSupport: what the stop and concurrency stress tests share: a host's second thread that
// stops an operator at a chosen moment while it watches the progress, the number of tries for the
// build at hand, and the tally of what the tries saw.
#ifndef TARN_TESTS_STRESS_STRESSSUPPORT_H_INCLUDED
#define TARN_TESTS_STRESS_STRESSSUPPORT_H_INCLUDED

#include <Kito/IVolume>
#include <Kito/SmartPointer>
#include <Kito/Types>

#include <support/RandomVolume.h>
#include <support/Sanitizers.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <thread>
#include <vector>

namespace StressSupport {

using Tarn::Kito::SizeType;

/// What the host's second thread saw while it watched one run: how often it read the progress,
/// whether any value was below the one before it or outside 0.0..1.0, and whether it asked for the
/// stop before the run ended.
struct WatchedRun {
    bool stopAsked = false;
    std::size_t reads = 0;
    bool fell = false;
    bool outOfRange = false;
    double firstBadValue = 0.0;
};

/// Runs run() on this thread while a second thread reads op.getProgress() over and over and calls
/// op.abort() once delay has passed since the start. A stop asked for before apply has cleared the
/// flag is forgotten by design; callers judge the result by what the run reports afterwards.
template <class Op, class Run> WatchedRun stopAfter(Op& op, std::chrono::microseconds delay, Run&& run)
{
    std::atomic<bool> finished{false};
    WatchedRun watched;
    const auto start = std::chrono::steady_clock::now();
    std::thread host([&] {
        double last = 0.0;
        const auto look = [&] {
            const double value = op.getProgress().getProgress();
            ++watched.reads;
            if (!(value >= 0.0 && value <= 1.0) && !watched.outOfRange) {
                watched.outOfRange = true;
                watched.firstBadValue = value;
            }
            if (value < last && !watched.fell) {
                watched.fell = true;
                watched.firstBadValue = value;
            }
            last = value;
        };
        while (!finished.load()) {
            look();
            if (!watched.stopAsked && std::chrono::steady_clock::now() - start >= delay) {
                op.abort();
                watched.stopAsked = true;
            }
            std::this_thread::yield();
        }
        look();
    });
    try {
        run();
    } catch (...) {
        finished = true;
        host.join();
        throw;
    }
    finished = true;
    host.join();
    return watched;
}

/// Milliseconds that f takes, once.
template <class F> double millisecondsOf(F&& f)
{
    const auto start = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// The sanitizer builds run several times slower: fewer tries there keep the program's time, but
/// enough that some of them stop a run.
inline int triesFor(int tries)
{
#ifdef LUMO_SANITIZER_ALLOCATOR
    return tries / 5 > 6 ? tries / 5 : 6;
#else
    return tries;
#endif
}

/// The progress values a serial walk over countTert slices reports, after 0, 1, ... countTert - 1
/// slices, each the sum of the one before and the step.
inline std::vector<double> sliceProgress(SizeType countTert)
{
    std::vector<double> values(1, 0.0);
    const double step = 0.99 / static_cast<double>(countTert);
    double value = 0.0;
    for (SizeType k = 1; k < countTert; ++k) values.push_back(value += step);
    return values;
}

/// The number of slices a serial walk over countTert slices has walked when it ended with progress:
/// all if 1.0; otherwise it saw the stop after the slice that follows the last one it reported.
/// 0 if progress is no value of such a walk.
inline SizeType walkedSlices(double progress, SizeType countTert)
{
    if (progress == 1.0) return countTert;
    const std::vector<double> values = sliceProgress(countTert);
    for (SizeType k = 0; k < values.size(); ++k)
        if (values[k] == progress) return k + 1;
    return 0;
}

/// The slabs of the parallel walk over countTert slices: their first slice and their length, the
/// last one taking the rest of the division.
struct Slab {
    SizeType first;
    SizeType count;
};
inline std::vector<Slab> slabsOf(SizeType countTert, int threads)
{
    const SizeType n = countTert <= 1 ? 1 : std::min<SizeType>(countTert, static_cast<SizeType>(threads));
    std::vector<Slab> slabs;
    const SizeType size = countTert / n;
    for (SizeType i = 0; i < n; ++i) slabs.push_back(Slab{size * i, i + 1 == n ? countTert - size * i : size});
    return slabs;
}

/// What all tries of one facade saw, printed at the end of its test.
struct Tally {
    const char* facade;
    double milliseconds = 0.0;
    int runs = 0;
    int stopsAsked = 0;
    int stopped = 0;
    std::size_t reads = 0;
    void print() const
    {
        std::printf("[ stress   ] %-40s one run %7.1f ms, %3d runs, %3d stops asked, %3d runs stopped early, %zu "
                    "progress reads\n",
                    facade, milliseconds, runs, stopsAsked, stopped, reads);
    }
};

} // namespace StressSupport

#endif
