#include "octree/potree/FileSystemLocation.h"

#include "octree/fileExists.h"

namespace PoTree
{
std::filesystem::path FileSystemLocation::metadataFile() const
{
    return mFolder / "metadata.json";
}

std::filesystem::path FileSystemLocation::hierarchyFile() const
{
    return mFolder / "hierarchy.bin";
}

std::filesystem::path FileSystemLocation::octreeFile() const
{
    return mFolder / "octree.bin";
}

bool FileSystemLocation::exists() const
{
    return Octree::fileExists(metadataFile());
}
}  // namespace PoTree
