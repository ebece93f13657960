/// @file
/// Result codes of measurements and tests. Larger is worse; a test keeps the largest that it met.
#pragma once

/// 0 "was not run", 1 "successfully", 2 to 6 warnings, 7 to 11 failures.
using tzResult = int;

inline constexpr tzResult TZ_UNDEFINED = 0;
inline constexpr tzResult TZ_OK = 1;
inline constexpr tzResult TZ_ACCURWRN = 2;    ///< the samples spread more than the accuracy limit
inline constexpr tzResult TZ_BADSTSWRN = 3;   ///< the floating-point or SIMD status was modified
inline constexpr tzResult TZ_DATAWRN = 4;     ///< doubtful test data or table lines
inline constexpr tzResult TZ_FUNCWRN = 5;     ///< the measured function returned a warning
inline constexpr tzResult TZ_WARNING = 6;     ///< any other warning; in counters: all warnings
inline constexpr tzResult TZ_ACCURFAIL = 7;   ///< nothing usable could be measured
inline constexpr tzResult TZ_DATAFAIL = 8;    ///< the test's data could not be made
inline constexpr tzResult TZ_FUNCFAIL = 9;    ///< the measured function failed or was wrong
inline constexpr tzResult TZ_EXCPTFAIL = 10;  ///< an exception or a signal ended the test
inline constexpr tzResult TZ_FAIL = 11;       ///< any other failure; in counters: all failures

constexpr bool tzIsWarning(tzResult result) {
  return result >= TZ_ACCURWRN && result <= TZ_WARNING;
}
constexpr bool tzIsFailure(tzResult result) { return result >= TZ_ACCURFAIL; }

/// The code's name as tables and reports show it, "ACCURWRN"; "UNKNOWN" for any other number.
const char* tzResultName(tzResult result);

/// The code as a phrase, "wrong measure accuracy"; "unknown result" for any other number.
const char* tzResultString(tzResult result);
