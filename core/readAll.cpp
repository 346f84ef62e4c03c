#include "core/readAll.h"

#include "core/ByteSource.h"

#include <span>
#include <stdexcept>

namespace Core
{
std::optional<std::string> readAll(
    const ByteSource& source, std::uint64_t maxSizeInBytes, const std::stop_token& stopToken
)
{
    const std::uint64_t size = source.size();
    std::string bytes;
    if (size > maxSizeInBytes || size > bytes.max_size())
    {
        throw std::runtime_error(
            "Error: " + source.name() + " is too large: " + std::to_string(size) + " bytes, at most " +
            std::to_string(maxSizeInBytes) + " expected"
        );
    }
    bytes.resize(static_cast<std::size_t>(size));
    if (!source.readAt(0, std::as_writable_bytes(std::span(bytes)), stopToken))
    {
        return std::nullopt;
    }
    return bytes;
}
}  // namespace Core
