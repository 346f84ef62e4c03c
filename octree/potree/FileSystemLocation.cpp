#include "octree/potree/FileSystemLocation.h"

#include "core/LocalFolder.h"

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

std::shared_ptr<const Core::ByteFolder> FileSystemLocation::files() const
{
    return std::make_shared<const Core::LocalFolder>(mFolder);
}

bool FileSystemLocation::exists() const
{
    return files()->contains("metadata.json");
}
}  // namespace PoTree
