#pragma once

#include "render/scene/DrawQueue.h"
#include "render/scene/RenderMode.h"
#include "render/scene/Renderable.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Render
{
/// An ordered list of renderables that acts as one: every callback goes to all children, and their answers
/// are combined.
///
/// The list order is the drawing order. A group is initialised while it has camera, device and context; a
/// child that joins an initialised group is brought up to the scene's state, one that leaves it is
/// deinitialised.
///
/// Threads  as Renderable.
class RENDER_API GroupRenderable : public Renderable, public std::enable_shared_from_this<GroupRenderable>
{
    /// Only the class itself can make one, so that every group is owned by a shared pointer from its birth.
    struct Private
    {
        explicit Private() = default;
    };

public:
    /// How children are listed.
    using Children = std::vector<std::shared_ptr<Renderable>>;
    /// Over the children in list order.
    using iterator = Children::iterator;
    using const_iterator = Children::const_iterator;

    /// A group without children.
    static std::shared_ptr<GroupRenderable> create(std::string name);

    /// For create().
    GroupRenderable(Private, const std::string& name);
    /// A copy lists the same children, whose parent stays the original.
    GroupRenderable(const GroupRenderable& other);
    GroupRenderable(GroupRenderable&& other) noexcept;
    GroupRenderable& operator=(const GroupRenderable& other);
    GroupRenderable& operator=(GroupRenderable&& other) noexcept;
    ~GroupRenderable() override;

    /// Appends a child and becomes its parent. The same child may be added twice; it is then listed, drawn
    /// and initialised twice. A child of another group stays in that group's list as well.
    /// @throws std::bad_weak_ptr  when no shared pointer owns the group; the child has then been appended
    ///                            already
    void add(std::shared_ptr<Renderable> child);

    /// Gives the child its name and adds it.
    void add(const std::string& name, std::shared_ptr<Renderable> child);

    /// The first direct child of that name in list order; empty when there is none.
    std::shared_ptr<Renderable> findByName(const std::string& name) const;

    /// Removes every child of that name. The order changes: the place of a removed child is taken by the
    /// last child that stays.
    void removeByName(const std::string& name);

    /// Removes one child; the order of the rest is kept.
    void remove(const_iterator position);

    /// Removes every child.
    void removeAll();

    /// The children in list order.
    iterator begin() noexcept;
    iterator end() noexcept;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    const_iterator cbegin() const noexcept;
    const_iterator cend() const noexcept;

    /// The first and the last child; empty for an empty group.
    std::shared_ptr<Renderable> front() const;
    std::shared_ptr<Renderable> back() const;

    /// Number of children, and whether there are none.
    std::size_t size() const noexcept;
    bool empty() const noexcept;

    void init(
        unsigned long long rendererId,
        std::shared_ptr<Camera> camera,
        CComPtr<ID3D11Device> device,
        CComPtr<ID3D11DeviceContext> deviceContext
    ) override;
    void deinit() override;

    void onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera) override;
    void onUpdateViewMatrix(const std::shared_ptr<Camera>& camera) override;
    void onUpdateZRange(const std::shared_ptr<Camera>& camera) override;
    void onUpdateViewport(const std::shared_ptr<Camera>& camera) override;
    void onUpdateRenderMode(RenderMode renderMode) override;

    /// Draws the visible children in list order.
    void render() override;

    bool joinsNeighbours() const override { return true; }

    /// That of the first child that has one.
    std::optional<Math::Color> backgroundColor() override;

    /// True as soon as one child is transparent.
    bool isTransparent() const override;

    /// The mean over all children; 0 and 1 for an empty group.
    void brightnessAndContrast(float quantile, float range, float& brightness, float& contrast) override;

    /// The box around all children in the group's coordinates.
    Math::NBoundingBox<float, 3> boundingBox() override;

    void invalidateWorldMatrix() override;

    /// True when the group or any child needs a redraw.
    bool needsRedraw() const override;

private:
    bool isInitialized() const noexcept;

    unsigned long long mRendererId = 0;
    std::shared_ptr<Camera> mCamera;
    CComPtr<ID3D11Device> mDevice;
    CComPtr<ID3D11DeviceContext> mDeviceContext;
    std::shared_ptr<DrawQueue> mDrawQueue;
    RenderMode mRenderMode = RenderMode::Default;
    Children mChildren;
};
}  // namespace Render
