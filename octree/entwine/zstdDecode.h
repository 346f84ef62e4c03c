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
/// Frames often do not say how long they are; the caller does. The library unpacks straight into `out`, which
/// gets its whole size at once, so nothing is copied and there is no other buffer. A frame that is too short
/// for that size by any measure (Octree::largestUnpackedSize) is refused before.
///
/// Threads  any; one `out` per thread.
/// Source   RFC 8878, through the Zstandard library.
/// @param in    the frame, nothing before or after it
/// @param size  bytes that come out
/// @param out   replaced by the unpacked bytes; keeps its capacity from call to call
/// @return false when a stop was requested before or meanwhile; it is looked at before and after the
///         unpacking, which takes some tenths of a second for the largest node
/// @throws std::runtime_error  for a broken or truncated frame, bytes after its end, or another size
OCTREE_API bool zstdDecode(
    std::span<const std::byte> in,
    std::size_t size,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
);
}  // namespace Entwine
