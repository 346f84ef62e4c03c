#pragma once

#include "core/Export.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Core
{
/// The head of a response: its status, and those header fields that we ask about. Nothing of it can be
/// trusted but for its form.
///
/// Threads  a plain value.
class CORE_API HttpHead
{
public:
    /// More bytes of head than any honest server sends.
    static constexpr std::size_t kMostBytes = std::size_t{64} << 10U;

    /// What a "Content-Range" field says.
    struct Range
    {
        std::uint64_t first = 0;             ///< first byte of the file that the body has
        std::uint64_t last = 0;              ///< last one, not below the first
        std::optional<std::uint64_t> total;  ///< size of the file, above the last one; absent when not said

        friend bool operator==(const Range&, const Range&) = default;
    };

    /// Takes the next line. A status line begins anew, as it does after an interim response.
    void add(std::string_view line);

    /// 0 before there is one.
    int status() const noexcept { return mStatus; }

    /// Of all lines, those of interim responses too.
    std::size_t numBytes() const noexcept { return mNumBytes; }

    /// True when a field came twice with different values.
    bool isContradictory() const noexcept { return mIsContradictory; }

    /// Number of bytes of the body; nothing when the head does not say, or says no number.
    std::optional<std::uint64_t> contentLength() const;

    /// Nothing when there is no such field or it is no range of bytes.
    std::optional<Range> contentRange() const;

    /// The size that a response without the range tells ("bytes */1234").
    std::optional<std::uint64_t> sizeWithoutRange() const;

    /// True when the body is not the file's bytes but something made from them.
    bool isEncoded() const;

    /// Whole seconds; nothing when there is no such field or it is a date.
    std::optional<std::uint64_t> retryAfterSeconds() const;

    /// Empty without such a field; at most 256 bytes.
    const std::string& etag() const noexcept { return mEtag; }

    const std::string& lastModified() const noexcept { return mLastModified; }

private:
    void set(std::string& field, std::string_view value);

    int mStatus = 0;
    std::size_t mNumBytes = 0;
    bool mIsContradictory = false;
    std::string mContentLength;
    std::string mContentRange;
    std::string mContentEncoding;
    std::string mRetryAfter;
    std::string mEtag;
    std::string mLastModified;
};
}  // namespace Core
