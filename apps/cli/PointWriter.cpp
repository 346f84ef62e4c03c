#include "apps/cli/PointWriter.h"

#include "apps/cli/formatNumber.h"
#include <render/renderer/pointText.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

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

void appendChannel(std::string& out, unsigned char value)
{
    out += ' ';
    out += std::to_string(value);
}
}  // namespace

TextPointWriter::TextPointWriter(Sink sink, const Origin& origin) : mSink(std::move(sink)), mOrigin(origin)
{
    mSink(std::string(Render::kPointTextHeader) + "\n");
}

void TextPointWriter::write(std::span<const Render::VertexPosColor> points)
{
    mText.clear();
    if (!mOrigin)
    {
        Render::appendPointLines(mText, points, "\n");
    }
    else
    {
        for (const Render::VertexPosColor& point : points)
        {
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                mText += axis == 0 ? "" : " ";
                appendNumber(mText, double{point.position[axis]} + (*mOrigin)[axis]);
            }
            appendChannel(mText, point.color.r());
            appendChannel(mText, point.color.g());
            appendChannel(mText, point.color.b());
            appendChannel(mText, point.color.a());
            mText += '\n';
        }
    }
    mSink(mText);
}

PlyPointWriter::PlyPointWriter(OutputFile& file, const Origin& origin) : mFile(file), mOrigin(origin)
{
    mFile.write(header());
}

void PlyPointWriter::write(std::span<const Render::VertexPosColor> points)
{
    mBytes.clear();
    for (const Render::VertexPosColor& point : points)
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            if (mOrigin)
            {
                appendBytes(mBytes, double{point.position[axis]} + (*mOrigin)[axis]);
            }
            else
            {
                appendBytes(mBytes, point.position[axis]);
            }
        }
        appendBytes(mBytes, point.color.r());
        appendBytes(mBytes, point.color.g());
        appendBytes(mBytes, point.color.b());
        appendBytes(mBytes, point.color.a());
    }
    mFile.write(mBytes);
    mCount += points.size();
}

void PlyPointWriter::finish()
{
    mFile.rewrite(0, header());
}

std::string PlyPointWriter::header() const
{
    // The comment fills up what the number leaves free, so that the header has the same length for all.
    const std::string count = std::to_string(mCount);
    const std::string type = mOrigin ? "double" : "float";
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
    return text + "end_header\n";
}
}  // namespace Cli
