// Ini files: lines read, values looked up, the file written back.
#include "tzini.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>

#include "tzostream.h"

namespace {

template <typename List, typename Field>
auto findByName(List& list, Field field, const tzString& name) {
  return std::find_if(list.begin(), list.end(),
                      [&](const auto& item) { return item.*field == name; });
}

template <typename List, typename Field>
auto existing(List& list, Field field, const tzString& name) {
  const auto it = findByName(list, field, name);
  return it == list.end() ? nullptr : &*it;
}

/// Files that come from other systems end their lines with carriage return and newline, and a
/// carriage return left at the end of a part would not survive being written.
tzString trimmed(const tzString& text) {
  tzString part = text.str().substr(0, text.str().find_last_not_of("\r\t ") + 1);
  part.trim();
  return part;
}

/// Whether an item's line gives the item back when it is read.
bool isReadable(const tzString& line) {
  const int open = line.find("[");
  return line.find("//") < 0 && line.find("\n") < 0 && line.find("\r") < 0 &&
         (open < 0 || line.find("]", open) < 0);
}

}  // namespace

tzIniValue* tzValues::exist(const tzString& key) { return existing(*this, &tzIniValue::key, key); }

const tzIniValue* tzValues::exist(const tzString& key) const {
  return existing(*this, &tzIniValue::key, key);
}

tzIniSection* tzSections::exist(const tzString& name) {
  return existing(*this, &tzIniSection::name, name);
}

const tzIniSection* tzSections::exist(const tzString& name) const {
  return existing(*this, &tzIniSection::name, name);
}

bool tzIniFile::open(const tzString& name, bool create) {
  close();
  m_name = name;
  struct stat status {};
  const bool exists = stat(name.c_str(), &status) == 0;
  if ((exists || !create) && !readFile()) {
    forget();
    return false;
  }
  if (!create) return true;
  // Whether it can be written is found out before anything is measured for it.
  const o_stream probe(name, OPEN_APPEND | OPEN_AS_GIVEN);
  m_create = probe.hasFile();
  m_made = m_create && !exists;
  return m_create;
}

bool tzIniFile::close() {
  const bool good = !m_create || tzReplaceFile(m_name, contents());
  forget();
  return good;
}

void tzIniFile::abandon() {
  if (m_made) std::remove(m_name.c_str());
  forget();
}

void tzIniFile::forget() {
  m_create = m_made = m_hasStrayLines = false;
  m_sections.clear();
  m_pending = "";
}

bool tzIniFile::readFile() {
  i_stream file(m_name, OPEN_READ | OPEN_AS_GIVEN);
  if (!file.hasFile()) return false;
  m_current = nullptr;
  tzString line;
  while (file.getline(line)) readLine(line);
  return !file.failed();
}

void tzIniFile::readLine(const tzString& line) {
  const int at = line.find("//");
  const tzString text = trimmed(at < 0 ? line : line.substr(0, at));
  const tzString comment = at < 0 ? tzString() : trimmed(line.substr(at + 2));
  if (text.empty()) {
    if (at >= 0) m_pending += trimmed(line) + "\n";
  } else if (readHeader(text, comment)) {
    return;
  } else if (m_current != nullptr) {
    readItem(text, comment);
  } else {
    m_hasStrayLines = true;
  }
}

bool tzIniFile::readHeader(const tzString& line, const tzString& comment) {
  const int open = line.find("[");
  const int end = open < 0 ? -1 : line.find("]", open);
  if (end < 0) return false;
  m_current = &provide(trimmed(line.substr(open + 1, end - open - 1)));
  m_current->above += m_pending;
  if (!comment.empty()) m_current->comment = comment;
  m_pending = "";
  return true;
}

void tzIniFile::readItem(const tzString& line, const tzString& comment) {
  const int equals = line.find("=");
  const tzString key = equals < 0 ? line : trimmed(line.substr(0, equals));
  const tzString value = equals < 0 ? tzString(NO_VALUE) : trimmed(line.substr(equals + 1));
  if (key.empty()) {
    m_hasStrayLines = true;
    return;
  }
  write(m_current->name, key, value, comment);
  provide(*m_current, key).above += m_pending;
  m_pending = "";
}

tzIniSection& tzIniFile::provide(const tzString& section) {
  if (tzIniSection* existing = m_sections.exist(section)) return *existing;
  m_sections.push_back({section, {}});
  return m_sections.back();
}

tzIniValue& tzIniFile::provide(tzIniSection& section, const tzString& key) {
  if (tzIniValue* existing = section.values.exist(key)) return *existing;
  section.values.push_back({key, {}, {}, {}});
  return section.values.back();
}

tzString tzIniFile::read(const tzString& section, const tzString& key,
                         const tzString& byDefault) const {
  const tzValues* values = getSectionValues(section);
  const tzIniValue* item = values ? values->exist(trimmed(key)) : nullptr;
  return item ? item->value : byDefault;
}

void tzIniFile::write(const tzString& section, const tzString& key, const tzString& value,
                      const tzString& comment) {
  tzIniSection& holder = provide(section);
  if (key.empty()) return;
  tzIniValue& item = provide(holder, key);
  item.value = value;
  if (!comment.empty()) item.comment = comment;
}

void tzIniFile::write(const tzString& section, const tzString& key) {
  write(section, key, NO_VALUE);
}

void tzIniFile::write(const tzString& section) { provide(section); }

const tzValues* tzIniFile::getSectionValues(const tzString& section) const {
  const tzIniSection* existing = m_sections.exist(section);
  return existing ? &existing->values : nullptr;
}

bool tzIniFile::valueExist(const tzString& section, const tzString& key) const {
  const tzValues* values = getSectionValues(section);
  return values != nullptr && values->exist(key) != nullptr;
}

bool tzIniFile::eraseSection(const tzString& section) {
  const auto it = findByName(m_sections, &tzIniSection::name, section);
  if (it == m_sections.end()) return false;
  m_sections.erase(it);
  return true;
}

bool tzIniFile::deleteKey(const tzString& section, const tzString& key) {
  tzIniSection* existing = m_sections.exist(section);
  if (existing == nullptr) return false;
  const auto it = findByName(existing->values, &tzIniValue::key, key);
  if (it == existing->values.end()) return false;
  existing->values.erase(it);
  return true;
}

tzString tzIniFile::contents() const {
  tzString text;
  const auto endLine = [&text](const tzString& comment) {
    if (!comment.empty()) text += "\t// " + comment;
    text += "\n";
  };
  for (const tzIniSection& section : m_sections) {
    text += "\n" + section.above + "[" + section.name + "]";
    endLine(section.comment);
    for (const tzIniValue& item : section.values) {
      const bool bare = item.value == NO_VALUE;
      const tzString line = bare ? item.key : item.key + "=" + item.value;
      if (!isReadable(line)) {
        g_ostrm << L_WARN << "-- The ini file can't give this line back as it is: " + line + "\n"
                << L_END;
      }
      text += item.above + line;
      endLine(item.comment);
    }
  }
  return text + m_pending;
}
