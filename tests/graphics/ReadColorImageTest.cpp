#include "graphics/readColorImage.h"
#include "tests/graphics/PlainPng.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

using Graphics::readColorImage;
using testing::HasSubstr;

TEST(ReadColorImage, ReadsPng)
{
    const TemporaryFolder folder;

    const auto image = readColorImage(folder.write("a.png", PlainPng::file({1, 1, 8, 2}, "\x01\x02\x03")));

    EXPECT_EQ(image.pixel(0, 0), Math::Color(1, 2, 3, 255));
}

TEST(ReadColorImage, ReadsJpegUnderBothOfItsNames)
{
    const TemporaryFolder folder;
    const std::string bytes = TemporaryFolder::read(
        std::filesystem::path(TARNEL_TEST_DATA) / "deepzoom" / "photo_files" / "7" / "0_0.jpeg"
    );
    for (const char* const name : {"a.jpg", "a.JPEG"})
    {
        const auto image = readColorImage(folder.write(name, bytes));

        EXPECT_EQ(image.width(), 26U);
        EXPECT_EQ(image.height(), 26U);
        EXPECT_NEAR(image.pixel(5, 20).g(), 80, 12);
    }
}

TEST(ReadColorImage, AJpegThatAnnouncesMoreThanItCanHoldIsRefusedBeforeItTakesMemory)
{
    const TemporaryFolder folder;
    std::string bytes = TemporaryFolder::read(
        std::filesystem::path(TARNEL_TEST_DATA) / "deepzoom" / "photo_files" / "7" / "0_0.jpeg"
    );
    const std::size_t frame =
        bytes.find("\xFF\xC0");  // then two bytes of length, one of precision, height, width
    ASSERT_NE(frame, std::string::npos);
    bytes.replace(frame + 5, 4, "\x3E\x80\x3E\x80");  // 16000 twice

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readColorImage(folder.write("a.jpg", bytes)); }),
        HasSubstr("bytes cannot hold the announced 16000 x 16000 pixels")
    );
}

TEST(ReadColorImage, ErrorsNameTheFile)
{
    const TemporaryFolder folder;
    const auto errorOf = [&](const char* name, std::string_view bytes)
    { return messageOf<std::runtime_error>([&] { readColorImage(folder.write(name, bytes)); }); };

    EXPECT_THAT(errorOf("a.png", "x"), HasSubstr("a.png as PNG"));
    EXPECT_THAT(errorOf("a.jpg", "x"), HasSubstr("a.jpg as JPEG"));
    EXPECT_THAT(errorOf("a.jpg", ""), HasSubstr("a.jpg as JPEG: the file is empty"));
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readColorImage(folder.path() / "none.jpg"); }),
        HasSubstr("none.jpg")
    );
}
