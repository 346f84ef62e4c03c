#include "render/gpu/ComException.h"
#include "render/platform/systemErrorText.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace
{
std::int32_t result(std::uint32_t code)
{
    return static_cast<std::int32_t>(code);
}
}  // namespace

TEST(SystemErrorText, KnowsWhatDirect3DReturns)
{
    EXPECT_EQ(Render::systemErrorText(result(0x80070057U)), "Invalid parameter.");
    EXPECT_EQ(Render::systemErrorText(result(0x8007000EU)), "Out of memory.");
    EXPECT_EQ(Render::systemErrorText(result(0x887A0005U)), "The device was removed.");
}

TEST(SystemErrorText, IsEmptyForOtherResults)
{
    EXPECT_EQ(Render::systemErrorText(result(0x80040201U)), "");
}

TEST(ComExceptionOfALongResult, KeepsTheLower32BitsWithTheirSign)
{
    const Render::ComException error(0x80040200L);  // a positive number where long has 64 bits
    EXPECT_EQ(error.result(), -2147220992L);        // 0x80040200 - 0x100000000
    EXPECT_STREQ(error.what(), "Unknown error 0x80040200");
}
