// The version record and the level query that each of the five libraries has under its own prefix.
// Compiled once a library, with RKD_LIBRARY_PREFIX (rkds) and RKD_LIBRARY_FILE ("librkds.so.1").
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "common/library.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdcore.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
int64_t compiledTarget() { return HWY_TARGET; }
}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {

HWY_EXPORT(compiledTarget);

int64_t targetInUse() { return RKD_AT_LEVEL(compiledTarget)(); }

const char* compiledLevels() {
  static char text[128];
  static const bool done = [] {
    char* end = text;
    // Lowest level first; a target's bit is the higher the lower its level.
    for (int bit = 62; bit >= 0; --bit) {
      const int64_t target = int64_t{1} << bit;
      if ((HWY_TARGETS & target) == 0) continue;
      const char* name = hwy::TargetName(target);
      if (end != text) *end++ = ' ';
      while (*name != 0 && end < text + sizeof(text) - 2) *end++ = *name++;
    }
    return true;
  }();
  static_cast<void>(done);
  return text;
}

}  // namespace
}  // namespace rkd

#define RKD_JOIN_(a, b) a##b
#define RKD_JOIN(a, b) RKD_JOIN_(a, b)

const RkdLibraryVersion* RKD_JOIN(RKD_LIBRARY_PREFIX, GetLibVersion)(void) {
  static const RkdLibraryVersion version = {
      RKD_VERSION_MAJOR,  RKD_VERSION_MINOR, RKD_VERSION_BUILD,    RKD_LIBRARY_FILE,
      RKD_VERSION_STRING, RKD_BUILD_DATE,    rkd::compiledLevels()};
  return &version;
}

RkdCpuType RKD_JOIN(RKD_LIBRARY_PREFIX, GetLevel)(void) {
  return rkd::typeOfTarget(rkd::targetInUse());
}

#if defined(RKD_LIBRARY_IS_CORE)
const char* rkdGetLevelName(void) {
  const int64_t target = rkd::targetInUse();
  return target == HWY_EMU128 ? "EMU128 (emulated)" : hwy::TargetName(target);
}
#endif
#endif  // HWY_ONCE
