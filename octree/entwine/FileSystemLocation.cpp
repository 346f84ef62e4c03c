#include "octree/entwine/FileSystemLocation.h"

#include "octree/fileExists.h"

namespace Entwine
{
std::filesystem::path FileSystemLocation::metadataFile() const
{
    return mFolder / "ept.json";
}

bool FileSystemLocation::exists() const
{
    return Octree::fileExists(metadataFile());
}
}  // namespace Entwine
