#include "render/platform/linux/VulkanDevices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Render::missingDeviceText;
using Render::VulkanDevice;
using Render::VulkanDevices;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{
VulkanDevice device(std::uint32_t major, std::uint32_t minor)
{
    return {.name = "Old Card", .driver = "olddriver, 1.0", .majorVersion = major, .minorVersion = minor};
}

VulkanDevices loaderWith(std::vector<VulkanDevice> devices)
{
    VulkanDevices vulkan;
    vulkan.isLoaderThere = true;
    vulkan.devices = std::move(devices);
    return vulkan;
}
}  // namespace

TEST(MissingDeviceText, WithoutLoaderNamesItsPackage)
{
    EXPECT_THAT(missingDeviceText({}), AllOf(HasSubstr("libvulkan.so.1"), HasSubstr("libvulkan1")));
}

TEST(MissingDeviceText, WithoutDriverNamesThePackageOfDrivers)
{
    VulkanDevices vulkan = loaderWith({});
    vulkan.failure = "it finds no driver";
    EXPECT_THAT(
        missingDeviceText(vulkan), AllOf(HasSubstr("it finds no driver"), HasSubstr("mesa-vulkan-drivers"))
    );
}

TEST(MissingDeviceText, AnOldDriverIsNamedWithItsVersion)
{
    EXPECT_THAT(
        missingDeviceText(loaderWith({device(1, 2)})),
        AllOf(HasSubstr("Old Card"), HasSubstr("Vulkan 1.2"), HasSubstr("1.3 is needed"))
    );
}

TEST(MissingDeviceText, ANewDriverThatIsRefusedLacksAFeature)
{
    EXPECT_THAT(
        missingDeviceText(loaderWith({device(1, 2), device(1, 3)})),
        AllOf(HasSubstr("olddriver, 1.0"), HasSubstr("DXVK_LOG_LEVEL=info"))
    );
}

TEST(MissingDeviceText, ANodeThatMayNotBeOpenedIsNamed)
{
    VulkanDevices vulkan = loaderWith({});
    vulkan.closedNodes = {"/dev/dri/renderD128"};
    EXPECT_THAT(
        missingDeviceText(vulkan),
        AllOf(HasSubstr("/dev/dri/renderD128"), HasSubstr("group render"), Not(HasSubstr("\n")))
    );
}

TEST(UnusableDeviceTexts, NameOldDriversAndClosedNodes)
{
    VulkanDevices vulkan = loaderWith({device(1, 2), device(1, 3)});
    vulkan.closedNodes = {"/dev/dri/renderD129"};
    EXPECT_THAT(
        Render::unusableDeviceTexts(vulkan),
        testing::ElementsAre(HasSubstr("Vulkan 1.2"), HasSubstr("/dev/dri/renderD129 may not be opened"))
    );
}
