#pragma once

#include <string>
#include <string_view>

namespace Cli
{
/// The text without anything that would break its line or steer a terminal: each control character, the ones
/// of two bytes in UTF-8 and the line separators of Unicode included, becomes a blank; blanks at the end go.
std::string oneLine(std::string_view text);
}  // namespace Cli
