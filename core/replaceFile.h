#pragma once

#include "core/Export.h"

#include <cstddef>
#include <filesystem>
#include <span>

namespace Core
{
/// Writes a whole file so that it appears under its name only when it is complete.
///
/// The bytes go to a file of another name in the same folder, which then takes the name. After an error the
/// older file of that name, if any, is as it was, and nothing is left behind.
///
/// Threads  any.
/// @throws std::runtime_error  naming the path and the reason
CORE_API void replaceFile(const std::filesystem::path& path, std::span<const std::byte> bytes);
}  // namespace Core
