#pragma once

#include "octree/Export.h"
#include "octree/entwine/TileLayout.h"
#include "octree/entwine/lazHeader.h"

#include <cstddef>
#include <span>
#include <stop_token>
#include <vector>

namespace Entwine
{
/// Unpacks the points of a compressed LAS file into rows of those fields that attributes are read from.
///
/// The rows grow as points arrive: a header cannot make them large without points that unpack. Beside them
/// the decoder takes as much as one chunk, and some kilobytes for each byte of a record.
///
/// Threads  any; one `out` per thread.
/// Source   LASzip, through its library.
/// @param file    the file that the header was read from
/// @param out     replaced by the rows, see lazLayout(); keeps its capacity from call to call
/// @return false when a stop was requested
/// @throws std::runtime_error  for points that are broken or truncated, or end elsewhere than before the
/// chunk table
OCTREE_API bool lazDecode(
    std::span<const std::byte> file,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
);

/// How the rows of lazDecode() are read: by the fields of the file and its own scale and offset, not by the
/// schema. They have the attributes that the schema declares.
/// @throws std::runtime_error  when colours are declared that the points do not have
OCTREE_API TileLayout lazLayout(const LazHeader& header, const TileLayout& declared);
}  // namespace Entwine
