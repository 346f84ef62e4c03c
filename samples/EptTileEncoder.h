#pragma once

#include "samples/EptWriter.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Samples
{
/// The values of a dimension from smallest to largest.
struct EptRange
{
    double min;
    double max;

    EptRange() noexcept;
    void include(double value) noexcept;
    void include(const EptRange& other) noexcept;
};

/// A tile's bytes and the ranges of what it holds.
struct EncodedTile
{
    std::string bytes;
    std::vector<EptRange> ranges;  ///< one per dimension, of the stored values times scale plus offset
};

/// Turns points into the bytes of tiles.
///
/// Threads  const operations from any threads at once.
class EptTileEncoder
{
public:
    /// @param options  must outlive the encoder
    /// @throws std::invalid_argument  for a dimension that is unknown or of an impossible size
    explicit EptTileEncoder(const EptWriterOptions& options);

    /// @throws std::invalid_argument  for a value that does not fit its dimension
    EncodedTile encode(std::span<const SamplePoint> points, std::span<const std::uint32_t> indices) const;

private:
    std::string compressed(const std::string& rows) const;

    const EptWriterOptions& mOptions;
};
}  // namespace Samples
