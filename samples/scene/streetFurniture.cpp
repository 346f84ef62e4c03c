#include "samples/scene/streetFurniture.h"

#include "samples/scene/portableMath.h"

#include <array>
#include <cmath>

namespace Samples
{
namespace
{
// LAS has no code for these; 64 and up are free for users
constexpr std::uint8_t kPole = 64;
constexpr std::uint8_t kFence = 65;
constexpr std::uint8_t kVehicle = 66;
constexpr std::uint8_t kBale = 67;

constexpr Finish kSteel{Material::GalvanisedSteel, {0.26, 0.28, 0.28}, 9};

Vector onGround(const Terrain& terrain, double x, double y)
{
    return {x, y, terrain.height(x, y)};
}

void addLamp(std::vector<Surface>& surfaces, const Frame& frame)
{
    Assembly lamp(surfaces, frame, kPole);
    lamp.tube({0, 0, 0}, {0, 0, 0.9}, 0.11, 0.11, kSteel);
    lamp.tube({0, 0, 0.9}, {0, 0, 6.2}, 0.075, 0.05, kSteel);
    lamp.tube({0, 0, 6.2}, {0, 1.3, 6.55}, 0.045, 0.04, kSteel);
    lamp.box({-0.12, 1.15, 6.48}, {0.24, 0.62, 0.12}, {Material::WindowFrame, {0.7, 0.7, 0.66}, 9});
}

void addFence(std::vector<Surface>& surfaces, const Terrain& terrain, Vector from, Vector to)
{
    const Finish wood{Material::Timber, {0.33, 0.26, 0.18}, 6};
    Assembly fence(surfaces, {}, kFence);
    const int fields = static_cast<int>(length(to - from) / 2.4) + 1;
    Vector last{};
    for (int i = 0; i <= fields; ++i)
    {
        const Vector place = from + (to - from) * (static_cast<double>(i) / fields);
        const Vector foot = onGround(terrain, place.x, place.y);
        fence.tube(foot, foot + Vector{0, 0, 1.15}, 0.065, 0.06, wood, true);
        for (const double z : {0.5, 0.95})
        {
            if (i > 0)
            {
                fence.tube(last + Vector{0, 0, z}, foot + Vector{0, 0, z}, 0.04, 0.04, wood);
            }
        }
        last = foot;
    }
}

void addCar(std::vector<Surface>& surfaces, const Frame& frame, Tint paint)
{
    const Finish body{Material::CarPaint, paint, 3};
    const Finish glass{Material::Glass, {1, 1, 1}, 3};
    const Finish trim{Material::Rubber, {0.04, 0.04, 0.042}, 3};
    Assembly car(surfaces, frame, kVehicle);
    car.box({-2.1, -0.87, 0.28}, {4.2, 1.74, 0.57}, body);
    for (const double x : {-1.3, 1.3})
    {
        for (const double y : {-0.91, 0.71})
        {
            car.tube({x, y, 0.32}, {x, y + 0.2, 0.32}, 0.32, 0.32, trim, true);
        }
    }
    // the cabin: a roof on four raked panes
    constexpr double kSill = 0.85;
    constexpr double kRoof = 1.44;
    const std::array<Vector, 4> low{
        {{-1.75, -0.82, kSill}, {1.0, -0.82, kSill}, {1.0, 0.82, kSill}, {-1.75, 0.82, kSill}}};
    const std::array<Vector, 4> high{
        {{-1.25, -0.65, kRoof}, {0.3, -0.65, kRoof}, {0.3, 0.65, kRoof}, {-1.25, 0.65, kRoof}}};
    for (std::size_t i = 0; i < 4; ++i)
    {
        const std::size_t next = (i + 1) % 4;
        car.triangle(low[i], low[next] - low[i], high[next] - low[i], glass);
        car.triangle(low[i], high[next] - low[i], high[i] - low[i], glass);
        car.tube(low[i], high[i], 0.05, 0.05, body);
    }
    car.quad(high[0], high[1] - high[0], high[3] - high[0], body);
    for (const double y : {-0.8, 0.45})
    {
        car.quad({2.11, y, 0.58}, {0, 0.35, 0}, {0, 0, 0.16}, {Material::WindowFrame, {0.9, 0.9, 0.85}, 8});
        car.quad(
            {-2.11, y + 0.35, 0.6}, {0, -0.35, 0}, {0, 0, 0.16}, {Material::CarPaint, {0.5, 0.02, 0.02}, 8}
        );
    }
}

void addCars(std::vector<Surface>& surfaces, const Terrain& terrain)
{
    struct Place
    {
        double x;
        double offset;  ///< metres north of the road's middle
        double turn;
        Tint paint;
    };

    constexpr double kBack = 3.14159265;
    constexpr std::array<Place, 9> kPlaces{{
        {17, -1.6, 0, {0.5, 0.03, 0.03}},
        {44, 1.6, kBack, {0.05, 0.12, 0.36}},
        {58, -2.3, 0, {0.62, 0.63, 0.64}},
        {74, 6.3, 0.3, {0.03, 0.03, 0.035}},
        {89, 1.6, kBack, {0.66, 0.5, 0.05}},
        {93.5, 5.9, kBack, {0.75, 0.75, 0.73}},
        {112, -1.6, 0, {0.06, 0.22, 0.1}},
        {110, 6.6, 1.5, {0.4, 0.05, 0.06}},
        {146, 1.6, kBack, {0.2, 0.22, 0.25}},
    }};
    for (const Place& place : kPlaces)
    {
        const double angle = SitePlan::roadAngle(place.x);
        const Vector along = heading(angle);
        const double x = place.x - along.y * place.offset;
        const double y = SitePlan::roadY(place.x) + along.x * place.offset;
        addCar(surfaces, {onGround(terrain, x, y), heading(angle + place.turn)}, place.paint);
    }
}

void addBales(std::vector<Surface>& surfaces, const Terrain& terrain)
{
    Random random(7);
    for (int i = 0; i < 11; ++i)
    {
        const int row = i / 4;
        const double x = 131 + 8.3 * (i % 4) + random.between(-1.4, 1.4);
        const double y = 74 + 8.0 * row + random.between(-1.4, 1.4);
        const Frame frame{onGround(terrain, x, y), heading(random.between(0, 3.1))};
        Assembly bale(surfaces, frame, kBale);
        bale.tube(
            {-0.65, 0, 0.78}, {0.65, 0, 0.78}, 0.8, 0.8, {Material::Straw, {0.56, 0.43, 0.18}, 2}, true
        );
    }
}
}  // namespace

void addStreetFurniture(std::vector<Surface>& surfaces, const Terrain& terrain)
{
    for (double x = 10; x < SitePlan::kSize; x += 21)
    {
        const double angle = SitePlan::roadAngle(x);
        const Vector along = heading(angle);
        const double y = SitePlan::roadY(x) - 5.2;
        addLamp(surfaces, {onGround(terrain, x + along.y * 0.1, y), along});
    }
    for (double y = 90; y < SitePlan::kSize; y += 22)
    {
        addLamp(surfaces, {onGround(terrain, SitePlan::laneX(y) + 2.9, y), {0, 1, 0}});
    }
    addFence(surfaces, terrain, {129, 70.5, 0}, {158, 69, 0});
    addFence(surfaces, terrain, {158, 69, 0}, {157.5, 99, 0});
    addFence(surfaces, terrain, {157.5, 99, 0}, {128, 98.5, 0});
    addFence(surfaces, terrain, {128, 98.5, 0}, {127, 79, 0});
    addFence(surfaces, terrain, {16.5, 99, 0}, {16.5, 152, 0});
    addCars(surfaces, terrain);
    addBales(surfaces, terrain);
}
}  // namespace Samples
