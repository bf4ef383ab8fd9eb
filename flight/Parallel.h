#pragma once

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <cstddef>

namespace tessik::flight {

/// Calls work(i) for i from 0 to count - 1, some at a time. @param jobs how many at a time
template <typename Work>
void inParallel(std::size_t count, int jobs, const Work& work) {
    tbb::task_arena arena(jobs);
    arena.execute([&] { tbb::parallel_for(std::size_t{0}, count, work); });
}

} // namespace tessik::flight
