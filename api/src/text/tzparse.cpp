// Texts to words; flags and enumerations to names and back.
#include "tzparse.h"

void tzParse::initParse(const tzString& separators) {
  m_separators = separators;
  m_position = 0;
  m_quotesGroup = separators.find("\"") < 0;
  m_inQuotes = false;
}

bool tzParse::isSeparator(int i) {
  const char c = m_text[i];
  if (m_quotesGroup && m_inQuotes) {
    // An empty pair leaves the stretch open.
    if (c == '"' && i != m_quoteStart + 1) m_inQuotes = false;
    return false;
  }
  if (m_quotesGroup && c == '"') {
    m_inQuotes = true;
    m_quoteStart = i;
    return false;
  }
  return m_separators.str().find(c) != std::string::npos;
}

bool tzParse::nextWord(tzString& word) {
  const int end = m_text.length();
  while (m_position < end && isSeparator(m_position)) ++m_position;
  if (m_position >= end) {
    word.clear();
    return false;
  }
  const int start = m_position++;
  while (m_position < end && !isSeparator(m_position)) ++m_position;
  word = m_text.substr(start, m_position - start);
  removeQuote(word);
  return true;
}

void tzParse::removeQuote(tzString& word) const {
  const int lastPair = m_quotesGroup ? word.rfind("\"\"") : -1;
  if (lastPair < 0) return;
  // Taking away position 1 until no pair is left, in one step: the first character stays, all
  // others go up to the last pair's second quote, which goes too if the first is a quote itself.
  const int kept = lastPair + (word[0] == '"' ? 2 : 1);
  word = word.substr(0, 1) + word.substr(kept);
}

int tzParse::parse(tzStringList& words, const tzString& separators) {
  words.clear();
  initParse(separators);
  tzString word;
  int count = 0;
  for (; nextWord(word); ++count) words.push_back(word);
  return count;
}

int tzParse::parse(tzString& a, tzString& b, const tzString& separators) {
  tzString unused;
  return parse(a, b, unused, separators);
}

int tzParse::parse(tzString& a, tzString& b, tzString& c, const tzString& separators) {
  tzString* const targets[] = {&a, &b, &c};
  for (tzString* target : targets) target->clear();
  tzStringList words;
  const int count = parse(words, separators);
  auto word = words.begin();
  for (tzString* target : targets) {
    if (word != words.end()) *target = *word++;
  }
  return count;
}

// What a string does by splitting itself.

int tzString::parse(tzStringList& words, const tzString& separators) const {
  return tzParse(*this).parse(words, separators);
}

int tzString::parse(tzString& a, tzString& b, const tzString& separators) const {
  return tzParse(*this).parse(a, b, separators);
}

int tzString::parse(tzString& a, tzString& b, tzString& c, const tzString& separators) const {
  return tzParse(*this).parse(a, b, c, separators);
}

tzString flagString(int value, const int* flags, const char* const* names, int count) {
  tzString text;
  for (int i = 0; i < count; ++i) {
    if ((value & flags[i]) == 0) continue;
    if (!text.empty()) text += "|";
    text += names[i];
  }
  if (text.empty()) text << value;
  return text;
}

int flagValue(const tzString& text, const int* flags, const char* const* names, int count,
              int skip) {
  text.setFail(false);
  tzStringList words;
  text.parse(words, "|,; ");
  int value = 0;
  for (const tzString& word : words) {
    value |= enumValue(word, flags, names, count, skip);
    if (word.fail()) text.setFail(true);
  }
  return value;
}

tzString enumString(int value, const int* values, const char* const* names, int count) {
  for (int i = 0; i < count; ++i) {
    if (values[i] == value) return names[i];
  }
  return tzString() << value;
}

int enumValue(const tzString& text, const int* values, const char* const* names, int count,
              int skip) {
  text.setFail(false);
  for (int i = 0; i < count; ++i) {
    if (fitString(text, names[i], skip)) return values[i];
  }
  text.setFail(true);
  return 0;
}

bool fitString(const tzString& word, const tzString& name, int skip) {
  const std::string abbreviation = word.toLower().str();
  const std::string whole = name.toLower().str();
  if (whole.starts_with(abbreviation)) return true;
  return skip > 0 && skip <= name.length() &&
         whole.compare(static_cast<std::size_t>(skip), abbreviation.size(), abbreviation) == 0;
}
