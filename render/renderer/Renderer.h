#pragma once

#include "core/InstanceId.h"
#include "core/NonCopyable.h"
#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "math/Color.h"
#include "math/NBoundingBox.h"
#include "math/NPlane.h"
#include "math/Point.h"
#include "render/Export.h"
#include "render/Render.h"
#include "render/gpu/VertexFormats.h"
#include "render/platform/ComPtr.h"
#include "render/renderer/ColorMap.h"
#include "render/renderer/EyeDomeLighting.h"
#include "render/scene/Camera.h"
#include "render/scene/RenderMode.h"
#include "render/scene/Renderable.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace Render
{
class Frame;
class Picking;
class PictureEffects;
class PointExport;
class ReadBack;
class View;
struct Device;

/// What a renderer is made with.
struct RendererOptions
{
    /// Near is depth 1 and far depth 0, else near 0 and far 1.
    bool reversedZ = true;

    /// What draws, a device of the host that several renderers may share; the renderer holds a reference to
    /// it. Null for a device of the renderer's own.
    ///
    /// It draws by the device's immediate context, on the thread that drives the renderer: whatever else uses
    /// the context must not do so meanwhile. Every operation of the renderer that draws or reads back leaves
    /// the context as ID3D11DeviceContext::ClearState does, so the host binds anew what it needs.
    ID3D11Device* device = nullptr;

    /// Has Direct3D's debug layer watch the calls of a device of the renderer's own; its messages are to be
    /// had by ID3D11InfoQueue, and in a debugger.
    bool debugLayer = false;
};

/// Draws a scene off-screen: holds scene, camera and settings, draws frames, and hands out what they show.
///
/// Setters compare with the current value: an unchanged one costs nothing and asks for no redraw, unless it
/// says otherwise. Several renderers may live in one process; each has a device of its own.
///
/// Frame    world coordinates are right-handed; pixels count from the upper left corner.
/// Threads  one thread, the host's rendering thread. Loaders on other threads reach the renderer only through
///          the camera's redraw flag.
class RENDER_API Renderer : public Core::NonCopyable, public Core::InstanceId<Renderer>
{
public:
    /// A renderer with the reversed depth buffer.
    Renderer();

    /// 640 x 480 pixels, an orthographic volume of 2 x 2 units from depth -1 to 1, white background.
    /// @param reversedZ  near is depth 1 and far depth 0, else near 0 and far 1
    /// @throws ComException        when the device or one of its objects cannot be created
    /// @throws std::runtime_error  "needs at least a DirectX 11.0 graphics card"
    explicit Renderer(bool reversedZ);

    /// The same on a device of the host, or with the debug layer.
    /// @throws std::invalid_argument  for a device that was made for a single thread, or together with the
    ///                                debug layer, which a device has from its creation
    /// @throws std::runtime_error     also when there is no debug layer
    explicit Renderer(const RendererOptions& options);

    /// Deinitialises the scene, which may then enter another renderer.
    virtual ~Renderer();

    /// What everything of this renderer is made on and drawn with.
    const CComPtr<ID3D11Device>& device() const noexcept;
    const CComPtr<ID3D11DeviceContext>& deviceContext() const noexcept;

    // The scene.

    /// Deinitialises the old root, then initialises the new one and tells it the render mode. The new root
    /// keeps its own matrix; near and far are not fitted to it. An empty pointer leaves no scene, as does a
    /// root whose init throws.
    void setScene(std::shared_ptr<Renderable> scene);

    /// The root; empty without a scene. Change it by setScene() only.
    std::shared_ptr<Renderable>& scene() noexcept;
    const std::shared_ptr<Renderable>& scene() const noexcept;

    /// The scene's box in world coordinates; empty without a scene.
    Math::NBoundingBox<float, 3> boundingBox() const;

    /// Becomes the scene root's own matrix when it differs from the last one set here.
    void setModelMatrix(const Eigen::Matrix4f& modelMatrix);

    /// The camera's view-projection matrix times the model matrix.
    Eigen::Matrix4f modelViewProjectionMatrix() const;

    /// Whether the camera or the scene has changed since the last frame.
    bool needsRedraw() const;

    // The camera. Only the renderer writes it. When an operation really changes its matrix, near and far are
    // fitted to the scene (if that is on), the scene is told, and a redraw is due.

    /// The camera; never empty.
    std::shared_ptr<Camera>& camera() noexcept;
    const std::shared_ptr<Camera>& camera() const noexcept;

    /// Sets the matrix from world to camera coordinates.
    void setViewMatrix(const Eigen::Matrix4f& viewMatrix);

    /// Looks along a direction. Whoever gives three numbers in braces says what they are, here Eigen::Vector3f,
    /// below Math::Point<float, 3>: braces alone could be either, and do not compile.
    void setCameraPose(
        const Math::Point<float, 3>& eye, const Eigen::Vector3f& direction, const Eigen::Vector3f& up
    );

    /// Looks at a point.
    void setCameraPose(
        const Math::Point<float, 3>& eye, const Math::Point<float, 3>& target, const Eigen::Vector3f& up
    );

    /// As the functions of Camera.
    void setPerspective(float fovYDeg, float zNear, float zFar, float offCenterX, float offCenterY);
    void setPerspectiveOffCenter(
        float left, float right, float bottom, float top, float zNear, float zFar, bool reversed
    );
    void setOrthographic(float width, float height, float zNear, float zFar);

    /// The same with the width from the viewport's aspect ratio.
    void setOrthographic(float height, float zNear, float zFar);

    /// Takes a projection built elsewhere. The depth test and the clear depth stay those of the renderer's
    /// construction: keep to its depth convention.
    /// @param minDepth, maxDepth  the viewport's depth range, 0 <= minDepth <= maxDepth <= 1
    /// @throws std::invalid_argument  for another depth range; nothing changes then
    void setProjection(const Eigen::Matrix4f& projection, float minDepth, float maxDepth, bool reversed);

    /// Fits near and far to a box in world coordinates.
    void setZNearAndFarViaBoundingBox(const Math::NBoundingBox<float, 3>& box);

    /// Switches on that near and far are fitted to the scene at every change of the camera and in every
    /// frame.
    void setAutoAdjustZRange(bool enabled);
    bool autoAdjustZRangeEnabled() const noexcept;

    /// As the functions of Camera.
    const Eigen::Matrix4f& viewMatrix() const noexcept;
    const Eigen::Matrix4f& projectionMatrix() const noexcept;
    bool isOrthographic() const noexcept;
    bool isPerspective() const noexcept;
    Math::Point<float, 3> eye() const;
    Eigen::Vector3f rightDirection() const;
    Eigen::Vector3f upDirection() const;
    Eigen::Vector3f viewDirection() const;
    Math::Point<float, 3> unProject(std::uint64_t x, std::uint64_t y, float depth) const;
    void getZRange(float& zNear, float& zFar) const noexcept;

    /// Resizes the picture, in pixels. The projection keeps its aspect ratio: set it again afterwards.
    /// @throws ComException  when the device cannot make textures of this size, old and new ones at once; the
    ///                       old size then stays in force
    void setViewport(std::uint64_t width, std::uint64_t height);

    /// The drawing area, which begins at the origin.
    const Viewport& viewport() const noexcept;

    /// Width by height of the picture.
    double aspectRatio() const noexcept;

    // How the picture is coloured.

    /// The colour where nothing is drawn.
    void setBackgroundColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a);
    void setBackgroundColor(const Math::Color& color);
    const Math::Color& backgroundColor() const noexcept;

    /// How points are coloured; the scene is told.
    void setRenderMode(RenderMode renderMode);
    RenderMode renderMode() const noexcept;

    /// The line, in world coordinates, along which RenderMode::ColorizeByPlaneDistance runs through the
    /// colour map. Asks for a redraw every time.
    void setColorizationRange(
        const Math::Point<float, 3>& min, const Math::Point<float, 3>& max, ColorMap colorMap
    );

    /// Added to each channel (0..1); 0 changes nothing.
    void setBrightness(float brightness);
    float brightness() const noexcept;

    /// Stretches each channel about its middle; 1 changes nothing.
    void setContrast(float contrast);
    float contrast() const noexcept;

    /// Factor of the picture's alpha.
    void setOpacity(float opacity);
    float opacity() const noexcept;

    /// Takes brightness and contrast from what the scene finds suitable (Renderable::brightnessAndContrast)
    /// and asks for a redraw every time; does nothing without a scene.
    void autoAdjustBrightnessAndContrast(float quantile, float range);

    /// Lets the alpha of the background colour count in the picture, where a background is opaque at first. A
    /// picture's alpha then tells how much covers each pixel, in the tomographic modes too, and its colours
    /// are not multiplied by it; the opacity is a factor of it.
    void setTransparentBackground(bool enabled);
    bool hasTransparentBackground() const noexcept;

    /// Eye-dome lighting: pixels are darkened before which their neighbours stand, which shows shapes where
    /// colours do not. It comes after the render mode, and takes its depth from all that is drawn. Off at
    /// first, and then it costs nothing. Exported points keep their colours without it.
    /// @throws std::invalid_argument  for numbers that are negative or not finite; nothing changes then
    void setEyeDomeLighting(const EyeDomeLighting& lighting);
    const EyeDomeLighting& eyeDomeLighting() const noexcept;

    // Frames.

    /// Draws one frame, after which no redraw is due, and has the device begin with it. Nothing stays bound
    /// to the context. After an exception a redraw is due, and the next frame tries again.
    /// @throws DeviceLostException  when the device is lost, see there how to go on
    /// @throws ComException         when something cannot be uploaded
    void render();

    /// The picture of the last frame; the image takes its size and the row pitch of the read-back.
    /// @throws ComException        when it cannot be read back
    /// @throws std::runtime_error  "image size does not match"
    void getColorImage(Graphics::ColorImage& image);

    /// The same into memory of the caller, four bytes a pixel: blue, green, red, alpha.
    /// @param data      rows x rowPitch bytes
    /// @param rowPitch  bytes from one row to the next; what does not fit is left out
    /// @param rows      rows beyond the picture's height stay as they are
    void getColorImage(std::span<std::byte> data, std::uint64_t rowPitch, std::uint64_t rows);

    /// The depth buffer of the last frame, as it is: near is 1 when it is reversed.
    /// @throws ComException        when it cannot be read back
    /// @throws std::runtime_error  "image size does not match"
    void getDepthImage(Graphics::DepthImage& image);

    /// The same into memory of the caller, a float a pixel.
    void getDepthImage(std::span<std::byte> data, std::uint64_t rowPitch, std::uint64_t rows);

    /// Draws a frame and writes its picture.
    /// @throws std::runtime_error  naming the path when it cannot be written
    void writePngImage(const std::filesystem::path& path);

    // The picture on the device, for a host that shows it itself or goes on drawing with it.

    /// The picture of the last frame: one mip level of DXGI_FORMAT_B8G8R8A8_UNORM in the size of the viewport,
    /// to be read by shaders and copied from. Not to be written to. It and its view belong to the renderer and
    /// are others after the viewport's size has changed, and after the first frame with or without eye-dome
    /// lighting or a transparent background.
    ID3D11Texture2D* outputTexture() const noexcept;

    /// To read the picture in shaders.
    ID3D11ShaderResourceView* outputView() const noexcept;

    /// Copies the picture of the last frame into mip level 0 of a texture of the host, such as the back buffer
    /// of a swap chain.
    /// @param target  of the renderer's device, the picture's size, one sample and a format of the family
    ///                DXGI_FORMAT_B8G8R8A8
    /// @throws std::invalid_argument  for a texture of another kind
    void copyOutputTo(ID3D11Texture2D* target);

    /// Has the device begin with what it was given, without waiting for it. render() does so itself.
    void flush();

    // Picking: what the last frame shows at a pixel. All but pickRenderable draw nothing. Pixels may lie
    // outside the picture.

    /// The point under a pixel.
    /// @param point  gets the position that the pixel holds, also when it shows no point
    /// @returns whether the pixel shows a point
    /// @throws ComException  when the positions cannot be read back
    bool pickPoint(std::uint64_t x, std::uint64_t y, Math::Point<float, 3>& point);

    /// The point nearest to the camera among those of the columns [x - tolerance, x + tolerance) and the rows
    /// [y - tolerance, y + tolerance); the picture's last column and row are never searched.
    /// @param point  gets the point, if there is one
    /// @returns whether there is one; never with a tolerance of 0
    /// @throws ComException  when the positions cannot be read back
    bool pickClosestPointWithTolerance(
        std::uint64_t x, std::uint64_t y, std::uint64_t tolerance, Math::Point<float, 3>& point
    );

    /// A plane through most of the points around a pixel, searched as above, fitted robustly; the same frame
    /// always gives the same plane.
    /// @param plane      gets the plane, with a normal of unit length that points to the camera's side
    /// @param point      gets where the ray through the pixel meets the plane
    /// @param threshold  points farther from the plane than this do not count, in world units
    /// @returns whether there are a plane and a point; the plane alone may have been found otherwise
    /// @throws ComException  when the positions cannot be read back
    bool pickPlane(
        std::uint64_t x,
        std::uint64_t y,
        std::uint64_t tolerance,
        Math::NPlane<float, 3>& plane,
        Math::Point<float, 3>& point,
        double threshold
    );

    /// Which renderable a pixel shows: the last one, in the order of drawing, that a draw of the scene has left
    /// something of there. Of groups it is the member; a class of the host that draws children itself, in
    /// another way than a group does, is named for them.
    ///
    /// Draws the scene once more, aside from the picture and from what the functions above read, and waits for
    /// the device after each renderable: it takes somewhat longer than a frame, and memory for its images.
    /// The scene is drawn as it is now: where something has changed or been loaded since the last frame, the
    /// answer may be ahead of the picture. A redraw is due afterwards.
    /// @returns null where nothing is drawn, outside the picture, and without a scene
    /// @throws DeviceLostException  when the device is lost
    /// @throws ComException         when something cannot be made, uploaded or read back
    std::shared_ptr<Renderable> pickRenderable(std::uint64_t x, std::uint64_t y);

    // Export of the points that the last frame shows, one per pixel, row by row from the top, with their
    // final colours. Draw once, then take all chunks.

    /// Lets the next chunk begin at the first pixel, as every frame does.
    void resetPointChunkPosition() noexcept;

    /// The next points of the frame.
    /// @param points  room for maxCount points
    /// @returns how many there were: fewer than maxCount only at the end of the frame, 0 behind it
    /// @throws ComException  when the picture cannot be read back
    std::size_t getNextPointChunk(VertexPosColor* points, std::size_t maxCount);

    /// The same into separate lists.
    /// @param positions  room for maxCount times x, y, z
    /// @param colors     room for maxCount numbers 0x00BBGGRR
    std::size_t getNextPointChunk(double* positions, int* colors, std::size_t maxCount);

    /// Replaces the contents of the list by all points of the frame. No chunk is left after that.
    /// @throws ComException  when the picture cannot be read back
    void getPoints(std::vector<VertexPosColor>& points);

    /// Draws a frame and writes its points as a text file: the line "X Y Z Red Green Blue Alpha", then one
    /// per point with seven significant digits. On purpose a file that cannot be opened is not reported;
    /// writePointText does report it.
    /// @throws std::runtime_error  naming the path when writing fails later on, such as on a full disk
    void writePoints(const std::filesystem::path& file);

private:
    Renderer(bool reversedZ, Device device);

    void raiseRedraw();
    Picking picking();

    CComPtr<ID3D11Device> mDevice;
    CComPtr<ID3D11DeviceContext> mDeviceContext;
    bool mIsDeviceShared = false;
    Math::Color mBackgroundColor;
    std::unique_ptr<View> mView;
    std::unique_ptr<Frame> mFrame;
    std::unique_ptr<ReadBack> mReadBack;
    std::unique_ptr<PostProcess> mPostProcess;
    std::unique_ptr<PointExport> mPointExport;
    std::unique_ptr<PictureEffects> mEffects;
};
}  // namespace Render
