#include "render/gpu/ClippingPlanes.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace
{
using HalfSpace = Math::HalfSpace<float, 3>;
using Polytope = Math::ConvexPolytope<float, 3>;
using Row = std::array<float, 4>;
}  // namespace

TEST(ClippingPlanes, EightArePackedInOrder)
{
    std::vector<HalfSpace> planes;
    for (unsigned i = 0; i < 8; ++i)
    {
        const auto value = static_cast<float>(i);
        planes.emplace_back(value, value + 0.25f, value + 0.5f, value + 0.75f);
    }

    const Render::ClippingPlanes rows = Render::toClippingPlanes(Polytope(planes));

    for (std::size_t i = 0; i < 8; ++i)
    {
        const auto value = static_cast<float>(i);
        EXPECT_EQ(rows[i], (Row{value, value + 0.25f, value + 0.5f, value + 0.75f}));
    }
}

TEST(ClippingPlanes, RowsThatAreLeftAreZero)
{
    const Render::ClippingPlanes rows = Render::toClippingPlanes(Polytope({HalfSpace(1, 2, 3, 4)}));

    EXPECT_EQ(rows[0], (Row{1, 2, 3, 4}));
    for (std::size_t i = 1; i < 8; ++i)
    {
        EXPECT_EQ(rows[i], (Row{0, 0, 0, 0}));
    }
}

TEST(ClippingPlanes, NineAreRefused)
{
    const Polytope volume(std::vector<HalfSpace>(9, HalfSpace(1, 1, 1, 1)));

    EXPECT_EQ(
        messageOf<std::runtime_error>([&volume] { Render::toClippingPlanes(volume); }),
        "Error: volume contains too many clipping planes, plane count = 9"
    );
}
