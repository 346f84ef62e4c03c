#pragma once

#include "graphics/ColorImage.h"
#include "math/Color.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// How two pictures of one size differ, over all four channels.
struct ImageDifference
{
    struct Pixel
    {
        std::uint64_t x = 0;
        std::uint64_t y = 0;
        Math::Color actual;
        Math::Color expected;
        unsigned largest = 0;  ///< of the four channels
    };

    unsigned maximum = 0;      ///< largest difference of any channel
    double mean = 0.0;         ///< mean difference of all channels of all pixels
    std::vector<Pixel> worst;  ///< at most ten, the largest difference first; none without any difference
};

/// @throws std::invalid_argument  naming both sizes when they differ
ImageDifference compareImages(const Graphics::ColorImage& actual, const Graphics::ColorImage& expected);

/// The channels' differences as a picture: opaque, grey where the alpha differs alone.
Graphics::ColorImage differenceImage(
    const Graphics::ColorImage& actual, const Graphics::ColorImage& expected
);

/// How much a picture may differ from its golden one.
struct ImageTolerance
{
    unsigned maximum = 0;
    double mean = 0.0;
};

/// Compares a picture with goldenFolder / name.png. When it differs by more than the tolerance, or there is
/// no golden picture, writes name.actual.png, name.expected.png and name.difference.png into the output
/// folder and tells both figures and the worst pixels.
testing::AssertionResult matchesGolden(
    const Graphics::ColorImage& actual,
    const std::string& name,
    const ImageTolerance& tolerance,
    const std::filesystem::path& goldenFolder,
    const std::filesystem::path& outputFolder
);

/// The same with the folders of this project: tests/images, and image-differences of the build tree. Where
/// the environment variable TARNEL_UPDATE_GOLDEN is 1, as tools/update-golden sets it, the golden picture is
/// written instead.
testing::AssertionResult matchesGolden(
    const Graphics::ColorImage& actual, const std::string& name, const ImageTolerance& tolerance
);
