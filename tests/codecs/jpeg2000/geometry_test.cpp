// Geometry, orders and tag trees: everything that needs no picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <tuple>

#include "bits.h"
#include "geometry.h"
#include "progression.h"
#include "tagtree.h"

namespace {

using namespace j2k;

ImageShape shapeOf(Rect image, int tileWidth, int tileHeight, int components) {
  ImageShape shape;
  shape.image = image;
  shape.firstTile = {0, 0, tileWidth, tileHeight};
  for (int c = 0; c < components; ++c) shape.components.push_back({8, false, 1 + c % 2, 1 + c % 3});
  return shape;
}

/// Every sample of every band lies in exactly one block of one precinct.
void expectBlocksTile(const Resolution& r) {
  for (int b = 0; b < r.bandCount; ++b) {
    const Rect& band = r.bands[size_t(b)].rect;
    std::vector<int> covered(size_t(band.width() * band.height()), 0);
    for (int64_t p = 0; p < r.precincts(); ++p) {
      const BlockGrid grid = r.blocks(b, p);
      for (int y = 0; y < grid.high; ++y) {
        for (int x = 0; x < grid.wide; ++x) {
          const Rect block = grid.block(x, y);
          ASSERT_FALSE(block.empty());
          for (int64_t v = block.y0; v < block.y1; ++v) {
            for (int64_t u = block.x0; u < block.x1; ++u) {
              ++covered[size_t((v - band.y0) * band.width() + u - band.x0)];
            }
          }
        }
      }
    }
    EXPECT_TRUE(std::all_of(covered.begin(), covered.end(), [](int n) { return n == 1; }));
  }
}

TEST(Geometry, BlocksCoverEveryBandOnceWhateverTheOffset) {
  for (const Rect image : {Rect{0, 0, 61, 47}, Rect{5, 9, 61, 48}, Rect{33, 1, 34, 90}}) {
    const ImageShape shape = shapeOf(image, 40, 30, 2);
    for (int64_t t = 0; t < shape.tiles(); ++t) {
      Partition partition;
      partition.levels = 3;
      partition.blockWidth = 3;
      partition.blockHeight = 2;
      partition.precincts.fill(0x34);
      for (int c = 0; c < 2; ++c) {
        const TileComponent component(shape.tile(t), shape.components[size_t(c)], partition);
        int64_t samples = 0;
        for (const Resolution& r : component.resolutions) {
          expectBlocksTile(r);
          for (int b = 0; b < r.bandCount; ++b) {
            samples += r.bands[size_t(b)].rect.width() * r.bands[size_t(b)].rect.height();
          }
        }
        EXPECT_EQ(component.rect.width() * component.rect.height(), samples);
      }
    }
  }
}

TEST(Geometry, ABandsCornersAreThoseOfTheStandardsFormula) {
  // T.800 B-15 for a tile-component of [x0, x1) and the bands of its second decomposition.
  const Rect tile = {7, 10, 50, 31};
  Partition partition;
  partition.levels = 2;
  const TileComponent component(tile, {8, false, 1, 1}, partition);
  const auto corner = [](int64_t v, int64_t o) { return ceilDiv(v - 2 * o, 4); };
  for (const Band& band : component.resolutions[1].bands) {
    const int64_t x = band.orientation & 1, y = band.orientation >> 1;
    EXPECT_EQ(band.rect, (Rect{corner(7, x), corner(10, y), corner(50, x), corner(31, y)}));
  }
}

/// Packets as loops over positions tell them (B.12.1.4), which is slow and obviously right.
std::vector<std::tuple<int, int, int64_t>> byPosition(
    const Rect& tile, const ImageShape& shape, const std::vector<TileComponent>& components) {
  std::vector<std::tuple<int, int, int64_t>> list;
  for (int64_t y = tile.y0; y < tile.y1; ++y) {
    for (int64_t x = tile.x0; x < tile.x1; ++x) {
      for (size_t c = 0; c < components.size(); ++c) {
        const int levels = int(components[c].resolutions.size()) - 1;
        for (const Resolution& r : components[c].resolutions) {
          if (r.precincts() == 0) continue;
          const int down = levels - r.index;
          const auto turn = [down](int64_t at, int64_t d, int exponent, int64_t tile0, int64_t r0) {
            return at % (d << (exponent + down)) == 0 ||
                   (at == tile0 && (r0 << down) % (int64_t(1) << (exponent + down)) != 0);
          };
          const ComponentShape& s = shape.components[c];
          if (!turn(y, s.dy, r.precinctHeight, tile.y0, r.rect.y0)) continue;
          if (!turn(x, s.dx, r.precinctWidth, tile.x0, r.rect.x0)) continue;
          const auto cell = [down](int64_t at, int64_t d, int exponent, int64_t r0) {
            return (ceilDiv(at, d << down) >> exponent) - (r0 >> exponent);
          };
          list.emplace_back(int(c), r.index,
                            cell(x, s.dx, r.precinctWidth, r.rect.x0) +
                                r.precinctsWide * cell(y, s.dy, r.precinctHeight, r.rect.y0));
        }
      }
    }
  }
  return list;
}

TEST(Progression, OrderByPositionIsThatOfTheStandardsLoops) {
  for (const Rect image : {Rect{0, 0, 70, 61}, Rect{11, 6, 70, 61}}) {
    const ImageShape shape = shapeOf(image, 37, 40, 3);
    Coding coding;
    coding.order = Order::pcrl;
    coding.components.resize(3);
    std::vector<Partition> partitions(3);
    for (int c = 0; c < 3; ++c) {
      partitions[size_t(c)].levels = c + 1;
      partitions[size_t(c)].precincts.fill(uint8_t(0x32 + c));
    }
    for (int64_t t = 0; t < shape.tiles(); ++t) {
      std::vector<TileComponent> components;
      for (size_t c = 0; c < 3; ++c) {
        components.emplace_back(shape.tile(t), shape.components[c], partitions[c]);
      }
      PacketOrder order(shape.tile(t), shape, components, coding);
      std::vector<std::tuple<int, int, int64_t>> got;
      while (const auto p = order.next())
        got.emplace_back(p->component, p->resolution, p->precinct);
      EXPECT_EQ(byPosition(shape.tile(t), shape, components), got) << t;
    }
  }
}

TEST(Progression, EveryOrderAndChangeOfOrderYieldsEveryPacketOnce) {
  const ImageShape shape = shapeOf({3, 5, 90, 75}, 90, 75, 3);
  std::vector<TileComponent> components;
  size_t packets = 0;
  Partition partition;
  partition.levels = 3;
  partition.precincts.fill(0x44);
  Coding coding;
  coding.layers = 4;
  for (size_t c = 0; c < 3; ++c) {
    components.emplace_back(shape.tile(0), shape.components[c], partition);
    for (const Resolution& r : components[c].resolutions) packets += size_t(r.precincts()) * 4;
  }
  std::vector<std::vector<Progression>> changes(6);
  changes[5] = {{Order::rlcp, 0, 2, 0, 3, 2},
                {Order::cprl, 1, 4, 1, 2, 3},
                {Order::pcrl, 0, 9, 0, 300, 9},
                {Order::lrcp, 0, 9, 0, 300, 9}};
  for (int i = 0; i < 6; ++i) {
    coding.order = Order(std::min(i, 4));
    coding.changes = changes[size_t(i)];
    PacketOrder order(shape.tile(0), shape, components, coding);
    std::set<std::tuple<int, int, int64_t, int>> seen;
    std::map<std::tuple<int, int, int64_t>, int> layers;
    size_t count = 0;
    while (const auto p = order.next()) {
      ++count;
      seen.emplace(p->component, p->resolution, p->precinct, p->layer);
      EXPECT_EQ(p->layer, (layers[{p->component, p->resolution, p->precinct}]++)) << i;
    }
    EXPECT_EQ(packets, count) << i;
    EXPECT_EQ(packets, seen.size()) << i;
  }
}

TEST(TagTree, TellsValuesLayerByLayerInTheFewestBits) {
  std::mt19937 random(3);
  for (const auto& [wide, high] : {std::pair(1, 1), {3, 2}, {6, 3}, {1, 9}, {17, 5}}) {
    std::vector<int32_t> values;
    for (int i = 0; i < wide * high; ++i) values.push_back(int32_t(random() % 7));
    TagTree writer(wide, high), reader(wide, high);
    std::vector<uint8_t> bytes;
    BitWriter out(bytes);
    for (size_t i = 0; i < values.size(); ++i) writer.setValue(int(i), values[i]);
    for (int threshold = 1; threshold <= 7; ++threshold) {
      for (size_t i = 0; i < values.size(); ++i) writer.write(out, int(i), threshold);
    }
    out.align();
    BitReader in(bytes);
    for (int threshold = 1; threshold <= 7; ++threshold) {
      for (size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(values[i] < threshold, reader.readBelow(in, int(i), threshold));
      }
    }
    in.align();
    EXPECT_FALSE(in.ended());
    EXPECT_EQ(bytes.size(), in.position());
  }
  // The example of B.10.2: a grid of 6 x 3, whose first value is 1 below 1 below 1 below 1.
  TagTree tree(6, 3);
  const std::vector<int32_t> example = {1, 3, 2, 3, 2, 3, 2, 2, 1, 4, 3, 2, 2, 2, 2, 2, 1, 2};
  for (size_t i = 0; i < example.size(); ++i) tree.setValue(int(i), example[i]);
  std::vector<uint8_t> bytes;
  BitWriter out(bytes);
  tree.write(out, 0, tagUnknown);
  tree.write(out, 1, tagUnknown);
  tree.write(out, 2, tagUnknown);
  out.align();
  // 01111 001 101 and padding
  EXPECT_EQ((std::vector<uint8_t>{0b01111001, 0b10100000}), bytes);
}

TEST(Bits, AByteOfOnesIsFollowedBySevenBits) {
  std::vector<uint8_t> bytes;
  BitWriter out(bytes);
  out.bits(0xFFFF, 16);
  out.align();
  EXPECT_EQ((std::vector<uint8_t>{0xFF, 0x7F, 0x80}), bytes);
  bytes.clear();
  BitWriter ones(bytes);
  ones.bits(0xFF, 8);
  ones.align();
  EXPECT_EQ((std::vector<uint8_t>{0xFF, 0x00}), bytes) << "a header never ends with ones";
  BitReader in(bytes);
  EXPECT_EQ(0xFFU, in.bits(8));
  in.align();
  EXPECT_EQ(2U, in.position());
}

}  // namespace
