#pragma once

#include "core/Export.h"
#include "core/NonCopyable.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace Core
{
/// Threads that do the small jobs of several users, who take turns: each has a queue of its own, and of the
/// queues that have jobs the one that has waited longest is served next.
///
/// Threads are started when there is work for them.
/// Threads  all operations from any thread; but a job must not change the number of threads, nor destroy the
///          pool.
class CORE_API WorkerPool : private NonCopyable
{
    struct State;

public:
    /// What a worker runs.
    using Job = std::function<void()>;

    /// One user's jobs.
    class CORE_API Queue : private NonCopyable
    {
    public:
        /// @param pool  kept alive by the queue
        explicit Queue(std::shared_ptr<WorkerPool> pool);

        /// Drops the jobs that wait; does not wait for those that run.
        ~Queue();

        /// Adds a job behind those that wait; they begin in this order.
        /// @param job  must not throw; refers to nothing that may be gone when it runs late
        void add(Job job);

        /// Drops the jobs that have not begun.
        void clear();

        /// Number of jobs that have not begun.
        std::size_t numWaiting() const;

    private:
        friend class WorkerPool;
        struct Jobs;

        const std::shared_ptr<WorkerPool> mPool;
        const std::shared_ptr<Jobs> mJobs;
    };

    /// @param threadCount  most threads; 0 stands for one per core
    explicit WorkerPool(std::size_t threadCount = 0);

    /// Waits for the jobs that run.
    ~WorkerPool();

    /// Sets the most threads. Where there are more, waits for the jobs of those that end.
    /// @param threadCount  0 stands for one per core
    void setThreadCount(std::size_t threadCount);

    /// Most threads.
    std::size_t threadCount() const;

    /// The process's pool, which lives as long as somebody holds it.
    static std::shared_ptr<WorkerPool> shared();

    /// Sets the most threads of the process's pool, of the one there is and of later ones.
    /// @param threadCount  0 stands for one per core
    static void setSharedThreadCount(std::size_t threadCount);

private:
    const std::unique_ptr<State> mState;
};
}  // namespace Core
