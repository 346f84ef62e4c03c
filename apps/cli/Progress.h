#pragma once

#include "apps/cli/StatusLine.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace Cli
{
/// Tells on standard error how far a long step is: a bar that redraws itself on a terminal, a plain line now
/// and then elsewhere, nothing for steps that are done at once.
///
/// Threads  one thread at a time.
class Progress
{
public:
    /// @param label  what is being done, such as "loading"
    /// @param total  the amount that means done; 0 when it is not known
    /// @param unit   what is counted, such as "points"
    Progress(const std::string& label, std::uint64_t total, std::string unit);

    /// Shows the new amount, at most a few times a second.
    void update(std::uint64_t done);

private:
    void show(std::uint64_t done);

    std::string mLabel;
    std::uint64_t mTotal;
    std::string mUnit;
    StatusLine mLine;
    std::chrono::steady_clock::time_point mLastShown;
};

/// Takes what work tells that counts its steps, such as Graphics::writePanorama: a Progress that begins with the
/// first call.
/// @param label, unit  as Progress has them
std::function<void(std::uint64_t done, std::uint64_t all)> progressOf(std::string label, std::string unit);
}  // namespace Cli
