#pragma once

#include "octree/fileError.h"

#include <stdexcept>
#include <string_view>

namespace Octree
{
/// Puts a file's name before what goes wrong in `step`, which does not read the file: that names it already.
template <class Step>
auto naming(std::string_view file, const Step& step)
{
    try
    {
        return step();
    }
    catch (const std::runtime_error& error)
    {
        throw fileError(file, error.what());
    }
}
}  // namespace Octree
