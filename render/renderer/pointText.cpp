#include "render/renderer/pointText.h"

#include "core/replaceFile.h"
#include "render/platform/systemLineEnd.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <system_error>

namespace Render
{
namespace
{
constexpr int kSignificantDigits = 7;
constexpr std::size_t kLongestFloat = 16;  // "-1.234567e-38" and some room
constexpr std::size_t kTypicalLine = 48;   // room reserved per line

void appendChannel(std::string& text, unsigned char value)
{
    std::array<char, 3> digits;
    const std::to_chars_result result =
        std::to_chars(digits.data(), digits.data() + digits.size(), int{value});
    text.append(digits.data(), result.ptr);
}
}  // namespace

void appendFloat(std::string& text, float value)
{
    if (std::isnan(value))
    {
        text += "nan";  // whatever its sign bit, which streams treat differently
        return;
    }
    std::array<char, kLongestFloat> digits;
    const std::to_chars_result result = std::to_chars(
        digits.data(), digits.data() + digits.size(), value, std::chars_format::general, kSignificantDigits
    );
    text.append(digits.data(), result.ptr);
}

void appendPointLines(std::string& text, std::span<const VertexPosColor> points, std::string_view lineEnd)
{
    for (const VertexPosColor& point : points)
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            appendFloat(text, point.position[axis]);
            text += ' ';
        }
        appendChannel(text, point.color.r());
        for (const unsigned char channel : {point.color.g(), point.color.b(), point.color.a()})
        {
            text += ' ';
            appendChannel(text, channel);
        }
        text += lineEnd;
    }
}

bool canOpenForWriting(const std::filesystem::path& path)
{
    std::error_code error;
    if (std::filesystem::exists(path, error))
    {
        return std::fstream(path, std::ios::in | std::ios::out).is_open();
    }
    const bool isOpen = std::ofstream(path).is_open();
    std::filesystem::remove(path, error);
    return isOpen;
}

void writePointText(const std::filesystem::path& path, std::span<const VertexPosColor> points)
{
    std::string text(kPointTextHeader);
    text += kSystemLineEnd;
    text.reserve(text.size() + points.size() * kTypicalLine);
    appendPointLines(text, points, kSystemLineEnd);
    Core::replaceFile(path, std::as_bytes(std::span(text)));
}
}  // namespace Render
