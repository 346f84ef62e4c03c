#include "tests/faults/DataSets.h"

#include "graphics/DeepZoomPanoramaLoader.h"
#include "graphics/writePanorama.h"
#include "octree/Location.h"
#include "octree/Octree.h"
#include "render/mesh/ObjMeshLoader.h"
#include "samples/EptWriter.h"
#include "samples/OctreeWriter.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/lazEncoded.h"

#include <array>
#include <fstream>
#include <functional>
#include <ostream>
#include <span>
#include <sstream>
#include <string_view>
#include <vector>

namespace
{
using Path = std::filesystem::path;

std::vector<Samples::SampleNode> smallCloud()
{
    std::vector<Samples::SampleNode> nodes{{.name = "r"}, {.name = "r0"}, {.name = "r00"}};
    for (std::size_t node = 0; node < nodes.size(); ++node)
    {
        for (unsigned i = 0; i < 20; ++i)
        {
            Samples::SamplePoint& point = nodes[node].points.emplace_back();
            point.x = 0.01 * i;
            point.y = 0.02 * i;
            point.z = 0.05 * static_cast<double>(node + 1);
            point.r = static_cast<std::uint16_t>(1000 * i);
            point.intensity = static_cast<std::uint16_t>(7 * i);
        }
    }
    return nodes;
}

template <class Value>
std::string digest(const std::vector<Value>& values)
{
    const std::string_view bytes(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Value));
    return std::to_string(values.size()) + ":" + std::to_string(std::hash<std::string_view>()(bytes)) + " ";
}

std::string readNodes(const Octree::Location& location)
{
    const Octree::Octree octree(location, 1.0);
    std::vector<Octree::OctreeNodeId> nodes{octree.root()};
    std::string text;
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        Octree::NodePointData data;
        octree.readNodePointData(nodes[i], data);
        const Octree::NodePointColumns& columns = data.columns();
        text += digest(columns.positions) + digest(columns.colors) + digest(columns.intensities);
        for (const Octree::OctreeNodeId& child : octree.children(nodes[i]))
        {
            nodes.push_back(child);
        }
    }
    return text;
}

void writeOctree(const Path& folder, Samples::OctreeEncoding encoding)
{
    Samples::OctreeWriterOptions options;
    options.encoding = encoding;
    options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 1.0};
    options.threadCount = 1;
    Samples::writeOctreeNodes(folder, smallCloud(), options);
}

std::string readOctree(const Path& folder)
{
    return readNodes(PoTree::FileSystemLocation(folder));
}

void writeEpt(const Path& folder, Samples::EptDataType type)
{
    Samples::EptWriterOptions options;
    options.dataType = type;
    options.schema = Samples::defaultEptSchema({0.0, 0.0, 0.0});
    options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 1.0};
    options.hierarchyStep = 1;
    options.threadCount = 1;
    Samples::writeEptNodes(folder, smallCloud(), options);
}

void writeLaszip(const Path& folder)
{
    writeEpt(folder, Samples::EptDataType::Binary);
    std::string description = TemporaryFolder::read(folder / "ept.json");
    const std::string_view binary = "\"binary\"";
    description.replace(description.find(binary), binary.size(), "\"laszip\"");
    const std::array<LazPoint, 20> points{};
    const std::string tile = lazEncoded(points, {.scale = {0.01, 0.01, 0.01}, .offset = {0, 0, 0}});
    std::ofstream(folder / "ept.json", std::ios::binary) << description;
    for (const char* const name : {"0-0-0-0.laz", "1-0-0-0.laz", "2-0-0-0.laz"})
    {
        std::ofstream(folder / "ept-data" / name, std::ios::binary) << tile;
    }
}

std::string readEpt(const Path& folder)
{
    return readNodes(Entwine::FileSystemLocation(folder));
}

void writePanorama(const Path& folder)
{
    Graphics::ColorImage color(16, 8);
    color.fill(Math::Color(10, 200, 30, 255));
    color.setPixel(3, 3, Math::Color(200, 0, 0, 255));
    Graphics::Gray16Image depth;
    depth.width = 16;
    depth.height = 8;
    depth.values.assign(128, 700);
    Graphics::writePanorama(folder, color, depth, {}, 8);
}

std::string readPanorama(const Path& folder)
{
    Graphics::DeepZoomPanoramaLoader loader(folder);
    std::string text;
    const auto add = [&text](const auto& image)
    { text += digest(std::vector<char>(image.data(), image.data() + image.sizeInBytes())); };
    for (std::uint64_t level = 0; level < loader.numColorLevels(); ++level)
    {
        for (const auto& tile : loader.tileIndices(level))
        {
            add(loader.colorImageTile(tile));
            if (level < loader.numDepthLevels())
            {
                add(loader.depthImageTile(tile));
            }
        }
    }
    return text;
}

void writeMesh(const Path& folder)
{
    std::ofstream file(folder / "mesh.obj", std::ios::binary);
    file << "# mesh\nv 0 0 0\nv 10 0.5 -2 1 0 0.5\nv .5 2 3\nv 1 1 1\nvn 0 0 1\no part\nf 1 2 3\n"
            "g other\nf 1 2 3 4\n";
}

std::string readMesh(const Path& folder)
{
    std::string text;
    Render::ObjMeshLoader(folder / "mesh.obj")
        .load(
            [&text](std::span<const Render::VertexPosNormalTexCoordColor> part)
            {
                for (const Render::VertexPosNormalTexCoordColor& corner : part)
                {
                    std::ostringstream numbers;
                    numbers << corner.position.x << ',' << corner.position.y << ',' << corner.position.z
                            << ' ';
                    text += numbers.str();
                }
            }
        );
    return text;
}
}  // namespace

const DataSet kDataSets[7] = {
    {"BrotliOctree",
     [](const Path& folder) { writeOctree(folder, Samples::OctreeEncoding::Brotli); },
     readOctree},
    {"PlainOctree",
     [](const Path& folder) { writeOctree(folder, Samples::OctreeEncoding::Default); },
     readOctree},
    {"BinaryTiles", [](const Path& folder) { writeEpt(folder, Samples::EptDataType::Binary); }, readEpt},
    {"ZstandardTiles",
     [](const Path& folder) { writeEpt(folder, Samples::EptDataType::Zstandard); },
     readEpt},
    {"LaszipTiles", writeLaszip, readEpt},
    {"Panorama", writePanorama, readPanorama},
    {"Mesh", writeMesh, readMesh},
};

std::ostream& operator<<(std::ostream& stream, const DataSet& dataSet)
{
    return stream << dataSet.name;
}
