#include "octree/entwine/EntwineTree.h"

#include "octree/fileError.h"

namespace Entwine
{
std::shared_ptr<const Octree::Tree> openEntwineTree(const FileSystemLocation& location)
{
    throw Octree::fileError(
        location.metadataFile(),
        "Entwine Point Tiles are not supported by this build, expected a three-file octree (metadata.json)"
    );
}
}  // namespace Entwine
