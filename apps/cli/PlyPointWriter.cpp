#include "apps/cli/OutputFile.h"
#include "apps/cli/PointWriter.h"
#include "apps/cli/pointColumns.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Cli
{
namespace
{
constexpr std::size_t kCountDigits = 20;  // of the largest 64-bit number

template <class T>
void appendBytes(std::string& out, T value)
{
    static_assert(std::endian::native == std::endian::little);
    std::array<char, sizeof value> bytes;
    std::memcpy(bytes.data(), &value, sizeof value);
    out.append(bytes.data(), bytes.size());
}

// What PLY calls a type.
const char* typeName(std::uint8_t)
{
    return "uchar";
}

const char* typeName(std::uint16_t)
{
    return "ushort";
}

const char* typeName(std::uint32_t)
{
    return "uint";
}

const char* typeName(float)
{
    return "float";
}

const char* typeName(double)
{
    return "double";
}

class PlyPointWriter final : public PointWriter
{
public:
    PlyPointWriter(OutputFile& file, const PointFacts& facts)
        : mFile(file), mAttributes(facts.attributes), mIsSinglePrecision(facts.isSinglePrecision)
    {
        mFile.write(header());
    }

    void write(const Octree::NodePointColumns& points, const Math::Point<double, 3>& origin) override
    {
        mBytes.clear();
        for (std::size_t i = 0; i < points.pointCount; ++i)
        {
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                const double value = points.positions[i][axis] + origin[axis];
                if (mIsSinglePrecision)
                {
                    appendBytes(mBytes, static_cast<float>(value));
                }
                else
                {
                    appendBytes(mBytes, value);
                }
            }
            const Math::Color color = points.colors[i];
            for (const unsigned char channel : {color.r(), color.g(), color.b(), color.a()})
            {
                appendBytes(mBytes, channel);
            }
            const auto addValue = [&](unsigned bit, const ColumnNames&, const auto& valueOf)
            {
                if ((mAttributes & bit) != 0)
                {
                    appendBytes(mBytes, valueOf(i));
                }
            };
            visitColumns(points, addValue);
        }
        mFile.write(mBytes);
        mCount += points.pointCount;
    }

    /// Puts the number of points into the header.
    void finish() override { mFile.rewrite(0, header()); }

private:
    std::string header() const
    {
        // The comment fills up what the number leaves free, so that the header has the same length for all.
        const std::string count = std::to_string(mCount);
        const std::string type = mIsSinglePrecision ? "float" : "double";
        std::string text = "ply\nformat binary_little_endian 1.0\ncomment tarnel";
        text.append(kCountDigits - count.size(), ' ');
        text += "\nelement vertex " + count + "\n";
        for (const char* const axis : {"x", "y", "z"})
        {
            text += "property " + type + " " + axis + "\n";
        }
        for (const char* const channel : {"red", "green", "blue", "alpha"})
        {
            text += std::string("property uchar ") + channel + "\n";
        }
        const auto addProperty = [&](unsigned bit, const ColumnNames& names, const auto& valueOf)
        {
            if ((mAttributes & bit) != 0)
            {
                text += std::string("property ") + typeName(decltype(valueOf(0)){}) + " " + names.ply + "\n";
            }
        };
        visitColumns({}, addProperty);
        return text + "end_header\n";
    }

    OutputFile& mFile;
    unsigned mAttributes;
    bool mIsSinglePrecision;
    std::uint64_t mCount = 0;
    std::string mBytes;  // kept for its memory
};
}  // namespace

std::unique_ptr<PointWriter> makePlyWriter(OutputFile& file, const PointFacts& facts)
{
    return std::make_unique<PlyPointWriter>(file, facts);
}
}  // namespace Cli
