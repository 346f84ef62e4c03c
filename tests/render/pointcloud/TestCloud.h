#pragma once

#include "graphics/ColorImage.h"
#include "math/Color.h"
#include "octree/Location.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/renderer/Renderer.h"
#include "samples/OctreeWriter.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ThreadSignals.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// An absolute position, to which test clouds are moved.
using Origin = Math::Point<double, 3>;

/// A hilly meadow of 16 x 12 units with a red tower in it, about 5000 points: colours run with x and y, the
/// intensity from left to right.
std::vector<Samples::SamplePoint> meadow(const Origin& origin = {});

/// Writes the meadow with a tree of several levels.
void writeMeadow(const std::filesystem::path& folder, const Origin& origin = {});

/// A single point; the intensity is the colour's red as its high byte.
Samples::SamplePoint dot(double x, double y, double z, const Math::Color& color);

/// Writes nodes into a cube of 16 units from the origin, stored in units of 0.001.
Samples::OctreeSummary writeNodes(
    const std::filesystem::path& folder,
    const std::vector<Samples::SampleNode>& nodes,
    const std::vector<Samples::Attribute>& attributes =
        {Samples::Attribute::Position, Samples::Attribute::Rgb, Samples::Attribute::Intensity}
);

Octree::Location locationOf(const std::filesystem::path& folder);

/// Base of the tests that draw octree data sets with a whole renderer, 128 x 96 pixels.
class TestCloudFixture : public DeviceFixture
{
protected:
    static constexpr std::uint64_t kWidth = 128;
    static constexpr std::uint64_t kHeight = 96;
    static constexpr std::size_t kEverything = 1'000'000;  // points, a budget that nothing here reaches
    static constexpr std::size_t kAllLevels = 21;

    static std::unique_ptr<Render::Renderer> makeRenderer(bool reversedZ = true);

    /// Looks at the meadow from above at an angle.
    static void lookAtMeadow(Render::Renderer& renderer);

    /// Looks straight down on 16 x 12 units from the origin: 8 pixels a unit, y upwards.
    static void lookDown(Render::Renderer& renderer);

    static std::shared_ptr<Render::PointCloudRenderable> open(
        const std::filesystem::path& folder, std::size_t budget = kEverything, double unitScale = 1.0
    );

    /// Loads all levels and waits for it.
    static void load(Render::PointCloudRenderable& cloud);

    /// Draws a frame and reads it back.
    static Graphics::ColorImage picture(Render::Renderer& renderer);

    /// Number of pixels of exactly this colour.
    static std::size_t countOf(const Graphics::ColorImage& image, const Math::Color& color);

    /// Number of pixels that are not of this colour.
    static std::size_t countOfOthers(const Graphics::ColorImage& image, const Math::Color& color);
};
