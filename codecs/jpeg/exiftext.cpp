// Exif values as text for people.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "exiftags.h"
#include "exifvalues.h"

namespace jpeg::exif {
namespace {

/// The shortest decimal of a number, to six digits.
std::string decimal(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

void appendUtf8(std::string* text, unsigned code) {
  if (code < 0x80) {
    *text += char(code);
  } else if (code < 0x800) {
    *text += char(0xC0 | code >> 6);
    *text += char(0x80 | (code & 63));
  } else {
    *text += char(0xE0 | code >> 12);
    *text += char(0x80 | (code >> 6 & 63));
    *text += char(0x80 | (code & 63));
  }
}

/// One line: what is no character that a terminal shows becomes a backslash and its number.
std::string printable(std::string_view raw) {
  std::string text;
  for (const char c : raw) {
    const unsigned code = static_cast<unsigned char>(c);
    char escape[8];
    if (code < 32 || code == 127) {
      std::snprintf(escape, sizeof escape, "\\x%02X", code);
      text += escape;
    } else {
      text += c;
    }
  }
  return text;
}

std::string withoutEnd(std::string text) {
  const size_t last = text.find_last_not_of(std::string("\0 ", 2));
  text.resize(last == std::string::npos ? 0 : last + 1);
  return text;
}

/// One value of one tag.
class Teller {
 public:
  Teller(const Document& document, Directory directory, const Entry& entry)
      : document_(document), directory_(directory), entry_(entry) {}
  std::string all(const TagInfo* info) const;

 private:
  double real(uint32_t index) const { return realAt(entry_, index, document_.isBigEndian); }
  Fraction fraction(uint32_t index) const {
    return fractionAt(entry_, index, document_.isBigEndian);
  }
  std::string number(uint32_t index) const;
  std::string numbers() const;
  std::string bytes() const { return std::to_string(entry_.value.size()) + " bytes"; }
  std::string characters() const;
  std::string choice(const TagInfo& info) const;
  std::string seconds() const;
  std::string comment() const;
  std::string components() const;
  std::string coordinate() const;
  std::string clock() const;
  std::string altitude() const;
  std::string lens() const;
  std::string letterBefore() const;

  const Document& document_;
  Directory directory_;
  const Entry& entry_;
};

std::string Teller::number(uint32_t index) const {
  if (isFloating(entry_.type)) return decimal(real(index));
  const Fraction f = fraction(index);
  if (!isFraction(entry_.type)) return std::to_string(f.numerator);
  if (f.denominator == 0) return f.numerator == 0 ? "unknown" : "infinite";
  return decimal(f.value());
}

std::string Teller::numbers() const {
  constexpr uint32_t kMost = 16;
  std::string text;
  for (uint32_t i = 0; i < std::min(entry_.count, kMost); ++i) {
    if (i > 0) text += ' ';
    text += number(i);
  }
  return entry_.count > kMost ? text + " ..." : text;
}

std::string Teller::characters() const {
  return printable(withoutEnd({entry_.value.begin(), entry_.value.end()}));
}

std::string Teller::choice(const TagInfo& info) const {
  const int64_t value = fraction(0).numerator;
  const auto found = std::ranges::find(info.choices, value, &Choice::value);
  return found == info.choices.end() ? numbers() : found->name;
}

/// "1/60 s", "2.5 s".
std::string Teller::seconds() const {
  const Fraction f = fraction(0);
  if (f.denominator == 0 || f.numerator == 0 || f.value() >= 0.3) return number(0) + " s";
  const double inverse = 1 / f.value();
  return "1/" + decimal(inverse >= 10 ? std::round(inverse) : inverse) + " s";
}

std::string Teller::comment() const {
  if (entry_.value.size() < 8) return bytes();
  const std::string code(entry_.value.begin(), entry_.value.begin() + 8);
  if (code.starts_with("UNICODE")) {
    std::string text;
    for (size_t i = 8; i + 1 < entry_.value.size(); i += 2) {
      appendUtf8(&text, unsigned(getNumber(&entry_.value[i], 2, document_.isBigEndian)));
    }
    return printable(withoutEnd(text));
  }
  const bool isText = code.starts_with("ASCII") || code == std::string(8, '\0');
  return isText ? printable(withoutEnd({entry_.value.begin() + 8, entry_.value.end()})) : bytes();
}

std::string Teller::components() const {
  constexpr const char* kNames[] = {"", "Y", "Cb", "Cr", "R", "G", "B"};
  std::string text;
  for (const uint8_t c : entry_.value) text += c < std::size(kNames) ? kNames[c] : "?";
  return text;
}

/// The text of the tag whose number is one less: a hemisphere.
std::string Teller::letterBefore() const {
  const Entry* const before = document_.find(directory_, uint16_t(entry_.tag - 1));
  if (before == nullptr || before->type != Type::ascii || before->value.empty()) return "";
  const std::string letter = printable({reinterpret_cast<const char*>(before->value.data()), 1});
  return " " + letter;
}

std::string Teller::coordinate() const {
  // Degrees and minutes may have parts, which the next unit then does not tell.
  const double degrees = real(0) + real(1) / 60 + real(2) / 3600;
  const int64_t hundredths = std::llround(std::min(std::abs(degrees), 1e6) * 360000);
  char text[48];
  std::snprintf(text, sizeof text, "%d deg %d' %.2f\"", int(hundredths / 360000),
                int(hundredths / 6000 % 60), double(hundredths % 6000) / 100);
  return text + letterBefore();
}

std::string Teller::clock() const {
  for (uint32_t i = 0; i < 3; ++i) {
    if (!(real(i) >= 0 && real(i) < 100)) return numbers();
  }
  const int64_t millionths = std::llround(real(2) * 1e6);
  char digits[64];
  std::snprintf(digits, sizeof digits, "%02d:%02d:%02d.%06d", int(real(0)), int(real(1)),
                int(millionths / 1000000), int(millionths % 1000000));
  const std::string text = digits;
  const bool isWhole = millionths % 1000000 == 0;
  return text.substr(0, isWhole ? text.find('.') : text.find_last_not_of('0') + 1);
}

std::string Teller::altitude() const {
  const Entry* const reference = document_.find(directory_, uint16_t(entry_.tag - 1));
  const bool isBelow =
      reference != nullptr && fractionAt(*reference, 0, document_.isBigEndian).numerator == 1;
  return number(0) + (isBelow ? " m below sea level" : " m above sea level");
}

/// "24-70 mm f/2.8-4".
std::string Teller::lens() const {
  const auto range = [&](uint32_t from) {
    const std::string a = number(from), b = number(from + 1);
    return a == b ? a : a + "-" + b;
  };
  return range(0) + " mm f/" + range(2);
}

std::string Teller::all(const TagInfo* info) const {
  const Meaning meaning = info == nullptr ? Meaning::plain : info->meaning;
  // A tag with fewer values than it should have is shown as it is.
  const bool isShort = info != nullptr && entry_.count < uint32_t(std::max(info->count, 1));
  switch (isShort ? Meaning::plain : meaning) {
    case Meaning::choice:
      return choice(*info);
    case Meaning::seconds:
      return seconds();
    case Meaning::fNumber:
      return "f/" + number(0);
    case Meaning::apexTime:
      return real(0) > 1.7 ? "1/" + decimal(std::round(std::exp2(real(0)))) + " s"
                           : decimal(std::exp2(-real(0))) + " s";
    case Meaning::apexAperture:
      return "f/" + decimal(std::round(std::exp2(real(0) / 2) * 10) / 10);
    case Meaning::exposureValue:
      return number(0) + " EV";
    case Meaning::metres:
      return number(0) + " m";
    case Meaning::millimetres:
      return number(0) + " mm";
    case Meaning::degrees:
      return number(0) + " deg";
    case Meaning::version:
    case Meaning::comment:
      return meaning == Meaning::version ? characters() : comment();
    case Meaning::components:
      return components();
    case Meaning::coordinate:
      return coordinate();
    case Meaning::clock:
      return clock();
    case Meaning::altitude:
      return altitude();
    case Meaning::lens:
      return lens();
    case Meaning::bytes:
      return bytes();
    case Meaning::plain:
      break;
  }
  if (entry_.type == Type::ascii) return characters();
  return entry_.type == Type::undefined ? bytes() : numbers();
}

}  // namespace

std::string nameOf(Directory directory, uint16_t tag) {
  const TagInfo* const info = infoOf(directory, tag);
  char number[16];
  std::snprintf(number, sizeof number, "Tag0x%04X", tag);
  const std::string name = info != nullptr ? info->name : number;
  return directory == Directory::thumbnail ? "Thumbnail." + name : name;
}

std::string textOf(const Document& document, Directory directory, const Entry& entry) {
  return Teller(document, directory, entry).all(infoOf(directory, entry.tag));
}

}  // namespace jpeg::exif
