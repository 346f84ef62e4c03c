#include "core/http/HttpHead.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace Core
{
namespace
{
constexpr std::size_t kLongestValue = 256;
constexpr auto kLargestNumber = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
constexpr std::string_view kBytes = "bytes ";

char lower(char letter) noexcept
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSameIgnoringCase(std::string_view left, std::string_view right)
{
    return std::ranges::equal(left, right, {}, lower, lower);
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlank = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(kBlank);
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(kBlank) + 1 - begin);
}

std::optional<std::uint64_t> number(std::string_view text)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value <= kLargestNumber
               ? std::optional(value)
               : std::nullopt;
}
}  // namespace

void HttpHead::set(std::string& field, std::string_view value)
{
    value = value.substr(0, kLongestValue);
    if (!field.empty() && field != value)
    {
        mIsContradictory = true;
    }
    field = value;
}

void HttpHead::add(std::string_view line)
{
    const std::size_t numBytes = mNumBytes + line.size();
    if (line.starts_with("HTTP/"))
    {
        *this = HttpHead();
        const std::size_t blank = line.find(' ');
        const std::optional<std::uint64_t> status =
            blank == std::string_view::npos ? std::nullopt : number(trimmed(line.substr(blank)).substr(0, 3));
        mStatus = status ? static_cast<int>(*status) : 0;
    }
    mNumBytes = numBytes;
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
    {
        return;
    }
    const std::string_view name = line.substr(0, colon);
    const std::string_view value = trimmed(line.substr(colon + 1));
    const auto take = [&](std::string_view expected, std::string& field)
    {
        if (isSameIgnoringCase(name, expected))
        {
            set(field, value);
        }
    };
    take("content-length", mContentLength);
    take("content-range", mContentRange);
    take("content-encoding", mContentEncoding);
    take("retry-after", mRetryAfter);
    take("etag", mEtag);
    take("last-modified", mLastModified);
}

std::optional<std::uint64_t> HttpHead::contentLength() const
{
    return number(mContentLength);
}

std::optional<HttpHead::Range> HttpHead::contentRange() const
{
    std::string_view text = mContentRange;
    const std::size_t dash = text.find('-');
    const std::size_t slash = text.find('/');
    if (!isSameIgnoringCase(text.substr(0, kBytes.size()), kBytes) || dash == std::string_view::npos ||
        slash == std::string_view::npos || dash > slash)
    {
        return std::nullopt;
    }
    const auto first = number(text.substr(kBytes.size(), dash - kBytes.size()));
    const auto last = number(text.substr(dash + 1, slash - dash - 1));
    const std::string_view totalText = text.substr(slash + 1);
    const auto total = number(totalText);
    if (!first || !last || *first > *last || (!total && totalText != "*") || (total && *last >= *total))
    {
        return std::nullopt;
    }
    return Range{*first, *last, total};
}

std::optional<std::uint64_t> HttpHead::sizeWithoutRange() const
{
    constexpr std::string_view kNoRange = "bytes */";
    const std::string_view text = mContentRange;
    return isSameIgnoringCase(text.substr(0, kNoRange.size()), kNoRange)
               ? number(text.substr(kNoRange.size()))
               : std::nullopt;
}

bool HttpHead::isEncoded() const
{
    return !mContentEncoding.empty() && !isSameIgnoringCase(mContentEncoding, "identity");
}

std::optional<std::uint64_t> HttpHead::retryAfterSeconds() const
{
    return number(mRetryAfter);
}
}  // namespace Core
