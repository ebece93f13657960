// Restart intervals read side by side: the same pictures and warnings as by one thread, whatever
// has happened to the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "decoder.h"
#include "jpegbytes.h"

namespace {

using namespace jpegkit;
using jpeg::Color;
using jpeg::Status;
using Factors = std::vector<std::pair<int, int>>;

/// Places of a file's restart markers.
std::vector<size_t> restartsOf(const Bytes& file) {
  std::vector<size_t> places;
  for (size_t at = 2; at + 1 < file.size(); ++at) {
    if (file[at] == 0xFF && file[at + 1] >= 0xD0 && file[at + 1] <= 0xD7) places.push_back(at);
  }
  return places;
}

struct Damage {
  const char* name;
  Bytes file;
};

/// What happens to files with markers, each case within the first third, in the middle and at the
/// end.
std::vector<Damage> damagesOf(const Bytes& file) {
  const std::vector<size_t> at = restartsOf(file);
  std::vector<Damage> all{{"none", file}};
  // More than a reader reads ahead; and any marker may be where one task ends and the next begins.
  for (const size_t place : at) {
    all.push_back({"bytes in front of a marker", inserted(file, place, Bytes(20, 0x12))});
  }
  for (const size_t i : {at.size() / 4, at.size() / 2, at.size() - 2}) {
    const auto begin = file.begin() + ptrdiff_t(at[i]), next = file.begin() + ptrdiff_t(at[i + 1]);
    Bytes changed = file;
    std::fill(changed.begin() + ptrdiff_t(at[i] + 2), changed.begin() + ptrdiff_t(at[i + 1]), 0x55);
    all.push_back({"an interval of other bytes", changed});
    changed = file;
    changed.erase(changed.begin() + (begin - file.begin()),
                  changed.begin() + (next - file.begin()));
    all.push_back({"an interval is missing", changed});
    changed = file;
    changed.erase(changed.begin() + (begin - file.begin()),
                  changed.begin() + (begin - file.begin()) + 2);
    all.push_back({"a marker is missing", changed});
    all.push_back({"an interval twice", inserted(file, at[i], Bytes(begin, next))});
    all.push_back({"fill bytes", inserted(file, at[i], {0xFF, 0xFF})});
    all.push_back({"the end of the image", inserted(file, at[i], {0xFF, 0xD9})});
    all.push_back({"cut short", Bytes(file.begin(), next - 3)});
    changed = file;
    changed[at[i] + 1] = uint8_t(0xD0 | ((changed[at[i] + 1] + 2) & 7));
    all.push_back({"another marker's number", changed});
    changed = file;
    changed[(at[i] + at[i + 1]) / 2] ^= 0x10;
    all.push_back({"a bit", changed});
  }
  return all;
}

TEST(JpegThreads, DamagedIntervalsAreReadAsByOneThread) {
  struct Shape {
    int width, height, interval;
    Factors factors;
  };
  // Intervals shorter than rows, as long, longer, and such that begin anywhere.
  const Factors s420{{2, 2}, {1, 1}, {1, 1}}, s444{{1, 1}, {1, 1}, {1, 1}};
  for (const Shape& s : {Shape{50, 700, 1, s420},
                         {130, 600, 9, s420},
                         {40, 700, 5, s444},
                         {90, 1100, 14, s420},
                         {64, 400, 24, s444}}) {
    const Bytes file =
        peerEncode(picture(s.width, s.height, Color::rgb),
                   {.quality = 60, .factors = s.factors, .restartInterval = s.interval});
    for (const Damage& damage : damagesOf(file)) {
      const Decoded one = decode(damage.file);
      if (damage.file == file) {
        EXPECT_EQ(Status::ok, one.status);
      }
      for (const int threads : {2, 5}) {
        SCOPED_TRACE(std::string(damage.name) + ", every " + std::to_string(s.interval) + " by " +
                     std::to_string(threads));
        const Decoded several =
            decode(damage.file, [&](jpeg::DecodeOptions& o) { o.threads = threads; });
        EXPECT_EQ(one.status, several.status);
        EXPECT_EQ(one.warnings, several.warnings);
        ASSERT_TRUE(one.picture.pixels == several.picture.pixels);
      }
    }
  }
}

/// How many tasks there are for the first rows of a file.
int tasksOf(const Bytes& file, int rows, int most) {
  jpeg::MarkerReader markers(file);
  jpeg::Found found = jpeg::Found::end;
  jpeg::Warnings warnings;
  jpeg::ScanTables tables;
  jpeg::ScanReader reader;
  EXPECT_EQ(Status::ok, markers.start());
  EXPECT_EQ(Status::ok, markers.next(&found));
  const jpeg::Frame& frame = markers.frame();
  EXPECT_EQ(Status::ok, tables.prepare(frame, markers.scan(), markers.tables(), &warnings));
  EXPECT_EQ(Status::ok, reader.start(file, markers.position()));
  const jpeg::ScanJob job{&frame,  &markers.scan(), &tables, markers.tables().restartInterval,
                          &reader, &warnings};
  jpeg::RowsReader rowsReader(job, most);
  std::vector<jpeg::CoefficientBlock> blocks(frame.blocks());
  std::vector<uint8_t> last(frame.blocks());
  EXPECT_EQ(Status::ok, rowsReader.begin({0, rows, blocks.data(), last.data()}));
  return rowsReader.tasks();
}

TEST(JpegThreads, RowsAreSharedWhereTheirMarkersStand) {
  const auto encoded = [](int interval) {
    return peerEncode(picture(64, 64, Color::gray), {.restartInterval = interval});
  };
  EXPECT_EQ(1, tasksOf(encoded(0), 8, 4));
  EXPECT_EQ(4, tasksOf(encoded(8), 8, 4));
  EXPECT_EQ(4, tasksOf(encoded(5), 8, 4));
  EXPECT_EQ(2, tasksOf(encoded(40), 8, 4));
  EXPECT_EQ(1, tasksOf(encoded(40), 5, 4)) << "an interval ends with the rows";
  EXPECT_EQ(1, tasksOf(encoded(100), 8, 4)) << "an interval is longer than the picture";
  EXPECT_EQ(0, tasksOf(encoded(8), 0, 4));
  const Bytes file = encoded(8);
  const std::vector<size_t> at = restartsOf(file);
  ASSERT_EQ(7u, at.size());
  EXPECT_EQ(2, tasksOf(Bytes(file.begin(), file.begin() + ptrdiff_t(at[3])), 8, 4))
      << "the other markers are cut off";
  EXPECT_EQ(1, tasksOf(inserted(file, at[0], {0xFF, 0xD3}), 8, 4)) << "a marker out of order";
}

}  // namespace
