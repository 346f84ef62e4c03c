#include "apps/cli/Legend.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

using Cli::chooseScaleBar;
using Cli::Legend;
using Cli::LegendMeasures;
using Cli::northInPicture;
using Cli::roundedText;
using Cli::withLegend;
using Graphics::ColorImage;
using Math::Color;

namespace
{
const Color kWhite(255, 255, 255, 255);
const Color kBlack(0, 0, 0, 255);
const Color kGrass(10, 200, 30, 255);

// A picture of 100 x 240 with a margin of 176: its content begins in column 112 and ends before column 264,
// and lies between the rows 12 and 228. A line of text is 20 high, what it is about 14.
ColorImage explained(const Legend& legend, const Color& background = kWhite)
{
    ColorImage picture(100, 240);
    picture.fill(kGrass);
    return withLegend(picture, legend, background);
}

Color numbered(std::size_t number)
{
    return Color(static_cast<unsigned char>(number), 1, 2, 255);
}

std::size_t count(const ColorImage& image, const Color& color)
{
    std::size_t result = 0;
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            result += image.pixel(x, y) == color ? 1 : 0;
        }
    }
    return result;
}
}  // namespace

TEST(Legend, ScaleBarsAreTheLongestOneTwoOrFive)
{
    const Legend::ScaleBar twenty = chooseScaleBar(0.25, 152, "m");  // 38 fit
    EXPECT_DOUBLE_EQ(twenty.pixels, 80.0);
    EXPECT_EQ(twenty.text, "20 m");
    const Legend::ScaleBar fifty = chooseScaleBar(0.5, 152, "feet");  // 76 fit
    EXPECT_DOUBLE_EQ(fifty.pixels, 100.0);
    EXPECT_EQ(fifty.text, "50 feet");
    const Legend::ScaleBar tenth = chooseScaleBar(0.001, 152, "m");  // 0.152 fits
    EXPECT_NEAR(tenth.pixels, 100.0, 1e-9);
    EXPECT_EQ(tenth.text, "0.1 m");
    EXPECT_EQ(chooseScaleBar(5e4, 152, "m").text, "5000000 m");
}

TEST(Legend, NumbersHaveTheDigitsThatTheirRangeTells)
{
    EXPECT_EQ(roundedText(255.34, 40.0), "255.3");
    EXPECT_EQ(roundedText(250.0, 40.0), "250");
    EXPECT_EQ(roundedText(1573.4, 500.0), "1573");
    EXPECT_EQ(roundedText(0.12346, 0.01), "0.1235");
    EXPECT_EQ(roundedText(-0.001, 40.0), "0");
    EXPECT_EQ(roundedText(7.0, 0.0), "7");
}

TEST(Legend, TheNorthPointsWhereItIsSeen)
{
    const Eigen::Vector3f east = Eigen::Vector3f::UnitX();
    const Eigen::Vector3f north = Eigen::Vector3f::UnitY();
    const Eigen::Vector3f up = Eigen::Vector3f::UnitZ();

    EXPECT_EQ(northInPicture(east, north), Eigen::Vector2d(0.0, 1.0)) << "from above";
    EXPECT_EQ(northInPicture(north, up), Eigen::Vector2d(1.0, 0.0)) << "from the east";
    EXPECT_EQ(northInPicture(-north, up), Eigen::Vector2d(-1.0, 0.0)) << "from the west";
    EXPECT_EQ(northInPicture(east, up), std::nullopt) << "from the south, along it";
    EXPECT_EQ(northInPicture(east, Eigen::Vector3f(0.0F, 0.5F, 0.75F)), Eigen::Vector2d(0.0, 1.0))
        << "from the south and above";
}

TEST(Legend, TheMarginStandsBesideThePicture)
{
    const ColorImage image = explained({}, Color(1, 2, 3, 40));

    EXPECT_EQ(image.width(), 276U);
    EXPECT_EQ(image.height(), 240U);
    EXPECT_EQ(count(image, kGrass), 100U * 240U);
    EXPECT_EQ(image.pixel(99, 239), kGrass);
    EXPECT_EQ(count(image, Color(1, 2, 3, 40)), 176U * 240U) << "nothing to tell";
}

TEST(Legend, MarginsGrowWithLargePictures)
{
    EXPECT_EQ(LegendMeasures(240).margin, 176);
    EXPECT_EQ(LegendMeasures(720).margin, 176);
    EXPECT_EQ(LegendMeasures(2160).margin, 528);
}

TEST(Legend, ARampSpreadsItsColoursOverTheMargin)
{
    Legend legend;
    legend.ramps.push_back({"Height", {}, "250", "290"});
    for (std::size_t i = 0; i < 256; ++i)
    {
        legend.ramps.back().colors.push_back(numbered(i));
    }

    const ColorImage image = explained(legend);

    for (const std::uint64_t y : {32U, 45U})  // under one line
    {
        EXPECT_EQ(image.pixel(111, y), kWhite);
        EXPECT_EQ(image.pixel(112, y), numbered(0));
        EXPECT_EQ(image.pixel(188, y), numbered(128));  // in its middle
        EXPECT_EQ(image.pixel(263, y), numbered(254));  // 151 of 152
        EXPECT_EQ(image.pixel(264, y), kWhite);
    }
    EXPECT_EQ(image.pixel(112, 31), kWhite);
    EXPECT_EQ(image.pixel(188, 46), kWhite);
}

TEST(Legend, RampsWithoutRoomAreCounted)
{
    // three of 54 rows with a line between them have room, and the line after them for what is said of others
    const auto explainedRamps = [](std::size_t count)
    {
        Legend legend;
        for (std::size_t i = 0; i < count; ++i)
        {
            legend.ramps.push_back({"Intensity", {numbered(i)}, "", ""});
        }
        return explained(legend);
    };
    const auto inkBelow = [](const ColorImage& image, std::uint64_t top)
    {
        std::size_t ink = 0;
        for (std::uint64_t y = top; y < image.height(); ++y)
        {
            for (std::uint64_t x = 112; x < 264; ++x)
            {
                ink += image.pixel(x, y) == kBlack ? 1 : 0;
            }
        }
        return ink;
    };
    const ColorImage three = explainedRamps(3);
    const ColorImage five = explainedRamps(5);

    EXPECT_EQ(count(three, numbered(2)), 152U * 14U);
    EXPECT_EQ(inkBelow(three, 194), 0U);
    EXPECT_EQ(count(five, numbered(2)), 152U * 14U);
    EXPECT_EQ(count(five, numbered(3)), 0U);
    EXPECT_GT(inkBelow(five, 214), 0U);
}

TEST(Legend, AScaleBarIsAsLongAsItSays)
{
    Legend legend;
    legend.scaleBar = Legend::ScaleBar{80.4, "20 m", ""};

    const ColorImage image = explained(legend);

    // above one line of text, 2 high, with ends of 8
    for (std::uint64_t x = 112; x < 192; ++x)
    {
        EXPECT_EQ(image.pixel(x, 206), kBlack) << x;
        EXPECT_EQ(image.pixel(x, 207), kBlack) << x;
    }
    EXPECT_EQ(image.pixel(111, 206), kWhite);
    EXPECT_EQ(image.pixel(192, 206), kWhite);
    EXPECT_EQ(image.pixel(112, 200), kBlack);
    EXPECT_EQ(image.pixel(191, 200), kBlack);
    EXPECT_EQ(image.pixel(114, 200), kWhite);
    EXPECT_EQ(image.pixel(112, 199), kWhite);
}

TEST(Legend, ANoteOfTheScaleStandsUnderIt)
{
    Legend legend;
    legend.scaleBar = Legend::ScaleBar{80.0, "20 m", "300 m away"};

    const ColorImage image = explained(legend);

    EXPECT_EQ(image.pixel(112, 186), kBlack);
    EXPECT_EQ(image.pixel(191, 187), kBlack);
    EXPECT_EQ(image.pixel(112, 206), kWhite);
}

TEST(Legend, TheArrowPointsNorth)
{
    // 48 long, in a square of 78 at the bottom, whose middle is at 151, 189
    Legend legend;
    legend.north = Eigen::Vector2d(0.0, 1.0);
    const ColorImage up = explained(legend);
    legend.north = Eigen::Vector2d(1.0, 0.0);
    const ColorImage right = explained(legend);
    legend.north = Eigen::Vector2d(0.0, -1.0);
    const ColorImage down = explained(legend);

    EXPECT_EQ(up.pixel(150, 175), kBlack) << "near its tip it is 5 wide";
    EXPECT_EQ(down.pixel(150, 175), kWhite) << "where its two ends have parted";
    EXPECT_EQ(right.pixel(150, 175), kWhite) << "beside it";
    EXPECT_EQ(right.pixel(164, 188), kBlack);
    EXPECT_EQ(up.pixel(164, 188), kWhite);
    EXPECT_EQ(down.pixel(150, 202), kBlack);
    EXPECT_EQ(up.pixel(150, 204), kWhite);
}

TEST(Legend, ListsShowAColourBesideEachName)
{
    Legend legend;
    legend.lists.push_back({"Class", {{numbered(3), "3 low vegetation"}, {numbered(6), "6 building"}}});

    const ColorImage image = explained(legend);

    EXPECT_EQ(count(image, numbered(3)), 14U * 14U);
    EXPECT_EQ(image.pixel(112, 35), numbered(3));
    EXPECT_EQ(image.pixel(125, 48), numbered(3));
    EXPECT_EQ(image.pixel(112, 55), numbered(6));
    EXPECT_EQ(image.pixel(125, 68), numbered(6));
}

TEST(Legend, ListsThatAreTooLongSayHowManyAreLeftOut)
{
    Legend legend;
    legend.lists.push_back({"Class", {}});
    for (std::size_t i = 0; i < 30; ++i)
    {
        legend.lists.back().swatches.push_back({numbered(10 + i), std::to_string(i)});
    }

    const ColorImage image = explained(legend);

    // of ten lines one is the title and one tells of the others
    EXPECT_EQ(count(image, numbered(17)), 14U * 14U);
    EXPECT_EQ(image.pixel(112, 175), numbered(17));
    EXPECT_EQ(count(image, numbered(18)), 0U);
    EXPECT_GT(count(image, kBlack), 0U);
}

TEST(Legend, LettersAreReadableOnTheirBackground)
{
    Legend legend;
    legend.lists.push_back({"Class", {}});

    EXPECT_GT(count(explained(legend, kWhite), kBlack), 0U);
    EXPECT_GT(count(explained(legend, kBlack), kWhite), 0U);
    const ColorImage clear = explained(legend, Color(0, 0, 0, 0));
    EXPECT_EQ(count(clear, kWhite), 0U) << "what is transparent lies on white paper";
    EXPECT_GT(count(clear, kBlack), 0U);
}
