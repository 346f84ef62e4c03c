#pragma once

#include <core/NonCopyable.h>
#include <graphics/ColorImage.h>
#include <math/Color.h>

#include <memory>
#include <string>
#include <string_view>

namespace Cli
{
/// Draws lines of UTF-8 text into pictures, by the font that is part of the program: Latin, Greek and Cyrillic
/// letters; a box stands for others. Smooth, without hints: the same on every system.
///
/// Threads  any, one at a time.
class TextPainter : public Core::NonCopyable
{
public:
    /// @param height  from the top of the highest letters to the bottom of the lowest in pixels, above 0
    explicit TextPainter(double height);
    ~TextPainter();

    /// How far a line reaches, in pixels.
    double width(std::string_view text) const;

    /// From the top of the highest letters to the line they stand on, in pixels.
    double ascent() const noexcept;

    /// The text where it is no wider than that many pixels, else its beginning with an ellipsis.
    std::string shortened(std::string_view text, double most) const;

    /// Draws a line; what lies beyond the picture is left out.
    /// @param left      where it begins, in pixels from the left
    /// @param baseline  what its letters stand on, in pixels from the top
    void draw(
        Graphics::ColorImage& image,
        double left,
        double baseline,
        std::string_view text,
        const Math::Color& color
    ) const;

private:
    struct Font;
    std::unique_ptr<Font> mFont;
};
}  // namespace Cli
