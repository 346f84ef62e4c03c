#include "fuzz/makeSeeds.h"

#include "fuzz/FuzzInput.h"
#include "graphics/writePanorama.h"
#include "samples/CopcWriter.h"
#include "samples/EptWriter.h"
#include "samples/OctreeWriter.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/lazEncoded.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>

namespace Fuzz
{
namespace
{
std::vector<Samples::SampleNode> smallCloud()
{
    std::vector<Samples::SampleNode> nodes{{.name = "r"}, {.name = "r0"}, {.name = "r00"}};
    for (std::size_t node = 0; node < nodes.size(); ++node)
    {
        for (unsigned i = 0; i < 5; ++i)
        {
            Samples::SamplePoint& point = nodes[node].points.emplace_back();
            point.x = 0.1 * i;
            point.y = 0.2 * i;
            point.z = 0.05 * static_cast<double>(node + 1);
            point.r = static_cast<std::uint16_t>(1000 * i);
            point.intensity = static_cast<std::uint16_t>(7 * i);
            point.classification = 2;
            point.scanIndex = i;
        }
    }
    return nodes;
}

std::vector<std::string> filesIn(const TemporaryFolder& folder, const std::vector<std::string>& names)
{
    std::vector<std::string> files;
    for (const std::string& name : names)
    {
        const std::filesystem::path path = folder.path() / name;
        files.push_back(std::filesystem::exists(path) ? TemporaryFolder::read(path) : std::string());
    }
    return files;
}

std::vector<std::string> octreeSeeds()
{
    using enum Samples::Attribute;
    std::vector<std::string> seeds;
    for (const Samples::OctreeEncoding encoding :
         {Samples::OctreeEncoding::Brotli, Samples::OctreeEncoding::Default})
    {
        for (const unsigned step : {1U, 4U})
        {
            const TemporaryFolder folder;
            Samples::OctreeWriterOptions options;
            options.encoding = encoding;
            options.attributes = {
                Position, Rgb, Intensity, Classification, ScanIndex, Visibility, NormalOct16, GpsTime};
            if (step == 1)
            {
                options.attributes = {NormalX, NormalY, NormalZ, Position};
            }
            options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 1.0};
            options.stepSize = step;
            options.threadCount = 1;
            Samples::writeOctreeNodes(folder.path(), smallCloud(), options);
            seeds.push_back(inputOf(filesIn(folder, {"metadata.json", "hierarchy.bin", "octree.bin"})));
        }
    }
    return seeds;
}

std::vector<std::string> eptFiles(Samples::EptDataType type)
{
    const TemporaryFolder folder;
    Samples::EptWriterOptions options;
    options.dataType = type;
    options.schema = Samples::defaultEptSchema({0.0, 0.0, 0.0});
    options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 1.0};
    options.hierarchyStep = 1;
    options.threadCount = 1;
    Samples::writeEptNodes(folder.path(), smallCloud(), options);
    const std::string extension = type == Samples::EptDataType::Binary ? ".bin" : ".zst";
    return filesIn(
        folder,
        {"ept.json",
         "ept-hierarchy/0-0-0-0.json",
         "ept-hierarchy/1-0-0-0.json",
         "ept-data/0-0-0-0" + extension,
         "ept-data/1-0-0-0" + extension}
    );
}

std::vector<std::string> eptSeeds()
{
    std::vector<std::string> files = eptFiles(Samples::EptDataType::Binary);
    std::vector<std::string> seeds{inputOf(files), inputOf(eptFiles(Samples::EptDataType::Zstandard))};
    nlohmann::json description = nlohmann::json::parse(files[0]);
    description["dataType"] = "laszip";
    const std::array<LazPoint, 5> points{};
    for (const LazOptions& options :
         {LazOptions{.pointFormat = 3, .extraBytes = 2}, LazOptions{.pointFormat = 7, .chunkSize = 2}})
    {
        files[0] = description.dump();
        files[3] = files[4] = lazEncoded(points, options);
        seeds.push_back(inputOf(files));
    }
    return seeds;
}

std::vector<std::string> copcSeeds()
{
    std::vector<std::string> seeds;
    for (const unsigned format : {6U, 7U, 8U})
    {
        const TemporaryFolder folder;
        Samples::CopcWriterOptions options;
        options.pointFormat = format;
        options.itemVersion = format == 8 ? 4 : 3;
        options.extraBytes = format == 6 ? 2 : 0;
        options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 1.0};
        options.hierarchyStep = format - 6;
        options.threadCount = 1;
        Samples::writeCopcNodes(folder.path() / "x.copc.laz", smallCloud(), options);
        seeds.push_back(TemporaryFolder::read(folder.path() / "x.copc.laz"));
    }
    return seeds;
}

std::vector<std::string> panoramaSeeds()
{
    const TemporaryFolder folder;
    Graphics::ColorImage color(16, 8);
    color.fill(Math::Color(10, 200, 30, 255));
    Graphics::Gray16Image depth;
    depth.width = 16;
    depth.height = 8;
    depth.values.assign(128, 700);
    Graphics::writePanorama(folder.path(), color, depth, {}, 8);
    std::vector<std::string> files = filesIn(
        folder, {"panorama.json", "color.dzi", "depth.dzi", "color_files/4/0_0.png", "depth_files/4/0_0.png"}
    );
    std::vector<std::string> seeds{inputOf(files)};
    const std::filesystem::path photo = std::filesystem::path(TARNEL_TEST_DATA) / "deepzoom";
    files[0] = TemporaryFolder::read(photo / "panorama.json");
    files[1] = TemporaryFolder::read(photo / "photo.dzi");
    files[2] = TemporaryFolder::read(photo / "depth.dzi");
    files[3] = TemporaryFolder::read(photo / "photo_files" / "7" / "0_0.jpeg");
    files[4] = TemporaryFolder::read(photo / "depth_files" / "7" / "0_0.png");
    seeds.push_back(inputOf(files));
    return seeds;
}

std::vector<std::string> meshSeeds()
{
    return {
        "# mesh\nmtllib m.mtl\nv 0 0 0\nv 1e1 0.5 -2 1 0 0.5\nv .5 2 3\nv 1 1 1\nvn 0 0 1\nvt 0.5 0.25\n"
        "o part\nusemtl red\ns 1\nf 1 2 3\nf 1/1/1 2//1 -2 -1\ng other one\nf 1 2 3 4\nl 1 2\np 1\n"
        "t tag 1/1/1 3 2.5 x\nvw 1 0 0.5\n"};
}

std::vector<std::string> regionSeeds()
{
    const std::string planes = "1,0,0,-5,0,1,0,2.5e1";
    return {
        inputOf({"# polygon\n0 0\n10, 0\n\n10 1e1\r\n0\t10\n", planes}),
        inputOf({"MULTIPOLYGON Z (((0 0 1, 10 0 1, 1e1 10 1, 0 0 1), (5 1 0, 8 1 0, 8 3 0, 5 1 0)))", planes}
        ),
        inputOf(
            {R"({"type": "Feature", "properties": null, "geometry": {"type": "Polygon", "coordinates": )"
             "[[[0, 0], [10, 0], [10, 10.5], [0, 0]], [[5, 1], [8, 1], [8, 3], [5, 1]]]}}",
             planes}
        ),
    };
}
}  // namespace

std::vector<std::string> makeSeeds(std::string_view target)
{
    if (target == "octree")
    {
        return octreeSeeds();
    }
    if (target == "ept")
    {
        return eptSeeds();
    }
    if (target == "copc")
    {
        return copcSeeds();
    }
    if (target == "panorama")
    {
        return panoramaSeeds();
    }
    if (target == "mesh")
    {
        return meshSeeds();
    }
    if (target == "region")
    {
        return regionSeeds();
    }
    throw std::invalid_argument("no target of that name: " + std::string(target));
}
}  // namespace Fuzz
