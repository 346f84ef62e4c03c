#include "samples/scene/buildings.h"

#include "samples/scene/facade.h"
#include "samples/scene/portableMath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace Samples
{
namespace
{
constexpr std::uint8_t kBuilding = 6;
constexpr double kRoofThickness = 0.18;

constexpr std::array<Tint, 6> kPlasters{{
    {0.8, 0.77, 0.7},
    {0.78, 0.68, 0.46},
    {0.74, 0.5, 0.38},
    {0.6, 0.66, 0.7},
    {0.82, 0.8, 0.77},
    {0.63, 0.68, 0.52},
}};
constexpr std::array<Tint, 4> kRoofs{{
    {0.47, 0.165, 0.085},
    {0.4, 0.15, 0.09},
    {0.36, 0.2, 0.13},
    {0.17, 0.165, 0.17},
}};
constexpr std::array<Tint, 4> kTrims{
    {{0.07, 0.2, 0.13}, {0.3, 0.07, 0.05}, {0.09, 0.15, 0.28}, {0.24, 0.14, 0.07}}};

/// A block with a gable roof; x along the ridge, the middle of its floor at the frame's origin.
struct Block
{
    double length = 10;
    double width = 8;
    double height = 5;  ///< of the walls
    double rise = 3.5;  ///< of the roof above the walls
    double overhang = 0.5;
    Finish wall;
    Finish trim;
    Finish roof;
};

void addRoof(Assembly& assembly, const Block& block)
{
    const double halfWidth = block.width / 2 + block.overhang;
    const double halfLength = block.length / 2 + block.overhang * 0.7;
    const double slope = block.rise / (block.width / 2);
    const double eaves = block.height - block.overhang * slope + kRoofThickness;
    const double climb = halfWidth * slope;
    const Finish fascia{Material::WindowFrame, {0.5, 0.46, 0.4}, 1.5};
    const Vector down{0, 0, -kRoofThickness};
    for (const double side : {-1.0, 1.0})
    {
        const Vector corner{side * halfLength, side * halfWidth, eaves};
        const Vector along{-side * 2 * halfLength, 0, 0};
        const Vector up{0, -side * halfWidth, climb};
        assembly.quad(corner, along, up, block.roof);
        assembly.quad(corner + down, along, -down, fascia);
        assembly.quad(corner + along + down + up, -up, -down, fascia);
        assembly.quad(corner + down, up, -down, fascia);
        // only the eaves are seen from below; inside there is a ceiling
        const Vector eavesDepth = up * (block.overhang / halfWidth);
        assembly.quad(corner + down, eavesDepth, along, fascia);
    }
    const Vector ridge{-halfLength, 0, eaves + climb};
    assembly.tube(
        ridge, ridge + Vector{2 * halfLength, 0, 0}, 0.1, 0.1, {Material::Plaster, block.roof.tint * 0.8}
    );
}

void addGables(Assembly& assembly, const Block& block)
{
    for (const double side : {-1.0, 1.0})
    {
        const Vector corner{side * block.length / 2, -side * block.width / 2, block.height};
        const Vector along{0, side * block.width, 0};
        assembly.triangle(corner, along, along * 0.5 + Vector{0, 0, block.rise}, block.wall);
    }
}

/// The four walls counter-clockwise from the south one.
std::array<Wall, 4> wallsOf(const Block& block)
{
    const double x = block.length / 2;
    const double y = block.width / 2;
    return {{
        {{-x, -y, 0}, {1, 0, 0}, block.length, block.height, block.wall, block.trim},
        {{x, -y, 0}, {0, 1, 0}, block.width, block.height, block.wall, block.trim},
        {{x, y, 0}, {-1, 0, 0}, block.length, block.height, block.wall, block.trim},
        {{-x, y, 0}, {0, -1, 0}, block.width, block.height, block.wall, block.trim},
    }};
}

/// Windows in even columns, one row a storey.
std::vector<Opening> windowRows(double width, int storeys, double spacing, OpeningKind kind)
{
    std::vector<Opening> result;
    const int columns = std::max(1, static_cast<int>(width / spacing));
    const double step = width / columns;
    for (int storey = 0; storey < storeys; ++storey)
    {
        for (int column = 0; column < columns; ++column)
        {
            result.push_back({step * (column + 0.5) - 0.5, 0.95 + 2.75 * storey, 1.0, 1.35, kind});
        }
    }
    return result;
}

template <std::size_t N>
Tint pick(const std::array<Tint, N>& tints, Random& random)
{
    return tints[random.below(static_cast<std::uint32_t>(N))];
}

void addChimney(Assembly& assembly, const Block& block, double x)
{
    const Finish brick{Material::Brick, {0.4, 0.2, 0.14}, 1.4};
    const double foot = block.height + block.rise - 1.1;
    assembly.box({x - 0.35, 0.4, foot}, {0.7, 0.6, 2.0}, brick);
    assembly.box({x - 0.42, 0.33, foot + 2.0}, {0.84, 0.74, 0.12}, {Material::Stone, {0.45, 0.43, 0.4}, 1.4});
}

/// A rectangle that lies on the roof's southern (-1) or northern (1) slope, in metres from the slope's lower
/// corner.
void addOnRoof(
    Assembly& assembly, const Block& block, double side, const Opening& place, const Finish& finish
)
{
    const double slope = block.rise / (block.width / 2);
    const Vector along{-side, 0, 0};
    const Vector up = normalized({0, -side, slope});
    const Vector normal = cross(along, up);
    const Vector corner{side * block.length / 2, side * block.width / 2, block.height + kRoofThickness};
    const Vector start = corner + along * place.left + up * place.bottom + normal * 0.08;
    assembly.quad(start, along * place.width, up * place.height, finish);
}

void addHouse(Assembly& assembly, const Footprint& footprint, Random random)
{
    const int storeys = random.unit() < 0.65 ? 2 : 1;
    const bool isBrick = random.unit() < 0.3;
    const Tint trim = pick(kTrims, random);
    Block block{
        .length = footprint.length,
        .width = footprint.width,
        .height = 0.35 + 2.75 * storeys,
        .rise = footprint.width * random.between(0.36, 0.5),
        .wall =
            {isBrick ? Material::Brick : Material::Plaster,
             isBrick ? Tint{0.42, 0.2, 0.13} : pick(kPlasters, random)},
        .trim = {Material::Timber, trim, 1.2},
        .roof = {Material::RoofTile, pick(kRoofs, random)},
    };
    const OpeningKind windows = random.unit() < 0.5 ? OpeningKind::ShutteredWindow : OpeningKind::Window;
    const std::array<Wall, 4> walls = wallsOf(block);
    const std::size_t front = random.below(2) * 2;
    for (std::size_t i = 0; i < walls.size(); ++i)
    {
        const bool isGableEnd = i % 2 == 1;
        std::vector<Opening> openings = windowRows(walls[i].width, storeys, isGableEnd ? 3.4 : 2.6, windows);
        if (i == front)
        {
            Opening& door = openings[openings.size() / static_cast<std::size_t>(storeys) / 2];
            door = {door.left, 0.05, 1.1, 2.2, OpeningKind::Door};
        }
        addWall(assembly, walls[i], openings);
    }
    addGables(assembly, block);
    addRoof(assembly, block);
    addChimney(assembly, block, block.length * random.between(-0.3, 0.3));
    const double plinth = 0.06;
    assembly.belt(
        {-block.length / 2 - plinth, -block.width / 2 - plinth, -0.5},
        {block.length + 2 * plinth, block.width + 2 * plinth, 0.8},
        {Material::Stone, {0.38, 0.36, 0.33}}
    );
    if (random.unit() < 0.45)
    {
        const Opening panels{1.2, 0.9, 6.0, 3.3};
        addOnRoof(assembly, block, random.unit() < 0.5 ? -1 : 1, panels, {Material::SolarPanel, {}, 1.2});
    }
    for (int i = 0; i < 2; ++i)
    {
        const Opening skylight{block.length * (0.3 + 0.35 * i), 2.1, 0.8, 1.2};
        addOnRoof(assembly, block, -1, skylight, {Material::Glass, {}, 1.5});
    }
}

void addSpire(Assembly& assembly, Vector center, double halfWidth, double height)
{
    const Finish slate{Material::Slate, {0.135, 0.15, 0.17}, 1.3};
    const Vector tip = center + Vector{0, 0, height};
    const std::array<Vector, 4> corners{
        {{-halfWidth, -halfWidth, 0},
         {halfWidth, -halfWidth, 0},
         {halfWidth, halfWidth, 0},
         {-halfWidth, halfWidth, 0}}};
    for (std::size_t i = 0; i < 4; ++i)
    {
        const Vector a = center + corners[i];
        const Vector b = center + corners[(i + 1) % 4];
        assembly.triangle(a, b - a, tip - a, slate);
    }
    const Finish gold{Material::SheetMetal, {0.75, 0.55, 0.16}, 20};
    assembly.tube(tip - Vector{0, 0, 0.4}, tip + Vector{0, 0, 1.6}, 0.06, 0.06, gold);
    assembly.tube(tip + Vector{-0.5, 0, 1.1}, tip + Vector{0.5, 0, 1.1}, 0.05, 0.05, gold);
    assembly.blob(tip, 0.28, 0.28, gold);
}

void addChurch(Assembly& assembly, const Footprint& footprint)
{
    const Finish stone{Material::Stone, {0.56, 0.5, 0.41}, 1.2};
    const Finish oak{Material::Timber, {0.2, 0.11, 0.06}, 1.2};
    const Block nave{
        .length = footprint.length,
        .width = footprint.width,
        .height = 7.5,
        .rise = 5.2,
        .overhang = 0.4,
        .wall = stone,
        .trim = oak,
        .roof = {Material::Slate, {0.15, 0.16, 0.18}, 1.1},
    };
    const std::array<Wall, 4> walls = wallsOf(nave);
    for (std::size_t i = 0; i < walls.size(); ++i)
    {
        std::vector<Opening> openings;
        const int count = i % 2 == 0 ? 5 : 2;
        openings.reserve(static_cast<std::size_t>(count));
        const double step = walls[i].width / count;
        for (int k = 0; k < count; ++k)
        {
            openings.push_back({step * (k + 0.5) - 0.6, 2.2, 1.2, 3.8});
        }
        addWall(assembly, walls[i], openings);
        for (int k = 0; i % 2 == 0 && k <= count; ++k)  // buttresses between the windows
        {
            const Vector foot =
                walls[i].corner + walls[i].along * (step * k - 0.3) - cross({0, 0, 1}, walls[i].along) * 0.7;
            assembly.quad(foot, walls[i].along * 0.6, {0, 0, 5}, stone);
            const Vector depth = cross({0, 0, 1}, walls[i].along) * 0.7;
            assembly.quad(foot + depth, -depth, {0, 0, 5}, stone);
            assembly.quad(foot + walls[i].along * 0.6, depth, {0, 0, 5}, stone);
            assembly.quad(foot + Vector{0, 0, 5}, walls[i].along * 0.6, depth + Vector{0, 0, 0.8}, nave.roof);
        }
    }
    addGables(assembly, nave);
    addRoof(assembly, nave);

    constexpr double kHalf = 3.1;
    constexpr double kHeight = 17.5;
    const Vector middle{-nave.length / 2 - kHalf + 0.6, 0, 0};
    const Block tower{
        .length = 2 * kHalf,
        .width = 2 * kHalf,
        .height = kHeight,
        .wall = stone,
        .trim = oak,
        .roof = nave.roof};
    const Finish clock{Material::Plaster, {0.85, 0.83, 0.78}, 2};
    for (std::size_t i = 0; i < 4; ++i)
    {
        Wall wall = wallsOf(tower)[i];
        wall.corner = wall.corner + middle;
        std::vector<Opening> openings{
            {1.4, 13.6, 1.1, 2.4, OpeningKind::Dark},
            {3.7, 13.6, 1.1, 2.4, OpeningKind::Dark},
            {2.7, 7.2, 0.8, 1.8}};
        if (i == 3)
        {
            openings.push_back({2.2, 0.1, 1.8, 3.1, OpeningKind::Door});
        }
        addWall(assembly, wall, openings);
        const Vector outwards = cross(wall.along, {0, 0, 1});
        const Vector dial = wall.corner + wall.along * (kHalf - 0.9) + Vector{0, 0, 10.6} + outwards * 0.06;
        assembly.quad(dial, wall.along * 1.8, {0, 0, 1.8}, clock);
        const Finish hands{Material::WindowFrame, {0.03, 0.03, 0.03}, 4};
        const Vector hub = dial + wall.along * 0.9 + Vector{0, 0, 0.9} + outwards * 0.03;
        assembly.quad(hub - wall.along * 0.05, wall.along * 0.1, {0, 0, 0.75}, hands);
        assembly.quad(hub - Vector{0, 0, 0.05}, wall.along * 0.55, {0, 0, 0.1}, hands);
        const Finish band{Material::Stone, {0.62, 0.57, 0.48}, 1.4};
        for (const double z : {6.2, 12.9, 17.2})
        {
            assembly.quad(
                wall.corner + outwards * 0.12 - wall.along * 0.12 + Vector{0, 0, z},
                wall.along * (2 * kHalf + 0.24),
                {0, 0, 0.35},
                band
            );
        }
    }
    addSpire(assembly, middle + Vector{0, 0, kHeight}, kHalf + 0.3, 12.5);
}

void addBarn(Assembly& assembly, const Footprint& footprint)
{
    const Block barn{
        .length = footprint.length,
        .width = footprint.width,
        .height = 5.2,
        .rise = 4.2,
        .overhang = 0.6,
        .wall = {Material::Timber, {0.36, 0.085, 0.05}},
        .trim = {Material::Timber, {0.3, 0.24, 0.16}, 1.2},
        .roof = {Material::SheetMetal, {0.44, 0.46, 0.47}},
    };
    const std::array<Wall, 4> walls = wallsOf(barn);
    const std::vector<Opening> gate{{barn.width / 2 - 2, 0.05, 4, 4.2, OpeningKind::Dark}};
    const std::vector<Opening> slots{
        {2, 3.2, 2.2, 0.8, OpeningKind::Dark},
        {8.5, 3.2, 2.2, 0.8, OpeningKind::Dark},
        {15, 3.2, 2.2, 0.8, OpeningKind::Dark}};
    for (std::size_t i = 0; i < walls.size(); ++i)
    {
        addWall(assembly, walls[i], i % 2 == 1 ? std::span(gate) : std::span(slots));
    }
    addGables(assembly, barn);
    addRoof(assembly, barn);

    const Finish steel{Material::SheetMetal, {0.55, 0.57, 0.57}};
    const Vector silo{-barn.length / 2 - 4.2, 1.5, -0.3};
    const Vector top = silo + Vector{0, 0, 10.3};
    assembly.tube(silo, top, 2.1, 2.1, steel);
    assembly.tube(top, top + Vector{0, 0, 1.3}, 2.25, 0.2, steel);
    for (double z = 1.5; z < 10; z += 1.5)
    {
        assembly.tube(
            silo + Vector{0, 0, z},
            silo + Vector{0, 0, z + 0.12},
            2.15,
            2.15,
            {Material::SheetMetal, {0.4, 0.41, 0.42}}
        );
    }
}
}  // namespace

void addBuildings(std::vector<Surface>& surfaces, const SitePlan& plan, const Terrain& terrain)
{
    for (const BuildingSite& site : plan.buildings())
    {
        const Footprint& footprint = site.footprint;
        const double floor = terrain.height(footprint.x, footprint.y);
        Assembly assembly(surfaces, {{footprint.x, footprint.y, floor}, heading(footprint.angle)}, kBuilding);
        switch (site.kind)
        {
            case BuildingKind::House:
                addHouse(assembly, footprint, Random(site.seed));
                break;
            case BuildingKind::Church:
                addChurch(assembly, footprint);
                break;
            case BuildingKind::Barn:
                addBarn(assembly, footprint);
                break;
        }
    }
}
}  // namespace Samples
