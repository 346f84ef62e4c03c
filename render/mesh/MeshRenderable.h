#pragma once

#include "math/ConvexPolytope.h"
#include "math/HalfSpace.h"
#include "render/Export.h"
#include "render/gpu/VertexFormats.h"
#include "render/scene/Renderable.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Render
{
class MeshLoader;

/// A triangle mesh, lit from the camera, that up to eight planes can cut.
///
/// Frame    the loader's positions in the units of their file; model coordinates are those times unitScale().
/// Threads  the thread that drives the renderer.
class RENDER_API MeshRenderable : public Renderable, public std::enable_shared_from_this<MeshRenderable>
{
    struct Private
    {
        explicit Private() = default;
    };

public:
    /// Most planes of a clipping volume.
    static constexpr std::size_t CLIPPING_PLANES_MAX_COUNT = 8;

    /// A mesh that reads an OBJ file when it enters a live scene.
    /// @param unitScale  model units per unit of the file, above 0 and finite
    /// @throws std::invalid_argument  for another unit scale
    static std::shared_ptr<MeshRenderable> create(
        const std::filesystem::path& path, double unitScale, const std::string& name
    );

    /// A mesh of any loader.
    /// @throws std::invalid_argument  also for no loader
    static std::shared_ptr<MeshRenderable> create(
        std::shared_ptr<MeshLoader> loader, double unitScale, const std::string& name
    );

    /// For create().
    MeshRenderable(Private, std::shared_ptr<MeshLoader> loader, double unitScale, const std::string& name);
    /// For create().
    MeshRenderable(Private, const std::filesystem::path& path, double unitScale, const std::string& name);
    MeshRenderable(const MeshRenderable&) = delete;
    MeshRenderable& operator=(const MeshRenderable&) = delete;
    ~MeshRenderable() override;

    /// Loads the mesh, on this thread. A mesh that enters a scene again is loaded again.
    /// @throws ComException           when a shader or buffer cannot be created
    /// @throws std::invalid_argument  for a part with more vertices than a buffer holds
    /// @throws std::runtime_error     when the loader fails
    ///
    /// After each the mesh is as before init() and has no parts; init() can be tried again.
    void init(
        unsigned long long rendererId,
        std::shared_ptr<Camera> camera,
        CComPtr<ID3D11Device> device,
        CComPtr<ID3D11DeviceContext> deviceContext
    ) override;

    /// Gives shaders and buffers back. The box and the number of triangles stay until the next init().
    void deinit() override;

    void onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera) override;
    void onUpdateViewMatrix(const std::shared_ptr<Camera>& camera) override;

    /// Follows as well: near and far fitted to the scene reach it by this call alone, and its depth must stay
    /// comparable with that of other objects.
    void onUpdateZRange(const std::shared_ptr<Camera>& camera) override;

    void invalidateWorldMatrix() override;
    void render() override;

    /// The box of all vertices in model units, empty before init().
    Math::NBoundingBox<float, 3> boundingBox() override;

    /// Draws only what lies inside the volume, its borders included.
    /// @param volume  world coordinates; none for no clipping
    /// @throws std::runtime_error  "Error: volume contains too many clipping planes, plane count = " and the
    ///                             count, for more than eight; the old planes stay
    void setClippingVolume(const Math::ConvexPolytope<float, 3>& volume);

    /// 0 before init().
    std::uint64_t numTriangles() const noexcept { return mTriangleCount; }

    /// Scene units per unit of the mesh.
    double unitScale() const noexcept { return mUnitScale; }

private:
    struct Drawing;

    void addMeshPart(std::span<const VertexPosNormalTexCoordColor> vertices);
    void forgetMesh() noexcept;

    std::shared_ptr<MeshLoader> mLoader;
    double mUnitScale;
    Math::NBoundingBox<float, 3> mFileBox;  // in units of the file
    std::uint64_t mTriangleCount = 0;
    std::vector<Math::HalfSpace<float, 3>> mClippingPlanes;  // world coordinates
    const std::unique_ptr<Drawing> mDrawing;                 // what it is drawn with
};
}  // namespace Render
