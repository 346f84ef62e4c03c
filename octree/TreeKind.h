#pragma once

#include "octree/Export.h"
#include "octree/Location.h"

#include <memory>
#include <span>

namespace Octree
{
class Tree;

/// What the library knows of a kind of data sets: all that tells one kind from another.
struct TreeKind
{
    Kind kind;
    const char* name;             ///< for people
    const char* descriptionFile;  ///< the file that a data set of this kind is opened by

    /// Opens a data set.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    std::shared_ptr<const Tree> (*open)(const Location& location);
};

/// All kinds. Where a folder could be of several, the first that it has the description file of counts; where
/// it has none, the first of all.
std::span<const TreeKind* const> treeKinds() noexcept;

const TreeKind& treeKind(Kind kind) noexcept;
}  // namespace Octree
