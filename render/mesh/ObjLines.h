#pragma once

#include "core/LocalFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace Render
{
/// The lines of an OBJ file as the OBJ library may see them.
///
/// What has no meaning for triangles becomes a comment: tags and weights of vertices, of which the library
/// takes as much memory as a line asks for, smoothing groups, and everything about materials. Exponents
/// beyond any number are shortened, they would overflow. The text ends before a line that would cost too much
/// or could not be read: failure() then says why.
///
/// Memory   two of the longest lines, whatever the file holds.
/// Threads  one at a time.
class ObjLines : public std::streambuf
{
public:
    /// @throws std::runtime_error  naming the path when it cannot be opened or is no regular file
    explicit ObjLines(const std::filesystem::path& path);

    /// What is wrong with the line at which the text ended, and its number; empty when nothing is.
    const std::string& failure() const noexcept { return mFailure; }

    /// Names of the first few material files that the lines so far asked for, each once.
    const std::vector<std::string>& materialFiles() const noexcept { return mMaterialFiles; }

protected:
    int_type underflow() override;

private:
    /// The next line with its end, still in the buffer; empty at the end of the file and after a failure.
    std::span<char> nextLine();

    bool hasMore() const noexcept { return mOffset < mSize; }

    void readMore();
    /// Position of the first such character in the buffer from there on, mEnd when there is none.
    std::size_t find(char c, std::size_t begin) const;

    void tame(std::span<char> line);
    void checkIndices(std::string_view indices, bool isFace);
    void keepMaterialFiles(std::string_view names);
    void fail(const std::string& reason);

    Core::LocalFile mFile;
    std::uint64_t mSize;        // of the file when it was opened, bytes
    std::uint64_t mOffset = 0;  // of the next byte to read
    std::vector<char> mBuffer;
    std::size_t mBegin = 0;  // of what is read and not handed out yet
    std::size_t mEnd = 0;
    std::size_t mFeed = 0;  // the first line feed from mBegin on, or mEnd; looked for again once it is passed
    std::size_t mReturn = 0;  // the same of carriage returns
    std::size_t mLine = 0;    // number of the line that was handed out last, from 1
    std::string mFailure;
    std::vector<std::string> mMaterialFiles;
};
}  // namespace Render
