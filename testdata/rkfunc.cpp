// Function names taken to pieces.
#include "rkfunc.h"

#include <algorithm>
#include <array>

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

char charAt(const tzString& text, int i) { return i < text.length() ? text[i] : '\0'; }

bool contains(const tzString& text, const char* part) { return text.find(part) >= 0; }

/// The types of a group. A group that ends early repeats its last type; one that goes on with what
/// is no type ("16sX") has no type there.
struct TypeGroup {
  std::array<tzString, 3> types;
  int count = 0;  ///< how many the group names
};

TypeGroup cutTypes(const tzString& group) {
  TypeGroup cut;
  tzString rest = group;
  for (tzString& type : cut.types) {
    const int length = lenOfType(rest);
    if (length > 0) {
      type = rest.substr(0, length);
      rest = rest.substr(length);
      ++cut.count;
    } else if (cut.count > 0 && rest.empty()) {
      type = cut.types[size_t(cut.count - 1)];
    }
  }
  return cut;
}

/// Whether the text holds a P that begins no channel code.
bool hasLoneP(const tzString& descr) {
  for (int p = descr.find("P"); p >= 0; p = descr.find("P", p + 1)) {
    if (!isDigit(charAt(descr, p + 1))) return true;
  }
  return false;
}

/// Takes the first channel code out of a description.
tzString firstChanStr(tzString& descr) {
  const int c = descr.find("C");
  const int p = descr.find("P");
  int letter = p < 0 || (c >= 0 && c < p) ? c : p;
  if (letter < 0 || !isDigit(charAt(descr, letter + 1))) return tzString();
  const int start = letter > 0 && descr[letter - 1] == 'A' ? letter - 1 : letter;
  tzString code = descr.substr(start, letter + 2 - start);
  descr = descr.substr(0, start) + descr.substr(letter + 2);

  // A lone P anywhere in what is left ("C3PR", "C3P3PR") makes the operand planar.
  const int interleaved = code.find("C");
  if (interleaved >= 0 && hasLoneP(descr)) code[interleaved] = 'P';
  return code;
}

/// What the base name of a signal function says about its types.
enum class SignalRule {
  RealResult,    ///< the result is the real part type of what the group says
  CplxResult,    ///< the result is complex
  RealSources,   ///< real sources make a complex result
  SecondSource,  ///< the second type is also that of the second source
  ComplexSource  ///< the same, where only the second type is complex
};

struct SignalBase {
  const char* base;
  SignalRule rule;
};

constexpr SignalBase kSignalBases[] = {
    {"Real", SignalRule::RealResult},         {"Imag", SignalRule::RealResult},
    {"Magnitude", SignalRule::RealResult},    {"Phase", SignalRule::RealResult},
    {"CplxToReal", SignalRule::RealResult},   {"CartToPolar", SignalRule::RealResult},
    {"PowerSpectr", SignalRule::RealResult},  {"PolarToCart", SignalRule::RealSources},
    {"RealToCplx", SignalRule::RealSources},  {"Goertz", SignalRule::CplxResult},
    {"Mul_16u16s", SignalRule::SecondSource}, {"DotProd", SignalRule::ComplexSource},
};

rkType complexType(rkType type) { return type == rkUndef ? rkUndef : rkType(type | RK_COMPLEX); }

void updateSignalTypes(const rkFunc& func, rkType& src, rkType& dst, rkType& src2, rkType& dst2) {
  const tzString base = func.baseName();
  for (const SignalBase& entry : kSignalBases) {
    // The group is no part of the base name: a rule for one group is written as base, "_", group.
    if (base != entry.base && base + "_" + func.typeName() != entry.base) continue;
    switch (entry.rule) {
      case SignalRule::RealResult:
        dst = dst2 = partType(dst);
        break;
      case SignalRule::CplxResult:
        dst = dst2 = complexType(dst);
        break;
      case SignalRule::RealSources:
        src = src2 = partType(src);
        dst = dst2 = complexType(dst);
        break;
      case SignalRule::SecondSource:
        src2 = dst;
        break;
      case SignalRule::ComplexSource:
        if (isComplex(dst) && !isComplex(src)) src2 = dst;
        break;
    }
  }
}

/// Order of single types: integers before floating types, real before complex, then by width,
/// unsigned first. Works on texts, because a group may hold types that are none of rkType ("1u").
int typeRank(const tzString& type) {
  int width = 0;
  width << type;
  width = std::min(width, 999);
  return (contains(type, "c") ? 4000 : 0) + (contains(type, "f") ? 2000 : 0) + width * 2 +
         (contains(type, "s") ? 1 : 0);
}

/// A description without what makes it a variant of its plain form.
struct DescrKey {
  tzString plain;
  bool alpha;
  bool inplace;
};

DescrKey descrKey(const tzString& descr) {
  DescrKey key{tzString(), false, false};
  for (int i = 0; i < descr.length(); ++i) {
    if (descr[i] == 'I') {
      key.inplace = true;
    } else if (descr[i] == 'A' && (charAt(descr, i + 1) == 'C' || charAt(descr, i + 1) == 'P')) {
      key.alpha = true;
    } else {
      key.plain += descr[i];
    }
  }
  return key;
}

struct LayoutEntry {
  const char* code;
  RkdChannels layout;
};

constexpr LayoutEntry kLayouts[] = {{"C0", rkdC0},   {"C1", rkdC1},   {"C2", rkdC2},  {"C3", rkdC3},
                                    {"C4", rkdC4},   {"P2", rkdP2},   {"P3", rkdP3},  {"P4", rkdP4},
                                    {"AC1", rkdAC1}, {"AC4", rkdAC4}, {"AP4", rkdAP4}};

}  // namespace

int lenOfType(const tzString& text) {
  int i = 0;
  while (isDigit(charAt(text, i))) ++i;
  const char letter = charAt(text, i);
  if (i == 0 || (letter != 'u' && letter != 's' && letter != 'f')) return 0;
  return charAt(text, i + 1) == 'c' ? i + 2 : i + 1;
}

int endOfBase(const tzString& name) {
  for (int i = name.find("_"); i >= 0; i = name.find("_", i + 1)) {
    if (lenOfType(name.substr(i + 1)) > 0) return i;
  }
  return -1;
}

int numChannels(const tzString& code) {
  const char digit = charAt(code, alphaChannel(code) ? 2 : 1);
  return digit >= '0' && digit <= '4' ? digit - '0' : 0;
}

bool planeChannel(const tzString& code) { return charAt(code, alphaChannel(code) ? 1 : 0) == 'P'; }

bool alphaChannel(const tzString& code) { return charAt(code, 0) == 'A'; }

// The pieces ------------------------------------------------------------------------------------

tzString rkFunc::prefix() const {
  const tzString start = substr(0, 4);
  return start == "rkds" || start == "rkdi" ? start : tzString();
}

void rkFunc::parseFunction(tzString& base, tzString& types, tzString& descr) const {
  const int start = prefix().length();
  const int end = endOfBase(*this);
  types = descr = tzString();
  if (end < 0) {
    base = substr(start);
    return;
  }
  base = substr(start, end - start);
  const int next = find("_", end + 1);
  types = next < 0 ? substr(end + 1) : substr(end + 1, next - end - 1);
  if (next >= 0) descr = substr(next + 1);
}

void rkFunc::parseFunction(tzString& base, tzString& type1, tzString& type2, tzString& type3,
                           tzString& descr) const {
  tzString types;
  parseFunction(base, types, descr);
  const TypeGroup cut = cutTypes(types);
  type1 = cut.types[0];
  type2 = cut.types[1];
  type3 = cut.types[2];
}

tzString rkFunc::baseName() const {
  tzString base, types, descr;
  parseFunction(base, types, descr);
  return base;
}

tzString rkFunc::typeName() const {
  tzString base, types, descr;
  parseFunction(base, types, descr);
  return types;
}

tzString rkFunc::descrName() const {
  tzString base, types, descr;
  parseFunction(base, types, descr);
  return descr;
}

// Element types ---------------------------------------------------------------------------------

rkType rkFunc::type(int n) const {
  if (n == 0) {
    const rkType inBase = typeFromBase();
    return inBase != rkUndef ? inBase : type(1);
  }
  if (n < 1 || n > 3) return rkUndef;
  return stringToType(cutTypes(typeName()).types[size_t(n - 1)]);
}

rkType rkFunc::type(rkArg arg) const {
  rkType src, dst, src2, dst2;
  getTypes(src, dst, src2, dst2);
  switch (arg) {
    case rkSrc:
      return src;
    case rkSrc2:
      return src2;
    case rkDst:
      return dst;
    case rkDst2:
      return dst2;
  }
  return rkUndef;
}

rkType rkFunc::srcType() const { return type(rkSrc); }
rkType rkFunc::src2Type() const { return type(rkSrc2); }
rkType rkFunc::dstType() const { return type(rkDst); }
rkType rkFunc::dst2Type() const { return type(rkDst2); }

void rkFunc::getTypes(rkType& src, rkType& dst, rkType& src2, rkType& dst2) const {
  const TypeGroup cut = cutTypes(typeName());
  src = stringToType(cut.types[0]);
  dst = dst2 = stringToType(cut.types[2]);
  // Of two types the second is the destination's: both sources are then of the first.
  src2 = cut.count == 3 ? stringToType(cut.types[1]) : src;
  updateTypes(src, dst, src2, dst2);
}

void rkFunc::updateTypes(rkType& src, rkType& dst, rkType& src2, rkType& dst2) const {
  const tzString family = prefix();
  if (family == "rkds") updateSignalTypes(*this, src, dst, src2, dst2);
  if (family != "rkdi") return;
  const tzString base = baseName();
  if (base == "Sum" || base == "Mean") dst = dst2 = rk64f;
  if (base == "Copy" || base == "Set") src2 = rk8u;
  if (contains(base, "Compare")) dst = dst2 = rk8u;
}

rkType rkFunc::typeFromBase() const {
  // Longer and complex forms stand before what they begin with.
  static constexpr const char* kSought[] = {"64fc", "64sc", "64s", "64f",  "32fc", "32sc",
                                            "32u",  "32s",  "32f", "16sc", "16uc", "16u",
                                            "16s",  "8sc",  "8u",  "8s"};
  const tzString base = baseName();
  for (const char* text : kSought) {
    if (contains(base, text)) return stringToType(text);
  }
  return rkUndef;
}

// Channels --------------------------------------------------------------------------------------

void rkFunc::getChannelsName(tzString& src, tzString& dst) const {
  tzString descr = descrName();
  src = firstChanStr(descr);
  dst = firstChanStr(descr);
  if (dst.empty()) dst = src;
}

tzString rkFunc::channelsName(int operand) const {
  tzString src, dst;
  getChannelsName(src, dst);
  return operand == 1 ? src : operand == 2 ? dst : tzString();
}

namespace {

/// The operand number of an argument; 0 for what is none.
int operandOf(rkArg arg) {
  return arg == rkSrc || arg == rkSrc2 ? 1 : arg == rkDst || arg == rkDst2 ? 2 : 0;
}

}  // namespace

int rkFunc::channels(int operand) const { return numChannels(channelsName(operand)); }
bool rkFunc::plane(int operand) const { return planeChannel(channelsName(operand)); }
bool rkFunc::alpha(int operand) const { return alphaChannel(channelsName(operand)); }

int rkFunc::channels(rkArg arg) const {
  const int operand = operandOf(arg);
  return operand != 0 ? channels(operand) : 1;
}
bool rkFunc::plane(rkArg arg) const { return plane(operandOf(arg)); }
bool rkFunc::alpha(rkArg arg) const { return alpha(operandOf(arg)); }

void rkFunc::getChannels(int& src, int& dst) const {
  src = srcChannels();
  dst = dstChannels();
}

void rkFunc::updateChannels(int& src, int& dst) const {
  if (src == 0) src = 1;
  if (dst == 0) dst = 1;
}

void rkFunc::getPlanes(bool& src, bool& dst) const {
  src = srcPlane();
  dst = dstPlane();
}

void rkFunc::getAlpha(bool& src, bool& dst) const {
  src = srcAlpha();
  dst = dstAlpha();
}

bool rkFunc::coi() const {
  const tzString descr = descrName();
  for (int i = descr.find("C"); i >= 0; i = descr.find("C", i + 1)) {
    const char next = charAt(descr, i + 1);
    if (next < '1' || next > '4') return true;
  }
  return false;
}

RkdChannels rkFunc::rkdChannels(int operand) const {
  // In "A0C4" the A is not directly before the C, so that the code found is a plain "C4".
  const tzString code = channelsName(operand);
  if (code == "C4" && contains(descrName(), "A0C4")) return rkdA0C4;
  for (const LayoutEntry& entry : kLayouts) {
    if (code == entry.code) return entry.layout;
  }
  return rkdC0;
}

// Flags and order -------------------------------------------------------------------------------

bool rkFunc::inplace() const { return contains(descrName(), "I"); }
bool rkFunc::roi() const { return contains(descrName(), "R"); }
bool rkFunc::scale() const { return contains(descrName(), "Sfs"); }
bool rkFunc::mask() const { return contains(descrName(), "M"); }

int rkFunc::compareTypes(const tzString& a, const tzString& b) {
  const TypeGroup first = cutTypes(a);
  const TypeGroup second = cutTypes(b);
  for (size_t i = 0; i < first.types.size(); ++i) {
    const int difference = typeRank(first.types[i]) - typeRank(second.types[i]);
    if (difference != 0) return difference;
  }
  return first.count - second.count;
}

int rkFunc::compareDescr(const tzString& a, const tzString& b) {
  const DescrKey first = descrKey(a);
  const DescrKey second = descrKey(b);
  const int difference = first.plain.compare(second.plain);
  if (difference != 0) return difference;
  if (first.alpha != second.alpha) return first.alpha ? 1 : -1;
  return int(first.inplace) - int(second.inplace);
}

int rkFunc::compare(const rkFunc& other) const {
  tzString base, types, descr, otherBase, otherTypes, otherDescr;
  parseFunction(base, types, descr);
  other.parseFunction(otherBase, otherTypes, otherDescr);
  int difference = base.compare(otherBase);
  if (difference == 0) difference = compareTypes(types, otherTypes);
  if (difference == 0) difference = compareDescr(descr, otherDescr);
  // Only one and the same name is equal.
  return difference != 0 ? difference : tzString::compare(other);
}
