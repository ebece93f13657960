// The catalogue of diagnostics: numbers, texts, and a case that meets each of them.
#include <functional>
#include <algorithm>
#include <new>
#include <set>

#include "damagekit.h"
#include "picture.h"

namespace {

using namespace j2kkit;
using j2k::Options;

TEST(Catalogue, NumbersAreAscendingAndTextsComplete) {
  int last = 0;
  std::set<std::string> summaries;
  for (const j2k::DiagnosticText& d : j2k::diagnosticTexts()) {
    EXPECT_LT(last, d.number);
    last = d.number;
    EXPECT_EQ(d.number >= 500, d.severity == j2k::Severity::warning) << d.number;
    EXPECT_TRUE(summaries.insert(d.summary).second) << d.number;
    EXPECT_LT(60U, std::string(d.text).size()) << d.number;
  }
}

/// What is told about a file decoded with these options.
Messages of(const Bytes& file, const Options& options = {}) {
  Messages messages;
  decoded(file, options, messages);
  return messages;
}

/// What is told when pixels are made of it.
Messages pixels(const Bytes& file) {
  Messages messages;
  j2k::Pixels made;
  j2k::PictureInfo info;
  (void)j2k::decodePixels({}, messages, file, 16, made, info);
  return messages;
}

Messages encoding(const Options& options) {
  Messages messages;
  Picture picture = small();
  Bytes file;
  EXPECT_NE(j2k::Status::ok,
            j2k::encodePicture(options, messages, picture.info, picture.views(), file));
  return messages;
}

Options asked(const std::function<void(Options&)>& set) {
  Options options;
  set(options);
  return options;
}

/// A file of boxes with some bytes of a box changed, counted from its type.
Bytes box(const char* type, size_t offset, const Bytes& bytes) {
  Bytes file = boxed();
  const size_t at = typeAt(file, type) + offset;
  std::copy(bytes.begin(), bytes.end(), file.begin() + std::ptrdiff_t(at));
  return file;
}

/// A file with a box at the end of its header super box.
Bytes headerBox(const Bytes& content, int components = 1) {
  Picture picture = waves(20, 10, components);
  return withBoxes(encoded(picture, {}), content);
}

/// A stream with a segment in the header of its only tile-part, which reaches to the end.
Bytes inTilePart(const Bytes& segment) {
  Bytes file = stream();
  put(file, find(file, sotMarker) + 6, 0, 4);
  insert(file, find(file, sodMarker), segment);
  return file;
}

Bytes cut(Bytes file, size_t bytes) {
  file.resize(file.size() - bytes);
  return file;
}

/// A picture and a tile of 2^32 - 1 in both directions.
Bytes largest() {
  Bytes file = stream();
  const size_t siz = find(file, sizMarker);
  for (const size_t at : {6U, 10U, 22U, 26U}) put(file, siz + at, 0xFFFFFFFF, 4);
  return file;
}

/// Changes of progression without end over as many components as there may be.
Bytes endlessChanges() {
  // Without component transform no component has steps of its own.
  Bytes file = stream(asked([](Options& o) { o.transform = 0; }));
  const size_t siz = find(file, sizMarker);
  constexpr int components = 16384;
  Bytes extra;
  for (int c = 3; c < components; ++c) extra.insert(extra.end(), {7, 255, 255});
  put(file, siz + 38, components, 2);
  put(file, siz + 2, uint32_t(38 + 3 * components), 2);
  insert(file, siz + 40 + 9, extra);
  Bytes poc = {0xFF, 0x5F, 0, 0};
  for (int i = 0; i < 7000; ++i) poc.insert(poc.end(), {0, 0, 0, 0, 1, 33, 0x40, 0, 0});
  put(poc, 2, uint32_t(poc.size() - 2), 2);
  insert(file, find(file, comMarker), poc);
  return file;
}

/// Packets with SOP markers, of which one header is nothing but ones.
Bytes damagedPacket() {
  Bytes file = sopStream();
  const size_t sod = find(file, sodMarker);
  const size_t at = find(file, 0xFF91, sod + (file.size() - sod) / 2) + 6;
  for (size_t i = at; i < at + 16; ++i) file[i] = i % 2 == at % 2 ? 0xFF : 0x7F;
  return file;
}

/// An SOP marker that counts three packets too many.
Bytes wrongSop() {
  Bytes file = damagedPacket();
  const size_t second = find(file, 0xFF91, find(file, 0xFF91) + 1);
  put(file, second + 4, 4, 2);
  return file;
}

Bytes sopUnannounced() {
  Bytes file = stream(asked([](Options& o) { o.sop = true; }));
  file[find(file, codMarker) + 4] &= uint8_t(~2);
  return file;
}

Bytes wrongBlock() {
  Bytes file = stream(asked([](Options& o) { o.style = 32; }));
  // Segmentation symbols are announced, and bytes in the middle of a block are others.
  for (size_t i = file.size() * 3 / 4; i < file.size() * 3 / 4 + 20; ++i) file[i] ^= 0x55;
  return file;
}

/// An allocation that fails, wherever it be: here what listens has no memory.
class NoMemory : public Messages {
 public:
  void line(std::string_view) override { throw std::bad_alloc(); }
};

Messages outOfMemory() {
  NoMemory messages;
  decoded(stream(), asked([](Options& o) { o.listing = true; }), messages);
  return static_cast<const Messages&>(messages);  // what was told until then
}

Bytes packedTooShort() {
  Bytes file = stream(asked([](Options& o) { o.packedHeaders = 'M'; }));
  put(file, find(file, 0xFF60) + 5, 100000, 4);
  return file;
}

Bytes deepPlanes() {
  Bytes file = stream();
  const size_t qcd = find(file, qcdMarker);
  file[qcd + 4] = 7 << 5;
  for (size_t i = qcd + 5; i < qcd + 5 + 16; ++i) file[i] = 31 << 3;
  return file;
}

Bytes palette(int entries, int column) {
  Bytes content = {
      0, 0,  0,   20,  'p', 'c', 'l', 'r', 0, uint8_t(entries), 1, 7, 1, 2, 3, 4, 5, 6, 7, 8, 0, 0,
      0, 12, 'c', 'm', 'a', 'p', 0,   0,   1, uint8_t(column)};
  return headerBox(content);
}

struct MetBy {
  int number;
  Messages (*meet)();
};

const MetBy cases[] = {
    {101,
     [] {
       return of({1, 2, 3});
     }},
    {102,
     [] {
       return of(box("jp2c", 0, {'j', 'p', '2', 'd'}));
     }},
    {103, [] { return of(largest()); }},
    {104, outOfMemory},
    {105, [] { return of(endlessChanges()); }},
    {106, [] { return of(stream(), asked([](Options& o) { o.component = 9; })); }},
    {107, [] { return of(stream(), asked([](Options& o) {
                           o.crop = {99, 0, 5, 5};
                         })); }},
    {108, [] { return of(stream(), asked([](Options& o) { o.reduce = 9; })); }},
    {109, [] { return encoding(asked([](Options& o) { o.levels = 33; })); }},
    {110, [] { return pixels(headerBox({}, 5)); }},
    {111, [] { return encoding(asked([](Options& o) { o.ratios = {100000}; })); }},
    {201,
     [] {
       return of(box("jp2c", 4, {1, 2}));
     }},
    {202, [] { return of(edited(sizMarker, 0, codMarker, 2)); }},
    {203, [] { return of(edited(sizMarker, 6, 0, 4)); }},
    {204, [] { return of(edited(sizMarker, 38, 0, 2)); }},
    {205, [] { return of(edited(sizMarker, 38, 16000, 2)); }},
    {206, [] { return of(edited(comMarker, 2, 0xFFFF, 2)); }},
    {207, [] { return of(without(codMarker, qcdMarker)); }},
    {208, [] { return of(without(qcdMarker, comMarker)); }},
    {209, [] { return of(edited(codMarker, 9, 33, 1)); }},
    {210, [] { return of(edited(qcdMarker, 4, 3, 1)); }},
    {211,
     [] {
       return of(with(comMarker, {0xFF, 0x5E, 0, 5, 9, 0, 3}));
     }},
    {212,
     [] {
       return of(with(comMarker, {0xFF, 0x5F, 0, 9, 0, 0, 0, 1, 9, 9, 7}));
     }},
    {213, [] { return of(edited(sotMarker, 2, 11, 2)); }},
    {301, [] { return of(edited(sizMarker, 4, 0x4000, 2)); }},
    {302, [] { return of(edited(codMarker, 13, 2, 1)); }},
    {402, [] { return pixels(palette(8, 9)); }},
    {501,
     [] {
       return of(with(comMarker, {0xFF, 0x51, 0, 3, 1}));
     }},
    {502,
     [] {
       return of(with(comMarker, {0xFF, 0x5E, 0, 6, 0, 0, 0, 1}));
     }},
    {503,
     [] {
       return of(with(comMarker, {0xFF, 0x63, 0, 4, 0, 0}));
     }},
    {504,
     [] {
       return of(with(comMarker, {0xFF, 0x30, 0, 3, 1}));
     }},
    {505,
     [] {
       return of(with(comMarker, {0xFF, 0x64, 0, 2}));
     }},
    {506,
     [] {
       return of(with(comMarker, {0xFF, 0x5F, 0, 9, 4, 0, 0, 1, 4, 9, 0}));
     }},
    {507,
     [] {
       return of(with(comMarker, {0xFF, 0x60, 0, 3, 1, 0xFF, 0x60, 0, 3, 0}));
     }},
    {508, [] { return of(packedTooShort()); }},
    {509, [] { return of(cut(stream(), 100)); }},
    {510, [] { return of(cut(stream(), 2)); }},
    {511,
     [] {
       Bytes file = stream();
       put(file, file.size() - 2, 0x1234, 2);
       return of(file);
     }},
    {512, [] { return of(edited(sotMarker, 6, 12, 4)); }},
    {513, [] { return of(edited(sodMarker, 0, 0, 2)); }},
    {514, [] { return of(edited(sotMarker, 4, 7, 2)); }},
    {515, [] { return of(edited(sotMarker, 10, 3, 1)); }},
    {516, [] { return of(edited(sotMarker, 10, 0x0101, 2)); }},
    {517, [] { return of(edited(sotMarker, 4, 7, 2)); }},
    {518,
     [] {
       return of(inTilePart({0xFF, 0x5C, 0, 3, 0x43}));
     }},
    {601, [] { return of(damagedPacket()); }},
    {602, [] { return of(cut(stream(), 1000)); }},
    {603, [] { return of(wrongSop()); }},
    {604, [] { return of(sopUnannounced()); }},
    {605, [] { return of(edited(codMarker, 4, 4, 1)); }},
    {606, [] { return of(wrongBlock()); }},
    {607, [] { return of(deepPlanes()); }},
    {608, [] { return of(damagedPacket()); }},
    {609,
     [] {
       return of(with(comMarker, {0xFF, 0x53, 0, 9, 1, 0, 5, 4, 4, 0, 0}));
     }},
    {610,
     [] {
       Bytes file = edited(sotMarker, 6, 0, 4);
       insert(file, file.size() - 2, Bytes(30, 1));
       return of(file);
     }},
    {701,
     [] {
       return of(box("jp2c", size_t(-4), {0x7F, 0xFF}));
     }},
    {702,
     [] {
       return of(box("ftyp", 0, {'f', 't', 'y', 'q'}));
     }},
    {703, [] { return of(box("ihdr", 7, {31})); }},
    {704, [] { return of(box("ihdr", 15, {9})); }},
    {705,
     [] {
       return pixels(box("colr", 7, {0, 0, 0, 14}));
     }},
    {706, [] { return pixels(palette(8, 0)); }},
    {707,
     [] {
       return pixels(headerBox({0, 0, 0, 16, 'c', 'd', 'e', 'f', 0, 1, 0, 7, 0, 0, 0, 1}));
     }},
};

TEST(Catalogue, EveryDiagnosticIsMetByACaseOfItsOwn) {
  for (const j2k::DiagnosticText& d : j2k::diagnosticTexts()) {
    const MetBy* const found = std::find_if(std::begin(cases), std::end(cases),
                                            [&](const MetBy& c) { return c.number == d.number; });
    ASSERT_NE(std::end(cases), found) << d.number << " " << d.summary << " has no case";
    const Messages told = found->meet();
    EXPECT_TRUE(told.has(d.number)) << d.number << " " << d.summary << "\n" << told.text;
  }
  EXPECT_EQ(j2k::diagnosticTexts().size(), std::size(cases));
}

/// Numbers are in messages, scripts and bug reports: each means one thing.
TEST(Catalogue, AnExceptionEndsTheWorkAndAWarningDoesNot) {
  for (const auto& [number, meet] : cases) {
    const Messages told = meet();
    const bool refused = !told.numbers.empty() && told.numbers.back() < 500;
    EXPECT_EQ(number < 500, refused) << number << "\n" << told.text;
  }
}

}  // namespace
