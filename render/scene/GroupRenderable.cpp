#include "render/scene/GroupRenderable.h"

#include "render/platform/Direct3D.h"

#include <algorithm>
#include <utility>

namespace Render
{
// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is public
std::shared_ptr<GroupRenderable> GroupRenderable::create(std::string name)
{
    return std::make_shared<GroupRenderable>(Private(), name);
}

GroupRenderable::GroupRenderable(Private, const std::string& name) : Renderable(name) {}

GroupRenderable::GroupRenderable(const GroupRenderable& other) = default;
GroupRenderable::GroupRenderable(GroupRenderable&& other) noexcept = default;
GroupRenderable& GroupRenderable::operator=(const GroupRenderable& other) = default;
GroupRenderable& GroupRenderable::operator=(GroupRenderable&& other) noexcept = default;
GroupRenderable::~GroupRenderable() = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is public
void GroupRenderable::add(std::shared_ptr<Renderable> child)
{
    mChildren.push_back(child);
    child->setParent(std::weak_ptr<Renderable>(shared_from_this()));
    if (isInitialized())
    {
        child->init(mRendererId, mCamera, mDevice, mDeviceContext);
        child->onUpdateRenderMode(mRenderMode);
    }
    invalidateWorldMatrix();
    setNeedsRedraw(true);
}

void GroupRenderable::add(const std::string& name, std::shared_ptr<Renderable> child)
{
    child->setName(name);
    add(std::move(child));
}

std::shared_ptr<Renderable> GroupRenderable::findByName(const std::string& name) const
{
    const auto found = std::find_if(
        mChildren.begin(), mChildren.end(), [&name](const auto& child) { return child->name() == name; }
    );
    return found != mChildren.end() ? *found : nullptr;
}

void GroupRenderable::removeByName(const std::string& name)
{
    // Written out because the order that is left is part of the behaviour, and std::partition does not
    // promise one.
    iterator first = mChildren.begin();
    iterator last = mChildren.end();
    while (true)
    {
        while (first != last && (*first)->name() != name)
        {
            ++first;
        }
        while (first != last && (*std::prev(last))->name() == name)
        {
            --last;
        }
        if (first == last)
        {
            break;
        }
        std::iter_swap(first, std::prev(last));
    }

    if (isInitialized())
    {
        std::for_each(first, mChildren.end(), [](const auto& child) { child->deinit(); });
    }
    mChildren.erase(first, mChildren.end());
    setNeedsRedraw(true);
}

void GroupRenderable::remove(const_iterator position)
{
    if (isInitialized())
    {
        (*position)->deinit();
    }
    mChildren.erase(position);
    setNeedsRedraw(true);
}

void GroupRenderable::removeAll()
{
    if (isInitialized())
    {
        for (const auto& child : mChildren)
        {
            child->deinit();
        }
    }
    mChildren.clear();
    setNeedsRedraw(true);
}

GroupRenderable::iterator GroupRenderable::begin() noexcept
{
    return mChildren.begin();
}

GroupRenderable::iterator GroupRenderable::end() noexcept
{
    return mChildren.end();
}

GroupRenderable::const_iterator GroupRenderable::begin() const noexcept
{
    return mChildren.begin();
}

GroupRenderable::const_iterator GroupRenderable::end() const noexcept
{
    return mChildren.end();
}

GroupRenderable::const_iterator GroupRenderable::cbegin() const noexcept
{
    return mChildren.cbegin();
}

GroupRenderable::const_iterator GroupRenderable::cend() const noexcept
{
    return mChildren.cend();
}

std::shared_ptr<Renderable> GroupRenderable::front() const
{
    return mChildren.empty() ? nullptr : mChildren.front();
}

std::shared_ptr<Renderable> GroupRenderable::back() const
{
    return mChildren.empty() ? nullptr : mChildren.back();
}

std::size_t GroupRenderable::size() const noexcept
{
    return mChildren.size();
}

bool GroupRenderable::empty() const noexcept
{
    return mChildren.empty();
}

void GroupRenderable::init(
    unsigned long long rendererId,
    std::shared_ptr<Camera> camera,
    CComPtr<ID3D11Device> device,
    CComPtr<ID3D11DeviceContext> deviceContext
)
{
    mRendererId = rendererId;
    mCamera = std::move(camera);
    mDevice = std::move(device);
    mDeviceContext = std::move(deviceContext);
    mDrawQueue = DrawQueue::shared(rendererId);
    for (const auto& child : mChildren)
    {
        child->init(mRendererId, mCamera, mDevice, mDeviceContext);
    }
}

void GroupRenderable::deinit()
{
    for (const auto& child : mChildren)
    {
        child->deinit();
    }
    mCamera.reset();
    mDevice.release();
    mDeviceContext.release();
    mDrawQueue.reset();
}

void GroupRenderable::onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera)
{
    for (const auto& child : mChildren)
    {
        child->onUpdateProjectionMatrix(camera);
    }
}

void GroupRenderable::onUpdateViewMatrix(const std::shared_ptr<Camera>& camera)
{
    for (const auto& child : mChildren)
    {
        child->onUpdateViewMatrix(camera);
    }
}

void GroupRenderable::onUpdateZRange(const std::shared_ptr<Camera>& camera)
{
    for (const auto& child : mChildren)
    {
        child->onUpdateZRange(camera);
    }
}

void GroupRenderable::onUpdateViewport(const std::shared_ptr<Camera>& camera)
{
    for (const auto& child : mChildren)
    {
        child->onUpdateViewport(camera);
    }
}

void GroupRenderable::onUpdateRenderMode(RenderMode renderMode)
{
    mRenderMode = renderMode;
    for (const auto& child : mChildren)
    {
        child->onUpdateRenderMode(renderMode);
    }
}

void GroupRenderable::render()
{
    setNeedsRedraw(false);
    for (const auto& child : mChildren)
    {
        if (!child->visible())
        {
            continue;
        }
        if (!mDrawQueue)
        {
            child->render();
            continue;
        }
        if (child->joinsNeighbours())
        {
            child->render();
        }
        else
        {
            mDrawQueue->finish();
            const DrawQueue::Closed closed(*mDrawQueue);
            child->render();
        }
        mDrawQueue->tellDrawn(child);
    }
}

std::optional<Math::Color> GroupRenderable::backgroundColor()
{
    for (const auto& child : mChildren)
    {
        if (const std::optional<Math::Color> color = child->backgroundColor())
        {
            return color;
        }
    }
    return std::nullopt;
}

bool GroupRenderable::isTransparent() const
{
    return std::any_of(
        mChildren.begin(), mChildren.end(), [](const auto& child) { return child->isTransparent(); }
    );
}

void GroupRenderable::brightnessAndContrast(float quantile, float range, float& brightness, float& contrast)
{
    if (mChildren.empty())
    {
        Renderable::brightnessAndContrast(quantile, range, brightness, contrast);
        return;
    }
    float brightnessSum = 0.0F;
    float contrastSum = 0.0F;
    for (const auto& child : mChildren)
    {
        float childBrightness = 0.0F;
        float childContrast = 0.0F;
        child->brightnessAndContrast(quantile, range, childBrightness, childContrast);
        brightnessSum += childBrightness;
        contrastSum += childContrast;
    }
    const auto count = static_cast<float>(mChildren.size());
    brightness = brightnessSum / count;
    contrast = contrastSum / count;
}

Math::NBoundingBox<float, 3> GroupRenderable::boundingBox()
{
    Math::NBoundingBox<float, 3> box;
    for (const auto& child : mChildren)
    {
        box.extend(child->boundingBoxParent());
    }
    return box;
}

void GroupRenderable::invalidateWorldMatrix()
{
    Renderable::invalidateWorldMatrix();
    for (const auto& child : mChildren)
    {
        child->invalidateWorldMatrix();
    }
}

bool GroupRenderable::needsRedraw() const
{
    return std::any_of(
               mChildren.begin(), mChildren.end(), [](const auto& child) { return child->needsRedraw(); }
           ) ||
           Renderable::needsRedraw();
}

bool GroupRenderable::isInitialized() const noexcept
{
    return mCamera != nullptr && mDevice.get() != nullptr && mDeviceContext.get() != nullptr;
}
}  // namespace Render
