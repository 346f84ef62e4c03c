#include "octree/Tree.h"

#include "octree/TreeKind.h"

namespace Octree
{
std::shared_ptr<const Tree> openTree(const Location& location)
{
    return treeKind(location.kind()).open(location);
}
}  // namespace Octree
