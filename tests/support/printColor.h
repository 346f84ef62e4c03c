#pragma once

#include "math/Color.h"

#include <ostream>

namespace Math
{
/// How GoogleTest shows a colour.
inline void PrintTo(const Color& color, std::ostream* out)
{
    *out << "(" << int{color.r()} << ", " << int{color.g()} << ", " << int{color.b()} << ", "
         << int{color.a()} << ")";
}
}  // namespace Math
