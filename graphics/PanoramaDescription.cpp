#include "graphics/PanoramaDescription.h"

#include "core/JsonField.h"
#include "core/LocalFolder.h"
#include "core/errorReason.h"
#include "core/isReservedName.h"
#include "core/parseJson.h"
#include "core/readAll.h"
#include "core/shownText.h"

#include <Eigen/LU>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <stdexcept>

namespace Graphics
{
namespace
{
using Json = nlohmann::json;
using Field = Core::JsonField;

constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 20U;  // bytes
constexpr int kVersion = 1;
constexpr const char* kProjection = "equirectangular";
constexpr Eigen::Index kMatrixSide = 4;
constexpr double kLargestPose = 1e30;      // elements beyond it have no use as single precision
constexpr std::size_t kShownText = 40;     // bytes of a value in messages
constexpr std::size_t kLongestPath = 200;  // bytes; it is part of messages about the files

std::string quoted(const std::string& name)
{
    return '"' + name + '"';
}

constexpr Core::JsonWording kWording{
    [](const std::string& name) { return quoted(name) + " is missing"; },
    [](const std::string& name, const std::string& expected) { return quoted(name) + " is not " + expected; },
};

/// The error for a field whose value is worth showing.
[[noreturn]] void failShowing(const Field& field, const std::string& expected)
{
    const Json& value = field.value();
    const std::string shown = value.is_structured()
                                  ? std::string("of type ") + value.type_name()
                                  : Core::shownText(
                                        value.dump(-1, ' ', true, Json::error_handler_t::replace), kShownText
                                    );  // all ASCII
    throw std::runtime_error(quoted(field.name()) + " is " + shown + ", " + expected);
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

std::string pathOf(const Field& field)
{
    std::string path = field.text();
    if (!staysInside(path) || !path.ends_with(".dzi"))
    {
        failShowing(field, "not the relative path of a .dzi file inside the folder");
    }
    return path;
}

double depthScale(const Field& field)
{
    const Json& value = field.value();
    if (!value.is_number() || !(value.get<double>() > 0.0) || !std::isfinite(value.get<double>()))
    {
        field.fail("a number above 0");
    }
    return value.get<double>();
}

std::vector<std::uint16_t> depthCodes(const Field& field)
{
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint16_t>::max();
    std::vector<std::uint16_t> codes;
    for (const Json& code : field.list())
    {
        if (!code.is_number_unsigned() || code.get<std::uint64_t>() > kLargest)
        {
            throw std::runtime_error(
                quoted(field.name()) + " holds something that is not a whole number from 0 to 65535"
            );
        }
        codes.push_back(code.get<std::uint16_t>());
    }
    return codes;
}

Eigen::Matrix4d poseMatrix(const Field& field)
{
    const Json& value = field.value();
    const auto isNumber = [](const Json& number)
    { return number.is_number() && std::isfinite(number.get<double>()); };
    if (!value.is_array() || value.size() != kMatrixSide * kMatrixSide ||
        !std::all_of(value.begin(), value.end(), isNumber))
    {
        field.fail("a list of 16 numbers");
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
        field.fail("an affine matrix that can be inverted, row by row, with elements up to 1e30");
    }
    return matrix;
}
}  // namespace

PanoramaDescription parsePanoramaDescription(std::string_view text)
{
    const Core::JsonTree tree(Core::parseJson(text));
    if (!(*tree).is_object())
    {
        throw std::runtime_error("an object is expected");
    }
    const Field root(*tree, "", kWording);
    if (const Field version = root.get("version"); version.value() != kVersion)
    {
        failShowing(version, "only " + std::to_string(kVersion) + " is supported");
    }
    // The library's comparison with a text takes memory, and ends the program when there is none.
    const Field projection = root.get("projection");
    if (!projection.value().is_string() || projection.value().get_ref<const std::string&>() != kProjection)
    {
        failShowing(projection, "only \"" + std::string(kProjection) + "\" is supported");
    }
    PanoramaDescription result;
    result.color = pathOf(root.get("color"));
    result.depth = pathOf(root.get("depth"));
    if (const std::optional<Field> found = root.find("depthScale"))
    {
        result.depthScale = depthScale(*found);
    }
    if (const std::optional<Field> found = root.find("noDepth"))
    {
        result.noDepth = depthCodes(*found);
    }
    if (const std::optional<Field> found = root.find("pose"))
    {
        result.pose = poseMatrix(*found);
    }
    return result;
}

PanoramaDescription readPanoramaDescription(const Core::ByteFolder& folder)
{
    const auto file = folder.openFor(Core::Extent::Whole, PanoramaDescription::kFileName);
    const std::string text = *Core::readAll(*file, kLargestFile);  // nobody asks for a stop
    try
    {
        return parsePanoramaDescription(text);
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(
            "Error: cannot read " + file->name() + " as a panorama: " + Core::errorReason(error.what())
        );
    }
}

PanoramaDescription readPanoramaDescription(const std::filesystem::path& folder)
{
    return readPanoramaDescription(Core::LocalFolder(folder));
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
