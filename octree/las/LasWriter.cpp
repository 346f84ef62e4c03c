#include "octree/las/LasWriter.h"

#include "core/version.h"
#include "octree/las/LasSink.h"
#include "octree/las/LazEncoder.h"
#include "octree/las/appendBytes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace Las
{
namespace
{
constexpr std::size_t kHeaderSize = 375;
constexpr std::size_t kMaxRecord = 65535;
constexpr std::uint32_t kChunkSize = 50000;
constexpr std::size_t kBlock = std::size_t{1} << 16U;  // bytes that go on together
constexpr double kSecondsPerWeek = 604800.0;

LazEncoding encodingOf(const LasFileOptions& options)
{
    LazEncoding encoding;
    encoding.pointFormat = options.hasColors ? 7 : 6;
    encoding.chunkSize = kChunkSize;
    return encoding;
}

void appendText(std::string& bytes, std::string_view text, std::size_t size)
{
    text = text.substr(0, size);
    bytes += text;
    bytes.append(size - text.size(), '\0');
}

std::string record(std::string_view author, std::uint16_t number, std::string_view data)
{
    std::string bytes;
    appendBytes(bytes, std::uint16_t{0});
    appendText(bytes, author, 16);
    appendBytes(bytes, number);
    appendBytes(bytes, static_cast<std::uint16_t>(data.size()));
    appendText(bytes, "", 32);
    return bytes.append(data);
}

void check(const LasFileOptions& options)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (!(options.scale[axis] > 0.0) || !std::isfinite(options.scale[axis]) ||
            !std::isfinite(options.offset[axis]))
        {
            throw std::invalid_argument("Scales must be above 0, offsets finite");
        }
    }
    if (options.coordinateSystem.size() >= kMaxRecord)
    {
        throw std::invalid_argument("The text of the coordinate system must have at most 65534 bytes");
    }
}

void appendPoint(std::string& bytes, const LasPoint& point, bool hasColors)
{
    for (const std::int32_t coordinate : point.position)
    {
        appendBytes(bytes, coordinate);
    }
    appendBytes(bytes, point.intensity);
    appendBytes(
        bytes, static_cast<std::uint8_t>((point.returnNumber & 15U) | (point.returnCount & 15U) << 4U)
    );
    appendBytes(bytes, std::uint8_t{0});  // flags
    appendBytes(bytes, point.classification);
    appendBytes(bytes, point.userData);
    appendBytes(bytes, point.scanAngle);
    appendBytes(bytes, point.pointSource);
    appendBytes(bytes, point.time);
    for (std::size_t i = 0; i < 3 && hasColors; ++i)
    {
        appendBytes(bytes, point.color[i]);
    }
}
}  // namespace

LasWriter::LasWriter(LasSink& sink, const LasFileOptions& options) : mSink(sink), mOptions(options)
{
    check(options);
    mMin.fill(std::numeric_limits<std::int32_t>::max());
    mMax.fill(std::numeric_limits<std::int32_t>::min());
    if (options.isCompressed)
    {
        mRecords += record("laszip encoded", 22204, LazEncoder::record(encodingOf(options)));
        ++mRecordCount;
    }
    if (!options.coordinateSystem.empty())
    {
        // The text ends with a zero, which is a part of the record.
        const std::string_view text(options.coordinateSystem.c_str(), options.coordinateSystem.size() + 1);
        mRecords += record("LASF_Projection", 2112, text);
        ++mRecordCount;
    }
    mSink.write(header() + mRecords);
    if (options.isCompressed)
    {
        mEncoder = std::make_unique<LazEncoder>(encodingOf(options), sink, kHeaderSize + mRecords.size());
    }
}

LasWriter::~LasWriter() = default;

std::int32_t LasWriter::stored(double coordinate, std::size_t axis) const
{
    const double whole = std::floor((coordinate - mOptions.offset[axis]) / mOptions.scale[axis] + 0.5);
    if (!(whole >= std::numeric_limits<std::int32_t>::min() &&
          whole <= std::numeric_limits<std::int32_t>::max()))
    {
        throw std::out_of_range(
            std::string("the ") + "xyz"[axis] + " of a point does not fit the 32 bits of LAS, in steps of " +
            std::to_string(mOptions.scale[axis]) + " from " + std::to_string(mOptions.offset[axis])
        );
    }
    return static_cast<std::int32_t>(whole);
}

void LasWriter::add(const LasPoint& point)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        mMin[axis] = std::min(mMin[axis], point.position[axis]);
        mMax[axis] = std::max(mMax[axis], point.position[axis]);
    }
    ++mCount;
    if (point.returnNumber >= 1 && point.returnNumber <= mCountsByReturn.size())
    {
        ++mCountsByReturn[point.returnNumber - 1U];
    }
    mIsWeekTime = mIsWeekTime && point.time >= 0.0 && point.time <= kSecondsPerWeek;
    if (mEncoder)
    {
        mEncoder->add(point);
        return;
    }
    appendPoint(mBlock, point, mOptions.hasColors);
    if (mBlock.size() >= kBlock)
    {
        mSink.write(mBlock);
        mBlock.clear();
    }
}

void LasWriter::finish()
{
    if (mEncoder)
    {
        mEncoder->finish();
    }
    mSink.write(mBlock);
    mBlock.clear();
    mSink.rewrite(0, header());
}

std::string LasWriter::header() const
{
    constexpr unsigned kStandardTime = 1;
    constexpr unsigned kCoordinateSystemIsText = 16;
    const unsigned flags = kCoordinateSystemIsText | (mIsWeekTime ? 0U : kStandardTime);
    const unsigned format = (mOptions.hasColors ? 7U : 6U) | (mOptions.isCompressed ? 0x80U : 0U);
    std::string header = "LASF";
    appendBytes(header, std::uint16_t{0});  // source
    appendBytes(header, static_cast<std::uint16_t>(flags));
    appendText(header, "", 16);  // project
    header += {1, 4};
    appendText(header, "EXTRACTION", 32);
    appendText(header, std::string("tarnel ").append(Tarnel::version()), 32);
    appendBytes(header, std::uint32_t{0});  // day and year: the same points give the same file
    appendBytes(header, static_cast<std::uint16_t>(kHeaderSize));
    appendBytes(header, static_cast<std::uint32_t>(kHeaderSize + mRecords.size()));
    appendBytes(header, mRecordCount);
    appendBytes(header, static_cast<std::uint8_t>(format));
    appendBytes(header, static_cast<std::uint16_t>(LazEncoder::recordLength(encodingOf(mOptions))));
    appendText(header, "", 24);  // numbers of points for readers of older versions
    for (const double scale : mOptions.scale)
    {
        appendBytes(header, scale);
    }
    for (const double offset : mOptions.offset)
    {
        appendBytes(header, offset);
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const auto coordinate = [&](std::int32_t integer)
        { return mCount == 0 ? 0.0 : integer * mOptions.scale[axis] + mOptions.offset[axis]; };
        appendBytes(header, coordinate(mMax[axis]));
        appendBytes(header, coordinate(mMin[axis]));
    }
    appendText(header, "", 20);  // wave packets and extended records
    appendBytes(header, mCount);
    for (const std::uint64_t count : mCountsByReturn)
    {
        appendBytes(header, count);
    }
    return header;
}

bool isWellKnownText(std::string_view coordinateSystem) noexcept
{
    static constexpr std::array<std::string_view, 14> kKeywords{
        "PROJCS",
        "GEOGCS",
        "GEOCCS",
        "COMPD_CS",
        "VERT_CS",
        "LOCAL_CS",
        "PROJCRS",
        "GEOGCRS",
        "GEODCRS",
        "COMPOUNDCRS",
        "VERTCRS",
        "ENGCRS",
        "BOUNDCRS",
        "FITTED_CS"};
    return std::ranges::any_of(
        kKeywords,
        [&](std::string_view keyword) {
            return coordinateSystem.starts_with(keyword) &&
                   coordinateSystem.substr(keyword.size()).starts_with('[');
        }
    );
}
}  // namespace Las
