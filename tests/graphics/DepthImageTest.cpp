#include "graphics/DepthImage.h"
#include "tests/graphics/PlainPng.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Graphics::DepthImage;
using Graphics::Gray16Image;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(DepthImage, WritesUnitValuesAs16BitGrey)
{
    const TemporaryFolder folder;
    DepthImage image(4, 2);
    image.setPixel(0, 0, 0.0F);
    image.setPixel(1, 0, 1.0F);
    image.setPixel(2, 0, 0.5F);
    image.setPixel(3, 0, 12345.0F / 65535.0F);
    image.setPixel(0, 1, -1.0F);
    image.setPixel(1, 1, 2.0F);
    image.setPixel(2, 1, std::numeric_limits<float>::quiet_NaN());
    image.setPixel(3, 1, std::numeric_limits<float>::infinity());

    image.writePng(folder.path() / "depth.png");

    const Gray16Image gray = Graphics::readGray16Png(folder.path() / "depth.png");
    EXPECT_EQ(gray.width, 4U);
    EXPECT_EQ(gray.height, 2U);
    EXPECT_THAT(gray.values, ElementsAre(0, 65535, 32768, 12345, 0, 65535, 0, 65535));
}

TEST(DepthImage, WritesRowsWithoutTheirPadding)
{
    const TemporaryFolder folder;
    DepthImage image;
    image.resize(1, 2, 64);
    image.setPixel(0, 0, 1.0F);
    image.setPixel(0, 1, 0.0F);

    image.writePng(folder.path() / "depth.png");

    EXPECT_THAT(Graphics::readGray16Png(folder.path() / "depth.png").values, ElementsAre(65535, 0));
}

TEST(DepthImage, DoesNotWriteAnImageWithoutPixels)
{
    const TemporaryFolder folder;

    EXPECT_THROW(DepthImage().writePng(folder.path() / "depth.png"), std::runtime_error);
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(Gray16Png, KeepsEveryValue)
{
    std::vector<std::uint16_t> values(256 * 256);
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        values[i] = static_cast<std::uint16_t>(i);
    }
    const TemporaryFolder folder;

    Graphics::writeGray16Png(folder.path() / "gray.png", 256, 256, values);

    const Gray16Image image = Graphics::readGray16Png(folder.path() / "gray.png");
    EXPECT_EQ(image.width, 256U);
    EXPECT_EQ(image.values, values);
}

TEST(Gray16Png, WritesAFileThatAnotherReaderUnderstands)
{
    const TemporaryFolder folder;

    Graphics::writeGray16Png(
        folder.path() / "gray.png", 2, 2, std::vector<std::uint16_t>{0x0102, 0xFFFE, 0, 0x8000}
    );

    const PlainPng::Picture picture = PlainPng::read(TemporaryFolder::read(folder.path() / "gray.png"));
    EXPECT_EQ(picture.header.bitDepth, 16);
    EXPECT_EQ(picture.header.colorType, 0);
    EXPECT_EQ(picture.bytes, std::string("\x01\x02\xFF\xFE\x00\x00\x80\x00", 8));
}

TEST(Gray16Png, ReadsAFileOfAnotherWriter)
{
    const TemporaryFolder folder;
    const std::string file = PlainPng::file({3, 1, 16, 0}, std::string("\x01\x02\xFF\xFE\x00\x07", 6));

    const Gray16Image image = Graphics::readGray16Png(folder.write("gray.png", file));

    EXPECT_EQ(image.width, 3U);
    EXPECT_EQ(image.height, 1U);
    EXPECT_THAT(image.values, ElementsAre(0x0102, 0xFFFE, 0x0007));
}

TEST(Gray16Png, RefusesOtherKindsOfPixels)
{
    const TemporaryFolder folder;
    for (const PlainPng::Header& header : {PlainPng::Header{1, 1, 8, 0}, PlainPng::Header{1, 1, 16, 4}})
    {
        const std::filesystem::path path =
            folder.write("gray.png", PlainPng::file(header, std::string(4, '\x11')));

        EXPECT_THAT(
            messageOf<std::runtime_error>([&] { Graphics::readGray16Png(path); }),
            AllOf(HasSubstr("gray.png"), HasSubstr("16-bit grey pixels without alpha expected"))
        );
    }
}

TEST(Gray16Png, RefusesValuesThatDoNotMakeThePicture)
{
    const TemporaryFolder folder;
    const std::vector<std::uint16_t> values(5);

    EXPECT_THAT(
        messageOf<std::runtime_error>([&]
                                      { Graphics::writeGray16Png(folder.path() / "gray.png", 2, 3, values); }
        ),
        AllOf(HasSubstr("gray.png"), HasSubstr("5 values for 2 x 3 pixels"))
    );
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(Gray16Png, RefusesAFileCutAnywhere)
{
    const TemporaryFolder folder;
    const std::string file = PlainPng::file({2, 2, 16, 0}, "abcdefgh");
    // only the check sum of the empty last chunk may be missing: it guards nothing
    for (std::size_t size = 0; size + 4 < file.size(); ++size)
    {
        const std::filesystem::path path = folder.write("gray.png", file.substr(0, size));

        EXPECT_THAT(
            messageOf<std::runtime_error>([&] { Graphics::readGray16Png(path); }), HasSubstr("gray.png")
        ) << size;
    }
}

TEST(Gray16Png, TakesNoMemoryForPixelsThatTheFileCannotHold)
{
    const TemporaryFolder folder;
    const std::string file = PlainPng::signature() + PlainPng::headerChunk({16384, 16384, 16, 0}) +
                             PlainPng::pixelChunk(std::string(1000, '\0')) + PlainPng::chunk("IEND", "");

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Graphics::readGray16Png(folder.write("gray.png", file)); }),
        HasSubstr("cannot hold the announced 16384 x 16384 pixels")
    );
}
}  // namespace
