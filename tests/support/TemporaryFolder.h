#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

/// An empty folder for one test, removed with all its content at the end of the scope.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::random_device random;
        const std::uint64_t number = (std::uint64_t{random()} << 32U) | random();
        mPath = std::filesystem::temp_directory_path() / ("tarnel-test-" + std::to_string(number));
        std::filesystem::create_directories(mPath);
    }

    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return mPath; }

    /// Writes a file of the folder.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view bytes) const
    {
        const std::filesystem::path file = mPath / name;
        std::ofstream stream(file, std::ios::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        stream.close();
        if (!stream)
        {
            throw std::runtime_error("cannot write a file of the test");
        }
        return file;
    }

    /// The bytes of any file.
    static std::string read(const std::filesystem::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        if (!stream)
        {
            throw std::runtime_error("cannot read a file of the test");
        }
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    /// Number of entries directly in the folder.
    std::size_t entryCount() const
    {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(mPath), std::filesystem::directory_iterator())
        );
    }

private:
    std::filesystem::path mPath;
};
