#pragma once

#include "apps/cli/parseValue.h"

#include <functional>

namespace Cli
{
/// Does work that makes textures of a picture's size. How large they may be depends on the device, which says
/// no more than that it refused.
/// @throws std::runtime_error  naming the size and the device's reason when that is why Direct3D fails
void refuseSizeClearly(const Size& size, const std::function<void()>& work);
}  // namespace Cli
