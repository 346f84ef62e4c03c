#pragma once

#include "core/Export.h"
#include "core/NonCopyable.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace Core
{
/// A thread that runs one function again each time it is asked to.
///
/// Nothing runs before the first restart(). An exception that escapes the function ends that run only; the
/// next restart() runs the function again.
///
/// Threads  restart() from any thread; construction and destruction by the owner. The function must not
///          destroy its own BackgroundThread.
class CORE_API BackgroundThread : private NonCopyable
{
public:
    /// @param function  called on the background thread; it looks at the token and returns soon after a stop
    ///                  request
    /// @throws std::invalid_argument  for an empty function
    explicit BackgroundThread(std::function<void(std::stop_token)> function);

    /// Asks the running call to stop and waits for it; a pending restart is dropped.
    ~BackgroundThread();

    /// Asks the running call, if any, to stop, and lets a new one begin once it has. Never waits for the old
    /// run; calls that come before the new run begins are answered by that one run.
    void restart();

private:
    struct State;
    std::unique_ptr<State> mState;
};
}  // namespace Core
