#include "apps/cli/readPolygon.h"

#include "apps/cli/formatNumber.h"
#include "apps/cli/oneLine.h"
#include "apps/cli/parseValue.h"
#include <core/readLocalFile.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace Cli
{
namespace
{
using Polygon = std::vector<Math::Point<float, 2>>;

constexpr std::uint64_t kLargestFile = 16U << 20U;  // bytes
constexpr std::size_t kMostLines = 100'000;
constexpr std::size_t kLongestLine = 1000;  // characters; longer ones are no text
constexpr std::size_t kQuotedLength = 40;   // characters of a bad line in the message
constexpr std::string_view kSeparators = " \t\r,;";

[[noreturn]] void fail(const std::string& path, const std::string& reason)
{
    throw std::runtime_error(path + ": " + reason);
}

/// Reads a number and the blanks and commas around it.
bool takeNumber(std::string_view& text, double& value)
{
    text.remove_prefix(std::min(text.find_first_not_of(kSeparators), text.size()));
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || !std::isfinite(value))
    {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    const std::size_t rest = std::min(text.find_first_not_of(kSeparators), text.size());
    const bool isSeparated = text.empty() || rest > 0;
    text.remove_prefix(rest);
    return isSeparated;
}

void addCorner(Polygon& polygon, std::string_view line, const Math::Point<double, 3>& origin)
{
    std::string_view text = line;
    double x = 0.0;
    double y = 0.0;
    if (!takeNumber(text, x) || !takeNumber(text, y) || !text.empty())
    {
        throw std::invalid_argument("expected two finite numbers, x and y of a corner");
    }
    if (std::max(std::abs(x), std::abs(y)) > kLargestNumber)
    {
        throw std::invalid_argument(
            "a number is too large, at most " + formatNumber(kLargestNumber) + " is possible"
        );
    }
    polygon.emplace_back(static_cast<float>(x - origin.x), static_cast<float>(y - origin.y));
}

}  // namespace

std::string readPolygonFile(const std::string& path)
{
    const std::filesystem::path file = toPath(path);
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(file, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    {
        fail(path, "the polygon is not in a regular file");
    }
    try
    {
        if (std::filesystem::file_size(file) > kLargestFile)
        {
            fail(path, "the file of the polygon has more than " + std::to_string(kLargestFile) + " bytes");
        }
        return Core::readLocalFile(file, kLargestFile);
    }
    catch (const std::filesystem::filesystem_error&)
    {
        fail(path, "the file of the polygon cannot be opened");
    }
}

Polygon readPolygon(const std::string& path, const Math::Point<double, 3>& origin)
{
    return parsePolygon(readPolygonFile(path), path, origin);
}

Polygon parsePolygon(std::string_view text, const std::string& path, const Math::Point<double, 3>& origin)
{
    Polygon polygon;
    std::size_t number = 0;
    for (std::string_view rest = text; !rest.empty();)
    {
        if (++number > kMostLines)
        {
            fail(path, "there are more than " + std::to_string(kMostLines) + " lines");
        }
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (line.size() > kLongestLine)
        {
            fail(
                path,
                "line " + std::to_string(number) + " has more than " + std::to_string(kLongestLine) +
                    " characters"
            );
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::size_t begin = line.find_first_not_of(" \t\r");
        if (begin == std::string_view::npos || line[begin] == '#')
        {
            continue;
        }
        try
        {
            addCorner(polygon, line, origin);
        }
        catch (const std::invalid_argument& error)
        {
            fail(
                path,
                "line " + std::to_string(number) + " is '" + oneLine(line.substr(0, kQuotedLength)) + "', " +
                    error.what()
            );
        }
    }
    return polygon;
}
}  // namespace Cli
