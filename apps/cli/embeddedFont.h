#pragma once

#include <span>
#include <string_view>

namespace Cli
{
/// A file whose bytes are part of the program.
struct EmbeddedFile
{
    std::string_view path;   ///< from the root, with forward slashes
    std::string_view bytes;  ///< valid as long as the program runs
};

/// The one font; the build writes this function.
std::span<const EmbeddedFile> embeddedFont();
}  // namespace Cli
