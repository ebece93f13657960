// The session's command line: collecting words, applying keys in order, opening what they name, and
// the help.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tzcstream.h"
#include "tzistream.h"
#include "tzjson.h"
#include "tzregistry.h"
#include "tzrequest.h"
#include "tzresume.h"
#include "tzserve.h"
#include "tzsession.h"
#include "tzshard.h"

namespace {

constexpr int kKeyEchoMask = 7;
constexpr int kDefaultMask = 7;  // errors, warnings, performance: a plain run tells its results
constexpr int kEchoWidth = 18;

void fatal(const char* text) { g_ostrm << L_ERR << text << L_ENDFLUSH; }

// Comments of a command file: from a "//" at the beginning of a word to the end of the line. A "//"
// inside a word belongs to a path.
tzString withoutComment(const tzString& line) {
  int from = 0;
  for (;;) {
    const int at = line.find("//", from);
    if (at < 0) return line;
    if (at == 0 || line[at - 1] == ' ' || line[at - 1] == '\t') {
      return line.substr(0, at);
    }
    from = at + 1;
  }
}

// A word of the command line that only quotes held together is shown with them.
tzString quoted(const tzString& word) {
  const bool plain = !word.empty() && (word.find(" ") < 0 || word.find("\"") >= 0);
  return plain ? word : "\"" + word + "\"";
}

tzString padded(tzString text, int width) {
  while (text.length() < width) text += ' ';
  return text;
}

void echoLine(const tzString& word, const tzString& text) {
  g_ostrm << tzString(" ") + padded(word, kEchoWidth) + " " + text + "\n";
  if (text.find("ignored: ") == 0) tzMistakes::add();
}

}  // namespace

// ---- the keys known ----

void tzSession::initOption(char key, const tzString& name, tzKeyInfo info, tzKeyApply apply,
                           const tzString& text, bool hidden) {
  tzOption option;
  option.key = key;
  option.hidden = hidden;
  option.name = name;
  option.info = info;
  option.apply = apply;
  option.text = text;
  m_options.push_back(option);
}

void tzSession::limitOption(tzKeyArgument argument, bool lastCounts) {
  m_options.back().argument = argument;
  m_options.back().lastCounts = lastCounts;
}

const tzOption* tzSession::getOption(char key) const {
  for (const tzOption& option : m_options) {
    if (option.key == key) return &option;
  }
  return nullptr;
}

bool tzSession::isDirectoryKey(char key) { return key == 'p' || key == 'l' || key == 'n'; }

const tzOption* tzSession::echoOption(char key, const tzString& arg) {
  const tzOption* option = getOption(key);
  if (option == nullptr) {
    echoLine(tzString("-") + key, "ignored: incorrect option key");
    return nullptr;
  }
  const tzString taken = option->taken(arg);
  echoLine(tzCommandKey{key, taken}.word(), option->info(taken));
  const tzString spare = arg.substr(taken.length());
  if (!spare.empty()) {
    echoLine(quoted(spare), tzString("ignored: -") + key + " takes no argument");
  }
  return option;
}

void tzSession::applyOption(char key, const tzString& arg) {
  if (const tzOption* option = echoOption(key, arg)) option->apply(option->taken(arg), this);
}

// ---- the command line ----

bool tzSession::parseCommandLine(int argc, char** argv) {
  g_ostrm.setOutLevel(kKeyEchoMask);
  findExecutable(argc > 0 ? argv[0] : "");
  collectWords(argc, argv);
  fixExitLevel();
  applyDirectories();
  applyKeys();
  return updateOptions();
}

void tzSession::collectWords(int argc, char** argv) {
  tzStringList words;
  for (int i = 1; i < argc; ++i) words.push_back(argv[i]);
  m_commands.setArgs(words);

  // The command file lies in the input directory, so a -p of the command line moves it.
  tzString inDir;
  if (m_commands.getArg('p', inDir) && !inDir.empty()) setInDir(inDir);
  const auto addLine = [&](const tzString& text) {
    m_commands.setArgs(text);
    tzStringList more;
    text.parse(more, " \t\r\n");
    for (const tzString& word : more) words.push_back(word);
  };
  tzString cfgName, cfgText;
  m_files.claimStandardStreams();
  // A side of a comparison has all its keys from whoever compares.
  if (!tzServe::isOn() && readCfgFile(cfgName, cfgText)) {
    m_files.claim(cfgName, tzFiles::READ, "the command file");
    addLine(cfgText);
    g_ostrm << tzString("read from ") + cfgName + " file\n";
  }
  if (!tzGetCmdLine().empty()) {
    addLine(tzGetCmdLine());
    g_ostrm << "set by _FORCE_CMDLINE preprocessor definition\n";
  }

  tzString echo("Command line options:");
  for (const tzString& word : words) echo += " " + quoted(word);
  g_ostrm << (words.empty() ? echo + " \n" : echo + "\n");
}

bool tzSession::readCfgFile(tzString& name, tzString& text) const {
  name = getInPath(m_exePath.getFileTitle() + ".cfg");
  i_stream file(name, OPEN_READ | OPEN_AS_GIVEN, false);
  if (!file.hasFile()) return false;
  text = "";
  tzString line;
  while (file.getline(line)) text += withoutComment(line) + "\n";
  return true;
}

void tzSession::fixExitLevel() {
  if (m_commands.isKey('?') || m_commands.isKey('h')) {
    m_exitLevel = 2;
  } else if (m_commands.isKey('e')) {
    m_exitLevel = 1;
  } else if (m_commands.isKey('v')) {
    m_exitLevel = 3;
  }
}

tzString tzSession::getExitInfo() const {
  switch (m_exitLevel) {
    case 1:
      return "ignored because of -e option";
    case 2:
      return "ignored because of -h option";
    case 3:
      return "ignored because of -v option";
    default:
      return "ignored";
  }
}

// The directories and the default name come first, so that file keys before and after them resolve
// alike.
void tzSession::applyDirectories() {
  for (const tzCommandKey& command : m_commands) {
    if (!isDirectoryKey(command.key)) continue;
    if (const tzOption* option = getOption(command.key)) option->apply(command.arg, this);
  }
}

// Whether a later key of the same letter takes this one's place.
bool tzSession::isOverruled(const tzCommandKey& command) const {
  const tzOption* const option = getOption(command.key);
  if (option == nullptr || !option->lastCounts) return false;
  const tzCommandKey* last = nullptr;
  for (const tzCommandKey& other : m_commands) {
    if (other.key == command.key) last = &other;
  }
  return last != &command;
}

void tzSession::applyKeys() {
  for (const tzString& word : m_commands.refused()) {
    echoLine(quoted(word), "ignored: not a key");
  }
  for (const tzCommandKey& command : m_commands) {
    if (isDirectoryKey(command.key)) {
      echoOption(command.key, command.arg);
    } else if (isOverruled(command)) {
      echoLine(command.word(), tzString("ignored: the last -") + command.key + " counts");
    } else {
      applyOption(command.key, command.arg);
    }
  }
}

// What tests and reports will want to know.
void tzSession::fillRequest() const {
  g_request.asksTiming = isAsk(ASK_TIMING);
  g_request.asksTests = isAsk(ASK_TESTS);
  g_request.namesInResults = m_namesInResults;
  g_request.iniFunctionsOnly = m_iniFunctionsOnly;
  g_request.program = m_exePath.getFileName();
  g_request.compares = m_comparison.isOn();
  g_request.selection = "";
  for (const tzCommandKey& key : m_commands) {
    if (tzString("ftFPHCVK").find(key.key) < 0) continue;
    if (!g_request.selection.empty()) g_request.selection += " ";
    g_request.selection += key.word();
  }
}

// Keys of measuring alone, which were echoed as if they did something.
void tzSession::tellNotCompared() const {
  tzString words;
  for (const tzCommandKey& key : m_commands) {
    if (tzString("kVCXbw").find(key.key) >= 0) words += " " + key.word();
  }
  if (words.empty()) return;
  g_ostrm << L_WARN << "-- ignored in a comparison:" + words + "\n" << L_END;
  tzMistakes::add();
}

bool tzSession::updateOptions() {
  if (m_comparison.isOn()) {
    m_comparison.setCall(m_exePath, m_commands);
    tellNotCompared();
  }
  fillRequest();
  g_ostrm.setOutLevel(m_levelMode != 0 ? m_levelMode : kDefaultMask);
  if (m_insist && tzMistakes::count() != 0) {
    g_ostrm << L_ERR << "-- The run is not started: not everything that was given is used (-W)\n"
            << L_ENDFLUSH;
    return false;
  }
  if (openFiles()) {
    // Last of all, because -P wants the ini file.
    if (g_shard.isOn())
      addCondition(new RunCondition_shard(tzGetTestList(), m_conditions, g_shard));
    return true;
  }
  g_istrm.abandonIniFile();
  m_files.undo();
  return false;
}

// Everything that may fail comes before the first file is changed.
bool tzSession::openFiles() { return reserveOutFiles() && openIni() && openOutFiles(); }

bool tzSession::openIni() {
  if (m_iniRead.given && !g_istrm.setIniFile(iniPath(m_iniRead.name, false), false)) {
    tzMistakes::add();
    if (m_insist) return false;
  }
  return !m_iniWrite.given || openIniToWrite();
}

bool tzSession::openIniToWrite() {
  const tzString path = iniPath(m_iniWrite.name, true);
  if (!g_istrm.setIniTarget(path)) {
    fatal("FATAL ERROR: can't open ini-file for writing\n");
    return false;
  }
  if (!g_istrm.iniTarget()->hasStrayLines()) return true;
  g_ostrm << L_ERR << "-- Not an ini file: " + path + "\n" << L_END;
  fatal("FATAL ERROR: can't open ini-file for writing\n");
  return false;
}

bool tzSession::reserveOutFiles() {
  if (m_namesOnly && !m_namesInResults && m_outFiles[OUT_NAMES].empty()) {
    addOutFile(OUT_NAMES, "", false, "-q");
  }
  bool good = canWriteSignal();
  for (int kind = 0; good && kind < NUM_OUT_FILES; ++kind) {
    for (const OutFile& file : m_outFiles[kind]) good = good && m_files.reserve(file.path);
  }
  if (!good) fatal("FATAL ERROR: can't open output file for writing\n");
  return good;
}

// The signal file is made at the end alone, so that its being there tells something.
bool tzSession::canWriteSignal() const {
  if (!m_signal) return true;
  const tzString path = genOutPath(m_sglName, SIGNAL_EXTENSION);
  const bool exists = access(path.c_str(), F_OK) == 0;
  const tzString place = exists ? path : path.getFileDir();
  if (faccessat(AT_FDCWD, place.c_str(), W_OK, AT_EACCESS) == 0) return true;
  const tzString reason = std::strerror(errno);
  g_ostrm << L_ERR << "-- Can't open file " + path + " to write: " + reason + "\n" << L_END;
  return false;
}

bool tzSession::openOutFiles() {
  for (int kind = 0; kind < NUM_OUT_FILES; ++kind) {
    for (const OutFile& file : m_outFiles[kind]) {
      if (openOutFile(static_cast<tzOutFile>(kind), file.path, file.append)) continue;
      fatal("FATAL ERROR: can't open output file for writing\n");
      return false;
    }
  }
  return true;
}

bool tzSession::openLines(const tzString& path, bool resume) {
  if (resume) {
    const tzString reason = tzResume::open(path);
    if (!reason.empty()) {
      g_ostrm << L_ERR << "-- Can't go on with file " + path + ": " + reason + "\n" << L_END;
      return false;
    }
  }
  return g_jstrm.addStream(path, resume);
}

bool tzSession::openOutFile(tzOutFile kind, const tzString& path, bool append) {
  switch (kind) {
    case OUT_TEXT:
      return g_ostrm.addStream(path, append);
    case OUT_RESULTS:
      return g_cstrm.addStream(path, append);
    case OUT_NAMES:
      return g_qstrm.addStream(path, append);
    case OUT_SUMMARY:
      return g_ustrm.addStream(path, append);
    case OUT_LINES:
      return openLines(path, append);
    default:
      return g_mstrm.addStream(path, append);
  }
}
