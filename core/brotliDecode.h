#pragma once

#include "core/Export.h"

#include <cstddef>
#include <span>
#include <stop_token>
#include <string_view>
#include <vector>

namespace Core
{
/// Unpacks one whole Brotli stream.
///
/// The decoder streams into `out`, which grows as bytes arrive and keeps its capacity for the next call, so a
/// bomb costs at most `maxOutputSize` bytes and never more; besides, while it runs, the decoder's window of
/// up to 16 MiB. A caller who knows the size reserves it before, and then there is never a second buffer.
///
/// Threads  any; one `out` per thread.
/// Source   RFC 7932, through the Brotli library.
/// @param in             the compressed bytes, nothing before or after the stream
/// @param out            replaced by the unpacked bytes; empty after an error or a stop
/// @param maxOutputSize  most bytes that may come out
/// @param stopToken      looked at whenever another window of bytes has come out, 64 KiB at least
/// @return false when a stop was requested
/// @throws std::runtime_error  for a broken or truncated stream, bytes after its end, or more output
///                             than allowed
CORE_API bool brotliDecode(
    std::span<const std::byte> in,
    std::vector<std::byte>& out,
    std::size_t maxOutputSize,
    const std::stop_token& stopToken = {}
);
}  // namespace Core
