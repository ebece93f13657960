// A session of the harness in memory, with stub tests.
#include "harnesskit.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tzclock.h"
#include "tzwatch.h"

namespace harnesskit {

namespace fs = std::filesystem;

namespace {

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void redirect(const std::string& path, int flags, int target) {
  const int file = open(path.c_str(), flags, 0600);
  if (file < 0 || dup2(file, target) < 0) _exit(127);
  close(file);
}

int waitFor(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::vector<char*> pointers(std::vector<std::string>& words) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  return argv;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The end of the decimal number that begins at `text`; `text` itself when there is none.
const char* endOfNumber(const char* text) {
  char* end = nullptr;
  const char* digits = *text == '-' || *text == '+' ? text + 1 : text;
  if (!isDigit(*digits)) return text;
  std::strtod(text, &end);
  return end;
}

// "Fri Nov 21 05:17:00 2025": letters, digits and separators in their places.
bool isDate(const char* text) {
  for (const char* form = "Aaa Aaa 09 99:99:99 9999"; *form != 0; ++form, ++text) {
    const bool fits = *form == '9'   ? isDigit(*text)
                      : *form == '0' ? isDigit(*text) || *text == ' '
                      : *form == 'A' ? *text >= 'A' && *text <= 'Z'
                      : *form == 'a' ? *text >= 'a' && *text <= 'z'
                                     : *text == *form;
    if (!fits) return false;
  }
  return true;
}

bool startsWith(const char* text, const char* start) {
  return std::strncmp(text, start, std::strlen(start)) == 0;
}

// @param whole  the text must end where the pattern does
bool matchesHere(const char* text, const char* pattern, bool whole) {
  for (;;) {
    if (*pattern == 0) return !whole || *text == 0;
    if (startsWith(pattern, "%ANY%")) {
      pattern += 5;
      while (!matchesHere(text, pattern, whole)) {
        if (*text++ == 0) return false;
      }
      return true;
    }
    if (startsWith(pattern, "%NUM%")) {
      const char* end = endOfNumber(text);
      if (end == text) return false;
      text = end;
      pattern += 5;
    } else if (startsWith(pattern, "%DATE%")) {
      if (!isDate(text)) return false;
      text += 24;
      pattern += 6;
    } else if (*text++ != *pattern++) {
      return false;
    }
  }
}

}  // namespace

std::string TempFolder::path() const { return fs::path(file("x")).parent_path().string(); }

bool TempFolder::exists(const std::string& name) const { return fs::exists(file(name)); }

std::vector<std::string> TempFolder::list() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(path())) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

StubTest::StubTest(const std::string& function, tzLoopFunc loop, const std::string& suite,
                   const std::string& values)
    : tzTest(nullptr, nullptr, loop, nullptr, function, "tests/stub", suite + "//STUB_REG"),
      m_values(values) {}

bool StubTest::canStart() {
  m_length.reset();
  m_length.translate(m_values);
  regParm(m_length);
  return true;
}

void registerStubs() {
  tzRegTest(new StubTest("stubBeta", steadyLoop<TZ_OK, 1600>));
  tzRegTest(new StubTest("stubAlpha", steadyLoop<TZ_OK, 800>));
  tzRegTest(new StubTest("stubGamma", steadyLoop<TZ_FUNCWRN, 400>, "OtherSuite"));
  tzRegHotFunction("stubBeta");
}

std::vector<std::string> Outcome::lines(const std::string& text) const {
  std::vector<std::string> found;
  for (const std::string& line : splitLines(console)) {
    if (line.find(text) != std::string::npos) found.push_back(line);
  }
  return found;
}

Session& Session::setup(std::function<void()> function) {
  m_setup = std::move(function);
  return *this;
}

Session& Session::input(const std::string& text) {
  m_input = text;
  return *this;
}

Session& Session::forgetFrequency() {
  m_frequency = 0;
  return *this;
}

Session& Session::after(std::function<std::string()> function) {
  m_after = std::move(function);
  return *this;
}

void Session::runChild(const std::vector<std::string>& keys) const {
  redirect(m_folder.path() + ".in", O_RDONLY, STDIN_FILENO);
  redirect(m_folder.path() + ".out", O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
  // What else this machine does would change results.
  tzWatch::m_pLook = [] { return tzMoment(); };
  m_setup();
  tzCpuTicker::setFreq(m_frequency);
  std::vector<std::string> words = keys;
  words.insert(words.begin(), m_folder.file("stub"));
  const int code = tzMain(static_cast<int>(words.size()), pointers(words).data());
  if (m_after) std::ofstream(m_folder.path() + ".notes") << m_after();
  std::fflush(nullptr);
  _exit(code);
}

Outcome Session::run(const std::vector<std::string>& keys) {
  const std::string base = m_folder.path();
  std::ofstream(base + ".in") << m_input;
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) runChild(keys);
  Outcome outcome;
  outcome.exitCode = waitFor(child);
  outcome.console = readFile(base + ".out");
  outcome.notes = readFile(base + ".notes");
  for (const char* part : {".in", ".out", ".notes"}) fs::remove(base + part);
  return outcome;
}

Outcome Session::run(const std::string& keys) {
  std::istringstream in(keys);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return run(words);
}

Outcome runProgram(const std::string& program, const std::vector<std::string>& args,
                   const std::string& folder) {
  const std::string out = folder + ".out";
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    redirect("/dev/null", O_RDONLY, STDIN_FILENO);
    redirect(out, O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    if (chdir(folder.c_str()) != 0) _exit(127);
    std::vector<std::string> words = args;
    words.insert(words.begin(), program);
    execv(program.c_str(), pointers(words).data());
    _exit(127);
  }
  Outcome outcome;
  outcome.exitCode = waitFor(child);
  outcome.console = readFile(out);
  fs::remove(out);
  return outcome;
}

std::vector<std::string> splitLines(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

bool holds(const std::string& line, const std::string& pattern) {
  return matchesHere(line.c_str(), ("%ANY%" + pattern).c_str(), false);
}

std::string compareGolden(const std::string& text, const std::string& goldenFile,
                          const std::string& folder) {
  if (!fs::exists(goldenFile)) return "no golden file " + goldenFile;
  std::string expected = readFile(goldenFile);
  replaceAll(expected, "%DIR%", folder);
  const std::vector<std::string> want = splitLines(expected);
  const std::vector<std::string> got = splitLines(text);
  for (size_t i = 0; i < std::max(want.size(), got.size()); ++i) {
    if (i < want.size() && want[i] == "%MORE%") return "";
    const std::string line = i < got.size() ? got[i] : "(no such line)";
    const std::string wanted = i < want.size() ? want[i] : "(end of the text)";
    if (i >= got.size() || i >= want.size() || !matchesHere(line.c_str(), wanted.c_str(), true)) {
      return goldenFile + ":" + std::to_string(i + 1) + "\n expected: " + wanted +
             "\n got:      " + line + "\nthe whole text:\n" + text;
    }
  }
  return "";
}

}  // namespace harnesskit
