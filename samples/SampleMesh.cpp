#include "samples/SampleMesh.h"

#include "samples/runInParallel.h"
#include "samples/scene/portableMath.h"
#include "samples/scene/windmill.h"
#include "samples/writeFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <variant>

namespace Samples
{
namespace
{
constexpr Vector kSite{113, 141, 0};  // on the meadow north-west of the pond, whatever the seed
constexpr double kCell = 0.22;        // metres between vertices, so that patterns and shadows show
constexpr double kInset = 0.02;       // of a patch: colours are taken a little inside, not in its corners

std::uint32_t cellCount(double length)
{
    return static_cast<std::uint32_t>(std::max(1.0, std::ceil(length / kCell)));
}

/// Cuts one surface into triangles and colours their corners.
class Tessellation
{
public:
    Tessellation(SampleMesh::Part& part, const Finish& finish, const Daylight& light)
        : mPart(part), mFinish(finish), mLight(light)
    {
    }

    void operator()(const Patch& patch)
    {
        const double lengthU = length(patch.edgeU);
        const double lengthV = length(patch.edgeV);
        const Vector normal = normalized(cross(patch.edgeU, patch.edgeV));
        const std::uint32_t columns = cellCount(lengthU);
        const std::uint32_t rows = patch.isTriangle ? columns : cellCount(lengthV);
        const auto add = [&](double s, double t)
        {
            const double middle = patch.isTriangle ? 1.0 / 3 : 0.5;
            const double innerS = mix(s, middle, kInset);
            const double innerT = mix(t, middle, kInset);
            addVertex(
                patch.origin + patch.edgeU * s + patch.edgeV * t,
                {patch.origin + patch.edgeU * innerS + patch.edgeV * innerT,
                 normal,
                 patch.startU + innerS * lengthU,
                 patch.startV + innerT * lengthV}
            );
        };
        if (!patch.isTriangle)
        {
            addGrid(columns, rows, [&](double s, double t) { add(s, t); });
            return;
        }
        // rows of ever fewer triangles towards the end of edgeV
        const std::uint32_t start = nextVertex();
        for (std::uint32_t row = 0; row <= rows; ++row)
        {
            for (std::uint32_t column = 0; column + row <= columns; ++column)
            {
                add(static_cast<double>(column) / columns, static_cast<double>(row) / rows);
            }
        }
        std::uint32_t first = start;
        for (std::uint32_t row = 0; row < rows; ++row)
        {
            const std::uint32_t count = columns - row;  // cells; this row has one vertex more
            const std::uint32_t above = first + count + 1;
            for (std::uint32_t i = 0; i < count; ++i)
            {
                mPart.triangles.push_back({first + i, first + i + 1, above + i});
                if (i + 1 < count)
                {
                    mPart.triangles.push_back({first + i + 1, above + i + 1, above + i});
                }
            }
            first = above;
        }
    }

    void operator()(const Tube& tube)
    {
        const double height = length(tube.axis);
        const Tangents across = tangents(tube.axis * (1 / height));
        const double radius = std::max(tube.baseRadius, tube.endRadius);
        const std::uint32_t sides = radius < 0.06 ? 5 : radius < 0.2 ? 8 : 16;
        const double slope = (tube.baseRadius - tube.endRadius) / height;
        const auto outwardsAt = [&](double share)
        {
            const Vector turn = heading(share * 2 * std::numbers::pi);
            return across.first * turn.x + across.second * turn.y;
        };
        // the axis and the tangents are right-handed, so that s runs anticlockwise as seen from the end
        const auto add = [&](double s, double t)
        {
            const Vector outwards = outwardsAt(s);
            const Vector place =
                tube.base + tube.axis * t + outwards * mix(tube.baseRadius, tube.endRadius, t);
            addVertex(place, {place, normalized(outwards + tube.axis * (slope / height)), 0, 0});
        };
        addGrid(sides, cellCount(height / 3), add);
        if (tube.isCapped)
        {
            addCap(tube.base + tube.axis, tube.axis * (1 / height), tube.endRadius, sides, outwardsAt, false);
            addCap(tube.base, tube.axis * (-1 / height), tube.baseRadius, sides, outwardsAt, true);
        }
    }

    void operator()(const Blob& blob)
    {
        constexpr std::uint32_t kColumns = 12;
        constexpr std::uint32_t kRows = 6;
        const auto add = [&](double s, double t)
        {
            const Vector turn = heading(s * 2 * std::numbers::pi);
            const double latitude = (t - 0.5) * std::numbers::pi;
            const Vector out = turn * portableCos(latitude) + Vector{0, 0, portableSin(latitude)};
            const Vector place =
                blob.center + Vector{out.x * blob.radius, out.y * blob.radius, out.z * blob.halfHeight};
            const Vector normal =
                normalized({out.x / blob.radius, out.y / blob.radius, out.z / blob.halfHeight});
            addVertex(place, {place, normal, 0, 0});
        };
        addGrid(kColumns, kRows, add);
    }

private:
    std::uint32_t nextVertex() const { return static_cast<std::uint32_t>(mPart.vertices.size()); }

    /// Calls addAt(s, t) for a grid over the unit square; s x t points outwards.
    template <class AddAt>
    void addGrid(std::uint32_t columns, std::uint32_t rows, const AddAt& addAt)
    {
        const std::uint32_t start = nextVertex();
        for (std::uint32_t row = 0; row <= rows; ++row)
        {
            for (std::uint32_t column = 0; column <= columns; ++column)
            {
                addAt(static_cast<double>(column) / columns, static_cast<double>(row) / rows);
            }
        }
        for (std::uint32_t row = 0; row < rows; ++row)
        {
            for (std::uint32_t column = 0; column < columns; ++column)
            {
                const std::uint32_t a = start + row * (columns + 1) + column;
                const std::uint32_t d = a + columns + 1;
                mPart.triangles.push_back({a, a + 1, d + 1});
                mPart.triangles.push_back({a, d + 1, d});
            }
        }
    }

    template <class OutwardsAt>
    void addCap(
        Vector center,
        Vector normal,
        double radius,
        std::uint32_t sides,
        const OutwardsAt& outwardsAt,
        bool isBase
    )
    {
        const std::uint32_t middle = nextVertex();
        addVertex(center, {center, normal, 0, 0});
        for (std::uint32_t i = 0; i < sides; ++i)
        {
            const Vector place = center + outwardsAt(static_cast<double>(i) / sides) * radius;
            addVertex(place, {place, normal, 0, 0});
        }
        for (std::uint32_t i = 0; i < sides; ++i)
        {
            const std::uint32_t from = middle + 1 + i;
            const std::uint32_t to = middle + 1 + (i + 1) % sides;
            mPart.triangles.push_back(isBase ? std::array{middle, to, from} : std::array{middle, from, to});
        }
    }

    void addVertex(Vector position, const ShapePoint& seen)
    {
        Random random(scrambled(mPart.vertices.size()));
        mPart.vertices.push_back({position, mLight.photographed({seen, mFinish}, random)});
    }

    SampleMesh::Part& mPart;
    const Finish& mFinish;
    const Daylight& mLight;
};

void append(std::string& text, double value, int decimals)
{
    std::array<char, 32> digits{};
    const std::to_chars_result end = std::to_chars(
        digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, decimals
    );
    text += ' ';
    text.append(digits.data(), end.ptr);
}
}  // namespace

SampleMesh makeSampleMesh(const SampleScene& scene, unsigned threadCount)
{
    SampleMesh mesh;
    mesh.foot = {kSite.x, kSite.y, scene.terrain().height(kSite.x, kSite.y)};
    const std::vector<ModelPart> model = windmill(mesh.foot);

    // It stands in the light of the scene and in its own shade.
    std::vector<Surface> surfaces(scene.surfaces().begin(), scene.surfaces().end());
    for (const ModelPart& part : model)
    {
        surfaces.insert(surfaces.end(), part.surfaces.begin(), part.surfaces.end());
    }
    const SurfaceTree tree(surfaces);
    const Daylight light(tree);

    mesh.parts.resize(model.size());
    const auto tessellate = [&](std::size_t i)
    {
        mesh.parts[i].name = model[i].name;
        for (const Surface& surface : model[i].surfaces)
        {
            std::visit(Tessellation(mesh.parts[i], surface.finish, light), surface.shape);
        }
    };
    runInParallel(model.size(), threadCount, tessellate);
    return mesh;
}

void writeObj(const std::filesystem::path& path, const SampleMesh& mesh)
{
    std::string text =
        "# A windmill that stands in the sample scene: metres, x east, y north, z up.\n"
        "# Coordinates count from 637000 5651000 250, so tarnel shows it among the points with\n"
        "# --transform 637000,5651000,250,0,1\n";
    std::uint32_t first = 1;
    for (const SampleMesh::Part& part : mesh.parts)
    {
        text += "o " + part.name + '\n';
        for (const SampleMesh::Vertex& vertex : part.vertices)
        {
            text += 'v';
            for (const double coordinate : {vertex.position.x, vertex.position.y, vertex.position.z})
            {
                append(text, coordinate, 4);
            }
            for (const double channel : {vertex.color.r, vertex.color.g, vertex.color.b})
            {
                append(text, channel, 3);
            }
            text += '\n';
        }
        for (const std::array<std::uint32_t, 3>& triangle : part.triangles)
        {
            text += 'f';
            for (const std::uint32_t index : triangle)
            {
                text += ' ' + std::to_string(first + index);
            }
            text += '\n';
        }
        first += static_cast<std::uint32_t>(part.vertices.size());
    }
    writeFile(path, text);
}
}  // namespace Samples
