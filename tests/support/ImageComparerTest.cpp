#include "tests/support/ImageComparer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using testing::HasSubstr;

Graphics::ColorImage filled(std::uint64_t width, std::uint64_t height, const Math::Color& color)
{
    Graphics::ColorImage image(width, height);
    image.fill(color);
    return image;
}

const Math::Color kGrey(100, 100, 100, 255);
}  // namespace

TEST(ImageComparer, EqualPicturesHaveNoDifference)
{
    const Graphics::ColorImage image = filled(3, 2, kGrey);

    const ImageDifference difference = compareImages(image, image);

    EXPECT_EQ(difference.maximum, 0u);
    EXPECT_EQ(difference.mean, 0.0);
    EXPECT_TRUE(difference.worst.empty());
}

TEST(ImageComparer, EveryChannelCounts)
{
    const Math::Color changed[] = {
        Math::Color(107, 100, 100, 255),
        Math::Color(100, 93, 100, 255),
        Math::Color(100, 100, 107, 255),
        Math::Color(100, 100, 100, 248),
    };
    for (const Math::Color& color : changed)
    {
        SCOPED_TRACE(color.packed());
        Graphics::ColorImage actual = filled(2, 2, kGrey);
        actual.setPixel(1, 0, color);

        const ImageDifference difference = compareImages(actual, filled(2, 2, kGrey));

        EXPECT_EQ(difference.maximum, 7u);
        EXPECT_DOUBLE_EQ(difference.mean, 7.0 / 16.0);
        ASSERT_EQ(difference.worst.size(), 1u);
        EXPECT_EQ(difference.worst[0].x, 1u);
        EXPECT_EQ(difference.worst[0].y, 0u);
        EXPECT_EQ(difference.worst[0].actual, color);
        EXPECT_EQ(difference.worst[0].expected, kGrey);
    }
}

TEST(ImageComparer, SparePitchTakesNoPart)
{
    Graphics::ColorImage actual;
    actual.resize(2, 2, 64);
    std::fill_n(actual.data(), actual.sizeInBytes(), '\x7f');
    for (std::uint64_t i = 0; i < 4; ++i)
    {
        actual.setPixel(i % 2, i / 2, kGrey);
    }

    EXPECT_EQ(compareImages(actual, filled(2, 2, kGrey)).maximum, 0u);
}

TEST(ImageComparer, TellsTheTenWorstPixelsTheLargestFirst)
{
    Graphics::ColorImage actual = filled(20, 1, kGrey);
    for (unsigned i = 0; i < 15; ++i)
    {
        const auto value = static_cast<unsigned char>(100 + 2 * i);
        actual.setPixel(i, 0, Math::Color(value, 100, 100, 255));
    }

    const ImageDifference difference = compareImages(actual, filled(20, 1, kGrey));

    ASSERT_EQ(difference.worst.size(), 10u);
    EXPECT_EQ(difference.worst.front().x, 14u);
    EXPECT_EQ(difference.worst.front().largest, 28u);
    EXPECT_EQ(difference.worst.back().x, 5u);
}

TEST(ImageComparer, RefusesDifferentSizes)
{
    EXPECT_EQ(
        messageOf<std::invalid_argument>([] { compareImages(filled(2, 3, kGrey), filled(3, 2, kGrey)); }),
        "pictures of different sizes: actual 2 x 3, expected 3 x 2"
    );
}

TEST(ImageComparer, TheDifferencePictureShowsColoursAndAlphaAsGrey)
{
    Graphics::ColorImage actual = filled(3, 1, kGrey);
    actual.setPixel(1, 0, Math::Color(110, 80, 100, 0));
    actual.setPixel(2, 0, Math::Color(100, 100, 100, 55));

    const Graphics::ColorImage difference = differenceImage(actual, filled(3, 1, kGrey));

    EXPECT_EQ(difference.pixel(0, 0), Math::Color(0, 0, 0, 255));
    EXPECT_EQ(difference.pixel(1, 0), Math::Color(10, 20, 0, 255));
    EXPECT_EQ(difference.pixel(2, 0), Math::Color(200, 200, 200, 255));
}

TEST(ImageComparer, AMatchWritesNothing)
{
    const TemporaryFolder golden;
    const TemporaryFolder output;
    filled(4, 4, kGrey).writePng(golden.path() / "grey.png");
    Graphics::ColorImage actual = filled(4, 4, kGrey);
    actual.setPixel(0, 0, Math::Color(102, 100, 100, 255));

    EXPECT_TRUE(matchesGolden(actual, "grey", {2, 1.0}, golden.path(), output.path()));
    EXPECT_EQ(output.entryCount(), 0u);
}

TEST(ImageComparer, EitherToleranceIsEnoughToFail)
{
    const TemporaryFolder golden;
    const TemporaryFolder output;
    filled(4, 4, kGrey).writePng(golden.path() / "grey.png");
    Graphics::ColorImage actual = filled(4, 4, kGrey);
    actual.setPixel(3, 1, Math::Color(102, 100, 100, 255));  // maximum 2, mean 2 / 64

    EXPECT_FALSE(matchesGolden(actual, "grey", {1, 1.0}, golden.path(), output.path()));
    EXPECT_FALSE(matchesGolden(actual, "grey", {2, 0.03}, golden.path(), output.path()));
    EXPECT_TRUE(matchesGolden(actual, "grey", {2, 0.032}, golden.path(), output.path()));
}

TEST(ImageComparer, AMismatchWritesThreePicturesAndTellsTheFigures)
{
    const TemporaryFolder golden;
    const TemporaryFolder output;
    filled(4, 4, kGrey).writePng(golden.path() / "grey.png");
    Graphics::ColorImage actual = filled(4, 4, kGrey);
    actual.setPixel(3, 1, Math::Color(150, 100, 100, 255));

    const testing::AssertionResult result =
        matchesGolden(actual, "grey", {1, 1.0}, golden.path(), output.path());

    EXPECT_FALSE(result);
    EXPECT_THAT(result.message(), HasSubstr("maximum 50, mean 0.78125"));
    EXPECT_THAT(
        result.message(), HasSubstr("(3, 1): actual (150, 100, 100, 255), expected (100, 100, 100, 255)")
    );
    const auto written = [&](const char* name)
    { return Graphics::ColorImage::readPng(output.path() / name); };
    EXPECT_EQ(written("grey.actual.png").pixel(3, 1), Math::Color(150, 100, 100, 255));
    EXPECT_EQ(written("grey.expected.png").pixel(3, 1), kGrey);
    EXPECT_EQ(written("grey.difference.png").pixel(3, 1), Math::Color(50, 0, 0, 255));
}

TEST(ImageComparer, AMissingGoldenPictureFailsAndKeepsWhatWasDrawn)
{
    const TemporaryFolder golden;
    const TemporaryFolder output;

    const testing::AssertionResult result =
        matchesGolden(filled(2, 2, kGrey), "new", {255, 255.0}, golden.path(), output.path());

    EXPECT_FALSE(result);
    EXPECT_THAT(result.message(), HasSubstr("there is no "));
    EXPECT_EQ(Graphics::ColorImage::readPng(output.path() / "new.actual.png").pixel(1, 1), kGrey);
}

TEST(ImageComparer, AnotherSizeThanTheGoldenPictureFails)
{
    const TemporaryFolder golden;
    const TemporaryFolder output;
    filled(4, 4, kGrey).writePng(golden.path() / "grey.png");

    const testing::AssertionResult result =
        matchesGolden(filled(4, 5, kGrey), "grey", {255, 255.0}, golden.path(), output.path());

    EXPECT_FALSE(result);
    EXPECT_THAT(result.message(), HasSubstr("4 x 5 instead of 4 x 4"));
}
