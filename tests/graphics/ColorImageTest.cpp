#include "graphics/ColorImage.h"
#include "tests/graphics/PlainPng.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"
#include "tests/support/printColor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

namespace
{
using Graphics::ColorImage;
using Math::Color;
using testing::AllOf;
using testing::HasSubstr;

ColorImage randomImage(std::uint64_t width, std::uint64_t height, std::uint64_t rowPitch)
{
    std::mt19937 random(1);
    ColorImage image;
    image.resize(width, height, rowPitch);
    for (std::uint64_t y = 0; y < height; ++y)
    {
        for (std::uint64_t x = 0; x < width; ++x)
        {
            image.setPixel(x, y, Color(static_cast<unsigned int>(random())));
        }
    }
    return image;
}

/// The pixels in the order of the file.
std::string rgba(const ColorImage& image)
{
    std::string bytes;
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            const Color color = image.pixel(x, y);
            for (const unsigned char channel : {color.r(), color.g(), color.b(), color.a()})
            {
                bytes.push_back(static_cast<char>(channel));
            }
        }
    }
    return bytes;
}

std::string readError(const std::filesystem::path& path)
{
    return messageOf<std::runtime_error>([&] { ColorImage::readPng(path); });
}

TEST(ColorImage, WritesAnRgbaPngThatAnotherReaderUnderstands)
{
    const TemporaryFolder folder;
    const ColorImage image = randomImage(37, 23, 37 * 4);

    image.writePng(folder.path() / "image.png");

    const PlainPng::Picture picture = PlainPng::read(TemporaryFolder::read(folder.path() / "image.png"));
    EXPECT_EQ(picture.header.width, 37U);
    EXPECT_EQ(picture.header.height, 23U);
    EXPECT_EQ(picture.header.bitDepth, 8);
    EXPECT_EQ(picture.header.colorType, 6);
    EXPECT_EQ(picture.bytes, rgba(image));
}

TEST(ColorImage, ReadsWhatItWrote)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / "image.png";
    for (const std::uint64_t size : {1U, 2U, 64U, 301U})
    {
        const ColorImage image = randomImage(size, size + 1, size * 4);

        image.writePng(path);
        const ColorImage again = ColorImage::readPng(path);

        EXPECT_EQ(again.width(), size);
        EXPECT_EQ(again.height(), size + 1);
        EXPECT_EQ(again.rowPitch(), size * 4);
        EXPECT_EQ(rgba(again), rgba(image));
    }
}

TEST(ColorImage, WritesRowsWithoutTheirPadding)
{
    const TemporaryFolder folder;
    const ColorImage image = randomImage(5, 4, 64);

    image.writePng(folder.path() / "image.png");

    EXPECT_EQ(rgba(ColorImage::readPng(folder.path() / "image.png")), rgba(image));
}

TEST(ColorImage, ReadsAPngWrittenByAnotherProgram)
{
    // 2 x 2: red, half transparent green; blue, white. Made with Python's zlib module.
    const unsigned char file[] = {
        // clang-format off
        0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48, 0x44, 0x52,
        0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x06, 0x00, 0x00, 0x00, 0x72, 0xb6, 0x0d,
        0x24, 0x00, 0x00, 0x00, 0x14, 0x49, 0x44, 0x41, 0x54, 0x78, 0x9c, 0x63, 0xf8, 0xcf, 0xc0, 0xf0,
        0x1f, 0x08, 0x1b, 0x18, 0x80, 0x34, 0x18, 0x00, 0x00, 0x44, 0xd2, 0x09, 0x78, 0xb6, 0x87, 0x23,
        0x4b, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82
        // clang-format on
    };
    const TemporaryFolder folder;
    const std::string bytes(reinterpret_cast<const char*>(file), sizeof file);

    const ColorImage image = ColorImage::readPng(folder.write("image.png", bytes));

    ASSERT_EQ(image.width(), 2U);
    ASSERT_EQ(image.height(), 2U);
    EXPECT_EQ(image.pixel(0, 0), Color(255, 0, 0, 255));
    EXPECT_EQ(image.pixel(1, 0), Color(0, 255, 0, 128));
    EXPECT_EQ(image.pixel(0, 1), Color(0, 0, 255, 255));
    EXPECT_EQ(image.pixel(1, 1), Color(255, 255, 255, 255));
}

TEST(ColorImage, ConvertsOtherColourTypesOnReading)
{
    struct Case
    {
        const char* name;
        PlainPng::Header header;
        std::string bytes;
        Color first;
        Color second;
    };

    const Case cases[] = {
        {"grey, 8 bits",
         {2, 1, 8, 0},
         std::string("\x10\xF0", 2),
         Color(16, 16, 16, 255),
         Color(240, 240, 240, 255)},
        {"grey, 1 bit", {2, 1, 1, 0}, std::string("\x40", 1), Color(0, 0, 0, 255), Color(255, 255, 255, 255)},
        {"grey and alpha",
         {2, 1, 8, 4},
         std::string("\x10\x20\x30\x40", 4),
         Color(16, 16, 16, 32),
         Color(48, 48, 48, 64)},
        {"colour",
         {2, 1, 8, 2},
         std::string("\x01\x02\x03\x04\x05\x06", 6),
         Color(1, 2, 3, 255),
         Color(4, 5, 6, 255)},
        {"colour, 16 bits",
         {2, 1, 16, 2},
         std::string("\x01\x99\x02\x99\x03\x99\x04\x00\x05\x00\x06\x00", 12),
         Color(1, 2, 3, 255),
         Color(4, 5, 6, 255)},
    };
    const TemporaryFolder folder;
    for (const Case& each : cases)
    {
        const ColorImage image =
            ColorImage::readPng(folder.write("image.png", PlainPng::file(each.header, each.bytes)));

        ASSERT_EQ(image.width(), 2U) << each.name;
        EXPECT_EQ(image.pixel(0, 0), each.first) << each.name;
        EXPECT_EQ(image.pixel(1, 0), each.second) << each.name;
    }
}

TEST(ColorImage, ReadsAPaletteWithTransparency)
{
    const std::string file = PlainPng::signature() + PlainPng::headerChunk({2, 1, 8, 3}) +
                             PlainPng::chunk("PLTE", std::string("\x01\x02\x03\x04\x05\x06", 6)) +
                             PlainPng::chunk("tRNS", "\x07") +
                             PlainPng::pixelChunk(std::string("\0\0\1", 3)) + PlainPng::chunk("IEND", "");
    const TemporaryFolder folder;

    const ColorImage image = ColorImage::readPng(folder.write("image.png", file));

    EXPECT_EQ(image.pixel(0, 0), Color(1, 2, 3, 7));
    EXPECT_EQ(image.pixel(1, 0), Color(4, 5, 6, 255));
}

TEST(ColorImage, ReadsNamesInAnyScript)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / std::filesystem::path(u8"größe-点-🌲.png");
    const ColorImage image = randomImage(3, 3, 12);

    image.writePng(path);

    EXPECT_EQ(rgba(ColorImage::readPng(path)), rgba(image));
}

TEST(ColorImage, DoesNotWriteAnImageWithoutPixels)
{
    const TemporaryFolder folder;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { ColorImage().writePng(folder.path() / "image.png"); }),
        AllOf(HasSubstr("image.png"), HasSubstr("the image has no pixels"))
    );
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(ColorImage, LeavesNothingBehindWhenItCannotWrite)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "taken.png");
    const ColorImage image = randomImage(3, 3, 12);

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { image.writePng(folder.path() / "none" / "image.png"); }),
        AllOf(HasSubstr("cannot write"), HasSubstr("image.png"))
    );
    EXPECT_THROW(image.writePng(folder.path() / "taken.png"), std::runtime_error);
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(ColorImage, ReplacesAnOlderFile)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("image.png", "no picture");
    const ColorImage image = randomImage(3, 3, 12);

    image.writePng(path);

    EXPECT_EQ(rgba(ColorImage::readPng(path)), rgba(image));
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(ColorImage, NamesAMissingFileAndAFolder)
{
    const TemporaryFolder folder;

    EXPECT_THAT(readError(folder.path() / "missing.png"), HasSubstr("missing.png"));
    EXPECT_THAT(readError(folder.path()), HasSubstr("it is a folder"));
}

TEST(ColorImage, RefusesWhatIsNoPng)
{
    const TemporaryFolder folder;

    for (const std::string& bytes : {std::string(), std::string("P6 1 1 255"), std::string(1000, '\0')})
    {
        EXPECT_THAT(
            readError(folder.write("image.png", bytes)),
            AllOf(HasSubstr("cannot read"), HasSubstr("image.png"))
        );
    }
}

TEST(ColorImage, RefusesAPngCutAnywhere)
{
    const TemporaryFolder folder;
    const std::string file = PlainPng::file({3, 3, 8, 6}, std::string(36, 'x'));
    // only the check sum of the empty last chunk may be missing: it guards nothing
    for (std::size_t size = 0; size + 4 < file.size(); ++size)
    {
        EXPECT_THAT(readError(folder.write("image.png", file.substr(0, size))), HasSubstr("image.png"))
            << size;
    }
}

TEST(ColorImage, RefusesAPngWithAnyByteDamaged)
{
    const TemporaryFolder folder;
    const std::string file = PlainPng::file({3, 3, 8, 6}, std::string(36, 'x'));
    for (std::size_t i = 0; i < file.size(); ++i)
    {
        std::string damaged = file;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x20);

        EXPECT_THAT(readError(folder.write("image.png", damaged)), HasSubstr("image.png")) << i;
    }
}

TEST(ColorImage, SurvivesDamagedPixelDataWithARightCheckSum)
{
    const TemporaryFolder folder;
    std::mt19937 random(2);
    const ColorImage image = randomImage(9, 9, 36);
    image.writePng(folder.path() / "good.png");
    const std::string good = TemporaryFolder::read(folder.path() / "good.png");
    const std::size_t pixels = PlainPng::signature().size() + PlainPng::headerChunk({}).size();
    const std::string packed =
        good.substr(pixels + 8, good.size() - pixels - 8 - 4 - 12);  // up to check sum and end
    for (int round = 0; round < 300; ++round)
    {
        std::string damaged = packed;
        damaged[random() % damaged.size()] = static_cast<char>(random() & 0xFFU);
        const std::string file =
            good.substr(0, pixels) + PlainPng::chunk("IDAT", damaged) + PlainPng::chunk("IEND", "");
        try
        {
            EXPECT_EQ(
                ColorImage::readPng(folder.write("image.png", file)).sizeInBytes(), image.sizeInBytes()
            );
        }
        catch (const std::runtime_error& error)
        {
            EXPECT_THAT(error.what(), HasSubstr("image.png"));
        }
    }
}

TEST(ColorImage, RefusesPicturesAboveTheLargestSide)
{
    const TemporaryFolder folder;
    for (const PlainPng::Header& header : {PlainPng::Header{16385, 1}, PlainPng::Header{1, 16385}})
    {
        const std::string file = PlainPng::file(header, std::string(4 * 16385, '\0'));

        EXPECT_THAT(readError(folder.write("image.png", file)), HasSubstr("image.png"));
    }
}

TEST(ColorImage, RefusesASideOfZero)
{
    const TemporaryFolder folder;

    EXPECT_THAT(readError(folder.write("image.png", PlainPng::file({0, 1}, ""))), HasSubstr("image.png"));
    EXPECT_THAT(readError(folder.write("image.png", PlainPng::file({1, 0}, ""))), HasSubstr("image.png"));
}

TEST(ColorImage, TakesNoMemoryForPixelsThatTheFileCannotHold)
{
    const TemporaryFolder folder;
    const std::string file = PlainPng::signature() + PlainPng::headerChunk({16384, 16384, 8, 6}) +
                             PlainPng::pixelChunk(std::string(100000, '\0')) + PlainPng::chunk("IEND", "");

    EXPECT_THAT(
        readError(folder.write("image.png", file)),
        HasSubstr("cannot hold the announced 16384 x 16384 pixels")
    );
}

TEST(ColorImage, WhatElseAFileHoldsDoesNotCountForItsPixels)
{
    const TemporaryFolder folder;
    const std::string file = PlainPng::signature() + PlainPng::headerChunk({16384, 16384, 8, 6}) +
                             PlainPng::chunk("teSt", std::string(2'000'000, '\0')) +
                             PlainPng::pixelChunk(std::string(100000, '\0')) + PlainPng::chunk("IEND", "") +
                             std::string(2'000'000, '\0');

    EXPECT_THAT(
        readError(folder.write("image.png", file)),
        HasSubstr("cannot hold the announced 16384 x 16384 pixels")
    );
}

TEST(ColorImage, ReadsAPictureThatCompressesAsMuchAsPossible)
{
    const TemporaryFolder folder;
    const ColorImage image(2048, 2048);

    image.writePng(folder.path() / "image.png");

    EXPECT_EQ(ColorImage::readPng(folder.path() / "image.png").sizeInBytes(), image.sizeInBytes());
}

TEST(ColorImage, RefusesFewerRowsThanAnnounced)
{
    const TemporaryFolder folder;
    const std::string rows(3 * 13, '\0');
    const std::string file = PlainPng::signature() + PlainPng::headerChunk({3, 4, 8, 6}) +
                             PlainPng::pixelChunk(rows) + PlainPng::chunk("IEND", "");

    EXPECT_THAT(readError(folder.write("image.png", file)), HasSubstr("image.png"));
}

TEST(ColorImage, RefusesAnUnknownColourTypeAndDepth)
{
    const TemporaryFolder folder;
    for (const PlainPng::Header& header : {PlainPng::Header{1, 1, 8, 5}, PlainPng::Header{1, 1, 3, 0}})
    {
        const std::string file = PlainPng::signature() + PlainPng::headerChunk(header) +
                                 PlainPng::pixelChunk(std::string(5, '\0')) + PlainPng::chunk("IEND", "");

        EXPECT_THAT(readError(folder.write("image.png", file)), HasSubstr("image.png"));
    }
}
}  // namespace
