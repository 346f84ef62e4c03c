#pragma once

#include "render/Render.h"

#include <string>
#include <vector>

namespace Render
{
/// The images that the passes of a frame have drawn so far. Of several with the same name the last one
/// counts.
///
/// Threads  rendering thread only.
class PassImages
{
public:
    /// The name under which the depth buffer goes.
    static constexpr const char* kDepth = "depth";

    /// @param pass  outlives this object
    void add(RenderPass& pass) { mPasses.push_back(&pass); }

    /// Lets shaders read an image.
    /// @returns the pass to which it belongs
    /// @throws std::out_of_range  when no pass has drawn one of this name
    RenderPass& bind(ID3D11DeviceContext* context, const std::string& name, unsigned int slot) const;

    /// @param pass  what bind has returned
    static void unbind(ID3D11DeviceContext* context, const std::string& name, RenderPass& pass);

private:
    std::vector<RenderPass*> mPasses;
};
}  // namespace Render
