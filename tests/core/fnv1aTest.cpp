#include "core/fnv1a.h"

#include <gtest/gtest.h>

namespace
{
TEST(Fnv1a, HashesTheEightBytesOfANumberInMemoryOrder)
{
    // computed with a few lines of Python that give the published 0x85944171f73967e8 for "foobar"
    EXPECT_EQ(Core::fnv1a(0), 0xa8c7f832281a39c5U);
    EXPECT_EQ(Core::fnv1a(1), 0x89cd31291d2aefa4U);
    EXPECT_EQ(Core::fnv1a(0x0123456789abcdefU), 0x37eb3f3347761c55U);
    EXPECT_EQ(Core::fnv1a(0xffffffffffffffffU), 0x8cf51a8bfca3883dU);
}
}  // namespace
