#pragma once

#include "octree/Export.h"
#include "octree/Location.h"

#include <memory>
#include <span>
#include <string_view>

namespace Octree
{
class Tree;

/// What the library knows of a kind of data sets: all that tells one kind from another.
struct TreeKind
{
    Kind kind;
    const char* name;  ///< for people

    /// The file that data sets of this kind are opened by; empty where each has a file of its own name.
    const char* descriptionFile;

    /// Further files that are opened along with it.
    std::span<const char* const> otherFiles;

    /// True when a file, by its name or by how it begins, is one that a data set of this kind is opened by.
    bool (*isOpenedBy)(const Core::ByteFolder& files, std::string_view file);

    /// Opens a data set.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    std::shared_ptr<const Tree> (*open)(const Location& location);
};

/// All kinds. Where a folder or a file could be of several, the first that it has the description file of counts;
/// where it has none, the first of all.
std::span<const TreeKind* const> treeKinds() noexcept;

const TreeKind& treeKind(Kind kind) noexcept;
}  // namespace Octree
