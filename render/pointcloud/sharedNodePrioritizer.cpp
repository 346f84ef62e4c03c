#include "render/pointcloud/sharedNodePrioritizer.h"

#include "core/SharedResources.h"
#include "core/fnv1a.h"
#include "render/pointcloud/NodePrioritizer.h"

#include <functional>

namespace
{
struct GroupKey
{
    std::uint64_t value = 0;

    friend bool operator==(const GroupKey&, const GroupKey&) = default;
};
}  // namespace

template <>
struct std::hash<GroupKey>
{
    std::size_t operator()(const GroupKey& key) const noexcept
    {
        return static_cast<std::size_t>(Core::fnv1a(key.value));
    }
};

namespace Render
{
std::shared_ptr<NodePrioritizer> sharedNodePrioritizer(std::uint64_t groupKey, std::size_t budget)
{
    static Core::SharedResources<GroupKey, NodePrioritizer>
        registry;  // here, so that the process has only one
    return registry.createOrGet(
        GroupKey{groupKey}, [budget] { return std::make_shared<NodePrioritizer>(budget); }
    );
}
}  // namespace Render
