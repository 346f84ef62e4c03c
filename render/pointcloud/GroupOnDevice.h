#pragma once

#include "core/fnv1a.h"
#include "render/platform/Direct3D.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Render
{
/// Names what the clouds of a group share on one device.
struct GroupOnDevice
{
    std::uint64_t group = 0;
    ID3D11Device* device = nullptr;

    friend bool operator==(const GroupOnDevice&, const GroupOnDevice&) = default;
};
}  // namespace Render

template <>
struct std::hash<Render::GroupOnDevice>
{
    std::size_t operator()(const Render::GroupOnDevice& key) const noexcept
    {
        return static_cast<std::size_t>(
            Core::fnv1a(key.group) ^ static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key.device))
        );
    }
};
