/// @file
/// Ini files in memory.
#pragma once

#include "tzlist.h"
#include "tzstring.h"

/// One line of an ini file's section. The value tzIniFile::NO_VALUE marks a key that stands alone,
/// without "=". A comment is written after the value, lines of comment above it.
struct tzIniValue {
  tzString key;
  tzString value;
  tzString comment;
  tzString above;  ///< whole lines with their line ends
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
  tzString comment = "";  ///< behind the header
  tzString above = "";    ///< as that of a value
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
/// one section keeps the last value. Names and keys are compared byte by byte. Comments are kept
/// when the file is rewritten.
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
  /// @return false, with the reason on the console, when the file can't be read to its end (it is
  ///         left as it is, and nothing of it is used) or, with `create`, can't be written
  bool open(const tzString& name, bool create);
  /// Writes the file when it was opened with `create`, and forgets all sections. The file is
  /// replaced as a whole or, when that fails, stays what it was.
  /// @return false, with the reason on the console, when it could not be written
  bool close();
  /// Closes without writing; a file that open made is removed.
  void abandon();
  /// Whether the file that was read holds lines, beyond comments, that are no part of it: rewriting
  /// it drops them.
  bool hasStrayLines() const { return m_hasStrayLines; }

  /// The value of the trimmed key; `byDefault` when section or key is absent.
  tzString read(const tzString& section, const tzString& key, const tzString& byDefault) const;
  /// Gives `key` a value, replacing the one it has; a missing section is appended. An empty key
  /// makes the section alone, an empty comment keeps the one that is there.
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
  void readLine(const tzString& line);
  bool readHeader(const tzString& line, const tzString& comment);
  void readItem(const tzString& line, const tzString& comment);
  tzIniSection& provide(const tzString& section);
  tzIniValue& provide(tzIniSection& section, const tzString& key);
  tzString contents() const;
  void forget();

  tzString m_name;
  bool m_create = false;
  bool m_made = false;  // by open
  bool m_hasStrayLines = false;
  tzSections m_sections;
  tzIniSection* m_current = nullptr;  // being read
  tzString m_pending;                 // lines of comment that belong to what follows
};
