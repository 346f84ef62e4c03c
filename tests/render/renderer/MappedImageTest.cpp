#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "render/renderer/MappedImage.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace Render
{
namespace
{
constexpr std::byte kUntouched{0xEE};

/// Two rows of two colours, each followed by four bytes of padding; byte i has the value i.
class MappedImageOfTwoRows : public testing::Test
{
protected:
    MappedImageOfTwoRows() : mBytes(24)
    {
        for (std::size_t i = 0; i < mBytes.size(); ++i)
        {
            mBytes[i] = static_cast<std::byte>(i);
        }
    }

    MappedImage image() const { return {mBytes.data(), 12, mBytes.size()}; }

    std::vector<std::byte> mBytes;
};

std::vector<int> numbers(const std::vector<std::byte>& bytes)
{
    std::vector<int> result;
    for (const std::byte byte : bytes)
    {
        result.push_back(std::to_integer<int>(byte));
    }
    return result;
}

constexpr int kNone = 0xEE;
}  // namespace

TEST_F(MappedImageOfTwoRows, TexelsAreFoundByTheRowPitch)
{
    EXPECT_EQ(image().texel<std::uint8_t>(5, 1), 17);
    EXPECT_EQ(image().texel<Math::Color>(1, 1), Math::Color(18, 17, 16, 19));
}

TEST_F(MappedImageOfTwoRows, CopiedWholeGivesItsRowPitchToTheImage)
{
    Graphics::ColorImage copy;

    copyWhole(image(), 2, 2, copy);

    EXPECT_EQ(copy.width(), 2U);
    EXPECT_EQ(copy.height(), 2U);
    EXPECT_EQ(copy.rowPitch(), 12U);
    EXPECT_EQ(copy.pixel(0, 0), Math::Color(2, 1, 0, 3));
    EXPECT_EQ(copy.pixel(1, 1), Math::Color(18, 17, 16, 19));
}

TEST_F(MappedImageOfTwoRows, CopiedWholeReplacesALargerImage)
{
    Graphics::ColorImage copy(64, 64);

    copyWhole(image(), 2, 2, copy);

    EXPECT_EQ(copy.sizeInBytes(), 24U);
    EXPECT_EQ(copy.pixel(1, 0), Math::Color(6, 5, 4, 7));
}

TEST(MappedImage, CopiedWholeIntoADepthImageKeepsTheValues)
{
    const std::vector<float> values{0.0F, 0.25F, 0.5F, 1.0F};
    const MappedImage image{reinterpret_cast<const std::byte*>(values.data()), 8, 16};
    Graphics::DepthImage copy;

    copyWhole(image, 2, 2, copy);

    EXPECT_EQ(copy.pixel(1, 0), 0.25F);
    EXPECT_EQ(copy.pixel(0, 1), 0.5F);
}

TEST_F(MappedImageOfTwoRows, OfAnotherSizeThanItsRowsIsNotCopiedWhole)
{
    MappedImage tooLong = image();
    tooLong.sizeInBytes = 28;
    Graphics::ColorImage color;
    Graphics::DepthImage depth;

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { copyWhole(tooLong, 2, 2, color); }), "image size does not match"
    );
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { copyWhole(tooLong, 2, 2, depth); }), "image size does not match"
    );
}

TEST_F(MappedImageOfTwoRows, RowsOfTheSamePitchAreCopiedWithTheirPadding)
{
    std::vector<std::byte> target(24, kUntouched);

    copyRows(image(), 2, target, 12, 2);

    EXPECT_EQ(target, mBytes);
}

TEST_F(MappedImageOfTwoRows, NarrowerRowsTakeTheirFirstBytes)
{
    std::vector<std::byte> target(8, kUntouched);

    copyRows(image(), 2, target, 4, 2);

    EXPECT_EQ(numbers(target), (std::vector<int>{0, 1, 2, 3, 12, 13, 14, 15}));
}

TEST_F(MappedImageOfTwoRows, WiderRowsKeepTheirOtherBytes)
{
    std::vector<std::byte> target(28, kUntouched);

    copyRows(image(), 2, target, 14, 2);

    EXPECT_EQ(
        numbers(target), (std::vector<int>{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, kNone, kNone,
                                           12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, kNone, kNone})
    );
}

TEST_F(MappedImageOfTwoRows, MoreRowsThanTheImageHasStayAsTheyAre)
{
    std::vector<std::byte> target(12, kUntouched);

    copyRows(image(), 2, target, 4, 3);

    EXPECT_EQ(numbers(target), (std::vector<int>{0, 1, 2, 3, 12, 13, 14, 15, kNone, kNone, kNone, kNone}));
}

TEST_F(MappedImageOfTwoRows, FewerRowsThanTheImageHasAreTheUpperOnes)
{
    std::vector<std::byte> target(8, kUntouched);

    copyRows(image(), 2, target, 4, 1);

    EXPECT_EQ(numbers(target), (std::vector<int>{0, 1, 2, 3, kNone, kNone, kNone, kNone}));
}

TEST_F(MappedImageOfTwoRows, NothingIsWrittenBehindTheTarget)
{
    std::vector<std::byte> memory(10, kUntouched);

    copyRows(image(), 2, std::span(memory).first(6), 4, 2);

    EXPECT_EQ(numbers(memory), (std::vector<int>{0, 1, 2, 3, 12, 13, kNone, kNone, kNone, kNone}));
}

TEST_F(MappedImageOfTwoRows, AnEmptyTargetTakesNothing)
{
    std::vector<std::byte> memory(16, kUntouched);
    const std::span<std::byte> nothing = std::span(memory).subspan(8, 0);

    copyRows(image(), 2, nothing, 4, 2);
    copyRows(image(), 2, nothing, 0, 2);

    EXPECT_EQ(memory, std::vector<std::byte>(16, kUntouched));
}

TEST_F(MappedImageOfTwoRows, RowsWithoutLengthTakeNothing)
{
    std::vector<std::byte> target(4, kUntouched);

    copyRows(image(), 2, target, 0, 2);

    EXPECT_EQ(numbers(target), (std::vector<int>{kNone, kNone, kNone, kNone}));
}
}  // namespace Render
