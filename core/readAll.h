#pragma once

#include "core/Export.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <stop_token>
#include <string>

namespace Core
{
class ByteSource;

/// All bytes of a source.
///
/// Threads  any.
/// @param maxSizeInBytes  largest size to take memory for; a source above it is an error
/// @return nothing when a stop was requested
/// @throws std::runtime_error  naming the source and the reason when it is too large or cannot be read
CORE_API std::optional<std::string> readAll(
    const ByteSource& source,
    std::uint64_t maxSizeInBytes = std::numeric_limits<std::uint64_t>::max(),
    const std::stop_token& stopToken = {}
);
}  // namespace Core
