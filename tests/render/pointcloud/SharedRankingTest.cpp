#include "render/pointcloud/SharedRanking.h"

#include <gtest/gtest.h>

using Render::NodeRankingParameters;
using Render::SharedRanking;

TEST(SharedRanking, StartsWithTheDefaults)
{
    EXPECT_EQ(SharedRanking().get()->octreeNodePriorityThreshold, 15.0f);
}

TEST(SharedRanking, AChangeKeepsTheRest)
{
    SharedRanking ranking;
    ranking.change([](NodeRankingParameters& parameters) { parameters.minLevelToKeep = 3; });

    ranking.change([](NodeRankingParameters& parameters) { parameters.maxLevelToKeep = 7; });

    EXPECT_EQ(ranking.get()->minLevelToKeep, 3u);
    EXPECT_EQ(ranking.get()->maxLevelToKeep, 7u);
}

TEST(SharedRanking, WhoHoldsAStateKeepsIt)
{
    SharedRanking ranking;
    const auto held = ranking.get();

    ranking.change([](NodeRankingParameters& parameters) { parameters.minLevelToKeep = 3; });

    EXPECT_EQ(held->minLevelToKeep, 0u);
}
