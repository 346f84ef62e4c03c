#pragma once

#include "octree/Export.h"
#include "octree/entwine/FileSystemLocation.h"
#include "octree/potree/FileSystemLocation.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <utility>
#include <variant>

namespace Octree
{
/// The kinds of octree data sets.
enum class Kind
{
    PoTree,   ///< three files: metadata.json, hierarchy.bin, octree.bin
    Entwine,  ///< Entwine Point Tiles
};

/// Where an octree data set lies, whatever its kind.
///
/// Threads  a plain value.
class OCTREE_API Location
{
public:
    /// A location of either kind.
    Location(PoTree::FileSystemLocation location);  // implicit on purpose: a location of a kind is a location
    Location(Entwine::FileSystemLocation location);

    /// The location that the folder's files show: Entwine where there is an ept.json and no metadata.json,
    /// else the three files. Also accepts the path of the metadata.json or ept.json itself.
    static Location fromPath(const std::filesystem::path& path);

    /// Which kind of data set lies there.
    Kind kind() const noexcept;

    /// The data set's folder.
    const std::filesystem::path& folder() const noexcept;

    /// True when the folder holds the kind's metadata file.
    /// @throws std::filesystem::filesystem_error  ("exists") when the file system cannot tell
    bool exists() const;

    /// The same hash in every process for the same kind and path.
    std::size_t hash() const noexcept;

    friend bool operator==(const Location&, const Location&) = default;

private:
    std::variant<PoTree::FileSystemLocation, Entwine::FileSystemLocation> mLocation;
};
}  // namespace Octree

/// Location::hash().
template <>
struct std::hash<Octree::Location>
{
    std::size_t operator()(const Octree::Location& location) const noexcept { return location.hash(); }
};
