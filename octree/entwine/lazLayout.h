#pragma once

#include "octree/Export.h"
#include "octree/las/LazHeader.h"
#include "octree/rows/RowLayout.h"

namespace Entwine
{
/// How the rows of Las::decodeChunk() are read: by the fields of the file and its own scale and offset, not
/// by the schema. They have the attributes that the schema declares.
/// @throws std::runtime_error  when colours are declared that the points do not have
OCTREE_API Octree::RowLayout lazLayout(const Las::LazHeader& header, const Octree::RowLayout& declared);
}  // namespace Entwine
