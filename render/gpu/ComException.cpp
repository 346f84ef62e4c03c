#include "render/gpu/ComException.h"

#include "render/platform/systemErrorText.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <utility>

namespace Render
{
namespace
{
/// A text for results that the system does not know. Interfaces number their own errors from 0x80040200
/// upwards.
std::string numberText(std::int32_t result)
{
    constexpr std::uint32_t kFirst = 0x80040200U;
    constexpr std::uint32_t kLast = 0x8004FFFFU;
    const auto code = static_cast<std::uint32_t>(result);

    std::array<char, 32> text{};
    if (code > kFirst && code <= kLast)
    {
        std::snprintf(text.data(), text.size(), "IDispatch error #%" PRIu32, code - kFirst);
    }
    else
    {
        std::snprintf(text.data(), text.size(), "Unknown error 0x%0" PRIX32, code);
    }
    return text.data();
}
}  // namespace

ComException::ComException(long result)
    : mResult(static_cast<std::int32_t>(result)), mMessage(systemErrorText(mResult))
{
    if (mMessage.empty())
    {
        mMessage = numberText(mResult);
    }
}

ComException::ComException(long result, const std::string& detail) : ComException(result)
{
    mMessage += ": " + detail;
}

ComException::ComException(long result, WholeMessage message)
    : mResult(static_cast<std::int32_t>(result)), mMessage(std::move(message.text))
{
}

const char* ComException::what() const noexcept
{
    return mMessage.c_str();
}

long ComException::result() const noexcept
{
    return mResult;
}
}  // namespace Render
