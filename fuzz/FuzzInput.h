#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Fuzz
{
/// Thrown where the library has not kept what it promises. Whatever it throws for bad input is no such thing.
class BrokenPromise
{
public:
    explicit BrokenPromise(std::string what) : mWhat(std::move(what)) {}

    const std::string& what() const noexcept { return mWhat; }

private:
    std::string mWhat;
};

/// One input as several files: a byte with the number of a file, three with its length, lowest first, its
/// bytes, and so on. Every sequence of bytes is one: numbers count modulo, lengths end with the input, later
/// files replace earlier ones.
template <std::size_t kCount>
std::array<std::optional<std::string_view>, kCount> filesOf(std::string_view input)
{
    std::array<std::optional<std::string_view>, kCount> files;
    constexpr std::size_t kHead = 4;
    while (input.size() >= kHead)
    {
        const auto byte = [input](std::size_t i)
        { return std::size_t{static_cast<unsigned char>(input[i])}; };
        const std::size_t file = byte(0) % kCount;
        const std::size_t length = byte(1) | byte(2) << 8U | byte(3) << 16U;
        input.remove_prefix(kHead);
        files[file] = input.substr(0, length);
        input.remove_prefix(files[file]->size());
    }
    return files;
}

/// The inverse, for seeds.
inline std::string inputOf(const std::vector<std::string>& files)
{
    std::string input;
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        input += static_cast<char>(i);
        for (const unsigned shift : {0U, 8U, 16U})
        {
            input += static_cast<char>(files[i].size() >> shift & 0xFFU);
        }
        input += files[i];
    }
    return input;
}

/// The text of an exception is short, on one line, and free of control characters.
/// @throws BrokenPromise  otherwise
void checkMessage(std::string_view text);
}  // namespace Fuzz
