#pragma once

#include "core/ByteSource.h"
#include "core/Export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <span>
#include <stop_token>
#include <string>

namespace Core
{
/// A file of this machine or of what is mounted on it.
///
/// Others may write, rename and delete the file meanwhile: one that is deleted can still be read, one that
/// has another size or another time of writing than when it was opened is an error from then on. What is
/// written within the clock's resolution of the file system and leaves the size can go unnoticed.
///
/// Threads  as its base says.
class CORE_API LocalFile final : public ByteSource
{
public:
    /// @throws std::runtime_error  naming the path when it cannot be opened or is no regular file
    explicit LocalFile(std::filesystem::path path);
    ~LocalFile() override;

    std::string name() const override;

    std::uint64_t size() const noexcept override { return mState.size; }

    /// The version is made of size and time of writing.
    SourceIdentity identity() const override;

    [[nodiscard]] bool read(std::span<const ByteRange> ranges, const std::stop_token& stopToken)
        const override;

    /// As it was given.
    const std::filesystem::path& path() const noexcept { return mPath; }

private:
#if defined(_WIN32)
    using NativeFile = void*;
#else
    using NativeFile = int;
#endif

    /// What differs when a file was changed.
    struct State
    {
        std::uint64_t size = 0;
        std::uint64_t writtenAt = 0;  // in the system's units

        friend bool operator==(const State&, const State&) = default;
    };

    static NativeFile openForReading(const std::filesystem::path& path);
    static State stateOf(NativeFile file);
    static bool isRegular(NativeFile file);
    std::size_t readSome(std::uint64_t offset, std::span<std::byte> out) const;

    bool readRange(const ByteRange& range, const std::stop_token& stopToken) const;
    void checkUnchanged(const ByteRange& range) const;

    std::filesystem::path mPath;
    NativeFile mFile;
    State mState;
#if defined(_WIN32)
    mutable std::mutex mCursorMutex;  // guards the file's cursor
#endif
};
}  // namespace Core
