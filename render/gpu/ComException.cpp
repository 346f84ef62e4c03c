#include "render/gpu/ComException.h"

#include "render/gpu/Direct3D.h"

#include <array>
#include <cstdio>
#include <memory>
#include <string_view>

namespace Render
{
namespace
{
struct LocalFreeDeleter
{
    void operator()(char* text) const noexcept { LocalFree(text); }
};

/// What the system calls the result; empty when it has no text.
std::string systemText(long result)
{
    char* buffer = nullptr;
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr,
        static_cast<DWORD>(result),
        MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
        reinterpret_cast<char*>(&buffer),  // with ALLOCATE_BUFFER the address of a pointer is expected here
        0,
        nullptr
    );
    const std::unique_ptr<char, LocalFreeDeleter> owner(buffer);
    if (length == 0)
    {
        return {};
    }

    std::string_view text(buffer, length);
    if (text.size() >= 2 && text.ends_with('\n'))
    {
        text.remove_suffix(1);
        if (text.ends_with('\r'))
        {
            text.remove_suffix(1);
        }
    }
    return std::string(text);
}

/// A text for results that the system does not know. Interfaces number their own errors from 0x80040200
/// upwards.
std::string numberText(long result)
{
    constexpr unsigned long kFirst = 0x80040200UL;
    constexpr unsigned long kLast = 0x8004FFFFUL;
    const auto code = static_cast<unsigned long>(result);

    std::array<char, 32> text{};
    if (code > kFirst && code <= kLast)
    {
        std::snprintf(text.data(), text.size(), "IDispatch error #%d", static_cast<int>(code - kFirst));
    }
    else
    {
        std::snprintf(text.data(), text.size(), "Unknown error 0x%0lX", code);
    }
    return text.data();
}
}  // namespace

ComException::ComException(long result) : mResult(result), mMessage(systemText(result))
{
    if (mMessage.empty())
    {
        mMessage = numberText(result);
    }
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
