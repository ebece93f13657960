// The life of the coders' objects, which may lie at any address: what is inside starts at the next
// cache line.
#pragma once

#include <cstdint>

#include "common/args.h"
#include "rkd/rkdcore.h"

namespace rkd::j2k {

inline constexpr uintptr_t lineSize = 64;

/// Inside is a type with a member `kind` and a constant Inside::mark that it holds once made.
template <class Inside, class Object>
inline auto* insideOf(Object* object) {
  using To = std::conditional_t<std::is_const_v<Object>, const Inside, Inside>;
  const auto address = reinterpret_cast<uintptr_t>(object);
  return reinterpret_cast<To*>((address + lineSize - 1) & ~(lineSize - 1));
}

template <class Inside, class Object>
inline RkdStatus checkObject(const Object* object) {
  if (object == nullptr) return rkdStsNullPtrErr;
  return insideOf<Inside>(object)->kind == Inside::mark ? rkdStsNoErr : rkdStsContextErr;
}

template <class Inside>
inline RkdStatus tellSize(int* size) {
  if (size == nullptr) return rkdStsNullPtrErr;
  *size = int(sizeof(Inside) + lineSize - 1);
  return rkdStsNoErr;
}

template <class Inside, class Object>
inline RkdStatus initObject(Object* object) {
  if (object == nullptr) return rkdStsNullPtrErr;
  Inside* const inside = insideOf<Inside>(object);
  inside->kind = Inside::mark;
  inside->loaded = false;
  return rkdStsNoErr;
}

template <class Inside, class Object>
inline RkdStatus initAllocObject(Object** object) {
  if (object == nullptr) return rkdStsNullPtrErr;
  auto* const memory = static_cast<Object*>(rkdMalloc(sizeof(Inside) + lineSize - 1));
  if (memory == nullptr) return rkdStsNoMemErr;
  *object = memory;
  return initObject<Inside>(memory);
}

inline RkdStatus freeObject(void* object) {
  rkdFree(object);
  return rkdStsNoErr;
}

}  // namespace rkd::j2k
