#pragma once

#include <CLI/CLI.hpp>
#include <Eigen/Core>

#include <optional>
#include <string>
#include <vector>

namespace Cli
{
/// One object of a scene as the command line names it.
struct SceneItem
{
    enum class Kind
    {
        Cloud,
        Panorama,
        Mesh,
    };

    Kind kind = Kind::Cloud;
    std::string path;
    double unitScale = 1.0;                    ///< of a mesh: metres per unit of its file
    std::optional<Eigen::Matrix4d> transform;  ///< in absolute coordinates
};

/// Adds --cloud, --pano, --mesh, --unit-scale and --transform to a verb. The last two say something about the
/// object before them, so their order counts.
void addItemOptions(CLI::App& verb);

/// The objects that those options of a parsed verb name, in their order.
/// @throws CLI::ParseError  for no object, for an option that follows none, for wrong numbers
std::vector<SceneItem> sceneItems(const CLI::App& verb);

/// The matrix of 16 numbers, row by row, or of five: a translation, a turn about z in degrees (from x towards
/// y) and a scale, which come into effect from the last to the first.
/// @throws CLI::ValidationError  for other numbers
Eigen::Matrix4d parseTransform(const std::string& option, const std::string& text);
}  // namespace Cli
