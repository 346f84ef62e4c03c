#pragma once

#include "core/ByteFolder.h"
#include "octree/Export.h"

#include <filesystem>
#include <memory>
#include <utility>

namespace Entwine
{
/// The folder of an Entwine Point Tile data set: ept.json, ept-hierarchy, ept-data.
class OCTREE_API FileSystemLocation
{
public:
    /// The folder need not exist.
    explicit FileSystemLocation(std::filesystem::path folder) : mFolder(std::move(folder)) {}

    /// As given.
    const std::filesystem::path& folder() const noexcept { return mFolder; }

    /// The path of ept.json.
    std::filesystem::path metadataFile() const;

    /// The folder as readers see it.
    std::shared_ptr<const Core::ByteFolder> files() const;

    /// True when the folder holds an ept.json.
    /// @throws std::filesystem::filesystem_error  when the file system cannot tell
    bool exists() const;

    friend bool operator==(const FileSystemLocation&, const FileSystemLocation&) = default;

private:
    std::filesystem::path mFolder;
};
}  // namespace Entwine
