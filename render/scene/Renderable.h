#pragma once

#include "core/InstanceId.h"
#include "math/Color.h"
#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "math/eigenAlignment.h"
#include "render/Export.h"
#include "render/Render.h"
#include "render/platform/ComPtr.h"

#include <Eigen/Core>

#include <memory>
#include <optional>
#include <string>

namespace Render
{
/// Base of everything that a scene can hold: a name, a place in the tree, a transform, and the callbacks
/// through which the renderer hands its state to the scene.
///
/// A child knows its parent through a weak reference only, so a tree never keeps itself alive. Every object
/// has an id, unique among the renderables of the process; copies keep the id of their original.
///
/// Frame    matrix() leads from the object's coordinates to those of its parent, worldMatrix() to the
///          world's. Threads the thread that drives the renderer. A subclass whose threads ask for a redraw
///          synchronises that itself.
class RENDER_API Renderable : public Core::InstanceId<Renderable>
{
public:
    /// Visible, without parent, with the identity as its matrix.
    explicit Renderable(std::string name);
    Renderable(const Renderable& other);
    Renderable& operator=(const Renderable& other);
    virtual ~Renderable();

    /// Brings the object to life on a device; called when it enters a live scene.
    /// @param rendererId  id of the renderer; objects of one renderer share resources by it
    /// @param camera      the renderer's camera, to read
    virtual void init(
        unsigned long long rendererId,
        std::shared_ptr<Camera> camera,
        CComPtr<ID3D11Device> device,
        CComPtr<ID3D11DeviceContext> deviceContext
    );

    /// Gives back everything that init() took; called when the object leaves a live scene.
    virtual void deinit();

    /// The camera has changed in one respect; called after the change.
    virtual void onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera);
    virtual void onUpdateViewMatrix(const std::shared_ptr<Camera>& camera);
    virtual void onUpdateZRange(const std::shared_ptr<Camera>& camera);
    virtual void onUpdateViewport(const std::shared_ptr<Camera>& camera);
    virtual void onUpdateRenderMode(RenderMode renderMode);

    /// Draws into the bound targets. An override clears the redraw flag as this one does, since the host
    /// decides from it whether another frame is needed.
    virtual void render();

    /// Whether render() may leave a step of its drawing to a DrawQueue, so that neighbours of its kind share
    /// it, and needs nothing finished before. False by default: whatever waits is then drawn before render().
    virtual bool joinsNeighbours() const { return false; }

    /// The colour that this object wants behind it, if any.
    virtual std::optional<Math::Color> backgroundColor();

    /// True when the object blends with what lies behind it.
    virtual bool isTransparent() const;

    /// Finds brightness and contrast that suit the object's own colours; 0 and 1 where it has no opinion.
    /// @param quantile     fraction of the values at either end that may be lost
    /// @param range        the part of the output range, 0 to 1, that the rest is spread over
    virtual void brightnessAndContrast(float quantile, float range, float& brightness, float& contrast);

    /// The object's extent in its own coordinates; empty when it has none.
    virtual Math::NBoundingBox<float, 3> boundingBox() = 0;

    /// Sets the local transform; asks for a redraw if it differs in any element.
    virtual void setMatrix(const Eigen::Matrix4f& matrix);
    virtual Eigen::Matrix4f matrix();

    /// The parent's world matrix times the own one, computed when it is asked for after a change.
    virtual Eigen::Matrix4f worldMatrix();

    /// Something above or in this object has moved: the world matrix is computed again when next asked for.
    virtual void invalidateWorldMatrix();

    /// Whether the object has to be drawn again.
    virtual void setNeedsRedraw(bool needsRedraw);
    virtual bool needsRedraw() const;

    /// The name, by which groups find the object; need not be unique.
    void setName(const std::string& name);
    std::string name() const;

    /// The object that holds this one, empty when there is none or it is gone.
    std::shared_ptr<Renderable> parent() const;
    void setParent(std::weak_ptr<Renderable> parent);

    /// The general inverse of worldMatrix().
    Eigen::Matrix4f invWorldMatrix();

    /// Whether a group draws this child. An invisible one still takes part in everything else.
    bool visible() const noexcept;
    void setVisible(bool visible);

    /// boundingBox() in world coordinates and in the parent's: the box around its transformed corners.
    Math::NBoundingBox<float, 3> boundingBoxWorld();
    Math::NBoundingBox<float, 3> boundingBoxParent();

    /// Moves the object rigidly in its parent's coordinates so that `from` comes to lie at `to` and the
    /// horizontal part of `fromDirection` turns onto that of `toDirection`. The vertical axis stays
    /// upright, the scale is kept.
    void setTranslationAndZRotationByCorrespondences(
        const Math::Point<float, 3>& from,
        const Math::Point<float, 3>& to,
        const Eigen::Vector3f& fromDirection,
        const Eigen::Vector3f& toDirection
    );

    /// Moves the object by to - from.
    void setTranslationByCorrespondences(const Math::Point<float, 3>& from, const Math::Point<float, 3>& to);

    /// Turns the object about the vertical line through `center` so that the bearing of `from` becomes that
    /// of `to`.
    void setZRotationByCorrespondences(
        const Math::Point<float, 3>& center,
        const Math::Point<float, 3>& from,
        const Math::Point<float, 3>& to
    );

private:
    std::string mName;
    std::weak_ptr<Renderable> mParent;
    Eigen::Matrix4f mMatrix = Eigen::Matrix4f::Identity();
    Eigen::Matrix4f mWorldMatrix = Eigen::Matrix4f::Identity();
    bool mVisible = true;
    bool mWorldMatrixDirty = false;
    bool mNeedsRedraw = true;
};
}  // namespace Render
