#include "apps/cli/PointWriter.h"

#include "apps/cli/OutputFile.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/formatNumber.h"
#include "apps/cli/pointColumns.h"
#include <render/renderer/pointText.h>

#include <CLI/CLI.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace Cli
{
namespace
{
void append(std::string& text, double value)
{
    appendNumber(text, value);
}

void append(std::string& text, float value)
{
    text += formatNumber(value);
}

template <std::unsigned_integral Value>
void append(std::string& text, Value value)
{
    text += std::to_string(value);
}

class TextPointWriter final : public PointWriter
{
public:
    TextPointWriter(TextSink sink, const PointFacts& facts, char separator)
        : mSink(std::move(sink)),
          mAttributes(facts.attributes),
          mIsSinglePrecision(facts.isSinglePrecision),
          mSeparator(separator)
    {
        std::string header(Render::kPointTextHeader);
        const auto addName = [&](unsigned bit, const ColumnNames& names, const auto&)
        {
            if ((mAttributes & bit) != 0)
            {
                header += std::string(" ") + names.text;
            }
        };
        visitColumns({}, addName);
        for (char& letter : header)
        {
            letter = letter == ' ' ? mSeparator : letter;
        }
        mSink(header + "\n");
    }

    void write(const Octree::NodePointColumns& points, const Math::Point<double, 3>& origin) override
    {
        mText.clear();
        for (std::size_t i = 0; i < points.pointCount; ++i)
        {
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                appendCoordinate(points.positions[i][axis] + origin[axis]);
                mText += mSeparator;
            }
            const Math::Color color = points.colors[i];
            append(mText, std::uint32_t{color.r()});
            for (const unsigned char channel : {color.g(), color.b(), color.a()})
            {
                mText += mSeparator;
                append(mText, std::uint32_t{channel});
            }
            const auto addValue = [&](unsigned bit, const ColumnNames&, const auto& valueOf)
            {
                if ((mAttributes & bit) != 0)
                {
                    mText += mSeparator;
                    append(mText, valueOf(i));
                }
            };
            visitColumns(points, addValue);
            mText += '\n';
        }
        mSink(mText);
    }

private:
    void appendCoordinate(double value)
    {
        if (mIsSinglePrecision)
        {
            Render::appendFloat(mText, static_cast<float>(value));
        }
        else
        {
            append(mText, value);
        }
    }

    TextSink mSink;
    unsigned mAttributes;
    bool mIsSinglePrecision;
    char mSeparator;
    std::string mText;  // kept for its memory
};
}  // namespace

PointFormat pointFormatOf(const std::string& option, const std::string& path)
{
    static constexpr std::pair<const char*, PointFormat> kFormats[]{
        {".txt", PointFormat::Text},
        {".csv", PointFormat::Csv},
        {".ply", PointFormat::Ply},
        {".las", PointFormat::Las},
        {".laz", PointFormat::Laz}};
    const std::string extension = fileExtension(path);
    for (const auto& [ending, format] : kFormats)
    {
        if (extension == ending)
        {
            return format;
        }
    }
    throw CLI::ValidationError(option, "'" + path + "' does not end in .txt, .csv, .ply, .las or .laz");
}

std::unique_ptr<PointWriter> makeTextWriter(TextSink sink, const PointFacts& facts, char separator)
{
    return std::make_unique<TextPointWriter>(std::move(sink), facts, separator);
}

std::unique_ptr<PointWriter> makePointWriter(PointFormat format, OutputFile& file, const PointFacts& facts)
{
    switch (format)
    {
        case PointFormat::Ply:
            return makePlyWriter(file, facts);
        case PointFormat::Las:
            return makeLasWriter(file, facts, false);
        case PointFormat::Laz:
            return makeLasWriter(file, facts, true);
        case PointFormat::Text:
        case PointFormat::Csv:
            break;
    }
    return makeTextWriter(
        [&file](std::string_view text) { file.write(text); }, facts, format == PointFormat::Csv ? ',' : ' '
    );
}
}  // namespace Cli
