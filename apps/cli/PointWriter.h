#pragma once

#include "apps/cli/OutputFile.h"
#include <math/Point.h>
#include <render/gpu/VertexFormats.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Cli
{
/// What points are relative to; when it is given, it is added in double precision to what is written.
using Origin = std::optional<Math::Point<double, 3>>;

/// Writes points to somewhere, chunk by chunk.
class PointWriter
{
public:
    virtual ~PointWriter() = default;

    virtual void write(std::span<const Render::VertexPosColor> points) = 0;

    /// Ends the output; must be called once.
    virtual void finish() {}
};

/// Writes the header "X Y Z Red Green Blue Alpha" and a line per point: as the export of visible points does
/// where points stay relative, with as many digits as read back exactly where they become absolute.
class TextPointWriter final : public PointWriter
{
public:
    using Sink = std::function<void(std::string_view)>;

    TextPointWriter(Sink sink, const Origin& origin);

    void write(std::span<const Render::VertexPosColor> points) override;

private:
    Sink mSink;
    Origin mOrigin;
    std::string mText;  // kept for its memory
};

/// Writes binary little-endian PLY: x, y, z (double where absolute, else float), red, green, blue, alpha.
class PlyPointWriter final : public PointWriter
{
public:
    PlyPointWriter(OutputFile& file, const Origin& origin);

    void write(std::span<const Render::VertexPosColor> points) override;

    /// Puts the number of points into the header.
    void finish() override;

private:
    std::string header() const;

    OutputFile& mFile;
    Origin mOrigin;
    std::uint64_t mCount = 0;
    std::string mBytes;  // kept for its memory
};
}  // namespace Cli
