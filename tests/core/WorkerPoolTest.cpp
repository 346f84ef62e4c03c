#include "core/WorkerPool.h"
#include "tests/support/ThreadSignals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace Core
{
namespace
{
using Queue = WorkerPool::Queue;

/// What jobs report, in the order in which they did.
class Record
{
public:
    void add(const std::string& entry)
    {
        {
            const std::scoped_lock lock(mMutex);
            mEntries.push_back(entry);
        }
        mAdded.notify_all();
    }

    /// Waits for so many entries.
    std::vector<std::string> await(std::size_t count)
    {
        std::unique_lock lock(mMutex);
        mAdded.wait(lock, [&] { return mEntries.size() >= count; });
        return mEntries;
    }

private:
    std::mutex mMutex;
    std::condition_variable mAdded;
    std::vector<std::string> mEntries;
};

/// Keeps one thread of a pool busy until it is opened.
class Gate
{
public:
    explicit Gate(Queue& queue)
    {
        queue.add(
            [signals = mSignals]
            {
                signals->reached.release();
                signals->opened.acquire();
            }
        );
        mSignals->reached.acquire();
    }

    void open() { mSignals->opened.release(); }

private:
    struct Signals
    {
        Semaphore reached;
        Semaphore opened;
    };

    std::shared_ptr<Signals> mSignals = std::make_shared<Signals>();  // the job may be the last to use them
};
}  // namespace

TEST(WorkerPool, RunsTheJobsOfAQueueInTheirOrder)
{
    Record record;
    Queue queue(std::make_shared<WorkerPool>(1));

    for (const char* name : {"a", "b", "c"})
    {
        queue.add([&record, name] { record.add(name); });
    }

    EXPECT_EQ(record.await(3), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(WorkerPool, QueuesTakeTurns)
{
    Record record;
    const auto pool = std::make_shared<WorkerPool>(1);
    Queue gateQueue(pool);
    Queue many(pool);
    Queue few(pool);
    Gate gate(gateQueue);
    for (const char* name : {"many 1", "many 2", "many 3", "many 4"})
    {
        many.add([&record, name] { record.add(name); });
    }
    for (const char* name : {"few 1", "few 2"})
    {
        few.add([&record, name] { record.add(name); });
    }

    gate.open();

    EXPECT_EQ(
        record.await(6), (std::vector<std::string>{"many 1", "few 1", "many 2", "few 2", "many 3", "many 4"})
    );
}

TEST(WorkerPool, AsManyJobsRunAtOnceAsThereAreThreads)
{
    constexpr std::size_t kThreads = 3;
    Record record;
    Queue queue(std::make_shared<WorkerPool>(kThreads));
    Rendezvous all(static_cast<int>(kThreads));

    for (std::size_t i = 0; i < kThreads; ++i)
    {
        queue.add(
            [&]
            {
                all.arriveAndWait();  // ends only when all run
                record.add("done");
            }
        );
    }

    EXPECT_EQ(record.await(kThreads).size(), kThreads);
}

TEST(WorkerPool, ClearDropsWhatHasNotBegun)
{
    Record record;
    const auto pool = std::make_shared<WorkerPool>(1);
    Queue queue(pool);
    Queue other(pool);
    Gate gate(queue);
    queue.add([&record] { record.add("dropped"); });
    queue.add([&record] { record.add("dropped as well"); });
    EXPECT_EQ(queue.numWaiting(), 2U);

    queue.clear();
    EXPECT_EQ(queue.numWaiting(), 0U);
    other.add([&record] { record.add("other"); });
    queue.add([&record] { record.add("later"); });
    gate.open();

    EXPECT_EQ(record.await(2), (std::vector<std::string>{"other", "later"}));
}

TEST(WorkerPool, TheEndOfAQueueDropsItsJobsAndWaitsForNone)
{
    Record record;
    const auto pool = std::make_shared<WorkerPool>(1);
    Queue other(pool);
    auto queue = std::make_unique<Queue>(pool);
    Gate gate(*queue);
    queue->add([&record] { record.add("dropped"); });

    queue.reset();  // the gate is still closed
    other.add([&record] { record.add("other"); });
    gate.open();

    EXPECT_EQ(record.await(1), (std::vector<std::string>{"other"}));
}

TEST(WorkerPool, ADroppedJobGivesUpWhatItHolds)
{
    const auto pool = std::make_shared<WorkerPool>(1);
    Queue queue(pool);
    Gate gate(queue);
    const auto held = std::make_shared<int>(1);
    queue.add([held] {});
    EXPECT_EQ(held.use_count(), 2);

    queue.clear();

    EXPECT_EQ(held.use_count(), 1);
    gate.open();
}

TEST(WorkerPool, TheEndOfThePoolWaitsForTheJobThatRuns)
{
    std::atomic<bool> ended = false;
    Semaphore begun;
    {
        Queue queue(std::make_shared<WorkerPool>(1));
        queue.add(
            [&]
            {
                begun.release();
                std::this_thread::yield();
                ended = true;
            }
        );
        begun.acquire();
    }
    EXPECT_TRUE(ended);
}

TEST(WorkerPool, MoreThreadsServeWhatWaits)
{
    Record record;
    const auto pool = std::make_shared<WorkerPool>(1);
    Queue queue(pool);
    Gate gate(queue);
    queue.add([&record] { record.add("served"); });

    pool->setThreadCount(2);

    EXPECT_EQ(record.await(1).size(), 1U);
    EXPECT_EQ(pool->threadCount(), 2U);
    gate.open();
}

TEST(WorkerPool, FewerThreadsGoOn)
{
    Record record;
    const auto pool = std::make_shared<WorkerPool>(3);
    Queue queue(pool);
    for (int i = 0; i < 6; ++i)
    {
        queue.add([&record] { record.add("before"); });
    }

    pool->setThreadCount(1);
    std::set<std::thread::id> threads;
    for (int i = 0; i < 6; ++i)
    {
        queue.add(
            [&]
            {
                threads.insert(std::this_thread::get_id());  // by one thread, so unguarded
                record.add("after");
            }
        );
    }

    record.await(12);
    EXPECT_EQ(threads.size(), 1U);
}

TEST(WorkerPool, ZeroStandsForOneThreadPerCore)
{
    EXPECT_EQ(WorkerPool().threadCount(), std::max(std::thread::hardware_concurrency(), 1U));
}

TEST(WorkerPool, TheProcesssPoolIsOneAsLongAsItIsHeld)
{
    const std::shared_ptr<WorkerPool> pool = WorkerPool::shared();

    EXPECT_EQ(WorkerPool::shared(), pool);
}

TEST(WorkerPool, TheNumberOfThreadsOfTheProcesssPoolCountsForLaterOnesToo)
{
    WorkerPool::setSharedThreadCount(3);
    EXPECT_EQ(WorkerPool::shared()->threadCount(), 3U);

    const std::shared_ptr<WorkerPool> pool = WorkerPool::shared();
    WorkerPool::setSharedThreadCount(5);
    EXPECT_EQ(pool->threadCount(), 5U);

    WorkerPool::setSharedThreadCount(0);
    EXPECT_EQ(pool->threadCount(), std::max(std::thread::hardware_concurrency(), 1U));
}

// For the thread sanitizer: users that come and go, clears, and changes of the number of threads.
TEST(WorkerPool, ManyUsersAtOnce)
{
    constexpr std::size_t kUsers = 4;
    constexpr std::size_t kRounds = 60;
    const auto pool = std::make_shared<WorkerPool>(2);
    std::atomic<std::size_t> run = 0;
    std::atomic<std::size_t> expected = 0;
    {
        std::vector<std::jthread> users;
        for (std::size_t user = 0; user < kUsers; ++user)
        {
            users.emplace_back(
                [&, user]
                {
                    std::mt19937 random(static_cast<unsigned>(user));
                    for (std::size_t round = 0; round < kRounds; ++round)
                    {
                        Queue queue(pool);
                        const auto sum = std::make_shared<std::atomic<std::size_t>>(0);
                        const std::size_t jobs = random() % 20;
                        for (std::size_t i = 0; i < jobs; ++i)
                        {
                            queue.add(
                                [&run, sum]
                                {
                                    ++*sum;
                                    ++run;
                                }
                            );
                        }
                        if (random() % 2 == 0)
                        {
                            queue.clear();
                            continue;
                        }
                        while (*sum < jobs)
                        {
                            std::this_thread::yield();
                        }
                        expected += jobs;
                    }
                }
            );
        }
        users.emplace_back(
            [&]
            {
                for (std::size_t change = 0; change < 40; ++change)
                {
                    pool->setThreadCount(1 + change % 4);
                    std::this_thread::yield();
                }
            }
        );
    }
    EXPECT_GE(run.load(), expected.load());
}
}  // namespace Core
