#include "graphics/reducedImage.h"

#include <gtest/gtest.h>

#include <stdexcept>

using Graphics::ColorImage;
using Graphics::reducedImage;
using Math::Color;

namespace
{
/// Two by two pixels, from the upper left row by row.
ColorImage square(const Color& a, const Color& b, const Color& c, const Color& d)
{
    ColorImage image(2, 2);
    image.setPixel(0, 0, a);
    image.setPixel(1, 0, b);
    image.setPixel(0, 1, c);
    image.setPixel(1, 1, d);
    return image;
}

const Color kBlack(0, 0, 0, 255);
const Color kWhite(255, 255, 255, 255);
}  // namespace

TEST(ReducedImage, MeansLightAndNotCodes)
{
    // half the light of white is code 188, a quarter 137
    EXPECT_EQ(reducedImage(square(kBlack, kWhite, kWhite, kBlack), 2).pixel(0, 0), Color(188, 188, 188, 255));
    EXPECT_EQ(reducedImage(square(kBlack, kWhite, kBlack, kBlack), 2).pixel(0, 0), Color(137, 137, 137, 255));
}

TEST(ReducedImage, KeepsEveryColourThatASquareIsFullOf)
{
    for (int i = 0; i < 256; ++i)
    {
        const Color color(
            static_cast<unsigned char>(i),
            static_cast<unsigned char>(255 - i),
            7,
            static_cast<unsigned char>(i)
        );
        EXPECT_EQ(reducedImage(square(color, color, color, color), 2).pixel(0, 0), color);
    }
}

TEST(ReducedImage, WeighsColoursByTheirAlpha)
{
    const Color clear(255, 0, 0, 0);
    EXPECT_EQ(reducedImage(square(clear, kWhite, clear, clear), 2).pixel(0, 0), Color(255, 255, 255, 64));
    const Color faint(0, 0, 0, 85);  // a third: of the light a fourth is left
    EXPECT_EQ(reducedImage(square(kWhite, faint, faint, faint), 2).pixel(0, 0), Color(188, 188, 188, 128));
    EXPECT_EQ(reducedImage(square(clear, Color(9, 9, 9, 0), clear, clear), 2).pixel(0, 0), clear)
        << "what is transparent keeps a colour";
}

TEST(ReducedImage, TakesEachSquareForItself)
{
    ColorImage image(4, 2);
    image.fill(kBlack);
    image.setPixel(2, 0, kWhite);
    image.setPixel(3, 0, kWhite);
    image.setPixel(2, 1, kWhite);
    image.setPixel(3, 1, kWhite);

    const ColorImage result = reducedImage(image, 2);

    EXPECT_EQ(result.width(), 2U);
    EXPECT_EQ(result.height(), 1U);
    EXPECT_EQ(result.pixel(0, 0), kBlack);
    EXPECT_EQ(result.pixel(1, 0), kWhite);
}

TEST(ReducedImage, RefusesWhatDoesNotDivide)
{
    EXPECT_THROW(reducedImage(ColorImage(4, 3), 2), std::invalid_argument);
    EXPECT_THROW(reducedImage(ColorImage(4, 4), 0), std::invalid_argument);
}
