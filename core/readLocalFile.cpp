#include "core/readLocalFile.h"

#include "core/LocalFile.h"
#include "core/readAll.h"

namespace Core
{
std::string readLocalFile(const std::filesystem::path& path, std::uint64_t maxSizeInBytes)
{
    return *readAll(LocalFile(path), maxSizeInBytes);  // nobody asks for a stop
}
}  // namespace Core
