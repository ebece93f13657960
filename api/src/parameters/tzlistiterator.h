/// @file
/// Parameters with a list of values.
#pragma once

#include <initializer_list>

#include "tzparm.h"

/// A parameter with a list of values, one line of results for each. The list is defined by `add`
/// or by a text of items separated by ";", in which order and duplicates are kept. Texts of single
/// values are left to the derived classes.
template <typename T>
class tzIterator_NSC : public tzDefault_NSC<T>, public tzList<T> {
 public:
  explicit tzIterator_NSC(const tzString& name = "", const tzString& prompt = "",
                          std::initializer_list<T> values = {})
      : tzDefault_NSC<T>(name, prompt) {
    for (const T& value : values) this->push_back(value);
  }

  /// Makes the parameter anew: name, prompt, the values that @p definition lists (none when it is
  /// empty), and whether they are fixed instead of read.
  void init(const tzString& name, const tzString& prompt = "", const tzString& definition = "",
            bool fixed = false) {
    this->setName(name, prompt);
    this->setReadable(!fixed);
    reset();
    if (!definition.empty()) this->translate(definition);
  }

  /// Empties the list; the owner then fills it with `add` or `translate`.
  void reset() override {
    tzParameter::reset();
    this->clear();
    this->setValue(T{});
  }
  bool nextValue() override {
    m_position = this->isRunning() ? ++m_position : this->begin();
    this->setValue(*m_position);
    this->setRunning(m_position != this->end());
    return this->isRunning();
  }
  tzString defaultString() const override { return listDescr("; "); }
  /// @throw tzException "Empty iterator definition" or "Invalid value of NAME = ITEM"; the list
  ///        that stood before stands then
  void translate(const tzString& text) override;

  virtual void add(const T& value) { this->push_back(value); }
  /// The values as texts, joined by @p separator.
  tzString listDescr(const tzString& separator) const { return describe(*this, separator); }

 protected:
  tzString describe(const tzList<T>& values, const tzString& separator) const;

 private:
  typename tzList<T>::iterator m_position{};
};

template <typename T>
void tzIterator_NSC<T>::translate(const tzString& text) {
  tzStringList items;
  if (text.parse(items, ";") == 0) throw tzException("Empty iterator definition");
  tzList<T> values;
  for (tzString& item : items) {
    item.trim();
    if (!this->isNothing(item)) values.push_back(this->validItem(item));
  }
  if (values.empty()) throw tzException("Empty iterator definition");
  this->resetIterator();
  this->swap(values);
}

template <typename T>
tzString tzIterator_NSC<T>::describe(const tzList<T>& values, const tzString& separator) const {
  tzString text;
  bool first = true;
  for (const T& value : values) {
    if (!first) text += separator;
    text += this->valueToString(value);
    first = false;
  }
  return text;
}

/// A value list whose texts are those of tzString's conversions.
template <typename T>
class tzIterator : public tzIterator_NSC<T> {
 public:
  using tzIterator_NSC<T>::tzIterator_NSC;
  tzString valueToString(const T& value) const override { return tzValueToText(value); }
  T stringToValue(const tzString& text) const override { return tzTextToValue<T>(text); }
  bool isNothing(const tzString& text) const override { return tzIsNothing<T>(text); }
};
