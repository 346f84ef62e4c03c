#pragma once

#include <string>
#include <string_view>

namespace Cli
{
/// A short name of a coordinate system, on one line: of well-known text what stands first in quotes, else the text
/// itself, "not stated" without any.
std::string coordinateSystemName(std::string_view coordinateSystem);
}  // namespace Cli
