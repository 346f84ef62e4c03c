#pragma once

#include "render/Export.h"
#include "render/gpu/ShaderConfiguration.h"

namespace Render
{
/// Where an object is bound: shader stages and slot, and the rule that begin and end come in pairs.
///
/// Only the stages decide: a begin with no stage leaves the binding unbound.
/// Threads  a plain value.
class RENDER_API StageBinding
{
public:
    /// @throws std::logic_error  "Error: end call is missing" when bound already; nothing changes then
    void begin(ShaderConfiguration configuration, unsigned int slot);

    /// Becomes unbound, with slot 0.
    /// @returns the binding as it was
    /// @throws std::logic_error  "Error: begin call is missing" when not bound
    StageBinding end();

    /// The stages that it is bound to; none when it is not bound.
    ShaderConfiguration configuration() const noexcept { return mConfiguration; }

    /// The slot in these stages.
    unsigned int slot() const noexcept { return mSlot; }

private:
    ShaderConfiguration mConfiguration{};
    unsigned int mSlot = 0;
};
}  // namespace Render
