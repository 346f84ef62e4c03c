#include "samples/scene/windmill.h"

#include "samples/Random.h"
#include "samples/scene/portableMath.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numbers>

namespace Samples
{
namespace
{
constexpr std::uint8_t kBuilding = 6;
constexpr double kFacing = 0.62;  // where the sails look: into the wind from the north-east
constexpr int kSides = 8;

// Heights above the foot and radii of the corners, metres.
constexpr double kSunk = -1.0;
constexpr double kBaseTop = 3.0;
constexpr double kBaseRadius = 3.5;
constexpr double kSmockTop = 10.2;
constexpr double kSmockRadius = 3.25;
constexpr double kCapRadius = 2.05;
constexpr double kGalleryRadius = 5.0;
constexpr double kSailLength = 7.3;

constexpr Finish kDarkWood{Material::CarPaint, {0.05, 0.16, 0.11}};
constexpr Finish kDeck{Material::Timber, {0.4, 0.3, 0.2}};
constexpr Finish kWhitePaint{Material::WindowFrame, {0.74, 0.74, 0.7}};
constexpr Finish kGlass{Material::Glass, {1, 1, 1}};
constexpr Finish kCapSkin{Material::SheetMetal, {0.17, 0.36, 0.3}};
constexpr Finish kCanvas{Material::Plaster, {0.6, 0.13, 0.07}};

/// Corner of an octagon round the mill's axis; its sides 0 and 1 meet there, side 0 looks along x.
Vector corner(int i, double radius, double z)
{
    return heading((i + 0.5) * 2 * std::numbers::pi / kSides) * radius + Vector{0, 0, z};
}

/// Four corners that need not be a parallelogram, anticlockwise as seen from outside.
void facet(Assembly& assembly, Vector a, Vector b, Vector c, Vector d, const Finish& finish)
{
    assembly.triangle(a, b - a, d - a, finish);
    assembly.triangle(c, d - c, b - c, finish);
}

/// What stands on the middle of a side of the octagon, upright and a little before it.
struct Opening
{
    Vector middle;  ///< of its lower edge
    Vector across;
    Vector up;
    Vector outwards;
};

Opening openingAt(int side, double z, double radius, Vector up)
{
    const Vector outwards = heading(side * 2 * std::numbers::pi / kSides);
    const double apothem = radius * portableCos(std::numbers::pi / kSides);
    return {outwards * apothem + Vector{0, 0, z}, {-outwards.y, outwards.x, 0}, up, outwards};
}

void addPane(Assembly& assembly, const Opening& at, double width, double height, const Finish& pane)
{
    constexpr double kBar = 0.09;
    const Vector frameCorner = at.middle - at.across * (width / 2 + kBar) - at.up * kBar + at.outwards * 0.07;
    assembly.quad(frameCorner, at.across * (width + 2 * kBar), at.up * (height + 2 * kBar), kWhitePaint);
    const Vector paneCorner = at.middle - at.across * (width / 2) + at.outwards * 0.1;
    assembly.quad(paneCorner, at.across * width, at.up * height, pane);
    for (const double v : {0.34, 0.67})
    {
        const Vector bar = paneCorner + at.up * (height * v) + at.outwards * 0.02;
        assembly.quad(bar, at.across * width, at.up * 0.05, kWhitePaint);
    }
    const Vector bar = paneCorner + at.across * (width / 2 - 0.025) + at.outwards * 0.02;
    assembly.quad(bar, at.across * 0.05, at.up * height, kWhitePaint);
}

ModelPart base(const Frame& frame)
{
    ModelPart part{"base", {}};
    Assembly assembly(part.surfaces, frame, kBuilding);
    Random random(5);
    constexpr int kCourses = 10;
    constexpr int kBlocks = 4;  // in a course of one side; every other course begins with half of one
    constexpr double kCourse = (kBaseTop - kSunk) / kCourses;
    for (int side = 0; side < kSides; ++side)
    {
        const Vector left = corner(side - 1, kBaseRadius, kSunk);
        const Vector along = corner(side, kBaseRadius, kSunk) - left;
        for (int course = 0; course < kCourses; ++course)
        {
            const double shift = course % 2 != 0 ? 0.5 : 0;
            for (int block = 0; block - shift < kBlocks; ++block)
            {
                const double from = std::max(block - shift, 0.0) / kBlocks;
                const double to = std::min(block - shift + 1, kBlocks * 1.0) / kBlocks;
                const double shade = random.between(0.72, 1.12);
                assembly.quad(
                    left + along * from + Vector{0, 0, course * kCourse},
                    along * (to - from),
                    {0, 0, kCourse},
                    {Material::Plaster, Tint{0.46, 0.25, 0.16} * shade}
                );
            }
        }
    }
    const Opening door = openingAt(0, 0.15, kBaseRadius, {0, 0, 1});
    assembly.quad(
        door.middle - door.across * 0.75 + door.outwards * 0.04, door.across * 1.5, {0, 0, 2.4}, kWhitePaint
    );
    assembly.quad(
        door.middle - door.across * 0.62 + door.outwards * 0.08,
        door.across * 1.24,
        {0, 0, 2.26},
        {Material::Timber, {0.06, 0.2, 0.14}}
    );
    assembly.box(
        door.middle + Vector{-0.02, -1.1, -1.0}, {1.0, 2.2, 1.05}, {Material::Stone, {0.4, 0.38, 0.34}}
    );
    for (const int side : {2, 6, 1, 7})
    {
        addPane(assembly, openingAt(side, 1.05, kBaseRadius, {0, 0, 1}), 0.9, 1.15, kGlass);
    }
    return part;
}

ModelPart gallery(const Frame& frame)
{
    ModelPart part{"gallery", {}};
    Assembly assembly(part.surfaces, frame, kBuilding);
    const Vector rise{0, 0, 1.0};
    for (int i = 0; i < kSides; ++i)
    {
        const Vector a = corner(i - 1, kGalleryRadius, kBaseTop);
        const Vector b = corner(i, kGalleryRadius, kBaseTop);
        const Vector innerA = corner(i - 1, kSmockRadius - 0.1, kBaseTop);
        const Vector innerB = corner(i, kSmockRadius - 0.1, kBaseTop);
        const Vector thickness{0, 0, -0.16};
        facet(assembly, innerA, a, b, innerB, kDeck);
        facet(assembly, innerB + thickness, b + thickness, a + thickness, innerA + thickness, kDeck);
        assembly.quad(a + thickness, b - a, -thickness, kDarkWood);
        for (const double t : {0.0, 1.0 / 3, 2.0 / 3})
        {
            const Vector post = (a + (b - a) * t) * 0.985 + Vector{0, 0, 0.015 * kBaseTop};
            assembly.tube(post, post + rise * 1.08, 0.05, 0.05, kWhitePaint, true);
        }
        for (const double z : {0.45, 0.75, 1.05})
        {
            const Vector shift = rise * z + Vector{0, 0, 0.015 * kBaseTop};
            assembly.tube(a * 0.985 + shift, b * 0.985 + shift, 0.035, 0.035, kWhitePaint);
        }
        assembly.tube(
            corner(i, kBaseRadius, 1.35), corner(i, kGalleryRadius - 0.15, 2.86), 0.09, 0.09, kDarkWood
        );
    }
    return part;
}

/// Weatherboards: each leans out over the next one below.
ModelPart smock(const Frame& frame)
{
    ModelPart part{"tower", {}};
    Assembly assembly(part.surfaces, frame, kBuilding);
    Random random(11);
    constexpr int kBoards = 36;
    constexpr double kBoard = (kSmockTop - kBaseTop) / kBoards;
    constexpr double kLap = 0.035;
    const auto radiusAt = [](double z)
    { return kSmockRadius + (kCapRadius - kSmockRadius) * (z - kBaseTop) / (kSmockTop - kBaseTop); };
    for (int side = 0; side < kSides; ++side)
    {
        for (int board = 0; board < kBoards; ++board)
        {
            const double z = kBaseTop + board * kBoard;
            const double shade = random.between(0.8, 1.06);
            const Finish paint{Material::Plaster, Tint{0.66, 0.6, 0.47} * shade};
            const double low = radiusAt(z) + kLap;
            const double high = radiusAt(z + kBoard);
            // as wide as in its middle; the corner posts hide that it does not taper
            const double middle = (low + high) / 2;
            const Vector left = corner(side - 1, middle, z);
            const Vector right = corner(side, middle, z);
            const Vector outwards = heading(side * 2 * std::numbers::pi / kSides);
            const double lean = (high - low) / 2 * portableCos(std::numbers::pi / kSides);
            const Vector start = left - outwards * lean;
            assembly.quad(start, right - left, outwards * (2 * lean) + Vector{0, 0, kBoard}, paint);
        }
        assembly.tube(
            corner(side, kSmockRadius + 0.02, kBaseTop),
            corner(side, kCapRadius + 0.02, kSmockTop),
            0.13,
            0.1,
            kDarkWood
        );
    }
    const Vector slope = normalized({0, 0, 1});
    for (const int side : {0, 2, 4, 6})
    {
        addPane(assembly, openingAt(side, 5.0, radiusAt(5.0), slope), 0.75, 1.05, kGlass);
    }
    for (const int side : {1, 3, 7})
    {
        addPane(assembly, openingAt(side, 7.6, radiusAt(7.6), slope), 0.6, 0.85, kGlass);
    }
    const Opening door = openingAt(1, kBaseTop, kSmockRadius, slope);
    assembly.quad(
        door.middle - door.across * 0.5 + door.outwards * 0.08,
        door.across,
        {0, 0, 1.9},
        {Material::Timber, {0.06, 0.2, 0.14}}
    );
    return part;
}

/// Ring points of a cap that is longer than it is wide.
Vector capPoint(int i, int count, double size, double z)
{
    const Vector out = heading(2 * std::numbers::pi * i / count);
    return {out.x * size * 2.75, out.y * size * 2.3, z};
}

ModelPart cap(const Frame& frame)
{
    ModelPart part{"cap", {}};
    Assembly assembly(part.surfaces, frame, kBuilding);

    struct Ring
    {
        double size;
        double z;
    };

    constexpr std::array<Ring, 7> kRings{
        {{0.9, kSmockTop - 0.15},
         {1.0, kSmockTop + 0.1},
         {0.98, kSmockTop + 0.85},
         {0.87, kSmockTop + 1.55},
         {0.66, kSmockTop + 2.15},
         {0.36, kSmockTop + 2.55},
         {0.0, kSmockTop + 2.75}}};
    constexpr int kRibs = 20;
    for (std::size_t ring = 0; ring + 1 < kRings.size(); ++ring)
    {
        const Ring low = kRings[ring];
        const Ring high = kRings[ring + 1];
        for (int i = 0; i < kRibs; ++i)
        {
            const Vector a = capPoint(i, kRibs, low.size, low.z);
            const Vector b = capPoint(i + 1, kRibs, low.size, low.z);
            const Vector c = capPoint(i + 1, kRibs, high.size, high.z);
            const Vector d = capPoint(i, kRibs, high.size, high.z);
            const Finish& finish = ring == 0 ? kDarkWood : kCapSkin;
            assembly.triangle(a, b - a, d - a, finish);
            if (high.size > 0)
            {
                assembly.triangle(c, d - c, b - c, finish);
            }
        }
    }
    assembly.tube(
        {0, 0, kSmockTop + 2.7}, {0, 0, kSmockTop + 3.3}, 0.09, 0.02, {Material::CarPaint, {0.62, 0.45, 0.08}}
    );
    return part;
}

ModelPart sails(const Frame& frame)
{
    ModelPart part{"sails", {}};
    Assembly assembly(part.surfaces, frame, kBuilding);
    const Vector hub{3.25, 0, kSmockTop + 1.15};
    assembly.tube({1.5, 0, hub.z - 0.1}, hub + Vector{0.25, 0, 0}, 0.3, 0.3, kDarkWood, true);
    constexpr double kRest = 0.45;  // radians
    for (int arm = 0; arm < 4; ++arm)
    {
        const Vector turn = heading(kRest + arm * std::numbers::pi / 2);
        const Vector out{0, turn.x, turn.y};
        const Vector side{0, -turn.y, turn.x};
        const auto at = [&](double r, double s, double before) {
            return hub + out * r + side * s + Vector{before, 0, 0};
        };
        assembly.tube(at(0, 0, 0), at(kSailLength, 0, 0), 0.16, 0.08, kWhitePaint, true);
        for (const double s : {0.75, 1.5})
        {
            assembly.tube(at(1.5, s, 0.02 + 0.12 * s), at(7.1, s, 0.02 + 0.05 * s), 0.04, 0.04, kWhitePaint);
        }
        for (int bar = 0; bar < 15; ++bar)
        {
            const double r = 1.5 + 0.4 * bar;
            const double pitch = 0.12 - 0.0047 * bar;  // sails are twisted like propellers
            assembly.tube(
                at(r, -0.5, -0.5 * pitch), at(r, 1.52, 0.02 + 1.5 * pitch), 0.035, 0.035, kWhitePaint
            );
        }
        facet(
            assembly,
            at(1.5, -0.5, -0.03),
            at(1.5, -0.1, 0.02),
            at(7.1, -0.1, 0.02),
            at(7.1, -0.5, -0.03),
            kDarkWood
        );
        facet(
            assembly, at(1.6, 0.1, 0.1), at(1.6, 1.45, 0.25), at(5.1, 1.45, 0.2), at(5.1, 0.1, 0.1), kCanvas
        );
    }
    return part;
}
}  // namespace

std::vector<ModelPart> windmill(Vector foot)
{
    const Frame frame{foot, heading(kFacing)};
    return {base(frame), gallery(frame), smock(frame), cap(frame), sails(frame)};
}
}  // namespace Samples
