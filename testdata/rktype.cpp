// Element types: texts, sizes, limits.
#include "rktype.h"

#include <limits>

namespace {

struct TypeEntry {
  rkType type;
  const char* text;
  RkdDataType library;
};

constexpr TypeEntry kTypes[] = {
    {rk8u, "8u", rkd8u},       {rk16u, "16u", rkd16u},    {rk32u, "32u", rkd32u},
    {rk64u, "64u", rkd64u},    {rk8s, "8s", rkd8s},       {rk16s, "16s", rkd16s},
    {rk32s, "32s", rkd32s},    {rk64s, "64s", rkd64s},    {rk32f, "32f", rkd32f},
    {rk64f, "64f", rkd64f},    {rk16uc, "16uc", rkd16uc}, {rk8sc, "8sc", rkd8sc},
    {rk16sc, "16sc", rkd16sc}, {rk32sc, "32sc", rkd32sc}, {rk64sc, "64sc", rkd64sc},
    {rk32fc, "32fc", rkd32fc}, {rk64fc, "64fc", rkd64fc},
};

const TypeEntry* findType(rkType type) {
  for (const TypeEntry& entry : kTypes) {
    if (entry.type == type) return &entry;
  }
  return nullptr;
}

}  // namespace

tzString typeToString(rkType type) {
  const TypeEntry* entry = findType(type);
  return entry != nullptr ? entry->text : "undef";
}

rkType stringToType(const tzString& text) {
  for (const TypeEntry& entry : kTypes) {
    if (text == entry.text) return entry.type;
  }
  return rkUndef;
}

RkdDataType rkdType(rkType type) {
  const TypeEntry* entry = findType(type);
  return entry != nullptr ? entry->library : rkdTypeUndef;
}

double getMinValue(rkType type) {
  double value = 0;
  withPartType(type, [&]<typename T>(T) { value = double(std::numeric_limits<T>::lowest()); });
  return value;
}

double getMaxValue(rkType type) {
  double value = 0;
  withPartType(type, [&]<typename T>(T) { value = double(std::numeric_limits<T>::max()); });
  return value;
}

double getMinAbsValue(rkType type) {
  double value = 0;
  withPartType(type, [&]<typename T>(T) {
    value = std::numeric_limits<T>::is_integer ? 1.0 : double(std::numeric_limits<T>::min());
  });
  return value;
}
