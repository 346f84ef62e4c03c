#include "apps/cli/RegionOptions.h"

#include "apps/cli/oldSpelling.h"
#include "apps/cli/parsePlanes.h"
#include "apps/cli/parseValue.h"
#include "apps/cli/readRegionFile.h"
#include <render/pointcloud/filters/BoxFilter.h>
#include <render/pointcloud/filters/IntersectionFilter.h>
#include <render/pointcloud/filters/OrientedBoxFilter.h>
#include <render/pointcloud/filters/PolytopeFilter.h>
#include <render/pointcloud/filters/PrismFilter.h>
#include <render/pointcloud/filters/SphereFilter.h>
#include <render/pointcloud/filters/UnionFilter.h>

#include <Eigen/Geometry>

#include <numbers>
#include <stdexcept>
#include <utility>

namespace Cli
{
namespace
{
using Filter = std::unique_ptr<Render::IFilter>;
using Origin = Math::Point<double, 3>;

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

/// A box turned about z.
Filter makeOrientedBox(const std::string& text, const Origin& origin)
{
    const std::vector<double> numbers = parseNumbers("--oriented-box", text, 7);
    const Eigen::Vector3d sizes(numbers[3], numbers[4], numbers[5]);
    if (sizes.minCoeff() < 0.0)
    {
        throw CLI::ValidationError("--oriented-box", "a size of '" + text + "' is below 0");
    }
    const double turn = numbers[6] * std::numbers::pi / 180.0;
    const Eigen::Matrix3d axes = Eigen::AngleAxisd(turn, Eigen::Vector3d::UnitZ()).toRotationMatrix();
    return std::make_unique<Render::OrientedBoxFilter>(relative(numbers, 0, origin), axes, sizes / 2.0);
}

/// What stands on one polygon.
Filter makePrism(PolygonWithHoles polygon, const std::vector<float>& heights, const std::string& option)
{
    const std::size_t corners = polygon.outline.size();
    try
    {
        auto prism =
            std::make_unique<Render::PrismFilter>(std::move(polygon.outline), heights[0], heights[1]);
        for (PolygonWithHoles::Ring& hole : polygon.holes)
        {
            prism->addHole(std::move(hole));
        }
        return prism;
    }
    catch (const std::invalid_argument&)
    {
        throw std::runtime_error(
            option + ": there are " + std::to_string(corners) +
            (polygon.holes.empty() ? " corners" : " corners, or fewer in a hole") +
            ", expected at least three different ones"
        );
    }
}

Filter makePolytope(const std::string& option, const std::vector<std::string>& planes, const Origin& origin)
{
    return std::make_unique<Render::PolytopeFilter>(
        Math::ConvexPolytope<double, 3>(parsePlanes(option, planes, origin))
    );
}

Filter makePrisms(const RegionOptions& options, const Origin& origin)
{
    const std::vector<double> numbers = parseNumbers("--z", options.heights, 2);
    const std::vector<float> heights{relative(numbers[0], origin.z), relative(numbers[1], origin.z)};
    std::vector<Filter> prisms;
    for (PolygonWithHoles& polygon : readRegionFile(options.polygonFile, origin))
    {
        prisms.push_back(makePrism(std::move(polygon), heights, options.polygonFile));
    }
    return prisms.size() == 1 ? std::move(prisms.front())
                              : std::make_unique<Render::UnionFilter>(std::move(prisms));
}
}  // namespace

void addRegionOptions(CLI::App& verb, RegionOptions& options)
{
    const std::string group = "Region (absolute coordinates, borders included; several mean what is in all)";
    verb.add_option("--box", options.box, "xmin,ymin,zmin,xmax,ymax,zmax")->group(group);
    verb.add_option(
            "--oriented-box",
            options.orientedBox,
            "Centre, full sizes and turn about z in degrees, from x towards y: x,y,z,sx,sy,sz,turn"
    )
        ->group(group);
    verb.add_option("--sphere", options.sphere, "Centre and radius: x,y,z,r")->group(group);
    CLI::Option* const polygon =
        verb.add_option(
                "--polygon",
                options.polygonFile,
                "File with polygons in WKT or GeoJSON, or with a corner x y per line; or the WKT itself"
        )
            ->group(group);
    CLI::Option* const heights =
        verb.add_option("--z", options.heights, "Lower and upper end of the prism over the polygon: a,b")
            ->group(group);
    polygon->needs(heights);
    heights->needs(polygon);
    verb.add_option(
            "--clip",
            options.planes,
            "What satisfies a x + b y + c z + d >= 0: a,b,c,d; several in one text, or repeatable"
    )
        ->allow_extra_args(false)
        ->group(group);
    verb.add_option("--planes", options.oldPlanes, "Now --clip")
        ->allow_extra_args(false)
        ->group(kOldSpelling);
}

bool hasRegion(const RegionOptions& options)
{
    return !options.box.empty() || !options.orientedBox.empty() || !options.sphere.empty() ||
           !options.polygonFile.empty() || !options.planes.empty() || !options.oldPlanes.empty();
}

std::unique_ptr<Render::IFilter> makeRegion(const RegionOptions& options, const Origin& origin)
{
    std::vector<Filter> filters;
    if (!options.box.empty())
    {
        filters.push_back(makeBox(options.box, origin));
    }
    if (!options.orientedBox.empty())
    {
        filters.push_back(makeOrientedBox(options.orientedBox, origin));
    }
    if (!options.sphere.empty())
    {
        filters.push_back(makeSphere(options.sphere, origin));
    }
    if (!options.polygonFile.empty())
    {
        filters.push_back(makePrisms(options, origin));
    }
    if (!options.planes.empty())
    {
        filters.push_back(makePolytope("--clip", options.planes, origin));
    }
    if (!options.oldPlanes.empty())
    {
        filters.push_back(makePolytope("--planes", options.oldPlanes, origin));
        noteOldSpelling("--planes", "--clip");
    }
    if (filters.empty())
    {
        throw CLI::RequiredError("A region (--box, --oriented-box, --sphere, --polygon with --z, or --clip)");
    }
    return filters.size() == 1 ? std::move(filters.front())
                               : std::make_unique<Render::IntersectionFilter>(std::move(filters));
}
}  // namespace Cli
