#include "math/transform.h"
#include "octree/Octree.h"
#include "render/pointcloud/PointCloudQuery.h"
#include "samples/OctreeWriter.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <exception>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Octree::BoxTestResult;
using Octree::OctreeNodeId;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;

constexpr std::uint64_t kAllLevels = OctreeNodeId::MAX_REPRESENTABLE_LEVEL;
constexpr std::chrono::nanoseconds kNoTimeout = std::chrono::nanoseconds::max();

/// What a filter has been asked; outlives the filter.
struct Asked
{
    std::vector<Box> boxes;
    std::vector<float> xs;  ///< x of the tested positions
    bool isDestroyed = false;
};

/// Answers as told and takes notes.
class RecordingFilter final : public IFilter
{
public:
    using BoxTest = std::function<BoxTestResult(const Box&)>;

    RecordingFilter(Asked& asked, BoxTest boxTest) : mAsked(asked), mBoxTest(std::move(boxTest)) {}

    RecordingFilter(Asked& asked, BoxTestResult result)
        : RecordingFilter(asked, [result](const Box&) { return result; })
    {
    }

    ~RecordingFilter() override { mAsked.isDestroyed = true; }

    RecordingFilter(const RecordingFilter&) = delete;
    RecordingFilter& operator=(const RecordingFilter&) = delete;

    /// Accepts even x only.
    bool testPosition(const Point& point) override
    {
        mAsked.xs.push_back(point.x);
        return static_cast<int>(point.x) % 2 == 0;
    }

    BoxTestResult testBox(const Box& box) override
    {
        mAsked.boxes.push_back(box);
        return mBoxTest(box);
    }

private:
    Asked& mAsked;
    BoxTest mBoxTest;
};

Samples::SamplePoint pointAt(double x, double y, double z)
{
    Samples::SamplePoint point;
    point.x = 5000.0 + x;
    point.y = 7000.0 + y;
    point.z = 100.0 + z;
    point.r = static_cast<std::uint16_t>(static_cast<unsigned>(x) << 8U);
    point.g = 0x2000;
    point.b = 0x3000;
    return point;
}

/// A cube of edge 64 with root spacing 8; each point's x says which it is.
class SmallCloud : public testing::Test
{
protected:
    SmallCloud() { write(nodes()); }

    static std::vector<Samples::SampleNode> nodes()
    {
        return {
            {.name = "r", .points = {pointAt(1, 1, 1), pointAt(2, 2, 2), pointAt(60, 3, 3)}},
            {.name = "r0", .points = {pointAt(4, 4, 4), pointAt(5, 5, 5)}},
            {.name = "r02", .points = {pointAt(6, 20, 6)}},  // r04 and its like do not exist
            {.name = "r4", .points = {pointAt(40, 7, 7)}},
            {.name = "r73", .points = {pointAt(33, 60, 63)}},  // r7 has no points
        };
    }

    void write(const std::vector<Samples::SampleNode>& content)
    {
        Samples::OctreeWriterOptions options;
        options.encoding = Samples::OctreeEncoding::Default;
        options.attributes = {Samples::Attribute::Position, Samples::Attribute::Rgb};
        options.cube = Samples::Cube{{5000, 7000, 100}, 64.0};
        options.spacing = 8.0;
        options.threadCount = 1;
        Samples::writeOctreeNodes(folder.path(), content, options);
        open();
        cache = std::make_shared<PointCloudQuery::PointCache>(1000, 16);
    }

    void open() { octree = std::make_shared<Octree::Octree>(Octree::Location::fromPath(folder.path()), 1.0); }

    PointCloudQuery query(
        IFilter* filter,
        std::uint64_t maxLevel = kAllLevels,
        float minimumSpacing = 0.0F,
        std::chrono::nanoseconds timeout = kNoTimeout
    ) const
    {
        return {octree, cache, world, filter, maxLevel, minimumSpacing, timeout};
    }

    PointCloudQuery queryAll(std::uint64_t maxLevel = kAllLevels, float minimumSpacing = 0.0F)
    {
        return query(new RecordingFilter(asked, BoxTestResult::Inside), maxLevel, minimumSpacing);
    }

    TemporaryFolder folder;
    std::shared_ptr<Octree::Octree> octree;
    std::shared_ptr<PointCloudQuery::PointCache> cache;
    Eigen::Matrix4f world = Eigen::Matrix4f::Identity();
    Asked asked;
};

std::vector<VertexPosColor> nextPoints(PointCloudQuery& query, std::size_t maxCount)
{
    std::vector<VertexPosColor> points(maxCount);
    points.resize(query.getNextPointChunk(points.data(), maxCount));
    return points;
}

std::vector<float> xsOf(const std::vector<VertexPosColor>& points)
{
    std::vector<float> xs;
    for (const VertexPosColor& point : points)
    {
        xs.push_back(point.position.x);
    }
    return xs;
}

std::vector<float> nextXs(PointCloudQuery& query, std::size_t maxCount = 100)
{
    return xsOf(nextPoints(query, maxCount));
}
}  // namespace

TEST_F(SmallCloud, ARegionThatHoldsTheRootYieldsEverythingCoarseLevelsFirstWithoutTestingPoints)
{
    PointCloudQuery query = queryAll();

    EXPECT_THAT(nextXs(query), ElementsAre(1, 2, 60, 4, 5, 40, 6, 33));
    EXPECT_TRUE(query.isFinished());
    EXPECT_THAT(nextXs(query), IsEmpty());
    EXPECT_THAT(asked.xs, IsEmpty());
    EXPECT_EQ(asked.boxes.size(), 1U);  // what lies in the root is inside without a test
}

TEST_F(SmallCloud, AMaximumLevelOfZeroYieldsTheRootOnly)
{
    PointCloudQuery query = queryAll(0);

    EXPECT_THAT(nextXs(query), ElementsAre(1, 2, 60));
}

TEST_F(SmallCloud, AMaximumLevelIsStillVisited)
{
    PointCloudQuery query = queryAll(1);

    EXPECT_THAT(nextXs(query), ElementsAre(1, 2, 60, 4, 5, 40));
}

TEST_F(SmallCloud, OnlyLevelsWithMoreThanTheMinimumSpacingAreVisited)
{
    PointCloudQuery none = queryAll(kAllLevels, 8.0F);
    PointCloudQuery rootOnly = queryAll(kAllLevels, 4.0F);
    PointCloudQuery twoLevels = queryAll(kAllLevels, 3.9F);

    EXPECT_TRUE(none.isFinished());
    EXPECT_THAT(nextXs(none), IsEmpty());
    EXPECT_THAT(nextXs(rootOnly), ElementsAre(1, 2, 60));
    EXPECT_THAT(nextXs(twoLevels), ElementsAre(1, 2, 60, 4, 5, 40));
}

TEST_F(SmallCloud, TheSpacingIsThatOfTheWorld)
{
    world = Eigen::Vector4f(0.5F, 0.5F, 0.5F, 1.0F).asDiagonal();

    PointCloudQuery none = queryAll(kAllLevels, 4.0F);
    PointCloudQuery rootOnly = queryAll(kAllLevels, 3.9F);

    EXPECT_THAT(nextXs(none), IsEmpty());
    EXPECT_THAT(nextXs(rootOnly), ElementsAre(0.5F, 1, 30));
}

TEST_F(SmallCloud, ASpacingThatIsNoNumberYieldsNothing)
{
    PointCloudQuery query = queryAll(kAllLevels, std::numeric_limits<float>::quiet_NaN());

    EXPECT_THAT(nextXs(query), IsEmpty());
}

TEST_F(SmallCloud, ChunksOfOneComeInNodeAndPointOrder)
{
    PointCloudQuery query = queryAll();
    std::vector<float> xs;

    for (std::vector<float> next = nextXs(query, 1); !next.empty(); next = nextXs(query, 1))
    {
        ASSERT_EQ(next.size(), 1U);
        xs.push_back(next.front());
    }

    EXPECT_THAT(xs, ElementsAre(1, 2, 60, 4, 5, 40, 6, 33));
}

TEST_F(SmallCloud, ChunksGoOnWhereTheLastOneEndedWithinNodes)
{
    PointCloudQuery query = queryAll();

    EXPECT_THAT(nextXs(query, 2), ElementsAre(1, 2));
    EXPECT_THAT(nextXs(query, 2), ElementsAre(60, 4));
    EXPECT_FALSE(query.isFinished());
    EXPECT_THAT(nextXs(query, 4), ElementsAre(5, 40, 6, 33));
    EXPECT_THAT(nextXs(query, 4), IsEmpty());
}

TEST_F(SmallCloud, RoomForNothingYieldsNothingAndLosesNothing)
{
    PointCloudQuery query = queryAll();

    EXPECT_EQ(query.getNextPointChunk(nullptr, 0), 0U);
    EXPECT_FALSE(query.isFinished());
    EXPECT_EQ(nextXs(query).size(), 8U);
}

TEST_F(SmallCloud, OnTheBorderEveryPointIsTestedAndRefusedOnesAreLeftOut)
{
    PointCloudQuery query = this->query(new RecordingFilter(asked, BoxTestResult::Border));

    EXPECT_THAT(nextXs(query, 3), ElementsAre(2, 60, 4));
    EXPECT_THAT(nextXs(query), ElementsAre(40, 6));
    EXPECT_THAT(asked.xs, ElementsAre(1, 2, 60, 4, 5, 40, 6, 33));
    EXPECT_EQ(asked.boxes.size(), 6U);  // r, r0, r02, r4, r7, r73
}

TEST_F(SmallCloud, NodesOutsideAreNotVisitedNorAreTheirChildren)
{
    const auto notInTheLowerHalf = [](const Box& box)
    { return box.max().x < 34.0F ? BoxTestResult::Outside : BoxTestResult::Border; };
    PointCloudQuery query = this->query(new RecordingFilter(asked, notInTheLowerHalf));

    EXPECT_THAT(nextXs(query), ElementsAre(2, 60, 40));
    EXPECT_THAT(asked.xs, ElementsAre(1, 2, 60, 40, 33));
    EXPECT_FALSE(cache->contains(OctreeNodeId::fromName("r0")));
}

TEST_F(SmallCloud, ARootOutsideEndsTheQueryAtOnce)
{
    PointCloudQuery query = this->query(new RecordingFilter(asked, BoxTestResult::Outside));

    EXPECT_TRUE(query.isFinished());
    EXPECT_THAT(nextXs(query), IsEmpty());
    EXPECT_EQ(cache->size(), 0U);
}

TEST_F(SmallCloud, AnotherBoxResultIsQueuedButYieldsNoPointsAndNoChildren)
{
    PointCloudQuery query = this->query(new RecordingFilter(asked, static_cast<BoxTestResult>(2)));

    EXPECT_FALSE(query.isFinished());
    EXPECT_THAT(nextXs(query), IsEmpty());
    EXPECT_TRUE(query.isFinished());
    EXPECT_EQ(asked.boxes.size(), 1U);
    EXPECT_THAT(asked.xs, IsEmpty());
}

TEST_F(SmallCloud, ChildrenOfANodeInsideAreInsideThoughItsParentIsNot)
{
    const auto lowerHalfInside = [](const Box& box)
    { return box.max().x < 34.0F ? BoxTestResult::Inside : BoxTestResult::Border; };
    PointCloudQuery query = this->query(new RecordingFilter(asked, lowerHalfInside));

    EXPECT_THAT(nextXs(query), ElementsAre(2, 60, 4, 5, 40, 6));
    EXPECT_THAT(asked.xs, ElementsAre(1, 2, 60, 40, 33));
    EXPECT_EQ(asked.boxes.size(), 5U);  // all but r02
}

TEST_F(SmallCloud, PointsHaveTheirPlaceInTheWorldAndTheirColor)
{
    world << 0, -1, 0, 100,  //
        1, 0, 0, 200,        //
        0, 0, 2, 300,        //
        0, 0, 0, 1;
    PointCloudQuery query = queryAll(0);

    const std::vector<VertexPosColor> points = nextPoints(query, 100);

    ASSERT_EQ(points.size(), 3U);
    EXPECT_EQ(points[2].position, Point(97, 260, 306));
    EXPECT_EQ(points[2].color, Math::Color(60, 0x20, 0x30, 255));
    EXPECT_EQ(points[0].position, Point(99, 201, 302));
}

TEST_F(SmallCloud, ANewWorldMatrixCountsFromTheNextPointOn)
{
    PointCloudQuery query = queryAll(0);
    EXPECT_THAT(nextXs(query, 2), ElementsAre(1, 2));

    query.setWorldMatrix(Eigen::Vector4f(2, 2, 2, 1).asDiagonal());

    EXPECT_THAT(nextXs(query), ElementsAre(120));
}

TEST_F(SmallCloud, TheFilterSeesTheNodesCubeInTheWorldALittleWidened)
{
    world(0, 3) = 1000.0F;
    const PointCloudQuery query = queryAll();

    ASSERT_EQ(asked.boxes.size(), 1U);
    const Box& box = asked.boxes.front();
    EXPECT_LT(box.min().x, 1000.0F);
    EXPECT_GT(box.max().x, 1064.0F);
    EXPECT_LT(box.max().y, 64.0F + 0.004F);  // two steps of 0.001 and some rounding
    EXPECT_NEAR(box.min().x, 1000.0F, 0.004F);
    EXPECT_NEAR(box.max().x, 1064.0F, 0.004F);
    EXPECT_NEAR(box.min().z, 0.0F, 0.004F);
}

TEST_F(SmallCloud, ATimeoutOfZeroEndsEachCallAfterOneNode)
{
    PointCloudQuery query = this->query(
        new RecordingFilter(asked, BoxTestResult::Inside), kAllLevels, 0.0F, std::chrono::nanoseconds(0)
    );

    EXPECT_THAT(nextXs(query), ElementsAre(1, 2, 60));
    EXPECT_THAT(nextXs(query), ElementsAre(4, 5));
    EXPECT_THAT(nextXs(query), ElementsAre(40));
    EXPECT_THAT(nextXs(query), IsEmpty());  // r7 has none
    EXPECT_FALSE(query.isFinished());
    EXPECT_THAT(nextXs(query), ElementsAre(6));
    EXPECT_THAT(nextXs(query), ElementsAre(33));
    EXPECT_TRUE(query.isFinished());
}

TEST_F(SmallCloud, AnAlmostEndlessTimeoutDoesNotWrapAround)
{
    PointCloudQuery query = this->query(
        new RecordingFilter(asked, BoxTestResult::Inside),
        kAllLevels,
        0.0F,
        std::chrono::nanoseconds::max() - std::chrono::nanoseconds(1)
    );

    EXPECT_EQ(nextXs(query).size(), 8U);
}

TEST_F(SmallCloud, TheFilterIsDestroyedWithTheQueryThatItWasMovedTo)
{
    {
        PointCloudQuery first = queryAll();
        EXPECT_THAT(nextXs(first, 2), ElementsAre(1, 2));
        PointCloudQuery second = std::move(first);

        EXPECT_FALSE(asked.isDestroyed);
        EXPECT_THAT(nextXs(second, 2), ElementsAre(60, 4));
    }
    EXPECT_TRUE(asked.isDestroyed);
}

TEST_F(SmallCloud, AssigningAQueryDestroysTheFilterOfTheOldOne)
{
    Asked other;
    PointCloudQuery query = this->query(new RecordingFilter(other, BoxTestResult::Inside));

    query = queryAll();

    EXPECT_TRUE(other.isDestroyed);
    EXPECT_EQ(nextXs(query).size(), 8U);
}

TEST_F(SmallCloud, WithoutOctreeCacheOrFilterThereIsNoQuery)
{
    const auto make = [&](auto tree, auto points, IFilter* filter)
    { PointCloudQuery(tree, points, world, filter, 0, 0.0F, kNoTimeout); };

    EXPECT_THROW(make(octree, cache, nullptr), std::invalid_argument);
    EXPECT_THROW(
        make(nullptr, cache, new RecordingFilter(asked, BoxTestResult::Inside)), std::invalid_argument
    );
    EXPECT_TRUE(asked.isDestroyed);
    EXPECT_THROW(
        make(octree, nullptr, new RecordingFilter(asked, BoxTestResult::Inside)), std::invalid_argument
    );
}

TEST_F(SmallCloud, NodesThatCannotBeReadAreReportedWithTheirCauseAndThenPassedOver)
{
    octree.reset();
    std::filesystem::resize_file(folder.path() / "octree.bin", 4 * 18);  // whole root, half of r0
    open();
    PointCloudQuery query = queryAll();
    std::string message;
    std::string cause;

    EXPECT_THAT(nextXs(query, 3), ElementsAre(1, 2, 60));
    try
    {
        nextXs(query);
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
        cause = messageOf<std::exception>([&] { std::rethrow_if_nested(error); });
    }

    EXPECT_EQ(message, "Querying node data failed");
    EXPECT_THAT(cause, HasSubstr("octree.bin"));
    EXPECT_FALSE(query.isFinished());
    EXPECT_THROW(nextXs(query), std::runtime_error);  // r4
    EXPECT_THROW(nextXs(query), std::runtime_error);  // r02; r7 has no points to read
    EXPECT_THROW(nextXs(query), std::runtime_error);  // r73
    EXPECT_TRUE(query.isFinished());
}

TEST_F(SmallCloud, NodesComeFromTheCacheOnceTheyAreThere)
{
    {
        PointCloudQuery first = queryAll();
        EXPECT_EQ(nextXs(first).size(), 8U);
    }
    EXPECT_EQ(cache->weight(), 8U);
    octree.reset();
    std::filesystem::resize_file(folder.path() / "octree.bin", 0);
    open();

    PointCloudQuery second = queryAll();

    EXPECT_THAT(nextXs(second), ElementsAre(1, 2, 60, 4, 5, 40, 6, 33));
}

TEST_F(SmallCloud, QueriesOfSeveralThreadsShareTheWorkersAndYieldEverything)
{
    const auto same = ElementsAre(1, 2, 60, 4, 5, 40, 6, 33);
    std::array<std::vector<float>, 3> results;
    {
        std::vector<std::jthread> threads;
        for (std::vector<float>& xs : results)
        {
            threads.emplace_back(
                [&]
                {
                    for (int round = 0; round < 50; ++round)
                    {
                        Asked ownAsked;
                        PointCloudQuery own(
                            octree,
                            std::make_shared<PointCloudQuery::PointCache>(1000, 16),
                            world,
                            new RecordingFilter(ownAsked, BoxTestResult::Inside),
                            kAllLevels,
                            0.0F,
                            kNoTimeout
                        );
                        nextXs(own, 3);
                        if (round == 49)
                        {
                            xs = {1, 2, 60};
                            const std::vector<float> rest = nextXs(own);
                            xs.insert(xs.end(), rest.begin(), rest.end());
                        }
                        // the others end with reads in flight
                    }
                }
            );
        }
    }
    for (const std::vector<float>& xs : results)
    {
        EXPECT_THAT(xs, same);
    }
}

TEST_F(SmallCloud, AChangeOfTheUnitScaleEndsTheQueryBeforeTheCacheMixesScales)
{
    PointCloudQuery query = queryAll();
    EXPECT_THAT(nextXs(query, 3), ElementsAre(1, 2, 60));

    octree->setUnitScale(2.0);

    EXPECT_EQ(messageOf<std::runtime_error>([&] { nextXs(query); }), "Querying node data failed");
    EXPECT_EQ(cache->size(), 1U);
}

TEST_F(SmallCloud, AnExternalDataSetThatIsAddedDuringTheQueryStaysOutOfItsCache)
{
    const TemporaryFolder externalFolder;
    Samples::OctreeWriterOptions options;
    options.attributes = {Samples::Attribute::Intensity};
    options.cube = Samples::Cube{{5000, 7000, 100}, 64.0};
    Samples::writeOctreeNodes(externalFolder.path(), nodes(), options);
    PointCloudQuery query = queryAll();
    EXPECT_THAT(nextXs(query, 3), ElementsAre(1, 2, 60));

    octree->addExternalAttributeLocation(Octree::Location::fromPath(externalFolder.path()));

    EXPECT_THAT(nextXs(query), ElementsAre(4, 5, 40, 6, 33));
    EXPECT_EQ(cache->size(), 1U);
}

TEST_F(SmallCloud, QueriesWithOtherExternalDataSetsHaveACacheOfTheirOwn)
{
    const auto shared = [&](const std::vector<Octree::Location>& externals)
    {
        return PointCloudQuery::createOrGetSharedCache(
            Octree::CacheIdentifier{octree->location(), 1.0, externals}, 500, 10
        );
    };
    const auto plain = PointCloudQuery::createOrGetSharedCache(octree->location(), 1.0, 500, 10);
    const auto extended = shared({octree->location()});

    EXPECT_EQ(shared({}), plain);
    EXPECT_NE(extended, plain);
    EXPECT_EQ(shared({octree->location()}), extended);
}

TEST_F(SmallCloud, QueriesOfOneDataSetAndScaleShareOneCache)
{
    const auto shared = [&](double unitScale)
    { return PointCloudQuery::createOrGetSharedCache(octree->location(), unitScale, 500, 10); };

    const auto first = shared(1.0);

    EXPECT_EQ(first, shared(1.0));
    EXPECT_NE(first, shared(2.0));
    EXPECT_EQ(first->capacity(), 500U);
}

TEST_F(SmallCloud, APointAStepOutsideItsNodesCubeIsNeitherLostNorTakenByMistake)
{
    // r0 reaches to 32
    write({{.name = "r0", .points = {pointAt(32.001, 4, 4), pointAt(20, 4, 4)}}});
    const auto boxTest = [](const Box& region)
    {
        return [region](const Box& box)
        {
            const bool isApart = box.min().x > region.max().x || box.max().x < region.min().x;
            const bool isInside = box.min().x >= region.min().x && box.max().x <= region.max().x;
            return isApart    ? BoxTestResult::Outside
                   : isInside ? BoxTestResult::Inside
                              : BoxTestResult::Border;
        };
    };

    PointCloudQuery beyond =
        query(new RecordingFilter(asked, boxTest(Box({32.0005F, -1, -1}, {100, 100, 100}))));
    EXPECT_THAT(nextXs(beyond), ElementsAre(20.0F, 32.001F));  // tested one by one: both are even
    EXPECT_EQ(asked.xs.size(), 2U);

    asked.xs.clear();
    PointCloudQuery upTo = query(new RecordingFilter(asked, boxTest(Box({-1, -1, -1}, {32, 100, 100}))));
    EXPECT_EQ(nextXs(upTo).size(), 2U);
    EXPECT_EQ(asked.xs.size(), 2U);  // not taken as wholly inside
}

TEST(PointCloudFilter, LevelsCountUpToTheMaximumAndSpacingsAboveTheMinimum)
{
    Asked asked;
    const PointCloudFilter filter(new RecordingFilter(asked, BoxTestResult::Border), 3, 0.5F);

    EXPECT_TRUE(filter.testLevel(0));
    EXPECT_TRUE(filter.testLevel(3));
    EXPECT_FALSE(filter.testLevel(4));
    EXPECT_TRUE(filter.testSpacing(std::nextafter(0.5F, 1.0F)));
    EXPECT_FALSE(filter.testSpacing(0.5F));
}

TEST(PointCloudFilter, QuestionsGoToTheFilterWhichGoesWithAMove)
{
    Asked asked;
    {
        PointCloudFilter first(new RecordingFilter(asked, BoxTestResult::Border), 3, 0.5F);
        const PointCloudFilter second = std::move(first);

        EXPECT_TRUE(second.testPosition({4, 0, 0}));
        EXPECT_FALSE(second.testPosition({5, 0, 0}));
        EXPECT_EQ(second.testBox(Box({0, 0, 0}, {1, 1, 1})), BoxTestResult::Border);
        EXPECT_FALSE(asked.isDestroyed);
    }
    EXPECT_TRUE(asked.isDestroyed);
}
}  // namespace Render
