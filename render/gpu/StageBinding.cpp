#include "render/gpu/StageBinding.h"

#include <stdexcept>
#include <utility>

namespace Render
{
void StageBinding::begin(ShaderConfiguration configuration, unsigned int slot)
{
    if (mConfiguration != ShaderConfiguration{})
    {
        throw std::logic_error("Error: end call is missing");
    }
    mConfiguration = configuration;
    mSlot = slot;
}

StageBinding StageBinding::end()
{
    if (mConfiguration == ShaderConfiguration{})
    {
        throw std::logic_error("Error: begin call is missing");
    }
    return std::exchange(*this, StageBinding{});
}
}  // namespace Render
