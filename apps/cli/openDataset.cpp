#include "apps/cli/openDataset.h"

#include "apps/cli/parseValue.h"
#include "apps/cli/remoteData.h"
#include <core/http/HttpUrl.h>

#include <stdexcept>

namespace Cli
{
Octree::Location datasetLocation(const std::string& path)
{
    Octree::Location location = Core::HttpUrl::isUrl(path) ? Octree::Location::fromUrl(path, remoteClient())
                                                           : Octree::Location::fromPath(toPath(path));
    if (!location.exists())
    {
        throw std::runtime_error(
            shownName(path) +
            ": no data set here (expected a folder with metadata.json or ept.json, or a COPC file)"
        );
    }
    return location;
}
}  // namespace Cli
