#pragma once

#include "render/Export.h"
#include "render/gpu/VertexFormats.h"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace Render
{
/// First line of a text file of points.
inline constexpr std::string_view kPointTextHeader = "X Y Z Red Green Blue Alpha";

/// Appends the number as a stream of precision 7 writes it: at most seven significant digits, no trailing
/// zeros, an exponent only for very large and very small numbers. No locale takes part.
RENDER_API void appendFloat(std::string& text, float value);

/// Appends a line per point: x, y, z and the channels red, green, blue, alpha (0 to 255), with a space
/// between them.
/// @param lineEnd  ends each line
RENDER_API void appendPointLines(
    std::string& text, std::span<const VertexPosColor> points, std::string_view lineEnd
);

/// Whether a file of this name can be opened, or made, for writing; leaves everything as it is.
bool canOpenForWriting(const std::filesystem::path& path);

/// Writes header and points as a text file with the line ends of this system. The file appears under its name
/// only when it is complete.
/// @throws std::runtime_error  naming the path and the reason; an older file of that name then stays as it
///                             was
RENDER_API void writePointText(const std::filesystem::path& path, std::span<const VertexPosColor> points);
}  // namespace Render
