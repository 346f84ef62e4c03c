#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Fuzz
{
/// Small good inputs for a target of targets.h to begin with, made by the writers of samples and tests.
/// @throws std::invalid_argument  for a name that is no target
std::vector<std::string> makeSeeds(std::string_view target);
}  // namespace Fuzz
