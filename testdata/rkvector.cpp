// Buffers of elements in tracked memory.
#include "rkvector.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "rkguard.h"
#include "tzmemory.h"
#include "tzsettings.h"
#include "tztest.h"

unsigned int rkVector::m_seed = rkVector::START_SEED;

rkVector::~rkVector() { rkVector::deleteVector(); }

// Element type ----------------------------------------------------------------------------------

void rkVector::init(rkType type) {
  if (type != m_type) deleteVector();
  m_type = type;
}

void rkVector::init(const rkFunc& func, int typeNumber) { init(func.type(typeNumber)); }
void rkVector::init(const rkFunc& func, rkArg arg) { init(func.type(arg)); }

// Creation --------------------------------------------------------------------------------------

bool rkVector::createBuffers(int count, long long bytes, int align, void* data) {
  rkVector::deleteVector();
  if (elementSize(m_type) == 0 || bytes < 0 || bytes > MAX_BYTES) return false;
  m_bufferBytes = int(bytes);
  for (int i = 0; i < count; ++i) {
    // What belongs to an object that is listed already is no object of its own.
    tzObject* owner = i == 0 ? this : MEM_OBJECT_IS_SUBOBJECT;
    const int placed = align < 0 ? -tzAlignUnit(elementSize(m_type)) : align;
    Buffer buffer;
    buffer.owned = data == nullptr;
    if (!buffer.owned) {
      buffer.data = data;
    } else if (rkGuard::active()) {
      buffer.data = rkGuard::allocate(m_bufferBytes, owner);
    } else {
      buffer.data = rkGuard::begun(tzTest::allocate(m_bufferBytes, placed, owner), m_bufferBytes);
    }
    if (buffer.data == nullptr) {
      rkVector::deleteVector();
      return false;
    }
    m_buffers.push_back(buffer);
  }
  m_data = m_buffers[0].data;
  return true;
}

bool rkVector::createVector(int length, int align, void* data) {
  const long long bytes = static_cast<long long>(length) * elementSize(m_type);
  if (!createBuffers(1, bytes, align, data)) return false;
  m_length = length;
  return true;
}

bool rkVector::createVector(int length, SetMode mode, double a, double b) {
  return createVectorExt(length, -1, mode, a, b);
}

bool rkVector::createVectorExt(int length, int align, SetMode mode, double a, double b) {
  return createVector(length, align, nullptr) && setVector(mode, a, b);
}

void rkVector::deleteVector() {
  rkVector::deleteReservedCopy();
  for (const Buffer& buffer : m_buffers) {
    if (buffer.owned && !rkGuard::release(buffer.data)) tzFree(buffer.data);
  }
  m_buffers.clear();
  m_bufferBytes = 0;
  m_length = 0;
  m_data = nullptr;
}

// Reserved copy ---------------------------------------------------------------------------------

bool rkVector::reserveCopy() {
  for (Buffer& buffer : m_buffers) {
    if (buffer.reserved == nullptr) {
      buffer.reserved = tzMalloc(m_bufferBytes, 0, 0, MEM_OBJECT_IS_SUBOBJECT);
      if (buffer.reserved == nullptr) {
        rkVector::deleteReservedCopy();
        return false;
      }
    }
    std::memcpy(buffer.reserved, buffer.data, size_t(m_bufferBytes));
  }
  return true;
}

void rkVector::setReservedCopy() {
  for (const Buffer& buffer : m_buffers) {
    if (buffer.reserved != nullptr) {
      std::memcpy(buffer.data, buffer.reserved, size_t(m_bufferBytes));
    }
  }
}

void rkVector::deleteReservedCopy() {
  for (Buffer& buffer : m_buffers) {
    tzFree(buffer.reserved);
    buffer.reserved = nullptr;
  }
}

void* rkVector::getReservedData() { return m_buffers.empty() ? nullptr : m_buffers[0].reserved; }

// Fills -----------------------------------------------------------------------------------------

bool rkVector::setConst() {
  const double value = isFloat(m_type) ? 1.00001 : 2;
  return setConst(value, value);
}

bool rkVector::setConst(double re, double im) {
  return fillRows([&](const rkSpan& span) { rkFillConst(span, re, im); });
}

bool rkVector::setMinValue() { return setConst(getMinValue(m_type), getMinValue(m_type)); }
bool rkVector::setMaxValue() { return setConst(getMaxValue(m_type), getMaxValue(m_type)); }

bool rkVector::setJaehne() {
  return setJaehne(isFloat(m_type) ? 1.0 : (getMaxValue(m_type) - getMinValue(m_type)) * 0.5);
}

bool rkVector::setJaehne(double magnitude) {
  double offset;
  if (!updateJaehneMagn(m_type, magnitude, offset)) return false;
  return fillRows([&](const rkSpan& span) { rkFillZoneVector(span, magnitude, offset); });
}

bool rkVector::setSequence(double lo, double hi) {
  if (m_length == 1) return setConst(lo, lo);
  return setSequence(lo, hi, (hi - lo) / (m_length - 1), false);
}

bool rkVector::setSequence(double lo, double hi, double step, bool wrap) {
  rkSequence sequence{lo, hi, step, wrap};
  return fillRows([&](const rkSpan& span) { rkFillSequence(span, sequence); });
}

bool rkVector::setRandom() {
  if (isFloat(m_type)) return setRandom(-1, 1);
  return setRandom(getMinValue(m_type), getMaxValue(m_type));
}

bool rkVector::setRandom(double lo, double hi) {
  return fillRows([&](const rkSpan& span) { rkFillRandom(span, lo, hi, m_seed); });
}

bool rkVector::setRandom(double lo, double hi, unsigned int seed) {
  return fillRows([&](const rkSpan& span) { rkFillRandom(span, lo, hi, seed); });
}

bool rkVector::setVector(SetMode mode, double a, double b) {
  switch (mode) {
    case rkModeConst:
      return setConst();
    case rkModeZero:
      return setConst(0, 0);
    case rkModeOne:
      return setConst(1, 1);
    case rkModeMax:
      return setMaxValue();
    case rkModeMin:
      return setMinValue();
    case rkModeValue:
      return setConst(a, b);
    case rkModeRandom:
      return a == b ? setRandom() : setRandom(a, b);
    case rkModeSequence: {
      // Not the step of setSequence(lo, hi): this one divides by the length.
      double step = (b - a) / (m_length > 0 ? m_length : 256);
      if (!isFloat(m_type)) step = std::max(step, 1.0);
      return setSequence(a, b, step, true);
    }
    case rkModeNone:
      break;
  }
  return isCreated();  // an unknown mode leaves the data as they are
}

// Elements --------------------------------------------------------------------------------------

rkSpan rkVector::rowSpan(int) const { return {m_type, m_data, m_length}; }

rkSpan rkVector::elementSpan(int i) const {
  if (i < 0 || i >= m_length) return {};
  const int rowLen = getRowLen();
  rkSpan span = rowSpan(i / rowLen);
  const std::ptrdiff_t offset = std::ptrdiff_t{i % rowLen} * elementSize(m_type);
  return {span.type, static_cast<char*>(span.data) + offset, 1};
}

bool rkVector::setIndex(int i, SetMode mode, double a, double b) {
  const rkSpan element = elementSpan(i);
  if (element.data == nullptr) return false;
  rkVector view;  // that one element as a vector
  view.init(m_type);
  return view.createVector(1, 0, element.data) && view.setVector(mode, a, b);
}

double rkVector::getIndex(int i) const {
  double re, im;
  getIndex(i, re, im);
  return re;
}

bool rkVector::getIndex(int i, double& re, double& im) const {
  re = im = 0;
  const rkSpan element = elementSpan(i);
  if (element.data == nullptr) return false;
  rkGetElement(m_type, element.data, re, im);
  return true;
}

void* rkVector::getPointerAt(int i) const { return elementSpan(i).data; }

double rkVector::minValue() const {
  double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
  for (int row = 0; isCreated() && row < getNumRows(); ++row) {
    rkMinMax(rowSpan(row), lowest, highest);
  }
  return m_length > 0 ? lowest : 0;
}

double rkVector::maxValue() const {
  double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
  for (int row = 0; isCreated() && row < getNumRows(); ++row) {
    rkMinMax(rowSpan(row), lowest, highest);
  }
  return m_length > 0 ? highest : 0;
}

// Sizes and texts -------------------------------------------------------------------------------

int rkVector::size() const {
  const long long bytes = static_cast<long long>(m_bufferBytes) * int(m_buffers.size());
  return int(std::min<long long>(bytes, std::numeric_limits<int>::max()));
}

int rkVector::objectSize() const { return size(); }

tzString rkVector::objectInfo() const {
  tzString text = "Vector ";
  return text << typeToString(m_type) << ", " << m_length << " elements";
}

tzString rkVector::getString() const {
  tzString text;
  for (int row = 0; isCreated() && row < getNumRows(); ++row) {
    const rkSpan span = rowSpan(row);
    if (getNumRows() > 1) text << "row " << row << "\n";
    text += getDataString(span.type, span.data, int(span.count));
  }
  return text;
}

namespace {

/// Lines of `perLine` items each, headed by the index of the first; `put(text, i)` writes item i.
template <typename Put>
tzString tabulate(int count, int perLine, Put&& put) {
  std::string text;  // one append a line would copy a long dump again and again
  for (int i = 0; i < count; ++i) {
    if (i % perLine == 0) {
      char head[16];
      std::snprintf(head, sizeof head, "%8d:", i);
      text += head;
    }
    text += ' ';
    put(text, i);
    if ((i + 1) % perLine == 0 || i + 1 == count) text += '\n';
  }
  return tzString(text);
}

}  // namespace

tzString rkVector::getDataString(rkType type, const void* data, int count) {
  if (data == nullptr || elementSize(type) == 0) return tzString();
  const int perLine = isComplex(type) ? 4 : 8;
  const char* format = isFloat(type) ? "%13.6g" : "%6.0f";
  return tabulate(count, perLine, [&](std::string& text, int i) {
    double re, im;
    const auto* bytes = static_cast<const char*>(data);
    rkGetElement(type, bytes + std::ptrdiff_t{i} * elementSize(type), re, im);
    char item[400];  // "%.0f" of a 64-bit integer has 20 digits, "%g" fewer
    std::snprintf(item, sizeof item, format, re);
    text += item;
    if (!isComplex(type)) return;
    std::snprintf(item, sizeof item, format, im);
    text.append(",").append(item);
  });
}

tzString rkVector::getByteString(const void* data, int count) {
  if (data == nullptr) return tzString();
  return tabulate(count, 16, [&](std::string& text, int i) {
    char item[4];
    std::snprintf(item, sizeof item, "%02X", static_cast<const unsigned char*>(data)[i]);
    text += item;
  });
}
