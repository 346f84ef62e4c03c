#include "render/pointcloud/chooseSplatRoad.h"

#include <gtest/gtest.h>

#include <limits>

namespace Render
{
namespace
{
constexpr SplatConditions kComputable{
    .wanted = SplatRoad::Automatic,
    .isTomographic = false,
    .maxSplatSize = 5.0F,
    .isOutputOrdered = true,
    .fitsBuffers = true,
};

SplatConditions wanting(SplatRoad road)
{
    SplatConditions conditions = kComputable;
    conditions.wanted = road;
    return conditions;
}
}  // namespace

TEST(ChooseSplatRoad, OpaqueSplatsOfUsualSizeAreComputed)
{
    EXPECT_EQ(chooseSplatRoad(kComputable), SplatRoad::Compute);
}

TEST(ChooseSplatRoad, SplatsAboveThirtyTwoPixelsAreQuads)
{
    SplatConditions conditions = kComputable;
    conditions.maxSplatSize = 32.0F;
    EXPECT_EQ(chooseSplatRoad(conditions), SplatRoad::Compute);
    conditions.maxSplatSize = 32.5F;
    EXPECT_EQ(chooseSplatRoad(conditions), SplatRoad::Quads);
    conditions.maxSplatSize = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(chooseSplatRoad(conditions), SplatRoad::Quads);
}

TEST(ChooseSplatRoad, TheRoadThatIsWantedIsTakenWhereItCanBe)
{
    EXPECT_EQ(chooseSplatRoad(wanting(SplatRoad::Quads)), SplatRoad::Quads);
    SplatConditions large = wanting(SplatRoad::Compute);
    large.maxSplatSize = 500.0F;
    EXPECT_EQ(chooseSplatRoad(large), SplatRoad::Compute);
}

TEST(ChooseSplatRoad, WhatAddsUpIsNeverComputed)
{
    for (const SplatRoad road : {SplatRoad::Automatic, SplatRoad::Compute})
    {
        SplatConditions conditions = wanting(road);
        conditions.isTomographic = true;
        EXPECT_EQ(chooseSplatRoad(conditions), SplatRoad::Quads);
    }
}

TEST(ChooseSplatRoad, AnOutputWithoutOneWinnerAPixelIsNeverComputed)
{
    SplatConditions conditions = wanting(SplatRoad::Compute);
    conditions.isOutputOrdered = false;
    EXPECT_EQ(chooseSplatRoad(conditions), SplatRoad::Quads);
}

TEST(ChooseSplatRoad, AViewportBeyondTheBuffersIsNeverComputed)
{
    SplatConditions conditions = wanting(SplatRoad::Compute);
    conditions.fitsBuffers = false;
    EXPECT_EQ(chooseSplatRoad(conditions), SplatRoad::Quads);
}
}  // namespace Render
