#pragma once

#include "core/Export.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace Core
{
/// A text of JSON as a tree: the one way in which description files are read.
///
/// The time is in proportion to the length of the text. Texts nested more than 16 deep or of more than 500000
/// values are refused before a tree is built; descriptions that exist nest 3 deep and have some thousand.
///
/// Threads  any.
/// @throws std::runtime_error  saying what is wrong and where, not naming a file
CORE_API nlohmann::json parseJson(std::string_view text);
}  // namespace Core
