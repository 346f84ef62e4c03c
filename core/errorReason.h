#pragma once

#include "core/Export.h"

#include <string>
#include <string_view>

namespace Core
{
/// The text of an exception as part of another one's: without "Error: " at its beginning, which that one has,
/// and made fit for a message by shownText().
///
/// Threads  any.
CORE_API std::string errorReason(std::string_view what);
}  // namespace Core
