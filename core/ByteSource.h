#pragma once

#include "core/Export.h"
#include "core/NonCopyable.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <stop_token>
#include <string>

namespace Core
{
/// A piece of a source, and where its bytes go.
struct ByteRange
{
    std::uint64_t offset = 0;  ///< of the first byte, from the source's beginning
    std::span<std::byte> out;  ///< as many bytes as there are to read
};

/// Where what is expected stands among all that is.
enum class Turn
{
    Behind,  ///< after what was expected before
    First,   ///< before all that is to wait: what else is read depends on it
};

/// What tells the content of one source from that of another, now and in later runs: a key for caches.
struct SourceIdentity
{
    std::string name;     ///< the source's path or address
    std::string version;  ///< differs when the content under that name does

    /// True when the content is the same.
    friend bool operator==(const SourceIdentity&, const SourceIdentity&) = default;
};

/// Bytes that are read at given positions, wherever they lie. There is no cursor, so threads do not disturb
/// one another.
///
/// An opened source has the same size and bytes for all its life: one that finds its bytes changed, as a
/// local file can be by others, fails. Errors are std::runtime_error, naming the source, the place and the
/// reason.
///
/// Threads  all operations from any threads at once.
class CORE_API ByteSource : private NonCopyable
{
public:
    virtual ~ByteSource();

    /// The path or address for messages, without anything secret.
    virtual std::string name() const = 0;

    /// In bytes; known since the source was opened.
    virtual std::uint64_t size() const noexcept = 0;

    /// What caches find its content by.
    virtual SourceIdentity identity() const = 0;

    /// Fills each range with the bytes from its offset on. A source for which every access takes time may
    /// join ranges that lie together, and have several on their way at once.
    /// @param stopToken  looked at before and within the read; how soon is the source's affair
    /// @return false when a stop was requested; what the ranges hold is then unspecified
    /// @throws std::runtime_error  when the source ends before the end of a range, has changed, or cannot be
    /// read
    [[nodiscard]] virtual bool read(std::span<const ByteRange> ranges, const std::stop_token& stopToken)
        const = 0;

    /// Says that these bytes will soon be read, in one range. A source for which every access takes time gets
    /// them on their way, as far as it has room, and gives them to the next read of just this range; others do
    /// nothing. Does not wait, and does not fail: the read will.
    /// @return false while the read would wait for what is on its way; then this can be said again to ask
    virtual bool expect(std::uint64_t offset, std::size_t length, Turn turn = Turn::Behind) const noexcept;

    /// Takes that back.
    virtual void forget(std::uint64_t offset, std::size_t length) const noexcept;

    /// read() for one range.
    [[nodiscard]] bool readAt(
        std::uint64_t offset, std::span<std::byte> out, const std::stop_token& stopToken = {}
    ) const;

protected:
    ByteSource() = default;

    /// Throws the error for a range that cannot be read.
    [[noreturn]] void failRead(std::uint64_t offset, std::size_t length, const std::string& reason) const;

    /// @throws std::runtime_error  when no source can reach as far as the range does
    void checkPossible(std::uint64_t offset, std::size_t length) const;
};
}  // namespace Core
