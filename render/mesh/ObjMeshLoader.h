#pragma once

#include "render/Export.h"
#include "render/mesh/MeshLoader.h"

#include <filesystem>

namespace Render
{
/// Reads the triangles of a Wavefront OBJ file; every shape is one mesh part.
///
/// Faces of more than three corners are cut into triangles. A face that lacks a normal at any corner gets the
/// one of its plane, so it is shaded flat; corners without texture coordinates have (0, 0), and vertices
/// without a colour of their own are white. Materials and textures have no effect.
///
/// Memory   what the OBJ library keeps, and the corners of one part.
/// Threads  one at a time.
class RENDER_API ObjMeshLoader : public MeshLoader
{
public:
    /// The file is opened by load().
    explicit ObjMeshLoader(std::filesystem::path path);

    /// What the file is doubtful in goes to the standard output, as "TinyObjReader: " and the warnings.
    /// @throws std::runtime_error  "TinyObjReader: " and the reason when the file cannot be opened or parsed;
    ///                             naming path and shape for a corner whose vertex, normal or texture
    ///                             coordinate does not exist, or is not finite
    void load(const MeshPartReceiver& receivePart) const override;

    /// As given.
    const std::filesystem::path& path() const noexcept { return mPath; }

private:
    std::filesystem::path mPath;
};
}  // namespace Render
