#pragma once

#include <graphics/ColorImage.h>
#include <math/Color.h>

#include <Eigen/Core>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Cli
{
/// What explains a picture beside it.
struct Legend
{
    /// Colours that stand for numbers.
    struct Ramp
    {
        std::string title;
        std::vector<Math::Color> colors;  ///< from the least number to the greatest
        std::string least;
        std::string greatest;
    };

    /// A colour that stands for a thing.
    struct Swatch
    {
        Math::Color color;
        std::string text;
    };

    struct List
    {
        std::string title;
        std::vector<Swatch> swatches;
    };

    struct ScaleBar
    {
        double pixels = 0.0;
        std::string text;  ///< the length that it has in the scene
        std::string note;  ///< where it holds; empty for everywhere
    };

    std::vector<Ramp> ramps;
    std::vector<List> lists;
    std::optional<ScaleBar> scaleBar;
    std::optional<Eigen::Vector2d> north;  ///< in the picture, to the right and up, of length 1
};

/// Measures of a margin, which grow with pictures of more than 720 rows; pixels.
struct LegendMeasures
{
    explicit LegendMeasures(std::uint64_t pictureHeight);

    std::int64_t margin;   ///< width of all
    std::int64_t padding;  ///< around what is in it
    std::int64_t line;     ///< of text, height
    std::int64_t swatch;   ///< side of a swatch, height of a ramp
    std::int64_t rule;     ///< thickness of lines
    std::int64_t arrow;    ///< length of the arrow
    double letters;        ///< height of letters

    /// The smallest picture that has room for it, margin included.
    std::int64_t leastWidth() const noexcept { return 2 * margin; }

    static constexpr std::uint64_t kLeastHeight = 240;

    /// Between the paddings.
    std::int64_t inner() const noexcept { return margin - 2 * padding; }
};

/// The longest bar of 1, 2 or 5 times a power of ten.
/// @param unitsPerPixel  above 0
/// @param mostPixels     how long it may be
/// @param unit           what a data unit is called
Legend::ScaleBar chooseScaleBar(double unitsPerPixel, std::int64_t mostPixels, const std::string& unit);

/// Where the north, which is y, points to in a picture, to the right and up; nothing where it lies along the
/// direction of view.
std::optional<Eigen::Vector2d> northInPicture(const Eigen::Vector3f& right, const Eigen::Vector3f& up);

/// A number with as many digits as tell a hundredth of a range.
std::string roundedText(double value, double range);

/// The picture with a margin at its right.
/// @param background  the margin's colour; letters are black or white on it
Graphics::ColorImage withLegend(
    const Graphics::ColorImage& picture, const Legend& legend, const Math::Color& background
);
}  // namespace Cli
