#pragma once
/// @file
/// JPEG 2000 files and codestreams in memory: encoder, decoder, their options and diagnostics.
///
/// Both directions work on buffers of the caller and print nothing; what there is to tell goes to
/// a Diagnostics object. The same options give the same bytes and samples for every number of
/// threads.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace j2k {

enum class [[nodiscard]] Status : int{ok = 0, failed = 1};

enum class Severity { warning, exception };

/// One entry of the catalogue.
struct DiagnosticText {
  int number;
  Severity severity;
  const char* summary;  ///< one line
  const char* text;     ///< what was met, what the standard says, what the codec did, what to do
};

/// The catalogue, in order of numbers.
std::span<const DiagnosticText> diagnosticTexts();

/// Receives what the codec has to tell. This one drops everything.
class Diagnostics {
 public:
  virtual ~Diagnostics() = default;
  /// @param detail  what this case is about: a marker, a tile, a figure; may be empty
  virtual void message(const DiagnosticText& diagnostic, std::string_view detail);
  /// A line about the structure of the stream (`-linf+`), or an error text that has no number.
  virtual void line(std::string_view text);
};

enum class Wavelet { reversible53, irreversible97 };
enum class Progress { lrcp, rlcp, rpcl, pcrl, cprl };

/// A stretch of packets in an order of its own: those of these resolutions, components and layers
/// that stand in no stretch before it.
struct ProgressChange {
  int firstResolution = 0, firstComponent = 0;
  int endLayer = 0, endResolution = 0, endComponent = 0;  ///< one behind the last
  Progress progress = Progress::lrcp;
};

struct Window {
  int x = 0, y = 0, width = 0, height = 0;
  bool empty() const { return width <= 0 || height <= 0; }
};

/// What the keys of the program set. Sizes are in samples of the reference grid.
struct Options {
  // Files: the codec itself touches none.
  std::string input, output;

  // Encoding
  std::vector<double> ratios;  ///< of the input's bytes to the output's, a layer each; 1: no limit
  std::vector<double> psnr;    ///< dB, a layer each
  int levels = 5;
  Wavelet wavelet = Wavelet::reversible53;
  bool waveletGiven = false;
  int transform = -1;  ///< of colours: 0 off, 1 on, -1 for pictures of three components and more
  int tileWidth = 0, tileHeight = 0;  ///< 0: one tile
  std::vector<Window> precincts;      ///< width, height; highest resolution first
  int blockWidth = 64, blockHeight = 64;
  int style = 0;  ///< sum of rkdCodeBlock...
  int layers = 1;
  Progress progress = Progress::lrcp;
  std::vector<ProgressChange> changes;  ///< instead of `progress`; together they hold all packets
  Window roi;
  bool sop = false, eph = false, tlm = false, plt = false;
  int offsetX = 0, offsetY = 0;
  std::string profile;    ///< file of an ICC profile
  std::string xml, uuid;  ///< files of a text, and of 16 bytes that tell what the others are
  double resolutionX = 0, resolutionY = 0;  ///< pixels a METRE; 0: not told
  bool rawStream = false;                   ///< a codestream without boxes
  int guardBits = 2;
  char tileParts = 0;      ///< a new tile-part at every 'R'esolution, 'L'ayer or 'C'omponent
  char packedHeaders = 0;  ///< packet headers in 'M'ain or 'T'ile-part headers
  bool derivedSteps = false;

  // Decoding
  int reduce = 0;
  int maxLayers = 0;   ///< 0: all
  int component = -1;  ///< -1: all
  Window crop;         ///< in pixels of the full picture, from its upper left corner
  bool strict = false;
  bool srgb = false;

  // Both
  bool listing = false;  ///< tell the structure of the stream
  bool listDiagnostics = false;
  int diagnostic = 0;
  int64_t memoryMiB = 1024;
  int threads = 1;
  int bench = 0;
};

/// Fills options from a program's arguments: argv[0] is the program; keys begin with '-' or
/// stand without one.
/// @param error  receives one line that names the key
Status parseOptions(int argc, const char* const* argv, Options& options, std::string& error);

enum class SampleType : uint8_t { u8, u16, s32 };

/// Samples of one component anywhere in memory: a plane, or one channel of interleaved pixels.
struct SampleView {
  void* data = nullptr;  ///< the first sample
  SampleType type = SampleType::u8;
  ptrdiff_t pixelStep = 1;  ///< SAMPLES from one to the next
  ptrdiff_t rowStep = 0;    ///< BYTES from row to row; negative for pictures stored bottom up
};

struct ComponentInfo {
  int width = 0, height = 0;  ///< samples of this component
  int precision = 8;
  bool isSigned = false;
  int dx = 1, dy = 1;
};

/// Colours as a file tells them.
enum class ColourSpace { unspecified, srgb, grey, sycc, icc, other };

/// How components become the channels of a picture: palette and channel definitions.
struct ColourBoxes {
  struct Mapping {
    int component = 0;
    int column = -1;  ///< of the palette; -1: the component itself
  };
  struct Definition {
    int channel = 0;
    int type = 0;         ///< 0 colour, 1 opacity, 2 premultiplied opacity, 65535 unspecified
    int association = 0;  ///< 0 the whole picture, else the colour counted from 1
  };
  std::vector<int> paletteDepths;             ///< bits of each column, negative: signed
  std::vector<std::vector<int32_t>> palette;  ///< column by column
  std::vector<Mapping> mappings;
  std::vector<Definition> definitions;
};

/// A codestream's picture without its samples.
struct PictureInfo {
  int width = 0, height = 0;         ///< of the picture, or of the part that is asked for
  int64_t originX = 0, originY = 0;  ///< on the reference grid, as reduced
  std::vector<ComponentInfo> components;
  ColourSpace colour = ColourSpace::unspecified;
  int enumeratedColour = 0;
  std::vector<uint8_t> profile;  ///< ICC
  double resolutionX = 0,
         resolutionY = 0;                 ///< at which it was captured, pixels a METRE; 0: not told
  std::vector<std::vector<uint8_t>> xml;  ///< texts
  std::vector<std::vector<uint8_t>> uuids;  ///< 16 bytes that tell what the others are
};

/// A bottom-up picture in memory as BMP files hold it.
struct BmpBuffer {
  int width = 0, height = 0;
  int bitsPerPixel = 0;       ///< 8 (grey), 24 (BGR), 32 (BGRA)
  uint8_t* pixels = nullptr;  ///< rows of bmpRowStep bytes, the lowest one first
  size_t size = 0;            ///< BYTES that pixels holds
};

constexpr size_t bmpRowStep(int bitsPerPixel, int width) {
  return (size_t(bitsPerPixel) * size_t(width) + 31) / 32 * 4;
}

/// A file in memory: `size` bytes of room, `length` of them filled.
struct Jp2Buffer {
  uint8_t* bytes = nullptr;
  size_t size = 0;
  size_t length = 0;
};

/// @name Pictures of 8 bits in buffers of the caller
/// Encode reads the BMP buffer and fills the JP2 buffer; decode reads the JP2 buffer, describes the
/// picture in the BMP buffer and fills it. Either fails with a line that tells the size needed when
/// the buffer that it fills is too small.
/// @return 0, or not 0 with the reason told to the diagnostics
/// @{
int encode(const Options& options, Diagnostics& diagnostics, const BmpBuffer& bmp, Jp2Buffer& jp2);
int decode(const Options& options, Diagnostics& diagnostics, const Jp2Buffer& jp2, BmpBuffer& bmp);
/// @}

/// Encodes components that may be of any shape and precision.
Status encodePicture(const Options& options, Diagnostics& diagnostics, const PictureInfo& info,
                     std::span<const SampleView> samples, std::vector<uint8_t>& file);

/// Decodes in two steps, so that the caller can make room for what the header tells.
class Decoder {
 public:
  Decoder(const Options& options, Diagnostics& diagnostics);
  ~Decoder();

  /// Reads all headers. The bytes must stay until `decode` is done.
  Status open(std::span<const uint8_t> file);
  /// What `decode` gives: the components asked for, cropped and reduced, as the codestream has
  /// them.
  const PictureInfo& info() const { return m_info; }
  const ColourBoxes& colours() const;
  /// @param samples  a view for every component of `info`
  Status decode(std::span<const SampleView> samples);

 private:
  struct Parts;
  void readHeaders(std::span<const uint8_t> file);
  void describe();
  void makePlan();

  Options m_options;
  Diagnostics& m_diagnostics;
  PictureInfo m_info;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace j2k
