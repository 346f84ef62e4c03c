// Which intensities of a cloud are dark and which bright.
#include "tests/render/pointcloud/TestCloud.h"
#include "tests/support/messageOf.h"
#include "tests/support/printColor.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
using Math::Color;
using Octree::IntensityRange;
using Samples::Attribute;

/// Three points on a line whose intensities are 100, 150 and 3000, seen from above.
class PointIntensity : public TestCloudFixture
{
protected:
    std::shared_ptr<Render::PointCloudRenderable> openPoints(bool hasColors)
    {
        std::vector<Samples::SamplePoint> points{
            dot(2, 6, 1, Color(0, 0, 0, 255)),
            dot(8, 6, 1, Color(0, 0, 0, 255)),
            dot(14, 6, 1, Color(0, 0, 0, 255))};
        points[0].intensity = 100;
        points[1].intensity = 150;
        points[2].intensity = 3000;
        std::vector<Attribute> attributes{Attribute::Position, Attribute::Intensity};
        if (hasColors)
        {
            attributes.push_back(Attribute::Rgb);
        }
        writeNodes(mFolder.path(), {{"r", points}}, attributes);
        auto cloud = open(mFolder.path());
        cloud->setMaxPointSize(8.0f);
        return cloud;
    }

    std::vector<int> shownGreys(
        const std::shared_ptr<Render::PointCloudRenderable>& cloud, Render::Renderer& renderer
    )
    {
        load(*cloud);
        const Graphics::ColorImage image = picture(renderer);
        return {int{image.pixel(16, 48).r()}, int{image.pixel(64, 48).r()}, int{image.pixel(112, 48).r()}};
    }

    std::unique_ptr<Render::Renderer> rendererOf(const std::shared_ptr<Render::PointCloudRenderable>& cloud)
    {
        auto renderer = makeRenderer();
        renderer->setScene(cloud);
        lookDown(*renderer);
        return renderer;
    }

    TemporaryFolder mFolder;
};
}  // namespace

TEST_F(PointIntensity, IsItsUpperByteAtFirst)
{
    const auto cloud = openPoints(true);
    const auto renderer = rendererOf(cloud);
    renderer->setRenderMode(Render::RenderMode::ColorizeByIntensity);

    EXPECT_FALSE(cloud->intensityRange());
    EXPECT_EQ(shownGreys(cloud, *renderer), (std::vector<int>{0, 0, 11}));
}

TEST_F(PointIntensity, SpreadsOverTheGivenRangeAndBackAgain)
{
    const auto cloud = openPoints(true);
    const auto renderer = rendererOf(cloud);
    renderer->setRenderMode(Render::RenderMode::ColorizeByIntensity);
    load(*cloud);

    cloud->setIntensityRange(IntensityRange{0, 200});
    EXPECT_EQ(cloud->intensityRange(), (IntensityRange{0, 200}));
    // 1 + 99 x 254 / 199 and 1 + 149 x 254 / 199
    EXPECT_EQ(shownGreys(cloud, *renderer), (std::vector<int>{127, 191, 255}));

    cloud->setIntensityRange({});
    EXPECT_EQ(shownGreys(cloud, *renderer), (std::vector<int>{0, 0, 11}));
}

TEST_F(PointIntensity, GivesPointsWithoutColoursTheirGreys)
{
    const auto cloud = openPoints(false);
    const auto renderer = rendererOf(cloud);

    cloud->setIntensityRange(IntensityRange{100, 151});

    EXPECT_EQ(shownGreys(cloud, *renderer), (std::vector<int>{0, 249, 255}));  // 1 + 49 x 254 / 50
}

TEST_F(PointIntensity, RangesThatAreNoneAreRefused)
{
    const auto cloud = openPoints(true);

    EXPECT_EQ(
        messageOf<std::invalid_argument>(
            [&] {
                cloud->setIntensityRange(IntensityRange{5, 5});
            }
        ),
        "Error: an intensity range must lie in -1..65536, its darkest value below its brightest"
    );
    EXPECT_FALSE(cloud->intensityRange());
}
