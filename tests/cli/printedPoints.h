#pragma once

#include <Eigen/Core>

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

constexpr const char* kPointTextHeader = "X Y Z Red Green Blue Alpha";

/// A point as the tool prints it, with its level where that is known.
struct PrintedPoint
{
    Eigen::Vector3d position;
    std::array<int, 4> color{};
    std::size_t level = 0;
};

/// All points of a data set of the tests, coarse levels first, as "dump" prints them.
std::vector<PrintedPoint> dumpAll(const std::string& name);

/// The points of a text file with header, as "query" and "export-visible" write them.
std::vector<PrintedPoint> parsePointText(const std::string& content);

std::vector<PrintedPoint> pointsWhere(
    const std::vector<PrintedPoint>& points, const std::function<bool(const PrintedPoint&)>& isWanted
);

/// Equal but for the rounding of coordinates relative to the reference position to single precision.
void expectSamePoints(
    const std::vector<PrintedPoint>& actual, const std::vector<PrintedPoint>& expected, double tolerance
);
