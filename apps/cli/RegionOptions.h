#pragma once

#include <math/Point.h>
#include <render/pointcloud/IFilter.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Cli
{
/// The options that describe a region of space in absolute coordinates; several together mean what lies in
/// all of them.
struct RegionOptions
{
    std::string box;
    std::string orientedBox;
    std::string sphere;
    std::string polygonFile;
    std::string heights;
    std::vector<std::string> planes;
    std::vector<std::string> oldPlanes;  ///< by the old spelling
};

/// Adds the options to a verb.
void addRegionOptions(CLI::App& verb, RegionOptions& options);

/// Whether any region is given.
bool hasRegion(const RegionOptions& options);

/// The region as seen from an origin. The subtraction is done in double precision.
/// @throws CLI::ParseError     when no region is given, or a value makes no sense
/// @throws std::runtime_error  naming the polygon's file, the line and what is wrong
std::unique_ptr<Render::IFilter> makeRegion(
    const RegionOptions& options, const Math::Point<double, 3>& origin
);
}  // namespace Cli
