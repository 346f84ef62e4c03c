#pragma once

#include "octree/las/LazEncoder.h"
#include "samples/CopcWriter.h"
#include "samples/SamplePoint.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Samples
{
/// Compresses points of formats 6 to 8 in chunks of any number of points, as LAS files hold them between their
/// records and their end: the position of the chunk table, the chunks, the table.
///
/// Threads  one at a time.
class LayeredChunkEncoder
{
public:
    /// @param offset  what stored coordinates count from
    /// @param begin   where in the file its bytes begin
    /// @throws std::invalid_argument  for options out of range
    LayeredChunkEncoder(
        const CopcWriterOptions& options, const Math::Point<double, 3>& offset, std::uint64_t begin
    );
    ~LayeredChunkEncoder();
    LayeredChunkEncoder(const LayeredChunkEncoder&) = delete;
    LayeredChunkEncoder& operator=(const LayeredChunkEncoder&) = delete;

    /// Adds a chunk.
    /// @return its size in bytes
    /// @throws std::invalid_argument  for a value that does not fit its field
    std::uint32_t add(std::span<const SamplePoint> points, std::span<const std::uint32_t> indices);

    /// Where in the file the next chunk begins, or what follows the table.
    std::uint64_t position() const;

    /// Writes the table.
    /// @return all bytes
    std::string finish();

    /// The data of the record that says how the points are compressed.
    std::string record() const;

    /// Bytes of an uncompressed point.
    std::size_t recordLength() const;

private:
    class Bytes;

    CopcWriterOptions mOptions;
    Math::Point<double, 3> mOffset;
    std::unique_ptr<Bytes> mBytes;
    Las::LazEncoder mEncoder;
};
}  // namespace Samples
