/// @file
/// One-dimensional test buffer in tracked memory.
#pragma once

#include <algorithm>
#include <cassert>
#include <vector>

#include "rkfill.h"
#include "rkfunc.h"
#include "rktype.h"
#include "tzobject.h"

/// An array of elements of one type, placed as the session's settings say, with fill modes and a
/// reserved copy.
///
///     rkVector src;
///     src.init(rk16s);
///     if (!src.createVector(64 * numBlocks, rkModeRandom)) return false;
///     call(src.data16s());
///
/// All random data come from one stream, so that data are the same from run to run.
class rkVector : public tzObject {
 public:
  /// State of the random stream; every test restarts it at START_SEED.
  static unsigned int m_seed;
  static constexpr unsigned int START_SEED = 7;

  /// More bytes than this are refused for one buffer.
  static constexpr long long MAX_BYTES = 2'000'000'000;

  rkVector() = default;
  rkVector(const rkVector&) = delete;
  rkVector& operator=(const rkVector&) = delete;

  int objectSize() const override;
  tzString objectInfo() const override;
  bool reserveCopy() override;
  void setReservedCopy() override;
  void deleteReservedCopy() override;
  ~rkVector() override;

  /// Frees data and reserved copy; element type and channels stay.
  virtual void deleteVector();

  /// @name Fills
  /// @return false when there are no data, or when the arguments are refused
  /// @{
  virtual bool setConst();  ///< 1.00001 or 2
  virtual bool setConst(double re, double im);
  virtual bool setMinValue();
  virtual bool setMaxValue();
  virtual bool setJaehne();                  ///< magnitude 1.0, for integers half the range
  virtual bool setJaehne(double magnitude);  ///< refuses a negative magnitude
  /// `lo` to `hi` in equal steps of (hi - lo) / (length - 1); with one element `lo`.
  virtual bool setSequence(double lo, double hi);
  virtual bool setSequence(double lo, double hi, double step, bool wrap);
  virtual bool setRandom();  ///< [-1, 1], for integers the whole range
  virtual bool setRandom(double lo, double hi);
  /// From a stream of its own that starts at `seed`; the process-wide one stays where it is.
  virtual bool setRandom(double lo, double hi, unsigned int seed);
  /// @}

  virtual tzString getString() const;  ///< all elements as text
  virtual int size() const;         ///< bytes of the data, all rows and planes with their padding
  virtual void* getReservedData();  ///< the copy (of the first plane); null without one

  virtual bool setVector(SetMode mode, double a, double b);
  /// Fills element `i` alone; elements are counted over all rows and planes, without padding.
  /// @return false outside the data
  virtual bool setIndex(int i, SetMode mode, double a, double b);
  virtual double getIndex(int i) const;  ///< the real part; 0 outside the data
  /// @return false outside the data, with both parts 0
  virtual bool getIndex(int i, double& re, double& im) const;
  virtual const void* getDataConst() const { return m_data; }

  /// @name Element type
  /// Takes effect with the next creation; data of another type are freed.
  /// @{
  void init(rkType type);
  void init(const rkFunc& func, int typeNumber);
  void init(const rkFunc& func, rkArg arg);
  rkType type() const { return m_type; }
  /// @}

  /// @name Creation
  /// Frees what was there. A length of 0 is allowed: a buffer without elements.
  /// @return false when the length is negative or too large, when no type is set, and when there is
  ///         no memory
  /// @{
  /// Data not filled.
  /// @param align  bytes of misalignment; -1: as the session's settings say
  bool createVector(int length, int align = -1) { return createVector(length, align, nullptr); }
  /// @param data  when not null: used instead of allocating, and stays owned by the caller
  bool createVector(int length, int align, void* data);
  bool createVector(int length, SetMode mode, double a = 0, double b = 0);
  bool createVectorExt(int length, int align, SetMode mode, double a = 0, double b = 0);
  /// @}

  /// @name Data as the library takes them
  /// Null before creation. The element type must be one of the accessor's width.
  /// @{
  void* data() const { return m_data; }
  uint8_t* data8u() const { return as<uint8_t>(); }
  int8_t* data8s() const { return as<int8_t>(); }
  uint16_t* data16u() const { return as<uint16_t>(); }
  int16_t* data16s() const { return as<int16_t>(); }
  uint32_t* data32u() const { return as<uint32_t>(); }
  int32_t* data32s() const { return as<int32_t>(); }
  uint64_t* data64u() const { return as<uint64_t>(); }
  int64_t* data64s() const { return as<int64_t>(); }
  float* data32f() const { return as<float>(); }
  double* data64f() const { return as<double>(); }
  void* getPointerAt(int i) const;         ///< null outside the data
  int length() const { return m_length; }  ///< elements
  int numItems() const { return m_length; }
  virtual int numActualItems() const { return m_length; }
  virtual int getNumRows() const { return 1; }
  int getRowLen() const { return m_length / std::max(getNumRows(), 1); }
  bool isCreated() const { return m_data != nullptr; }
  /// @}

  /// Over all parts of the data; 0 without data.
  /// @{
  double minValue() const;
  double maxValue() const;
  /// @}

  /// @name Text dumps
  /// @{
  /// Elements separated by blanks, each line headed by the index of its first element.
  static tzString getDataString(rkType type, const void* data, int count);
  /// Bytes in hexadecimal, 16 a line, each line headed by its offset.
  static tzString getByteString(const void* data, int count);
  /// @}

 protected:
  /// A buffer with its copy; an image has one a plane.
  struct Buffer {
    void* data = nullptr;
    void* reserved = nullptr;
    bool owned = true;
  };

  /// Replaces the buffers by `count` new ones of `bytes` bytes each.
  bool createBuffers(int count, long long bytes, int align, void* data);
  virtual rkSpan rowSpan(int row) const;
  /// rowSpan's part of element `i`, one element long; an empty span outside the data.
  rkSpan elementSpan(int i) const;
  /// Calls `fill(span)` for every row.
  template <typename Fill>
  bool fillRows(Fill&& fill) {
    if (!isCreated()) return false;
    for (int row = 0; row < getNumRows(); ++row) fill(rowSpan(row));
    return true;
  }

  template <typename T>
  T* as() const {
    assert(elementSize(partType(m_type)) == int(sizeof(T)));
    return static_cast<T*>(m_data);
  }

  rkType m_type = rkUndef;
  int m_length = 0;        ///< elements, over all rows and planes
  void* m_data = nullptr;  ///< what the library gets: the first buffer's data
  std::vector<Buffer> m_buffers;
  int m_bufferBytes = 0;  ///< of each buffer
};
