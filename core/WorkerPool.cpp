#include "core/WorkerPool.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <iterator>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace Core
{
namespace
{
std::size_t orOnePerCore(std::size_t threadCount)
{
    return threadCount > 0 ? threadCount : std::max<std::size_t>(std::thread::hardware_concurrency(), 1);
}

/// What finds and makes the process's pool.
struct SharedPool
{
    std::mutex mutex;  // guards the rest
    std::weak_ptr<WorkerPool> pool;
    std::size_t threadCount = 0;

    static SharedPool& instance()
    {
        static SharedPool shared;
        return shared;
    }
};
}  // namespace

struct WorkerPool::Queue::Jobs
{
    std::deque<Job> waiting;  // guarded by the pool's mutex; not empty exactly while in line
};

struct WorkerPool::State
{
    using Jobs = Queue::Jobs;

    void work(std::size_t index);
    Job takeNext();
    void startThreads();
    void setThreadCount(std::size_t count);

    std::mutex resizing;  // held during a change of the number of threads; locked before the other

    mutable std::mutex mutex;  // guards the rest
    std::condition_variable changed;
    std::deque<std::shared_ptr<Jobs>> line;  // queues with jobs, the one to be served next first
    std::size_t waitingCount = 0;            // jobs of all queues
    std::size_t threadCount = 0;             // as many may run
    std::size_t idleCount = 0;
    std::vector<std::thread> threads;
};

void WorkerPool::State::work(std::size_t index)
{
    std::unique_lock lock(mutex);
    for (;;)
    {
        ++idleCount;
        changed.wait(lock, [&] { return index >= threadCount || !line.empty(); });
        --idleCount;
        if (index >= threadCount)
        {
            return;
        }
        Job job = takeNext();
        lock.unlock();
        job();
        job = nullptr;  // what it holds may take long to go
        lock.lock();
    }
}

WorkerPool::Job WorkerPool::State::takeNext()
{
    std::shared_ptr<Jobs> jobs = std::move(line.front());
    line.pop_front();
    Job job = std::move(jobs->waiting.front());
    jobs->waiting.pop_front();
    --waitingCount;
    if (!jobs->waiting.empty())
    {
        line.push_back(std::move(jobs));
    }
    return job;
}

/// As many as the jobs that wait need, if there may be so many.
void WorkerPool::State::startThreads()
{
    try
    {
        for (std::size_t idle = idleCount; idle < waitingCount && threads.size() < threadCount; ++idle)
        {
            threads.emplace_back(&State::work, this, threads.size());
        }
    }
    catch (const std::system_error&)
    {
        if (threads.empty())
        {
            throw;  // otherwise those there are do all the work
        }
    }
}

void WorkerPool::State::setThreadCount(std::size_t count)
{
    const std::scoped_lock resizingLock(resizing);
    std::vector<std::thread> ending;
    {
        const std::scoped_lock lock(mutex);
        threadCount = count;
        const auto firstEnding =
            threads.begin() + static_cast<std::ptrdiff_t>(std::min(threads.size(), count));
        ending.assign(std::move_iterator(firstEnding), std::move_iterator(threads.end()));
        threads.erase(firstEnding, threads.end());
        if (ending.empty())
        {
            startThreads();
        }
    }
    changed.notify_all();
    for (std::thread& thread : ending)
    {
        thread.join();
    }
}

WorkerPool::Queue::Queue(std::shared_ptr<WorkerPool> pool)
    : mPool(std::move(pool)), mJobs(std::make_shared<Jobs>())
{
}

WorkerPool::Queue::~Queue()
{
    clear();
}

void WorkerPool::Queue::add(Job job)
{
    State& state = *mPool->mState;
    {
        const std::scoped_lock lock(state.mutex);
        ++state.waitingCount;
        try
        {
            state.startThreads();
            mJobs->waiting.push_back(std::move(job));
            if (mJobs->waiting.size() == 1)
            {
                state.line.push_back(mJobs);
            }
        }
        catch (...)
        {
            --state.waitingCount;
            throw;
        }
    }
    state.changed.notify_one();
}

void WorkerPool::Queue::clear()
{
    std::deque<Job> dropped;  // outlives the lock
    State& state = *mPool->mState;
    const std::scoped_lock lock(state.mutex);
    dropped.swap(mJobs->waiting);
    state.waitingCount -= dropped.size();
    std::erase(state.line, mJobs);
}

std::size_t WorkerPool::Queue::numWaiting() const
{
    const std::scoped_lock lock(mPool->mState->mutex);
    return mJobs->waiting.size();
}

WorkerPool::WorkerPool(std::size_t threadCount) : mState(std::make_unique<State>())
{
    mState->threadCount = orOnePerCore(threadCount);
}

WorkerPool::~WorkerPool()
{
    mState->setThreadCount(0);
}

void WorkerPool::setThreadCount(std::size_t threadCount)
{
    mState->setThreadCount(orOnePerCore(threadCount));
}

std::size_t WorkerPool::threadCount() const
{
    const std::scoped_lock lock(mState->mutex);
    return mState->threadCount;
}

std::shared_ptr<WorkerPool> WorkerPool::shared()
{
    SharedPool& shared = SharedPool::instance();
    const std::scoped_lock lock(shared.mutex);
    std::shared_ptr<WorkerPool> pool = shared.pool.lock();
    if (!pool)
    {
        pool = std::make_shared<WorkerPool>(shared.threadCount);
        shared.pool = pool;
    }
    return pool;
}

void WorkerPool::setSharedThreadCount(std::size_t threadCount)
{
    SharedPool& shared = SharedPool::instance();
    std::shared_ptr<WorkerPool> pool;
    {
        const std::scoped_lock lock(shared.mutex);
        shared.threadCount = threadCount;
        pool = shared.pool.lock();
    }
    if (pool)
    {
        pool->setThreadCount(threadCount);
    }
}
}  // namespace Core
