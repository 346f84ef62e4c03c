#include "core/http/DiskCache.h"

#include "core/fnv1a.h"
#include "core/readLocalFile.h"
#include "core/replaceFile.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <exception>
#include <system_error>

namespace Core
{
namespace
{
namespace fs = std::filesystem;

constexpr std::string_view kMagic = "TarnelCache1";
// Nothing but our own files may ever be removed, whatever folder was given.
constexpr const char* kSubfolder = "tarnel-cache";

constexpr std::size_t kNumberSize = sizeof(std::uint64_t);
constexpr std::size_t kHeadSize = kMagic.size() + 3 * kNumberSize;  // key length, length, checksum

// What nobody has touched for so long was left behind by a process that died while it wrote.
constexpr std::chrono::hours kLongestWrite{1};

// Marks of use need not be finer.
constexpr std::chrono::minutes kFreshEnough{5};

void append(std::string& out, std::uint64_t number)
{
    std::array<char, kNumberSize> bytes{};
    std::memcpy(bytes.data(), &number, bytes.size());
    out.append(bytes.data(), bytes.size());
}

std::uint64_t numberAt(std::string_view text, std::size_t offset)
{
    std::uint64_t number = 0;
    std::memcpy(&number, text.data() + offset, kNumberSize);
    return number;
}

std::string hexadecimal(std::uint64_t number)
{
    std::string text(16, '0');
    for (std::size_t i = text.size(); i-- > 0; number >>= 4U)
    {
        text[i] = "0123456789abcdef"[number & 15U];
    }
    return text;
}

struct Entry
{
    fs::path path;
    fs::file_time_type usedAt;
    std::uint64_t size;
};
}  // namespace

DiskCache::DiskCache(const fs::path& folder, std::uint64_t maxBytes)
    : mFolder(folder / kSubfolder),
      mMaxBytes(maxBytes),
      mWritten(maxBytes)  // so that the first look comes soon
{
}

fs::path DiskCache::pathOf(std::string_view key) const
{
    const std::string name = hexadecimal(fnv1a(std::as_bytes(std::span(key))));
    return mFolder / name.substr(0, 2) / name.substr(2);
}

std::optional<std::vector<std::byte>> DiskCache::find(std::string_view key, std::size_t maxBytes)
    const noexcept
{
    try
    {
        const fs::path path = pathOf(key);
        std::error_code error;
        if (!fs::exists(path, error))
        {
            return std::nullopt;
        }
        const std::string file = readLocalFile(path, kHeadSize + key.size() + maxBytes);
        const std::string_view text = file;
        if (text.size() < kHeadSize + key.size() || !text.starts_with(kMagic) ||
            numberAt(text, kMagic.size()) != key.size() || text.substr(kHeadSize, key.size()) != key)
        {
            return std::nullopt;
        }
        const std::span<const std::byte> bytes =
            std::as_bytes(std::span(text.substr(kHeadSize + key.size())));
        if (numberAt(text, kMagic.size() + kNumberSize) != bytes.size() ||
            numberAt(text, kMagic.size() + 2 * kNumberSize) != fnv1a(bytes))
        {
            return std::nullopt;
        }
        const auto now = fs::file_time_type::clock::now();
        if (now - fs::last_write_time(path, error) > kFreshEnough)
        {
            fs::last_write_time(path, now, error);
        }
        return std::vector<std::byte>(bytes.begin(), bytes.end());
    }
    catch (const std::exception&)
    {
        return std::nullopt;  // another process may just have removed or replaced it
    }
}

bool DiskCache::mayHave(std::string_view key) const noexcept
{
    try
    {
        std::error_code error;
        return fs::exists(pathOf(key), error);
    }
    catch (const std::exception&)
    {
        return false;
    }
}

void DiskCache::keep(std::string_view key, std::span<const std::byte> bytes) noexcept
{
    try
    {
        const std::size_t size = kHeadSize + key.size() + bytes.size();
        if (size > mMaxBytes / 8)
        {
            return;
        }
        std::string file(kMagic);
        file.reserve(size);
        append(file, key.size());
        append(file, bytes.size());
        append(file, fnv1a(bytes));
        file += key;
        file.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        const fs::path path = pathOf(key);
        fs::create_directories(path.parent_path());
        replaceFile(path, std::as_bytes(std::span(file)));

        const std::scoped_lock lock(mMutex);
        mWritten += size;
        if (mWritten > mMaxBytes / 16)
        {
            makeRoom();
            mWritten = 0;
        }
    }
    catch (const std::exception&)
    {
        // a disk that is full, a folder that may not be written to: the bytes are just not kept
    }
}

/// Other processes may do the same: what is gone already is gone.
void DiskCache::makeRoom()
{
    std::vector<Entry> entries;
    std::uint64_t total = 0;
    std::error_code error;
    const auto now = fs::file_time_type::clock::now();
    for (fs::recursive_directory_iterator place(mFolder, error), end; !error && place != end;
         place.increment(error))
    {
        std::error_code ignored;
        if (!place->is_regular_file(ignored))
        {
            continue;
        }
        const fs::file_time_type usedAt = place->last_write_time(ignored);
        const std::uintmax_t size = ignored ? 0 : place->file_size(ignored);
        if (ignored)
        {
            continue;
        }
        if (place->path().extension() == ".tmp")
        {
            if (now - usedAt > kLongestWrite)
            {
                fs::remove(place->path(), ignored);
            }
            continue;
        }
        entries.push_back({place->path(), usedAt, size});
        total += size;
    }
    if (total <= mMaxBytes)
    {
        return;
    }
    std::ranges::sort(entries, {}, &Entry::usedAt);
    const std::uint64_t enough = mMaxBytes - mMaxBytes / 8;
    for (const Entry& entry : entries)
    {
        if (total <= enough)
        {
            return;
        }
        std::error_code ignored;
        fs::remove(entry.path, ignored);
        total -= entry.size;
    }
}
}  // namespace Core
