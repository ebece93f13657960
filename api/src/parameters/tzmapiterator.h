/// @file
/// Parameters whose values go by names.
#pragma once

#include "tzenumiterator.h"

/// A value list whose values go by names, which may be abbreviated. Of the names that fit a text
/// the first in order of addition is meant whose value is accepted.
template <typename T>
class tzMapIterator : public tzEnumIterator_NCS<T> {
 public:
  using tzEnumIterator_NCS<T>::tzEnumIterator_NCS;

  /// Forgets all names; the value list stays.
  void resetMap() { m_map.clear(); }
  void addName(const T& value, const tzString& name) { m_map.add(value, name); }
  /// `parm["near"] = rkdRndNear;`
  T& operator[](const tzString& valueName) { return m_map[valueName]; }

  tzString valueToString(const T& value) const override {
    const tzString* valueName = m_map.nameOf(value);
    return valueName ? *valueName : tzString();
  }
  T stringToValue(const tzString& text) const override {
    const auto* entry =
        m_map.find(text, [this](const T& value) { return this->isAccepted(value); });
    text.setFail(entry == nullptr);
    return entry ? entry->first : T{};
  }

 private:
  tzNameMap<T> m_map;
};

/// A map iterator that takes plain numbers too: names stand for the usual values, any other value
/// is written and read as a number.
template <typename T>
class tzHMapIterator : public tzMapIterator<T> {
 public:
  using tzMapIterator<T>::tzMapIterator;
  using tzMapIterator<T>::add;

  /// Appends the value that a name or number stands for.
  /// @throw tzException "Invalid value of NAME = ITEM"
  void add(const tzString& item) { this->add(this->validItem(item)); }

  tzString valueToString(const T& value) const override {
    const tzString valueName = tzMapIterator<T>::valueToString(value);
    return valueName.empty() ? tzValueToText(value) : valueName;
  }
  T stringToValue(const tzString& text) const override {
    const T named = tzMapIterator<T>::stringToValue(text);
    if (!text.fail()) return named;
    const T number = tzTextToValue<T>(text);
    if (!text.fail() && !this->isAccepted(number)) text.setFail(true);
    return number;
  }
};
