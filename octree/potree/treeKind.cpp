#include "octree/potree/treeKind.h"

#include "octree/potree/PoTreeTree.h"

namespace PoTree
{
const Octree::TreeKind& treeKind() noexcept
{
    static constexpr Octree::TreeKind kKind{
        Octree::Kind::PoTree,
        "PoTree",
        "metadata.json",
        [](const Octree::Location& location) -> std::shared_ptr<const Octree::Tree>
        { return std::make_shared<PoTreeTree>(location); },
    };
    return kKind;
}
}  // namespace PoTree
