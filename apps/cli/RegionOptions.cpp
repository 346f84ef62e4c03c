#include "apps/cli/RegionOptions.h"

#include "apps/cli/parseValue.h"
#include <render/pointcloud/filters/BoxFilter.h>
#include <render/pointcloud/filters/IntersectionFilter.h>
#include <render/pointcloud/filters/PolytopeFilter.h>
#include <render/pointcloud/filters/PrismFilter.h>
#include <render/pointcloud/filters/SphereFilter.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace Cli
{
namespace
{
using Filter = std::unique_ptr<Render::IFilter>;
using Origin = Math::Point<double, 3>;
using Polygon = std::vector<Math::Point<float, 2>>;

constexpr std::size_t kLongestLine = 1000;  // of a polygon's file; longer ones are no text

float relative(double absolute, double origin)
{
    return static_cast<float>(absolute - origin);
}

Math::Point<float, 3> relative(const std::vector<double>& numbers, std::size_t first, const Origin& origin)
{
    return {
        relative(numbers[first], origin.x),
        relative(numbers[first + 1], origin.y),
        relative(numbers[first + 2], origin.z)};
}

Filter makeBox(const std::string& text, const Origin& origin)
{
    const std::vector<double> numbers = parseNumbers("--box", text, 6);
    return std::make_unique<Render::BoxFilter>(
        Math::NBoundingBox<float, 3>(relative(numbers, 0, origin), relative(numbers, 3, origin))
    );
}

Filter makeSphere(const std::string& text, const Origin& origin)
{
    const std::vector<double> numbers = parseNumbers("--sphere", text, 4);
    if (numbers[3] < 0.0)
    {
        throw CLI::ValidationError("--sphere", "the radius of '" + text + "' is below 0");
    }
    return std::make_unique<Render::SphereFilter>(relative(numbers, 0, origin), numbers[3]);
}

/// Each text holds one plane or several, four numbers each.
Filter makePolytope(const std::vector<std::string>& texts, const Origin& origin)
{
    std::vector<Math::HalfSpace<double, 3>> halfSpaces;
    for (const std::string& text : texts)
    {
        const auto commas = static_cast<std::size_t>(std::count(text.begin(), text.end(), ','));
        const std::vector<double> numbers = parseNumbers("--planes", text, (commas / 4 + 1) * 4);
        for (std::size_t i = 0; i < numbers.size(); i += 4)
        {
            const double a = numbers[i];
            const double b = numbers[i + 1];
            const double c = numbers[i + 2];
            if (a == 0.0 && b == 0.0 && c == 0.0)
            {
                throw CLI::ValidationError("--planes", "'" + text + "' has a normal of length 0");
            }
            // the same half-space seen from the origin
            halfSpaces.emplace_back(a, b, c, numbers[i + 3] + a * origin.x + b * origin.y + c * origin.z);
        }
    }
    return std::make_unique<Render::PolytopeFilter>(Math::ConvexPolytope<double, 3>(std::move(halfSpaces)));
}

/// Reads a number and the blanks and commas around it.
bool takeNumber(std::string_view& text, double& value)
{
    constexpr std::string_view kSeparators = " \t\r,;";
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

Polygon readPolygon(const std::string& path, const Origin& origin)
{
    std::ifstream file(toPath(path), std::ios::binary);
    if (!file)
    {
        throw std::runtime_error(path + ": the file of the polygon cannot be opened");
    }
    Polygon polygon;
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number)
    {
        std::string_view text = line;
        const std::size_t begin = text.find_first_not_of(" \t\r");
        if (begin == std::string_view::npos || text[begin] == '#')
        {
            continue;
        }
        double x = 0.0;
        double y = 0.0;
        if (line.size() > kLongestLine || !takeNumber(text, x) || !takeNumber(text, y) || !text.empty())
        {
            throw std::runtime_error(
                path + ": line " + std::to_string(number) + " is '" + line.substr(0, 40) +
                "', expected two finite numbers, x and y of a corner"
            );
        }
        polygon.emplace_back(relative(x, origin.x), relative(y, origin.y));
    }
    if (file.bad())
    {
        throw std::runtime_error(path + ": the file of the polygon cannot be read");
    }
    return polygon;
}

Filter makePrism(const RegionOptions& options, const Origin& origin)
{
    const std::vector<double> heights = parseNumbers("--z", options.heights, 2);
    Polygon polygon = readPolygon(options.polygonFile, origin);
    const std::size_t corners = polygon.size();
    try
    {
        return std::make_unique<Render::PrismFilter>(
            std::move(polygon), relative(heights[0], origin.z), relative(heights[1], origin.z)
        );
    }
    catch (const std::invalid_argument&)
    {
        throw std::runtime_error(
            options.polygonFile + ": there are " + std::to_string(corners) +
            " corners, expected at least three different ones"
        );
    }
}
}  // namespace

void addRegionOptions(CLI::App& verb, RegionOptions& options)
{
    const std::string group = "Region (absolute coordinates, borders included; several mean what is in all)";
    verb.add_option("--box", options.box, "xmin,ymin,zmin,xmax,ymax,zmax")->group(group);
    verb.add_option("--sphere", options.sphere, "Centre and radius: x,y,z,r")->group(group);
    CLI::Option* const polygon =
        verb.add_option("--polygon", options.polygonFile, "Text file with a corner x y per line")
            ->group(group);
    CLI::Option* const heights =
        verb.add_option("--z", options.heights, "Lower and upper end of the prism over the polygon: a,b")
            ->group(group);
    polygon->needs(heights);
    heights->needs(polygon);
    verb.add_option(
            "--planes",
            options.planes,
            "What satisfies a x + b y + c z + d >= 0 for all: a,b,c,d [a,b,c,d ...]"
    )
        ->group(group);
}

std::unique_ptr<Render::IFilter> makeRegion(const RegionOptions& options, const Origin& origin)
{
    std::vector<Filter> filters;
    if (!options.box.empty())
    {
        filters.push_back(makeBox(options.box, origin));
    }
    if (!options.sphere.empty())
    {
        filters.push_back(makeSphere(options.sphere, origin));
    }
    if (!options.polygonFile.empty())
    {
        filters.push_back(makePrism(options, origin));
    }
    if (!options.planes.empty())
    {
        filters.push_back(makePolytope(options.planes, origin));
    }
    if (filters.empty())
    {
        throw CLI::RequiredError("A region (--box, --sphere, --polygon with --z, or --planes)");
    }
    return filters.size() == 1 ? std::move(filters.front())
                               : std::make_unique<Render::IntersectionFilter>(std::move(filters));
}
}  // namespace Cli
