#pragma once

#include "core/Export.h"

#include <string_view>

namespace Core
{
/// True for a name of a file or folder that means something else on some system: "." and "..", names that
/// Windows reserves for devices, with any extension and in any case ("con", "COM1.dzi"), and names that end
/// in a dot or a blank, which Windows cuts off.
///
/// Threads  any.
/// @param name  one step of a path, UTF-8
CORE_API bool isReservedName(std::string_view name);
}  // namespace Core
