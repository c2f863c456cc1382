// The process's OpenMP thread setting for one test.
#ifndef LUMO_TESTS_SUPPORT_THREADCOUNT_H_INCLUDED
#define LUMO_TESTS_SUPPORT_THREADCOUNT_H_INCLUDED

#include <omp.h>

namespace TestSupport {

/// Sets the thread count for the life of the object and gives the old setting back at its end.
class ThreadCount {
public:
    explicit ThreadCount(int count) : saved(omp_get_max_threads()) { omp_set_num_threads(count); }
    ~ThreadCount() { omp_set_num_threads(saved); }
    ThreadCount(const ThreadCount&) = delete;
    ThreadCount& operator=(const ThreadCount&) = delete;

private:
    int saved;
};

} // namespace TestSupport

#endif
