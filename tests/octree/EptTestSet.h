#pragma once

#include "octree/Location.h"
#include "octree/entwine/EntwineTree.h"
#include "tests/support/TemporaryFolder.h"

#include <nlohmann/json.hpp>
#include <zstd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

/// A dimension of a schema.
inline nlohmann::json dimensionEntry(const std::string& name, const std::string& type, unsigned size)
{
    return {{"name", name}, {"type", type}, {"size", size}};
}

/// The description of a cube of edge 16 at (100, 200, 300) with one unit per stored integer, counted from
/// its minimum, and positions only.
inline nlohmann::json smallEpt(const std::string& dataType)
{
    nlohmann::json schema = nlohmann::json::array();
    for (int axis = 0; axis < 3; ++axis)
    {
        nlohmann::json dimension = dimensionEntry(std::string(1, static_cast<char>('X' + axis)), "signed", 4);
        dimension["scale"] = 1;
        dimension["offset"] = 100.0 * (axis + 1);
        schema.push_back(dimension);
    }
    return {
        {"bounds", {100, 200, 300, 116, 216, 316}},
        {"boundsConforming", {101, 201, 301, 115, 215, 315}},
        {"dataType", dataType},
        {"hierarchyType", "json"},
        {"points", 1},
        {"schema", schema},
        {"span", 128},
        {"srs", nlohmann::json::object()},
        {"version", "1.0.0"},
    };
}

/// One Zstandard frame, with or without its unpacked size in the header.
inline std::string zstdEncoded(std::string_view bytes, bool hasContentSize = false)
{
    ZSTD_CCtx* const encoder = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(encoder, ZSTD_c_contentSizeFlag, hasContentSize ? 1 : 0);
    std::string out(ZSTD_compressBound(bytes.size()), '\0');
    const std::size_t size = ZSTD_compress2(encoder, out.data(), out.size(), bytes.data(), bytes.size());
    ZSTD_freeCCtx(encoder);
    if (ZSTD_isError(size) != 0)
    {
        throw std::runtime_error("cannot compress the test's bytes");
    }
    out.resize(size);
    return out;
}

/// Entwine Point Tiles written byte by byte into a folder that goes away with the object. At first the
/// hierarchy lists the root with one point, and there is no tile.
class EptTestSet
{
public:
    explicit EptTestSet(const std::string& dataType = "binary") : ept(smallEpt(dataType))
    {
        std::filesystem::create_directory(mFolder.path() / "ept-hierarchy");
        std::filesystem::create_directory(mFolder.path() / "ept-data");
        setHierarchy("0-0-0-0", R"({"0-0-0-0": 1})");
    }

    nlohmann::json ept;

    /// The text of a hierarchy file.
    void setHierarchy(const std::string& key, std::string_view text) const
    {
        mFolder.write("ept-hierarchy/" + key + ".json", text);
    }

    /// @param name  with its extension
    void setTile(const std::string& name, std::string_view bytes) const
    {
        mFolder.write("ept-data/" + name, bytes);
    }

    /// Writes ept.json.
    Entwine::FileSystemLocation write() const
    {
        mFolder.write("ept.json", ept.dump());
        return Entwine::FileSystemLocation(mFolder.path());
    }

private:
    TemporaryFolder mFolder;
};
