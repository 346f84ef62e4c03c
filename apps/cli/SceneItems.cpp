#include "apps/cli/SceneItems.h"

#include "apps/cli/parseValue.h"

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <numbers>

namespace Cli
{
namespace
{
constexpr const char* kGroup = "Scene (an option that follows an object is about that object)";

SceneItem& lastItem(std::vector<SceneItem>& items, const std::string& option)
{
    if (items.empty())
    {
        throw CLI::ValidationError(option, "there is no object before it");
    }
    return items.back();
}

double parseUnitScale(const std::string& text)
{
    const double scale = parseNumbers("--unit-scale", text, 1).front();
    if (!(scale > 0.0))
    {
        throw CLI::ValidationError("--unit-scale", "'" + text + "' is not above 0");
    }
    return scale;
}
}  // namespace

void addItemOptions(CLI::App& verb)
{
    const auto add = [&verb](const std::string& name, const std::string& help)
    {
        const auto leaveToParser = [](const std::vector<std::string>&) {};  // it keeps values and their order
        verb.add_option_function<std::vector<std::string>>(name, leaveToParser, help)
            ->allow_extra_args(false)
            ->group(kGroup);
    };
    verb.add_option_function<std::vector<std::string>>(
            "DATASET",
            [](const std::vector<std::string>&) {},
            "Folders or web addresses of point clouds, the same as --cloud"
    )
        ->expected(-1)
        ->group(kGroup);
    add("--cloud", "Folder or web address of a point cloud; repeatable");
    add("--pano", "Folder or web address of a panorama; repeatable");
    add("--mesh", "OBJ file of a mesh; repeatable");
    add("--unit-scale", "Data units per unit of the mesh before it (default: 1)");
    add("--transform",
        "Where the object before it stands: 16 numbers, a matrix row by row, or x,y,z,turn,scale with the "
        "turn "
        "about z in degrees");
}

std::vector<SceneItem> sceneItems(const CLI::App& verb)
{
    static const std::map<std::string, SceneItem::Kind> kKinds{
        {"DATASET", SceneItem::Kind::Cloud},
        {"cloud", SceneItem::Kind::Cloud},
        {"pano", SceneItem::Kind::Panorama},
        {"mesh", SceneItem::Kind::Mesh},
    };
    std::vector<SceneItem> items;
    std::map<const CLI::Option*, std::size_t> seen;
    for (const CLI::Option* const option : verb.parse_order())
    {
        const std::string name = option->get_single_name();
        const std::size_t occurrence = seen[option]++;
        if (const auto kind = kKinds.find(name); kind != kKinds.end())
        {
            items.push_back({kind->second, option->results().at(occurrence), 1.0, std::nullopt});
        }
        else if (name == "unit-scale")
        {
            SceneItem& item = lastItem(items, "--unit-scale");
            if (item.kind != SceneItem::Kind::Mesh)
            {
                throw CLI::ValidationError("--unit-scale", "only a mesh has one");
            }
            item.unitScale = parseUnitScale(option->results().at(occurrence));
        }
        else if (name == "transform")
        {
            lastItem(items, "--transform").transform =
                parseTransform("--transform", option->results().at(occurrence));
        }
    }
    if (items.empty())
    {
        throw CLI::RequiredError("One of --cloud, --pano and --mesh");
    }
    return items;
}

Eigen::Matrix4d parseTransform(const std::string& option, const std::string& text)
{
    constexpr std::size_t kPlainCount = 5;
    constexpr std::size_t kMatrixCount = 16;
    const auto count = static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
    if (count != kPlainCount && count != kMatrixCount)
    {
        throw CLI::ValidationError(
            option, "'" + text + "' has " + std::to_string(count) + " numbers, 5 or 16 are expected"
        );
    }
    const std::vector<double> numbers = parseNumbers(option, text, count);
    Eigen::Matrix4d matrix = Eigen::Matrix4d::Identity();
    if (count == kMatrixCount)
    {
        for (std::size_t i = 0; i < kMatrixCount; ++i)
        {
            matrix(static_cast<Eigen::Index>(i / 4), static_cast<Eigen::Index>(i % 4)) = numbers[i];
        }
    }
    else
    {
        const double turn = numbers[3] * std::numbers::pi / 180.0;
        const double scale = numbers[4];
        matrix(0, 0) = scale * std::cos(turn);
        matrix(0, 1) = -scale * std::sin(turn);
        matrix(1, 0) = scale * std::sin(turn);
        matrix(1, 1) = scale * std::cos(turn);
        matrix(2, 2) = scale;
        matrix.topRightCorner<3, 1>() = Eigen::Vector3d(numbers[0], numbers[1], numbers[2]);
    }
    if (!(std::abs(matrix.determinant()) > 0.0))
    {
        throw CLI::ValidationError(option, "'" + text + "' makes everything flat");
    }
    return matrix;
}
}  // namespace Cli
