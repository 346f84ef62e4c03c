#pragma once

#include "core/NonCopyable.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace Render
{
class AsyncReload;

/// The background loading of a cloud, which is there from start() to stop().
///
/// Threads  one thread; isHealthy() and isComplete() on any while neither start() nor stop() runs.
class CloudLoading : private Core::NonCopyable
{
public:
    CloudLoading();

    /// Stops.
    ~CloudLoading();

    /// Begins the first run, unless there is a loading already.
    /// @param reload      one run, see AsyncReload
    /// @param retryDelay  from a failure to the next try
    /// @returns whether it is this one that loads from now on
    bool start(std::function<void(std::stop_token)> reload, std::chrono::milliseconds retryDelay);

    /// Waits for the end of the present run.
    void stop();

    bool isActive() const noexcept { return mReload != nullptr; }

    /// Lets the present run go for a new one, if there is a loading.
    void restart();

    /// False while the last run has failed.
    /// @param rethrow  throws the failure instead of returning false
    bool isHealthy(bool rethrow) const;

    /// Whether a run has come to its end since the last restart.
    bool isComplete() const noexcept;

    /// Keeps the loading away while it lives; a new run begins at its end.
    class [[nodiscard]] Pause : private Core::NonCopyable
    {
    public:
        explicit Pause(CloudLoading& loading);
        ~Pause();

    private:
        CloudLoading& mLoading;
    };

private:
    std::unique_ptr<AsyncReload> mReload;
};
}  // namespace Render
