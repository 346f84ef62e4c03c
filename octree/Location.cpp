#include "octree/Location.h"

#include <cstdint>
#include <system_error>
#include <utility>

namespace Octree
{
namespace
{
// "a/b/" and "a/b" are one folder
std::filesystem::path withoutTrailingSeparator(const std::filesystem::path& path)
{
    const std::filesystem::path normal = path.lexically_normal();
    return normal.has_filename() || !normal.has_relative_path() ? normal : normal.parent_path();
}

std::filesystem::path folderOf(const std::filesystem::path& file)
{
    const std::filesystem::path folder = file.parent_path();
    return withoutTrailingSeparator(folder.empty() ? std::filesystem::path(".") : folder);
}
}  // namespace

Location::Location(PoTree::FileSystemLocation location) : mLocation(std::move(location)) {}

Location::Location(Entwine::FileSystemLocation location) : mLocation(std::move(location)) {}

Location Location::fromPath(const std::filesystem::path& path)
{
    if (path.filename() == "metadata.json")
    {
        return PoTree::FileSystemLocation(folderOf(path));
    }
    if (path.filename() == "ept.json")
    {
        return Entwine::FileSystemLocation(folderOf(path));
    }

    // what cannot be looked at counts as absent here: opening the data set reports the reason
    std::error_code ignored;
    const std::filesystem::path folder = withoutTrailingSeparator(path);
    const PoTree::FileSystemLocation threeFiles(folder);
    const Entwine::FileSystemLocation tiles(folder);
    if (std::filesystem::exists(tiles.metadataFile(), ignored) &&
        !std::filesystem::exists(threeFiles.metadataFile(), ignored))
    {
        return tiles;
    }
    return threeFiles;
}

Kind Location::kind() const noexcept
{
    return std::holds_alternative<Entwine::FileSystemLocation>(mLocation) ? Kind::Entwine : Kind::PoTree;
}

const std::filesystem::path& Location::folder() const noexcept
{
    const auto* tiles = std::get_if<Entwine::FileSystemLocation>(&mLocation);
    return tiles != nullptr ? tiles->folder() : std::get_if<PoTree::FileSystemLocation>(&mLocation)->folder();
}

bool Location::exists() const
{
    return std::visit([](const auto& location) { return location.exists(); }, mLocation);
}

std::size_t Location::hash() const noexcept
{
    // 64-bit FNV-1a over the kind and the path's parts, so that equal paths have equal hashes
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    const auto add = [&hash](std::uint64_t value) { hash = (hash ^ value) * 0x100000001b3ULL; };
    add(static_cast<std::uint64_t>(kind()));
    for (const std::filesystem::path& part : folder())
    {
        for (const auto unit : part.native())
        {
            add(static_cast<std::uint64_t>(unit));
        }
        add('/');
    }
    return static_cast<std::size_t>(hash);
}
}  // namespace Octree
