// Files, and the console with its levels and its log.
#include "tzostream.h"

#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>

#include "tzstatusline.h"

// Static initialisers of other units may write already, so these come before them. The csv streams,
// which report their failures here, are made later and destroyed earlier.
[[gnu::init_priority(200)]] o_stream c_out;
[[gnu::init_priority(200)]] i_stream c_in;
[[gnu::init_priority(200)]] tzOStream g_ostrm;

namespace {

bool writeFailed = false;

tzString& directory(bool input) {
  static tzString directories[2];
  return directories[input ? 1 : 0];
}

void reportError(const tzString& text) { g_ostrm << L_ERR << text << L_END; }

// A directory opens for reading, and fails with the first read only.
std::FILE* openFile(const tzString& name, int mode) {
  const bool reading = (mode & OPEN_READ) != 0;
  tzString letters = reading ? "r" : (mode & OPEN_APPEND) != 0 ? "a" : "w";
  if ((mode & OPEN_BINARY) != 0) letters += "b";
  struct stat status {};
  if (reading && stat(name.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return nullptr;
  }
  return std::fopen(name.c_str(), letters.c_str());
}

}  // namespace

int tzOutputMask(const tzString& word) {
  int mask = 0;
  for (const char letter : word.str()) {
    switch (letter) {
      case 'D':
        mask |= L_DATA | L_PERF | L_WARN | L_ERR;
        break;
      case 'E':
        mask |= L_ERR;
        break;
      case 'I':
        mask |= L_INFO | L_PERF | L_WARN | L_ERR;
        break;
      case 'M':
        mask |= L_MEM | L_PERF | L_WARN | L_ERR;
        break;
      case 'P':
        mask |= L_PERF | L_WARN | L_ERR;
        break;
      case 'T':
        mask |= L_TRACE | L_PERF | L_WARN | L_ERR;
        break;
      case 'W':
        mask |= L_WARN | L_ERR;
        break;
      default:
        break;
    }
  }
  return mask;
}

io_stream::io_stream(const tzString& name, int mode, bool report) : m_open(false) {
  const bool reading = (mode & OPEN_READ) != 0;
  m_name = (mode & OPEN_AS_GIVEN) != 0 ? name : pathIn(directory(reading), name);
  m_file = openFile(m_name, mode);
  m_open = m_file != nullptr;
  if (m_open || !report) return;
  const char* const reason = std::strerror(errno);
  reportError(tzString("-- Can't open file ") + m_name + (reading ? " to read" : " to write") +
              ": " + reason + "\n");
}

io_stream::~io_stream() {
  if (m_file != nullptr) std::fclose(m_file);
}

void io_stream::setInputDir(const tzString& dir) { directory(true) = dir; }

void io_stream::setOutputDir(const tzString& dir) { directory(false) = dir; }

const tzString& io_stream::inputDir() { return directory(true); }

const tzString& io_stream::outputDir() { return directory(false); }

tzString io_stream::pathIn(const tzString& dir, const tzString& name) {
  if (dir.empty() || (!name.empty() && name[0] == '/')) return name;
  return dir[dir.length() - 1] == '/' ? dir + name : dir + "/" + name;
}

// A line end of its own is the carriage return, and so is the newline, unless it follows one: that
// is known only when the next line is read, which a terminal may not have yet.
int i_stream::nextChar() {
  int c = std::getc(file());
  if (c == '\n' && m_afterReturn) c = std::getc(file());
  m_afterReturn = c == '\r';
  return m_afterReturn ? '\n' : c;
}

void i_stream::fail(const tzString& complaint) {
  m_open = false;
  m_failed = true;
  reportError("-- " + complaint + "\n");
}

bool i_stream::getline(tzString& line) {
  std::string text;
  int c = 0;
  errno = 0;
  while (m_open && (c = nextChar()) != EOF && c != '\n') {
    if (c == 0 || text.size() == MAX_LINE) {
      fail("Not a text file: " + describe());
    } else {
      text += static_cast<char>(c);
    }
  }
  const bool broken = m_open && c == EOF && hasFile() && std::ferror(m_file) != 0;
  if (broken) fail("Can't read file " + m_name + ": " + std::strerror(errno));
  line = m_open ? text : "";
  return m_open && (c == '\n' || !text.empty());
}

std::size_t i_stream::read(void* data, std::size_t size) {
  return m_open ? std::fread(data, 1, size, file()) : 0;
}

tzString i_stream::describe() const { return hasFile() ? m_name : tzString("standard input"); }

// What a file of several writers must not lose is known by its size alone.
o_stream::o_stream(const tzString& name, int mode, bool report)
    : io_stream(name, mode | OPEN_WRITE, report) {
  struct stat status {};
  if (m_file == nullptr || fstat(fileno(m_file), &status) != 0) return;
  if (S_ISREG(status.st_mode)) m_whole = static_cast<long long>(status.st_size);
}

// Standard output is left to the end of the process: by then the console may be gone.
o_stream::~o_stream() {
  if (m_file != nullptr) o_stream::close();
}

void o_stream::write(const char* text, std::size_t length) {
  if (!m_open || m_failed) return;
  if (m_file == nullptr) tzStatusLine::hide();
  errno = 0;
  check(std::fwrite(text, 1, length, file()) == length);
}

void o_stream::flush() {
  if (!m_open || m_failed) return;
  errno = 0;
  const bool good = std::fflush(file()) == 0;
  if (good && m_whole >= 0) m_whole = std::ftell(m_file);
  check(good);
}

void o_stream::close() {
  if (m_file == nullptr) {
    flush();
    return;
  }
  o_stream::flush();
  errno = 0;
  const bool good = std::fclose(m_file) == 0;
  m_file = nullptr;
  m_open = false;
  if (!m_failed) check(good);
}

// Both processes move one position in the file, which the buffer of this one has not seen move.
void o_stream::followFile() {
  if (m_file == nullptr || m_whole < 0 || std::fseek(m_file, 0, SEEK_END) != 0) return;
  m_whole = std::ftell(m_file);
}

// What waits in the buffer would follow with the next chance to write: it goes first.
void o_stream::cutOff() {
  if (m_file == nullptr) return;
  __fpurge(m_file);
  if (m_whole >= 0) std::ignore = ftruncate(fileno(m_file), m_whole);
}

// Called at most once with `false`, so the report can't come back here.
void o_stream::check(bool good) {
  if (good) return;
  const tzString reason = std::strerror(errno);
  m_failed = true;
  writeFailed = true;
  cutOff();
  const tzString text = tzString("-- Can't write ") +
                        (m_name.empty() ? tzString("standard output") : "file " + m_name) + ": " +
                        reason + "\n";
  // The console itself can't tell: standard error is the last place where a user may look.
  if (m_name.empty()) std::fputs(text.c_str(), stderr);
  reportError(text);
}

bool o_stream::anyWriteFailed() { return writeFailed; }

void o_stream::setWriteFailed() { writeFailed = true; }

void o_stream::resetWriteFailed() { writeFailed = false; }

namespace {

// The file itself where `name` is a link to it; `name` where it is no file yet.
tzString realPath(const tzString& name) {
  const std::unique_ptr<char, decltype(&std::free)> path(realpath(name.c_str(), nullptr),
                                                         &std::free);
  return path != nullptr ? tzString(path.get()) : name;
}

bool writeWhole(o_stream& file, const tzString& contents) {
  if (!file.hasFile()) return false;
  file << contents;
  file.close();
  return !file.failed();
}

}  // namespace

// Written beside the file first, and then put in its place. Where that can't be (the folder is not
// to be written, the name is a device) the file itself is written.
bool tzReplaceFile(const tzString& name, const tzString& contents) {
  const tzString path = realPath(name);
  struct stat status {};
  const bool exists = stat(path.c_str(), &status) == 0;
  tzString beside = path;
  beside << "." << static_cast<int>(getpid()) << ".new";
  const bool replaceable = !exists || S_ISREG(status.st_mode);
  if (!replaceable || !o_stream(beside, OPEN_WRITE | OPEN_AS_GIVEN, false).hasFile()) {
    o_stream direct(path, OPEN_WRITE | OPEN_AS_GIVEN);
    return writeWhole(direct, contents);
  }
  o_stream fresh(beside, OPEN_WRITE | OPEN_AS_GIVEN, false);
  const bool written = writeWhole(fresh, contents);
  if (written && exists) chmod(beside.c_str(), status.st_mode & 07777);
  if (written && std::rename(beside.c_str(), path.c_str()) == 0) return true;
  if (written) {
    const tzString reason = std::strerror(errno);
    reportError("-- Can't write file " + name + ": " + reason + "\n");
  }
  unlink(beside.c_str());
  return false;
}

o_stream* createOStream(const tzString& name, bool append) {
  auto* stream = new o_stream(name, append ? OPEN_APPEND : OPEN_WRITE, true);
  if (stream->isOpen()) return stream;
  delete stream;
  return nullptr;
}

tzTargets::~tzTargets() { forgetTargets(); }

// A stream that can't be closed reports to the console, which may be this very list: it must never
// find a target that is gone.
void tzTargets::forgetTargets() {
  tzList<Target> targets;
  targets.swap(m_targets);
  for (const Target& target : targets) {
    if (target.owned) delete target.stream;
  }
}

bool tzTargets::addStream(const tzString& name, bool append) {
  o_stream* const stream = createOStream(name, append);
  if (stream != nullptr) m_targets.push_back({stream, true});
  return stream != nullptr;
}

void tzTargets::addStream(o_stream& target) {
  for (const Target& known : m_targets) {
    if (known.stream == &target) return;
  }
  m_targets.push_back({&target, false});
}

void tzTargets::removeStream(const o_stream& target) {
  for (auto it = m_targets.begin(); it != m_targets.end(); ++it) {
    if (it->stream != &target) continue;
    const Target gone = *it;
    m_targets.erase(it);
    if (gone.owned) delete gone.stream;
    return;
  }
}

void tzTargets::flush() {
  if (m_holding) return;
  for (const Target& target : m_targets) target.stream->flush();
}

void tzTargets::close() {
  for (const Target& target : m_targets) target.stream->close();
}

void tzTargets::put(const char* text, std::size_t length) {
  if (m_holding) {
    m_held.append(text, length);
    return;
  }
  for (const Target& target : m_targets) target.stream->write(text, length);
  if (s_flushEach) flush();
}

std::string tzTargets::takeHeld() {
  m_holding = false;
  return std::exchange(m_held, {});
}

void tzTargets::release() {
  if (!m_holding) return;
  const std::string text = takeHeld();
  if (!text.empty()) put(text.data(), text.size());
  flush();
}

void tzTargets::followFiles() {
  for (const Target& target : m_targets) target.stream->followFile();
}

void tzTargets::pack(tzPacket& packet) const {
  for (const Target& target : m_targets) packet << target.stream->failed();
}

void tzTargets::unpack(tzPacket& packet) {
  followFiles();
  for (const Target& target : m_targets) {
    bool failed = false;
    packet >> failed;
    if (failed) target.stream->setFailed();
  }
}

tzOStream::~tzOStream() { forgetTargets(); }

void tzOStream::setMsgLevel(int level) {
  m_savedLevels.push_front(m_msgLevel);
  m_msgLevel = level;
}

void tzOStream::restoreMsgLevel() {
  m_msgLevel = L_ERR;
  if (m_savedLevels.empty()) return;
  m_msgLevel = m_savedLevels.front();
  m_savedLevels.pop_front();
}

bool tzOStream::beginMessage(int level) {
  if (level > m_outLevel) return false;
  setMsgLevel(level);
  return true;
}

void tzOStream::endMessageFlush() {
  restoreMsgLevel();
  flush();
}

tzOStream& tzOStream::operator<<(OutputLevel levelOrCommand) {
  if (levelOrCommand == L_END) {
    endMessage();
  } else if (levelOrCommand == L_ENDFLUSH) {
    endMessageFlush();
  } else {
    setMsgLevel(levelOrCommand);
  }
  return *this;
}

tzOStream& tzOStream::operator<<(const tzString& text) {
  if (isShown()) put(text.c_str(), static_cast<std::size_t>(text.length()));
  return *this;
}

tzOStream& tzOStream::operator<<(const char* text) { return *this << tzString(text); }
