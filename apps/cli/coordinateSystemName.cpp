#include "apps/cli/coordinateSystemName.h"

#include "apps/cli/oneLine.h"
#include <octree/las/LasWriter.h>

namespace Cli
{
std::string coordinateSystemName(std::string_view coordinateSystem)
{
    constexpr std::size_t kLongestName = 200;
    if (coordinateSystem.empty())
    {
        return "not stated";
    }
    const std::size_t begin = coordinateSystem.find('"');
    const std::size_t end = begin == std::string_view::npos ? begin : coordinateSystem.find('"', begin + 1);
    const bool hasName = Las::isWellKnownText(coordinateSystem) && end != std::string_view::npos;
    const std::string_view name =
        hasName ? coordinateSystem.substr(begin + 1, end - begin - 1) : coordinateSystem;
    return oneLine(name.substr(0, kLongestName));
}
}  // namespace Cli
