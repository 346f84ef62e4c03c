#pragma once

#include "math/Point.h"

namespace PoTree
{
/// How stored numbers become coordinates and colours.
struct PointConversion
{
    Math::Point<double, 3> scale;  ///< data units per stored unit
    Math::Point<double, 3> shift;  ///< what is added then, in data units
    double unitScale = 1.0;        ///< scene units per data unit
    bool wideColors = false;       ///< colour channels have 16 bits, otherwise 8
};
}  // namespace PoTree
