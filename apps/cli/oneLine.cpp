#include "apps/cli/oneLine.h"

#include <cstddef>

namespace Cli
{
namespace
{
/// Number of bytes of the control character at the beginning of a text, 0 when there is none.
std::size_t controlLength(std::string_view text)
{
    const auto byte = [text](std::size_t i)
    { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    if (byte(0) < 0x20U || byte(0) == 0x7FU)
    {
        return 1;
    }
    if (byte(0) == 0xC2U && byte(1) >= 0x80U && byte(1) <= 0x9FU)
    {
        return 2;  // U+0080 to U+009F
    }
    if (byte(0) == 0xE2U && byte(1) == 0x80U && (byte(2) == 0xA8U || byte(2) == 0xA9U))
    {
        return 3;  // U+2028 and U+2029
    }
    return 0;
}
}  // namespace

std::string oneLine(std::string_view text)
{
    std::string line;
    line.reserve(text.size());
    while (!text.empty())
    {
        const std::size_t length = controlLength(text);
        line += length > 0 ? ' ' : text.front();
        text.remove_prefix(length > 0 ? length : 1);
    }
    while (!line.empty() && line.back() == ' ')
    {
        line.pop_back();
    }
    return line;
}
}  // namespace Cli
