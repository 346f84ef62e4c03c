#include "render/pointcloud/PointLook.h"
#include "render/pointcloud/pointClasses.h"

#include <gtest/gtest.h>

using Render::PointColoring;
using Render::PointLook;
using Render::PointLookData;

TEST(PointLook, IsPlainAtFirstAndNotWhenItColoursOrHides)
{
    EXPECT_TRUE(PointLook{}.isPlain());
    EXPECT_FALSE(PointLook{.coloring = PointColoring::Intensity}.isPlain());
    EXPECT_TRUE(PointLook{.coloring = PointColoring::Intensity}.hidesNothing());
    EXPECT_FALSE(PointLook{.leastIntensity = 1}.isPlain());
    EXPECT_FALSE(PointLook{.greatestIntensity = 254}.isPlain());
    EXPECT_FALSE(PointLook{.showsListedScans = true}.isPlain());
    EXPECT_FALSE(PointLook{.listedScans = {3}}.isPlain());
    PointLook look;
    look.shownClasses.reset(255);
    EXPECT_FALSE(look.isPlain());
}

TEST(PointLook, PacksColoursAndSets)
{
    PointLook look;
    look.colors[3] = Math::Color(0x11, 0x22, 0x33, 0x44);
    look.shownClasses.reset();
    look.shownClasses.set(33);
    look.listedScans = {0, 65535};

    PointLookData data = dataOf(look);

    EXPECT_EQ(data.colors[3], 0x44112233U);
    EXPECT_EQ(data.classes[0], 0U);
    EXPECT_EQ(data.classes[1], 2U);
    EXPECT_EQ(data.scans[0], 0xFFFFFFFEU);
    EXPECT_EQ(data.scans[1], 0xFFFFFFFFU);
    EXPECT_EQ(data.scans[2047], 0x7FFFFFFFU);

    look.showsListedScans = true;
    data = dataOf(look);
    EXPECT_EQ(data.scans[0], 1U);
    EXPECT_EQ(data.scans[1], 0U);
    EXPECT_EQ(data.scans[2047], 0x80000000U);
}

TEST(PointClasses, AreNamedByTheirNumbers)
{
    const Render::PointClasses classes = Render::asprsClasses();

    EXPECT_EQ(classes[2].name, "ground");
    EXPECT_EQ(classes[6].name, "building");
    EXPECT_EQ(classes[18].name, "high noise");
    EXPECT_EQ(classes[19].name, "reserved 19");
    EXPECT_EQ(classes[63].name, "reserved 63");
    EXPECT_EQ(classes[64].name, "user defined 64");
    EXPECT_EQ(colorsOf(classes)[6], classes[6].color);
}

TEST(PointClasses, DistinctColoursDifferFromTheirNeighbours)
{
    const std::array<Math::Color, 256> colors = Render::distinctColors();
    for (std::size_t i = 1; i < colors.size(); ++i)
    {
        const int difference = std::abs(colors[i].r() - colors[i - 1].r()) +
                               std::abs(colors[i].g() - colors[i - 1].g()) +
                               std::abs(colors[i].b() - colors[i - 1].b());
        EXPECT_GT(difference, 100) << i;
        EXPECT_EQ(colors[i].a(), 255);
    }
}
