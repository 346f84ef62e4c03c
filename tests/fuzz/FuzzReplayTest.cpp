#include "fuzz/FuzzInput.h"
#include "fuzz/makeSeeds.h"
#include "fuzz/targets.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace
{
struct Target
{
    const char* name;
    void (*run)(std::string_view);
};

std::ostream& operator<<(std::ostream& stream, const Target& target)
{
    return stream << target.name;
}

/// What the target says of an input: that no promise was broken, and it did not crash.
std::string verdictOf(const Target& target, std::string_view input)
{
    try
    {
        target.run(input);
    }
    catch (const Fuzz::BrokenPromise& broken)
    {
        return broken.what();
    }
    return "kept";
}

class FuzzReplay : public testing::TestWithParam<Target>
{
};

TEST_P(FuzzReplay, WhatFuzzersHaveFoundStaysMended)
{
    for (const auto& entry : std::filesystem::directory_iterator(
             std::filesystem::path(TARNEL_FUZZ_REGRESSIONS) / GetParam().name
         ))
    {
        EXPECT_EQ(verdictOf(GetParam(), TemporaryFolder::read(entry.path())), "kept")
            << entry.path().filename();
    }
}

TEST_P(FuzzReplay, SeedsAndTheirDamagedCopiesKeepThePromises)
{
    const std::vector<std::string> seeds = Fuzz::makeSeeds(GetParam().name);
    ASSERT_FALSE(seeds.empty());
    for (const std::string& seed : seeds)
    {
        EXPECT_EQ(verdictOf(GetParam(), seed), "kept");
        for (std::size_t i = 0; i < 40; ++i)
        {
            std::string damaged = seed;
            damaged[i * 7919 % damaged.size()] ^= static_cast<char>(1U << i % 8U);
            EXPECT_EQ(verdictOf(GetParam(), damaged), "kept") << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    ,
    FuzzReplay,
    testing::Values(
        Target{"octree", Fuzz::octree},
        Target{"ept", Fuzz::ept},
        Target{"copc", Fuzz::copc},
        Target{"panorama", Fuzz::panorama},
        Target{"mesh", Fuzz::mesh},
        Target{"region", Fuzz::region}
    ),
    [](const testing::TestParamInfo<Target>& target) { return std::string(target.param.name); }
);
}  // namespace
