#include "math/Color.h"
#include "tests/support/printColor.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

namespace
{
using Math::Color;

TEST(Color, LiesInMemoryAsBlueGreenRedAlpha)
{
    const Color color(1, 2, 3, 4);
    std::array<unsigned char, 4> bytes{};
    std::memcpy(bytes.data(), &color, sizeof color);

    EXPECT_EQ(bytes, (std::array<unsigned char, 4>{3, 2, 1, 4}));
}

TEST(Color, IsTransparentBlackByDefault)
{
    EXPECT_EQ(Color(), Color(0, 0, 0, 0));
}

TEST(Color, PacksToAlphaRedGreenBlueAndBack)
{
    const Color color(0x11, 0x22, 0x33, 0x44);

    EXPECT_EQ(color.packed(), 0x44112233U);
    EXPECT_EQ(Color(0x44112233U), color);
    EXPECT_EQ(Color(0xFFFFFFFFU), Color::white(255));
}

TEST(Color, SetReplacesAllChannels)
{
    Color color(9, 9, 9, 9);

    color.set(1, 2, 3, 4);

    EXPECT_EQ(color.r(), 1);
    EXPECT_EQ(color.g(), 2);
    EXPECT_EQ(color.b(), 3);
    EXPECT_EQ(color.a(), 4);
}

TEST(Color, WhiteTakesItsAlpha)
{
    EXPECT_EQ(Color::white(128), Color(255, 255, 255, 128));
}

TEST(Color, TurnsHuesIntoTheColoursOfTheCircle)
{
    struct Case
    {
        float hue;
        Color color;
    };

    const Case cases[] = {
        {0.0F, Color(255, 0, 0, 255)},
        {30.0F, Color(255, 128, 0, 255)},  // 127.5, the tie to even
        {60.0F, Color(255, 255, 0, 255)},
        {90.0F, Color(128, 255, 0, 255)},
        {120.0F, Color(0, 255, 0, 255)},
        {150.0F, Color(0, 255, 128, 255)},
        {180.0F, Color(0, 255, 255, 255)},
        {210.0F, Color(0, 128, 255, 255)},
        {240.0F, Color(0, 0, 255, 255)},
        {270.0F, Color(128, 0, 255, 255)},
        {300.0F, Color(255, 0, 255, 255)},
        {330.0F, Color(255, 0, 128, 255)},
    };
    for (const Case& each : cases)
    {
        EXPECT_EQ(Color::fromHsv(each.hue, 1.0F, 1.0F, 1.0F), each.color) << each.hue;
        EXPECT_EQ(Color::fromHsv(each.hue + 360.0F, 1.0F, 1.0F, 1.0F), each.color) << each.hue;
        EXPECT_EQ(Color::fromHsv(each.hue - 720.0F, 1.0F, 1.0F, 1.0F), each.color) << each.hue;
    }
}

TEST(Color, MixesSaturationAndValue)
{
    // hue 20 is a third into the first sector: with v = 0.8 and s = 0.5, high 204, low 102, rising 0.8 (1 -
    // 0.5 x 2/3)
    EXPECT_EQ(Color::fromHsv(20.0F, 0.5F, 0.8F, 0.2F), Color(204, 136, 102, 51));
    EXPECT_EQ(Color::fromHsv(77.0F, 0.0F, 0.4F, 1.0F), Color(102, 102, 102, 255));
    EXPECT_EQ(Color::fromHsv(77.0F, 1.0F, 0.0F, 1.0F), Color(0, 0, 0, 255));
}

TEST(Color, ClampsWhatIsOutsideTheUnitInterval)
{
    EXPECT_EQ(Color::fromHsv(0.0F, 7.0F, 2.0F, 3.0F), Color(255, 0, 0, 255));
    EXPECT_EQ(Color::fromHsv(0.0F, -1.0F, 1.0F, -1.0F), Color(255, 255, 255, 0));
}

TEST(Color, TakesNanAndInfiniteHuesAsZero)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();

    EXPECT_EQ(Color::fromHsv(kNan, 1.0F, 1.0F, 1.0F), Color(255, 0, 0, 255));
    EXPECT_EQ(Color::fromHsv(kInfinity, 1.0F, 1.0F, 1.0F), Color(255, 0, 0, 255));
    EXPECT_EQ(Color::fromHsv(0.0F, kNan, 1.0F, 1.0F), Color(255, 255, 255, 255));
    EXPECT_EQ(Color::fromHsv(0.0F, 1.0F, kNan, kNan), Color(0, 0, 0, 0));
}

TEST(Color, TakesATinyNegativeHueAsRed)
{
    EXPECT_EQ(Color::fromHsv(-1e-9F, 1.0F, 1.0F, 1.0F), Color(255, 0, 0, 255));
}
}  // namespace
