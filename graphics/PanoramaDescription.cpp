#include "graphics/PanoramaDescription.h"

#include "core/errorReason.h"
#include "core/isReservedName.h"
#include "core/parseJson.h"
#include "core/readLocalFile.h"
#include "core/shownText.h"
#include "core/toUtf8.h"

#include <Eigen/LU>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>

namespace Graphics
{
namespace
{
using Json = nlohmann::json;

constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 20U;  // bytes
constexpr int kVersion = 1;
constexpr const char* kProjection = "equirectangular";
constexpr Eigen::Index kMatrixSide = 4;
constexpr double kLargestPose = 1e30;      // elements beyond it have no use as single precision
constexpr std::size_t kShownText = 40;     // bytes of a value in messages
constexpr std::size_t kLongestPath = 200;  // bytes; it is part of messages about the files

[[noreturn]] void fail(const std::string& reason)
{
    throw std::runtime_error(reason);
}

const Json& member(const Json& json, const char* name)
{
    const auto found = json.find(name);
    if (found == json.end())
    {
        fail(std::string("\"") + name + "\" is missing");
    }
    return *found;
}

/// A value for messages.
std::string shown(const Json& json)
{
    if (json.is_structured())
    {
        return std::string("of type ") + json.type_name();
    }
    return Core::shownText(
        json.dump(-1, ' ', true, Json::error_handler_t::replace), kShownText
    );  // all ASCII
}

/// Paths go down from the folder, step by step, and mean the same on every system.
bool staysInside(std::string_view path)
{
    const auto isForbidden = [](char c) { return c == '\\' || c == ':'; };
    if (path.size() > kLongestPath || Core::shownText(path, kLongestPath) != path ||
        std::any_of(path.begin(), path.end(), isForbidden))
    {
        return false;
    }
    for (std::size_t begin = 0; begin <= path.size();)
    {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string_view step = path.substr(begin, end - begin);
        if (step.empty() || Core::isReservedName(step))
        {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

std::string pathOf(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    if (!value.is_string())
    {
        fail(std::string("\"") + name + "\" is not a text");
    }
    const std::string& path = value.get_ref<const std::string&>();
    if (!staysInside(path) || !path.ends_with(".dzi"))
    {
        fail(
            std::string("\"") + name + "\" is " + shown(value) +
            ", not the relative path of a .dzi file inside the folder"
        );
    }
    return path;
}

double depthScale(const Json& value)
{
    if (!value.is_number() || !(value.get<double>() > 0.0) || !std::isfinite(value.get<double>()))
    {
        fail("\"depthScale\" is not a number above 0");
    }
    return value.get<double>();
}

std::vector<std::uint16_t> depthCodes(const Json& value)
{
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint16_t>::max();
    std::vector<std::uint16_t> codes;
    if (!value.is_array())
    {
        fail("\"noDepth\" is not a list");
    }
    for (const Json& code : value)
    {
        if (!code.is_number_unsigned() || code.get<std::uint64_t>() > kLargest)
        {
            fail("\"noDepth\" holds something that is not a whole number from 0 to 65535");
        }
        codes.push_back(code.get<std::uint16_t>());
    }
    return codes;
}

Eigen::Matrix4d poseMatrix(const Json& value)
{
    const auto isNumber = [](const Json& number)
    { return number.is_number() && std::isfinite(number.get<double>()); };
    if (!value.is_array() || value.size() != kMatrixSide * kMatrixSide ||
        !std::all_of(value.begin(), value.end(), isNumber))
    {
        fail("\"pose\" is not a list of 16 numbers");
    }
    Eigen::Matrix4d matrix;
    for (Eigen::Index row = 0; row < kMatrixSide; ++row)
    {
        for (Eigen::Index column = 0; column < kMatrixSide; ++column)
        {
            matrix(row, column) = value[static_cast<std::size_t>(kMatrixSide * row + column)].get<double>();
        }
    }
    const bool isAffine = matrix.row(kMatrixSide - 1) == Eigen::RowVector4d(0.0, 0.0, 0.0, 1.0);
    const bool isInRange = matrix.cwiseAbs().maxCoeff() <= kLargestPose;
    if (!isAffine || !isInRange || !(std::abs(matrix.topLeftCorner<3, 3>().determinant()) > 0.0))
    {
        fail("\"pose\" is not an affine matrix that can be inverted, row by row, with elements up to 1e30");
    }
    return matrix;
}
}  // namespace

PanoramaDescription parsePanoramaDescription(std::string_view text)
{
    const Core::JsonTree tree(Core::parseJson(text));
    const Json& json = *tree;
    if (!json.is_object())
    {
        fail("an object is expected");
    }
    if (const Json& version = member(json, "version"); version != kVersion)
    {
        fail("\"version\" is " + shown(version) + ", only " + std::to_string(kVersion) + " is supported");
    }
    // The library's comparison with a text takes memory, and ends the program when there is none.
    const Json& projection = member(json, "projection");
    if (!projection.is_string() || projection.get_ref<const std::string&>() != kProjection)
    {
        fail(
            "\"projection\" is " + shown(projection) + ", only \"" + std::string(kProjection) +
            "\" is supported"
        );
    }
    PanoramaDescription result;
    result.color = pathOf(json, "color");
    result.depth = pathOf(json, "depth");
    if (const auto found = json.find("depthScale"); found != json.end())
    {
        result.depthScale = depthScale(*found);
    }
    if (const auto found = json.find("noDepth"); found != json.end())
    {
        result.noDepth = depthCodes(*found);
    }
    if (const auto found = json.find("pose"); found != json.end())
    {
        result.pose = poseMatrix(*found);
    }
    return result;
}

PanoramaDescription readPanoramaDescription(const std::filesystem::path& folder)
{
    const std::filesystem::path path = folder / PanoramaDescription::kFileName;
    const std::string text = Core::readLocalFile(path, kLargestFile);
    try
    {
        return parsePanoramaDescription(text);
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(
            "Error: cannot read " + Core::toUtf8(path) + " as a panorama: " + Core::errorReason(error.what())
        );
    }
}

std::string panoramaDescriptionText(const PanoramaDescription& description)
{
    Json pose = Json::array();
    for (Eigen::Index row = 0; row < kMatrixSide; ++row)
    {
        for (Eigen::Index column = 0; column < kMatrixSide; ++column)
        {
            pose.push_back(description.pose(row, column));
        }
    }
    const nlohmann::ordered_json json{
        {"version", kVersion},
        {"projection", kProjection},
        {"color", description.color},
        {"depth", description.depth},
        {"depthScale", description.depthScale},
        {"noDepth", description.noDepth},
        {"pose", pose},
    };
    constexpr int kIndent = 4;
    return json.dump(kIndent) + "\n";
}
}  // namespace Graphics
