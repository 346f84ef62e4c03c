#include "tests/soak/Scenery.h"

#include "graphics/ColorImage.h"
#include "graphics/writePanorama.h"
#include "samples/writeSampleDataset.h"

#include <fstream>
#include <stdexcept>

namespace
{
void writeMesh(const std::filesystem::path& path)
{
    constexpr int kSide = 40;
    std::ofstream file(path, std::ios::binary);
    for (int y = 0; y < kSide; ++y)
    {
        for (int x = 0; x < kSide; ++x)
        {
            file << "v " << 5 * x << ' ' << 5 * y << ' ' << (x * y) % 7 << '\n';
        }
    }
    for (int y = 0; y + 1 < kSide; ++y)
    {
        for (int x = 0; x + 1 < kSide; ++x)
        {
            const int corner = y * kSide + x + 1;
            file << "f " << corner << ' ' << corner + 1 << ' ' << corner + kSide + 1 << ' ' << corner + kSide
                 << '\n';
        }
    }
    file.close();
    if (!file)
    {
        throw std::runtime_error("cannot write " + path.string());
    }
}

void writeColoredPanorama(const std::filesystem::path& folder)
{
    constexpr std::uint32_t kWidth = 256;
    constexpr std::uint32_t kHeight = 128;
    Graphics::ColorImage color(kWidth, kHeight);
    Graphics::Gray16Image depth;
    depth.width = kWidth;
    depth.height = kHeight;
    for (std::uint32_t y = 0; y < kHeight; ++y)
    {
        for (std::uint32_t x = 0; x < kWidth; ++x)
        {
            color.setPixel(
                x, y, Math::Color(static_cast<unsigned char>(x), static_cast<unsigned char>(y), 99, 255)
            );
            depth.values.push_back(static_cast<std::uint16_t>(2000 + 10 * y));
        }
    }
    Graphics::writePanorama(folder, color, depth, {}, 64);
}
}  // namespace

Scenery writeScenery(const std::filesystem::path& folder)
{
    const Scenery scenery{folder / "octree", folder / "tiles", folder / "panorama", folder / "mesh.obj"};
    constexpr std::size_t kPoints = 40'000;
    Samples::writeSampleDataset(scenery.octree, {.points = kPoints});
    Samples::writeSampleEpt(scenery.tiles, {.points = kPoints});
    writeColoredPanorama(scenery.panorama);
    writeMesh(scenery.mesh);
    return scenery;
}
