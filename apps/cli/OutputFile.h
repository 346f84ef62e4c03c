#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace Cli
{
/// A file that is written bit by bit and takes its name only when it is complete.
///
/// Until then the bytes lie in a file of another name in the same folder, which goes away with the object.
/// Every operation throws std::runtime_error naming the path and the reason.
class OutputFile
{
public:
    explicit OutputFile(const std::filesystem::path& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Adds bytes at the end.
    void write(std::string_view bytes);

    /// Replaces bytes that have been written.
    void rewrite(std::uint64_t offset, std::string_view bytes);

    /// Gives the file its name; nothing can be written after that.
    void commit();

private:
    [[noreturn]] void fail(const std::string& reason) const;
    void check() const;

    std::filesystem::path mPath;
    std::filesystem::path mTemporaryPath;
    std::ofstream mStream;
};

/// Fails as OutputFile does where a file of that name cannot be written; leaves everything as it is. For files that
/// others write after long work.
void requireWritable(const std::filesystem::path& path);
}  // namespace Cli
