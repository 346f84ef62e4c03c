#include "render/mesh/ObjMeshLoader.h"

#include "core/toUtf8.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <map>
#include <span>
#include <stdexcept>
#include <streambuf>
#include <string>
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

// Cutting a face into triangles takes the library at least the square of its corners.
constexpr std::size_t kMostCornersPerFace = 1000;

/// The bytes of an OBJ file without what would cost the library too much: every tag line has become a
/// comment, since tags have no meaning for triangles and the library takes as much memory for one as its line
/// asks for; and the file ends before a face of too many corners.
class TamedLines : public std::streambuf
{
public:
    explicit TamedLines(std::istream& file) : mFile(file) {}

    /// The line, from 1, with the face of too many corners; 0 when there was none.
    std::size_t lineOfTooManyCorners() const noexcept { return mLineOfTooManyCorners; }

protected:
    int_type underflow() override
    {
        if (mLineOfTooManyCorners != 0)
        {
            return traits_type::eof();
        }
        mFile.read(mBuffer.data(), static_cast<std::streamsize>(mBuffer.size()));
        const auto size = static_cast<std::size_t>(mFile.gcount());
        for (std::size_t i = 0; i < size && mLineOfTooManyCorners == 0; ++i)
        {
            tame(mBuffer[i]);
        }
        if (mLineOfTooManyCorners != 0)
        {
            return traits_type::eof();
        }
        setg(mBuffer.data(), mBuffer.data(), mBuffer.data() + size);
        return size == 0 ? traits_type::eof() : traits_type::to_int_type(mBuffer.front());
    }

private:
    void tame(char& c)
    {
        const bool isBlank = c == ' ' || c == '\t';
        if (mAtLineStart && c == 't')
        {
            c = '#';
        }
        if (mAtLineStart && !isBlank)
        {
            mIsFace = c == 'f';
            mCornerCount = 0;
        }
        else if (mIsFace && mAfterBlank && !isBlank && c != '\n' && c != '\r')
        {
            ++mCornerCount;
            mLineOfTooManyCorners = mCornerCount > kMostCornersPerFace ? mLine : 0;
        }
        mLine += c == '\n' ? 1 : 0;
        mAtLineStart = c == '\n' || c == '\r' || (mAtLineStart && isBlank);
        mAfterBlank = isBlank;
    }

    std::istream& mFile;
    std::array<char, 65536> mBuffer{};
    std::size_t mLine = 1;
    std::size_t mCornerCount = 0;  // of the face so far
    std::size_t mLineOfTooManyCorners = 0;
    bool mAtLineStart = true;
    bool mIsFace = false;
    bool mAfterBlank = false;
};

/// Finds material files in one folder, and nowhere else, whatever the OBJ file calls them.
class MaterialsOfFolder : public tinyobj::MaterialReader
{
public:
    explicit MaterialsOfFolder(std::filesystem::path folder) : mFolder(std::move(folder)) {}

    bool operator()(
        const std::string& name,
        std::vector<tinyobj::material_t>* materials,
        std::map<std::string, int>* indices,
        std::string* warning,
        std::string* error
    ) override
    {
        std::ifstream file;
        try
        {
            const std::filesystem::path path = mFolder / std::filesystem::path(name).filename();
            if (std::filesystem::is_regular_file(path))
            {
                file.open(path, std::ios::binary);
            }
        }
        catch (const std::system_error&)
        {
            // A name that no file of this system can have: the warning below is for it as well.
        }
        if (!file.is_open())
        {
            *warning += "Material file [ " + name + " ] not found in the folder of the mesh.\n";
            return false;
        }
        tinyobj::LoadMtl(indices, materials, &file, warning, error);
        return true;
    }

private:
    std::filesystem::path mFolder;
};

/// A file as the library has parsed it.
struct ParsedObj
{
    tinyobj::attrib_t attributes;
    std::vector<tinyobj::shape_t> shapes;
};

/// Leaves the shapes empty when parsing fails without a reason.
ParsedObj parse(const std::filesystem::path& path)
{
    std::error_code ignored;
    std::ifstream file;
    if (!std::filesystem::is_directory(path, ignored))
    {
        file.open(path, std::ios::binary);
    }
    if (!file.is_open())
    {
        throw std::runtime_error(kMessagePrefix + ("Cannot open file [" + Core::toUtf8(path) + "]\n"));
    }
    TamedLines lines(file);
    std::istream stream(&lines);
    MaterialsOfFolder materialReader(path.parent_path());
    ParsedObj result;
    std::vector<tinyobj::material_t> materials;
    std::string warning;
    std::string error;
    constexpr bool kTriangulate = true;
    constexpr bool kWhiteWithoutColor = true;
    const bool isParsed = tinyobj::LoadObj(
        &result.attributes,
        &result.shapes,
        &materials,
        &warning,
        &error,
        &stream,
        &materialReader,
        kTriangulate,
        kWhiteWithoutColor
    );
    if (lines.lineOfTooManyCorners() != 0)
    {
        throw std::runtime_error(
            kMessagePrefix + ("[" + Core::toUtf8(path) + "] has a face of more than ") +
            std::to_string(kMostCornersPerFace) + " corners in line " +
            std::to_string(lines.lineOfTooManyCorners()) + "\n"
        );
    }
    if (!isParsed && !error.empty())
    {
        throw std::runtime_error(kMessagePrefix + error);
    }
    if (!warning.empty())
    {
        std::cout << kMessagePrefix << warning << std::flush;
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
        const auto edgeTo = [&face](std::size_t corner)
        {
            const Math::Point<float, 3>& from = face[0].position;
            const Math::Point<float, 3>& to = face[corner].position;
            return Eigen::Vector3f(to.x - from.x, to.y - from.y, to.z - from.z);
        };
        Eigen::Vector3f normal = edgeTo(1).cross(edgeTo(2));
        if (normal.squaredNorm() > 0.0F)
        {
            normal.normalize();
        }
        for (VertexPosNormalTexCoordColor& corner : face)
        {
            corner.normal = {normal.x(), normal.y(), normal.z()};
        }
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
            "Error: cannot read " + Core::toUtf8(mPath) + " as a mesh: shape \"" + mShape.name + "\" " +
            reason
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
