#pragma once

#include "apps/cli/Console.h"

#include <string>

namespace Cli
{
/// The group of options that work as they did and have another name now.
inline constexpr const char* kOldSpelling = "Old spellings";

/// Says on standard error that what was used has another name now.
inline void noteOldSpelling(const std::string& old, const std::string& now)
{
    printNote(old + (old.find(" and ") == std::string::npos ? " is" : " are") + " now " + now);
}
}  // namespace Cli
