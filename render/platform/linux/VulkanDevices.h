#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Render
{
/// One graphics driver's device, as Vulkan, on which Direct3D stands here, knows it.
struct VulkanDevice
{
    std::string name;
    std::string driver;  ///< name and version
    std::uint32_t vendorId = 0;
    std::uint32_t deviceId = 0;
    std::uint32_t majorVersion = 0;  ///< of Vulkan
    std::uint32_t minorVersion = 0;
    bool isSoftware = false;
};

/// What Vulkan offers on this machine.
struct VulkanDevices
{
    bool isLoaderThere = false;  ///< whether libvulkan.so.1 can be loaded
    std::string failure;         ///< what the loader says when it has no instance, such as a result's name
    std::vector<VulkanDevice> devices;     ///< in the drivers' order
    std::vector<std::string> closedNodes;  ///< device nodes of graphics cards that this user may not open
};

/// Asks loader and drivers; takes some milliseconds.
///
/// Threads  any.
VulkanDevices askVulkan();

/// Why Direct3D finds no device: one line that names what is missing and what to install.
std::string missingDeviceText(const VulkanDevices& vulkan);

/// Which devices and nodes Direct3D cannot use and why, a line each.
std::vector<std::string> unusableDeviceTexts(const VulkanDevices& vulkan);
}  // namespace Render
