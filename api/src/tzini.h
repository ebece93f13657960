/// @file
/// Ini files in memory.
#pragma once

#include "tzlist.h"
#include "tzstring.h"

/// One line of an ini file's section. The value tzIniFile::NO_VALUE marks a key that stands alone,
/// without "=". A comment is written after the value; comments of a file that is read are dropped.
struct tzIniValue {
  tzString key;
  tzString value;
  tzString comment;
};

/// The items of one section in file order.
class tzValues : public tzList<tzIniValue> {
 public:
  /// The first item with exactly this key; null when there is none.
  tzIniValue* exist(const tzString& key);
  const tzIniValue* exist(const tzString& key) const;
};

struct tzIniSection {
  tzString name;
  tzValues values;
};

/// The sections of an ini file in file order.
class tzSections : public tzList<tzIniSection> {
 public:
  /// The first section with exactly this name; null when there is none.
  tzIniSection* exist(const tzString& name);
  const tzIniSection* exist(const tzString& name) const;
};

/// An ini file in memory:
///
///     [section]
///     key = value    // comment to the end of the line
///     flag
///
/// Lines before the first section are ignored. A section met again goes on; a key given twice in
/// one section keeps the last value. Names and keys are compared byte by byte.
class tzIniFile {
 public:
  static constexpr const char* NO_VALUE = "~~~";

  tzIniFile() = default;
  tzIniFile(const tzIniFile&) = delete;
  tzIniFile& operator=(const tzIniFile&) = delete;
  ~tzIniFile() { close(); }

  /// Reads a file, after closing the one that was open.
  /// @param name    path, used as given
  /// @param create  the file may be missing, and is rewritten by close
  /// @return false, with the reason on the console, when the file can't be read or, with `create`,
  ///         can't be written
  bool open(const tzString& name, bool create);
  /// Writes the file when it was opened with `create`, and forgets all sections.
  /// @return false, with the reason on the console, when it could not be written
  bool close();

  /// The value of the trimmed key; `byDefault` when section or key is absent.
  tzString read(const tzString& section, const tzString& key, const tzString& byDefault) const;
  /// Gives `key` a value, replacing the one it has; a missing section is appended. An empty key
  /// makes the section alone.
  void write(const tzString& section, const tzString& key, const tzString& value,
             const tzString& comment = "");
  void write(const tzString& section, const tzString& key);
  void write(const tzString& section);

  bool sectionExist(const tzString& section) const { return m_sections.exist(section) != nullptr; }
  bool valueExist(const tzString& section, const tzString& key) const;
  /// Null when there is no such section.
  const tzValues* getSectionValues(const tzString& section) const;
  const tzSections& sections() const { return m_sections; }
  /// @return whether there was one
  bool eraseSection(const tzString& section);
  bool deleteKey(const tzString& section, const tzString& key);

  const tzString& name() const { return m_name; }

 private:
  bool readFile();
  void readLine(tzString line);
  bool readHeader(const tzString& line);
  void readItem(const tzString& line);
  tzIniSection& provide(const tzString& section);
  bool updateFile() const;

  tzString m_name;
  bool m_create = false;
  tzSections m_sections;
  tzIniSection* m_current = nullptr;  // being read
};
