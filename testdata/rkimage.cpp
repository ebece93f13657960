// Images, interleaved or planar: creation, fills, rows.
#include "rkimage.h"

#include "rkbmpfile.h"
#include "rkguard.h"
#include "tzarena.h"
#include "tzostream.h"

namespace {

constexpr int kDefaultLayout = 64;

}  // namespace

// Element type and channels ---------------------------------------------------------------------

void rkImage::init(rkType type, int channels, bool planar) {
  rkVector::init(type);
  setChannels(channels, planar);
}

void rkImage::init(const rkFunc& func, int operand) { init(func, operand == 2 ? rkDst : rkSrc); }

void rkImage::init(const rkFunc& func, rkArg arg) {
  init(func.type(arg), numChannels(func, arg), isPlane(func, arg));
  m_actualChannels = numActualChannels(func, arg);
}

void rkImage::setChannels(int channels, bool planar) {
  deleteVector();
  m_channels = m_actualChannels = channels == 0 ? 1 : channels;
  m_planar = planar && m_channels > 1;
}

int rkImage::numChannels(const rkFunc& func, rkArg arg) { return func.channels(arg); }

int rkImage::numActualChannels(const rkFunc& func, rkArg arg) {
  const int channels = func.channels(arg);
  return func.alpha(arg) && channels > 1 ? channels - 1 : std::max(channels, 1);
}

bool rkImage::isPlane(const rkFunc& func, rkArg arg) { return func.plane(arg); }

// Creation --------------------------------------------------------------------------------------

bool rkImage::createImage(RkdiSize size, int align, int layout, bool reserve) {
  return createImage(size.width, size.height, align, layout, reserve);
}

long long rkImage::rowBytes(int width) const {
  return static_cast<long long>(width) * rowChannels() * elementSize(m_type);
}

long long rkImage::stepFor(int width, int layout) const {
  if (rkGuard::active()) return rowBytes(width) + rkGuard::ROW_GAP * elementSize(m_type);
  if (layout < 1) layout = kDefaultLayout;
  return (rowBytes(width) + layout - 1) / layout * layout;
}

bool rkImage::isTooLarge(int width, int height, int layout) const {
  // Checked factor by factor, no product overflows: a row is below 2^31 pixels of 64 bytes.
  const long long step = stepFor(width, layout);
  return step > MAX_BYTES || step * height > MAX_BYTES || step * height * numPlanes() > MAX_BYTES;
}

bool rkImage::createImage(int width, int height, int align, int layout, bool reserve) {
  deleteVector();
  if (width < 0 || height < 0) return false;
  if (m_channels < 1 || m_channels > MAX_CHANNELS) return false;
  if (isTooLarge(width, height, layout)) {
    g_ostrm << L_ERR << "-- Memory error: an image of " << width << "x" << height
            << " pixels is too large\n"
            << L_END;
    return false;
  }
  const long long step = stepFor(width, layout);
  // Between guard pages the last row ends the buffer.
  const bool guarded = rkGuard::active() && height > 0;
  const long long gap = guarded ? step - rowBytes(width) : 0;
  const tzArena::Use samplesMeanTheSameToAll;
  if (!createBuffers(numPlanes(), step * height - gap, align, nullptr)) return false;
  m_width = width;
  m_height = height;
  m_step = int(step);
  m_length = int(static_cast<long long>(width) * height * m_channels);
  setPlanePtrs();
  return !reserve || reserveCopy();
}

bool rkImage::createImageExt(RkdiSize size, int, int, SetMode mode, double a, double b) {
  return createImage(size) && setVector(mode, a, b);
}

bool rkImage::createImageExt(int width, int height, int, int, SetMode mode, double a, double b) {
  return createImage(width, height) && setVector(mode, a, b);
}

void rkImage::deleteVector() {
  rkVector::deleteVector();
  m_width = m_height = m_step = 0;
  setPlanePtrs();
}

void rkImage::setPlanePtrs() {
  const auto set = [this](auto& pointers) {
    for (int p = 0; p < MAX_CHANNELS; ++p) {
      using Pointer = typename std::decay_t<decltype(pointers)>::value_type;
      pointers[size_t(p)] = static_cast<Pointer>(plane(p));
    }
  };
  std::apply([&](auto&... pointers) { (set(pointers), ...); }, m_planePtrs);
}

bool rkImage::canLoadImage(const tzString& name) {
  rkImage image;
  return rkBmpFile(image).canLoad(name);
}

bool rkImage::loadImage(const tzString& name, int layout) {
  return rkBmpFile(*this).load(name, layout);
}

// Extent and addresses --------------------------------------------------------------------------

int rkImage::numActualItems() const { return m_length / m_channels * m_actualChannels; }

void* rkImage::getRowPointer(int row) const {
  if (!isCreated() || row < 0 || row >= getNumRows()) return nullptr;
  const auto offset = static_cast<std::ptrdiff_t>(row % m_height) * m_step;
  return static_cast<char*>(plane(row / m_height)) + offset;
}

rkSpan rkImage::rowSpan(int row) const {
  return {m_type, getRowPointer(row), static_cast<long long>(m_width) * rowChannels()};
}

void* rkImage::getPointerAt(int x, int y, int channel) const {
  if (x < 0 || x >= m_width || y < 0 || y >= m_height) return nullptr;
  if (channel < 0 || channel >= m_channels) return nullptr;
  const int row = m_planar ? channel * m_height + y : y;
  const int column = m_planar ? x : x * m_channels + channel;
  return static_cast<char*>(getRowPointer(row)) +
         static_cast<std::ptrdiff_t>(column) * elementSize(m_type);
}

tzString rkImage::objectInfo() const {
  tzString text = "Image ";
  text << typeToString(m_type) << (m_planar ? " P" : " C") << m_channels;
  return text << ", " << m_width << "x" << m_height << " pixels, step " << m_step;
}

// The test pattern ------------------------------------------------------------------------------

bool rkImage::setJaehne(double magnitude) {
  double offset;
  if (!isCreated() || !updateJaehneMagn(m_type, magnitude, offset)) return false;
  for (int p = 0; p < numPlanes(); ++p) setPlaneJaehne(p, {m_width, m_height, magnitude, offset});
  return true;
}

void rkImage::setPlaneJaehne(int p, const rkZonePlate& plate) {
  for (int y = 0; y < m_height; ++y) {
    rkFillZoneRow(rowSpan(p * m_height + y), plate, y, rowChannels());
  }
}
