#include "tzini.h"

#include <algorithm>
#include <utility>

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
  m_create = create;
  const bool read = readFile();
  if (!create) return read;
  // Whether it can be written is found out before anything is measured for it.
  o_stream probe(name, OPEN_APPEND | OPEN_AS_GIVEN);
  m_create = probe.hasFile();
  return m_create;
}

bool tzIniFile::close() {
  const bool good = !m_create || updateFile();
  m_create = false;
  m_sections.clear();
  return good;
}

bool tzIniFile::readFile() {
  i_stream file(m_name, OPEN_READ | OPEN_AS_GIVEN, !m_create);
  if (!file.hasFile()) return false;
  m_current = nullptr;
  tzString line;
  while (file.getline(line)) readLine(line);
  return true;
}

void tzIniFile::readLine(tzString line) {
  const int comment = line.find("//");
  if (comment >= 0) line = line.substr(0, comment);
  line = trimmed(line);
  if (!line.empty() && !readHeader(line) && m_current != nullptr) readItem(line);
}

bool tzIniFile::readHeader(const tzString& line) {
  const int open = line.find("[");
  const int end = open < 0 ? -1 : line.find("]", open);
  if (end < 0) return false;
  m_current = &provide(trimmed(line.substr(open + 1, end - open - 1)));
  return true;
}

void tzIniFile::readItem(const tzString& line) {
  const int equals = line.find("=");
  const tzString key = equals < 0 ? line : trimmed(line.substr(0, equals));
  const tzString value = equals < 0 ? tzString(NO_VALUE) : trimmed(line.substr(equals + 1));
  if (!key.empty()) write(m_current->name, key, value);
}

tzIniSection& tzIniFile::provide(const tzString& section) {
  if (tzIniSection* existing = m_sections.exist(section)) return *existing;
  m_sections.push_back({section, {}});
  return m_sections.back();
}

tzString tzIniFile::read(const tzString& section, const tzString& key,
                         const tzString& byDefault) const {
  const tzValues* values = getSectionValues(section);
  const tzIniValue* item = values ? values->exist(trimmed(key)) : nullptr;
  return item ? item->value : byDefault;
}

void tzIniFile::write(const tzString& section, const tzString& key, const tzString& value,
                      const tzString& comment) {
  tzValues& values = provide(section).values;
  if (key.empty()) return;
  tzIniValue item{key, value, comment};
  if (tzIniValue* existing = values.exist(key)) {
    *existing = std::move(item);
  } else {
    values.push_back(std::move(item));
  }
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

bool tzIniFile::updateFile() const {
  o_stream file(m_name, OPEN_WRITE | OPEN_AS_GIVEN);
  if (!file.hasFile()) return false;
  for (const tzIniSection& section : m_sections) {
    file << "\n[" + section.name + "]\n";
    for (const tzIniValue& item : section.values) {
      const bool bare = item.value == NO_VALUE;
      const tzString line = bare ? item.key : item.key + "=" + item.value;
      if (!isReadable(line)) {
        g_ostrm << L_WARN << "-- The ini file can't give this line back as it is: " + line + "\n"
                << L_END;
      }
      file << line;
      if (!item.comment.empty()) file << "\t// " + item.comment;
      file << "\n";
    }
  }
  file.close();
  return true;
}
