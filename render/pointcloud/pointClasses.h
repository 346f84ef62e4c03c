#pragma once

#include "math/Color.h"
#include "render/Export.h"

#include <array>
#include <string>

namespace Render
{
/// What a classification number means, and the colour of its points.
struct PointClass
{
    std::string name;   ///< in English
    Math::Color color;  ///< of its points
};

/// All classes by their numbers, with the names that LAS 1.4 (ASPRS) gives them: 0 to 18, reserved numbers up to
/// 63, and numbers from 64 on that users define.
using PointClasses = std::array<PointClass, 256>;
RENDER_API PointClasses asprsClasses();

/// The colours of the classes, for PointLook.
RENDER_API std::array<Math::Color, 256> colorsOf(const PointClasses& classes);

/// Colours of which neighbours differ well, for scan indices and the like.
RENDER_API std::array<Math::Color, 256> distinctColors();
}  // namespace Render
