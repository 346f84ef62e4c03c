#pragma once

#include "core/ByteFolder.h"
#include "octree/Export.h"

#include <filesystem>
#include <memory>
#include <utility>

namespace PoTree
{
/// The folder of a three-file octree data set: metadata.json, hierarchy.bin, octree.bin.
class OCTREE_API FileSystemLocation
{
public:
    /// The folder need not exist.
    explicit FileSystemLocation(std::filesystem::path folder) : mFolder(std::move(folder)) {}

    /// As given.
    const std::filesystem::path& folder() const noexcept { return mFolder; }

    /// The paths of metadata.json, hierarchy.bin and octree.bin.
    std::filesystem::path metadataFile() const;
    std::filesystem::path hierarchyFile() const;
    std::filesystem::path octreeFile() const;

    /// The folder as readers see it.
    std::shared_ptr<const Core::ByteFolder> files() const;

    /// True when the folder holds a metadata.json.
    /// @throws std::filesystem::filesystem_error  when the file system cannot tell
    bool exists() const;

    friend bool operator==(const FileSystemLocation&, const FileSystemLocation&) = default;

private:
    std::filesystem::path mFolder;
};
}  // namespace PoTree
