#include "render/gpu/ComException.h"
#include "render/gpu/throwIfFailed.h"
#include "render/platform/Direct3D.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

using Render::ComException;
using Render::throwIfFailed;

namespace
{
/// What the system says of a result, without the line end; systems know different results.
#if defined(_WIN32)
std::optional<std::string> systemText(unsigned long result)
{
    char buffer[1024];
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr,
        result,
        MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
        buffer,
        sizeof buffer,
        nullptr
    );
    std::string text(buffer, length);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
    {
        text.pop_back();
    }
    return length == 0 ? std::nullopt : std::optional(text);
}
#else
std::optional<std::string> systemText(unsigned long result)
{
    return (result & 0xFFFFFFFFUL) == 0x80070057UL ? std::optional<std::string>("Invalid parameter.")
                                                   : std::nullopt;
}
#endif

struct NumberedResult
{
    unsigned long result;
    const char* textWithoutSystem;
};

void PrintTo(const NumberedResult& result, std::ostream* stream)
{
    *stream << std::hex << result.result;
}

class ComExceptionOf : public testing::TestWithParam<NumberedResult>
{
};
}  // namespace

TEST(ComException, KeepsTheResult)
{
    EXPECT_EQ(ComException(E_OUTOFMEMORY).result(), E_OUTOFMEMORY);
}

TEST(ComException, SpeaksAsTheSystemDoesButWithoutTheLineEnd)
{
    const std::optional<std::string> expected = systemText(static_cast<unsigned long>(E_INVALIDARG));
    ASSERT_TRUE(expected);

    EXPECT_EQ(ComException(E_INVALIDARG).what(), *expected);
}

TEST_P(ComExceptionOf, AResultThatTheSystemDoesNotKnowTellsTheNumber)
{
    const std::string expected = systemText(GetParam().result).value_or(GetParam().textWithoutSystem);

    EXPECT_EQ(ComException(static_cast<long>(GetParam().result)).what(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Results,
    ComExceptionOf,
    testing::Values(
        NumberedResult{0x80040201UL, "IDispatch error #1"},
        NumberedResult{0x80040202UL, "IDispatch error #2"},
        NumberedResult{0x8004FFFFUL, "IDispatch error #65023"},  // 0xFDFF
        NumberedResult{0x80040200UL, "Unknown error 0x80040200"},
        NumberedResult{0x80050000UL, "Unknown error 0x80050000"},
        NumberedResult{0x12345678UL, "Unknown error 0x12345678"},
        NumberedResult{0x8876086CUL, "Unknown error 0x8876086C"}
    )
);

TEST(ComException, ACopySaysTheSame)
{
    const ComException original(E_INVALIDARG);
    const ComException copy(original);

    EXPECT_STREQ(copy.what(), original.what());
    EXPECT_EQ(copy.result(), original.result());
}

TEST(ThrowIfFailed, LetsEverySuccessPass)
{
    EXPECT_NO_THROW(throwIfFailed(S_OK));
    EXPECT_NO_THROW(throwIfFailed(S_FALSE));
}

TEST(ThrowIfFailed, ThrowsTheNegativeResult)
{
    try
    {
        throwIfFailed(E_FAIL);
        FAIL() << "nothing was thrown";
    }
    catch (const std::exception& error)
    {
        ASSERT_NE(dynamic_cast<const ComException*>(&error), nullptr);
        EXPECT_EQ(dynamic_cast<const ComException&>(error).result(), E_FAIL);
    }
}
