#include "render/platform/linux/VulkanDevices.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#define VK_NO_PROTOTYPES
#include <vulkan/vulkan.h>
//
#include <dlfcn.h>
#include <unistd.h>

namespace Render
{
namespace
{
/// What Direct3D 11 on Vulkan needs.
constexpr std::uint32_t kNeededMajor = 1;
constexpr std::uint32_t kNeededMinor = 3;

struct LibraryCloser
{
    void operator()(void* library) const noexcept { dlclose(library); }
};

using Library = std::unique_ptr<void, LibraryCloser>;

template <class Function>
Function globalFunction(PFN_vkGetInstanceProcAddr get, VkInstance instance, const char* name)
{
    return reinterpret_cast<Function>(get(instance, name));
}

std::vector<std::string> closedNodes()
{
    std::vector<std::string> result;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", error))
    {
        const std::string path = entry.path().string();
        if (entry.path().filename().string().starts_with("renderD") && access(path.c_str(), R_OK | W_OK) != 0)
        {
            result.push_back(path);
        }
    }
    std::ranges::sort(result);
    return result;
}

VulkanDevice describe(VkPhysicalDevice device, PFN_vkGetPhysicalDeviceProperties2 getProperties)
{
    VkPhysicalDeviceDriverProperties driver{};
    driver.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DRIVER_PROPERTIES;
    VkPhysicalDeviceProperties2 properties{};
    properties.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2;
    properties.pNext = &driver;
    getProperties(device, &properties);

    VulkanDevice result;
    result.name = properties.properties.deviceName;
    result.driver = driver.driverName;
    if (driver.driverInfo[0] != '\0')
    {
        result.driver += std::string(result.driver.empty() ? "" : ", ") + driver.driverInfo;
    }
    result.vendorId = properties.properties.vendorID;
    result.deviceId = properties.properties.deviceID;
    result.majorVersion = VK_API_VERSION_MAJOR(properties.properties.apiVersion);
    result.minorVersion = VK_API_VERSION_MINOR(properties.properties.apiVersion);
    result.isSoftware = properties.properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU;
    return result;
}

void askInstance(VulkanDevices& vulkan, PFN_vkGetInstanceProcAddr get)
{
    VkApplicationInfo application{};
    application.sType = VK_STRUCTURE_TYPE_APPLICATION_INFO;
    application.apiVersion = VK_API_VERSION_1_1;
    VkInstanceCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO;
    info.pApplicationInfo = &application;

    VkInstance instance = nullptr;
    const auto create = globalFunction<PFN_vkCreateInstance>(get, nullptr, "vkCreateInstance");
    const VkResult created = create(&info, nullptr, &instance);
    if (created != VK_SUCCESS)
    {
        vulkan.failure = created == VK_ERROR_INCOMPATIBLE_DRIVER ? "it finds no driver"
                                                                 : "error " + std::to_string(created);
        return;
    }
    const auto enumerate =
        globalFunction<PFN_vkEnumeratePhysicalDevices>(get, instance, "vkEnumeratePhysicalDevices");
    const auto getProperties =
        globalFunction<PFN_vkGetPhysicalDeviceProperties2>(get, instance, "vkGetPhysicalDeviceProperties2");
    std::uint32_t count = 0;
    std::vector<VkPhysicalDevice> devices;
    if (enumerate(instance, &count, nullptr) == VK_SUCCESS)
    {
        devices.resize(count);
        if (enumerate(instance, &count, devices.data()) != VK_SUCCESS)
        {
            count = 0;
        }
        devices.resize(count);
    }
    for (VkPhysicalDevice device : devices)
    {
        vulkan.devices.push_back(describe(device, getProperties));
    }
    globalFunction<PFN_vkDestroyInstance>(get, instance, "vkDestroyInstance")(instance, nullptr);
}

bool isNewEnough(const VulkanDevice& device)
{
    return device.majorVersion > kNeededMajor ||
           (device.majorVersion == kNeededMajor && device.minorVersion >= kNeededMinor);
}

std::string oldDriverText(const VulkanDevice& device)
{
    return "the driver of " + device.name + " offers Vulkan " + std::to_string(device.majorVersion) + '.' +
           std::to_string(device.minorVersion) + " but 1.3 is needed; install a newer driver";
}

std::string closedNodeText(const std::string& node)
{
    return node + " may not be opened by this user (join the group render)";
}
}  // namespace

VulkanDevices askVulkan()
{
    VulkanDevices vulkan;
    vulkan.closedNodes = closedNodes();
    const Library library(dlopen("libvulkan.so.1", RTLD_NOW | RTLD_LOCAL));
    if (library == nullptr)
    {
        return vulkan;
    }
    vulkan.isLoaderThere = true;
    const auto get =
        reinterpret_cast<PFN_vkGetInstanceProcAddr>(dlsym(library.get(), "vkGetInstanceProcAddr"));
    if (get == nullptr)
    {
        vulkan.failure = "it has no vkGetInstanceProcAddr";
        return vulkan;
    }
    askInstance(vulkan, get);
    return vulkan;
}

std::string missingDeviceText(const VulkanDevices& vulkan)
{
    const std::string closed =
        vulkan.closedNodes.empty() ? std::string{} : "; " + closedNodeText(vulkan.closedNodes.front());
    if (!vulkan.isLoaderThere)
    {
        return "libvulkan.so.1 cannot be loaded; install the package libvulkan1";
    }
    if (vulkan.devices.empty())
    {
        const std::string failure = vulkan.failure.empty() ? "it finds no device" : vulkan.failure;
        return "Vulkan has no driver to offer (" + failure + "); install the package mesa-vulkan-drivers" +
               closed;
    }
    if (std::ranges::none_of(vulkan.devices, isNewEnough))
    {
        const VulkanDevice& first = vulkan.devices.front();
        return oldDriverText(first) + ", or mesa-vulkan-drivers to draw in software" + closed;
    }
    const VulkanDevice& usable = *std::ranges::find_if(vulkan.devices, isNewEnough);
    return "the driver of " + usable.name + " (" + usable.driver +
           ") lacks a feature that is needed; DXVK_LOG_LEVEL=info tells which" + closed;
}

std::vector<std::string> unusableDeviceTexts(const VulkanDevices& vulkan)
{
    std::vector<std::string> texts;
    for (const VulkanDevice& device : vulkan.devices)
    {
        if (!isNewEnough(device))
        {
            texts.push_back(oldDriverText(device));
        }
    }
    for (const std::string& node : vulkan.closedNodes)
    {
        texts.push_back(closedNodeText(node));
    }
    return texts;
}
}  // namespace Render
