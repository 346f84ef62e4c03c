#include "fuzz/FuzzFolder.h"

#include "fuzz/FuzzInput.h"

#include <cstdint>
#include <fstream>
#include <random>
#include <stdexcept>
#include <system_error>

namespace Fuzz
{
FuzzFolder::FuzzFolder()
{
    std::random_device random;
    const std::uint64_t number = std::uint64_t{random()} << 32U | random();
    const std::filesystem::path inMemory = "/dev/shm";
    std::error_code ignored;
    mPath = (std::filesystem::is_directory(inMemory, ignored) ? inMemory
                                                              : std::filesystem::temp_directory_path()) /
            ("tarnel-fuzz-" + std::to_string(number));
    std::filesystem::create_directories(mPath);
}

FuzzFolder::~FuzzFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

void FuzzFolder::write(const std::string& name, std::string_view bytes) const
{
    std::ofstream file(mPath / name, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
    {
        throw std::runtime_error("cannot write a file of the input");
    }
}

void checkMessage(std::string_view text)
{
    constexpr std::size_t kLongest = 600;
    if (text.ends_with('\n'))  // as messages about meshes do
    {
        text.remove_suffix(1);
    }
    if (text.size() > kLongest)
    {
        throw BrokenPromise("a message of " + std::to_string(text.size()) + " bytes");
    }
    for (const char c : text)
    {
        if (static_cast<unsigned char>(c) < 0x20 || c == '\x7F')
        {
            throw BrokenPromise("a control character in a message: " + std::string(text));
        }
    }
    const std::string_view own =
        text.substr(0, text.find_first_of("'\""));  // what is quoted may say anything
    if (own.find("Error: ", 1) != std::string_view::npos)
    {
        throw BrokenPromise("Error said twice: " + std::string(text));
    }
}
}  // namespace Fuzz
