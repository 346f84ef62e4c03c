#include "apps/cli/TextPainter.h"
#include "apps/cli/paint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

using Cli::TextPainter;
using Graphics::ColorImage;
using Math::Color;

namespace
{
const Color kWhite(255, 255, 255, 255);
const Color kBlack(0, 0, 0, 255);

ColorImage whitePicture(std::uint64_t width, std::uint64_t height)
{
    ColorImage image(width, height);
    image.fill(kWhite);
    return image;
}

/// Around all pixels that are not white; right and bottom are the first beyond.
struct Inked
{
    std::uint64_t left = UINT64_MAX;
    std::uint64_t top = UINT64_MAX;
    std::uint64_t right = 0;
    std::uint64_t bottom = 0;
};

Inked inkedPart(const ColorImage& image)
{
    Inked part;
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            if (image.pixel(x, y) != kWhite)
            {
                part.left = std::min(part.left, x);
                part.top = std::min(part.top, y);
                part.right = std::max(part.right, x + 1);
                part.bottom = std::max(part.bottom, y + 1);
            }
        }
    }
    return part;
}
}  // namespace

// The font has 2048 units to its em, and 1901 + 483 of them from the highest top to the lowest bottom.
TEST(TextPainter, MeasuresAsTheFontDoes)
{
    const TextPainter text(2384.0);  // a unit is a pixel

    EXPECT_NEAR(text.ascent(), 1901.0, 0.01);
    EXPECT_NEAR(text.width("H"), 1540.0, 0.01);
    EXPECT_NEAR(text.width("HH"), 2 * 1540.0, 0.01);
    EXPECT_NEAR(text.width(""), 0.0, 0.0);
}

TEST(TextPainter, DrawsLettersOnTheirLine)
{
    // an H is 1493 units high and begins 201 units beside its place, with stems of 202
    const TextPainter text(238.4);  // a tenth of that
    ColorImage image = whitePicture(200, 250);

    text.draw(image, 10.0, 200.0, "H", kBlack);

    const Inked part = inkedPart(image);
    EXPECT_EQ(part.bottom, 200U);
    EXPECT_EQ(part.top, 50U);     // 200 - 149.3
    EXPECT_EQ(part.left, 30U);    // 10 + 20.1
    EXPECT_EQ(part.right, 144U);  // 10 + 154.0 - 20.1
    EXPECT_EQ(image.pixel(40, 100), kBlack) << "within the left stem";
    EXPECT_EQ(image.pixel(87, 70), kWhite) << "between the stems";
}

TEST(TextPainter, ReadsUtf8AndReplacesTheRest)
{
    const TextPainter text(40.0);

    EXPECT_EQ(text.width("\xC3\x84"), text.width("A")) << "a letter with two dots, of two bytes";
    const double other = text.width("\xEF\xBF\xBD");
    EXPECT_NEAR(text.width("\x80"), other, 1e-9) << "a byte that begins nothing";
    EXPECT_NEAR(text.width("\xC3"), other, 1e-9) << "a letter that ends too soon";
    EXPECT_NEAR(
        text.width("\xC3"
                   "A"),
        other + text.width("A"),
        1e-9
    );
}

TEST(TextPainter, DrawsABoxForLettersThatTheFontLacks)
{
    const TextPainter text(40.0);
    ColorImage image = whitePicture(60, 60);

    text.draw(image, 5.0, 45.0, "\xE2\x98\x85", kBlack);  // a star

    EXPECT_GT(inkedPart(image).right, 20U);
}

TEST(TextPainter, ShortensWhatIsTooWide)
{
    const TextPainter text(20.0);
    const std::string dots = "\xE2\x80\xA6";

    EXPECT_EQ(text.shortened("water", text.width("water")), "water");
    EXPECT_EQ(text.shortened("water", text.width("wat" + dots)), "wat" + dots);
    EXPECT_EQ(text.shortened("w\xC3\xA4h", text.width("w" + dots)), "w" + dots) << "no letter is cut in two";
    EXPECT_EQ(text.shortened("water", 0.0), dots);
}

TEST(TextPainter, LeavesOutWhatIsBeyondThePicture)
{
    const TextPainter text(30.0);
    ColorImage image = whitePicture(8, 8);

    text.draw(image, -5.0, 10.0, "HHH", kBlack);
    text.draw(image, 100.0, 100.0, "H", kBlack);

    EXPECT_LT(inkedPart(image).left, 8U);
}

TEST(Paint, CoverageMixesWithWhatIsThere)
{
    ColorImage image = whitePicture(2, 1);
    Cli::blend(image, 0, 0, kBlack, 0.25);
    EXPECT_EQ(image.pixel(0, 0), Color(191, 191, 191, 255));

    image.setPixel(1, 0, Color(9, 9, 9, 0));
    Cli::blend(image, 1, 0, Color(200, 100, 0, 255), 0.5);
    EXPECT_EQ(image.pixel(1, 0), Color(200, 100, 0, 128)) << "over nothing a colour stays what it is";
}

TEST(Paint, PolygonsHaveSmoothRims)
{
    ColorImage image = whitePicture(4, 4);

    Cli::fillPolygon(image, {{1.0, 1.0}, {2.5, 1.0}, {2.5, 3.0}, {1.0, 3.0}}, kBlack);

    EXPECT_EQ(image.pixel(1, 1), kBlack);
    EXPECT_EQ(image.pixel(2, 2), Color(128, 128, 128, 255)) << "half of it";
    EXPECT_EQ(image.pixel(3, 1), kWhite);
    EXPECT_EQ(image.pixel(0, 1), kWhite);
    EXPECT_EQ(image.pixel(1, 3), kWhite);
}
