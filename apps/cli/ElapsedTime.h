#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace Cli
{
/// Tells on standard error, while it lives, for how long a step has been going on that cannot say how far it is,
/// such as drawing one picture. Nothing for steps that are done soon.
///
/// Threads  the lines come from a thread of its own.
class ElapsedTime
{
public:
    using Show = std::function<void(const std::string& line)>;

    static constexpr std::chrono::milliseconds kPatience{2000};

    /// @param label     what is being done, such as "drawing"
    /// @param patience  how long nothing is said, and the time from line to line
    /// @param show      takes the lines; empty for standard error
    explicit ElapsedTime(
        const std::string& label, std::chrono::milliseconds patience = kPatience, Show show = {}
    );

    /// Returns at once.
    ~ElapsedTime();
    ElapsedTime(const ElapsedTime&) = delete;
    ElapsedTime& operator=(const ElapsedTime&) = delete;

private:
    void tell(const std::string& label, std::chrono::milliseconds patience, const Show& show);

    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mIsDone = false;  // under the mutex
    std::thread mThread;
};
}  // namespace Cli
