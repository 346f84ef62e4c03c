#pragma once

#include "apps/cli/SceneItems.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Cli
{
/// The options that say what is in the scene, how it looks and from where it is seen; shared by the verbs
/// that draw. Values are kept as text until the scene is built, so that one place checks them.
struct SceneOptions
{
    std::vector<std::string> clouds;
    std::vector<SceneItem> items;  ///< beside the clouds

    std::string eye;
    std::string target;
    std::string up;  ///< empty for z, and for y where that is seen along
    double fovDeg = 40.0;
    bool isOrthographic = false;
    std::optional<double> orthographicHeight;  ///< fitted where not given
    std::optional<double> azimuthDeg;
    std::optional<double> elevationDeg;
    std::optional<double> distance;
    std::string view;
    std::string fit;
    std::string section;
    std::string size = "1280x720";
    std::string depth;  ///< file for the depth buffer, empty for none

    std::string mode = "Default";
    std::string colorBy;  ///< rgb, intensity, class, scan, height; empty for what the mode says
    std::optional<std::string> colorMap;  ///< Turbo, and Gray for intensities
    std::string intensityRange;
    std::vector<std::string> classColors;
    std::vector<std::string> classNames;
    std::string colorizeFrom;
    std::string colorizeTo;
    std::optional<double> brightness;
    std::optional<double> contrast;
    std::optional<double> autoContrast;
    double opacity = 1.0;
    std::string background;  ///< empty for one on which the mode shows something

    std::uint64_t budget = 5'000'000;
    std::optional<double> threshold;
    std::optional<std::uint64_t> minLevel;
    std::optional<std::uint64_t> maxLevel;
    std::optional<double> pointSize;
    std::optional<double> maxPointSize;   ///< pixels
    std::optional<double> maxPointShare;  ///< of the picture's height, where no size is given
    std::vector<std::string> clipPlanes;
    std::string classes;  ///< shown ones, empty for all
    std::string hiddenClasses;
    std::string intensities;  ///< shown ones, "least,greatest", empty for all
    std::string scans;        ///< shown ones, empty for all
    std::string hiddenScans;
    bool showBoxes = false;
    std::string uniformColor;

    /// Of verbs that write a picture; strengths as Render::EyeDomeLighting.
    std::optional<double> eyeDomeStrength;  ///< without one the scene decides
    std::optional<double> eyeDomeRadius;    ///< pixels; without one the picture's height decides
    std::uint64_t samples = 1;              ///< pixels that are drawn for one, across and down each
    bool hasLegend = false;                 ///< in a margin of the picture
    std::string unit = "units";             ///< what a data unit is called in a legend
    bool isThumbnail = false;               ///< seen as thumbnails are, with what makes small pictures clear
};

/// Adds everything that verbs take which draw a scene: its objects, the camera, the look, the depth picture.
void addSceneOptions(CLI::App& verb, SceneOptions& options);

/// Takes over what only the parsed verb knows of those: the objects in their order.
/// @throws CLI::ParseError  when there are none, and for values that make no sense
void finishSceneOptions(const CLI::App& verb, SceneOptions& options);

/// Adds camera and picture options to a verb.
void addCameraOptions(CLI::App& verb, SceneOptions& options);

/// Adds what points are coloured by, which is part of the look.
/// @returns the option that chooses
CLI::Option* addColoringOptions(CLI::App& verb, SceneOptions& options);

/// Adds names of classes, for verbs that tell them.
void addClassNameOption(CLI::App& verb, SceneOptions& options);

/// Adds opacity and background, which are part of the look.
void addBackgroundOptions(CLI::App& verb, SceneOptions& options);

/// Adds the options of verbs that write a picture to how it is shaded.
void addShadingOptions(CLI::App& verb, SceneOptions& options);

/// Adds the options of point clouds and colours to a verb.
void addLookOptions(CLI::App& verb, SceneOptions& options);

/// Adds those options of point clouds that decide which points are there and how large, part of the look: for
/// verbs that make no picture and use "--threshold" for something else.
void addCloudOptions(CLI::App& verb, SceneOptions& options);
}  // namespace Cli
