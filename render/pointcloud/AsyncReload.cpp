#include "render/pointcloud/AsyncReload.h"

#include "core/BackgroundThread.h"

#include <utility>

namespace Render
{
AsyncReload::AsyncReload(std::function<void(std::stop_token)> reload, std::chrono::milliseconds retryDelay)
    : mReload(std::move(reload)), mRetryDelay(retryDelay)
{
    makeThread();
}

AsyncReload::~AsyncReload()
{
    endThread();
}

void AsyncReload::restart()
{
    {
        const std::scoped_lock lock(mMutex);
        ++mRequestedRuns;  // first: the run that begins now takes the number
    }
    if (mThread)
    {
        mThread->restart();
    }
    wakeRetry();
}

void AsyncReload::pause()
{
    endThread();
}

void AsyncReload::resume()
{
    makeThread();
    restart();
}

bool AsyncReload::isHealthy(bool rethrow) const
{
    std::unique_lock lock(mMutex);
    const std::exception_ptr error = mError;
    lock.unlock();
    if (error && rethrow)
    {
        std::rethrow_exception(error);
    }
    return !error;
}

bool AsyncReload::isComplete() const noexcept
{
    return mCompletedRun == mRequestedRuns;
}

void AsyncReload::makeThread()
{
    mThread = std::make_unique<Core::BackgroundThread>([this](std::stop_token stopToken) { run(stopToken); });
}

void AsyncReload::endThread()
{
    {
        const std::scoped_lock lock(mMutex);
        mIsEnding = true;
    }
    wakeRetry();
    mThread.reset();
    mIsEnding = false;  // nobody else is left to read it
}

void AsyncReload::run(std::stop_token stopToken)
{
    while (!stopToken.stop_requested())
    {
        const std::uint64_t thisRun = mRequestedRuns;
        try
        {
            mReload(stopToken);
            setError(nullptr);
            if (!stopToken.stop_requested())
            {
                mCompletedRun = thisRun;
            }
            return;
        }
        catch (...)
        {
            setError(std::current_exception());
        }
        waitForRetry(stopToken);
    }
}

void AsyncReload::waitForRetry(const std::stop_token& stopToken)
{
    std::unique_lock lock(mMutex);
    mRetry.wait_for(lock, mRetryDelay, [&] { return mIsEnding || stopToken.stop_requested(); });
}

/// To be called once what the wait looks at has changed.
void AsyncReload::wakeRetry()
{
    {
        const std::scoped_lock lock(mMutex);  // a wait has either begun or sees the change
    }
    mRetry.notify_all();
}

void AsyncReload::setError(std::exception_ptr error)
{
    const std::scoped_lock lock(mMutex);
    mError = std::move(error);
}
}  // namespace Render
