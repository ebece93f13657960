// Exif tags set from text.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "exiftags.h"
#include "exifvalues.h"

namespace jpeg::exif {
namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

/// A decimal with as few powers of ten below as it has digits.
std::optional<Fraction> parseDecimal(std::string_view text, bool isSigned) {
  Fraction f;
  const bool isNegative = !text.empty() && text.front() == '-';
  if (isNegative) text.remove_prefix(1);
  bool hasDigits = false, isBehindPoint = false;
  const int64_t most = isSigned ? 0x7FFFFFFF : 0xFFFFFFFF;
  for (const char c : text) {
    if (c == '.' && !isBehindPoint) {
      isBehindPoint = true;
      continue;
    }
    if (c < '0' || c > '9') return std::nullopt;
    hasDigits = true;
    const bool isFull = f.numerator > (most - 9) / 10 || f.denominator > most / 10;
    if (isFull && isBehindPoint) continue;  // more digits than there is room for
    if (isFull) return std::nullopt;
    f.numerator = 10 * f.numerator + (c - '0');
    if (isBehindPoint) f.denominator *= 10;
  }
  if (!hasDigits || (isNegative && !isSigned)) return std::nullopt;
  if (isNegative) f.numerator = -f.numerator;
  return f;
}

/// "3", "-2", "1.5", "1/60".
std::optional<Fraction> parseNumber(std::string_view text, bool isSigned) {
  const size_t slash = text.find('/');
  if (slash == std::string_view::npos) return parseDecimal(text, isSigned);
  const auto above = parseDecimal(text.substr(0, slash), isSigned);
  const auto below = parseDecimal(text.substr(slash + 1), false);
  if (!above || !below || above->denominator != 1 || below->denominator != 1) return std::nullopt;
  return Fraction{above->numerator, below->numerator};
}

bool fits(const Fraction& f, Type type) {
  if (isFraction(type)) return true;
  if (f.denominator != 1) return false;
  const int bits = 8 * sizeOf(type);
  const bool isSigned = type == Type::s8 || type == Type::s16 || type == Type::s32;
  const int64_t most = (int64_t{1} << (isSigned ? bits - 1 : bits)) - 1;
  return f.numerator <= most && f.numerator >= (isSigned ? -most - 1 : 0);
}

bool isSignedType(Type type) {
  return type == Type::s8 || type == Type::s16 || type == Type::s32 || type == Type::srational;
}

/// Numbers between blanks, commas or the signs of a clock and of degrees.
std::optional<std::vector<Fraction>> parseNumbers(std::string_view text, Type type) {
  constexpr std::string_view kBetween = " ,:'\"";
  std::vector<Fraction> values;
  while (true) {
    const size_t from = text.find_first_not_of(kBetween);
    if (from == std::string_view::npos) return values;
    text.remove_prefix(from);
    const size_t length = std::min(text.find_first_of(kBetween), text.size());
    const auto value = parseNumber(text.substr(0, length), isSignedType(type));
    if (!value || !fits(*value, type)) return std::nullopt;
    values.push_back(*value);
    text.remove_prefix(length);
  }
}

/// The shape of a date, a clock or both: digits where it has them.
bool hasShape(std::string_view text, std::string_view shape) {
  return text.size() == shape.size() &&
         std::equal(text.begin(), text.end(), shape.begin(), [](char c, char s) {
           return s == '0' ? c >= '0' && c <= '9' : c == s || (s == '+' && c == '-');
         });
}

Status setText(Document* document, const TagInfo& info, std::string_view text) {
  // The lengths that the standard fixes are those of dates, offsets from UTC and letters.
  const bool isDate = info.count == 20, isDay = info.count == 11, isOffset = info.count == 7;
  if ((isDate && !hasShape(text, "0000:00:00 00:00:00")) ||
      (isDay && !hasShape(text, "0000:00:00")) || (isOffset && !hasShape(text, "+00:00")) ||
      (info.count > 0 && text.size() + 1 != size_t(info.count))) {
    return Status::badTagValue;
  }
  std::string ended(text);
  ended.push_back('\0');
  document->put(info.directory, makeEntry(info.tag, Type::ascii, ended));
  return Status::ok;
}

Status setComment(Document* document, const TagInfo& info, std::string_view text) {
  const bool isAscii = std::ranges::all_of(text, [](char c) { return c >= 0; });
  if (!isAscii) return Status::badTagValue;
  std::string coded("ASCII\0\0\0", 8);
  coded.append(text);
  document->put(info.directory, makeEntry(info.tag, Type::undefined, coded));
  return Status::ok;
}

/// "48 12 30.5 N", "-11.25": a letter or a sign tells the hemisphere.
Status setCoordinate(Document* document, const TagInfo& info, std::string_view text) {
  const bool isLatitude = std::string_view(info.name).find("Latitude") != std::string_view::npos;
  const std::string_view letters = isLatitude ? "NS" : "EW";
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    const std::string_view rest = text.substr(i);
    const size_t sign = rest.starts_with("deg") ? 3 : rest.starts_with("\u00B0") ? 2 : 0;
    plain.push_back(sign > 0 ? ' ' : text[i]);
    i += sign > 0 ? sign - 1 : 0;
  }
  char letter = 0;
  std::string_view rest = trimmed(plain);
  if (!rest.empty() && letters.find(rest.back()) != std::string_view::npos) {
    letter = rest.back();
    rest = trimmed(rest.substr(0, rest.size() - 1));
  }
  if (!rest.empty() && rest.front() == '-') {
    if (letter != 0) return Status::badTagValue;
    letter = letters[1];
    rest.remove_prefix(1);
  }
  auto values = parseNumbers(rest, Type::rational);
  if (!values || values->empty() || values->size() > 3) return Status::badTagValue;
  if (values->size() == 1) {
    // Rounded once, so that there are never sixty seconds.
    constexpr int64_t kParts = 10000, kMinute = 60 * kParts, kDegree = 60 * kMinute;
    const int64_t parts = std::llround(values->front().value() * double(kDegree));
    values = {{parts / kDegree, 1}, {parts % kDegree / kMinute, 1}, {parts % kMinute, kParts}};
  }
  values->resize(3);
  const double degrees =
      (*values)[0].value() + (*values)[1].value() / 60 + (*values)[2].value() / 3600;
  if (degrees > (isLatitude ? 90 : 180)) return Status::badTagValue;
  document->put(info.directory,
                makeEntry(info.tag, Type::rational, *values, document->isBigEndian));
  const uint16_t reference = uint16_t(info.tag - 1);
  if (letter == 0 && document->find(info.directory, reference) == nullptr) letter = letters[0];
  if (letter != 0) {
    document->put(info.directory, makeEntry(reference, Type::ascii, std::string{letter, '\0'}));
  }
  return Status::ok;
}

Status setNumbers(Document* document, const TagInfo& info, std::string_view text) {
  if (info.meaning == Meaning::choice) {
    const auto found =
        std::ranges::find_if(info.choices, [&](const Choice& c) { return text == c.name; });
    if (found != info.choices.end()) {
      const Fraction value{found->value, 1};
      document->put(info.directory,
                    makeEntry(info.tag, info.type, {&value, 1}, document->isBigEndian));
      return Status::ok;
    }
  }
  const auto values = parseNumbers(text, info.type);
  if (!values || values->empty() || (info.count > 0 && values->size() != size_t(info.count))) {
    return Status::badTagValue;
  }
  const bool isChoice =
      info.meaning != Meaning::choice || std::ranges::find(info.choices, values->front().numerator,
                                                           &Choice::value) != info.choices.end();
  if (!isChoice) return Status::badTagValue;
  document->put(info.directory, makeEntry(info.tag, info.type, *values, document->isBigEndian));
  return Status::ok;
}

Status setUndefined(Document* document, const TagInfo& info, std::string_view text) {
  switch (info.meaning) {
    case Meaning::comment:
      return setComment(document, info, text);
    case Meaning::version:
      if (!hasShape(text, "0000")) return Status::badTagValue;
      document->put(info.directory, makeEntry(info.tag, Type::undefined, text));
      return Status::ok;
    case Meaning::choice:
    case Meaning::components:
      return setNumbers(document, info, text);
    default:
      return Status::badTagValue;  // nothing that has a form in text
  }
}

/// The versions that directories must have.
void addVersion(Document* document, Directory d) {
  if (d == Directory::photo && document->find(d, kExifVersion) == nullptr) {
    document->put(d, makeEntry(kExifVersion, Type::undefined, "0232"));
  }
  if (d == Directory::gps && document->find(d, kGpsVersion) == nullptr) {
    document->put(d, makeEntry(kGpsVersion, Type::byte, std::string_view("\2\3\0\0", 4)));
  }
}

}  // namespace

Status set(Document* document, std::string_view name, std::string_view text) {
  const TagInfo* const info = infoOf(name);
  const bool isData =
      info != nullptr &&
      (isPointer(info->directory, info->tag) || info->tag == kJpegOffset ||
       info->tag == kJpegLength || info->tag == kStripOffsets || info->tag == kStripByteCounts);
  if (info == nullptr || isData) return Status::unknownTag;
  if (text.empty()) {
    document->remove(info->directory, info->tag);
    if (info->meaning == Meaning::coordinate) {
      document->remove(info->directory, uint16_t(info->tag - 1));
    }
    return Status::ok;
  }
  const Status status = info->type == Type::ascii       ? setText(document, *info, text)
                        : info->type == Type::undefined ? setUndefined(document, *info, text)
                        : info->meaning == Meaning::coordinate
                            ? setCoordinate(document, *info, text)
                            : setNumbers(document, *info, text);
  if (!isError(status)) addVersion(document, info->directory);
  return status;
}

}  // namespace jpeg::exif
