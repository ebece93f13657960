/// @file
/// The session: one object that owns a whole run, from the command line to the exit code.
#pragma once

#include "tzcomparison.h"
#include "tzconditions.h"
#include "tzfiles.h"
#include "tzkeys.h"
#include "tzlist.h"
#include "tzostream.h"
#include "tzstring.h"

class tzParameter;
class tzTest;

/// What the user wants to be asked on the console (key -A); bits.
enum tzAskMode {
  ASK_NONE = 0,
  ASK_TIMING = 1,    ///< timing method and accuracy
  ASK_PARAMS = 2,    ///< common parameters
  ASK_MISALIGN = 4,  ///< placement of test vectors
  ASK_TESTS = 8,     ///< each test's own parameters before it runs
  ASK_ALL = 15
};

/// What a help key asked for, besides the letter of a key.
enum tzHintRequest : char { HINT_NONE = 0, HINT_QUICK = ' ', HINT_FULL = '*' };

/// The kinds of files that keys name; each stands for one extension of the default name.
enum tzOutFile {
  OUT_TEXT,
  OUT_RESULTS,
  OUT_NAMES,
  OUT_SUMMARY,
  OUT_MEMORY,
  OUT_LINES,
  NUM_OUT_FILES
};

/// One run of the program. A suite may register a subclass with tzRegSession; every virtual
/// operation is a place to change the run.
class tzSession {
 public:
  tzSession();
  virtual ~tzSession();
  tzSession(const tzSession&) = delete;
  tzSession& operator=(const tzSession&) = delete;

  /// Registers the keys.
  virtual void initSession();
  /// The whole session.
  /// @return the exit code: 1 when a test failed or an output could not be written, else 0;
  ///         EXIT_MISTAKE under -W when something given is not used
  virtual int run(int argc, char** argv);
  static constexpr int EXIT_MISTAKE = 2;

  /// @name The heading of the result table
  /// The base names no function or parameter columns, because their number differs from test to
  /// test; a subclass that names them gets a heading line (putTableTitleLine).
  /// @{
  virtual void funcTitleToCStream();
  virtual void parmsTitleToCStream();
  virtual void resultTitleToCStream();
  virtual void putTableTitle();
  virtual void putTableTitleLine();
  /// @}

  /// A subclass's own start; false ends the run without tests.
  virtual bool startSession();
  /// Puts into force what the keys asked for once all are applied: levels, console questions,
  /// files.
  /// @return false after a "FATAL ERROR" message
  virtual bool updateOptions();
  virtual bool parseCommandLine(int argc, char** argv);

  /// @param mode  -1, 0 or 1 for -e-, -e and -e+
  virtual void listTests(int mode);

  /// @name Help
  /// @param key  a key letter or a tzHintRequest
  /// @{
  virtual void hint(char key, bool withHidden);
  virtual void hint_quick(bool withHidden);
  virtual void hint_full(bool withHidden);
  virtual void hint_descr(char key);
  /// @}

  virtual void outputHeader();
  virtual void outputFooter();
  /// Writes the file of -g, when asked.
  virtual void outputSignal();
  /// Reads the measurement settings and the common parameters.
  virtual void readCommonData();

  /// @name Keys
  /// @{
  /// @param text  help lines, an empty line, detailed text (tzOption::text)
  void initOption(char key, const tzString& name, tzKeyInfo info, tzKeyApply apply,
                  const tzString& text, bool hidden);
  /// What may follow the key registered last, and whether of several only the last counts.
  void limitOption(tzKeyArgument argument, bool lastCounts);
  const tzOption* getOption(char key) const;
  /// Echoes a key with what it does, or why it is ignored, and applies it.
  void applyOption(char key, const tzString& arg);
  /// Finds and reads the command file.
  /// @param name  receives its path
  /// @return false when there is none
  bool readCfgFile(tzString& name, tzString& text) const;
  const tzOptionList& options() const { return m_options; }
  const tzCommandList& commands() const { return m_commands; }
  /// @}

  /// Prints banner, help or listing when asked.
  /// @return true when the run stops after them
  bool quickOutput();
  /// Whether an exit request of at least this level was made: 2 help, 1 listing, 3 version.
  bool isExit(int level) const { return m_exitLevel >= level; }
  /// Why a key is skipped.
  tzString getExitInfo() const;

  /// @name Paths
  /// Directories are made absolute when they are set, so that building a path twice does no harm.
  /// @{
  void setInDir(const tzString& dir);
  void setOutDir(const tzString& dir);
  void setDefName(const tzString& name);
  /// A file key's path: `name` under the direction's directory; the default name with `ext` when
  /// `name` is empty.
  tzString genInPath(const tzString& name, const tzString& ext) const;
  tzString genOutPath(const tzString& name, const tzString& ext) const;
  tzString getInPath(const tzString& name) const;
  tzString getOutPath(const tzString& name) const;
  tzString getInDir() const;   ///< -p, else the executable's directory
  tzString getOutDir() const;  ///< -l, else the executable's directory or, where that cannot be
                               ///< written, the current one
  /// The ini file's path: that of genInPath, but for one that cannot be there because the
  /// executable's directory cannot be written: that lies in the current one.
  tzString iniPath(const tzString& name, bool create) const;
  tzString getDefName() const;  ///< -n, else the executable's file name without its extension
  /// @}

  /// What a kind of output file adds to the default name.
  static const char* extension(tzOutFile kind);
  static constexpr const char* INI_EXTENSION = ".ini";
  static constexpr const char* SIGNAL_EXTENSION = ".end";

  /// @name What the keys set
  /// @{
  void setEnumMode(int mode) { m_enumMode = mode; }
  /// `-v`: print the version and stop.
  void setQuickMode(bool version) { m_version = version; }
  void setHint(char key, bool withHidden);
  void setSorting(bool sort) { m_dontSort = !sort; }
  void setBatch(bool batch) { m_batch = batch; }
  void addAskMode(int mode) { m_askMode |= mode; }
  void addLevelMode(OutputLevel mask);
  /// @param create  the file to be written (-I), not the one to be read (-i)
  void setIniMode(const tzString& name, bool create);
  void setIniFunctionsOnly(bool on);
  void addCondition(RunCondition* condition);
  void setSglName(const tzString& name);
  /// @param by  the key that names the file
  void addOutFile(tzOutFile kind, const tzString& name, bool append, const tzString& by);
  void setNamesInResults(bool on) { m_namesInResults = on; }
  void setNamesOnly(bool on) { m_namesOnly = on; }
  void setInsist(bool on) { m_insist = on; }
  /// Compares builds or code paths instead of measuring one.
  tzComparison& comparison() { return m_comparison; }
  /// Print the facts about the machine and stop.
  void setFactsOnly(bool on) { m_factsOnly = on; }
  const tzFiles& files() const { return m_files; }
  /// @}

  /// @name What tests and settings ask
  /// @{
  /// Whether the console is asked for any group of `mode`; never in batch mode.
  bool isAsk(int mode) const { return !m_batch && (m_askMode & mode) != 0; }
  tzConditions& conditions() { return m_conditions; }
  /// @}

 private:
  struct OutFile {
    tzString path;
    bool append = false;
  };
  struct IniFile {
    bool given = false;
    tzString name;
  };

  // Steps of parseCommandLine.
  void findExecutable(const char* argv0);
  void collectWords(int argc, char** argv);
  void fixExitLevel();
  void tellNotCompared() const;
  void fillRequest() const;
  void applyDirectories();
  void applyKeys();
  bool isOverruled(const tzCommandKey& command) const;
  bool openFiles();
  bool reserveOutFiles();
  bool canWriteSignal() const;
  bool openIni();
  bool openIniToWrite();
  bool openOutFiles();
  static bool openLines(const tzString& path, bool resume);
  static bool openOutFile(tzOutFile kind, const tzString& path, bool append);
  static bool isDirectoryKey(char key);
  const tzOption* echoOption(char key, const tzString& arg);

  // Steps of run.
  int runTests();
  bool isAnySelected();
  bool isAllUsed();
  void tellUnused() const;
  void tellContext();
  void settlePlan() const;
  bool isFunction(const tzString& name) const;
  void prepareLibrary();
  void sortTests();
  void readParameters();
  void beginCommonData();
  void endCommonData();
  template <class Visit>
  void visitTests(Visit visit);
  int writeIni();
  int writeNames();
  int finish(int result);

  tzConditions m_conditions;
  tzOptionList m_options;
  tzCommandList m_commands;
  bool m_dontSort = false;
  int m_enumMode = 2;  // above 1: no -e
  tzString m_inDir;
  tzString m_outDir;
  tzString m_defName;
  tzString m_exePath;

  int m_exitLevel = 0;
  char m_hint = HINT_NONE;
  bool m_hintHidden = false;
  bool m_version = false;
  bool m_headerPrinted = false;
  int m_result = 0;
  tzList<tzParameter*> m_commonParms;

  bool m_batch = false;
  int m_askMode = ASK_NONE;
  int m_levelMode = 0;  // 0: no -L was given
  IniFile m_iniRead;
  IniFile m_iniWrite;
  bool m_iniFunctionsOnly = false;
  bool m_signal = false;
  tzString m_sglName;
  bool m_namesInResults = false;
  bool m_namesOnly = false;
  bool m_insist = false;
  tzComparison m_comparison;
  bool m_factsOnly = false;
  tzList<OutFile> m_outFiles[NUM_OUT_FILES];
  tzFiles m_files;
};

/// The session of this process: null until one is registered or the entry point makes one.
extern tzSession* g_session;

/// Registers a suite's own session instead of the default one.
/// @return 1, so that a unit can keep it in a file-scope integer
int tzRegSession(tzSession* session);

/// Whether `path` begins at the root.
bool isAbsolutePath(const tzString& path);

/// `name` as it stands when it is absolute or `dir` is empty, else put under `dir`.
tzString getDirPath(const tzString& dir, const tzString& name);
