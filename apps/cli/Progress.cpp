#include "apps/cli/Progress.h"

#include "apps/cli/oneLine.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Cli
{
namespace
{
constexpr std::chrono::milliseconds kTerminalInterval{100};
constexpr std::chrono::milliseconds kPlainInterval{2000};  // a log file should not fill with progress
constexpr std::uint64_t kBarWidth = 30;
}  // namespace

Progress::Progress(const std::string& label, std::uint64_t total, std::string unit)
    : mLabel(oneLine(label)),
      mTotal(total),
      mUnit(std::move(unit)),
      mLastShown(std::chrono::steady_clock::now())
{
}

void Progress::update(std::uint64_t done)
{
    const auto now = std::chrono::steady_clock::now();
    if (now - mLastShown >= (mLine.isTerminal() ? kTerminalInterval : kPlainInterval))
    {
        mLastShown = now;
        show(done);
    }
}

void Progress::show(std::uint64_t done)
{
    std::string line = mLabel + " ";
    if (mTotal > 0)
    {
        const double fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(mTotal));
        if (mLine.isTerminal())
        {
            const auto filled = static_cast<std::uint64_t>(fraction * static_cast<double>(kBarWidth));
            line += "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] ";
        }
        line += std::to_string(static_cast<int>(fraction * 100.0)) + "% ";
    }
    line += std::to_string(done) + " " + mUnit;
    mLine.show(line);
}

std::function<void(std::uint64_t done, std::uint64_t all)> progressOf(std::string label, std::string unit)
{
    return [label = std::move(label),
            unit = std::move(unit),
            progress = std::shared_ptr<Progress>()](std::uint64_t done, std::uint64_t all) mutable
    {
        if (!progress)
        {
            progress = std::make_shared<Progress>(label, all, unit);
        }
        progress->update(done);
    };
}
}  // namespace Cli
