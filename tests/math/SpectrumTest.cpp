#include "math/Spectrum.h"
#include "tests/support/printColor.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <vector>

namespace
{
using Math::Color;

using ColorAt = Color (*)(float) noexcept;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

Color opaque(unsigned char r, unsigned char g, unsigned char b)
{
    return {r, g, b, 255};
}

struct Sample
{
    const char* name;
    ColorAt map;
    float x;
    Color color;
};

const std::vector<Sample>& polynomialSamples()
{
    // Evaluated with exact fractions; x is chosen so that no channel lies within 0.019 of a half, far more
    // than what single precision errs.
    static const std::vector<Sample> samples{
        {"turbo", Math::Spectrum::Turbo::color, 0.0F, opaque(35, 23, 27)},
        {"turbo", Math::Spectrum::Turbo::color, 0.25F, opaque(38, 189, 225)},
        {"turbo", Math::Spectrum::Turbo::color, 0.5F, opaque(150, 250, 80)},
        {"turbo", Math::Spectrum::Turbo::color, 0.75F, opaque(255, 128, 29)},
        {"turbo", Math::Spectrum::Turbo::color, 1.0F, opaque(144, 13, 0)},
        {"inferno", Math::Spectrum::Inferno::color, 0.0F, opaque(0, 0, 0)},
        {"inferno", Math::Spectrum::Inferno::color, 0.125F, opaque(33, 9, 74)},
        {"inferno", Math::Spectrum::Inferno::color, 0.25F, opaque(86, 17, 104)},
        {"inferno", Math::Spectrum::Inferno::color, 0.5F, opaque(186, 54, 82)},
        {"inferno", Math::Spectrum::Inferno::color, 0.75F, opaque(249, 138, 15)},
        {"magma", Math::Spectrum::Magma::color, 0.0F, opaque(0, 0, 0)},
        {"magma", Math::Spectrum::Magma::color, 0.125F, opaque(30, 13, 73)},
        {"magma", Math::Spectrum::Magma::color, 0.5F, opaque(183, 53, 119)},
        {"magma", Math::Spectrum::Magma::color, 0.75F, opaque(254, 132, 99)},
        {"magma", Math::Spectrum::Magma::color, 1.0F, opaque(254, 249, 186)},
        {"viridis", Math::Spectrum::Viridis::color, 0.0F, opaque(71, 1, 85)},
        {"viridis", Math::Spectrum::Viridis::color, 0.25F, opaque(61, 82, 140)},
        {"viridis", Math::Spectrum::Viridis::color, 0.5F, opaque(31, 144, 139)},
        {"viridis", Math::Spectrum::Viridis::color, 0.75F, opaque(90, 200, 97)},
        {"viridis", Math::Spectrum::Viridis::color, 1.0F, opaque(252, 231, 33)},
        {"plasma", Math::Spectrum::Plasma::color, 0.0F, opaque(15, 6, 139)},
        {"plasma", Math::Spectrum::Plasma::color, 0.125F, opaque(76, 0, 164)},
        {"plasma", Math::Spectrum::Plasma::color, 0.5F, opaque(205, 71, 124)},
        {"plasma", Math::Spectrum::Plasma::color, 1.0F, opaque(238, 247, 38)},
    };
    return samples;
}

TEST(Spectrum, PolynomialMapsGiveTheValuesOfTheirPolynomials)
{
    for (const Sample& sample : polynomialSamples())
    {
        EXPECT_EQ(sample.map(sample.x), sample.color) << sample.name << " at " << sample.x;
    }
}

TEST(Spectrum, PolynomialMapsAreCloseToTheColoursTheyApproximate)
{
    // end points of the published 256-entry tables
    const Sample originals[] = {
        {"inferno", Math::Spectrum::Inferno::color, 0.0F, opaque(0, 0, 4)},
        {"inferno", Math::Spectrum::Inferno::color, 1.0F, opaque(252, 255, 164)},
        {"magma", Math::Spectrum::Magma::color, 0.0F, opaque(0, 0, 4)},
        {"magma", Math::Spectrum::Magma::color, 1.0F, opaque(252, 253, 191)},
        {"viridis", Math::Spectrum::Viridis::color, 0.0F, opaque(68, 1, 84)},
        {"viridis", Math::Spectrum::Viridis::color, 1.0F, opaque(253, 231, 37)},
        {"plasma", Math::Spectrum::Plasma::color, 0.0F, opaque(13, 8, 135)},
        {"plasma", Math::Spectrum::Plasma::color, 1.0F, opaque(240, 249, 33)},
        {"turbo", Math::Spectrum::Turbo::color, 0.0F, opaque(48, 18, 59)},
        {"turbo", Math::Spectrum::Turbo::color, 1.0F, opaque(122, 4, 3)},
    };
    for (const Sample& sample : originals)
    {
        // the fits err by 0.033 at most, the one of turbo by more at its ends
        const int tolerance = sample.map == Math::Spectrum::Turbo::color ? 33 : 9;
        const Color color = sample.map(sample.x);

        EXPECT_LE(std::abs(color.r() - sample.color.r()), tolerance) << sample.name << " at " << sample.x;
        EXPECT_LE(std::abs(color.g() - sample.color.g()), tolerance) << sample.name << " at " << sample.x;
        EXPECT_LE(std::abs(color.b() - sample.color.b()), tolerance) << sample.name << " at " << sample.x;
    }
}

TEST(Spectrum, GrayHasEqualChannels)
{
    EXPECT_EQ(Math::Spectrum::Gray::color(0.0F), opaque(0, 0, 0));
    EXPECT_EQ(Math::Spectrum::Gray::color(0.4F), opaque(102, 102, 102));
    EXPECT_EQ(Math::Spectrum::Gray::color(1.0F), opaque(255, 255, 255));
}

TEST(Spectrum, BoneIsPiecewiseLinear)
{
    // by hand, channel times 255: below 3/8, between, above 3/4
    EXPECT_EQ(Math::Spectrum::Bone::color(0.0F), opaque(0, 0, 0));
    EXPECT_EQ(Math::Spectrum::Bone::color(0.25F), opaque(56, 56, 77));      // 55.78, 55.78, 77.03
    EXPECT_EQ(Math::Spectrum::Bone::color(0.5F), opaque(112, 122, 143));    // 111.56, 122.19, 143.44
    EXPECT_EQ(Math::Spectrum::Bone::color(0.875F), opaque(211, 227, 227));  // 211.17, 227.11, 227.11
    EXPECT_EQ(Math::Spectrum::Bone::color(1.0F), opaque(255, 255, 255));
}

TEST(Spectrum, BlueWhiteRedRunsFromRedToBlue)
{
    EXPECT_EQ(Math::Spectrum::BlueWhiteRed::color(0.0F), opaque(255, 0, 0));
    EXPECT_EQ(Math::Spectrum::BlueWhiteRed::color(0.2F), opaque(255, 102, 102));
    EXPECT_EQ(Math::Spectrum::BlueWhiteRed::color(0.5F), opaque(255, 255, 255));
    EXPECT_EQ(Math::Spectrum::BlueWhiteRed::color(0.8F), opaque(102, 102, 255));
    EXPECT_EQ(Math::Spectrum::BlueWhiteRed::color(1.0F), opaque(0, 0, 255));
}

TEST(Spectrum, LevelOfAccuracyHasFiveSteps)
{
    EXPECT_EQ(Math::Spectrum::LevelOfAccuracy::color(0.0F), opaque(0, 128, 0));
    EXPECT_EQ(Math::Spectrum::LevelOfAccuracy::color(0.19F), opaque(0, 128, 0));
    EXPECT_EQ(Math::Spectrum::LevelOfAccuracy::color(0.2F), opaque(0, 255, 0));
    EXPECT_EQ(Math::Spectrum::LevelOfAccuracy::color(0.41F), opaque(255, 255, 0));
    EXPECT_EQ(Math::Spectrum::LevelOfAccuracy::color(0.61F), opaque(255, 128, 0));
    EXPECT_EQ(Math::Spectrum::LevelOfAccuracy::color(0.8F), opaque(255, 0, 0));
    EXPECT_EQ(Math::Spectrum::LevelOfAccuracy::color(1.0F), opaque(255, 0, 0));
}

TEST(Spectrum, ClampsValuesOutsideTheUnitInterval)
{
    const ColorAt maps[] = {
        Math::Spectrum::Turbo::color,
        Math::Spectrum::Inferno::color,
        Math::Spectrum::Magma::color,
        Math::Spectrum::Viridis::color,
        Math::Spectrum::Plasma::color,
        Math::Spectrum::Gray::color,
        Math::Spectrum::Bone::color,
        Math::Spectrum::BlueWhiteRed::color,
        Math::Spectrum::LevelOfAccuracy::color,
    };
    for (const ColorAt map : maps)
    {
        EXPECT_EQ(map(-0.5F), map(0.0F));
        EXPECT_EQ(map(-kInfinity), map(0.0F));
        EXPECT_EQ(map(kNan), map(0.0F));
        EXPECT_EQ(map(1.5F), map(1.0F));
        EXPECT_EQ(map(kInfinity), map(1.0F));
    }
}

TEST(ClampToBorder, TakesTheNearerEndOfTheInterval)
{
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(-3.0F), 0.0F);
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(0.0F), 0.0F);
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(0.25F), 0.25F);
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(1.0F), 1.0F);
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(1.01F), 1.0F);
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(kInfinity), 1.0F);
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(-kInfinity), 0.0F);
    EXPECT_EQ(Math::Boundary::ClampToBorder::apply(kNan), 0.0F);
}

TEST(Repeat, WrapsAround)
{
    EXPECT_EQ(Math::Boundary::Repeat::apply(0.25F), 0.25F);
    EXPECT_EQ(Math::Boundary::Repeat::apply(1.25F), 0.25F);
    EXPECT_EQ(Math::Boundary::Repeat::apply(-0.25F), 0.75F);
    EXPECT_EQ(Math::Boundary::Repeat::apply(-7.5F), 0.5F);
    EXPECT_EQ(Math::Boundary::Repeat::apply(1.0F), 0.0F);
    EXPECT_EQ(Math::Boundary::Repeat::apply(kNan), 0.0F);
    EXPECT_EQ(Math::Boundary::Repeat::apply(kInfinity), 0.0F);
    EXPECT_EQ(Math::Boundary::Repeat::apply(-kInfinity), 0.0F);
}
}  // namespace
