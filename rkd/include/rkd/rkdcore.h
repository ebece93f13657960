/// @file rkdcore.h
/// Core part: library versions, processor and level, threads, status texts, clock, memory.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Versions
/// One function a library; the record is constant and always there.
/// @{
RKD_API const RkdLibraryVersion* rkdGetLibVersion(void);       ///< librkdcore
RKD_API const RkdLibraryVersion* rkdsGetLibVersion(void);      ///< librkds
RKD_API const RkdLibraryVersion* rkdiGetLibVersion(void);      ///< librkdi
RKD_API const RkdLibraryVersion* rkdcolorGetLibVersion(void);  ///< librkdcolor
RKD_API const RkdLibraryVersion* rkdjpegGetLibVersion(void);   ///< librkdjpeg
/// @}

/// Text of a status code; "unknown status" for a code that the library does not have.
RKD_API const char* rkdGetStatusString(RkdStatus status);

/// @name Processor level
/// Every function exists once for each level; the choice holds for all five libraries at once.
/// Without a call the best level of the machine is in use. The two selecting functions must not
/// run while other threads are inside the library.
/// @{

/// Selects the best level of this machine. @return rkdStsNoErr
RKD_API RkdStatus rkdInit(void);

/// Selects the level of a processor type (see RkdCpuType).
/// @return rkdStsNoErr; rkdStsBadArgErr for a code that is none; rkdStsNotSupportedCpuErr for a
///         level above the machine's. After an error the level is what it was.
RKD_API RkdStatus rkdInitCpu(RkdCpuType cpu);

/// The type of this machine's processor: the best code from 64 on that its features allow.
RKD_API RkdCpuType rkdGetCpuType(void);

/// The level in use as the lowest processor type that selects it with its own name: 65, 67, 69,
/// 71 or 72. One function a library, so that a test can see that the choice reached each.
/// @{
RKD_API RkdCpuType rkdGetLevel(void);
RKD_API RkdCpuType rkdsGetLevel(void);
RKD_API RkdCpuType rkdiGetLevel(void);
RKD_API RkdCpuType rkdcolorGetLevel(void);
RKD_API RkdCpuType rkdjpegGetLevel(void);
/// @}

/// Name of the compiled variant in use: "SSSE3", "SSE4", "AVX2", "AVX3", "AVX3_DL" (AVX-512 without
/// and with VNNI and VBMI); the lowest is "SSE2", or "EMU128 (emulated)" where the library was
/// built with a Highway that has no SSE2: plain code, some ten times slower.
RKD_API const char* rkdGetLevelName(void);
/// @}

/// @name Threads
/// The functions of this build run in the caller's thread.
/// @{

/// @return rkdStsNoErr for 1; rkdStsLessThreadsWrn for more (one thread is used);
///         rkdStsSizeErr for less
RKD_API RkdStatus rkdSetNumThreads(int numThreads);

/// @param numThreads  receives the number of threads in use
/// @return rkdStsNoErr; rkdStsNullPtrErr
RKD_API RkdStatus rkdGetNumThreads(int* numThreads);
/// @}

/// @name Machine
/// @{

/// Processor cores in this package, at least 1; threads of one core count once.
RKD_API int rkdGetNumCoresOnDie(void);

/// Size of the largest data or unified cache, on processors of any maker.
/// @param sizeBytes  receives bytes, 0 after a warning
/// @return rkdStsNoErr; rkdStsUnknownCacheSizeWrn; rkdStsNullPtrErr
RKD_API RkdStatus rkdGetMaxCacheSizeB(int* sizeBytes);

/// The processor's time-stamp counter.
RKD_API uint64_t rkdGetCpuClocks(void);
/// @}

/// @name Memory
/// @{

/// A block that starts on a 64-byte boundary; null when there is no memory or length is 0.
RKD_API void* rkdMalloc(size_t length);

/// Gives back a block of rkdMalloc; null is ignored.
RKD_API void rkdFree(void* block);
/// @}

#ifdef __cplusplus
}
#endif
