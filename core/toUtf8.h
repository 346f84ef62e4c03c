#pragma once

#include "core/Export.h"

#include <filesystem>
#include <string>

namespace Core
{
/// A path as UTF-8 text for messages, the same on every host. What a broken name cannot say in UTF-8 becomes
/// "?".
///
/// Threads  any.
CORE_API std::string toUtf8(const std::filesystem::path& path);
}  // namespace Core
