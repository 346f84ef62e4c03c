// What points are coloured and hidden by, on both roads to splats.
#include "render/pointcloud/PointLook.h"
#include "render/scene/DrawQueue.h"
#include "render/scene/Viewport.h"
#include "tests/render/pointcloud/PointPass.h"
#include "tests/support/printColor.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace
{
using Math::Color;
using Render::PointColoring;
using Render::PointLook;
using Render::SplatRoad;

const Color kNothing(0, 0, 0, 0);

/// Three points side by side, in columns 8, 24 and 40 of row 32, with the classes 2, 6 and 7, the intensities
/// 10, 100 and 200, and the scan indices 0, 257 and 40000.
class PointLookTest : public PointPassFixture, public testing::WithParamInterface<SplatRoad>
{
protected:
    std::unique_ptr<Render::LoDPointCloud> threePoints()
    {
        auto cloud = cloudInClipSpace(4.0F);
        cloud->setSplatRoad(GetParam());
        auto left = pointAt(clipX(8.5F), clipY(32.5F), 0.5F, kColors[0]);
        auto middle = pointAt(clipX(24.5F), clipY(32.5F), 0.5F, kColors[1]);
        auto right = pointAt(clipX(40.5F), clipY(32.5F), 0.5F, kColors[2]);
        left.classIndex = 2;
        left.intensity = 10;
        middle.classIndex = 6;
        middle.intensity = 100;
        middle.scanIndex = 257;
        right.classIndex = 7;
        right.intensity = 200;
        right.scanIndex = 40000;
        publish(*cloud, {left, middle, right});
        return cloud;
    }

    std::array<Color, 3> shownWith(const PointLook& look)
    {
        const auto cloud = threePoints();
        cloud->setLook(look);
        const PassPicture shown = picture(*cloud);
        EXPECT_EQ(cloud->drawnRoad(), GetParam());
        return {shown.color.at(8, 32), shown.color.at(24, 32), shown.color.at(40, 32)};
    }

    const std::array<Color, 3> kColors{Color(255, 0, 0, 255), Color(0, 255, 0, 255), Color(0, 0, 255, 255)};
};

std::array<Color, 256> table()
{
    std::array<Color, 256> colors;
    for (unsigned i = 0; i < 256; ++i)
    {
        colors[i] = Color(
            static_cast<unsigned char>(i),
            static_cast<unsigned char>(255 - i),
            77,
            static_cast<unsigned char>(200)
        );
    }
    return colors;
}
}  // namespace

TEST_P(PointLookTest, PlainOnesShowThePointsAsTheyAre)
{
    EXPECT_EQ(shownWith({}), kColors);
}

TEST_P(PointLookTest, ColoursComeFromTheTableByClass)
{
    const std::array<Color, 3> expected{
        Color(2, 253, 77, 200), Color(6, 249, 77, 200), Color(7, 248, 77, 200)};
    EXPECT_EQ(shownWith({.coloring = PointColoring::Classification, .colors = table()}), expected);
}

TEST_P(PointLookTest, ColoursComeFromTheTableByIntensity)
{
    const std::array<Color, 3> expected{
        Color(10, 245, 77, 200), Color(100, 155, 77, 200), Color(200, 55, 77, 200)};
    EXPECT_EQ(shownWith({.coloring = PointColoring::Intensity, .colors = table()}), expected);
}

TEST_P(PointLookTest, ColoursComeFromTheTableByTheLowerByteOfTheScanIndex)
{
    const std::array<Color, 3> expected{
        Color(0, 255, 77, 200), Color(1, 254, 77, 200), Color(64, 191, 77, 200)};  // 40000 is 156 x 256 + 64
    EXPECT_EQ(shownWith({.coloring = PointColoring::ScanIndex, .colors = table()}), expected);
}

TEST_P(PointLookTest, ClassesAreHidden)
{
    PointLook look;
    look.shownClasses.reset(6);
    EXPECT_EQ(shownWith(look), (std::array<Color, 3>{kColors[0], kNothing, kColors[2]}));
}

TEST_P(PointLookTest, IntensitiesOutsideTheRangeAreHiddenAndItsLimitsAreNot)
{
    PointLook look;
    look.leastIntensity = 10;
    look.greatestIntensity = 100;
    EXPECT_EQ(shownWith(look), (std::array<Color, 3>{kColors[0], kColors[1], kNothing}));
    look.leastIntensity = 11;
    look.greatestIntensity = 99;
    EXPECT_EQ(shownWith(look), (std::array<Color, 3>{kNothing, kNothing, kNothing}));
}

TEST_P(PointLookTest, ListedScansAreHiddenOrShownAlone)
{
    PointLook look;
    look.listedScans = {257, 40000};
    EXPECT_EQ(shownWith(look), (std::array<Color, 3>{kColors[0], kNothing, kNothing}));
    look.showsListedScans = true;
    EXPECT_EQ(shownWith(look), (std::array<Color, 3>{kNothing, kColors[1], kColors[2]}));
}

TEST_P(PointLookTest, FiltersAndColoursGoTogether)
{
    PointLook look{.coloring = PointColoring::Classification, .colors = table()};
    look.shownClasses.reset();
    look.shownClasses.set(7);
    EXPECT_EQ(shownWith(look), (std::array<Color, 3>{kNothing, kNothing, Color(7, 248, 77, 200)}));
}

TEST_P(PointLookTest, TakesEffectWithTheNextFrameWithoutAnotherPublication)
{
    const auto cloud = threePoints();
    EXPECT_EQ(picture(*cloud).color.at(24, 32), kColors[1]);

    PointLook look;
    look.shownClasses.reset(6);
    cloud->setLook(look);
    EXPECT_EQ(picture(*cloud).color.at(24, 32), kNothing);

    cloud->setLook({});
    EXPECT_EQ(picture(*cloud).color.at(24, 32), kColors[1]);
}

INSTANTIATE_TEST_SUITE_P(
    Roads,
    PointLookTest,
    testing::Values(SplatRoad::Compute, SplatRoad::Quads),
    [](const auto& parameter) { return parameter.param == SplatRoad::Quads ? "Quads" : "Compute"; }
);

namespace
{
using PointLooks = PointPassFixture;
}

TEST_F(PointLooks, CloudsThatShareTheLastStepKeepTheirOwn)
{
    const std::uint64_t group = 0x100C;
    std::vector<std::unique_ptr<Render::LoDPointCloud>> clouds;
    for (int i = 0; i < 3; ++i)
    {
        auto cloud = std::make_unique<Render::LoDPointCloud>(group, device(), context(), 5 + i, 1000);
        cloud->setViewport(Render::Viewport(kSize, kSize));
        cloud->setMaxPointSize(static_cast<float>(kSize));
        cloud->setPointSize(4.0F / static_cast<float>(kSize));
        cloud->setRootNodeSize(2.0F);
        auto point =
            pointAt(clipX(8.5F + 16.0F * static_cast<float>(i)), clipY(32.5F), 0.5F, Color(9, 9, 9, 255));
        point.classIndex = 3;
        point.intensity = 50;
        auto hidden =
            pointAt(clipX(8.5F + 16.0F * static_cast<float>(i)), clipY(50.5F), 0.5F, Color(9, 9, 9, 255));
        hidden.classIndex = 4;
        publish(*cloud, {point, hidden});
        clouds.push_back(std::move(cloud));
    }
    PointLook byClass{.coloring = PointColoring::Classification, .colors = table()};
    byClass.shownClasses.reset(4);
    clouds[1]->setLook(byClass);
    clouds[2]->setLook({.coloring = PointColoring::Intensity, .colors = table()});
    const auto queue = Render::DrawQueue::shared(group);

    const PassPicture shown = drawn(
        [&]
        {
            const Render::DrawQueue::Opened opened(*queue);
            for (const auto& cloud : clouds)
            {
                cloud->render();
            }
            queue->finish();
        }
    );

    EXPECT_EQ(shown.color.at(8, 32), Color(9, 9, 9, 255));
    EXPECT_EQ(shown.color.at(24, 32), Color(3, 252, 77, 200));
    EXPECT_EQ(shown.color.at(40, 32), Color(50, 205, 77, 200));
    EXPECT_EQ(shown.color.at(8, 50), Color(9, 9, 9, 255));
    EXPECT_EQ(shown.color.at(24, 50), kNothing);
    EXPECT_EQ(shown.color.at(40, 50), Color(0, 255, 77, 200));
}
