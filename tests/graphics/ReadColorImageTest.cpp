#include "graphics/readColorImage.h"
#include "tests/graphics/PlainPng.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <jpeglib.h>

#include <cstdio>  // before the JPEG library, which needs it
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

using Graphics::readColorImage;
using testing::HasSubstr;

namespace
{
/// A progressive JPEG of one grey: a pass for the average of each block, then one for each further
/// coefficient.
std::string jpegOfScans(unsigned width, unsigned height, int scanCount)
{
    std::vector<jpeg_scan_info> scans{{1, {0}, 0, 0, 0, 0}};
    for (int coefficient = 1; coefficient < scanCount; ++coefficient)
    {
        scans.push_back({1, {0}, coefficient, coefficient, 0, 0});
    }
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &bytes, &size);
    info.image_width = width;
    info.image_height = height;
    info.input_components = 1;
    info.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&info);
    info.scan_info = scans.data();
    info.num_scans = scanCount;
    jpeg_start_compress(&info, TRUE);
    std::vector<unsigned char> row(width, 77);
    unsigned char* pixels = row.data();
    while (info.next_scanline < height)
    {
        jpeg_write_scanlines(&info, &pixels, 1);
    }
    jpeg_finish_compress(&info);
    std::string file(reinterpret_cast<const char*>(bytes), size);
    jpeg_destroy_compress(&info);
    std::free(bytes);
    return file;
}
}  // namespace

TEST(ReadColorImage, ReadsPng)
{
    const TemporaryFolder folder;

    const auto image = readColorImage(folder.write("a.png", PlainPng::file({1, 1, 8, 2}, "\x01\x02\x03")));

    EXPECT_EQ(image.pixel(0, 0), Math::Color(1, 2, 3, 255));
}

TEST(ReadColorImage, ReadsJpegUnderBothOfItsNames)
{
    const TemporaryFolder folder;
    const std::string bytes =
        TemporaryFolder::read(testData() / "deepzoom" / "photo_files" / "7" / "0_0.jpeg");
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
    std::string bytes = TemporaryFolder::read(testData() / "deepzoom" / "photo_files" / "7" / "0_0.jpeg");
    const std::size_t frame =
        bytes.find("\xFF\xC0");  // then two bytes of length, one of precision, height, width
    ASSERT_NE(frame, std::string::npos);
    bytes.replace(frame + 5, 4, "\x3E\x80\x3E\x80");  // 16000 twice

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readColorImage(folder.write("a.jpg", bytes)); }),
        HasSubstr("bytes cannot hold the announced 16000 x 16000 pixels")
    );
}

TEST(ReadColorImage, AJpegWhoseHeaderIsLongCanHoldNoMore)
{
    const TemporaryFolder folder;
    std::string bytes = TemporaryFolder::read(testData() / "deepzoom" / "photo_files" / "7" / "0_0.jpeg");
    bytes.replace(bytes.find("\xFF\xC0") + 5, 4, "\x3E\x80\x3E\x80");  // 16000 twice
    std::string comment = "\xFF\xFE\xFF\xFF" + std::string(65533, 'x');
    for (int i = 0; i < 8; ++i)
    {
        bytes.insert(2, comment);
    }

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readColorImage(folder.write("a.jpg", bytes)); }),
        HasSubstr("bytes cannot hold the announced 16000 x 16000 pixels")
    );
}

TEST(ReadColorImage, AJpegHasTheFewerScansTheMorePixels)
{
    const TemporaryFolder folder;

    EXPECT_EQ(
        readColorImage(folder.write("small.jpg", jpegOfScans(512, 512, 33))).pixel(500, 500),
        Math::Color(77, 77, 77, 255)
    );
    EXPECT_EQ(readColorImage(folder.write("long.jpg", jpegOfScans(65536 / 8, 8, 64))).width(), 8192U);
    // 2^23 pixels: 32 passes are 2^28 pixels.
    EXPECT_THAT(
        messageOf<std::runtime_error>(
            [&] { readColorImage(folder.write("large.jpg", jpegOfScans(4096, 2048, 33))); }
        ),
        HasSubstr("large.jpg as JPEG: more than 32 scans of 4096 x 2048 pixels")
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
