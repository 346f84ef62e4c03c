#pragma once

#include <exception>
#include <string>

namespace Cli
{
/// The message of an exception and of those nested in it, outermost first, in one line.
std::string errorText(const std::exception& error);
}  // namespace Cli
