#include "octree/Location.h"

#include "core/LocalFolder.h"
#include "core/http/HttpClient.h"
#include "core/http/HttpFolder.h"
#include "core/http/HttpUrl.h"
#include "core/toUtf8.h"
#include "octree/TreeKind.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <stdexcept>
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

Kind kindOf(const Core::ByteFolder& files)
{
    for (const TreeKind* const kind : treeKinds())
    {
        try
        {
            if (*kind->descriptionFile != '\0' && files.contains(kind->descriptionFile))
            {
                return kind->kind;
            }
        }
        catch (const std::runtime_error&)
        {
            // what cannot be looked at counts as absent here: opening the data set reports the reason
        }
    }
    return treeKinds().front()->kind;
}

/// The kind that is opened by that file; null when it is none's.
const TreeKind* kindOf(const Core::ByteFolder& files, std::string_view file)
{
    const auto isIts = [&](const TreeKind* kind) { return kind->isOpenedBy(files, file); };
    const auto found = std::ranges::find_if(treeKinds(), isIts);
    return found != treeKinds().end() ? *found : nullptr;
}
}  // namespace

const char* kindName(Kind kind) noexcept
{
    return treeKind(kind).name;
}

Location::Location(Kind kind, std::filesystem::path folder, std::string_view file)
    : mKind(kind),
      mFolder(std::move(folder)),
      mFile(file.empty() ? treeKind(kind).descriptionFile : file),
      mFiles(std::make_shared<const Core::LocalFolder>(mFolder))
{
}

// NOLINTBEGIN(performance-unnecessary-value-param): the signatures are public
Location::Location(PoTree::FileSystemLocation location) : Location(Kind::PoTree, location.folder()) {}

Location::Location(Entwine::FileSystemLocation location) : Location(Kind::Entwine, location.folder()) {}

// NOLINTEND(performance-unnecessary-value-param)

Location::Location(Kind kind, std::shared_ptr<const Core::ByteFolder> files, std::string_view file)
    : mKind(kind), mFile(file.empty() ? treeKind(kind).descriptionFile : file), mFiles(std::move(files))
{
    if (!mFiles)
    {
        throw std::invalid_argument("Error: a location needs files");
    }
    if (mFile.empty())
    {
        throw std::invalid_argument("Error: a location of this kind needs the name of its file");
    }
    if (const auto* const local = dynamic_cast<const Core::LocalFolder*>(mFiles.get()))
    {
        mFolder = local->path();
    }
    else
    {
        mPlace = mFiles->identity();
    }
}

Location Location::fromPath(const std::filesystem::path& path)
{
    for (const TreeKind* const kind : treeKinds())
    {
        if (path.has_filename() && path.filename() == kind->descriptionFile)
        {
            return {kind->kind, folderOf(path)};
        }
    }
    const std::filesystem::path folder = withoutTrailingSeparator(path);
    const std::filesystem::path parent = folderOf(folder);
    const std::string file = Core::toUtf8(folder.filename());
    const Core::LocalFolder around(parent);
    if (const TreeKind* const kind = around.mayHaveFolder(file) ? nullptr : kindOf(around, file))
    {
        return {kind->kind, parent, file};
    }
    return {kindOf(Core::LocalFolder(folder)), folder};
}

Location Location::fromFile(std::shared_ptr<const Core::ByteFolder> files, std::string_view file)
{
    const TreeKind* const kind = files ? kindOf(*files, file) : nullptr;
    return {kind != nullptr ? kind->kind : treeKinds().front()->kind, std::move(files), file};
}

Location Location::fromFiles(std::shared_ptr<const Core::ByteFolder> files)
{
    const Kind kind = files ? kindOf(*files) : Kind::PoTree;
    return {kind, std::move(files)};
}

Location Location::fromUrl(std::string_view url, std::shared_ptr<const Core::HttpClient> client)
{
    const Core::HttpUrl address(url);
    if (!client)
    {
        client = Core::HttpClient::shared();
    }
    for (const TreeKind* const kind : treeKinds())
    {
        if (!address.isFolder() && address.lastStep() == kind->descriptionFile)
        {
            return {kind->kind, std::make_shared<const Core::HttpFolder>(client, address.folder())};
        }
    }
    auto files = std::make_shared<const Core::HttpFolder>(client, address);
    // The other files too: in vain where the kind is another, else all come in the time of one answer.
    const auto lookForFiles = [&files]
    {
        for (const TreeKind* const kind : treeKinds())
        {
            if (*kind->descriptionFile != '\0')
            {
                files->expect(Core::Extent::Parts, kind->descriptionFile);
            }
        }
        for (const TreeKind* const kind : treeKinds())
        {
            for (const char* const file : kind->otherFiles)
            {
                files->expect(Core::Extent::Parts, file);
            }
        }
    };
    const std::string file = address.lastStep();
    const bool looksLikeFile = file.find('.') != std::string::npos;
    if (!looksLikeFile)
    {
        lookForFiles();  // while the address is looked at as a file
    }
    auto around = std::make_shared<const Core::HttpFolder>(client, address.folder());
    if (const TreeKind* const kind = address.isFolder() ? nullptr : kindOf(*around, file))
    {
        return {kind->kind, std::move(around), file};
    }
    lookForFiles();
    std::exception_ptr failure;
    for (const TreeKind* const kind : treeKinds())
    {
        try
        {
            if (*kind->descriptionFile != '\0' && files->contains(kind->descriptionFile))
            {
                return {kind->kind, std::move(files)};
            }
        }
        catch (const std::runtime_error&)
        {
            // Object stores answer so where there is nothing, if the list of files may not be read.
            failure = failure ? failure : std::current_exception();
        }
    }
    if (failure)
    {
        std::rethrow_exception(failure);
    }
    return {treeKinds().front()->kind, std::move(files)};
}

bool Location::exists() const
{
    return mFiles->contains(mFile);
}

bool Location::operator==(const Location& other) const
{
    return mKind == other.mKind && mFile == other.mFile && mPlace == other.mPlace && mFolder == other.mFolder;
}

std::size_t Location::hash() const noexcept
{
    // 64-bit FNV-1a over the kind and the path's parts, so that equal paths have equal hashes
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    const auto add = [&hash](std::uint64_t value) { hash = (hash ^ value) * 0x100000001b3ULL; };
    const auto addText = [&add](const auto& text)
    {
        for (const auto unit : text)
        {
            add(static_cast<std::uint64_t>(unit));
        }
        add('/');
    };
    add(static_cast<std::uint64_t>(mKind));
    for (const std::filesystem::path& part : mFolder)
    {
        addText(part.native());
    }
    if (!mPlace.empty())
    {
        addText(mPlace);
    }
    if (mFile != treeKind(mKind).descriptionFile)
    {
        addText(mFile);
    }
    return static_cast<std::size_t>(hash);
}
}  // namespace Octree
