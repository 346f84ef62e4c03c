#include "samples/writeFile.h"

#include <fstream>
#include <stdexcept>

namespace Samples
{
void writeFile(const std::filesystem::path& path, std::string_view bytes)
{
    writeFile(path, std::span(&bytes, 1));
}

void writeFile(const std::filesystem::path& path, std::span<const std::string_view> pieces)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    for (const std::string_view piece : pieces)
    {
        file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
    }
    file.close();
    if (!file)
    {
        throw std::runtime_error("Cannot write " + path.string());
    }
}
}  // namespace Samples
