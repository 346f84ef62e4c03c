#include "apps/cli/refuseSizeClearly.h"

#include <render/gpu/ComException.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Cli
{
namespace
{
// What Direct3D says to textures that it does not make: E_INVALIDARG and E_OUTOFMEMORY.
constexpr long kInvalidArgument = static_cast<std::int32_t>(0x80070057U);
constexpr long kOutOfMemory = static_cast<std::int32_t>(0x8007000EU);
}  // namespace

void refuseSizeClearly(const Size& size, const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const Render::ComException& error)
    {
        if (error.result() != kInvalidArgument && error.result() != kOutOfMemory)
        {
            throw;
        }
        throw std::runtime_error(
            "the graphics device refuses a picture of " + std::to_string(size.width) + " x " +
            std::to_string(size.height) + " pixels: " + error.what()
        );
    }
}
}  // namespace Cli
