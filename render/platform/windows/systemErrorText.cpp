#include "render/platform/systemErrorText.h"

#include "render/platform/Direct3D.h"

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
}  // namespace

std::string systemErrorText(std::int32_t result)
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
}  // namespace Render
