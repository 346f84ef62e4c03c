#include "bench/compressTiles.h"

#include "octree/Octree.h"
#include "octree/entwine/nodeKey.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <ios>
#include <stdexcept>
#include <string>
#include <vector>

void compressTiles(const std::filesystem::path& folder)
{
    std::ifstream stream(folder / "ept.json");
    nlohmann::json ept = nlohmann::json::parse(stream);
    stream.close();
    const Octree::Octree octree(Octree::Location::fromPath(folder), 1.0);
    LazOptions options = kLaszipTileOptions;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        options.offset[axis] = octree.position()[axis];
    }
    std::vector<Octree::OctreeNodeId> nodes{octree.root()};
    Octree::NodePointData data;
    for (std::size_t n = 0; n < nodes.size(); ++n)
    {
        const auto children = octree.children(nodes[n]);
        nodes.insert(nodes.end(), children.begin(), children.end());
        octree.readNodePointData(nodes[n], data);
        std::vector<LazPoint> points(data.size());
        for (std::size_t i = 0; i < points.size(); ++i)
        {
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                points[i].position[axis] =
                    static_cast<std::int32_t>(std::lround(data.position(i)[axis] * 1000));
            }
            const Math::Color color = data.columns().colors[i];
            points[i].color = {color.r(), color.g(), color.b()};
            points[i].intensity = data.columns().intensities[i];
            points[i].classification = data.columns().classifications[i];
            points[i].time = 0.001 * static_cast<double>(i);
        }
        const std::string bytes = lazEncoded(points, options);
        std::ofstream tile(folder / "ept-data" / (Entwine::nodeKey(nodes[n]) + ".laz"), std::ios::binary);
        if (!tile.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
        {
            throw std::runtime_error("a laszip tile cannot be written");
        }
    }
    ept["dataType"] = "laszip";
    std::ofstream description(folder / "ept.json");
    if (!(description << ept.dump() << std::flush))
    {
        throw std::runtime_error("ept.json cannot be written");
    }
}
