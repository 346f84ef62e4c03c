#include "octree/Tree.h"

#include "octree/entwine/EntwineTree.h"
#include "octree/potree/PoTreeTree.h"

namespace Octree
{
std::shared_ptr<const Tree> openTree(const Location& location)
{
    if (location.kind() == Kind::Entwine)
    {
        return std::make_shared<Entwine::EntwineTree>(Entwine::FileSystemLocation(location.folder()));
    }
    return std::make_shared<PoTree::PoTreeTree>(PoTree::FileSystemLocation(location.folder()));
}
}  // namespace Octree
