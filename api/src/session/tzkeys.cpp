// Words of the command line to keys.
#include "tzkeys.h"

#include <cctype>

namespace {

constexpr const char* kSigns = "-+=";
constexpr const char* kWordSeparators = " \t\r\n";

bool isSign(char c) { return c != 0 && tzString(kSigns).find(c) >= 0; }

// Words of a command file keep the quote characters that grouped them.
tzString withoutQuotes(const tzString& word) {
  tzString bare;
  for (const char* c = word.c_str(); *c != 0; ++c) {
    if (*c != '"') bare += *c;
  }
  return bare;
}

// What other programs call these keys; 0 for any other word.
char longKey(const tzString& word) {
  return word == "--help" ? 'h' : word == "--version" ? 'v' : '\0';
}

}  // namespace

tzString tzCommandKey::word() const { return tzString("-") + key + arg; }

bool tzCommandList::isKeyWord(const tzString& word) {
  if (word.length() < 2 || word[0] != '-') return false;
  const char letter = word[1];
  return std::isalpha(static_cast<unsigned char>(letter)) != 0 || letter == '?' || isSign(letter);
}

bool tzCommandList::isKey(char key) const {
  tzString arg;
  return getArg(key, arg);
}

bool tzCommandList::getArg(char key, tzString& arg) const {
  bool found = false;
  for (const tzCommandKey& command : *this) {
    if (command.key != key) continue;
    arg = command.arg;
    found = true;
  }
  return found;
}

int tzCommandList::setArg(const tzString& word, const tzString* next) {
  if (!isKeyWord(word)) {
    m_refused.push_back(word);
    return 0;
  }
  if (const char key = longKey(word)) {
    push_back({key, ""});
    return 1;
  }
  tzCommandKey command;
  command.key = word[1];
  command.arg = word.substr(2);
  int used = 1;
  const bool onlySign = command.arg.length() == 1 && isSign(command.arg[0]);
  if ((command.arg.empty() || onlySign) && next != nullptr && !isKeyWord(*next)) {
    command.arg += *next;
    used = 2;
  }
  push_back(command);
  return used;
}

void tzCommandList::setArgs(int argc, char** argv) {
  tzStringList words;
  for (int i = 1; i < argc; ++i) words.push_back(argv[i]);
  setArgs(words);
}

void tzCommandList::setArgs(const tzString& line) {
  tzStringList words;
  line.parse(words, kWordSeparators);
  for (tzString& word : words) word = withoutQuotes(word);
  setArgs(words);
}

void tzCommandList::setArgs(const tzStringList& words) {
  auto word = words.begin();
  while (word != words.end()) {
    auto next = word;
    ++next;
    if (setArg(*word, next != words.end() ? &*next : nullptr) == 2) ++next;
    word = next;
  }
}

tzString tzOption::taken(const tzString& arg) const {
  if (argument == ARG_ANY) return arg;
  return argument == ARG_SIGN && !arg.empty() && isSign(arg[0]) ? arg.substr(0, 1) : tzString();
}

tzString tzOption::helpLines() const {
  const int gap = text.find("\n\n");
  return gap < 0 ? text : text.substr(0, gap + 1);
}

tzString tzOption::details() const {
  const int gap = text.find("\n\n");
  return gap < 0 ? tzString() : text.substr(gap + 2);
}
