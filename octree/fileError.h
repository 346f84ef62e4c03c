#pragma once

#include "core/errorReason.h"
#include "core/toUtf8.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Octree
{
/// The exception for a bad file: its name, then what is wrong with it and what was expected.
/// @param what  also the text of another exception; of bounded length then, whatever the file holds
inline std::runtime_error fileError(const std::filesystem::path& file, std::string_view what)
{
    return std::runtime_error("Error: " + Core::toUtf8(file) + ": " + Core::errorReason(what));
}
}  // namespace Octree
