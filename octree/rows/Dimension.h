#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Octree
{
/// What a stored number is.
enum class NumberType
{
    Signed,
    Unsigned,
    Float,
};

/// One number of a row: value = stored number x scale + offset.
struct Dimension
{
    std::string name;                        ///< as the file spells it
    NumberType type = NumberType::Unsigned;  ///< of the stored number
    std::size_t size = 1;                    ///< bytes: 1 to 8, floating-point numbers 4 or 8
    double scale = 1.0;                      ///< see above
    double offset = 0.0;                     ///< see above
    std::optional<double> minimum;           ///< of the values, where the file says; both or none
    std::optional<double> maximum;           ///< of the values; both or none
    std::size_t byteOffset = 0;              ///< within a row
};
}  // namespace Octree
