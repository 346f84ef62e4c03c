#include "apps/cli/TextPainter.h"

#include "apps/cli/embeddedFont.h"
#include "apps/cli/paint.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#define STB_TRUETYPE_IMPLEMENTATION
#define STBTT_STATIC
#include <stb_truetype.h>

namespace Cli
{
namespace
{
constexpr char32_t kReplacement = 0xFFFD;
constexpr double kMostCoverage = 255.0;
const char* const kEllipsis = "\xE2\x80\xA6";

/// The letters of UTF-8 text; the replacement character for each byte that belongs to none.
std::vector<char32_t> lettersOf(std::string_view text)
{
    std::vector<char32_t> letters;
    for (std::size_t i = 0; i < text.size();)
    {
        const auto first = static_cast<unsigned char>(text[i]);
        const std::size_t more = first < 0x80 ? 0 : first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
        char32_t letter = more == 0 ? first : first & (0x3FU >> more);
        bool isWhole = (first < 0x80 || (first >= 0xC2 && first <= 0xF4)) && i + more < text.size();
        for (std::size_t k = 1; isWhole && k <= more; ++k)
        {
            const auto byte = static_cast<unsigned char>(text[i + k]);
            isWhole = (byte & 0xC0U) == 0x80U;
            letter = (letter << 6U) | (byte & 0x3FU);
        }
        letters.push_back(isWhole ? letter : kReplacement);
        i += isWhole ? more + 1 : 1;
    }
    return letters;
}
}  // namespace

struct TextPainter::Font
{
    stbtt_fontinfo info{};
    float scale = 1.0F;
    double ascent = 0.0;

    double advance(char32_t letter) const
    {
        int wide = 0;
        int bearing = 0;
        stbtt_GetCodepointHMetrics(&info, static_cast<int>(letter), &wide, &bearing);
        return double{scale} * wide;
    }
};

TextPainter::TextPainter(double height) : mFont(std::make_unique<Font>())
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(embeddedFont().front().bytes.data());
    if (stbtt_InitFont(&mFont->info, bytes, 0) == 0)
    {
        throw std::logic_error("Error: the font in the program is broken");
    }
    mFont->scale = stbtt_ScaleForPixelHeight(&mFont->info, static_cast<float>(height));
    int ascent = 0;
    int descent = 0;
    int gap = 0;
    stbtt_GetFontVMetrics(&mFont->info, &ascent, &descent, &gap);
    mFont->ascent = double{mFont->scale} * ascent;
}

TextPainter::~TextPainter() = default;

double TextPainter::width(std::string_view text) const
{
    double sum = 0.0;
    for (const char32_t letter : lettersOf(text))
    {
        sum += mFont->advance(letter);
    }
    return sum;
}

double TextPainter::ascent() const noexcept
{
    return mFont->ascent;
}

std::string TextPainter::shortened(std::string_view text, double most) const
{
    if (width(text) <= most)
    {
        return std::string(text);
    }
    std::string_view rest = text;
    while (!rest.empty() && width(std::string(rest) + kEllipsis) > most)
    {
        unsigned char last = 0;
        do
        {
            last = static_cast<unsigned char>(rest.back());
            rest.remove_suffix(1);
        } while (!rest.empty() && (last & 0xC0U) == 0x80U);
    }
    return std::string(rest) + kEllipsis;
}

void TextPainter::draw(
    Graphics::ColorImage& image, double left, double baseline, std::string_view text, const Math::Color& color
) const
{
    const stbtt_fontinfo& info = mFont->info;
    const float scale = mFont->scale;
    for (const char32_t letter : lettersOf(text))
    {
        const auto code = static_cast<int>(letter);
        const double column = std::floor(left);
        const double row = std::floor(baseline);
        const auto besideColumn = static_cast<float>(left - column);
        const auto belowRow = static_cast<float>(baseline - row);
        int x0 = 0;
        int y0 = 0;
        int x1 = 0;
        int y1 = 0;
        stbtt_GetCodepointBitmapBoxSubpixel(
            &info, code, scale, scale, besideColumn, belowRow, &x0, &y0, &x1, &y1
        );
        const int wide = x1 - x0;
        const int high = y1 - y0;
        if (wide > 0 && high > 0)
        {
            std::vector<unsigned char> coverage(
                static_cast<std::size_t>(wide) * static_cast<std::size_t>(high)
            );
            stbtt_MakeCodepointBitmapSubpixel(
                &info, coverage.data(), wide, high, wide, scale, scale, besideColumn, belowRow, code
            );
            for (int y = 0; y < high; ++y)
            {
                for (int x = 0; x < wide; ++x)
                {
                    const auto place = static_cast<std::size_t>(y) * static_cast<std::size_t>(wide) +
                                       static_cast<std::size_t>(x);
                    blend(
                        image,
                        static_cast<std::int64_t>(column) + x0 + x,
                        static_cast<std::int64_t>(row) + y0 + y,
                        color,
                        coverage[place] / kMostCoverage
                    );
                }
            }
        }
        left += mFont->advance(letter);
    }
}
}  // namespace Cli
