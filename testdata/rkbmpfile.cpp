// Loads bitmaps into images: the checks of their headers in the order of their texts.
#include "rkbmpfile.h"

#include <algorithm>
#include <array>
#include <limits>

#include "tzostream.h"

/// The file with what a bitmap needs beyond reading on.
class rkBmpFile::Stream : public i_stream {
 public:
  explicit Stream(const tzString& name) : i_stream(name, OPEN_BINARY, false) {}
  bool readAll(void* data, size_t size) { return read(data, size) == size; }
  bool seek(long position) { return std::fseek(m_file, position, SEEK_SET) == 0; }
  /// Bytes of the file; the position is lost.
  long long bytes() { return std::fseek(m_file, 0, SEEK_END) == 0 ? std::ftell(m_file) : 0; }
};

bool rkBmpFile::error(const tzString& text) const {
  if (!m_silent) {
    g_ostrm << L_ERR << "--- Can't load file " << m_name << ": " << text << "\n" << L_END;
  }
  return false;
}

// Checks ----------------------------------------------------------------------------------------

bool rkBmpFile::ValidFileHeader(bool& reversed) const {
  reversed = m_file.bfType == base::kReversedBmpType;
  return reversed || m_file.bfType == base::kBmpType || error("Bitmap files are valid only");
}

bool rkBmpFile::ValidCompression() const {
  return m_info.biCompression == 0 || error("Compression is not valid");
}

bool rkBmpFile::SetImageWidth(int& width) const {
  width = m_info.biWidth;
  return width > 0 || error("Bitmap header is corrupted: biWidth is invalid");
}

bool rkBmpFile::SetImageHeight(int& height) const {
  height = m_info.biHeight;  // negative: top-down rows, which are refused
  return height > 0 || error("Bitmap header is corrupted: biHeight is invalid");
}

bool rkBmpFile::SetImageType(rkType& type) const {
  constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};
  type = rk8u;
  return std::find(std::begin(kDepths), std::end(kDepths), m_info.biBitCount) !=
             std::end(kDepths) ||
         error("Bitmap header is corrupted: biBitCount is invalid");
}

bool rkBmpFile::SetImagePlane(bool& planar) const {
  planar = false;
  return m_info.biPlanes == 1 || error("Bitmap header is corrupted: biPlanes is invalid");
}

bool rkBmpFile::SetImageChannels(int& channels) const {
  switch (m_info.biBitCount) {
    case 1:
    case 4:
    case 8:
      channels = IsGrayPalette() ? 1 : 3;
      return true;
    case 16:
      channels = 2;
      return true;
    case 24:
      channels = 3;
      return true;
    case 32:
      channels = 4;
      return true;
    default:
      return error("Bitmap header is corrupted: biBitCount is invalid");
  }
}

bool rkBmpFile::ValidInfoHeader() const {
  int width, height, channels;
  rkType type;
  bool planar;
  return ValidCompression() && SetImageWidth(width) && SetImageHeight(height) &&
         SetImageType(type) && SetImagePlane(planar) && SetImageChannels(channels);
}

bool rkBmpFile::initImage(int layout) {
  int channels = 0;
  if (!ValidInfoHeader() || !SetImageChannels(channels)) return false;
  m_image.init(rk8u, channels, false);
  return !m_image.isTooLarge(m_info.biWidth, m_info.biHeight, layout) ||
         error("The image is too large");
}

bool rkBmpFile::CreateImage(int layout) {
  return initImage(layout) &&
         m_image.createImage(m_info.biWidth, m_info.biHeight, -1, layout, false);
}

// Derived values --------------------------------------------------------------------------------

bool rkBmpFile::IsCompressed() const { return m_info.biCompression == 0 && m_info.biBitCount <= 8; }

int rkBmpFile::GetPaletteNum() const {
  return IsCompressed() ? base::bmpPaletteSize(m_info.biBitCount, m_info.biClrUsed) : 0;
}

bool rkBmpFile::IsGrayPalette() const {
  return std::all_of(m_palette.begin(), m_palette.end(),
                     [](const base::BmpColour& colour) { return colour.isGray(); });
}

long long rkBmpFile::GetDataStep() const {
  return base::bmpRowStep(m_info.biBitCount, m_info.biWidth);
}

long long rkBmpFile::GetDataSize() const {
  const long long step = GetDataStep();
  const long long rows = static_cast<long long>(m_info.biHeight) * m_info.biPlanes;
  constexpr long long kLargest = std::numeric_limits<long long>::max();
  return step > 0 && rows > kLargest / step ? kLargest : step * rows;
}

// Reading ---------------------------------------------------------------------------------------

bool rkBmpFile::load(const tzString& name, int layout) {
  m_name = name;
  Stream file(name);
  return open(file) && ValidInfoHeader() && validExtent(file) && CreateImage(layout) &&
         readPixels(file);
}

bool rkBmpFile::canLoad(const tzString& name) {
  m_name = name;
  m_silent = true;
  Stream file(name);
  const bool loadable = open(file) && ValidInfoHeader() && validExtent(file) && initImage(-1);
  m_silent = false;
  return loadable;
}

bool rkBmpFile::readInfoHeader(const tzString& name) {
  m_name = name;
  Stream file(name);
  return open(file);
}

bool rkBmpFile::open(Stream& file) {
  return (file.isOpen() || error("Open error")) && readHeaders(file) && readPalette(file);
}

bool rkBmpFile::readHeaders(Stream& file) {
  std::array<unsigned char, base::kBmpInfoHeaderBytes> bytes{};
  const bool complete = file.readAll(bytes.data(), base::kBmpFileHeaderBytes);
  base::ByteReader fields(bytes, base::ByteOrder::little);
  m_file = base::readBmpFileHeader(fields);
  bool reversed = false;
  if (!ValidFileHeader(reversed)) return false;
  const auto order = reversed ? base::ByteOrder::big : base::ByteOrder::little;
  fields = base::ByteReader(bytes, order);
  m_file = base::readBmpFileHeader(fields);

  if (!complete || !file.readAll(bytes.data(), bytes.size())) {
    return error("Bitmap header is corrupted: the file ends in it");
  }
  fields = base::ByteReader(bytes, order);
  m_info = base::readBmpInfoHeader(fields);
  return m_info.biSize >= base::kBmpInfoHeaderBytes ||
         error("Bitmap header is corrupted: biSize is invalid");
}

bool rkBmpFile::readPalette(Stream& file) {
  m_palette.assign(size_t(GetPaletteNum()), base::BmpColour());
  // Later versions of the format have a longer header, which the palette follows.
  if (m_palette.empty()) return true;
  unsigned char bytes[4];
  bool good = file.seek(base::kBmpFileHeaderBytes + long{m_info.biSize});
  for (base::BmpColour& colour : m_palette) {
    good = good && file.readAll(bytes, sizeof bytes);
    if (!good) return error("Bitmap header is corrupted: the file ends in the palette");
    colour = {bytes[0], bytes[1], bytes[2], bytes[3]};
  }
  return true;
}

/// Compares what the headers promise with the size of the file, before anything is allocated.
bool rkBmpFile::validExtent(Stream& file) const {
  const long long left = file.bytes() - m_file.bfOffBits;
  if (m_file.bfOffBits < base::kBmpFileHeaderBytes + base::kBmpInfoHeaderBytes || left < 0) {
    return error("Bitmap header is corrupted: bfOffBits is invalid");
  }
  // Writers may leave out the padding of the last row of unpacked pixels.
  const long long rowBytes = static_cast<long long>(m_info.biWidth) * m_info.biBitCount / 8;
  const long long needed =
      IsCompressed() ? GetDataSize() : GetDataSize() - (GetDataStep() - rowBytes);
  return needed <= left || error("The file is shorter than its picture");
}

bool rkBmpFile::readPixels(Stream& file) {
  if (!file.seek(m_file.bfOffBits)) return error("Read error");
  if (IsCompressed()) {
    std::vector<unsigned char> pixels(static_cast<size_t>(GetDataSize()));
    return file.readAll(pixels.data(), pixels.size()) && SetImageData(pixels.data());
  }
  const auto rowBytes = static_cast<size_t>(m_image.getRowLen());
  const auto fileStep = static_cast<size_t>(GetDataStep());
  const auto height = static_cast<size_t>(m_image.height());
  bool good = true;
  if (static_cast<size_t>(m_image.step()) == fileStep) {
    good = file.readAll(m_image.data(), fileStep * (height - 1) + rowBytes);
  } else {
    unsigned char padding[4];
    for (int y = 0; good && y < m_image.height(); ++y) {
      good = file.readAll(m_image.getRowPointer(y), rowBytes) &&
             (y + 1 == m_image.height() || file.readAll(padding, fileStep - rowBytes));
    }
  }
  return good || error("Read error");
}

// Expansion -------------------------------------------------------------------------------------

bool rkBmpFile::SetImageData(const unsigned char* pixels) {
  if (!IsCompressed()) return false;
  for (int y = 0; y < m_image.height(); ++y) {
    auto* const row = static_cast<unsigned char*>(m_image.getRowPointer(y));
    base::forBmpIndexes(m_info.biBitCount, pixels + GetDataStep() * y, m_image.width(),
                        [&](int x, unsigned char index) { SetPixel(index, row, x); });
  }
  return true;
}

void rkBmpFile::SetPixel(unsigned char index, unsigned char* row, int x) const {
  const base::BmpColour& colour = m_palette[std::min<size_t>(index, m_palette.size() - 1)];
  if (m_image.channels() == 1) {
    row[x] = colour.blue;
    return;
  }
  unsigned char* const pixel = row + std::ptrdiff_t{3} * x;
  pixel[0] = colour.blue;
  pixel[1] = colour.green;
  pixel[2] = colour.red;
}
