#include "render/pointcloud/BrightnessHistogram.h"

#include <gtest/gtest.h>

namespace
{
using Render::BrightnessHistogram;

BrightnessHistogram histogramOf(std::initializer_list<std::uint8_t> values)
{
    BrightnessHistogram histogram;
    for (const std::uint8_t value : values)
    {
        histogram.add(value);
    }
    return histogram;
}
}  // namespace

TEST(BrightnessHistogram, AQuantileIsTheFirstValueUpToWhichTheFractionLies)
{
    BrightnessHistogram histogram = histogramOf({10, 20, 30, 40});

    EXPECT_EQ(histogram.quantile(0.0f), 0u) << "no value is needed: the first bin will do";
    EXPECT_EQ(histogram.quantile(0.25f), 10u);
    EXPECT_EQ(histogram.quantile(0.26f), 20u);
    EXPECT_EQ(histogram.quantile(0.5f), 20u);
    EXPECT_EQ(histogram.quantile(1.0f), 40u);
}

TEST(BrightnessHistogram, QuantilesFollowValuesThatAreAddedLater)
{
    BrightnessHistogram histogram = histogramOf({10});
    ASSERT_EQ(histogram.quantile(1.0f), 10u);

    histogram.add(200);

    EXPECT_EQ(histogram.quantile(1.0f), 200u);
}

TEST(BrightnessHistogram, AnEmptyOneHasAllQuantilesAtZero)
{
    BrightnessHistogram histogram;

    EXPECT_EQ(histogram.quantile(0.0f), 0u);
    EXPECT_EQ(histogram.quantile(1.0f), 0u);
}

TEST(BrightnessHistogram, SpreadsTheValuesBetweenTheQuantilesOverTheRange)
{
    // quantile(0.2) = 51, quantile(0.8) = 153: lo = 0.2, hi = 0.6
    BrightnessHistogram histogram = histogramOf({51, 102, 102, 153, 255});
    float brightness = 0.0f;
    float contrast = 0.0f;

    histogram.brightnessAndContrast(0.2f, 0.8f, brightness, contrast);

    EXPECT_NEAR(brightness, 0.1f, 1e-6f);
    EXPECT_NEAR(contrast, 2.0f, 1e-5f);
    // as the picture is made: lo and hi go to the ends of the middle 80 percent
    EXPECT_NEAR(contrast * (0.2f + brightness - 0.5f) + 0.5f, 0.1f, 1e-5f);
    EXPECT_NEAR(contrast * (0.6f + brightness - 0.5f) + 0.5f, 0.9f, 1e-5f);
}

TEST(BrightnessHistogram, ASingleValueGivesAFiniteContrastAndComesToTheMiddle)
{
    BrightnessHistogram histogram = histogramOf({51, 51, 51});
    float brightness = 0.0f;
    float contrast = 0.0f;

    histogram.brightnessAndContrast(0.1f, 1.0f, brightness, contrast);

    EXPECT_NEAR(contrast, 255.0f, 1e-3f);
    EXPECT_NEAR(0.2f + brightness, 0.5f, 1e-6f);
}
