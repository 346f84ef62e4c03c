#pragma once

#include "render/Export.h"
#include "render/pointcloud/IAttributeFilter.h"

#include <bitset>
#include <cstdint>

namespace Render
{
/// Which of the returns of their pulse are wanted: those with one of the numbers, or in one of the other ways.
struct ReturnChoice
{
    std::bitset<256> numbers;   ///< bit 1: the first return
    bool last = false;          ///< the last one of each pulse
    bool single = false;        ///< those that are the only one
    bool intermediate = false;  ///< neither the first nor the last
};

/// Points of some classes, intensities and returns, all or one of so many.
///
/// Threads  one at a time.
class RENDER_API AttributeFilter final : public IAttributeFilter
{
public:
    /// Accepts all points.
    AttributeFilter();

    /// Only points of these classes.
    void setClassifications(const std::bitset<256>& classifications) noexcept;

    /// Only intensities between these, both included.
    void setIntensities(std::uint16_t min, std::uint16_t max) noexcept;

    /// Only these returns; the query must be asked for numbers and counts of returns.
    void setReturns(const ReturnChoice& returns) noexcept;

    /// Of the points that are accepted otherwise the first and then every so many-th; 1 for all.
    /// @throws std::invalid_argument  for 0
    void setEvery(std::uint64_t every);

    bool testAttributes(const PointAttributes& point) override;

private:
    bool isReturnWanted(const PointAttributes& point) const noexcept;

    std::bitset<256> mClassifications;
    std::uint16_t mMinIntensity = 0;
    std::uint16_t mMaxIntensity = 65535;
    ReturnChoice mReturns;
    bool mAsksForReturns = false;
    std::uint64_t mEvery = 1;
    std::uint64_t mAcceptedCount = 0;
};
}  // namespace Render
