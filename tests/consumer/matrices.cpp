#include "matrices.h"

#include <math/Point.h>
#include <math/transform.h>
#include <render/platform/Direct3D.h>
#include <render/scene/GroupRenderable.h>

#include <Eigen/Core>

#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

namespace
{
static_assert(alignof(Eigen::Matrix4f) == 16 && alignof(Eigen::Matrix4d) == 16, "as the libraries have it");

constexpr int kCanary = 12345;

/// Its own fields lie behind those of the library's class, which has matrices.
class Own : public Render::Renderable
{
public:
    Own() : Renderable("own") {}

    void
    init(unsigned long long, std::shared_ptr<Render::Camera>, Render::CComPtr<ID3D11Device>, Render::CComPtr<ID3D11DeviceContext>)
        override
    {
    }

    Math::NBoundingBox<float, 3> boundingBox() override { return {}; }

    int canary = kCanary;
    Eigen::Matrix4f own = Eigen::Matrix4f::Constant(5.0F);
};

Eigen::Matrix4f translation(float x, float y, float z)
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix(0, 3) = x;
    matrix(1, 3) = y;
    matrix(2, 3) = z;
    return matrix;
}

void require(bool condition, const char* what)
{
    if (!condition)
    {
        throw std::logic_error(what);
    }
}

void checkObjects()
{
    const auto group = Render::GroupRenderable::create("group");
    group->setMatrix(translation(100.0F, 200.0F, 300.0F));
    std::vector<std::shared_ptr<Own>> objects;
    for (int i = 0; i < 8; ++i)  // on the heap in turn: every second place is no multiple of 32
    {
        objects.push_back(std::make_shared<Own>());
        group->add(objects.back());
        objects.back()->setMatrix(translation(1.0F, 2.0F, static_cast<float>(i)));
    }
    for (int i = 0; i < 8; ++i)
    {
        Own& object = *objects[static_cast<std::size_t>(i)];
        const float z = static_cast<float>(i);
        require(object.worldMatrix() == translation(101.0F, 202.0F, 300.0F + z), "a matrix is another one");
        require(object.matrix() == translation(1.0F, 2.0F, z), "a matrix comes back as another one");
        require(object.canary == kCanary, "a field of a derived class was overwritten");
        require(object.own == Eigen::Matrix4f::Constant(5.0F), "a matrix of a derived class was overwritten");
    }
}

void checkPlaces()
{
    alignas(64) std::byte places[3 * sizeof(Eigen::Matrix4f)];
    for (const std::size_t offset : {0, 16, 32, 48})
    {
        const auto* const matrix = new (places + offset) Eigen::Matrix4f(translation(1.0F, 2.0F, 3.0F));
        const Math::Point<float, 3> moved =
            Math::transformed(Math::Point<float, 3>(10.0F, 20.0F, 30.0F), *matrix);
        require(moved.x == 11.0F && moved.y == 22.0F && moved.z == 33.0F, "a point is moved elsewhere");
    }
}
}  // namespace

void checkMatrices()
{
    checkObjects();
    checkPlaces();
}
