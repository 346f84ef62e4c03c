#include "render/gpu/bufferSize.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

using Render::bufferSize;

TEST(BufferSize, IsElementsTimesStride)
{
    EXPECT_EQ(bufferSize(3, 20, "three"), 60U);
}

TEST(BufferSize, OfNothingIsThatOfOneElement)
{
    EXPECT_EQ(bufferSize(0, 20, "nothing"), 20U);
}

TEST(BufferSize, MayReach2Gb)
{
    EXPECT_EQ(bufferSize(std::size_t{1} << 27U, 16, "much"), 2147483648U);
}

TEST(BufferSize, BeyondThatNamesWhatIsTooLarge)
{
    EXPECT_EQ(
        messageOf<std::invalid_argument>([] { bufferSize(107'374'183, 20, "A budget of 107374183 points"); }),
        "A budget of 107374183 points needs a buffer of more than the 2147483648 bytes that Direct3D allows: "
        "at most 107374182 of 20 bytes"
    );
    EXPECT_THROW(bufferSize(std::numeric_limits<std::size_t>::max(), 20, "all"), std::invalid_argument);
}
