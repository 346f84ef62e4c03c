#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The file format written and read a second time, straight from its definition, to check the library's PNG
/// by.
/// Source  ISO/IEC 15948:2004; not interlaced only.
namespace PlainPng
{
struct Header
{
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint8_t bitDepth = 8;
    std::uint8_t colorType = 6;  ///< 0 grey, 2 colour, 3 palette, 4 grey and alpha, 6 colour and alpha
};

/// What was read: the header, and the samples as the file keeps them, rows without filter bytes.
struct Picture
{
    Header header;
    std::string bytes;
};

/// The eight bytes every file begins with.
std::string signature();

/// A chunk with its length and check sum.
std::string chunk(std::string_view type, std::string_view data);

std::string headerChunk(const Header& header);

/// The pixel chunk; every row begins with its filter number.
std::string pixelChunk(std::string_view filteredRows);

/// A whole file whose rows are stored unfiltered.
/// @param bytes  the samples as the file keeps them, most significant byte first
std::string file(const Header& header, std::string_view bytes);

/// Reads a whole file and checks the order of the chunks and all check sums.
/// @throws std::runtime_error  saying what is wrong
Picture read(std::string_view file);
}  // namespace PlainPng
