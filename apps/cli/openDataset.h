#pragma once

#include <octree/Octree.h>

#include <string>

namespace Cli
{
/// The location of the data set at a path given in UTF-8, or at a web address: its folder or its metadata file.
/// @throws std::runtime_error  naming the path when there is none
Octree::Location datasetLocation(const std::string& path);
}  // namespace Cli
