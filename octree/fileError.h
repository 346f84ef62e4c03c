#pragma once

#include "core/errorReason.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace Octree
{
/// The exception for a bad file: its name, then what is wrong with it and what was expected.
/// @param file  as Core::ByteSource::name() says
/// @param what  also the text of another exception; of bounded length then, whatever the file holds
inline std::runtime_error fileError(std::string_view file, std::string_view what)
{
    return std::runtime_error("Error: " + std::string(file) + ": " + Core::errorReason(what));
}
}  // namespace Octree
