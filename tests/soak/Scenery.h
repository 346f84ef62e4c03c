#pragma once

#include <filesystem>

/// Files for a scene: two clouds of some ten thousand points (one a three-file octree, one Entwine Point
/// Tiles), a panorama and a mesh.
struct Scenery
{
    std::filesystem::path octree;
    std::filesystem::path tiles;
    std::filesystem::path panorama;
    std::filesystem::path mesh;
};

/// Writes them into a folder.
Scenery writeScenery(const std::filesystem::path& folder);
