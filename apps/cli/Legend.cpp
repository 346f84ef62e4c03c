#include "apps/cli/Legend.h"

#include "apps/cli/TextPainter.h"
#include "apps/cli/paint.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace Cli
{
namespace
{
constexpr double kRowsOfOrdinaryPicture = 720.0;
constexpr int kMostDecimals = 9;
constexpr double kLeastNorth = 0.02;  // of its length, seen from nearly along it
const Math::Color kBlack(0, 0, 0, 255);
const Math::Color kWhite(255, 255, 255, 255);

/// Which of black and white is read better on a colour, over white where that is transparent.
Math::Color inkOn(const Math::Color& background)
{
    const double alpha = background.a() / 255.0;
    const double brightness = 0.299 * background.r() + 0.587 * background.g() + 0.114 * background.b();
    return alpha * brightness + (1.0 - alpha) * 255.0 >= 128.0 ? kBlack : kWhite;
}

std::string moreText(std::size_t count)
{
    return "and " + std::to_string(count) + " more";
}

/// Writes into a margin, from the top downwards.
class MarginPainter
{
public:
    MarginPainter(Graphics::ColorImage& image, const LegendMeasures& measures, const Math::Color& ink)
        : mImage(image),
          mMeasures(measures),
          mInk(ink),
          mText(measures.letters),
          mLeft(static_cast<std::int64_t>(image.width()) - measures.margin + measures.padding),
          mTop(measures.padding),
          mBottom(static_cast<std::int64_t>(image.height()) - measures.padding)
    {
    }

    /// The arrow and the bar stand at the bottom.
    void drawDirections(const Legend& legend)
    {
        if (legend.scaleBar)
        {
            drawScaleBar(*legend.scaleBar);
        }
        if (legend.north)
        {
            drawArrow(*legend.north);
        }
    }

    /// @returns whether there is room for it
    bool drawRamp(const Legend::Ramp& ramp)
    {
        if (mTop + 2 * mMeasures.line + mMeasures.swatch > mBottom)
        {
            return false;
        }
        drawText(0, mTop, ramp.title, mMeasures.inner());
        mTop += mMeasures.line;
        const std::int64_t width = mMeasures.inner();
        for (std::int64_t x = 0; x < width; ++x)
        {
            const auto place =
                static_cast<std::size_t>(x) * ramp.colors.size() / static_cast<std::size_t>(width);
            fillRectangle(mImage, mLeft + x, mTop, 1, mMeasures.swatch, ramp.colors[place]);
        }
        mTop += mMeasures.swatch;
        drawText(0, mTop, ramp.least, width / 2);
        const std::string greatest = mText.shortened(ramp.greatest, static_cast<double>(width) / 2.0);
        drawText(width - static_cast<std::int64_t>(std::ceil(mText.width(greatest))), mTop, greatest, width);
        mTop += 2 * mMeasures.line;
        return true;
    }

    /// @returns whether there is room for a part of it
    bool drawList(const Legend::List& list)
    {
        const std::int64_t rows = (mBottom - mTop) / mMeasures.line;
        if (rows < 3)
        {
            return false;
        }
        drawText(0, mTop, list.title, mMeasures.inner());
        mTop += mMeasures.line;
        const auto room = static_cast<std::size_t>(rows - 1);
        const std::size_t shown = list.swatches.size() <= room ? list.swatches.size() : room - 1;
        const std::int64_t beside = mMeasures.swatch + mMeasures.padding / 2;
        for (std::size_t i = 0; i < shown; ++i)
        {
            const std::int64_t above = (mMeasures.line - mMeasures.swatch) / 2;
            fillRectangle(
                mImage, mLeft, mTop + above, mMeasures.swatch, mMeasures.swatch, list.swatches[i].color
            );
            drawText(beside, mTop, list.swatches[i].text, mMeasures.inner() - beside);
            mTop += mMeasures.line;
        }
        if (shown < list.swatches.size())
        {
            drawText(0, mTop, moreText(list.swatches.size() - shown), mMeasures.inner());
            mTop += mMeasures.line;
        }
        mTop += mMeasures.line;
        return true;
    }

    /// Where the last thing with room has left an empty line.
    void tellOfMore(std::size_t count)
    {
        drawText(0, mTop - mMeasures.line, moreText(count), mMeasures.inner());
    }

private:
    void drawText(std::int64_t right, std::int64_t top, std::string_view text, std::int64_t most)
    {
        const std::int64_t above = (mMeasures.line - static_cast<std::int64_t>(mMeasures.letters)) / 2;
        mText.draw(
            mImage,
            static_cast<double>(mLeft + right),
            static_cast<double>(top + above) + std::round(mText.ascent()),
            mText.shortened(text, static_cast<double>(most)),
            mInk
        );
    }

    /// From bottom to top: a note, the length, the bar with an end to each side.
    void drawScaleBar(const Legend::ScaleBar& bar)
    {
        if (!bar.note.empty())
        {
            mBottom -= mMeasures.line;
            drawText(0, mBottom, bar.note, mMeasures.inner());
        }
        mBottom -= mMeasures.line;
        drawText(0, mBottom, bar.text, mMeasures.inner());
        const std::int64_t length = std::llround(bar.pixels);
        const std::int64_t high = 4 * mMeasures.rule;
        fillRectangle(mImage, mLeft, mBottom - mMeasures.rule, length, mMeasures.rule, mInk);
        fillRectangle(mImage, mLeft, mBottom - high, mMeasures.rule, high - mMeasures.rule, mInk);
        fillRectangle(
            mImage,
            mLeft + length - mMeasures.rule,
            mBottom - high,
            mMeasures.rule,
            high - mMeasures.rule,
            mInk
        );
        mBottom -= high + mMeasures.padding;
    }

    /// In a square of its length, with the letter at its tip; the letter does not turn.
    void drawArrow(const Eigen::Vector2d& north)
    {
        const auto length = static_cast<double>(mMeasures.arrow);
        const double letter = mMeasures.letters;
        const double side = length + 2.0 * letter;
        mBottom -= static_cast<std::int64_t>(std::ceil(side));
        const Eigen::Vector2d middle(
            static_cast<double>(mLeft) + side / 2.0, static_cast<double>(mBottom) + side / 2.0
        );
        const Eigen::Vector2d ahead(north.x(), -north.y());  // rows go down
        const Eigen::Vector2d across(-ahead.y(), ahead.x());
        fillPolygon(
            mImage,
            {middle + ahead * length / 2.0,
             middle - ahead * length / 2.0 + across * length / 4.0,
             middle - ahead * length / 4.0,
             middle - ahead * length / 2.0 - across * length / 4.0},
            mInk
        );
        const Eigen::Vector2d tip = middle + ahead * (length + letter) / 2.0;
        mText.draw(mImage, tip.x() - mText.width("N") / 2.0, tip.y() + letter * 0.3, "N", mInk);
        mBottom -= mMeasures.padding;
    }

    Graphics::ColorImage& mImage;
    const LegendMeasures& mMeasures;
    Math::Color mInk;
    TextPainter mText;
    std::int64_t mLeft;
    std::int64_t mTop;     // of what is free
    std::int64_t mBottom;  // likewise
};
}  // namespace

LegendMeasures::LegendMeasures(std::uint64_t pictureHeight)
{
    const double unit = std::max(1.0, static_cast<double>(pictureHeight) / kRowsOfOrdinaryPicture);
    margin = std::llround(176.0 * unit);
    padding = std::llround(12.0 * unit);
    line = std::llround(20.0 * unit);
    swatch = std::llround(14.0 * unit);
    rule = std::llround(2.0 * unit);
    arrow = std::llround(48.0 * unit);
    letters = std::round(15.0 * unit);
}

Legend::ScaleBar chooseScaleBar(double unitsPerPixel, std::int64_t mostPixels, const std::string& unit)
{
    const double most = unitsPerPixel * static_cast<double>(mostPixels);
    const double power = std::pow(10.0, std::floor(std::log10(most)));
    double length = power;
    for (const double factor : {2.0, 5.0})
    {
        length = factor * power <= most ? factor * power : length;
    }
    return {length / unitsPerPixel, roundedText(length, length) + " " + unit, ""};
}

std::optional<Eigen::Vector2d> northInPicture(const Eigen::Vector3f& right, const Eigen::Vector3f& up)
{
    const Eigen::Vector2d north(double{right.y()} / right.norm(), double{up.y()} / up.norm());
    return north.norm() < kLeastNorth ? std::nullopt : std::optional<Eigen::Vector2d>(north.normalized());
}

std::string roundedText(double value, double range)
{
    // a power of ten that is no more than a hundredth of the range
    const double digits = range > 0.0 ? 2.0 - std::floor(std::log10(range)) : 0.0;
    const int decimals = static_cast<int>(std::clamp(digits, 0.0, double{kMostDecimals}));
    char buffer[400];  // the longest double has 309 digits before the point
    const std::to_chars_result result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    std::string text(buffer, result.ptr);
    if (text.find('.') != std::string::npos)
    {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.')
        {
            text.pop_back();
        }
    }
    return text == "-0" ? "0" : text;
}

Graphics::ColorImage withLegend(
    const Graphics::ColorImage& picture, const Legend& legend, const Math::Color& background
)
{
    const LegendMeasures measures(picture.height());
    Graphics::ColorImage image(
        picture.width() + static_cast<std::uint64_t>(measures.margin), picture.height()
    );
    image.fill(background);
    for (std::uint64_t y = 0; y < picture.height(); ++y)
    {
        for (std::uint64_t x = 0; x < picture.width(); ++x)
        {
            image.setPixel(x, y, picture.pixel(x, y));
        }
    }
    MarginPainter painter(image, measures, inkOn(background));
    painter.drawDirections(legend);
    std::size_t leftOut = 0;
    for (const Legend::Ramp& ramp : legend.ramps)
    {
        leftOut += painter.drawRamp(ramp) ? 0 : 1;
    }
    for (const Legend::List& list : legend.lists)
    {
        leftOut += painter.drawList(list) ? 0 : 1;
    }
    if (leftOut > 0)
    {
        painter.tellOfMore(leftOut);
    }
    return image;
}
}  // namespace Cli
