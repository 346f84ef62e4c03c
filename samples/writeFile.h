#pragma once

#include <filesystem>
#include <span>
#include <string_view>

namespace Samples
{
/// Replaces the file by one with these bytes.
/// @throws std::runtime_error  naming the file
void writeFile(const std::filesystem::path& path, std::string_view bytes);

/// The same with the pieces one after the other.
void writeFile(const std::filesystem::path& path, std::span<const std::string_view> pieces);
}  // namespace Samples
