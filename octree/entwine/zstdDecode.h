#pragma once

#include "octree/Export.h"

#include <cstddef>
#include <span>
#include <stop_token>
#include <vector>

namespace Entwine
{
/// Unpacks one Zstandard frame of known unpacked size.
///
/// Frames often do not say how long they are, so the decoder streams into `out`, which grows as bytes
/// arrive: a frame of few bytes cannot make it large without unpacking to that much. Beside it the decoder
/// takes at most a window of 128 MiB.
///
/// Threads  any; one `out` per thread.
/// Source   RFC 8878, through the Zstandard library.
/// @param in    the frame, nothing before or after it
/// @param size  bytes that come out
/// @param out   replaced by the unpacked bytes; keeps its capacity from call to call
/// @return false when a stop was requested
/// @throws std::runtime_error  for a broken or truncated frame, bytes after its end, a larger window, or
///                             another size
OCTREE_API bool zstdDecode(
    std::span<const std::byte> in,
    std::size_t size,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
);
}  // namespace Entwine
