#pragma once

#include "core/Export.h"
#include "core/NonCopyable.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Core
{
/// Pieces of bytes that a folder keeps for later runs, found by texts.
///
/// Several processes may share the folder, and any of them may end at any time: a piece appears under its name
/// when it is complete, and one is taken only when its text, its length and its checksum are right. What the
/// disk refuses is not kept, and nobody is told: whoever asks reads elsewhere then. The pieces that were not
/// used for longest make room. Between two looks at the folder each process may write a sixteenth more than
/// the bound.
///
/// Threads  all operations from any threads.
class CORE_API DiskCache : private NonCopyable
{
public:
    /// @param folder    gets a subfolder when there is something to keep
    /// @param maxBytes  of all files in it
    DiskCache(const std::filesystem::path& folder, std::uint64_t maxBytes);

    /// The piece, if it is there.
    /// @param maxBytes  larger ones are not taken
    std::optional<std::vector<std::byte>> find(std::string_view key, std::size_t maxBytes) const noexcept;

    /// True when there is a file for the piece; whether its content is right find() tells.
    bool mayHave(std::string_view key) const noexcept;

    /// Keeps a piece, unless it is larger than an eighth of the bound.
    void keep(std::string_view key, std::span<const std::byte> bytes) noexcept;

private:
    std::filesystem::path pathOf(std::string_view key) const;
    void makeRoom();

    const std::filesystem::path mFolder;
    const std::uint64_t mMaxBytes;
    std::mutex mMutex;  // guards mWritten; held while room is made
    std::uint64_t mWritten;
};
}  // namespace Core
