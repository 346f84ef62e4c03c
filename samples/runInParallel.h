#pragma once

#include <cstddef>
#include <functional>

namespace Samples
{
/// Calls task(0) to task(count - 1), each once, on several threads at once; returns when all are done.
///
/// After a task has thrown no further ones begin, and the first exception is thrown again here.
/// @param threadCount  0 for one thread per core
void runInParallel(std::size_t count, unsigned threadCount, const std::function<void(std::size_t)>& task);
}  // namespace Samples
