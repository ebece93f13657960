/// @file
/// Values that go by names.
#pragma once

#include <utility>
#include <vector>

#include "tzstring.h"

/// Values with their names, in the order in which they were added. Names are found by
/// abbreviation: the first entry whose name begins with the text, in any case, is the one meant,
/// so that an empty text means the first entry.
template <typename T>
class tzNameMap {
 public:
  using Entry = std::pair<T, tzString>;

  void add(const T& value, const tzString& name) { m_entries.emplace_back(value, name); }
  void clear() { m_entries.clear(); }
  bool empty() const { return m_entries.empty(); }
  auto begin() const { return m_entries.begin(); }
  auto end() const { return m_entries.end(); }

  /// The value to be given to @p name: of the entry that has exactly this name, or of a new one.
  T& operator[](const tzString& name) {
    for (Entry& entry : m_entries) {
      if (entry.second == name) return entry.first;
    }
    return m_entries.emplace_back(T{}, name).first;
  }

  /// The entry meant by @p text among those that @p accepts lets through; null when there is none.
  template <typename Accepts>
  const Entry* find(const tzString& text, Accepts accepts) const {
    const tzString wanted = text.toLower();
    for (const Entry& entry : m_entries) {
      const bool begins = entry.second.toLower().substr(0, wanted.length()) == wanted;
      if (begins && accepts(entry.first)) return &entry;
    }
    return nullptr;
  }
  const Entry* find(const tzString& text) const {
    return find(text, [](const T&) { return true; });
  }

  /// The first name paired with @p value; null when there is none.
  const tzString* nameOf(const T& value) const {
    for (const Entry& entry : m_entries) {
      if (entry.first == value) return &entry.second;
    }
    return nullptr;
  }

  /// All names joined by "|".
  tzString names() const {
    tzString text;
    for (const Entry& entry : m_entries) {
      if (!text.empty()) text += "|";
      text += entry.second;
    }
    return text;
  }

 private:
  std::vector<Entry> m_entries;
};
