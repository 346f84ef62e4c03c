#pragma once

#include "render/Export.h"
#include "render/gpu/VertexFormats.h"

#include <functional>
#include <span>

namespace Render
{
/// Where the triangles of a mesh come from.
///
/// Threads  one at a time.
class RENDER_API MeshLoader
{
public:
    /// The corners of one mesh part, three for each triangle, valid during the call only.
    using MeshPartReceiver = std::function<void(std::span<const VertexPosNormalTexCoordColor>)>;

    MeshLoader() = default;
    MeshLoader(const MeshLoader&) = default;
    MeshLoader& operator=(const MeshLoader&) = default;
    virtual ~MeshLoader();

    /// Reads the mesh and hands over its parts, one after the other, before it returns.
    /// @throws std::runtime_error  saying what is wrong with the source
    virtual void load(const MeshPartReceiver& receivePart) const = 0;
};
}  // namespace Render
