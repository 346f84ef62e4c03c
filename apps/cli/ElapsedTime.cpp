#include "apps/cli/ElapsedTime.h"

#include "apps/cli/StatusLine.h"
#include "apps/cli/oneLine.h"

#include <memory>
#include <utility>

namespace Cli
{
ElapsedTime::ElapsedTime(const std::string& label, std::chrono::milliseconds patience, Show show)
{
    if (!show)
    {
        show = [line = std::make_shared<StatusLine>()](const std::string& text) { line->show(text); };
    }
    mThread = std::thread([this, label = oneLine(label), patience, show = std::move(show)]
                          { tell(label, patience, show); });
}

ElapsedTime::~ElapsedTime()
{
    {
        const std::scoped_lock lock(mMutex);
        mIsDone = true;
    }
    mChanged.notify_one();
    mThread.join();
}

void ElapsedTime::tell(const std::string& label, std::chrono::milliseconds patience, const Show& show)
{
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(mMutex);
    while (!mChanged.wait_for(lock, patience, [&] { return mIsDone; }))
    {
        const auto elapsed = std::chrono::steady_clock::now() - start;
        show(
            label + ", " + std::to_string(std::chrono::duration_cast<std::chrono::seconds>(elapsed).count()) +
            " s"
        );
    }
}
}  // namespace Cli
