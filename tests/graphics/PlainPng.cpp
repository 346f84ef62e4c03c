#include "tests/graphics/PlainPng.h"

#include <zlib.h>

#include <cstdlib>
#include <stdexcept>

namespace PlainPng
{
namespace
{
const Bytef* zlibBytes(std::string_view bytes)
{
    return reinterpret_cast<const Bytef*>(bytes.data());
}

std::string bigEndian(std::uint32_t value)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        bytes.push_back(static_cast<char>(value >> static_cast<unsigned int>(shift) & 0xFFU));
    }
    return bytes;
}

std::uint32_t fromBigEndian(std::string_view bytes)
{
    std::uint32_t value = 0;
    for (const char byte : bytes.substr(0, 4))
    {
        value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
}

std::uint32_t checkSum(std::string_view bytes)
{
    return static_cast<std::uint32_t>(
        crc32(crc32(0, nullptr, 0), zlibBytes(bytes), static_cast<uInt>(bytes.size()))
    );
}

std::size_t bitsPerPixel(const Header& header)
{
    const std::size_t channels[] = {1, 0, 3, 1, 2, 0, 4};
    return channels[header.colorType] * header.bitDepth;
}

std::size_t rowSize(const Header& header)
{
    return (header.width * bitsPerPixel(header) + 7) / 8;
}

void require(bool condition, const char* what)
{
    if (!condition)
    {
        throw std::runtime_error(what);
    }
}

/// The predictor of the fourth filter: whichever neighbour is nearest to left + above - corner.
unsigned int paeth(unsigned int left, unsigned int above, unsigned int corner)
{
    const int estimate = static_cast<int>(left) + static_cast<int>(above) - static_cast<int>(corner);
    const int toLeft = std::abs(estimate - static_cast<int>(left));
    const int toAbove = std::abs(estimate - static_cast<int>(above));
    const int toCorner = std::abs(estimate - static_cast<int>(corner));
    if (toLeft <= toAbove && toLeft <= toCorner)
    {
        return left;
    }
    return toAbove <= toCorner ? above : corner;
}

std::string unfiltered(const Header& header, std::string_view filtered)
{
    const std::size_t size = rowSize(header);
    const std::size_t step = (bitsPerPixel(header) + 7) / 8;
    std::string bytes;
    for (std::size_t y = 0; y < header.height; ++y)
    {
        const int filter = filtered[y * (size + 1)];
        for (std::size_t i = 0; i < size; ++i)
        {
            const auto at = [&](std::size_t row, std::size_t column)
            { return static_cast<unsigned int>(static_cast<unsigned char>(bytes[row * size + column])); };
            const unsigned int left = i >= step ? at(y, i - step) : 0;
            const unsigned int above = y > 0 ? at(y - 1, i) : 0;
            const unsigned int corner = i >= step && y > 0 ? at(y - 1, i - step) : 0;
            const unsigned int predictions[] = {
                0, left, above, (left + above) / 2, paeth(left, above, corner)};
            require(filter >= 0 && filter <= 4, "unknown filter");
            const unsigned int value = static_cast<unsigned char>(filtered[y * (size + 1) + 1 + i]);
            bytes.push_back(static_cast<char>((value + predictions[filter]) & 0xFFU));
        }
    }
    return bytes;
}
}  // namespace

std::string signature()
{
    return "\x89PNG\r\n\x1A\n";
}

std::string chunk(std::string_view type, std::string_view data)
{
    const std::string checked = std::string(type) + std::string(data);
    return bigEndian(static_cast<std::uint32_t>(data.size())) + checked + bigEndian(checkSum(checked));
}

std::string headerChunk(const Header& header)
{
    std::string data = bigEndian(header.width) + bigEndian(header.height);
    data.push_back(static_cast<char>(header.bitDepth));
    data.push_back(static_cast<char>(header.colorType));
    data.append(3, '\0');  // deflate, adaptive filters, not interlaced
    return chunk("IHDR", data);
}

std::string pixelChunk(std::string_view filteredRows)
{
    uLongf size = compressBound(static_cast<uLong>(filteredRows.size()));
    std::string packed(size, '\0');
    const int result = compress(
        reinterpret_cast<Bytef*>(packed.data()),
        &size,
        zlibBytes(filteredRows),
        static_cast<uLong>(filteredRows.size())
    );
    require(result == Z_OK, "cannot compress");
    packed.resize(size);
    return chunk("IDAT", packed);
}

std::string file(const Header& header, std::string_view bytes)
{
    const std::size_t size = rowSize(header);
    std::string rows;
    for (std::size_t y = 0; y < header.height; ++y)
    {
        rows.push_back('\0');
        rows += bytes.substr(y * size, size);
    }
    return signature() + headerChunk(header) + pixelChunk(rows) + chunk("IEND", "");
}

Picture read(std::string_view file)
{
    require(file.substr(0, 8) == signature(), "no signature");
    Picture picture;
    std::string packed;
    std::string lastType;
    std::size_t position = 8;
    while (position < file.size())
    {
        require(file.size() - position >= 12, "cut chunk");
        const std::size_t length = fromBigEndian(file.substr(position));
        require(file.size() - position - 12 >= length, "chunk too long");
        const std::string_view checked = file.substr(position + 4, length + 4);
        require(fromBigEndian(file.substr(position + 8 + length)) == checkSum(checked), "wrong check sum");
        const std::string_view data = checked.substr(4);
        lastType = checked.substr(0, 4);
        if (position == 8)
        {
            require(lastType == "IHDR" && length == 13, "no header first");
            picture.header.width = fromBigEndian(data);
            picture.header.height = fromBigEndian(data.substr(4));
            picture.header.bitDepth = static_cast<std::uint8_t>(data[8]);
            picture.header.colorType = static_cast<std::uint8_t>(data[9]);
            require(data.substr(10) == std::string_view("\0\0\0", 3), "interlaced or unknown method");
        }
        else if (lastType == "IDAT")
        {
            packed += data;
        }
        position += length + 12;
    }
    require(lastType == "IEND", "no end");

    const std::size_t size = (rowSize(picture.header) + 1) * picture.header.height;
    std::string rows(size + 1, '\0');  // room to notice a byte too many
    auto unpackedSize = static_cast<uLongf>(rows.size());
    const int result = uncompress(
        reinterpret_cast<Bytef*>(rows.data()),
        &unpackedSize,
        zlibBytes(packed),
        static_cast<uLong>(packed.size())
    );
    require(result == Z_OK && unpackedSize == size, "pixels do not unpack to their size");
    picture.bytes = unfiltered(picture.header, rows);
    return picture;
}
}  // namespace PlainPng
