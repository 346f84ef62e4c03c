#include "render/gpu/DeviceLostException.h"

#include "render/platform/Direct3D.h"

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>

namespace Render
{
namespace
{
const char* reasonText(std::uint32_t reason)
{
    switch (reason)
    {
        case static_cast<std::uint32_t>(DXGI_ERROR_DEVICE_HUNG):
            return "it did not answer in time";
        case static_cast<std::uint32_t>(DXGI_ERROR_DEVICE_REMOVED):
            return "it was removed or its driver was updated";
        case static_cast<std::uint32_t>(DXGI_ERROR_DEVICE_RESET):
            return "it was reset";
        case static_cast<std::uint32_t>(DXGI_ERROR_DRIVER_INTERNAL_ERROR):
            return "its driver failed";
        case static_cast<std::uint32_t>(E_OUTOFMEMORY):
            return "it ran out of memory";
        default:
            return "its driver gives another reason";
    }
}

std::string messageFor(long reason)
{
    const auto number = static_cast<std::uint32_t>(reason);
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08" PRIX32, number);
    return std::string("The graphics device was lost: ") + reasonText(number) + " (" + text.data() + ")";
}
}  // namespace

DeviceLostException::DeviceLostException(long reason) : ComException(reason, WholeMessage{messageFor(reason)})
{
}
}  // namespace Render
