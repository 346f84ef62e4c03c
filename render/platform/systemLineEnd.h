#pragma once

#include <string_view>

namespace Render
{
/// What ends a line of a text file on this system.
#if defined(_WIN32)
inline constexpr std::string_view kSystemLineEnd = "\r\n";
#else
inline constexpr std::string_view kSystemLineEnd = "\n";
#endif
}  // namespace Render
