#pragma once

#include "octree/Export.h"
#include "octree/las/LasPoint.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace Las
{
class LasSink;

/// How points of formats 6 to 8 are compressed.
struct LazEncoding
{
    unsigned pointFormat = 7;       ///< 6, 7 with colours, or 8 with colours and infrared
    std::uint16_t itemVersion = 3;  ///< of LASzip's items: 3 or 4
    std::size_t extraBytes = 0;     ///< behind the fields of each point, up to 1024
    std::uint32_t chunkSize = 0;    ///< points of each chunk but the last; 0 for chunks of any number
};

/// Compresses points of formats 6 to 8, as files hold them between their records and their end: the position of
/// the chunk table, the chunks, the table.
///
/// Threads  one at a time.
/// Source   LASzip, through its library.
class LazEncoder
{
public:
    /// @param sink   gets the bytes; must live as long
    /// @param begin  where in the file they begin: as many bytes as the sink has got
    /// @throws std::invalid_argument  for an encoding out of range
    OCTREE_API LazEncoder(const LazEncoding& encoding, LasSink& sink, std::uint64_t begin);
    OCTREE_API ~LazEncoder();
    LazEncoder(const LazEncoder&) = delete;
    LazEncoder& operator=(const LazEncoder&) = delete;

    /// Adds a point.
    /// @param extra  the bytes behind its fields, as many as the encoding says
    OCTREE_API void add(const LasPoint& point, std::span<const std::byte> extra = {});

    /// Ends a chunk of at least one point, where chunks have any number of them.
    OCTREE_API void endChunk();

    /// Where in the file the next chunk begins after endChunk(), or what follows the table.
    OCTREE_API std::uint64_t position() const;

    /// Writes the table; must be called once, after the last point.
    OCTREE_API void finish();

    /// The data of the record that says how points are compressed, of author "laszip encoded" and number 22204.
    /// @throws std::invalid_argument  for an encoding out of range
    OCTREE_API static std::string record(const LazEncoding& encoding);

    /// Bytes of an uncompressed point.
    /// @throws std::invalid_argument  for an encoding out of range
    OCTREE_API static std::size_t recordLength(const LazEncoding& encoding);

private:
    struct Library;

    std::unique_ptr<Library> mLibrary;
};
}  // namespace Las
