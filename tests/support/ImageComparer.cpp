#include "tests/support/ImageComparer.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace
{
constexpr std::size_t kWorstCount = 10;

using Channels = std::array<unsigned, 4>;  // red, green, blue, alpha

Channels channelsOf(const Math::Color& color)
{
    return {color.r(), color.g(), color.b(), color.a()};
}

Channels difference(const Math::Color& a, const Math::Color& b)
{
    const Channels channelsA = channelsOf(a);
    const Channels channelsB = channelsOf(b);
    Channels result{};
    for (std::size_t i = 0; i < result.size(); ++i)
    {
        result[i] = std::max(channelsA[i], channelsB[i]) - std::min(channelsA[i], channelsB[i]);
    }
    return result;
}

std::string sizeText(const Graphics::ColorImage& image)
{
    return std::to_string(image.width()) + " x " + std::to_string(image.height());
}

void requireEqualSizes(const Graphics::ColorImage& actual, const Graphics::ColorImage& expected)
{
    if (actual.width() != expected.width() || actual.height() != expected.height())
    {
        throw std::invalid_argument(
            "pictures of different sizes: actual " + sizeText(actual) + ", expected " + sizeText(expected)
        );
    }
}

/// The ten largest, the first in reading order where they are equal.
void keepWorst(std::vector<ImageDifference::Pixel>& worst, const ImageDifference::Pixel& pixel)
{
    const auto place = std::upper_bound(
        worst.begin(),
        worst.end(),
        pixel,
        [](const ImageDifference::Pixel& a, const ImageDifference::Pixel& b) { return a.largest > b.largest; }
    );
    worst.insert(place, pixel);
    if (worst.size() > kWorstCount)
    {
        worst.pop_back();
    }
}

std::string text(const Math::Color& color)
{
    const Channels channels = channelsOf(color);
    std::string result = "(";
    for (std::size_t i = 0; i < channels.size(); ++i)
    {
        result += (i == 0 ? "" : ", ") + std::to_string(channels[i]);
    }
    return result + ")";
}

std::string text(const ImageDifference& found)
{
    std::string result = "maximum " + std::to_string(found.maximum) + ", mean " + std::to_string(found.mean);
    for (const ImageDifference::Pixel& pixel : found.worst)
    {
        result += "\n  (" + std::to_string(pixel.x) + ", " + std::to_string(pixel.y) + "): actual " +
                  text(pixel.actual) + ", expected " + text(pixel.expected);
    }
    return result;
}

bool isUpdateWanted()
{
    const char* const value = std::getenv("TARNEL_UPDATE_GOLDEN");
    return value != nullptr && std::string_view(value) == "1";
}
}  // namespace

ImageDifference compareImages(const Graphics::ColorImage& actual, const Graphics::ColorImage& expected)
{
    requireEqualSizes(actual, expected);
    ImageDifference result;
    std::uint64_t sum = 0;
    for (std::uint64_t y = 0; y < actual.height(); ++y)
    {
        for (std::uint64_t x = 0; x < actual.width(); ++x)
        {
            ImageDifference::Pixel pixel{x, y, actual.pixel(x, y), expected.pixel(x, y), 0};
            for (const unsigned channel : difference(pixel.actual, pixel.expected))
            {
                sum += channel;
                pixel.largest = std::max(pixel.largest, channel);
            }
            if (pixel.largest > 0)
            {
                keepWorst(result.worst, pixel);
            }
        }
    }
    const std::uint64_t channelCount = actual.width() * actual.height() * Channels().size();
    result.maximum = result.worst.empty() ? 0 : result.worst.front().largest;
    result.mean = channelCount == 0 ? 0.0 : static_cast<double>(sum) / static_cast<double>(channelCount);
    return result;
}

Graphics::ColorImage differenceImage(const Graphics::ColorImage& actual, const Graphics::ColorImage& expected)
{
    requireEqualSizes(actual, expected);
    Graphics::ColorImage result(actual.width(), actual.height());
    for (std::uint64_t y = 0; y < actual.height(); ++y)
    {
        for (std::uint64_t x = 0; x < actual.width(); ++x)
        {
            Channels channels = difference(actual.pixel(x, y), expected.pixel(x, y));
            if (channels[0] == 0 && channels[1] == 0 && channels[2] == 0)
            {
                channels.fill(channels[3]);
            }
            const auto byte = [&channels](std::size_t i) { return static_cast<unsigned char>(channels[i]); };
            result.setPixel(x, y, Math::Color(byte(0), byte(1), byte(2), 255));
        }
    }
    return result;
}

testing::AssertionResult matchesGolden(
    const Graphics::ColorImage& actual,
    const std::string& name,
    const ImageTolerance& tolerance,
    const std::filesystem::path& goldenFolder,
    const std::filesystem::path& outputFolder
)
{
    const std::filesystem::path golden = goldenFolder / (name + ".png");
    const auto output = [&](const char* kind) { return outputFolder / (name + "." + kind + ".png"); };
    std::filesystem::create_directories(outputFolder);
    if (!std::filesystem::exists(golden))
    {
        actual.writePng(output("actual"));
        return testing::AssertionFailure()
               << "there is no " << golden.string() << "; what was drawn is " << output("actual").string();
    }

    const Graphics::ColorImage expected = Graphics::ColorImage::readPng(golden);
    if (actual.width() != expected.width() || actual.height() != expected.height())
    {
        actual.writePng(output("actual"));
        return testing::AssertionFailure() << name << ": " << sizeText(actual) << " instead of "
                                           << sizeText(expected) << ", see " << output("actual").string();
    }
    const ImageDifference found = compareImages(actual, expected);
    if (found.maximum <= tolerance.maximum && found.mean <= tolerance.mean)
    {
        return testing::AssertionSuccess();
    }
    actual.writePng(output("actual"));
    expected.writePng(output("expected"));
    differenceImage(actual, expected).writePng(output("difference"));
    return testing::AssertionFailure()
           << name << " differs from its golden picture: " << text(found) << "\nallowed: maximum "
           << tolerance.maximum << ", mean " << tolerance.mean << "; see " << output("difference").string();
}

testing::AssertionResult matchesGolden(
    const Graphics::ColorImage& actual, const std::string& name, const ImageTolerance& tolerance
)
{
    const std::filesystem::path goldenFolder = TARNEL_TEST_IMAGES;
    if (isUpdateWanted())
    {
        std::filesystem::create_directories(goldenFolder);
        actual.writePng(goldenFolder / (name + ".png"));
        return testing::AssertionSuccess();
    }
    return matchesGolden(actual, name, tolerance, goldenFolder, TARNEL_TEST_IMAGE_OUTPUT);
}
