#include "apps/cli/refuseSizeClearly.h"

#include <render/gpu/ComException.h>

#include <stdexcept>
#include <string>

namespace Cli
{
namespace
{
// What Direct3D says to textures that it does not make: E_INVALIDARG and E_OUTOFMEMORY.
constexpr auto kInvalidArgument = static_cast<long>(0x80070057UL);
constexpr auto kOutOfMemory = static_cast<long>(0x8007000EUL);
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
