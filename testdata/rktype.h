/// @file
/// Element types of test data: an int built from bits, with texts and limits.
#pragma once

#include <complex>
#include <cstdint>
#include <rkd/rkdbase.h>

#include "tzstring.h"

/// The low byte is the width in bits of one part; 256 signed, 512 floating point, 1024 complex.
enum rkType : int {
  rkUndef = 0,
  rk8u = 8,
  rk16u = 16,
  rk32u = 32,
  rk64u = 64,
  rk8s = 264,
  rk16s = 272,
  rk32s = 288,
  rk64s = 320,
  rk32f = 544,
  rk64f = 576,
  rk16uc = 1040,
  rk8sc = 1288,
  rk16sc = 1296,
  rk32sc = 1312,
  rk64sc = 1344,
  rk32fc = 1568,
  rk64fc = 1600
};

/// Bits of rkType.
constexpr int RK_WIDTH = 255, RK_SIGNED = 256, RK_FLOAT = 512, RK_COMPLEX = 1024;

/// "16s" and so on; "undef" for a value that is no type.
tzString typeToString(rkType type);
/// rkUndef for an unknown text.
rkType stringToType(const tzString& text);
/// The library's constant for a type; rkdTypeUndef for what the library does not know.
RkdDataType rkdType(rkType type);

inline bool isFloat(rkType type) { return (type & RK_FLOAT) != 0; }
inline bool isSigned(rkType type) { return (type & (RK_SIGNED | RK_FLOAT)) != 0; }
inline bool isComplex(rkType type) { return (type & RK_COMPLEX) != 0; }
/// The type of one part of a complex type; any other type as it is.
inline rkType partType(rkType type) { return rkType(type & ~RK_COMPLEX); }
/// Bytes of one element, both parts of a complex one together; 0 for rkUndef.
inline int elementSize(rkType type) { return (type & RK_WIDTH) / 8 * (isComplex(type) ? 2 : 1); }

/// @name Limits of one part of a type, as double; 0 for what is no type
/// @{
double getMinValue(rkType type);     ///< the most negative value
double getMaxValue(rkType type);     ///< the largest value; 2^63 and 2^64 for the 64-bit integers
double getMinAbsValue(rkType type);  ///< the smallest positive normal value: 1 for integers
/// @}

/// The one place that turns a type into C++: calls `f(T())` with the C++ type of one PART of
/// `type`; calls nothing for rkUndef.
template <typename F>
void withPartType(rkType type, F&& f) {
  switch (partType(type)) {
    // NOLINTNEXTLINE(bugprone-branch-clone): alike but for the type
    case rk8u:
      f(uint8_t());
      break;
    case rk16u:
      f(uint16_t());
      break;
    case rk32u:
      f(uint32_t());
      break;
    case rk64u:
      f(uint64_t());
      break;
    case rk8s:
      f(int8_t());
      break;
    case rk16s:
      f(int16_t());
      break;
    case rk32s:
      f(int32_t());
      break;
    case rk64s:
      f(int64_t());
      break;
    case rk32f:
      f(float());
      break;
    case rk64f:
      f(double());
      break;
    default:
      break;
  }
}
