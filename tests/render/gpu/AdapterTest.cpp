#include "render/gpu/Adapter.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

using Render::Adapter;
using Render::findAdapter;

namespace
{
const std::array<Adapter, 3> kAdapters{
    Adapter{.name = "Big Card 9000", .driver = {}},
    Adapter{.name = "Small Card", .driver = {}},
    Adapter{.name = "llvmpipe (LLVM 15)", .driver = {}, .isSoftware = true}};
}  // namespace

TEST(FindAdapter, ANumberCountsFromZero)
{
    EXPECT_EQ(findAdapter(kAdapters, "0"), 0U);
    EXPECT_EQ(findAdapter(kAdapters, "2"), 2U);
}

TEST(FindAdapter, ANumberBeyondTheLastFitsNone)
{
    EXPECT_EQ(findAdapter(kAdapters, "3"), std::nullopt);
    EXPECT_EQ(findAdapter(kAdapters, "99999999999999999999999"), std::nullopt);
}

TEST(FindAdapter, APartOfANameInAnyCaseIsEnough)
{
    EXPECT_EQ(findAdapter(kAdapters, "LLVMPIPE"), 2U);
    EXPECT_EQ(findAdapter(kAdapters, "small"), 1U);
}

TEST(FindAdapter, TheFirstOfSeveralIsTaken)
{
    EXPECT_EQ(findAdapter(kAdapters, "card"), 0U);
}

TEST(FindAdapter, AnUnknownNameFitsNone)
{
    EXPECT_EQ(findAdapter(kAdapters, "huge"), std::nullopt);
    EXPECT_EQ(findAdapter({}, "card"), std::nullopt);
}

TEST(AdapterChoice, TheLastOneSetIsKeptUntilItIsTakenBack)
{
    Render::setAdapter("Some Card");
    EXPECT_EQ(Render::adapterChoice(), "Some Card");
    Render::setAdapter("");
    EXPECT_NE(Render::adapterChoice(), "Some Card");
}
