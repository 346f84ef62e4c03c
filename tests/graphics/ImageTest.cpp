#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "graphics/Image.h"
#include "tests/support/printColor.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace
{
using Graphics::ColorImage;
using Graphics::DepthImage;
using Math::Color;

TEST(Image, IsEmptyByDefault)
{
    const ColorImage image;

    EXPECT_TRUE(image.empty());
    EXPECT_EQ(image.width(), 0U);
    EXPECT_EQ(image.height(), 0U);
    EXPECT_EQ(image.rowPitch(), 0U);
    EXPECT_EQ(image.sizeInBytes(), 0U);
}

TEST(Image, StartsWithZeroedRowsWithoutPadding)
{
    const ColorImage image(3, 2);

    EXPECT_EQ(image.width(), 3U);
    EXPECT_EQ(image.height(), 2U);
    EXPECT_EQ(image.rowPitch(), 12U);
    EXPECT_EQ(image.sizeInBytes(), 24U);
    EXPECT_FALSE(image.empty());
    for (std::size_t i = 0; i < 24; ++i)
    {
        EXPECT_EQ(image.data()[i], 0);
    }
}

TEST(Image, OfOneSideZeroIsEmpty)
{
    EXPECT_TRUE(ColorImage(0, 5).empty());
    EXPECT_TRUE(ColorImage(5, 0).empty());
    EXPECT_EQ(ColorImage(5, 0).width(), 5U);
}

TEST(Image, FillsEveryPixel)
{
    DepthImage image(5, 3);

    image.fill(0.25F);

    for (std::uint64_t y = 0; y < 3; ++y)
    {
        for (std::uint64_t x = 0; x < 5; ++x)
        {
            EXPECT_EQ(image.pixel(x, y), 0.25F);
        }
    }
}

TEST(Image, FillsNothingWhenEmpty)
{
    ColorImage image;
    ColorImage flat(5, 0);
    ColorImage thin;
    thin.resize(0, 2, 8);

    EXPECT_NO_THROW(image.fill(Color::white(255)));
    EXPECT_NO_THROW(flat.fill(Color::white(255)));
    thin.fill(Color::white(255));
    EXPECT_EQ(thin.data()[0], 0);
}

TEST(Image, PlacesPixelsByRowPitch)
{
    ColorImage image;
    image.resize(2, 3, 11);  // an odd pitch on purpose
    std::memset(image.data(), 0x55, image.sizeInBytes());

    image.fill(Color(1, 2, 3, 4));
    image.setPixel(1, 2, Color(5, 6, 7, 8));

    EXPECT_EQ(image.sizeInBytes(), 33U);
    EXPECT_EQ(image.pixel(0, 2), Color(1, 2, 3, 4));
    EXPECT_EQ(image.pixel(1, 2), Color(5, 6, 7, 8));
    const char lastPixel[] = {7, 6, 5, 8};
    EXPECT_EQ(std::memcmp(image.data() + 2 * 11 + 4, lastPixel, 4), 0);
    EXPECT_EQ(image.data()[8], 0x55);  // padding is left alone
    EXPECT_EQ(image.data()[32], 0x55);
}

TEST(Image, KeepsItsStorageWhereItSuffices)
{
    ColorImage image(100, 100);
    const char* const storage = image.data();

    image.resize(50, 50, 400);
    EXPECT_EQ(image.data(), storage);
    image.resize(100, 100);

    EXPECT_EQ(image.data(), storage);
    EXPECT_EQ(image.rowPitch(), 400U);
}

TEST(Image, RefusesARowPitchBelowARow)
{
    ColorImage image(1, 1);

    EXPECT_THROW(image.resize(3, 2, 11), std::length_error);

    EXPECT_EQ(image.width(), 1U);
    EXPECT_EQ(image.sizeInBytes(), 4U);
}

TEST(Image, RefusesSizesThatDoNotFitIntoMemory)
{
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
    ColorImage image(1, 1);

    EXPECT_THROW(image.resize(kLargest, 1), std::length_error);
    EXPECT_THROW(image.resize(kLargest / 4 + 1, 1), std::length_error);  // whose bytes wrap around to 0
    EXPECT_THROW(image.resize(1ULL << 32U, 1ULL << 32U), std::length_error);
    EXPECT_THROW(image.resize(1, kLargest, kLargest), std::length_error);
    EXPECT_THROW(image.resize(kLargest, 1, 4), std::length_error);
    EXPECT_THROW(ColorImage(1ULL << 40U, 1ULL << 40U), std::length_error);

    EXPECT_EQ(image.width(), 1U);
    EXPECT_EQ(image.rowPitch(), 4U);
}

TEST(Image, CopiesAndMovesAsAValue)
{
    ColorImage image(2, 2);
    image.fill(Color(1, 2, 3, 4));

    const ColorImage copy = image;
    image.fill(Color());
    const ColorImage moved = std::move(image);

    EXPECT_EQ(copy.pixel(1, 1), Color(1, 2, 3, 4));
    EXPECT_EQ(moved.pixel(1, 1), Color());
}
}  // namespace
