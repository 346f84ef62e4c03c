#pragma once

#include <filesystem>
#include <string>

#include "core/Export.h"

namespace Core
{
/// The bytes of a whole file.
///
/// Threads  any.
/// @throws std::runtime_error  naming the path and the reason when it is missing, a folder, unreadable, or shrinks while
///                             it is read
CORE_API std::string readLocalFile(const std::filesystem::path& path);
}  // namespace Core
