#pragma once

#include "core/JsonField.h"
#include "math/Point.h"

#include <functional>
#include <string_view>

namespace Octree
{
/// Coordinates beyond this leave no room for products and differences in 32-bit floats.
constexpr double kLargestCoordinate = 1e30;

/// Three numbers within kLargestCoordinate.
/// @throws std::runtime_error  naming field and expectation
Math::Point<double, 3> pointOf(const Core::JsonField& field);

/// Parses the text of a description file and hands over its fields.
/// @param file  the name for messages
/// @param read  gets the object at the top; what it throws as std::runtime_error is put behind the file's
/// name
/// @throws std::runtime_error  naming the file, for text that is no JSON, nested too deep, or no object
void readFields(
    std::string_view text, std::string_view file, const std::function<void(const Core::JsonField& root)>& read
);
}  // namespace Octree
