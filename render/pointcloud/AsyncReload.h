#pragma once

#include "core/NonCopyable.h"
#include "render/Export.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>

namespace Core
{
class BackgroundThread;
}

namespace Render
{
/// Runs a reload on a thread of its own, again each time it is asked to, and again after a while when it
/// has failed.
///
/// Threads  restart(), pause() and resume() on the owner's thread, the questions from any.
class RENDER_API AsyncReload : private Core::NonCopyable
{
public:
    /// Nothing runs before the first restart().
    /// @param reload      one run; returns soon after a stop request, fails by throwing
    /// @param retryDelay  from a failure to the next try
    explicit AsyncReload(
        std::function<void(std::stop_token)> reload,
        std::chrono::milliseconds retryDelay = std::chrono::seconds(2)
    );

    /// Stops the run and waits for it.
    ~AsyncReload();

    /// Asks the run in progress to stop and starts a new one, without waiting for either. Started by
    /// resume() while paused.
    void restart();

    /// Stops the run and waits for it.
    void pause();

    /// Goes on after pause(), with a new run.
    void resume();

    /// False while the last run has failed.
    /// @param rethrow  throws the failure instead of returning false
    bool isHealthy(bool rethrow) const;

    /// True when a run that began after the last restart() has come to its end.
    bool isComplete() const noexcept;

private:
    void makeThread();
    void endThread();
    void run(std::stop_token stopToken);
    void setError(std::exception_ptr error);
    void waitForRetry(const std::stop_token& stopToken);
    void wakeRetry();

    const std::function<void(std::stop_token)> mReload;
    const std::chrono::milliseconds mRetryDelay;
    std::atomic<std::uint64_t> mRequestedRuns{0};
    std::atomic<std::uint64_t> mCompletedRun{0};  // mRequestedRuns as the last run that ended had found it

    mutable std::mutex mMutex;  // guards mError and mIsEnding
    std::exception_ptr mError;
    bool mIsEnding = false;  // the thread is being ended

    // Wakes the wait for the next try when a stop has been requested or mIsEnding changes. Not a
    // std::condition_variable_any with the stop token: its stop callback can wait for ever when GCC 12's
    // runtime for Windows ends it while it runs.
    std::condition_variable mRetry;

    std::unique_ptr<Core::BackgroundThread> mThread;  // absent while paused
};
}  // namespace Render
