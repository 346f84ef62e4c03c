#pragma once

#include "render/Export.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Render
{
/// What can draw: a graphics card with its driver, or a driver that draws in software.
struct Adapter
{
    std::string name;            ///< as its driver calls it, UTF-8
    std::string driver;          ///< name and version of the driver; empty when that cannot be told
    std::uint32_t vendorId = 0;  ///< of the PCI bus, as is deviceId
    std::uint32_t deviceId = 0;  ///< of the PCI bus
    bool isSoftware = false;     ///< whether it draws on the processor
};

/// All adapters, the one that is used by default first.
///
/// Threads  any. Loads Direct3D and asks every driver, which takes some milliseconds.
/// @throws std::runtime_error  when there is no Direct3D 11 or no driver, with what is missing
/// @throws ComException        when asking fails
RENDER_API std::vector<Adapter> adapters();

/// Chooses what renderers made from now on draw with: a number of `adapters`, counted from 0, or a part of a
/// name, in any case of letters. Empty goes back to the default, which is what the environment variable
/// TARNEL_ADAPTER says in the same way, else the first adapter.
///
/// Threads  any.
RENDER_API void setAdapter(std::string choice);

/// What renderers made from now on ask for: the last setAdapter, else TARNEL_ADAPTER, else nothing.
///
/// Threads  any.
RENDER_API std::string adapterChoice();

/// What keeps graphics cards of this machine from being among the adapters, a line each.
///
/// Threads  any.
RENDER_API std::vector<std::string> adapterTroubles();

/// Which of the adapters a choice means, the first one of several; none when it fits no adapter.
RENDER_API std::optional<std::size_t> findAdapter(std::span<const Adapter> adapters, std::string_view choice);
}  // namespace Render
