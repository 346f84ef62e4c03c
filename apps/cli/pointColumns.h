#pragma once

#include <octree/NodePointData.h>

#include <cstddef>
#include <type_traits>

namespace Cli
{
/// What files call an attribute of points.
struct ColumnNames
{
    const char* text;  ///< in the header of a table
    const char* ply;   ///< as a property
};

/// Calls visit(bit, names, get) for each attribute behind places and colours: its bit of Octree::AttributeMask,
/// and a function that gives the value of point i, which is 0 where the column is empty.
template <class Visit>
void visitColumns(const Octree::NodePointColumns& points, const Visit& visit)
{
    const auto valuesOf = [](const auto& column)
    {
        return [&column](std::size_t i)
        {
            using Value = typename std::decay_t<decltype(column)>::value_type;
            return column.empty() ? Value{} : column[i];
        };
    };
    const auto normalOf = [&points](std::size_t axis)
    {
        return [&points, axis](std::size_t i)
        { return points.normals.empty() ? 0.0F : points.normals[i][axis]; };
    };
    using namespace Octree;
    visit(kIntensityAttribute, ColumnNames{"Intensity", "intensity"}, valuesOf(points.intensities));
    visit(
        kClassificationAttribute,
        ColumnNames{"Classification", "classification"},
        valuesOf(points.classifications)
    );
    visit(kScanIndexAttribute, ColumnNames{"ScanIndex", "scan_index"}, valuesOf(points.scanIndices));
    visit(kVisibilityAttribute, ColumnNames{"Hidden", "hidden"}, valuesOf(points.visibilities));
    visit(kNormalAttribute, ColumnNames{"NormalX", "nx"}, normalOf(0));
    visit(kNormalAttribute, ColumnNames{"NormalY", "ny"}, normalOf(1));
    visit(kNormalAttribute, ColumnNames{"NormalZ", "nz"}, normalOf(2));
    visit(
        kReturnNumberAttribute, ColumnNames{"ReturnNumber", "return_number"}, valuesOf(points.returnNumbers)
    );
    visit(
        kReturnCountAttribute,
        ColumnNames{"NumberOfReturns", "number_of_returns"},
        valuesOf(points.returnCounts)
    );
    visit(kGpsTimeAttribute, ColumnNames{"GpsTime", "gps_time"}, valuesOf(points.gpsTimes));
    visit(
        kPointSourceAttribute, ColumnNames{"PointSourceId", "point_source_id"}, valuesOf(points.pointSources)
    );
    visit(kUserDataAttribute, ColumnNames{"UserData", "user_data"}, valuesOf(points.userData));
    visit(kScanAngleAttribute, ColumnNames{"ScanAngle", "scan_angle"}, valuesOf(points.scanAngles));
}
}  // namespace Cli
