#include "libraryBorders.h"

#include <octree/Octree.h>
#include <render/gpu/ComException.h>
#include <render/gpu/VertexContainer.h>
#include <render/platform/Direct3D.h>
#include <render/pointcloud/IFilter.h>
#include <render/pointcloud/PointCloudQuery.h>
#include <render/renderer/Renderer.h>
#include <render/scene/GroupRenderable.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{
void require(bool condition, const std::string& what)
{
    if (!condition)
    {
        throw std::logic_error("this does not work through the libraries: " + what);
    }
}

template <class Error, class Action>
bool throws(Action&& action)
{
    try
    {
        action();
    }
    catch (const Error&)
    {
        return true;
    }
    return false;
}

/// A scene object of this program.
class Own : public Render::Renderable
{
public:
    Own() : Renderable("own") {}

    void
    init(unsigned long long, std::shared_ptr<Render::Camera>, Render::CComPtr<ID3D11Device> device, Render::CComPtr<ID3D11DeviceContext>)
        override
    {
        hasDevice = device != nullptr;
    }

    void deinit() override { hasDevice = false; }

    void render() override
    {
        ++frames;
        Renderable::render();
    }

    Math::NBoundingBox<float, 3> boundingBox() override { return {}; }

    bool hasDevice = false;
    int frames = 0;
};

/// A region of this program that counts what it is asked.
class Everywhere : public Render::IFilter
{
public:
    explicit Everywhere(int& asked) : mAsked(asked) {}

    bool testPosition(const Math::Point<float, 3>&) override
    {
        ++mAsked;
        return true;
    }

    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>&) override
    {
        return Octree::BoxTestResult::Border;
    }

private:
    int& mAsked;
};

void checkScene(Render::Renderer& renderer)
{
    const auto own = std::make_shared<Own>();
    const auto group = Render::GroupRenderable::create("group");
    group->add(own);
    const std::shared_ptr<Render::Renderable> scene = group;
    require(std::dynamic_pointer_cast<Render::GroupRenderable>(scene) == group, "casts to a group");

    renderer.setScene(scene);
    require(own->hasDevice, "a derived scene object that is initialised");
    renderer.render();
    require(own->frames == 1, "a derived scene object that is drawn");
    renderer.setScene(nullptr);
    require(!own->hasDevice, "a derived scene object that is let go");

    Render::GroupRenderable copy(*group);
    require(throws<std::bad_weak_ptr>([&] { copy.add(std::make_shared<Own>()); }), "std::bad_weak_ptr");
}

void checkDevice(Render::Renderer& renderer)
{
    Render::CComPtr<ID3D11Device> device = renderer.device();
    Render::CComPtr<ID3D11DeviceContext> context;
    device->GetImmediateContext(&context);
    require(context == renderer.deviceContext(), "the context of the device");

    require(
        throws<Render::ComException>([&] { renderer.setViewport(20'000, 1); }
        ),  // more than the feature level has
        "ComException"
    );
    renderer.render();
    Render::CComPtr<ID3D11Device> deviceOfPicture;
    renderer.outputTexture()->GetDevice(&deviceOfPicture);
    require(deviceOfPicture == device, "the picture on the device");
}

void checkPoints(const std::filesystem::path& dataset)
{
    Render::VertexContainer vertices;
    vertices.resize(3);
    vertices.setVisibility(1, 1);
    vertices.complete();
    require(vertices.size() == 2, "VertexContainer");

    const auto octree = std::make_shared<Octree::Octree>(Octree::Location::fromPath(dataset), 1.0);
    int asked = 0;
    Render::PointCloudQuery query(
        octree,
        Render::PointCloudQuery::createOrGetSharedCache(octree->location(), 1.0, 100'000, 100),
        Eigen::Matrix4f::Identity(),
        new Everywhere(asked),
        0,
        0.0F,
        std::chrono::nanoseconds::max()
    );
    std::vector<Render::VertexPosColor> points(1'000'000);
    const std::size_t count = query.getNextPointChunk(points.data(), points.size());
    require(count > 0 && std::cmp_equal(asked, count), "a region of this program");
}
}  // namespace

void checkLibraryBorders(const std::filesystem::path& dataset)
{
    Render::Renderer renderer;
    renderer.setViewport(32, 24);
    checkScene(renderer);
    checkDevice(renderer);
    checkPoints(dataset);
}
