#pragma once

#include "core/Export.h"
#include "core/NonCopyable.h"

#include <nlohmann/json.hpp>

#include <string_view>
#include <utility>

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

/// Owns a tree and ends it without taking memory, of which there may be none: the tree's own destructor takes
/// some, and would end the program.
///
/// Threads  a plain value.
class CORE_API JsonTree : private NonCopyable
{
public:
    /// @param tree  nested not more than parseJson lets pass
    explicit JsonTree(nlohmann::json&& tree) noexcept : mTree(std::move(tree)) {}

    ~JsonTree();

    const nlohmann::json& operator*() const noexcept { return mTree; }

private:
    nlohmann::json mTree;
};
}  // namespace Core
