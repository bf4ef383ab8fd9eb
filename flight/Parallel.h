#pragma once

#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <cstddef>
#include <new>

namespace tessik::flight {

/// Calls work(i) for i from 0 to count - 1, some at a time. Its threads have ended when it returns:
/// one that ends while the process does may use what Qt has destroyed already.
/// @param jobs how many at a time
template <typename Work>
void inParallel(std::size_t count, int jobs, const Work& work) {
    tbb::task_scheduler_handle threads{tbb::attach{}};
    {
        tbb::task_arena arena(jobs);
        arena.execute([&] { tbb::parallel_for(std::size_t{0}, count, work); });
    }
    (void)tbb::finalize(threads, std::nothrow); // not where another call still needs them
}

} // namespace tessik::flight
