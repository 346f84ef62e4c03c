#include "apps/cli/paint.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Cli
{
namespace
{
constexpr double kMost = 255.0;  // of a channel
constexpr int kSamples = 4;      // of a pixel, across and down each

unsigned char rounded(double value)
{
    return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, kMost)));
}

/// Whether a ray to the right meets the rim an odd number of times.
bool isInside(const std::vector<Eigen::Vector2d>& corners, const Eigen::Vector2d& place)
{
    bool isIn = false;
    for (std::size_t i = 0; i < corners.size(); ++i)
    {
        const Eigen::Vector2d& a = corners[i];
        const Eigen::Vector2d& b = corners[(i + 1) % corners.size()];
        if ((a.y() > place.y()) != (b.y() > place.y()) &&
            place.x() < a.x() + (place.y() - a.y()) / (b.y() - a.y()) * (b.x() - a.x()))
        {
            isIn = !isIn;
        }
    }
    return isIn;
}

double coverageOf(const std::vector<Eigen::Vector2d>& corners, std::int64_t x, std::int64_t y)
{
    int inside = 0;
    for (int row = 0; row < kSamples; ++row)
    {
        for (int column = 0; column < kSamples; ++column)
        {
            const Eigen::Vector2d place(
                static_cast<double>(x) + (column + 0.5) / kSamples,
                static_cast<double>(y) + (row + 0.5) / kSamples
            );
            inside += isInside(corners, place) ? 1 : 0;
        }
    }
    return inside / static_cast<double>(kSamples * kSamples);
}
}  // namespace

void blend(
    Graphics::ColorImage& image, std::int64_t x, std::int64_t y, const Math::Color& color, double coverage
)
{
    if (x < 0 || y < 0 || static_cast<std::uint64_t>(x) >= image.width() ||
        static_cast<std::uint64_t>(y) >= image.height())
    {
        return;
    }
    const auto column = static_cast<std::uint64_t>(x);
    const auto row = static_cast<std::uint64_t>(y);
    const Math::Color below = image.pixel(column, row);
    const double own = coverage * color.a() / kMost;
    const double rest = (1.0 - own) * below.a() / kMost;
    const double alpha = own + rest;
    if (own <= 0.0)
    {
        return;
    }
    const auto mixed = [&](unsigned char over, unsigned char under)
    { return rounded((own * over + rest * under) / alpha); };
    image.setPixel(
        column,
        row,
        Math::Color(
            mixed(color.r(), below.r()),
            mixed(color.g(), below.g()),
            mixed(color.b(), below.b()),
            rounded(alpha * kMost)
        )
    );
}

void fillRectangle(
    Graphics::ColorImage& image,
    std::int64_t left,
    std::int64_t top,
    std::int64_t width,
    std::int64_t height,
    const Math::Color& color
)
{
    for (std::int64_t y = top; y < top + height; ++y)
    {
        for (std::int64_t x = left; x < left + width; ++x)
        {
            blend(image, x, y, color, 1.0);
        }
    }
}

void fillPolygon(
    Graphics::ColorImage& image, const std::vector<Eigen::Vector2d>& corners, const Math::Color& color
)
{
    if (corners.empty())
    {
        return;
    }
    Eigen::Vector2d low = corners.front();
    Eigen::Vector2d high = corners.front();
    for (const Eigen::Vector2d& corner : corners)
    {
        low = low.cwiseMin(corner);
        high = high.cwiseMax(corner);
    }
    for (auto y = static_cast<std::int64_t>(std::floor(low.y())); static_cast<double>(y) < high.y(); ++y)
    {
        for (auto x = static_cast<std::int64_t>(std::floor(low.x())); static_cast<double>(x) < high.x(); ++x)
        {
            blend(image, x, y, color, coverageOf(corners, x, y));
        }
    }
}
}  // namespace Cli
