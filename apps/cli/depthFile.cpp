#include "apps/cli/depthFile.h"

#include "apps/cli/OutputFile.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/parseValue.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

namespace Cli
{
namespace
{
static_assert(std::endian::native == std::endian::little, "numbers are written as they lie in memory");

template <class T>
void append(std::string& bytes, T value)
{
    std::array<char, sizeof value> raw;
    std::memcpy(raw.data(), &value, sizeof value);
    bytes.append(raw.data(), raw.size());
}

/// One strip of floating-point numbers behind the header.
std::string tiffHeader(std::uint32_t width, std::uint32_t height)
{
    constexpr std::uint16_t kShort = 3;
    constexpr std::uint16_t kLong = 4;

    struct Tag
    {
        std::uint16_t number;
        std::uint16_t type;
        std::uint32_t value;
    };

    constexpr std::uint32_t kTags = 10;
    constexpr std::uint32_t kPixelsBegin = 8 + 2 + kTags * 12 + 4;
    const std::array<Tag, kTags> tags{{
        {256, kLong, width},
        {257, kLong, height},
        {258, kShort, 32},  // bits
        {259, kShort, 1},   // not compressed
        {262, kShort, 1},   // the larger the brighter
        {273, kLong, kPixelsBegin},
        {277, kShort, 1},  // number a pixel
        {278, kLong, height},
        {279, kLong, width * height * std::uint32_t{sizeof(float)}},
        {339, kShort, 3},  // floating-point numbers
    }};
    std::string bytes("II\x2a\0\x08\0\0\0", 8);
    append(bytes, static_cast<std::uint16_t>(kTags));
    for (const Tag& tag : tags)
    {
        append(bytes, tag.number);
        append(bytes, tag.type);
        append(bytes, std::uint32_t{1});
        append(bytes, tag.value);  // of two bytes where it is short, the rest is 0
    }
    append(bytes, std::uint32_t{0});  // no other picture
    return bytes;
}

std::string sideText(const Graphics::DepthImage& depths, const Render::Camera& camera)
{
    nlohmann::ordered_json json;
    json["width"] = depths.width();
    json["height"] = depths.height();
    json["projection"] = camera.isOrthographic() ? "parallel" : "perspective";
    json["near"] = camera.zNear();
    json["far"] = camera.zFar();
    json["distance"] = "along the viewing direction, in data units";
    json["empty"] = "NaN";
    return json.dump(2) + "\n";
}
}  // namespace

void requireDepthFile(const std::string& option, const std::string& path)
{
    const std::string extension = fileExtension(path);
    for (const std::string_view known : {".png", ".tif", ".tiff", ".pfm"})
    {
        if (extension == known)
        {
            return;
        }
    }
    throw CLI::ValidationError(option, "'" + path + "' does not end in .png, .tif, .tiff or .pfm");
}

std::string depthSideFile(const std::string& path)
{
    return fileExtension(path) == ".png" ? "" : path + ".json";
}

float distanceOf(float depth, const Render::Camera& camera)
{
    if (depth == camera.clearDepthValue())
    {
        return std::numeric_limits<float>::quiet_NaN();
    }
    // Depth depends on the distance alone: z and w of the picture are linear in it.
    const Eigen::Matrix4f& projection = camera.projectionMatrix();
    const double a = projection(2, 2);
    const double b = projection(2, 3);
    const double c = projection(3, 2);
    const double d = projection(3, 3);
    return static_cast<float>((b - depth * d) / (a - depth * c));
}

void writeDepthFile(const std::string& path, const Graphics::DepthImage& depths, const Render::Camera& camera)
{
    if (fileExtension(path) == ".png")
    {
        depths.writePng(toPath(path));
        return;
    }
    const bool isPfm = fileExtension(path) == ".pfm";
    OutputFile file(toPath(path));
    OutputFile side(toPath(depthSideFile(path)));
    file.write(
        isPfm ? "Pf\n" + std::to_string(depths.width()) + " " + std::to_string(depths.height()) + "\n-1.0\n"
              : tiffHeader(
                    static_cast<std::uint32_t>(depths.width()), static_cast<std::uint32_t>(depths.height())
                )
    );
    std::vector<float> row(static_cast<std::size_t>(depths.width()));
    for (std::uint64_t i = 0; i < depths.height(); ++i)
    {
        const std::uint64_t y = isPfm ? depths.height() - 1 - i : i;  // PFM begins at the bottom
        for (std::size_t x = 0; x < row.size(); ++x)
        {
            row[x] = distanceOf(depths.pixel(x, y), camera);
        }
        file.write({reinterpret_cast<const char*>(row.data()), row.size() * sizeof(float)});
    }
    side.write(sideText(depths, camera));
    file.commit();
    side.commit();
}
}  // namespace Cli
