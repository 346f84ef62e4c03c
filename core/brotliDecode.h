#pragma once

#include "core/Export.h"

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace Core
{
/// Unpacks one whole Brotli stream.
///
/// The decoder streams into `out`, which grows as bytes arrive and keeps its capacity for the next call, so a
/// bomb costs at most `maxOutputSize` bytes and never more; besides, while it runs, the decoder's window of
/// up to 16 MiB.
///
/// Threads  any; one `out` per thread.
/// Source   RFC 7932, through the Brotli library.
/// @param in             the compressed bytes, nothing before or after the stream
/// @param out            replaced by the unpacked bytes; empty after an error
/// @param maxOutputSize  most bytes that may come out
/// @throws std::runtime_error  for a broken or truncated stream, bytes after its end, or more output
///                             than allowed
CORE_API void brotliDecode(
    std::span<const std::byte> in, std::vector<std::byte>& out, std::size_t maxOutputSize
);
}  // namespace Core
