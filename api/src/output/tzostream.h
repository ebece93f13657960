/// @file
/// Files, and the console-and-log stream: one text to several targets, filtered by message level.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

#include "tzlist.h"
#include "tzpacket.h"
#include "tzstring.h"

/// Message levels are bits: a text is shown when its bit is in the output mask. The two negative
/// values are commands to tzOStream.
enum OutputLevel : int {
  L_ERR = 1,        ///< errors
  L_WARN = 2,       ///< warnings
  L_PERF = 4,       ///< performance for each parameter set
  L_INFO = 8,       ///< detailed course of the measurement
  L_TRACE = 16,     ///< harness call tracing (tzTrace)
  L_MEM = 32,       ///< tracked memory; shown by the letter M alone
  L_DATA = 64,      ///< vectors before and after the library call
  L_END = -10,      ///< ends the message: the level before it is back
  L_ENDFLUSH = -11  ///< the same, and flushes
};

/// The output mask of a level word as the user types it (key -L): every letter D, E, I, M, P, T, W
/// adds its bits, whatever word it stands in, so that "DATA" includes tracing. 0: no level.
int tzOutputMask(const tzString& word);

/// How io_stream opens a file; bits.
enum tzOpenMode : int {
  OPEN_READ = 1,
  OPEN_WRITE = 2,
  OPEN_APPEND = 4,
  OPEN_BINARY = 8,
  OPEN_AS_GIVEN = 256  ///< the name is a whole path: no directory is put before it
};

/// One file. Base of the streams for reading and writing.
class io_stream {
 public:
  /// The stream of standard input or output.
  io_stream() = default;
  /// @param name    relative names lie in the directory of the mode's direction
  /// @param mode    tzOpenMode bits
  /// @param report  tell on the console, at level ERR, when the file does not open
  io_stream(const tzString& name, int mode, bool report);
  virtual ~io_stream();
  io_stream(const io_stream&) = delete;
  io_stream& operator=(const io_stream&) = delete;

  /// @name Directories of relative names, for the whole process; empty: the working directory
  /// @{
  static void setInputDir(const tzString& dir);
  static void setOutputDir(const tzString& dir);
  static const tzString& inputDir();
  static const tzString& outputDir();
  /// `name` under `dir`; as it stands when it is absolute or `dir` is empty.
  static tzString pathIn(const tzString& dir, const tzString& name);
  /// @}

  /// Whether the stream can be used: the file did open and is not closed yet.
  bool isOpen() const { return m_open; }
  /// Whether a file is open; false for the standard streams.
  bool hasFile() const { return m_file != nullptr; }
  /// The path that was opened; empty for the standard streams.
  const tzString& name() const { return m_name; }

 protected:
  std::FILE* m_file = nullptr;
  bool m_open = true;
  tzString m_name;
};

/// Reads a file, or standard input.
class i_stream : public io_stream {
 public:
  /// No line is longer (1 MiB).
  static constexpr std::size_t MAX_LINE = std::size_t{1} << 20;

  i_stream() = default;
  explicit i_stream(const tzString& name, int mode = OPEN_READ, bool report = true)
      : io_stream(name, mode | OPEN_READ, report) {}

  /// Reads up to the next line end (newline, carriage return or both), which is dropped; the last
  /// line needs none. A zero byte or a line without end shows that the file is no text: that is
  /// reported, and ends the reading.
  /// @return false, with an empty line, at the end of the file or when it can't be read
  bool getline(tzString& line);
  /// Whether getline ended before the file did.
  bool failed() const { return m_failed; }
  /// @return the number of bytes read, less than `size` at the end of the file
  std::size_t read(void* data, std::size_t size);

 private:
  std::FILE* file() const { return m_file != nullptr ? m_file : stdin; }
  int nextChar();
  void fail(const tzString& complaint);
  tzString describe() const;

  bool m_afterReturn = false;
  bool m_failed = false;
};

/// Writes a file, or standard output. The first failure (disk full, size limit, closed pipe) is
/// reported on the console with the file's name; later texts for the file are dropped, and a file
/// on disk ends with what the last successful flush had made of it: no row stays half written.
class o_stream : public io_stream {
 public:
  o_stream() = default;
  explicit o_stream(const tzString& name, int mode = OPEN_WRITE, bool report = true);
  ~o_stream() override;

  /// A subclass may write elsewhere, to memory for instance.
  virtual void write(const char* text, std::size_t length);
  virtual void flush();
  /// Closes the file; standard output is flushed and stays open.
  virtual void close();

  o_stream& operator<<(const tzString& text) {
    write(text.c_str(), static_cast<std::size_t>(text.length()));
    return *this;
  }

  /// Whether any stream of the process failed to write what it was given: the exit code is then 1.
  /// Complete once all streams are flushed or closed. To see a closed pipe as such a failure, and
  /// not as the end of the process, the program ignores SIGPIPE.
  static bool anyWriteFailed();
  static void setWriteFailed();
  static void resetWriteFailed();
  /// Whether this one failed.
  bool failed() const { return m_failed; }
  /// The same happened in a child process that shares the file.
  void setFailed() { m_failed = true; }
  /// Goes on behind what a child process wrote into the same file.
  void followFile();

 private:
  void check(bool good);
  void cutOff();
  std::FILE* file() const { return m_file != nullptr ? m_file : stdout; }

  bool m_failed = false;
  long long m_whole = -1;  // bytes of the file up to the last flush; -1: not on disk
};

/// Gives a file new contents: all of them or, when they can't be written, those that it had.
/// @return false, after a message on the console, when it could not be written
bool tzReplaceFile(const tzString& name, const tzString& contents);

/// Counts what the user gave and the run does not use: a refused key, an unknown name, a value that
/// was replaced.
class tzMistakes {
 public:
  static void add() { ++s_count; }
  static int count() { return s_count; }
  static void reset(int count = 0) { s_count = count; }

 private:
  static inline int s_count = 0;
};

/// Opens a file for writing, in the output directory unless the name is absolute.
/// @return null, after a message on the console, when it can't be opened;
/// the caller owns the stream
o_stream* createOStream(const tzString& name, bool append);

/// The targets that one text goes to, in the order in which they were added.
class tzTargets {
 public:
  tzTargets() = default;
  virtual ~tzTargets();
  tzTargets(const tzTargets&) = delete;
  tzTargets& operator=(const tzTargets&) = delete;

  /// createOStream; the new target is owned.
  /// @return false when the file did not open
  bool addStream(const tzString& name, bool append);
  /// A target that the caller owns and that outlives its use here; adding it again does nothing.
  void addStream(o_stream& target);
  /// Takes a target out; one that was owned is closed.
  void removeStream(const o_stream& target);
  bool hasTargets() const { return !m_targets.empty(); }
  void flush();
  /// Closes the files. Texts that come later are dropped.
  void close();

  /// @name Keeping texts back
  /// @{
  /// Texts and flushes wait from now on.
  void hold() { m_holding = true; }
  /// Ends it.
  /// @return what was kept back, for the caller to use
  std::string takeHeld();
  /// Ends it, and writes what was kept back.
  void release();
  /// @}

  /// @name Sharing the files with a child process
  /// @{
  /// No text waits in the process: what ends it does not take them with it.
  static void setFlushEach(bool on) { s_flushEach = on; }
  /// o_stream::followFile, for each file.
  void followFiles();
  /// What the child knows that the parent needs to go on.
  virtual void pack(tzPacket& packet) const;
  virtual void unpack(tzPacket& packet);
  /// @}

 protected:
  void put(const char* text, std::size_t length);
  /// Forgets all targets, closing those that are owned.
  void forgetTargets();

 private:
  struct Target {
    o_stream* stream = nullptr;
    bool owned = false;
  };
  static inline bool s_flushEach = false;
  tzList<Target> m_targets;
  std::string m_held;
  bool m_holding = false;
};

/// A value with a text: a tzString, or a type that tzString takes with `operator<<`.
template <class T>
concept tzWritable = requires(tzString& text, const T& value) {
  text << value;
};

/// The console-and-log stream. `g_ostrm << L_WARN << "-- seen " << n << " times\n" << L_END;` shows
/// its message when WARN is in the output mask, and drops it otherwise.
class tzOStream : public tzTargets {
 public:
  tzOStream() = default;
  ~tzOStream() override;

  /// @param mask  the levels to show
  void setOutLevel(int mask) { m_outLevel = mask; }
  int outLevel() const { return m_outLevel; }

  /// Makes `level` the level of the texts that follow; the one before is kept on a stack.
  void setMsgLevel(int level);
  /// Back to the level before; to ERR when there is none.
  void restoreMsgLevel();
  int msgLevel() const { return m_msgLevel; }
  /// Levels kept on the stack.
  int levelDepth() const { return m_savedLevels.count(); }

  /// setMsgLevel, unless `level`, compared as a number, exceeds the output mask.
  /// @return whether the level was set, and so needs an endMessage
  bool beginMessage(int level);
  void endMessage() { restoreMsgLevel(); }
  void endMessageFlush();

  /// Whether texts of the present message level are shown.
  bool isShown() const { return (m_msgLevel & m_outLevel) != 0; }

  tzOStream& operator<<(OutputLevel levelOrCommand);
  tzOStream& operator<<(const tzString& text);
  tzOStream& operator<<(const char* text);
  template <tzWritable T>
  tzOStream& operator<<(const T& value) {
    if (!isShown()) return *this;
    tzString text;
    text << value;
    return *this << text;
  }

 private:
  int m_outLevel = L_ERR;
  int m_msgLevel = L_PERF;
  tzList<int> m_savedLevels;
};

/// The levels of a console as they stand, to come back to after an exception has left messages
/// unfinished.
class tzOStreamState {
 public:
  explicit tzOStreamState(const tzOStream& os)
      : m_outLevel(os.outLevel()), m_msgLevel(os.msgLevel()), m_depth(os.levelDepth()) {}
  void restore(tzOStream& os) const {
    os.setOutLevel(m_outLevel);
    while (os.levelDepth() > m_depth) os.restoreMsgLevel();
    if (os.msgLevel() != m_msgLevel) os.setMsgLevel(m_msgLevel);
  }

 private:
  int m_outLevel;
  int m_msgLevel;
  int m_depth;
};

/// Standard output and input, and the console; usable before `main`, from any static initialiser.
extern o_stream c_out;
extern i_stream c_in;
extern tzOStream g_ostrm;
