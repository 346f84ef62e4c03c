#include "octree/entwine/FileSystemLocation.h"

#include "core/LocalFolder.h"

namespace Entwine
{
std::filesystem::path FileSystemLocation::metadataFile() const
{
    return mFolder / "ept.json";
}

std::shared_ptr<const Core::ByteFolder> FileSystemLocation::files() const
{
    return std::make_shared<const Core::LocalFolder>(mFolder);
}

bool FileSystemLocation::exists() const
{
    return files()->contains("ept.json");
}
}  // namespace Entwine
