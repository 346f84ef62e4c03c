#pragma once

#include "octree/Location.h"
#include "octree/Octree.h"
#include "tests/support/TemporaryFolder.h"

#include <brotli/encode.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

/// Appends a number's bytes as they lie in memory, which is how the files have them.
template <class T>
void appendNumber(std::string& bytes, T value)
{
    static_assert(std::is_arithmetic_v<T>);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// The 22 bytes of a hierarchy record.
inline std::string hierarchyRecord(
    unsigned typeAndFlags, unsigned childMask, std::uint32_t points, std::uint64_t offset, std::uint64_t size
)
{
    std::string record;
    appendNumber(record, static_cast<std::uint8_t>(typeAndFlags));
    appendNumber(record, static_cast<std::uint8_t>(childMask));
    appendNumber(record, points);
    appendNumber(record, offset);
    appendNumber(record, size);
    return record;
}

inline std::string brotliEncoded(std::string_view bytes)
{
    std::size_t size = BrotliEncoderMaxCompressedSize(bytes.size()) + 64;
    std::string out(size, '\0');
    if (BrotliEncoderCompress(
            5,
            BROTLI_DEFAULT_WINDOW,
            BROTLI_DEFAULT_MODE,
            bytes.size(),
            reinterpret_cast<const std::uint8_t*>(bytes.data()),
            &size,
            reinterpret_cast<std::uint8_t*>(out.data())
        ) != BROTLI_TRUE)
    {
        throw std::runtime_error("cannot compress the test's bytes");
    }
    out.resize(size);
    return out;
}

/// An entry of the attribute list.
inline nlohmann::json attributeEntry(const std::string& name, const std::string& type, std::uint64_t size)
{
    return {{"name", name}, {"type", type}, {"size", size}};
}

/// The metadata of a cube of edge 16 at (100, 200, 300) with one unit per stored integer and positions
/// only.
inline nlohmann::json smallMetadata(const std::string& encoding)
{
    return {
        {"version", "2.0"},
        {"name", "small"},
        {"points", 1},
        {"hierarchy", {{"firstChunkSize", 22}, {"stepSize", 4}, {"depth", 0}}},
        {"offset", {100.0, 200.0, 300.0}},
        {"scale", {1.0, 1.0, 1.0}},
        {"spacing", 0.125},
        {"boundingBox", {{"min", {100.0, 200.0, 300.0}}, {"max", {116.0, 216.0, 316.0}}}},
        {"encoding", encoding},
        {"attributes", {attributeEntry("position", "int32", 12)}},
    };
}

/// Three files written byte by byte into a folder that goes away with the object.
class TestDataSet
{
public:
    explicit TestDataSet(const std::string& encoding = "DEFAULT") : metadata(smallMetadata(encoding)) {}

    nlohmann::json metadata;
    std::string hierarchy;
    std::string points;  ///< what goes into octree.bin

    /// Adds bytes to octree.bin.
    /// @return their offset
    std::uint64_t addPoints(std::string_view bytes)
    {
        const std::uint64_t offset = points.size();
        points += bytes;
        return offset;
    }

    /// Makes the root the only node, with these bytes as its points.
    void setRoot(std::uint32_t pointCount, std::string_view bytes, unsigned flags = 0)
    {
        const std::uint64_t offset = addPoints(bytes);
        hierarchy = hierarchyRecord(1U | flags << 4U, 0, pointCount, offset, bytes.size());
    }

    /// Writes the files; the first hierarchy chunk is all of the hierarchy unless told otherwise.
    Octree::Location write() { return write(hierarchy.size()); }

    Octree::Location write(std::uint64_t firstChunkSize)
    {
        metadata["hierarchy"]["firstChunkSize"] = firstChunkSize;
        mFolder.write("metadata.json", metadata.dump());
        mFolder.write("hierarchy.bin", hierarchy);
        mFolder.write("octree.bin", points);
        return location();
    }

    Octree::Location location() const { return PoTree::FileSystemLocation(mFolder.path()); }

    std::filesystem::path file(const char* name) const { return mFolder.path() / name; }

private:
    TemporaryFolder mFolder;
};

/// One row of the position attribute in the plain encoding.
inline std::string plainPosition(std::int32_t x, std::int32_t y, std::int32_t z)
{
    std::string row;
    appendNumber(row, x);
    appendNumber(row, y);
    appendNumber(row, z);
    return row;
}

inline Octree::OctreeNodeId nodeNamed(std::string_view name)
{
    return Octree::OctreeNodeId::fromName(name);
}
