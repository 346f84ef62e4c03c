#pragma once

#include "core/Export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace Core
{
/// A file opened for reading at given positions; it has no read cursor, so threads do not disturb one
/// another.
///
/// Threads  readAt() from several threads at once.
class CORE_API PositionalFile
{
public:
    /// @throws std::runtime_error  naming the path when it cannot be opened or is a folder
    explicit PositionalFile(std::filesystem::path path);
    ~PositionalFile();
    /// Takes the open file over; the other may only be destroyed or assigned to.
    PositionalFile(PositionalFile&&) noexcept;
    PositionalFile& operator=(PositionalFile&&) noexcept;

    /// Size in bytes now; a file may shrink or grow while it is open.
    /// @throws std::runtime_error  naming the path when it cannot be asked
    std::uint64_t size() const;

    /// Fills `out` with the bytes from `offset` on.
    /// @throws std::runtime_error  naming path, offset and length when the file ends before or the read fails
    void readAt(std::uint64_t offset, std::span<std::byte> out) const;

    /// As it was opened.
    const std::filesystem::path& path() const noexcept;

private:
    struct Handle;
    std::unique_ptr<Handle> mHandle;
};
}  // namespace Core
