// Every option with every other, both ways: what OpenJPEG's programs write is decoded as they
// decode it, and they decode what is written here.
#include "j2kpeerkit.h"
#include "pairwise.h"

namespace {

using namespace j2kkit;
using j2k::Options;
using j2k::Wavelet;

bool isExhaustive() { return std::getenv("TAZMET_EXHAUSTIVE") != nullptr; }

/// Rows to try: of a table the first ones, which have most pairs; else several whole tables.
std::vector<pairwise::Row> rowsToTry(const std::vector<size_t>& choices) {
  constexpr unsigned tables = 5;
  constexpr size_t few = 24;
  if (isExhaustive()) {
    std::vector<pairwise::Row> all;
    for (unsigned seed = 1; seed <= tables; ++seed) {
      const auto more = pairwise::rows(choices, seed);
      all.insert(all.end(), more.begin(), more.end());
    }
    return all;
  }
  auto rows = pairwise::rows(choices, 1);
  rows.resize(std::min(rows.size(), few));
  return rows;
}

TEST(Pairwise, EveryTwoChoicesMeet) {
  const std::vector<size_t> choices = {5, 2, 1, 8, 3, 4};
  const auto rows = pairwise::rows(choices, 7);
  EXPECT_GT(8U * 5 * 2, rows.size());
  for (size_t a = 0; a < choices.size(); ++a) {
    for (size_t b = 0; b < a; ++b) {
      std::vector<bool> met(choices[a] * choices[b], false);
      for (const auto& row : rows) met[row[a] * choices[b] + row[b]] = true;
      EXPECT_EQ(std::vector<bool>(met.size(), true), met) << a << " " << b;
    }
  }
}

/// Pictures by colours, depth and size.
Picture pictureOf(size_t kind) {
  switch (kind) {
    case 0:
      return photograph(157, 111);
    case 1:
      return waves(90, 70, 1, 8);
    case 2:
      return waves(61, 83, 3, 12);
    case 3:
      return waves(33, 9, 1, 16);
    case 4:
      return photograph(3, 5);
    default:
      return waves(130, 1, 1, 8);
  }
}
constexpr size_t kPictures = 6;
bool isTiny(size_t kind) { return kind > 2; }

// ---- theirs ----

using Column = std::vector<const char*>;

/// Columns of opj_compress's arguments; behind the picture's kind.
const std::vector<Column>& theirColumns() {
  static const std::vector<Column> columns = {
      {"", "-I"},
      {"-mct 0", ""},
      {"-n 6", "-n 1", "-n 2", "-n 4"},
      {"", "-b 32,32", "-b 4,4", "-b 16,64", "-b 1024,4"},
      {"", "-c [128,64]", "-c [64,64],[32,32]", "-c [32,32]"},
      {"", "-t 64,50", "-t 100,90 -d 17,33", "-d 3,5 -T 1,2 -t 64,50", "-d 17,33", "-t 100,90"},
      {"-p LRCP", "-p RLCP", "-p RPCL", "-p PCRL", "-p CPRL"},
      {"-M 0", "-M 1", "-M 2", "-M 4", "-M 8", "-M 16", "-M 32", "-M 63"},
      {"", "-r 20,8,1", "-r 15,5", "-q 30,40"},
      {"", "-SOP", "-EPH", "-SOP -EPH"},
      {"", "-TLM", "-PLT", "-TLM -PLT"},
      {"", "-TP R", "-TP L", "-TP C"},
      {"", "-ROI c=0,U=12"},
      {"", "-GuardBits 4"},
      {"j2k", "jp2"},
  };
  return columns;
}

struct TheirRow {
  size_t picture;
  std::string arguments;
  const char* kind;  ///< of file
  bool isReversible;

  bool isWhole() const {
    return isReversible && arguments.find("-r ") == std::string::npos &&
           arguments.find("-q") == std::string::npos;
  }
};

/// What release 2.5 cannot do, or makes broken files of without a word.
bool suits(const std::string& argument, const TheirRow& row) {
  const auto is = [&](const char* key) { return argument.rfind(key, 0) == 0; };
  const auto has = [&](const char* key) { return row.arguments.find(key) != std::string::npos; };
  const bool isGrey = row.picture == 1 || row.picture == 3 || row.picture == 5;
  if (is("-mct") && isGrey) return false;
  // Headers that do not fit are cut, and so are symbols at the ends of segments.
  if ((is("-r") || is("-q")) && (isTiny(row.picture) || has("-M 32"))) return false;
  // Its decoder takes single odd samples for doubled ones, as the standard has it; its encoder does
  // not double them.
  if (argument.find("-d ") != std::string::npos && isTiny(row.picture)) return false;
  // Its decoder counts the planes behind which bypass begins without those of the shift, and what
  // is left of cut coefficients is rounded otherwise; deep samples leave no planes above them.
  if (is("-ROI")) {
    return !has("-I") && !has("-r ") && !has("-q") && !has("-M 1 ") && !has("-M 63") &&
           row.picture < 2;
  }
  if (is("-TP C") && has("-r ")) return false;  // layers of small tiles lose packets
  // Orders by position end a part at nearly every packet, and there are only 255 of a tile.
  return !is("-TP") || has("-p LRCP") || has("-p RLCP");
}

std::vector<TheirRow> theirRows() {
  const std::vector<Column>& columns = theirColumns();
  std::vector<size_t> choices = {kPictures};
  for (const Column& column : columns) choices.push_back(column.size());
  std::vector<TheirRow> list;
  for (const pairwise::Row& row : rowsToTry(choices)) {
    TheirRow made{row[0], "", columns.back()[row.back()], row[1] == 0};
    for (size_t c = 0; c + 1 < columns.size(); ++c) {
      const std::string argument = columns[c][row[c + 1]];
      if (!argument.empty() && suits(argument, made)) made.arguments += " " + argument;
    }
    list.push_back(std::move(made));
  }
  return list;
}

class Matrix : public Compress {
 protected:
  /// What their encoder makes of a picture; nothing where it refuses the arguments.
  Bytes encodedByThem(const char* picture, const std::string& name,
                      const std::string& arguments) const {
    std::filesystem::remove(file(name.c_str()));
    const bool good = std::system(("opj_compress -i " + file(picture) + " -o " +
                                   file(name.c_str()) + arguments + " > /dev/null 2>&1")
                                      .c_str()) == 0;
    return good ? read(name.c_str()) : Bytes();
  }
  /// What their decoder makes of a file; no planes when it fails.
  Picture decodedByThem(const std::string& name, const std::string& how = "") const {
    const std::string out = file("out.pnm");
    std::filesystem::remove(out);
    const std::string command =
        "opj_decompress -i " + file(name.c_str()) + " -o " + out + " " + how + " > /dev/null 2>&1";
    return std::system(command.c_str()) == 0 ? fromAnymap(read("out.pnm")) : Picture();
  }
};

TEST_F(Matrix, TheirFilesDecodeAsTheyDecodeThem) {
  size_t tried = 0;
  const std::vector<TheirRow> rows = theirRows();
  for (const TheirRow& row : rows) {
    SCOPED_TRACE("picture " + std::to_string(row.picture) + row.arguments);
    write("in.pnm", anymap(pictureOf(row.picture)));
    const std::string name = std::string("x.") + row.kind;
    const Bytes stream = encodedByThem("in.pnm", name, row.arguments);
    if (stream.empty()) continue;
    const Picture theirs = decodedByThem(name);
    if (theirs.planes.empty()) continue;
    ++tried;
    const Picture ours = decodedWell(stream);
    expectConformance(theirs, ours, row.isReversible);
    if (row.isWhole()) {
      EXPECT_EQ(pictureOf(row.picture).planes, ours.planes);
    }
  }
  EXPECT_LE(rows.size() * 3 / 4, tried) << "rows that their encoder and decoder take";
}

TEST_F(Matrix, TheirRegionsAndReductionsAreOurs) {
  Picture picture = photograph(157, 111);
  write("in.ppm", anymap(picture));
  int tried = 0;
  for (const TheirRow& row : theirRows()) {
    if (row.arguments.find("-n 1") != std::string::npos ||
        row.arguments.find("-d ") != std::string::npos) {
      continue;
    }
    const Bytes stream = encodedByThem("in.ppm", "x.j2k", row.arguments);
    if (stream.empty()) continue;
    for (const char* const how : {"-r 1", "-d 40,30,99,77"}) {
      SCOPED_TRACE(row.arguments + " decoded with " + how);
      Options o;
      if (how[1] == 'r') {
        o.reduce = 1;
      } else {
        o.crop = {40, 30, 59, 47};
      }
      expectConformance(decodedByThem("x.j2k", how), decodedWell(stream, o), row.isReversible);
      ++tried;
    }
  }
  EXPECT_LE(4, tried);
}

// ---- ours ----

/// A column of our options: how many choices there are, and how one is taken.
struct OurColumn {
  size_t choices;
  void (*take)(size_t choice, Options& o);
};

constexpr OurColumn kGeometry[] = {
    {4, [](size_t i, Options& o) { o.levels = int(i == 3 ? 5 : i); }},
    {3,
     [](size_t i, Options& o) {
       o.tileWidth = i == 1 ? 50 : i == 2 ? 64 : 0;
       o.tileHeight = i == 1 ? 50 : i == 2 ? 33 : 0;
     }},
    {4,
     [](size_t i, Options& o) {
       if (i == 1) o.precincts = {{0, 0, 64, 64}, {0, 0, 32, 32}};
       if (i == 2) o.precincts = {{0, 0, 128, 32}};
       if (i == 3) o.precincts = {{0, 0, 256, 256}, {0, 0, 16, 64}};
     }},
    {5,
     [](size_t i, Options& o) {
       static constexpr int sizes[][2] = {{64, 64}, {16, 32}, {4, 4}, {4, 1024}, {512, 8}};
       o.blockWidth = sizes[i][0];
       o.blockHeight = sizes[i][1];
     }},
    {3,
     [](size_t i, Options& o) {
       o.offsetX = i == 1 ? 3 : i == 2 ? 17 : 0;
       o.offsetY = i == 1 ? 5 : i == 2 ? 32 : 0;
     }},
};
constexpr OurColumn kCoding[] = {
    {2, [](size_t i,
           Options& o) { o.wavelet = i == 0 ? Wavelet::reversible53 : Wavelet::irreversible97; }},
    {2, [](size_t i, Options& o) { o.transform = i == 0 ? -1 : 0; }},
    {8, [](size_t i, Options& o) { o.style = i == 0   ? 0
                                             : i == 7 ? 63
                                                      : 1 << (i - 1); }},
    {5,
     [](size_t i, Options& o) {
       o.layers = i == 1 ? 3 : 1;
       if (i == 2) o.ratios = {12};
       if (i == 3) o.ratios = {30, 10, 4};
       if (i == 4) o.psnr = {30, 38};
     }},
    {2, [](size_t i, Options& o) { o.derivedSteps = i == 1; }},
    {2, [](size_t i, Options& o) { o.guardBits = i == 1 ? 4 : 2; }},
    {2,
     [](size_t i, Options& o) {
       if (i == 1) o.roi = {1, 0, 2, 1};
     }},
};
constexpr OurColumn kStream[] = {
    {5, [](size_t i, Options& o) { o.progress = j2k::Progress(i); }},
    {4, [](size_t i, Options& o) { o.tileParts = "\0RLC"[i]; }},
    {3, [](size_t i, Options& o) { o.packedHeaders = "\0MT"[i]; }},
    {4,
     [](size_t i, Options& o) {
       o.sop = i % 2 == 1;
       o.eph = i / 2 == 1;
     }},
    {4,
     [](size_t i, Options& o) {
       o.tlm = i % 2 == 1;
       o.plt = i / 2 == 1;
     }},
    {2, [](size_t i, Options& o) { o.rawStream = i == 1; }},
    {2, [](size_t i, Options& o) { o.threads = i == 1 ? 3 : 1; }},
};

std::vector<OurColumn> ourColumns() {
  std::vector<OurColumn> all;
  for (const auto columns : {std::span<const OurColumn>(kGeometry), {kCoding}, {kStream}}) {
    all.insert(all.end(), columns.begin(), columns.end());
  }
  return all;
}

std::string told(size_t picture, const pairwise::Row& row) {
  std::string text = "picture " + std::to_string(picture) + ", choices";
  for (const size_t choice : row) text += " " + std::to_string(choice);
  return text;
}

/// A region that picture and coder have room for.
void fitRegion(const Picture& picture, Options& o) {
  const int width = picture.info.width, height = picture.info.height;
  o.roi = {width / 4, height / 3, width / 2, height / 3 + 1};
  // Deep samples leave no planes above them.
  if (picture.info.components[0].precision > 8) o.roi = {};
  o.guardBits = 2;
  // Release 2.5 counts the planes behind which bypass begins without those of the shift, and leaves
  // out the half that a quantised coefficient in the region has lost.
  o.style &= ~1;
  o.wavelet = Wavelet::reversible53;
  o.ratios.clear();
  o.psnr.clear();
}

TEST_F(Matrix, OurFilesAreDecodedByThemAsHere) {
  const std::vector<OurColumn> columns = ourColumns();
  std::vector<size_t> choices;
  for (const OurColumn& column : columns) choices.push_back(column.choices);
  choices.push_back(kPictures);
  size_t tried = 0;
  const auto rows = rowsToTry(choices);
  for (const pairwise::Row& row : rows) {
    SCOPED_TRACE(told(row.back(), row));
    Picture picture = pictureOf(row.back());
    Options o;
    for (size_t c = 0; c < columns.size(); ++c) columns[c].take(row[c], o);
    if (!o.roi.empty()) fitRegion(picture, o);
    if (isTiny(row.back())) {
      // Headers would not fit, and cut coefficients of single samples are rounded otherwise there.
      o.ratios.clear();
      o.psnr.clear();
    }
    const bool isReversible = o.wavelet == Wavelet::reversible53;
    Bytes stream;
    Messages messages;
    if (j2k::encodePicture(o, messages, picture.info, picture.views(), stream) != j2k::Status::ok) {
      EXPECT_TRUE(messages.has(111)) << messages.text << "only headers may not fit";
      continue;
    }
    ++tried;
    const char* const name = o.rawStream ? "x.j2k" : "x.jp2";
    write(name, stream);
    const Picture ours = decodedWell(stream);
    expectConformance(decodedByThem(name), ours, isReversible);
    if (isReversible && o.ratios.empty() && o.psnr.empty()) {
      EXPECT_EQ(picture.planes, ours.planes);
    }
  }
  EXPECT_LE(rows.size() * 9 / 10, tried);
}

}  // namespace
