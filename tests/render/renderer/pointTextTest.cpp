#include "render/renderer/pointText.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>

namespace Render
{
namespace
{
std::string floatText(float value)
{
    std::string text;
    appendFloat(text, value);
    return text;
}

class StreamOfPrecision7
{
public:
    StreamOfPrecision7() { mStream.precision(7); }

    std::string text(float value)
    {
        mStream.str({});
        mStream << value;
        return mStream.str();
    }

private:
    std::ostringstream mStream;
};

std::string textOf(const std::filesystem::path& path)
{
    std::ifstream file(path);  // as text, so lines end alike on all systems
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string linesOf(std::initializer_list<VertexPosColor> points)
{
    std::string text;
    appendPointLines(text, points, "\n");
    return text;
}
}  // namespace

TEST(PointText, HasSevenSignificantDigitsWithoutTrailingZeros)
{
    EXPECT_EQ(floatText(1.5F), "1.5");
    EXPECT_EQ(floatText(-2.0F), "-2");
    EXPECT_EQ(floatText(1234.5678F), "1234.568");
    EXPECT_EQ(floatText(0.1F), "0.1");
    EXPECT_EQ(floatText(0.0F), "0");
    EXPECT_EQ(floatText(-0.0F), "-0");
}

TEST(PointText, HasExponentsOnlyForVeryLargeAndVerySmallNumbers)
{
    EXPECT_EQ(floatText(9999999.0F), "9999999");
    EXPECT_EQ(floatText(1e7F), "1e+07");
    EXPECT_EQ(floatText(16777216.0F), "1.677722e+07");
    EXPECT_EQ(floatText(0.0001F), "0.0001");
    EXPECT_EQ(floatText(0.00001F), "1e-05");
    EXPECT_EQ(floatText(std::numeric_limits<float>::max()), "3.402823e+38");
    EXPECT_EQ(floatText(std::numeric_limits<float>::denorm_min()), "1.401298e-45");
}

TEST(PointText, NamesInfinitiesAndWhatIsNotANumber)
{
    EXPECT_EQ(floatText(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(floatText(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(floatText(std::numeric_limits<float>::quiet_NaN()), "nan");
    EXPECT_EQ(floatText(-std::numeric_limits<float>::quiet_NaN()), "nan");
}

TEST(PointText, EqualsAStreamOfPrecisionSevenForAMillionFloats)
{
    std::mt19937 generator(20240521);
    StreamOfPrecision7 stream;
    int different = 0;

    for (int i = 0; i < 1'000'000; ++i)
    {
        // Any bits, so all magnitudes and denormals; every second one of a magnitude that coordinates have.
        const float any = std::bit_cast<float>(static_cast<std::uint32_t>(generator()));
        const float value =
            i % 2 == 0 ? any : static_cast<float>(std::ldexp(double(generator()), -19) - 4096.0);
        if (!std::isnan(value) && floatText(value) != stream.text(value))
        {
            ++different;
            EXPECT_EQ(floatText(value), stream.text(value)) << "bits " << std::bit_cast<std::uint32_t>(value);
            ASSERT_LT(different, 10);
        }
    }
}

TEST(PointText, EqualsAStreamWhereRoundingChangesTheNumberOfDigits)
{
    StreamOfPrecision7 stream;
    for (const float power : {1e-6F, 1e-5F, 1e-4F, 1e-3F, 0.1F, 1.0F, 10.0F, 1e5F, 1e6F, 1e7F, 1e8F, 1e20F})
    {
        float value = power;
        for (int step = 0; step < 50; ++step)
        {
            EXPECT_EQ(floatText(value), stream.text(value));
            value = std::nextafter(value, 0.0F);
        }
    }
}

TEST(PointText, HasALinePerPoint)
{
    EXPECT_EQ(
        linesOf(
            {VertexPosColor(1.5F, -2.0F, 1234.5678F, 255, 128, 0, 255), VertexPosColor(0.0F, 0.0F, 0.0F, 0U)}
        ),
        "1.5 -2 1234.568 255 128 0 255\n0 0 0 0 0 0 0\n"
    );
}

TEST(PointText, IsAppendedWithTheGivenLineEnd)
{
    std::string text = "before ";
    const VertexPosColor point(1.0F, 2.0F, 3.0F, 4, 5, 6, 7);

    appendPointLines(text, std::span(&point, 1), "\r\n");

    EXPECT_EQ(text, "before 1 2 3 4 5 6 7\r\n");
}

TEST(PointText, FileHasAHeaderThenThePoints)
{
    const TemporaryFolder folder;
    const VertexPosColor point(1.5F, -2.0F, 1234.5678F, 255, 128, 0, 255);

    writePointText(folder.path() / "points.txt", std::span(&point, 1));

    EXPECT_EQ(
        textOf(folder.path() / "points.txt"), "X Y Z Red Green Blue Alpha\n1.5 -2 1234.568 255 128 0 255\n"
    );
}

TEST(PointText, FileWithoutPointsHoldsTheHeaderAlone)
{
    const TemporaryFolder folder;

    writePointText(folder.path() / "points.txt", {});

    EXPECT_EQ(textOf(folder.path() / "points.txt"), "X Y Z Red Green Blue Alpha\n");
}

TEST(PointText, FileReplacesAnOlderOne)
{
    const TemporaryFolder folder;
    std::ofstream(folder.path() / "points.txt") << std::string(1000, 'x');

    writePointText(folder.path() / "points.txt", {});

    EXPECT_EQ(textOf(folder.path() / "points.txt"), "X Y Z Red Green Blue Alpha\n");
}

TEST(PointText, FileInAFolderThatDoesNotExistIsAnErrorThatNamesIt)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / "missing" / "points.txt";

    const std::string message = messageOf<std::runtime_error>([&] { writePointText(path, {}); });

    EXPECT_NE(message.find("points.txt"), std::string::npos) << message;
}

TEST(PointText, CanBeOpenedUnderANewAndAnExistingName)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / "points.txt";

    EXPECT_TRUE(canOpenForWriting(path));
    EXPECT_FALSE(std::filesystem::exists(path)) << "asking leaves nothing behind";

    std::ofstream(path) << "old";
    EXPECT_TRUE(canOpenForWriting(path));
    EXPECT_EQ(textOf(path), "old");
}

TEST(PointText, CannotBeOpenedAsAFolderOrInAMissingOne)
{
    const TemporaryFolder folder;

    EXPECT_FALSE(canOpenForWriting(folder.path()));
    EXPECT_FALSE(canOpenForWriting(folder.path() / "missing" / "points.txt"));
    EXPECT_FALSE(canOpenForWriting({}));
}
}  // namespace Render
