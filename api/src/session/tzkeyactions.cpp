// What each key does.
#include "tzkeyactions.h"

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tzchild.h"
#include "tzclock.h"
#include "tzcpu.h"
#include "tzenv.h"
#include "tzistream.h"
#include "tzsession.h"
#include "tztest.h"
#include "tztool.h"
#include "tzparse.h"

namespace {

using Text = const tzString&;

// ---- arguments ----

int parseAskMode(Text arg, bool& fail) {
  static const char* const names[] = {"Timing", "Params", "Misalign", "All"};
  static const int modes[] = {ASK_TIMING, ASK_PARAMS, ASK_MISALIGN, ASK_ALL};
  const int mode = flagValue(arg, modes, names, 4);
  fail = arg.fail() || mode == ASK_NONE;
  return mode;
}

// PRIORITY_NONE for a word that is no priority.
int parsePriority(Text arg) {
  static const char* const names[] = {"HIGH", "NORMAL"};
  static const int priorities[] = {PRIORITY_HIGH, PRIORITY_NORMAL};
  const int priority = enumValue(arg, priorities, names, 2);
  return arg.empty() || arg.fail() ? PRIORITY_NONE : priority;
}

// A plain decimal number of threads; without an argument every processor. 0 when it is neither.
int parseThreads(Text arg) {
  constexpr int kMaxThreads = 65536;
  if (arg.empty()) return tzGetNumOfProcessors();
  long long count = 0;
  for (const char* c = arg.c_str(); *c != 0; ++c) {
    if (std::isdigit(static_cast<unsigned char>(*c)) == 0) return 0;
    count = count * 10 + (*c - '0');
    if (count > kMaxThreads) return 0;
  }
  return static_cast<int>(count);
}

// Seconds, at most a day; without an argument more than a row may take. Negative: neither.
double parseLimit(Text arg) {
  constexpr double kUsual = 60;
  constexpr double kLongest = 86400;
  if (arg.empty()) return kUsual;
  char* end = nullptr;
  const double seconds = std::strtod(arg.c_str(), &end);
  return *end == 0 && seconds >= 0 && seconds <= kLongest ? seconds : -1;
}

tzString folderPath(Text arg) {
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(arg.c_str(), error);
  return error ? arg : tzString(full.lexically_normal().c_str());
}

tzString refuseFolder(Text arg) {
  std::error_code error;
  if (arg.empty()) return "empty directory name";
  // The loader's path is a list.
  if (arg.find(":") >= 0 || arg.find(";") >= 0) return "a directory name without : and ;";
  if (!std::filesystem::is_directory(arg.c_str(), error)) return "not a directory";
  return g_session->commands().isKey('c') ? "code paths are compared (-c)" : nullptr;
}

tzStringList pathNames(Text arg) {
  tzStringList names;
  arg.parse(names, ",; ");
  return names;
}

tzString refusePaths(Text arg) {
  const tzStringList names = pathNames(arg);
  if (names.count() < 2) return "two processors at least";
  for (const tzString& name : names) {
    if (tzCpuType::cpuType(name) < 0) return "incorrect CPU type " + name;
  }
  return nullptr;
}

bool isOnlyWord(Text arg) { return arg.toLower() == tzString("only"); }

tzString refuseHotOrOnly(Text arg) {
  return arg.empty() || isOnlyWord(arg) ? nullptr : "only ONLY may follow";
}

template <int LastForm>
tzString refuseEmptyPattern(Text arg) {
  tzString pattern(arg);
  const bool empty = getCondition(pattern) == CONDITION_EMPTY;
  return !empty ? nullptr : LastForm == 0 ? "empty function pattern" : "empty test pattern";
}

tzString refuseEmptyDir(Text arg) { return arg.empty() ? "empty directory name" : nullptr; }

// ---- echoes ----

template <tzOutFile kind>
constexpr const char* fileOf = "";
template <>
constexpr const char* fileOf<OUT_TEXT> = "console output";
template <>
constexpr const char* fileOf<OUT_RESULTS> = "results";
template <>
constexpr const char* fileOf<OUT_NAMES> = "parameter names";
template <>
constexpr const char* fileOf<OUT_SUMMARY> = "summary";
template <>
constexpr const char* fileOf<OUT_MEMORY> = "memory info";
template <>
constexpr const char* fileOf<OUT_LINES> = "results with all samples";

tzString tellFile(const char* what, bool append, Text path) {
  return tzString(what) + (append ? " added to " : " written to ") + path;
}

template <tzOutFile kind, bool append>
tzString tellOut(Text arg) {
  return tellFile(fileOf<kind>, append,
                  g_session->genOutPath(tzKeyFileName(arg), tzSession::extension(kind)));
}

// Capital letters append; the parameter names and the memory table have none.
template <tzOutFile kind, bool append>
constexpr const char* keyOf = append ? "-R" : "-r";
template <bool append>
constexpr const char* keyOf<OUT_TEXT, append> = append ? "-O" : "-o";
template <bool append>
constexpr const char* keyOf<OUT_NAMES, append> = "-q";
template <bool append>
constexpr const char* keyOf<OUT_SUMMARY, append> = append ? "-U" : "-u";
template <bool append>
constexpr const char* keyOf<OUT_MEMORY, append> = "-m";
template <bool append>
constexpr const char* keyOf<OUT_LINES, append> = "-j";

template <tzOutFile kind, bool append>
tzString refuseOut(Text arg) {
  const tzString path = g_session->genOutPath(tzKeyFileName(arg), tzSession::extension(kind));
  return g_session->files().conflict(path, tzFiles::WRITTEN, keyOf<kind, append>);
}

template <tzOutFile kind, bool append>
void applyOut(Text arg, tzSession* session) {
  session->addOutFile(kind, tzKeyFileName(arg), append, keyOf<kind, append>);
}

template <tzOutFile kind, bool append>
constexpr tzKeyAction outFile = {refuseOut<kind, append>, tellOut<kind, append>,
                                 applyOut<kind, append>};

tzString signalPath(Text arg) {
  return g_session->genOutPath(tzKeyFileName(arg), tzSession::SIGNAL_EXTENSION);
}

tzString tellCondition(Text what, Text arg) {
  tzString pattern(arg);
  switch (getCondition(pattern)) {
    case CONDITION_AND:
      return "only " + what + " with \"" + pattern + "\"";
    case CONDITION_NOT:
      return what + " without \"" + pattern + "\"";
    case CONDITION_EQUAL:
      return what + " named \"" + pattern + "\"";
    default:
      return what + " with \"" + pattern + "\"";
  }
}

}  // namespace

namespace {

template <class Plain, class And, class Not, class Equal>
void addCondition(tzString arg, tzSession* session) {
  switch (getCondition(arg)) {
    case CONDITION_PLAIN:
      session->addCondition(new Plain(arg));
      break;
    case CONDITION_AND:
      session->addCondition(new And(arg));
      break;
    case CONDITION_NOT:
      session->addCondition(new Not(arg));
      break;
    case CONDITION_EQUAL:
      session->addCondition(new Equal(arg));
      break;
    default:
      break;  // the key's echo has said that the pattern is empty
  }
}

}  // namespace

tzString tzKeyFileName(Text arg) { return arg[0] == '=' ? arg.substr(1) : arg; }

void f_apply(const tzString& arg, tzSession* session) {
  addCondition<RunCondition_f, RunCondition_fAnd, RunCondition_fNot, RunCondition_fEqual>(arg,
                                                                                          session);
}

void t_apply(const tzString& arg, tzSession* session) {
  addCondition<RunCondition_t, RunCondition_tAnd, RunCondition_tNot, RunCondition_tEqual>(arg,
                                                                                          session);
}

namespace tzkeyaction {

const tzKeyAction batch = {nullptr,
                           [](Text) -> tzString { return "nothing is asked on the console"; },
                           [](Text, tzSession* session) { session->setBatch(true); }};

const tzKeyAction ask = {[](Text arg) -> tzString {
                           bool fail = false;
                           parseAskMode(arg, fail);
                           if (fail) return "incorrect detail level of console input";
                           return g_session->commands().isKey('B') ? "batch mode (-B)" : nullptr;
                         },
                         [](Text arg) -> tzString { return "ask on the console: " + arg; },
                         [](Text arg, tzSession* session) {
                           bool fail = false;
                           session->addAskMode(parseAskMode(arg, fail));
                         }};

const tzKeyAction preset = {
    [](Text arg) -> tzString { return arg.find("=") > 0 ? nullptr : "incorrect data format"; },
    [](Text arg) -> tzString { return "set " + arg; },
    [](Text arg, tzSession*) { g_istrm.setPreset(arg); }};

const tzKeyAction iniRead = {
    [](Text arg) -> tzString {
      const tzString path = g_session->iniPath(tzKeyFileName(arg), false);
      return g_session->files().conflict(path, tzFiles::READ, "-i");
    },
    [](Text arg) -> tzString {
      return "parameters read from " + g_session->iniPath(tzKeyFileName(arg), false);
    },
    [](Text arg, tzSession* session) { session->setIniMode(tzKeyFileName(arg), false); }};

const tzKeyAction iniWrite = {
    [](Text arg) -> tzString {
      const tzString path = g_session->iniPath(tzKeyFileName(arg), true);
      return g_session->files().conflict(path, tzFiles::WRITTEN, "-I");
    },
    [](Text arg) -> tzString {
      return "parameters written to " + g_session->iniPath(tzKeyFileName(arg), true);
    },
    [](Text arg, tzSession* session) { session->setIniMode(tzKeyFileName(arg), true); }};

const tzKeyAction iniFunctions = {
    [](Text) -> tzString {
      return g_session->commands().isKey('i') ? nullptr : "no ini-file to read (-i)";
    },
    [](Text) -> tzString { return "only functions with a section in the ini-file"; },
    [](Text, tzSession* session) { session->setIniFunctionsOnly(true); }};

const tzKeyAction text = outFile<OUT_TEXT, false>;
const tzKeyAction textAppend = outFile<OUT_TEXT, true>;
const tzKeyAction results = outFile<OUT_RESULTS, false>;
const tzKeyAction resultsAppend = outFile<OUT_RESULTS, true>;
const tzKeyAction summary = outFile<OUT_SUMMARY, false>;
const tzKeyAction summaryAppend = outFile<OUT_SUMMARY, true>;
const tzKeyAction memory = outFile<OUT_MEMORY, false>;
const tzKeyAction lines = outFile<OUT_LINES, false>;

const tzKeyAction level = {[](Text arg) -> tzString {
                             return tzOutputMask(arg) != 0 ? nullptr
                                                           : "incorrect level of console output";
                           },
                           [](Text arg) -> tzString { return "console output level " + arg; },
                           [](Text arg, tzSession* session) {
                             session->addLevelMode(static_cast<OutputLevel>(tzOutputMask(arg)));
                           }};

const tzKeyAction names = {[](Text arg) -> tzString {
                             return arg[0] == '+' ? tzString() : refuseOut<OUT_NAMES, false>(arg);
                           },
                           [](Text arg) -> tzString {
                             return arg[0] == '+' ? "parameter names added to the results"
                                                  : tellOut<OUT_NAMES, false>(arg);
                           },
                           [](Text arg, tzSession* session) {
                             if (arg[0] == '+') {
                               session->setNamesInResults(true);
                             } else {
                               applyOut<OUT_NAMES, false>(arg, session);
                             }
                           }};

const tzKeyAction namesOnly = {
    nullptr, [](Text) -> tzString { return "exit after the parameter name table"; },
    [](Text, tzSession* session) { session->setNamesOnly(true); }};

const tzKeyAction signalFile = {
    [](Text arg) -> tzString {
      return g_session->files().conflict(signalPath(arg), tzFiles::WRITTEN, "-g");
    },
    [](Text arg) -> tzString { return tellFile("signal file", false, signalPath(arg)); },
    [](Text arg, tzSession* session) { session->setSglName(tzKeyFileName(arg)); }};

const tzKeyAction insist = {
    nullptr, [](Text) -> tzString { return "nothing is measured unless everything given is used"; },
    [](Text, tzSession* session) { session->setInsist(true); }};

const tzKeyAction children = {
    [](Text arg) -> tzString {
      return parseLimit(arg) >= 0 ? nullptr : "incorrect number of seconds";
    },
    [](Text arg) -> tzString {
      const double seconds = parseLimit(arg);
      tzString told = "each test in a child process";
      if (seconds == 0) return told;
      return told << ", ended when a row takes longer than " << seconds << " s";
    },
    [](Text arg, tzSession*) { tzChild::enable(parseLimit(arg)); }};

const tzKeyAction builds = {refuseFolder,
                            [](Text arg) -> tzString {
                              return "the libraries compared with those of " + folderPath(arg) +
                                     ", in batch mode";
                            },
                            [](Text arg, tzSession* session) {
                              session->setBatch(true);
                              session->comparison().compareBuilds(folderPath(arg));
                            }};

const tzKeyAction paths = {refusePaths,
                           [](Text arg) -> tzString {
                             return "code for " + pathNames(arg).front() +
                                    " compared with others, in batch mode";
                           },
                           [](Text arg, tzSession* session) {
                             session->setBatch(true);
                             session->comparison().comparePaths(pathNames(arg));
                           }};

const tzKeyAction defaultName = {
    [](Text arg) -> tzString { return arg.empty() ? "empty default name" : nullptr; },
    [](Text arg) -> tzString { return "default title name " + arg; },
    [](Text arg, tzSession* session) { session->setDefName(arg); }};

const tzKeyAction inDir = {refuseEmptyDir,
                           [](Text arg) -> tzString { return "input files from " + arg; },
                           [](Text arg, tzSession* session) { session->setInDir(arg); }};

const tzKeyAction outDir = {refuseEmptyDir,
                            [](Text arg) -> tzString { return "output files to " + arg; },
                            [](Text arg, tzSession* session) { session->setOutDir(arg); }};

const tzKeyAction functions = {refuseEmptyPattern<0>,
                               [](Text arg) { return tellCondition("functions", arg); }, f_apply};

const tzKeyAction tests = {refuseEmptyPattern<1>,
                           [](Text arg) { return tellCondition("tests", arg); }, t_apply};

const tzKeyAction startFunction = {
    [](Text arg) -> tzString { return arg.empty() ? "empty function name" : nullptr; },
    [](Text arg) -> tzString { return "start from " + arg; },
    [](Text arg, tzSession*) { tzTest::m_startFunc = arg; }};

const tzKeyAction priority = {
    [](Text arg) -> tzString {
      return parsePriority(arg) != PRIORITY_NONE ? nullptr : "incorrect process priority value";
    },
    [](Text arg) -> tzString {
      return parsePriority(arg) == PRIORITY_HIGH ? "high process priority"
                                                 : "normal process priority";
    },
    [](Text arg, tzSession*) { tzTool::m_priority = parsePriority(arg); }};

const tzKeyAction hot = {
    refuseHotOrOnly,
    [](Text arg) -> tzString { return arg.empty() ? "column 'Interest'" : "only hot tests"; },
    [](Text arg, tzSession*) { tzTest::m_hot = arg.empty() ? 1 : 2; }};

const tzKeyAction verify = {
    refuseHotOrOnly,
    [](Text arg) -> tzString {
      return arg.empty() ? "functions compared with their references first"
                         : "functions compared with their references only";
    },
    [](Text arg, tzSession*) { tzTest::m_verifyMode = arg.empty() ? VERIFY_ON : VERIFY_ONLY; }};

const tzKeyAction cpu = {
    [](Text arg) -> tzString {
      return arg.empty() || tzCpuType::cpuType(arg) >= 0 ? nullptr : "incorrect CPU type";
    },
    [](Text arg) -> tzString {
      return arg.empty() ? "best code for this processor" : "code for " + arg;
    },
    [](Text arg, tzSession*) { s_cpuType = arg.empty() ? -1 : tzCpuType::cpuType(arg); }};

const tzKeyAction threads = {[](Text arg) -> tzString {
                               return parseThreads(arg) > 0 ? nullptr
                                                            : "incorrect number of threads";
                             },
                             [](Text arg) -> tzString {
                               tzString told;
                               told << parseThreads(arg);
                               return told + " threads of the library";
                             },
                             [](Text arg, tzSession*) { s_numThreads = parseThreads(arg); }};

const tzKeyAction dataUse = {
    [](Text arg) -> tzString {
      return arg.toLower() == tzString("u") ? nullptr : "incorrect measuring mode";
    },
    [](Text) -> tzString { return "functions measured with data set & use"; },
    [](Text, tzSession*) { g_tool.setCallMode(true); }};

const tzKeyAction cache = {nullptr,
                           [](Text) -> tzString { return "data in cache and out of cache"; },
                           [](Text, tzSession*) { tzTest::m_cache = true; }};

const tzKeyAction sorting = {
    nullptr,
    [](Text arg) -> tzString {
      return arg[0] == '-' ? "functions are not sorted" : "functions are sorted";
    },
    [](Text arg, tzSession* session) { session->setSorting(arg[0] != '-'); }};

const tzKeyAction enumerate = {nullptr,
                               [](Text arg) -> tzString {
                                 switch (arg[0]) {
                                   case '+':
                                     return "enumerate applied and not applied functions";
                                   case '-':
                                     return "enumerate not applied functions";
                                   default:
                                     return "enumerate tested functions";
                                 }
                               },
                               [](Text arg, tzSession* session) {
                                 const char sign = arg[0];
                                 session->setEnumMode(sign == '+' ? 1 : sign == '-' ? -1 : 0);
                               }};

const tzKeyAction version = {nullptr, [](Text) -> tzString { return "version number"; },
                             [](Text, tzSession* session) { session->setQuickMode(true); }};

namespace {

// The key that help is asked for, out of "", the help letter again, or a key with or without dash.
char hintRequest(Text arg, char own) {
  const char* c = arg.c_str();
  if (*c == '-' && c[1] != 0) ++c;
  if (*c == 0) return HINT_QUICK;
  return *c == own ? static_cast<char>(HINT_FULL) : *c;
}

template <char own>
tzString tellHelp(Text arg) {
  const char key = hintRequest(arg, own);
  if (key == HINT_QUICK) return "short help";
  return key == HINT_FULL ? tzString("extended help") : tzString("extended help for key -") + key;
}

template <char own>
void applyHelp(Text arg, tzSession* session) {
  session->setHint(hintRequest(arg, own), own == '?');
}

}  // namespace

const tzKeyAction help = {nullptr, tellHelp<'h'>, applyHelp<'h'>};
const tzKeyAction hiddenHelp = {nullptr, tellHelp<'?'>, applyHelp<'?'>};

}  // namespace tzkeyaction
