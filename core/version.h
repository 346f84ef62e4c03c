#pragma once

#include "core/Export.h"

#include <string_view>

/// What concerns the libraries as a whole.
namespace Tarnel
{
/// The version of the libraries that the program runs with, as "major.minor.patch". Programs built against
/// one patch version run with another of the same minor version. Callable on any thread, at any time.
CORE_API std::string_view version() noexcept;
}  // namespace Tarnel
