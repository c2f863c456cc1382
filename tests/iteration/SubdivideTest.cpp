#include <Kito/ForEach>
#include <Kito/Triple>
#include <Kito/Types>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <random>
#include <tuple>
#include <vector>

namespace Tarn::Kito {
// Failure output shows regions as [origin +extent]; static, so no other test file can clash with it.
static void PrintTo(const RegionOfInterest<SizeType>& r, std::ostream* out)
{
    *out << "[" << r.origin.prim << "," << r.origin.sec << "," << r.origin.tert << " +" << r.dim.prim << ","
         << r.dim.sec << "," << r.dim.tert << "]";
}
} // namespace Tarn::Kito

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;
using Subdivide = Tarn::Kito::Iterating::ForEach::Subdivide;
using Region = Tarn::Kito::RegionOfInterest<SizeType>;
using RegionList = std::vector<Region>;

Region box(SizeType p, SizeType s, SizeType t, SizeType dp, SizeType ds, SizeType dt)
{
    return Region(Dimension<SizeType>(dp, ds, dt), Position<SizeType>(p, s, t));
}

/// Boxes in a fixed order, so that results whose order is left open compare as collections.
RegionList sorted(RegionList regions)
{
    const auto key = [](const Region& r) {
        return std::make_tuple(r.origin.prim, r.origin.sec, r.origin.tert, r.dim.prim, r.dim.sec, r.dim.tert);
    };
    std::sort(regions.begin(), regions.end(), [&](const Region& a, const Region& b) { return key(a) < key(b); });
    return regions;
}

/// Every choice of one region per list whose common part is not empty, that common part.
RegionList bruteForce(const std::vector<RegionList>& lists)
{
    RegionList result;
    if (lists.empty()) return result;
    std::vector<std::size_t> choice(lists.size(), 0);
    for (const RegionList& list : lists)
        if (list.empty()) return result;
    while (true) {
        SizeType lo[3] = {0, 0, 0};
        SizeType hi[3] = {~SizeType(0), ~SizeType(0), ~SizeType(0)};
        for (std::size_t l = 0; l < lists.size(); ++l) {
            const Region& r = lists[l][choice[l]];
            const SizeType start[3] = {r.origin.prim, r.origin.sec, r.origin.tert};
            const SizeType extent[3] = {r.dim.prim, r.dim.sec, r.dim.tert};
            for (int a = 0; a < 3; ++a) {
                lo[a] = std::max(lo[a], start[a]);
                hi[a] = std::min(hi[a], start[a] + extent[a]);
            }
        }
        if (lo[0] < hi[0] && lo[1] < hi[1] && lo[2] < hi[2])
            result.push_back(box(lo[0], lo[1], lo[2], hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]));
        std::size_t l = 0;
        while (l < lists.size() && ++choice[l] == lists[l].size()) choice[l++] = 0;
        if (l == lists.size()) break;
    }
    return result;
}

/// Cuts [0, size) into pieces of random length, at least 1.
std::vector<std::pair<SizeType, SizeType>> randomCuts(std::mt19937_64& engine, SizeType size, int maxPieces)
{
    std::uniform_int_distribution<int> pieces(1, maxPieces);
    std::vector<SizeType> borders = {0, size};
    std::uniform_int_distribution<SizeType> at(1, size - 1);
    for (int k = pieces(engine) - 1; k > 0; --k) borders.push_back(at(engine));
    std::sort(borders.begin(), borders.end());
    borders.erase(std::unique(borders.begin(), borders.end()), borders.end());
    std::vector<std::pair<SizeType, SizeType>> result;
    for (std::size_t k = 0; k + 1 < borders.size(); ++k) result.push_back({borders[k], borders[k + 1] - borders[k]});
    return result;
}

/// The chunks of a volume: a grid of boxes that tile the extent without gaps or overlaps.
RegionList randomTiling(std::mt19937_64& engine, SizeType sp, SizeType ss, SizeType st)
{
    RegionList tiles;
    for (const auto& t : randomCuts(engine, st, 3))
        for (const auto& s : randomCuts(engine, ss, 3))
            for (const auto& p : randomCuts(engine, sp, 3))
                tiles.push_back(box(p.first, s.first, t.first, p.second, s.second, t.second));
    return tiles;
}

/// Boxes anywhere in a small space, overlapping each other freely, also inside one list.
RegionList randomBoxes(std::mt19937_64& engine, int count)
{
    std::uniform_int_distribution<SizeType> position(0, 12);
    std::uniform_int_distribution<SizeType> extent(1, 7);
    RegionList boxes;
    for (int k = 0; k < count; ++k)
        boxes.push_back(
            box(position(engine), position(engine), position(engine), extent(engine), extent(engine), extent(engine)));
    return boxes;
}

TEST(Subdivide, OneListGivesItsRegionsInOrder)
{
    const RegionList list = {box(4, 0, 0, 2, 3, 1), box(0, 0, 0, 4, 3, 1), box(0, 0, 1, 6, 3, 5),
                             box(1, 1, 1, 2, 2, 2)};
    EXPECT_EQ(Subdivide().subdivide({list}), list);
}

TEST(Subdivide, NoListsGiveNoBoxes)
{
    EXPECT_TRUE(Subdivide().subdivide({}).empty());
    EXPECT_TRUE(Subdivide().subdivide({RegionList{box(0, 0, 0, 2, 2, 2)}, RegionList{}}).empty());
}

TEST(Subdivide, RegionsThatTouchAtAFaceGiveNoBox)
{
    // Each second region starts where the first ends, along one axis after the other.
    const Region first = box(0, 0, 0, 4, 4, 4);
    EXPECT_TRUE(Subdivide().subdivide({{first}, {box(4, 0, 0, 3, 4, 4)}}).empty());
    EXPECT_TRUE(Subdivide().subdivide({{first}, {box(0, 4, 0, 4, 3, 4)}}).empty());
    EXPECT_TRUE(Subdivide().subdivide({{first}, {box(0, 0, 4, 4, 4, 3)}}).empty());
    // Touching along an edge or a corner is no overlap either.
    EXPECT_TRUE(Subdivide().subdivide({{first}, {box(4, 4, 0, 2, 2, 4)}}).empty());
    EXPECT_TRUE(Subdivide().subdivide({{box(4, 4, 4, 1, 1, 1)}, {first}}).empty());
}

TEST(Subdivide, TouchingPairGivesNothingWhileItsNeighbourOverlaps)
{
    const RegionList result =
        Subdivide().subdivide({{box(0, 0, 0, 4, 4, 4)}, {box(4, 0, 0, 2, 4, 4), box(3, 1, 1, 2, 2, 2)}});
    EXPECT_EQ(result, (RegionList{box(3, 1, 1, 1, 2, 2)}));
}

TEST(Subdivide, TwoOverlappingBoxesGiveTheirCommonPart)
{
    EXPECT_EQ(Subdivide().subdivide({{box(0, 0, 0, 4, 4, 4)}, {box(2, 2, 2, 4, 4, 4)}}),
              (RegionList{box(2, 2, 2, 2, 2, 2)}));
    EXPECT_EQ(Subdivide().subdivide({{box(1, 5, 0, 10, 2, 3)}, {box(3, 0, 1, 2, 9, 9)}}),
              (RegionList{box(3, 5, 1, 2, 2, 2)}));
}

TEST(Subdivide, ChunksOfTwoVolumesCutEachOther)
{
    // Volume A in two chunks along tert, volume B in two along prim: four boxes of 4 x 6 x 3.
    const RegionList a = {box(0, 0, 0, 8, 6, 3), box(0, 0, 3, 8, 6, 3)};
    const RegionList b = {box(0, 0, 0, 4, 6, 6), box(4, 0, 0, 4, 6, 6)};
    const RegionList expected = {box(0, 0, 0, 4, 6, 3), box(0, 0, 3, 4, 6, 3), box(4, 0, 0, 4, 6, 3),
                                 box(4, 0, 3, 4, 6, 3)};
    EXPECT_EQ(sorted(Subdivide().subdivide({a, b})), expected);
}

TEST(Subdivide, ThreeListsNeedAllThreeToOverlap)
{
    // c's first box meets a and b only where they do not meet each other.
    const RegionList a = {box(0, 0, 0, 5, 5, 5)};
    const RegionList b = {box(3, 0, 0, 5, 5, 5)};
    const RegionList c = {box(0, 0, 0, 2, 5, 5), box(4, 1, 1, 3, 3, 3), box(7, 0, 0, 3, 5, 5)};
    EXPECT_EQ(Subdivide().subdivide({a, b, c}), (RegionList{box(4, 1, 1, 1, 3, 3)}));
}

TEST(Subdivide, BoxInsideAnotherIsKeptWhole)
{
    EXPECT_EQ(Subdivide().subdivide({{box(0, 0, 0, 10, 10, 10)}, {box(2, 3, 4, 1, 2, 3)}}),
              (RegionList{box(2, 3, 4, 1, 2, 3)}));
}

/// The boxes that hold at least one voxel.
RegionList withVoxels(const RegionList& regions)
{
    RegionList result;
    for (const Region& r : regions)
        if (r.dim.prim != 0 && r.dim.sec != 0 && r.dim.tert != 0) result.push_back(r);
    return result;
}

TEST(Subdivide, EmptyRegionAddsNoVoxels)
{
    // A volume without storage describes itself by one region of size (0, 0, 0): its start and end
    // events fall on one coordinate, the end sorted first.
    const Region empty = box(1, 1, 1, 0, 0, 0);
    EXPECT_TRUE(withVoxels(Subdivide().subdivide({{empty}, {box(0, 0, 0, 4, 4, 4)}})).empty());
    // A region that starts beyond the empty one must not be cut back to the empty one's corner.
    EXPECT_TRUE(withVoxels(Subdivide().subdivide({{empty}, {box(2, 2, 2, 2, 2, 2)}})).empty());
    EXPECT_EQ(withVoxels(Subdivide().subdivide({{box(0, 0, 0, 0, 0, 0), box(0, 0, 0, 2, 2, 2)}, {box(0, 0, 0, 4, 4, 4)}})),
              (RegionList{box(0, 0, 0, 2, 2, 2)}));
}

TEST(Subdivide, RandomTilingsGiveEveryNonEmptyIntersection)
{
    std::mt19937_64 engine(20240611);
    for (int round = 0; round < 60; ++round) {
        const int listCount = 2 + round % 3;
        std::vector<RegionList> lists;
        for (int l = 0; l < listCount; ++l) lists.push_back(randomTiling(engine, 9, 7, 8));
        const RegionList result = Subdivide().subdivide(lists);
        EXPECT_EQ(sorted(result), sorted(bruteForce(lists))) << "round " << round;
        // The boxes of tilings tile the extent again: their voxels add up to the whole.
        SizeType voxels = 0;
        for (const Region& r : result) voxels += r.dim.prim * r.dim.sec * r.dim.tert;
        EXPECT_EQ(voxels, 9u * 7u * 8u) << "round " << round;
    }
}

TEST(Subdivide, RandomBoxesGiveEveryNonEmptyIntersection)
{
    std::mt19937_64 engine(77);
    for (int round = 0; round < 200; ++round) {
        const int listCount = 1 + round % 4;
        std::vector<RegionList> lists;
        for (int l = 0; l < listCount; ++l) lists.push_back(randomBoxes(engine, 1 + (round / 4) % 5));
        EXPECT_EQ(sorted(Subdivide().subdivide(lists)), sorted(bruteForce(lists))) << "round " << round;
    }
}

} // namespace
