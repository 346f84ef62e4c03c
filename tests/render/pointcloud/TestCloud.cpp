#include "tests/render/pointcloud/TestCloud.h"

#include <Eigen/Core>

#include <cmath>

namespace
{
constexpr double kGrid = 0.2;  // units between the points of the meadow

Samples::SamplePoint meadowPoint(double x, double y)
{
    Samples::SamplePoint point;
    point.x = x;
    point.y = y;
    point.z = 1.5 + std::sin(x * 0.7) * std::cos(y * 0.9);
    point.r = static_cast<std::uint16_t>(40 + 5 * x);
    point.g = static_cast<std::uint16_t>(90 + 10 * y);
    point.b = static_cast<std::uint16_t>(60 + 20 * (point.z - 0.5));
    point.intensity = static_cast<std::uint16_t>(x / 16.0 * 65535.0);
    return point;
}

Samples::SamplePoint towerPoint(double angle, double z)
{
    Samples::SamplePoint point;
    point.x = 9.0 + 1.2 * std::cos(angle);
    point.y = 6.0 + 1.2 * std::sin(angle);
    point.z = z;
    point.r = static_cast<std::uint16_t>(200 - 8 * z);
    point.g = 40;
    point.b = 30;
    point.intensity = 60000;
    return point;
}

/// The place of a coordinate after the file's rounding, the same for every origin.
double onFileGrid(double value)
{
    return std::round(value * 1000.0) / 1000.0;
}
}  // namespace

std::vector<Samples::SamplePoint> meadow(const Origin& origin)
{
    std::vector<Samples::SamplePoint> points;
    for (int row = 0; row < 60; ++row)
    {
        for (int column = 0; column < 80; ++column)
        {
            points.push_back(meadowPoint(column * kGrid, row * kGrid));
        }
    }
    for (int ring = 0; ring < 20; ++ring)
    {
        for (int step = 0; step < 24; ++step)
        {
            points.push_back(towerPoint(step * 0.2618, 1.0 + ring * 0.25));
        }
    }
    for (Samples::SamplePoint& point : points)
    {
        point.x = origin.x + onFileGrid(point.x);
        point.y = origin.y + onFileGrid(point.y);
        point.z = origin.z + onFileGrid(point.z);
    }
    return points;
}

void writeMeadow(const std::filesystem::path& folder, const Origin& origin)
{
    Samples::OctreeWriterOptions options;
    options.cube = Samples::Cube{origin, 16.0};
    options.offset = origin;
    options.spacing = 0.75;  // no multiple of the grid: no tie that the origin could decide
    options.leafCapacity = 100;
    Samples::writeOctree(folder, meadow(origin), options);
}

Samples::SamplePoint dot(double x, double y, double z, const Math::Color& color)
{
    Samples::SamplePoint point;
    point.x = x;
    point.y = y;
    point.z = z;
    point.r = color.r();
    point.g = color.g();
    point.b = color.b();
    point.intensity = static_cast<std::uint16_t>(color.r() << 8U);
    return point;
}

Samples::OctreeSummary writeNodes(
    const std::filesystem::path& folder,
    const std::vector<Samples::SampleNode>& nodes,
    const std::vector<Samples::Attribute>& attributes
)
{
    Samples::OctreeWriterOptions options;
    options.attributes = attributes;
    options.cube = Samples::Cube{{0, 0, 0}, 16.0};
    options.offset = Origin{};
    return Samples::writeOctreeNodes(folder, nodes, options);
}

Octree::Location locationOf(const std::filesystem::path& folder)
{
    return PoTree::FileSystemLocation(folder);
}

std::unique_ptr<Render::Renderer> TestCloudFixture::makeRenderer(bool reversedZ)
{
    auto renderer = std::make_unique<Render::Renderer>(reversedZ);
    renderer->setViewport(kWidth, kHeight);
    return renderer;
}

void TestCloudFixture::lookAtMeadow(Render::Renderer& renderer)
{
    renderer.setCameraPose(
        Math::Point<float, 3>(22, -14, 17), Math::Point<float, 3>(8, 6, 2), Eigen::Vector3f::UnitZ()
    );
    renderer.setPerspective(35.0f, 5.0f, 80.0f, 0.0f, 0.0f);
}

void TestCloudFixture::lookDown(Render::Renderer& renderer)
{
    renderer.setCameraPose(
        Math::Point<float, 3>(8, 6, 20), Eigen::Vector3f(0, 0, -1), Eigen::Vector3f::UnitY()
    );
    renderer.setOrthographic(16.0f, 12.0f, 1.0f, 40.0f);
}

std::shared_ptr<Render::PointCloudRenderable> TestCloudFixture::open(
    const std::filesystem::path& folder, std::size_t budget, double unitScale
)
{
    return Render::PointCloudRenderable::create(locationOf(folder), "cloud", budget, unitScale);
}

void TestCloudFixture::load(Render::PointCloudRenderable& cloud)
{
    cloud.reloadPoints(nullptr, kAllLevels, {});
}

Graphics::ColorImage TestCloudFixture::picture(Render::Renderer& renderer)
{
    renderer.render();
    Graphics::ColorImage image;
    renderer.getColorImage(image);
    return image;
}

std::size_t TestCloudFixture::countOf(const Graphics::ColorImage& image, const Math::Color& color)
{
    return image.width() * image.height() - countOfOthers(image, color);
}

std::size_t TestCloudFixture::countOfOthers(const Graphics::ColorImage& image, const Math::Color& color)
{
    std::size_t count = 0;
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            count += image.pixel(x, y) == color ? 0U : 1U;
        }
    }
    return count;
}
