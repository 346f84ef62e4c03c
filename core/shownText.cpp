#include "core/shownText.h"

#include <array>
#include <cstdint>

namespace Core
{
namespace
{
struct Character
{
    std::size_t length = 1;  ///< bytes of the text
    bool isShown = false;    ///< valid, and harmless in a message
};

bool isHarmless(std::uint32_t code)
{
    const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool isSeparator = code == 0x2028 || code == 0x2029;
    const bool turnsDirection = (code >= 0x200E && code <= 0x200F) || (code >= 0x202A && code <= 0x202E) ||
                                (code >= 0x2066 && code <= 0x2069) || code == 0x061C;
    return !isControl && !isSeparator && !turnsDirection;
}

/// The character at the beginning of a text that is not empty.
Character firstCharacter(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80)
    {
        return {1, isHarmless(first)};
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
    {
        return {};
    }
    std::uint32_t code = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0U) != 0x80U)
        {
            return {};
        }
        code = code << 6U | (next & 0x3FU);
    }
    constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
    {
        return {};
    }
    return {length, isHarmless(code)};
}
}  // namespace

std::string shownText(std::string_view text, std::size_t maxBytes)
{
    std::string shown;
    while (!text.empty())
    {
        const Character character = firstCharacter(text);
        const std::string_view next = character.isShown ? text.substr(0, character.length) : "?";
        if (shown.size() + next.size() > maxBytes)
        {
            return shown + "...";
        }
        shown += next;
        text.remove_prefix(character.length);
    }
    return shown;
}
}  // namespace Core
