// Scan scripts and quantisation tables in text files.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "jpegprogram.h"

namespace jpeg {
namespace {

/// Without comments, which run from a # to the end of their line.
std::string withoutComments(const std::string& text) {
  std::string rest;
  bool isComment = false;
  for (const char c : text) {
    if (c == '#') isComment = true;
    if (c == '\n') isComment = false;
    if (!isComment) rest += c;
  }
  return rest;
}

/// Numbers and signs, one after the other.
class Reader {
 public:
  explicit Reader(const std::string& text) : text_(text) {}
  bool atEnd() {
    skipBlanks();
    return at_ == text_.size();
  }
  bool number(int* value) {
    skipBlanks();
    const size_t start = at_;
    *value = 0;
    while (at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_])) != 0 &&
           *value < 100000) {
      *value = 10 * *value + (text_[at_++] - '0');
    }
    return at_ > start;
  }
  bool sign(char c) {
    skipBlanks();
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

 private:
  void skipBlanks() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_])) != 0) ++at_;
  }
  const std::string& text_;
  size_t at_ = 0;
};

/// "0,1,2: 0-0, 0, 1;": components, band, high and low bit.
bool readScan(Reader* reader, ScriptScan* scan) {
  do {
    int component = 0;
    if (scan->componentCount == kMaxComponents || !reader->number(&component)) return false;
    scan->component[size_t(scan->componentCount++)] = component;
  } while (reader->sign(','));
  return reader->sign(':') && reader->number(&scan->ss) && reader->sign('-') &&
         reader->number(&scan->se) && reader->sign(',') && reader->number(&scan->ah) &&
         reader->sign(',') && reader->number(&scan->al) && reader->sign(';');
}

}  // namespace

bool parseScript(const std::string& text, Script* script, std::string* error) {
  const std::string plain = withoutComments(text);
  Reader reader(plain);
  while (!reader.atEnd()) {
    ScriptScan scan;
    if (!readScan(&reader, &scan)) {
      *error = "scan " + std::to_string(script->size() + 1) +
               " is not of the form COMPONENTS: SS-SE, AH, AL;";
      return false;
    }
    script->push_back(scan);
  }
  if (script->empty()) *error = "no scans";
  return !script->empty();
}

bool parseQuantisers(const std::string& text, std::vector<Quantisers>* tables, std::string* error) {
  const std::string plain = withoutComments(text);
  Reader reader(plain);
  std::vector<int> values;
  while (!reader.atEnd()) {
    int value = 0;
    if (!reader.number(&value) || value < 1 || value > 65535) {
      *error = "entry " + std::to_string(values.size() + 1) + " is no quantiser";
      return false;
    }
    values.push_back(value);
    (void)reader.sign(',');
  }
  if (values.empty() || values.size() % 64 != 0 || values.size() > 128) {
    *error = "must hold one or two tables of 64 quantisers, not " + std::to_string(values.size());
    return false;
  }
  for (size_t i = 0; i < values.size(); i += 64) {
    Quantisers q;
    std::transform(values.begin() + ptrdiff_t(i), values.begin() + ptrdiff_t(i + 64), q.begin(),
                   [](int v) { return uint16_t(v); });
    tables->push_back(q);
  }
  return true;
}

}  // namespace jpeg
