/// @file
/// Where the values of parameters come from.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tzini.h"
#include "tzlist.h"
#include "tzostream.h"
#include "tzstring.h"

struct tzDataItem {
  tzString name;
  tzString value;
};

/// Values fixed beforehand, by name; a name given again takes the new value.
class tzDataList : public tzList<tzDataItem> {
 public:
  void add(const tzString& name, const tzString& value);
  /// Null when the name is not there.
  const tzString* find(const tzString& name) const;
};

/// Decides where a parameter's value comes from: a preset value, else the ini file, else the
/// console when it is to be asked, else the default. With an ini file that may be created every
/// settled value is written back into it, so that a run leaves a file describing itself. One file
/// may be read and another written; what only the latter has counts then, too.
class tzIStream {
 public:
  enum Source { SRC_DEFAULT = 0, SRC_CONSOLE = 1, SRC_INI = 2, SRC_PRESET = 3, SRC_NONE = 4 };

  /// The section of the values that belong to no function.
  static constexpr const char* COMMON_SECTION = "Tazmet";

  tzIStream() = default;
  tzIStream(const tzIStream&) = delete;
  tzIStream& operator=(const tzIStream&) = delete;
  ~tzIStream();

  /// Takes the place of any ini file set before, which is closed.
  /// @param name    a relative name lies in the session's input directory
  /// @param create  the file may be missing and is rewritten on closing
  bool setIniFile(const tzString& name, bool create);
  /// Settled values are written into this file, which may be missing, whatever file is read.
  bool setIniTarget(const tzString& name);
  /// Closes the ini files, writing what was opened so.
  /// @return false when it could not be written
  bool deleteIniFile();
  /// Closes the ini files without writing.
  void abandonIniFile();
  bool hasIniFile() const { return iniFile() != nullptr; }
  /// The file that is read; null without an ini file.
  const tzIniFile* iniFile() const { return m_iniFile ? m_iniFile.get() : m_target.get(); }
  /// The file that is written; null when none is.
  const tzIniFile* iniTarget() const { return m_target.get(); }
  /// Whether the ini file has a section of this name; false without an ini file.
  bool hasIniSection(const tzString& name) const;

  /// Makes `name` the section in which values are looked up.
  /// @return the section before, which callers restore
  tzString setIniSection(const tzString& name);
  const tzString& iniSection() const { return m_section; }

  /// Values are asked on the console, through this reader, from now on; takes ownership.
  void setIStream(i_stream* reader);
  void deleteIStream();
  bool hasIStream() const { return m_reader != nullptr; }

  /// Fixes a value, which then beats every other source.
  void setPreset(const tzString& name, const tzString& value) { m_presets.add(name, value); }
  /// The same from "name=value".
  /// @return false, and nothing fixed, without "=" or a name
  bool setPreset(const tzString& definition);
  void clearPresets() { m_presets.clear(); }
  const tzDataList& presets() const { return m_presets; }

  /// Settles the value of a parameter.
  /// @param prompt  the question; empty: the name
  /// @param valid   the accepted values, which a prompt names already; for readers of other kinds
  tzString getItemValue(const tzString& name, const tzString& byDefault, const tzString& prompt,
                        const tzString& valid);
  /// Writes what became of the last settled value, as the run uses it.
  void writeBack(const tzString& name, const tzString& value);
  /// Where the last value came from: a Source.
  int source() const { return m_lastSource; }

  /// Called with true before the console is asked and with false after; may be null.
  static inline void (*m_pAsking)(bool) = nullptr;

  /// @name What was asked for
  /// Names, and "section]key"; each once, in the order of the first asking.
  /// @{
  const std::vector<std::string>& asked() const { return m_askedInOrder; }
  void addAsked(const std::string& what);
  /// @}

  /// @name What nobody asked for so far
  /// @{
  tzStringList unaskedPresets() const;
  /// The keys of one section of the file that is read.
  tzStringList unaskedKeys(const tzString& section) const;
  /// @}

 private:
  tzString iniValue(const tzString& name) const;
  tzString askConsole(const tzString& prompt, const tzString& byDefault);

  i_stream* m_reader = nullptr;
  std::unique_ptr<tzIniFile> m_iniFile;
  std::unique_ptr<tzIniFile> m_target;
  tzDataList m_presets;
  bool m_readerEnded = false;
  tzString m_section = COMMON_SECTION;
  int m_lastSource = SRC_NONE;
  std::set<std::string> m_asked;
  std::vector<std::string> m_askedInOrder;
};

extern tzIStream g_istrm;

/// While it lives, g_istrm asks on standard input (when `on`, and unless a reader is set already).
class tzConsoleAsking {
 public:
  explicit tzConsoleAsking(bool on);
  ~tzConsoleAsking();
  tzConsoleAsking(const tzConsoleAsking&) = delete;
  tzConsoleAsking& operator=(const tzConsoleAsking&) = delete;

 private:
  bool m_owner;
};

/// While it lives, g_istrm looks values up in another section.
class tzIniSectionScope {
 public:
  explicit tzIniSectionScope(const tzString& section) : m_before(g_istrm.setIniSection(section)) {}
  ~tzIniSectionScope() { g_istrm.setIniSection(m_before); }
  tzIniSectionScope(const tzIniSectionScope&) = delete;
  tzIniSectionScope& operator=(const tzIniSectionScope&) = delete;

 private:
  tzString m_before;
};
