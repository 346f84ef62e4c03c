#include "render/scene/DrawQueue.h"

#include "core/SharedResources.h"
#include "core/fnv1a.h"

#include <algorithm>

namespace
{
struct RendererKey
{
    std::uint64_t value = 0;

    friend bool operator==(const RendererKey&, const RendererKey&) = default;
};
}  // namespace

template <>
struct std::hash<RendererKey>
{
    std::size_t operator()(const RendererKey& key) const noexcept
    {
        return static_cast<std::size_t>(Core::fnv1a(key.value));
    }
};

namespace Render
{
std::shared_ptr<DrawQueue> DrawQueue::shared(std::uint64_t rendererId)
{
    static Core::SharedResources<RendererKey, DrawQueue> registry;
    return registry.createOrGet(RendererKey{rendererId}, [] { return std::make_shared<DrawQueue>(); });
}

void DrawQueue::add(const void* owner, std::function<void()> finish, std::function<void()> drop)
{
    if (std::ranges::find(mSteps, owner, &Step::owner) == mSteps.end())
    {
        mSteps.push_back({owner, std::move(finish), std::move(drop)});
    }
}

void DrawQueue::finish()
{
    while (!mSteps.empty())
    {
        const Step step = std::move(mSteps.front());
        mSteps.erase(mSteps.begin());
        step.finish();
    }
}

void DrawQueue::drop() noexcept
{
    for (const Step& step : mSteps)
    {
        step.drop();
    }
    mSteps.clear();
}
}  // namespace Render
