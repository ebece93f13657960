/// @file
/// The fill modes of test data: arithmetic over plain arrays, used by vectors and images alike.
///
/// Values are given as double. They are converted to the element type by rounding to nearest, ties
/// to even, and by saturation at the type's limits (not-a-number becomes 0 in an integer).
#pragma once

#include "rktype.h"

/// How createVector, createImageExt and setVector fill; any other value leaves the data as they
/// are.
enum SetMode : int {
  rkModeConst = 0,     ///< the type's default constant: 1.00001 for floating types, 2 for integers
  rkModeZero = 1,      ///< all 0
  rkModeOne = 2,       ///< all 1
  rkModeMax = 3,       ///< the type's maximum
  rkModeMin = 4,       ///< the type's minimum
  rkModeValue = 5,     ///< a, and b as imaginary part
  rkModeRandom = 6,    ///< uniform between a and b; when they are equal over [-1, 1] for floating
                       ///< types and over the whole range for integers
  rkModeSequence = 7,  ///< from a in steps of (b - a) / length, at least 1 for integers; starts
                       ///< again at a beyond b
  rkModeNone = -1      ///< not filled
};

/// A double as an element: rounded and saturated as the head of this file says.
template <typename T>
T rkConvert(double value);

/// A run of elements of one type; `data` points to `count` elements (2 * count parts when complex).
struct rkSpan {
  rkType type = rkUndef;
  void* data = nullptr;
  long long count = 0;
};

/// @name Fills
/// Each fills one run; a fill that continues over several runs (rows, planes) gets its state by
/// reference.
/// @{
void rkFillConst(const rkSpan& span, double re, double im);

/// Uniform random values between lo and hi from the process-wide stream. The same seed gives the
/// same data everywhere.
/// @param seed  the stream's state; moved on
void rkFillRandom(const rkSpan& span, double lo, double hi, unsigned int& seed);

/// Where a sequence stands.
struct rkSequence {
  double lo;
  double hi;
  double step;
  bool wrap;      ///< starts again at lo beyond hi; otherwise stays at hi
  double x = lo;  ///< the next value
};
/// lo, lo + step, lo + 2 step ... Above hi it starts again or stays, whatever the sign of the step:
/// sequences rise, and one from above hi is a constant. A complex element takes x as real and
/// lo + hi - x as imaginary part.
void rkFillSequence(const rkSpan& span, rkSequence& sequence);

/// The zone plate of Jaehne over a plane of width x height elements:
///
///     offset + magnitude * sin(pi * ((x - cx)^2 / width + (y - cy)^2 / height))
///
/// with (cx, cy) the centre ((width - 1) / 2, (height - 1) / 2): rings about the centre whose
/// frequency grows to the highest that samples can carry at the middle of each edge. A complex
/// element has the cosine as imaginary part.
struct rkZonePlate {
  int width;
  int height;
  double magnitude;
  double offset;
};
/// One row of it.
/// @param channels  interleaved channels, all alike; span.count is width * channels
void rkFillZoneRow(const rkSpan& span, const rkZonePlate& plate, int y, int channels);
/// The one-dimensional form: offset + magnitude * sin(pi / 2 * i^2 / count), a sweep from frequency
/// 0 to the highest.
void rkFillZoneVector(const rkSpan& span, double magnitude, double offset);

/// Limits the magnitude to half the type's range and gives the offset: the middle of the range for
/// unsigned integers, 0 otherwise.
/// @return false for a negative magnitude or not-a-number
bool updateJaehneMagn(rkType type, double& magnitude, double& offset);
/// @}

/// Reads one element.
void rkGetElement(rkType type, const void* element, double& re, double& im);

/// The smallest and largest part over a run; both are moved outwards from what they are.
void rkMinMax(const rkSpan& span, double& lowest, double& highest);
