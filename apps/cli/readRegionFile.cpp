#include "apps/cli/readRegionFile.h"

#include "apps/cli/oneLine.h"
#include "apps/cli/parseGeoJson.h"
#include "apps/cli/parseWkt.h"
#include "apps/cli/readPolygon.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace Cli
{
namespace
{
/// The text without what editors put before it.
std::string_view beginningOf(std::string_view text)
{
    constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
    if (text.starts_with(kByteOrderMark))
    {
        text.remove_prefix(kByteOrderMark.size());
    }
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    return text;
}
}  // namespace

std::vector<PolygonWithHoles> readRegionFile(const std::string& option, const Math::Point<double, 3>& origin)
{
    if (isWktPolygon(option) && option.find('(') != std::string::npos)
    {
        return parseWkt(option, origin);
    }
    const std::string content = readPolygonFile(option);
    const std::string_view text = beginningOf(content);
    try
    {
        if (text.starts_with('{'))
        {
            return parseGeoJson(text, origin);
        }
        if (isWktPolygon(text))
        {
            return parseWkt(text, origin);
        }
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(option + ": " + oneLine(error.what()));
    }
    return {PolygonWithHoles{parsePolygon(content, option, origin), {}}};
}
}  // namespace Cli
