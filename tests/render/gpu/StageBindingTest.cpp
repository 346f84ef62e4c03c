#include "render/gpu/StageBinding.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <stdexcept>

using Render::ShaderConfiguration;
using Render::StageBinding;

TEST(StageBinding, StartsUnbound)
{
    const StageBinding binding;

    EXPECT_EQ(binding.configuration(), ShaderConfiguration{});
    EXPECT_EQ(binding.slot(), 0U);
}

TEST(StageBinding, BeginRemembersStagesAndSlot)
{
    StageBinding binding;

    binding.begin(ShaderConfiguration::Vertex | ShaderConfiguration::Pixel, 3);

    EXPECT_EQ(static_cast<unsigned int>(binding.configuration()), 1U | 4U);
    EXPECT_EQ(binding.slot(), 3U);
}

TEST(StageBinding, ASecondBeginThrowsAndKeepsTheFirst)
{
    StageBinding binding;
    binding.begin(ShaderConfiguration::Pixel, 2);

    EXPECT_EQ(
        messageOf<std::logic_error>([&] { binding.begin(ShaderConfiguration::Vertex, 5); }),
        "Error: end call is missing"
    );
    EXPECT_EQ(binding.configuration(), ShaderConfiguration::Pixel);
    EXPECT_EQ(binding.slot(), 2U);
}

TEST(StageBinding, EndWithoutBeginThrows)
{
    StageBinding binding;

    EXPECT_EQ(messageOf<std::logic_error>([&] { binding.end(); }), "Error: begin call is missing");
}

TEST(StageBinding, EndTellsWhatWasBoundAndForgetsIt)
{
    StageBinding binding;
    binding.begin(ShaderConfiguration::Compute, 7);

    const StageBinding was = binding.end();

    EXPECT_EQ(was.configuration(), ShaderConfiguration::Compute);
    EXPECT_EQ(was.slot(), 7U);
    EXPECT_EQ(binding.configuration(), ShaderConfiguration{});
    EXPECT_EQ(binding.slot(), 0U);
}

TEST(StageBinding, BeginWithoutStagesLeavesItUnbound)
{
    StageBinding binding;

    binding.begin(ShaderConfiguration{}, 4);

    EXPECT_THROW(binding.end(), std::logic_error);
    EXPECT_NO_THROW(binding.begin(ShaderConfiguration::Vertex, 0));
}

TEST(ShaderConfiguration, HasTheBitsOfTheStages)
{
    EXPECT_EQ(static_cast<unsigned int>(ShaderConfiguration::Vertex), 1U);
    EXPECT_EQ(static_cast<unsigned int>(ShaderConfiguration::Geometry), 2U);
    EXPECT_EQ(static_cast<unsigned int>(ShaderConfiguration::Pixel), 4U);
    EXPECT_EQ(static_cast<unsigned int>(ShaderConfiguration::Compute), 8U);
}
