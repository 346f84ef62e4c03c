#include "render/mesh/ObjLines.h"

#include "core/errorReason.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace Render
{
namespace
{
constexpr std::size_t kLongestLine = std::size_t{1}
                                     << 20U;  // bytes; a face of most corners takes some ten thousand

// Cutting a face into triangles takes the library at least the square of its corners.
constexpr std::size_t kMostCornersPerFace = 1000;

constexpr std::size_t kMostMaterialFiles = 8;
constexpr std::size_t kLongestFileName = 255;  // of common file systems

constexpr std::string_view kBlanks = " \t";

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Replaces the digits of exponents of more than four by 9999, which is beyond any number as well.
void shortenExponents(std::span<char> line)
{
    constexpr std::size_t kMostDigits = 4;
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        if ((line[i] != 'e' && line[i] != 'E') || !(isDigit(line[i - 1]) || line[i - 1] == '.'))
        {
            continue;
        }
        std::size_t begin = i + 1;
        if (begin < line.size() && (line[begin] == '+' || line[begin] == '-'))
        {
            ++begin;
        }
        std::size_t end = begin;
        while (end < line.size() && isDigit(line[end]))
        {
            ++end;
        }
        const auto digits = line.subspan(begin, end - begin);
        const auto leadingZeros =
            std::ranges::find_if(digits, [](char c) { return c != '0'; }) - digits.begin();
        if (digits.size() - static_cast<std::size_t>(leadingZeros) > kMostDigits)
        {
            std::ranges::fill(digits, '0');
            std::ranges::fill(digits.last(kMostDigits), '9');
        }
        i = std::max(i, end - 1);
    }
}
}  // namespace

ObjLines::ObjLines(const std::filesystem::path& path)
    : mFile(path), mSize(mFile.size()), mBuffer(2 * kLongestLine)
{
}

ObjLines::int_type ObjLines::underflow()
{
    const std::span<char> line = nextLine();
    if (line.empty())
    {
        return traits_type::eof();
    }
    tame(line);
    if (!mFailure.empty())
    {
        return traits_type::eof();
    }
    setg(line.data(), line.data(), line.data() + line.size());
    return traits_type::to_int_type(line.front());
}

std::span<char> ObjLines::nextLine()
{
    if (!mFailure.empty())
    {
        return {};
    }
    for (;;)
    {
        mFeed = mFeed < mBegin ? find('\n', mBegin) : mFeed;
        mReturn = mReturn < mBegin ? find('\r', mBegin) : mReturn;
        const std::size_t end = std::min(mFeed, mReturn);
        // After a carriage return at the end of the buffer a line feed may follow.
        const bool isWhole = end < mEnd && (end == mFeed || end + 1 < mEnd);
        if (isWhole || !hasMore() || mEnd - mBegin > kLongestLine)
        {
            break;
        }
        readMore();
        if (!mFailure.empty())
        {
            return {};
        }
    }
    const std::size_t end = std::min(mFeed, mReturn);
    if (mBegin < mEnd)
    {
        ++mLine;
    }
    if (end - mBegin > kLongestLine)
    {
        fail("has a line of more than " + std::to_string(kLongestLine) + " bytes");
        return {};
    }
    const std::size_t begin = mBegin;
    mBegin = std::min(end + (end == mReturn && mFeed == end + 1 ? 2 : 1), mEnd);
    return std::span(mBuffer).subspan(begin, mBegin - begin);
}

void ObjLines::readMore()
{
    std::memmove(mBuffer.data(), mBuffer.data() + mBegin, mEnd - mBegin);
    for (std::size_t* const position : {&mEnd, &mFeed, &mReturn})
    {
        *position -= mBegin;
    }
    mBegin = 0;
    const std::size_t oldEnd = mEnd;
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(mBuffer.size() - mEnd, mSize - mOffset));
    try
    {
        // never false, for nobody asks for a stop
        static_cast<void>(
            mFile.readAt(mOffset, std::as_writable_bytes(std::span(mBuffer).subspan(mEnd, count)))
        );
    }
    catch (const std::runtime_error& error)
    {
        mFailure = Core::errorReason(error.what());
    }
    mOffset += count;
    mEnd += count;
    mFeed = mFeed == oldEnd ? find('\n', oldEnd) : mFeed;
    mReturn = mReturn == oldEnd ? find('\r', oldEnd) : mReturn;
}

std::size_t ObjLines::find(char c, std::size_t begin) const
{
    const void* const found = begin < mEnd ? std::memchr(mBuffer.data() + begin, c, mEnd - begin) : nullptr;
    return found != nullptr ? static_cast<std::size_t>(static_cast<const char*>(found) - mBuffer.data())
                            : mEnd;
}

void ObjLines::tame(std::span<char> line)
{
    const std::string_view text(line.data(), line.size());
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
    {
        return;
    }
    const std::string_view content = text.substr(begin);
    const auto isCommand = [content](std::string_view name)
    { return content.size() > name.size() && content.starts_with(name) && isBlank(content[name.size()]); };

    if (isCommand("v") || isCommand("vn") || isCommand("vt"))
    {
        shortenExponents(line.subspan(begin));
    }
    else if (isCommand("f") || isCommand("l") || isCommand("p"))
    {
        checkIndices(content.substr(1), content.front() == 'f');
    }
    else
    {
        if (isCommand("mtllib"))
        {
            keepMaterialFiles(content.substr(content.find_first_of(kBlanks)));
        }
        if (isCommand("mtllib") || content.starts_with("usemtl") || isCommand("vw") || isCommand("t") ||
            isCommand("s"))
        {
            line[begin] = '#';
        }
    }
}

void ObjLines::checkIndices(std::string_view indices, bool isFace)
{
    std::size_t cornerCount = 0;
    const char* const end = indices.data() + indices.size();
    for (const char* c = indices.data(); c != end;)
    {
        const bool followsBlank = c != indices.data() && isBlank(c[-1]);
        if (followsBlank && !isBlank(*c) && *c != '\r' && *c != '\n' && ++cornerCount > kMostCornersPerFace &&
            isFace)
        {
            fail("has a face of more than " + std::to_string(kMostCornersPerFace) + " corners");
            return;
        }
        if (!isDigit(*c))
        {
            ++c;
            continue;
        }
        int index = 0;
        const auto [stop, error] = std::from_chars(c, end, index);
        if (error != std::errc())
        {
            fail("has an index above " + std::to_string(std::numeric_limits<int>::max()));
            return;
        }
        c = stop;
    }
}

// A blank within a name stands behind a backslash.
void ObjLines::keepMaterialFiles(std::string_view names)
{
    constexpr std::string_view kBetween = " \t\r\n";
    while (mMaterialFiles.size() < kMostMaterialFiles)
    {
        names.remove_prefix(std::min(names.find_first_not_of(kBetween), names.size()));
        if (names.empty())
        {
            return;
        }
        std::string name;
        for (; !names.empty() && kBetween.find(names.front()) == std::string_view::npos;
             names.remove_prefix(1))
        {
            if (names.starts_with("\\ "))
            {
                names.remove_prefix(1);
            }
            if (name.size() < kLongestFileName)
            {
                name += names.front();
            }
        }
        if (std::ranges::find(mMaterialFiles, name) == mMaterialFiles.end())
        {
            mMaterialFiles.push_back(std::move(name));
        }
    }
}

void ObjLines::fail(const std::string& reason)
{
    mFailure = reason + " in line " + std::to_string(mLine);
}
}  // namespace Render
