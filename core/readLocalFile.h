#pragma once

#include "core/Export.h"

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>

namespace Core
{
/// The bytes of a whole file.
///
/// Threads  any.
/// @param maxSizeInBytes  largest size to take memory for; a file above it is an error
/// @throws std::runtime_error  naming the path and the reason when it is missing, a folder, unreadable, too
///                             large, or changed while it is read
CORE_API std::string readLocalFile(
    const std::filesystem::path& path,
    std::uint64_t maxSizeInBytes = std::numeric_limits<std::uint64_t>::max()
);
}  // namespace Core
