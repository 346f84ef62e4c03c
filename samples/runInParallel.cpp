#include "samples/runInParallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Samples
{
void runInParallel(std::size_t count, unsigned threadCount, const std::function<void(std::size_t)>& task)
{
    const std::size_t wanted = threadCount != 0 ? threadCount : std::thread::hardware_concurrency();
    std::atomic<std::size_t> next = 0;  // only hands out numbers; joining the threads publishes their results
    std::mutex failureMutex;
    std::exception_ptr failure;
    const auto work = [&]
    {
        for (std::size_t i = next.fetch_add(1); i < count; i = next.fetch_add(1))
        {
            try
            {
                task(i);
            }
            catch (...)
            {
                const std::scoped_lock lock(failureMutex);
                if (!failure)
                {
                    failure = std::current_exception();
                }
                next = count;
            }
        }
    };

    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < std::min(wanted, count); ++i)
        {
            threads.emplace_back(work);
        }
        work();
    }
    if (failure)
    {
        std::rethrow_exception(failure);
    }
}
}  // namespace Samples
