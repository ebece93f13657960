#pragma once
/// @file
/// Marker segments, read and written. @see ITU-T T.81, annex B

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/bytes.h"
#include "jpeg.h"

namespace jpeg {

/// The second byte of markers.
enum Marker : uint8_t {
  kTEM = 0x01,
  kSOF0 = 0xC0,
  kSOF1 = 0xC1,
  kSOF2 = 0xC2,
  kSOF3 = 0xC3,
  kDHT = 0xC4,
  kSOF5 = 0xC5,
  kJPG = 0xC8,
  kSOF9 = 0xC9,
  kDAC = 0xCC,
  kSOF15 = 0xCF,
  kRST0 = 0xD0,
  kRST7 = 0xD7,
  kSOI = 0xD8,
  kEOI = 0xD9,
  kSOS = 0xDA,
  kDQT = 0xDB,
  kDNL = 0xDC,
  kDRI = 0xDD,
  kDHP = 0xDE,
  kAPP0 = 0xE0,
  kAPP15 = 0xEF,
  kSOF55 = 0xF7,  // JPEG-LS
  kLSE = 0xF8,
  kCOM = 0xFE
};

inline bool isRestart(int marker) { return marker >= kRST0 && marker <= kRST7; }
/// Markers without a segment.
inline bool standsAlone(int marker) {
  return isRestart(marker) || marker == kSOI || marker == kEOI || marker == kTEM;
}

// ---- writing ----

/// Puts marker segments together.
class MarkerWriter {
 public:
  void alone(int marker);
  void segment(int marker, std::span<const uint8_t> payload);

  void jfif(const Density& density);
  void adobe(int transform);
  /// Exif and ICC profile in as many segments as it takes, then the others.
  /// @return ok, metadataTooLong
  Status metadata(const Metadata& metadata);
  /// @param number  0..3; 16 bits an entry where one needs them
  void quantisers(int number, const Quantisers& quantisers);
  void huffman(bool isAc, int number, const HuffmanTable& table);
  void frame(const Frame& frame);
  void restartInterval(int units);
  void scan(const Frame& frame, const Scan& scan);

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  void clear() { bytes_.clear(); }

 private:
  void put8(int value) { bytes_.push_back(uint8_t(value)); }
  void put16(int value) { base::appendBytes(bytes_, uint16_t(value), base::ByteOrder::big); }
  void begin(int marker, int payload);
  std::vector<uint8_t> bytes_;
};

// ---- reading ----

/// The number that stands at `at`, both bytes within.
inline int get16(std::span<const uint8_t> bytes, size_t at) {
  return base::loadBytes<uint16_t>(&bytes[at], base::ByteOrder::big);
}

/// Tables that segments define, as they stand at some place of the file.
struct Tables {
  std::array<std::optional<Quantisers>, 4> quantisers;
  /// Tables with values that only 16-bit or extended files may have.
  std::array<std::optional<HuffmanTable>, 4> dc, ac;
  /// Counts every DHT of a slot, so that users know when theirs is out of date.
  std::array<int, 4> dcVersion{}, acVersion{};
  int restartInterval = 0;
};

/// Where a reader has stopped.
enum class Found { scan, end, outOfData };

/// Walks over the segments of a file and gathers what they say.
class MarkerReader {
 public:
  explicit MarkerReader(std::span<const uint8_t> file = {}) : file_(file) {}

  /// Begins: the file must start with SOI, junk in front apart. @return ok, notJpeg
  Status start();
  /// Goes on to the next SOS, whose header is then in scan(), or to EOI or the end of the data.
  /// Unknown and damaged segments without which the picture can be decoded are passed over.
  Status next(Found* found);

  bool hasFrame() const { return hasFrame_; }
  Frame& frame() { return frame_; }
  const Scan& scan() const { return scan_; }
  Tables& tables() { return tables_; }
  Metadata& metadata() { return metadata_; }
  bool hasJfif() const { return hasJfif_; }
  bool hasAdobe() const { return adobeTransform_ >= 0; }
  int adobeTransform() const { return adobeTransform_; }
  const Density& density() const { return density_; }

  /// Place in the file: after next() found a scan, its first entropy-coded byte.
  size_t position() const { return position_; }
  void moveTo(size_t position) { position_ = position; }

  /// Takes what an APPn or comment segment carries.
  void readApp(int marker, std::span<const uint8_t> payload);
  static bool isJfif(int marker, std::span<const uint8_t> payload);
  static bool isAdobe(int marker, std::span<const uint8_t> payload);
  /// Puts the ICC profile's chunks together. Call when all that is wanted has been read.
  void finishMetadata();
  /// Warnings met; emptied by the call.
  std::vector<Status> takeWarnings();

 private:
  using Payload = std::span<const uint8_t>;
  Status segment(int marker, Payload payload);
  Status readFrame(int marker, Payload payload);
  Status readScan(Payload payload);
  Status readQuantisers(Payload payload);
  Status readHuffman(Payload payload);
  void readHeight(Payload payload);
  void readJfif(Payload payload);
  int nextMarker();
  void warn(Status status) { warnings_.push_back(status); }

  std::span<const uint8_t> file_;
  size_t position_ = 0;
  bool hasFrame_ = false;
  bool hasJfif_ = false;
  int adobeTransform_ = -1;
  Density density_;
  Frame frame_;
  Scan scan_;
  Tables tables_;
  Metadata metadata_;
  std::vector<std::pair<int, Payload>> iccChunks_;
  std::vector<Status> warnings_;
};

/// What the components of a file mean, from its Adobe and JFIF markers, else from their numbers.
Color colorOf(const Frame& frame, bool hasJfif, int adobeTransform);

/// Height that a DNL segment behind the first scan tells; 0 when there is none.
/// @param from  where entropy-coded data begin
int heightFromDnl(std::span<const uint8_t> file, size_t from);

}  // namespace jpeg
