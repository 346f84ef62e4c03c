#pragma once

#include "core/ByteFolder.h"
#include "octree/Export.h"
#include "octree/entwine/FileSystemLocation.h"
#include "octree/potree/FileSystemLocation.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Core
{
class HttpClient;
}

namespace Octree
{
/// The kinds of octree data sets.
enum class Kind
{
    PoTree,   ///< three files: metadata.json, hierarchy.bin, octree.bin
    Entwine,  ///< Entwine Point Tiles
    Copc,     ///< Cloud Optimized Point Cloud: one compressed LAS file
};

/// What a kind is called.
OCTREE_API const char* kindName(Kind kind) noexcept;

/// Where an octree data set lies, whatever its kind: the folder of its files, and the file that it is opened
/// by.
///
/// Threads  a plain value.
class OCTREE_API Location
{
public:
    /// A location of either kind.
    Location(PoTree::FileSystemLocation location);  // implicit on purpose: a location of a kind is a location
    Location(Entwine::FileSystemLocation location);

    /// A data set whose files need not be local.
    /// @param files  not null; two locations are the same when these have one name
    /// @param file   the one to open, the kind's usual one when empty; COPC has none
    /// @throws std::invalid_argument  for no files, and for COPC without a file
    Location(Kind kind, std::shared_ptr<const Core::ByteFolder> files, std::string_view file = {});

    /// The location that the folder's files show: Entwine where there is an ept.json and no metadata.json,
    /// else the three files. Also accepts the path of the metadata.json or ept.json itself, and of a COPC file:
    /// any file is one whose name ends in ".laz" or ".las", or which begins as LAS files do. Those without octree
    /// are refused when they are opened.
    static Location fromPath(const std::filesystem::path& path);

    /// The same for files that need not be local.
    static Location fromFiles(std::shared_ptr<const Core::ByteFolder> files);

    /// The same for one of them, which need not be local: the file that a data set is opened by.
    static Location fromFile(std::shared_ptr<const Core::ByteFolder> files, std::string_view file);

    /// The same for a web address: of the folder, or of the file that the data set is opened by.
    /// @param client  by which it is read; the process's when null
    /// @throws std::runtime_error  naming the address, when it is none or the server does not tell what is there
    static Location fromUrl(std::string_view url, std::shared_ptr<const Core::HttpClient> client = nullptr);

    /// Which kind of data set lies there.
    Kind kind() const noexcept { return mKind; }

    /// The data set's local folder; empty when its files lie elsewhere.
    const std::filesystem::path& folder() const noexcept { return mFolder; }

    /// Where its files are; never null.
    const std::shared_ptr<const Core::ByteFolder>& files() const noexcept { return mFiles; }

    /// The name, within files(), of the file that the data set is opened by.
    const std::string& file() const noexcept { return mFile; }

    /// The name of the folder of files, for messages.
    std::string name() const { return mFiles->name(); }

    /// The name of the file that the data set is opened by, for messages.
    std::string fileName() const { return mFiles->nameOf(mFile); }

    /// True when there is the file that the data set is opened by.
    /// @throws std::filesystem::filesystem_error  ("exists") when the file system cannot tell
    bool exists() const;

    /// The same hash in every process for the same kind and path.
    std::size_t hash() const noexcept;

    /// True for the same kind, place and file.
    bool operator==(const Location& other) const;

private:
    Location(Kind kind, std::filesystem::path folder, std::string_view file = {});

    Kind mKind;
    std::filesystem::path mFolder;
    std::string mPlace;  // name of files that are not local
    std::string mFile;
    std::shared_ptr<const Core::ByteFolder> mFiles;
};
}  // namespace Octree

/// Location::hash().
template <>
struct std::hash<Octree::Location>
{
    std::size_t operator()(const Octree::Location& location) const noexcept { return location.hash(); }
};
