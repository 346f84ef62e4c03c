#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <thread>

/// A counting semaphore for tests.
///
/// The standard library's own semaphores, latches and barriers lose wake-ups in GCC 12 for Windows (they look
/// at the value before they take the lock to wait), so tests that use them hang now and then.
class Semaphore
{
public:
    explicit Semaphore(int count = 0) : mCount(count) {}

    void release()
    {
        const std::scoped_lock lock(mMutex);
        ++mCount;
        mChanged.notify_one();
    }

    void acquire()
    {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [this] { return mCount > 0; });
        --mCount;
    }

private:
    std::mutex mMutex;  // guards mCount
    std::condition_variable mChanged;
    int mCount;
};

/// Lets threads go on together once as many have come as were expected.
class Rendezvous
{
public:
    explicit Rendezvous(int expected) : mMissing(expected) {}

    void arriveAndWait()
    {
        std::unique_lock lock(mMutex);
        --mMissing;
        mChanged.notify_all();
        mChanged.wait(lock, [this] { return mMissing <= 0; });
    }

private:
    std::mutex mMutex;  // guards mMissing
    std::condition_variable mChanged;
    int mMissing;
};

/// Returns once a stop is requested. It looks again and again: the destructor of a std::stop_callback that
/// runs on another thread waits on one of the semaphores above.
inline void waitForStop(const std::stop_token& token)
{
    while (!token.stop_requested())
    {
        std::this_thread::yield();
    }
}

/// Waits until the condition holds; false when it does not within a minute.
template <class Condition>
bool eventually(Condition&& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
