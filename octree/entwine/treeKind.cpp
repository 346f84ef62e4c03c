#include "octree/entwine/treeKind.h"

#include "octree/entwine/EntwineTree.h"

namespace Entwine
{
const Octree::TreeKind& treeKind() noexcept
{
    static constexpr Octree::TreeKind kKind{
        Octree::Kind::Entwine,
        "Entwine",
        "ept.json",
        [](const Octree::Location& location) -> std::shared_ptr<const Octree::Tree>
        { return std::make_shared<EntwineTree>(location); },
    };
    return kKind;
}
}  // namespace Entwine
