#pragma once

#include "core/toUtf8.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace Octree
{
/// The exception for a bad file: its name, then what is wrong with it and what was expected.
inline std::runtime_error fileError(const std::filesystem::path& file, const std::string& what)
{
    return std::runtime_error("Error: " + Core::toUtf8(file) + ": " + what);
}
}  // namespace Octree
