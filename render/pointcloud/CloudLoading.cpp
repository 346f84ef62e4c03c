#include "render/pointcloud/CloudLoading.h"

#include "render/pointcloud/AsyncReload.h"

#include <utility>

namespace Render
{
CloudLoading::CloudLoading() = default;
CloudLoading::~CloudLoading() = default;

bool CloudLoading::start(std::function<void(std::stop_token)> reload, std::chrono::milliseconds retryDelay)
{
    if (mReload)
    {
        return false;
    }
    mReload = std::make_unique<AsyncReload>(std::move(reload), retryDelay);
    mReload->restart();
    return true;
}

void CloudLoading::stop()
{
    mReload.reset();
}

void CloudLoading::restart()
{
    if (mReload)
    {
        mReload->restart();
    }
}

bool CloudLoading::isHealthy(bool rethrow) const
{
    return !mReload || mReload->isHealthy(rethrow);
}

bool CloudLoading::isComplete() const noexcept
{
    return mReload && mReload->isComplete();
}

CloudLoading::Pause::Pause(CloudLoading& loading) : mLoading(loading)
{
    if (mLoading.mReload)
    {
        mLoading.mReload->pause();
    }
}

CloudLoading::Pause::~Pause()
{
    if (mLoading.mReload)
    {
        mLoading.mReload->resume();
    }
}
}  // namespace Render
