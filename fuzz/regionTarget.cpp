#include "apps/cli/parsePlanes.h"
#include "apps/cli/readRegionFile.h"
#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/targets.h"
#include "render/pointcloud/filters/PrismFilter.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace Fuzz
{
namespace
{
/// The answers for boxes between corners of the polygon agree with those for points in them.
void checkPrism(const Cli::PolygonWithHoles& region)
{
    const Cli::PolygonWithHoles::Ring& polygon = region.outline;
    Render::PrismFilter filter(polygon, 0.0F, 1.0F);
    for (const Cli::PolygonWithHoles::Ring& hole : region.holes)
    {
        filter.addHole(hole);
    }
    const std::size_t count = std::min<std::size_t>(polygon.size(), 8);
    for (std::size_t i = 0; i < count; ++i)
    {
        for (std::size_t k = 0; k < count; ++k)
        {
            const auto [left, right] = std::minmax({polygon[i].x / 2, polygon[k].x / 4});
            const auto [lower, upper] = std::minmax({polygon[k].y / 4, polygon[i].y / 2});
            const Octree::BoxTestResult result =
                filter.testBox({{left, lower, 0.25F}, {right, upper, 0.75F}});
            if (result == Octree::BoxTestResult::Border)
            {
                continue;
            }
            for (const float x : {left, right})
            {
                for (const float y : {lower, upper})
                {
                    if (filter.testPosition({x, y, 0.5F}) != (result == Octree::BoxTestResult::Inside))
                    {
                        throw BrokenPromise("a box that contradicts its corner");
                    }
                }
            }
        }
    }
}
}  // namespace

void region(std::string_view input)
{
    static const FuzzFolder folder;
    const auto files = filesOf<2>(input);
    folder.write("polygon.txt", files[0].value_or(""));
    try
    {
        for (const Cli::PolygonWithHoles& polygon :
             Cli::readRegionFile((folder.path() / "polygon.txt").string(), {1.0, 2.0, 3.0}))
        {
            checkPrism(polygon);
        }
    }
    catch (const std::invalid_argument& error)  // too few corners
    {
        checkMessage(error.what());
    }
    catch (const std::runtime_error& error)
    {
        checkMessage(error.what());
    }
    try
    {
        Cli::parsePlanes("--planes", {std::string(files[1].value_or(""))}, {1.0, 2.0, 3.0});
    }
    catch (const CLI::Error&)
    {
        // Quotes what stands on the command line, which is no file.
    }
}
}  // namespace Fuzz
