#include "octree/TreeKind.h"

#include "octree/copc/treeKind.h"
#include "octree/entwine/treeKind.h"
#include "octree/potree/treeKind.h"

#include <algorithm>
#include <array>

namespace Octree
{
std::span<const TreeKind* const> treeKinds() noexcept
{
    static const std::array<const TreeKind*, 3> kinds{
        &PoTree::treeKind(), &Entwine::treeKind(), &Copc::treeKind()};
    return kinds;
}

const TreeKind& treeKind(Kind kind) noexcept
{
    return **std::ranges::find(treeKinds(), kind, &TreeKind::kind);
}
}  // namespace Octree
