#include "graphics/reducedImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace Graphics
{
namespace
{
constexpr std::size_t kCodes = 256;

/// The light of a code, 0 to 1, as IEC 61966-2-1 has it.
std::array<float, kCodes> lightOfCodes()
{
    std::array<float, kCodes> light{};
    for (std::size_t i = 0; i < kCodes; ++i)
    {
        const double code = static_cast<double>(i) / 255.0;
        light[i] = static_cast<float>(code <= 0.04045 ? code / 12.92 : std::pow((code + 0.055) / 1.055, 2.4));
    }
    return light;
}

unsigned char rounded(double value)
{
    return static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L));
}

unsigned char codeOf(double light)
{
    return rounded(255.0 * (light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1.0 / 2.4) - 0.055));
}

/// The mean of the square of pixels that begins there.
Math::Color meanOf(const ColorImage& image, std::uint64_t left, std::uint64_t top, std::uint64_t side)
{
    static const std::array<float, kCodes> kLight = lightOfCodes();
    const Math::Color first = image.pixel(left, top);
    bool isPlain = true;
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 0.0;
    for (std::uint64_t y = top; y < top + side; ++y)
    {
        for (std::uint64_t x = left; x < left + side; ++x)
        {
            const Math::Color color = image.pixel(x, y);
            isPlain = isPlain && color == first;
            const double weight = color.a();
            red += weight * double{kLight[color.r()]};
            green += weight * double{kLight[color.g()]};
            blue += weight * double{kLight[color.b()]};
            alpha += weight;
        }
    }
    if (isPlain || alpha == 0.0)
    {
        return first;  // what is transparent keeps its colour
    }
    const double count = static_cast<double>(side) * static_cast<double>(side);
    return Math::Color(
        codeOf(red / alpha), codeOf(green / alpha), codeOf(blue / alpha), rounded(alpha / count)
    );
}
}  // namespace

ColorImage reducedImage(const ColorImage& image, std::uint64_t factor)
{
    if (factor == 0 || image.width() % factor != 0 || image.height() % factor != 0)
    {
        throw std::invalid_argument("Error: a picture can be reduced by divisors of its width and height only"
        );
    }
    ColorImage result(image.width() / factor, image.height() / factor);
    for (std::uint64_t y = 0; y < result.height(); ++y)
    {
        for (std::uint64_t x = 0; x < result.width(); ++x)
        {
            result.setPixel(x, y, meanOf(image, x * factor, y * factor, factor));
        }
    }
    return result;
}
}  // namespace Graphics
