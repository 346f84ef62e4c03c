#include "render/mesh/ObjMeshLoader.h"

#include "core/errorReason.h"
#include "core/isReservedName.h"
#include "core/shownText.h"
#include "core/toUtf8.h"
#include "render/mesh/ObjLines.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#define TINYOBJLOADER_IMPLEMENTATION  // this is the one source that holds the library
#include <tiny_obj_loader.h>

namespace Render
{
namespace
{
constexpr std::size_t kCornersPerFace = 3;
constexpr const char* kMessagePrefix = "TinyObjReader: ";

constexpr std::size_t kMostShownWarnings = 20;       // lines
constexpr std::size_t kLongestShownWarning = 200;    // bytes
constexpr std::size_t kLongestShownShapeName = 100;  // bytes

std::string inBrackets(const std::filesystem::path& path)
{
    return "[" + Core::toUtf8(path) + "]";
}

/// Warnings fit for the output, each on a line of its own.
std::string shownWarnings(std::string_view text)
{
    std::string shown;
    std::size_t count = 0;
    while (!text.empty())
    {
        if (++count > kMostShownWarnings)
        {
            return shown + "...\n";
        }
        const std::string_view line = text.substr(0, text.find('\n'));
        shown += Core::shownText(line, kLongestShownWarning) + '\n';
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return shown;
}

/// Warns of material files that are not in the folder of the mesh. They are looked for and never opened:
/// materials have no effect.
std::string missingMaterialsWarning(
    const std::vector<std::string>& names, const std::filesystem::path& folder
)
{
    std::string warning;
    for (const std::string& name : names)
    {
        bool isThere = false;
        try
        {
            const std::filesystem::path file = std::filesystem::path(name).filename();
            isThere =
                !Core::isReservedName(Core::toUtf8(file)) && std::filesystem::is_regular_file(folder / file);
        }
        catch (const std::system_error&)
        {
            // A name that no file of this system can have.
        }
        if (!isThere)
        {
            warning +=
                "Material file [ " + Core::shownText(name) + " ] not found in the folder of the mesh.\n";
        }
    }
    return warning;
}

/// A file as the library has parsed it.
struct ParsedObj
{
    tinyobj::attrib_t attributes;
    std::vector<tinyobj::shape_t> shapes;
};

ObjLines openLines(const std::filesystem::path& path)
{
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    const bool isOther = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    if (isOther)
    {
        throw std::runtime_error(
            kMessagePrefix + ("Cannot open file " + inBrackets(path) + ": it is no regular file\n")
        );
    }
    try
    {
        return ObjLines(path);
    }
    catch (const std::runtime_error&)
    {
        throw std::runtime_error(kMessagePrefix + ("Cannot open file " + inBrackets(path) + "\n"));
    }
}

/// Leaves the shapes empty when parsing fails without a reason.
ParsedObj parse(const std::filesystem::path& path)
{
    ObjLines lines = openLines(path);
    std::istream stream(&lines);
    ParsedObj result;
    std::vector<tinyobj::material_t> materials;
    std::string warning;
    std::string error;
    constexpr tinyobj::MaterialReader* kNoMaterials = nullptr;
    constexpr bool kTriangulate = true;
    constexpr bool kWhiteWithoutColor = true;
    const bool isParsed = tinyobj::LoadObj(
        &result.attributes,
        &result.shapes,
        &materials,
        &warning,
        &error,
        &stream,
        kNoMaterials,
        kTriangulate,
        kWhiteWithoutColor
    );
    if (!lines.failure().empty())
    {
        throw std::runtime_error(kMessagePrefix + inBrackets(path) + " " + lines.failure() + "\n");
    }
    if (!isParsed && !error.empty())
    {
        error.erase(error.find_last_not_of(" \n") + 1);
        throw std::runtime_error(
            kMessagePrefix + Core::errorReason(error) + " In file " + inBrackets(path) + "\n"
        );
    }
    warning = missingMaterialsWarning(lines.materialFiles(), path.parent_path()) + warning;
    if (!warning.empty())
    {
        std::cout << kMessagePrefix << shownWarnings(warning) << std::flush;
    }
    if (!isParsed)
    {
        result.shapes.clear();
    }
    return result;
}

/// A colour channel of 0 to 1, cut off to its byte.
unsigned char toByte(float channel)
{
    constexpr float kLargest = 255.0F;
    return channel > 0.0F ? static_cast<unsigned char>(std::min(channel * kLargest, kLargest))
                          : 0;  // also NaN
}

/// Makes the corners of one shape.
class ShapeConverter
{
public:
    ShapeConverter(
        const std::filesystem::path& path, const tinyobj::attrib_t& attributes, const tinyobj::shape_t& shape
    )
        : mPath(path), mAttributes(attributes), mShape(shape)
    {
    }

    /// @param corners  replaced; its memory serves again
    void convert(std::vector<VertexPosNormalTexCoordColor>& corners) const
    {
        const std::size_t cornerCount = mShape.mesh.num_face_vertices.size() * kCornersPerFace;
        if (mShape.mesh.indices.size() != cornerCount)
        {
            fail("has a face that is not a triangle");
        }
        corners.assign(cornerCount, VertexPosNormalTexCoordColor());
        for (std::size_t first = 0; first < cornerCount; first += kCornersPerFace)
        {
            bool lacksNormal = false;
            for (std::size_t i = first; i < first + kCornersPerFace; ++i)
            {
                const tinyobj::index_t& index = mShape.mesh.indices[i];
                fillCorner(index, corners[i]);
                lacksNormal = lacksNormal || index.normal_index < 0;
            }
            if (lacksNormal)
            {
                shadeFlat(std::span(corners).subspan(first).first<kCornersPerFace>());
            }
        }
    }

private:
    void fillCorner(const tinyobj::index_t& index, VertexPosNormalTexCoordColor& corner) const
    {
        const float* const position = at(mAttributes.vertices, index.vertex_index, 3, "vertex");
        corner.position = {position[0], position[1], position[2]};
        const float* const color = at(mAttributes.colors, index.vertex_index, 3, "vertex colour", false);
        corner.color.set(toByte(color[0]), toByte(color[1]), toByte(color[2]), 255);
        if (index.normal_index >= 0)
        {
            const float* const normal = at(mAttributes.normals, index.normal_index, 3, "normal");
            corner.normal = {normal[0], normal[1], normal[2]};
        }
        if (index.texcoord_index >= 0)
        {
            const float* const texCoord =
                at(mAttributes.texcoords, index.texcoord_index, 2, "texture coordinate");
            corner.texCoord = {texCoord[0], texCoord[1]};
        }
    }

    static void shadeFlat(std::span<VertexPosNormalTexCoordColor, kCornersPerFace> face)
    {
        Eigen::Vector3f normal = edgeProduct<float>(face);
        const float squaredLength = normal.squaredNorm();
        if (!std::isfinite(squaredLength))  // edges of some thousand million units or more
        {
            normal = edgeProduct<double>(face).normalized().cast<float>();
        }
        else if (squaredLength > 0.0F)
        {
            normal.normalize();
        }
        for (VertexPosNormalTexCoordColor& corner : face)
        {
            corner.normal = {normal.x(), normal.y(), normal.z()};
        }
    }

    template <class Number>
    static Eigen::Vector3<Number> edgeProduct(
        std::span<const VertexPosNormalTexCoordColor, kCornersPerFace> face
    )
    {
        const auto edgeTo = [&face](std::size_t corner)
        {
            const Math::Point<float, 3>& from = face[0].position;
            const Math::Point<float, 3>& to = face[corner].position;
            return Eigen::Vector3<Number>(
                Number{to.x} - Number{from.x}, Number{to.y} - Number{from.y}, Number{to.z} - Number{from.z}
            );
        };
        return edgeTo(1).cross(edgeTo(2));
    }

    /// Where the values of an index start; they exist and, if asked for, are finite.
    const float* at(
        const std::vector<float>& values,
        int index,
        std::size_t valuesPerIndex,
        const char* what,
        bool mustBeFinite = true
    ) const
    {
        const std::size_t count = values.size() / valuesPerIndex;
        if (index < 0 || static_cast<std::size_t>(index) >= count)
        {
            fail(
                std::string("refers to ") + what + " " + std::to_string(std::int64_t{index} + 1) +
                ", but the file has " + std::to_string(count)
            );
        }
        const float* const first = values.data() + static_cast<std::size_t>(index) * valuesPerIndex;
        if (mustBeFinite &&
            !std::all_of(first, first + valuesPerIndex, [](float value) { return std::isfinite(value); }))
        {
            fail(
                std::string("uses ") + what + " " + std::to_string(std::int64_t{index} + 1) +
                ", which is not finite"
            );
        }
        return first;
    }

    [[noreturn]] void fail(const std::string& reason) const
    {
        throw std::runtime_error(
            "Error: cannot read " + Core::toUtf8(mPath) + " as a mesh: shape \"" +
            Core::shownText(mShape.name, kLongestShownShapeName) + "\" " + reason
        );
    }

    const std::filesystem::path& mPath;
    const tinyobj::attrib_t& mAttributes;
    const tinyobj::shape_t& mShape;
};
}  // namespace

ObjMeshLoader::ObjMeshLoader(std::filesystem::path path) : mPath(std::move(path)) {}

void ObjMeshLoader::load(const MeshPartReceiver& receivePart) const
{
    ParsedObj obj = parse(mPath);
    std::vector<VertexPosNormalTexCoordColor> corners;
    for (tinyobj::shape_t& shape : obj.shapes)
    {
        ShapeConverter(mPath, obj.attributes, shape).convert(corners);
        shape.mesh = tinyobj::mesh_t();  // its memory is free for what the receiver makes
        receivePart(corners);
    }
}
}  // namespace Render
