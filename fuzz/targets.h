#pragma once

#include <string_view>

/// What is fuzzed. Each takes any bytes, and throws Fuzz::BrokenPromise or crashes when the library does not
/// keep what it promises for bad files.
namespace Fuzz
{
/// A three-file octree in files 0 to 2: metadata.json, hierarchy.bin, octree.bin.
void octree(std::string_view input);

/// Entwine Point Tiles in files 0 to 4: ept.json, the hierarchies 0-0-0-0 and 1-0-0-0, the tiles of these
/// nodes.
void ept(std::string_view input);

/// A Cloud Optimized Point Cloud: the whole file.
void copc(std::string_view input);

/// A panorama in files 0 to 4: panorama.json, color.dzi, depth.dzi, all tiles of colour, all of depth.
void panorama(std::string_view input);

/// A Wavefront OBJ file.
void mesh(std::string_view input);

/// Texts that describe regions, in files 0 and 1: of a polygon, of planes.
void region(std::string_view input);
}  // namespace Fuzz
