#pragma once

#include <array>
#include <cstddef>

namespace Render
{
/// The constant block of shaders/postprocessing.hlsl as the CPU writes it.
///
/// The shader's packing puts its bg_color at byte 32, twelve bytes behind the one here; on purpose so, since
/// the shader never reads it and the bytes written here are what counts.
struct PostProcessConstants
{
    float width = 640.0F;                                   ///< pixels
    float height = 480.0F;                                  ///< pixels
    float brightness = 0.0F;                                ///< added to each channel
    float contrast = 1.0F;                                  ///< stretches each channel about its middle
    float opacity = 1.0F;                                   ///< factor of alpha
    std::array<float, 4> bg_color{1.0F, 1.0F, 1.0F, 1.0F};  ///< red, green, blue, alpha
    std::array<std::byte, 12> unusedBeforeRange{};          ///< not read
    std::array<float, 4> colorization_start{};  ///< where the colour map begins, world coordinates
    std::array<float, 4> colorization_end{};    ///< where it ends
    int point_render_mode = 0;                  ///< number of a RenderMode
    int color_map = 0;                          ///< number of a ColorMap
    std::array<std::byte, 8> unusedAtEnd{};     ///< not read
};

static_assert(sizeof(PostProcessConstants) == 96);
static_assert(offsetof(PostProcessConstants, width) == 0);
static_assert(offsetof(PostProcessConstants, height) == 4);
static_assert(offsetof(PostProcessConstants, brightness) == 8);
static_assert(offsetof(PostProcessConstants, contrast) == 12);
static_assert(offsetof(PostProcessConstants, opacity) == 16);
static_assert(offsetof(PostProcessConstants, bg_color) == 20);
static_assert(offsetof(PostProcessConstants, colorization_start) == 48);
static_assert(offsetof(PostProcessConstants, colorization_end) == 64);
static_assert(offsetof(PostProcessConstants, point_render_mode) == 80);
static_assert(offsetof(PostProcessConstants, color_map) == 84);
}  // namespace Render
