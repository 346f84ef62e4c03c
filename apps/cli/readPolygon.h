#pragma once

#include <math/Point.h>

#include <string>
#include <string_view>
#include <vector>

namespace Cli
{
/// Reads the corners of a polygon from a text file: x and y of one corner a line, separated by blanks or
/// commas; empty lines and those that begin with "#" do not count. At most 16 MiB in 100000 lines of at most
/// 1000 characters are read, and only from regular files, so that nothing makes it run on or take much
/// memory.
/// @param origin  is subtracted in double precision
/// @throws std::runtime_error  naming the file, the line and what is wrong
std::vector<Math::Point<float, 2>> readPolygon(const std::string& path, const Math::Point<double, 3>& origin);
/// The same in two steps: the text of the file, and its corners.
/// @param path  for messages
std::string readPolygonFile(const std::string& path);
std::vector<Math::Point<float, 2>> parsePolygon(
    std::string_view text, const std::string& path, const Math::Point<double, 3>& origin
);
}  // namespace Cli
