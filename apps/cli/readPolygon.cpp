#include "apps/cli/readPolygon.h"

#include "apps/cli/formatNumber.h"
#include "apps/cli/oneLine.h"
#include "apps/cli/parseValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace Cli
{
namespace
{
using Polygon = std::vector<Math::Point<float, 2>>;

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

Polygon readPolygon(const std::string& path, const Math::Point<double, 3>& origin)
{
    std::ifstream file(toPath(path), std::ios::binary);
    if (!file)
    {
        fail(path, "the file of the polygon cannot be opened");
    }
    Polygon polygon;
    std::array<char, kLongestLine + 1> buffer;
    std::size_t number = 0;
    while (file.getline(buffer.data(), buffer.size()))
    {
        if (++number > kMostLines)
        {
            fail(path, "there are more than " + std::to_string(kMostLines) + " lines");
        }
        const auto length =
            static_cast<std::size_t>(file.gcount()) - (file.eof() ? 0U : 1U);  // the line feed
        const std::string_view line(buffer.data(), length);
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
    if (file.bad())
    {
        fail(path, "the file of the polygon cannot be read");
    }
    if (!file.eof())
    {
        fail(
            path,
            "line " + std::to_string(number + 1) + " has more than " + std::to_string(kLongestLine) +
                " characters"
        );
    }
    return polygon;
}
}  // namespace Cli
