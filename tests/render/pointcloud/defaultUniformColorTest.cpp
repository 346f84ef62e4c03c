#include "render/pointcloud/defaultUniformColor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

TEST(DefaultUniformColor, IsTheHueThatTheMersenneTwisterDraws)
{
    // The first number of the generator seeded with 5489, its default seed, is 3499211612 (the sequence is
    // published with the algorithm): hue 3499211612 / 2^32 x 360 = 293.302 degrees, which is magenta with
    // red 0.88836 and blue 1.
    EXPECT_EQ(Render::defaultUniformColor(5489), Math::Color(227, 0, 255, 255));
}

TEST(DefaultUniformColor, OnlyTheLow32BitsOfTheHashCount)
{
    EXPECT_EQ(Render::defaultUniformColor(0x1234567800001571ULL), Render::defaultUniformColor(0x00001571ULL));
}

TEST(DefaultUniformColor, IsSaturatedAndOpaqueForEveryHashAndDiffersBetweenThem)
{
    std::set<unsigned> different;
    for (std::size_t hash = 0; hash < 100; ++hash)
    {
        const Math::Color color = Render::defaultUniformColor(hash);
        EXPECT_EQ(std::max({color.r(), color.g(), color.b()}), 255);
        EXPECT_EQ(std::min({color.r(), color.g(), color.b()}), 0);
        EXPECT_EQ(color.a(), 255);
        different.insert(color.packed());
    }
    EXPECT_GT(different.size(), 90u);
}
