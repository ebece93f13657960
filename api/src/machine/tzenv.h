/// @file
/// The library environment: the core services of the library behind pointers, so that the harness
/// also runs where they are not linked in; the versions of the linked libraries; the session's
/// choice of processor type and thread count.
#pragma once

#include <rkd/rkdbase.h>

#include "tzlist.h"
#include "tzstring.h"

/// @name Core entry points
/// Null until set. Suites assign the library's own in their environment function, and
/// setRkdEnvironment fills what is left with the harness's fallbacks.
/// @{
extern RkdCpuType (*rkd_GetCpuType)();
extern int (*rkd_GetNumCoresOnDie)();
extern RkdStatus (*rkd_GetMaxCacheSizeB)(int* size);
extern const char* (*rkd_GetStatusString)(RkdStatus status);
extern RkdStatus (*rkd_Init)();
extern RkdStatus (*rkd_InitCpu)(RkdCpuType type);
extern RkdStatus (*rkd_SetNumThreads)(int count);
extern const char* (*rkd_GetLevelName)();  ///< stays null where the library cannot tell
/// @}

/// @name Fallbacks
/// With tz_rkdGetCpuType and tz_rkdGetMaxCacheSizeB (tzcpu.h).
/// @{
int tz_rkdGetNumCoresOnDie();                        ///< cores of the package; 1 without CPUID
const char* s_rkdGetStatusString(RkdStatus status);  ///< "Error", "OK" or "Warning"
RkdStatus s_rkdInit();                               ///< not available, as the two below
RkdStatus s_rkdInitCpu(RkdCpuType type);
RkdStatus s_rkdSetNumThreads(int count);
/// @}

using tzRkdEnvironmentFunc = void (*)();
using tzRkdVersionFunc = const RkdLibraryVersion* (*)();

extern tzRkdEnvironmentFunc rkdEnvironment;       ///< null when no suite registered one
extern tzList<tzRkdVersionFunc>* rkdVersionList;  ///< null until the first registration
extern int s_cpuType;     ///< the session's processor type; -1: the library chooses
extern int s_numThreads;  ///< the session's thread count; below 1: left unchanged

/// @name Registration
/// Called from static initialisers.
/// @return 1, so that a unit can keep it in a file-scope integer
/// @{
int tzRegRkdEnvironment(tzRkdEnvironmentFunc function);  ///< the last one wins
int tzRegRkdVersion(tzRkdVersionFunc function);
/// @}

/// Calls the registered environment function and fills the entry points that are still null.
/// @return 1
int setRkdEnvironment();
/// Adds name, version and build date of every linked library to the list that the title shows.
void setRkdLibInfo();
/// Adds one library's name, version and build date to it.
void tzRegLibInfo(const tzString& info);
/// What was added, in order.
const tzStringList& tzLibInfo();
/// Applies s_cpuType; falls back to the library's own choice when the library refuses it.
void initStaticCpu();
/// Applies s_numThreads; a refusal is only told.
void setNumThreads();

/// Names of the processor types that the library can be told to work for.
class tzCpuType {
 public:
  /// The code of a name in any case, "SSE41" or "modelA"; -1 for an unknown name.
  static int cpuType(const tzString& name);
  /// The name of a code; "Unknown" for any other.
  static tzString cpuName(int code);
  /// What follows "rkdCpu" in the library's constant of this code, "ModelA".
  static tzString cpuLabel(int code);
  /// All names, separated by ", ", in the order of their codes.
  static tzString optimizedList();
};
