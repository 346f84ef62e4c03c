#include "core/ByteSource.h"

#include <limits>
#include <stdexcept>

namespace Core
{
ByteSource::~ByteSource() = default;

bool ByteSource::expect(std::uint64_t, std::size_t, Turn) const noexcept
{
    return true;
}

void ByteSource::forget(std::uint64_t, std::size_t) const noexcept {}

bool ByteSource::readAt(std::uint64_t offset, std::span<std::byte> out, const std::stop_token& stopToken)
    const
{
    const ByteRange range{offset, out};
    return read({&range, 1}, stopToken);
}

void ByteSource::failRead(std::uint64_t offset, std::size_t length, const std::string& reason) const
{
    throw std::runtime_error(
        "Error: cannot read " + std::to_string(length) + " bytes at " + std::to_string(offset) + " of " +
        name() + ": " + reason
    );
}

void ByteSource::checkPossible(std::uint64_t offset, std::size_t length) const
{
    constexpr auto kLargestOffset = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (offset > kLargestOffset || length > kLargestOffset - offset)
    {
        failRead(offset, length, "no file is that long");
    }
}
}  // namespace Core
