/// @file rkdbase.h
/// What every part of the library shares: the export macro, status codes, sizes, version records
/// and processor levels. Plain C; declares no function, so that anything may include it.
///
/// Conventions of all functions:
/// - Samples are the <stdint.h> types; `8u` in a name is uint8_t, `16s` int16_t, `32f` float.
/// - Steps are the distance between row starts in BYTES; sizes and widths are in PIXELS.
/// - `C1`, `C3`, `C4` in a name: channels interleaved; `P3`, `P4`: an array of plane pointers whose
///   planes share one step; `R`: a region with steps; `I`: in place.
/// - Pointers to samples and coefficients may have any alignment, and steps need not be multiples
///   of the sample size.
/// - A function checks its arguments before it touches memory; after an error nothing is written.
/// - Functions keep no hidden state and may run in several threads at once on different data.
#pragma once

#include <stddef.h>
#include <stdint.h>

/// Version of these headers; what the loaded libraries have, their version functions tell. A change
/// of the first number is one of the sonames.
#define RKD_VERSION_MAJOR 1
#define RKD_VERSION_MINOR 0
#define RKD_VERSION_BUILD 0
/// The three as one number for comparisons by the preprocessor: 10203 is 1.2.3.
#define RKD_VERSION (RKD_VERSION_MAJOR * 10000 + RKD_VERSION_MINOR * 100 + RKD_VERSION_BUILD)
#define RKD_VERSION_STRING_(major, minor, build) #major "." #minor "." #build
#define RKD_VERSION_STRING_OF_(major, minor, build) RKD_VERSION_STRING_(major, minor, build)
/// The three as a text: "1.2.3".
#define RKD_VERSION_STRING \
  RKD_VERSION_STRING_OF_(RKD_VERSION_MAJOR, RKD_VERSION_MINOR, RKD_VERSION_BUILD)

/// Every public function is declared with RKD_API. A program that wants to start whether or not the
/// loaded library has a function defines RKD_WEAK before it includes these headers: references
/// become weak, and the address of a missing function is null.
#if defined(RKD_WEAK)
#define RKD_API __attribute__((visibility("default"), weak))
#else
#define RKD_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// Outcome of a call: rkdStsNoErr, a negative error, or a positive warning.
typedef int RkdStatus;

/// All status codes as X(name, value, text); the text is what rkdGetStatusString returns.
#define RKD_STATUS_LIST(X)                                                                         \
  X(rkdStsNoErr, 0, "no error")                                                                    \
  /* errors in how a function was called */                                                        \
  X(rkdStsErr, -1, "unspecified error")                                                            \
  X(rkdStsNotAvailableErr, -2, "the service is not available")                                     \
  X(rkdStsNullPtrErr, -3, "a pointer is null")                                                     \
  X(rkdStsSizeErr, -4, "a size, width or length is not positive or out of range")                  \
  X(rkdStsStepErr, -5, "a step is smaller than a row")                                             \
  X(rkdStsBadArgErr, -6, "a parameter is out of range")                                            \
  X(rkdStsNoMemErr, -7, "not enough memory")                                                       \
  X(rkdStsContextErr, -8, "a state or specification object is not initialised or of another kind") \
  X(rkdStsNotSupportedCpuErr, -9, "this processor does not support the requested type")            \
  /* errors in the data */                                                                         \
  X(rkdStsHuffTableErr, -20, "the Huffman table is invalid")                                       \
  X(rkdStsHuffCodeErr, -21, "a code is not in the Huffman table")                                  \
  X(rkdStsCoefRangeErr, -22, "a coefficient is out of the range of the coder")                     \
  X(rkdStsDstFullErr, -23, "the destination buffer is full")                                       \
  X(rkdStsSrcEndErr, -24, "the source data end too early")                                         \
  X(rkdStsDataErr, -25, "the source data are corrupt")                                             \
  X(rkdStsQuantTableErr, -26, "the quantisation table is invalid")                                 \
  /* warnings */                                                                                   \
  X(rkdStsMarkerWrn, 1, "a marker was found in the entropy-coded data")                            \
  X(rkdStsLessThreadsWrn, 2, "the number of threads was lowered")                                  \
  X(rkdStsCpuNotSupportedWrn, 36, "the processor does not report this property")                   \
  X(rkdStsUnknownCacheSizeWrn, 37, "the cache size was not found")

#define RKD_STATUS_ENUM_(name, value, text) name = (value),
enum { RKD_STATUS_LIST(RKD_STATUS_ENUM_) };
#undef RKD_STATUS_ENUM_

/// Processor types. rkdGetCpuType tells the one of this machine; rkdInitCpu takes one and selects
/// the level (the compiled variant of every function) named beside it.
typedef int RkdCpuType;
enum {
  rkdCpuUnknown = 0,  ///< nothing known: lowest level
  rkdCpuModelA = 33,  ///< certain processors with SSSE3, fewer than three cores: level SSSE3
  rkdCpuModelB = 34,  ///< the same with three or more cores: level SSSE3
  rkdCpuModelC = 35,  ///< certain processors with SSE4.1: level SSSE3
  rkdCpuModelD = 36,  ///< certain processors with SSSE3 and MOVBE: level SSSE3
  rkdCpuModelE = 37,  ///< certain processors with SSE4.2 and without AVX: level SSE4
  rkdCpuSSE = 64,     ///< lowest level
  rkdCpuSSE2 = 65,    ///< lowest level
  rkdCpuSSE3 = 66,    ///< lowest level
  rkdCpuSSSE3 = 67,   ///< level SSSE3
  rkdCpuSSE41 = 68,   ///< level SSE4
  rkdCpuSSE42 = 69,   ///< level SSE4
  rkdCpuAVX = 70,     ///< level SSE4: the integer instructions of AVX are 128 bits wide
  rkdCpuAVX2 = 71,    ///< level AVX2
  rkdCpuAVX512 = 72,  ///< level AVX-512, with VNNI and VBMI where the processor has them
  rkdCpu64 = 96       ///< 64-bit mode and nothing more: lowest level
};

/// Element types, as they stand in function names; `c` is complex.
typedef enum {
  rkdTypeUndef = 0,
  rkd8u,
  rkd8s,
  rkd16u,
  rkd16s,
  rkd32u,
  rkd32s,
  rkd64u,
  rkd64s,
  rkd32f,
  rkd64f,
  rkd8sc,
  rkd16uc,
  rkd16sc,
  rkd32sc,
  rkd64sc,
  rkd32fc,
  rkd64fc
} RkdDataType;

/// Channel layouts, as they stand in function names: C interleaved, P planar, A with an alpha
/// channel that functions leave alone (A0: the first one).
typedef enum {
  rkdC0 = 0,
  rkdC1,
  rkdC2,
  rkdC3,
  rkdC4,
  rkdP2,
  rkdP3,
  rkdP4,
  rkdAC1,
  rkdAC4,
  rkdA0C4,
  rkdAP4
} RkdChannels;

/// Width and height in pixels.
typedef struct {
  int width;
  int height;
} RkdiSize;

/// A position in pixels.
typedef struct {
  int x;
  int y;
} RkdiPoint;

/// A rectangle in pixels.
typedef struct {
  int x;
  int y;
  int width;
  int height;
} RkdiRect;

/// What rkdGetLibVersion and its companions tell about one library. The texts live for ever.
typedef struct {
  int major;              ///< changes when callers must be recompiled
  int minor;              ///< changes when functions are added
  int build;              ///< changes with every other release
  const char* name;       ///< "librkdjpeg.so.1"
  const char* version;    ///< "1.0.0"
  const char* buildDate;  ///< "2024-05-31"
  const char* levels;     ///< the levels compiled in, lowest first: "EMU128 SSSE3 SSE4 AVX2 AVX3"
} RkdLibraryVersion;

#ifdef __cplusplus
}
#endif
