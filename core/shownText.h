#pragma once

#include "core/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Core
{
/// Content of a file made fit for a message: on one line, of bounded length, and valid UTF-8 whatever the
/// file holds.
///
/// Control characters, separators of lines, marks that turn the direction of writing, and bytes that are no
/// UTF-8 become "?" each. What is longer ends in "...".
/// Threads  any.
/// @param maxBytes  most bytes of the text that are shown, the dots apart
CORE_API std::string shownText(std::string_view text, std::size_t maxBytes = 60);
}  // namespace Core
