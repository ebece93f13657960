/// @file
/// Parameters whose values are held to a list.
#pragma once

#include <algorithm>

#include "tzlistiterator.h"

/// A value list that can be held to a list of accepted values. While that list is active, a value
/// read must be in it, and a value that the program itself adds joins it: what a test offers by
/// default is always accepted.
template <typename T>
class tzEnumIterator_NCS : public tzIterator_NSC<T> {
 public:
  using tzIterator_NSC<T>::tzIterator_NSC;

  /// Starts an empty list of accepted values and makes it active.
  void initValidation() {
    m_accepted.clear();
    m_validating = true;
  }
  /// Accepts every value again.
  void resetValidation() {
    m_accepted.clear();
    m_validating = false;
  }
  /// Accepts @p value; makes the list active.
  void addValidation(const T& value) {
    m_accepted.push_back(value);
    m_validating = true;
  }
  void addValidation(const tzList<T>& values) {
    for (const T& value : values) addValidation(value);
  }
  bool isAccepted(const T& value) const { return !m_validating || isListed(value); }

  tzString validString() const override {
    return m_validating ? this->describe(m_accepted, "|") : tzString();
  }
  void add(const T& value) override {
    if (!isAccepted(value)) addValidation(value);
    tzIterator_NSC<T>::add(value);
  }

 private:
  bool isListed(const T& value) const {
    return std::find(m_accepted.begin(), m_accepted.end(), value) != m_accepted.end();
  }

  tzList<T> m_accepted;
  bool m_validating = false;
};

/// An enumerated list of numbers.
template <typename T>
class tzEnumIterator : public tzEnumIterator_NCS<T> {
 public:
  using tzEnumIterator_NCS<T>::tzEnumIterator_NCS;
  tzString valueToString(const T& value) const override { return tzValueToText(value); }
  T stringToValue(const tzString& text) const override {
    const T value = tzTextToValue<T>(text);
    if (!text.fail() && !this->isAccepted(value)) text.setFail(true);
    return value;
  }
  bool isNothing(const tzString& text) const override { return tzIsNothing<T>(text); }
};
