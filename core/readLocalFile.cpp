#include "core/readLocalFile.h"

#include "core/PositionalFile.h"
#include "core/toUtf8.h"

#include <span>
#include <stdexcept>

namespace Core
{
std::string readLocalFile(const std::filesystem::path& path, std::uint64_t maxSizeInBytes)
{
    const PositionalFile file(path);
    const std::uint64_t size = file.size();
    std::string bytes;
    if (size > maxSizeInBytes || size > bytes.max_size())
    {
        throw std::runtime_error(
            "Error: " + toUtf8(path) + " is too large: " + std::to_string(size) + " bytes, at most " +
            std::to_string(maxSizeInBytes) + " expected"
        );
    }
    bytes.resize(static_cast<std::size_t>(size));
    file.readAt(0, std::as_writable_bytes(std::span(bytes)));
    return bytes;
}
}  // namespace Core
