/// @file
/// Parameters with a range of values.
#pragma once

#include "tzlistiterator.h"

/// A value list or, instead, a range: "first; last; step", the step beginning with "+", "-" or "*"
/// (16; 1024; *2). Any other text is a value list. Both limits belong to the range; a range that
/// would leave the value type ends there.
template <typename T>
class tzStepIterator : public tzIterator<T> {
  static_assert(std::is_integral_v<T>, "ranges are defined for whole numbers");

 public:
  /// The operation when the iterator works on its value list.
  static constexpr char LIST = '?';

  using tzIterator<T>::tzIterator;

  void reset() override {
    tzIterator<T>::reset();
    m_operation = LIST;
  }
  void add(const T& value) override {
    m_operation = LIST;
    tzIterator<T>::add(value);
  }
  bool nextValue() override;
  tzString defaultString() const override;
  /// A range as the loop it is: "for (len = 16; len <= 1024; len *= 2)".
  tzString description() const override;
  tzString prompt() const override;
  /// @throw tzException as a value list, or "Invalid first value = ", "Invalid last value = ",
  ///        "Invalid step = ", "Conflict between iterator limits and operation"
  void translate(const tzString& text) override;

  /// Takes @p text as a range; false, and nothing changed, when it has not the form of one.
  bool translateStep(const tzString& text);
  /// Whether the range gets from @p first to @p last. A step of 0 is let through where a negative
  /// one is; that range never ends, so definitions avoid it.
  static bool validate(T first, T last, T step, char operation);
  /// @throw tzException "Conflict between iterator limits and operation"
  void setRange(T first, T last, T step, char operation);

  bool isRange() const { return m_operation != LIST; }
  T first() const { return m_first; }
  T last() const { return m_last; }
  T step() const { return m_step; }
  char operation() const { return m_operation; }
  bool descending() const { return m_first > m_last; }

 private:
  T limit(const tzString& word, const char* complaint) const;
  bool advance(T& value) const;

  T m_first{};
  T m_last{};
  T m_step{};
  char m_operation = LIST;
};

template <typename T>
bool tzStepIterator<T>::nextValue() {
  if (!isRange()) return tzIterator<T>::nextValue();
  T value = this->value();
  bool inRange = true;
  if (this->isRunning()) {
    inRange = advance(value);
  } else {
    value = m_first;
  }
  inRange = inRange && (descending() ? value >= m_last : value <= m_last);
  this->setValue(value);
  this->setRunning(inRange);
  return inRange;
}

/// False, and the value as it was, when the step would leave the type.
template <typename T>
bool tzStepIterator<T>::advance(T& value) const {
  T next{};
  const bool overflow = m_operation == '+'   ? __builtin_add_overflow(value, m_step, &next)
                        : m_operation == '-' ? __builtin_sub_overflow(value, m_step, &next)
                                             : __builtin_mul_overflow(value, m_step, &next);
  if (!overflow) value = next;
  return !overflow;
}

template <typename T>
tzString tzStepIterator<T>::defaultString() const {
  if (!isRange()) return tzIterator<T>::defaultString();
  return this->valueToString(m_first) + "; " + this->valueToString(m_last) + "; " +
         tzString(m_operation) + this->valueToString(m_step);
}

template <typename T>
tzString tzStepIterator<T>::description() const {
  if (!isRange()) return tzIterator<T>::description();
  const tzString& name = this->name();
  return tzString("for (") + name + " = " + this->valueToString(m_first) + "; " + name +
         (descending() ? " >= " : " <= ") + this->valueToString(m_last) + "; " + name + " " +
         tzString(m_operation) + "= " + this->valueToString(m_step) + ")";
}

template <typename T>
tzString tzStepIterator<T>::prompt() const {
  return isRange() ? tzString("for ") + this->name() : this->name();
}

template <typename T>
void tzStepIterator<T>::translate(const tzString& text) {
  if (translateStep(text)) return;
  tzIterator<T>::translate(text);
  m_operation = LIST;
}

template <typename T>
bool tzStepIterator<T>::translateStep(const tzString& text) {
  tzStringList words;
  if (text.parse(words, "; ") != 3) return false;
  auto it = words.begin();
  const tzString firstWord = *it;
  const tzString lastWord = *++it;
  const tzString stepWord = *++it;
  const char sign = stepWord[0];
  if (sign != '+' && sign != '-' && sign != '*') return false;
  const T first = limit(firstWord, "Invalid first value = ");
  const T last = limit(lastWord, "Invalid last value = ");
  const T step = limit(stepWord.substr(1), "Invalid step = ");
  setRange(first, last, step, sign);
  return true;
}

template <typename T>
T tzStepIterator<T>::limit(const tzString& word, const char* complaint) const {
  const T value = tzTextToValue<T>(word);
  if (word.fail() || tzIsNothing<T>(word)) throw tzException(tzString(complaint) + word);
  return value;
}

template <typename T>
bool tzStepIterator<T>::validate(T first, T last, T step, char operation) {
  const bool descends = first > last;
  if (operation == '+') return descends ? step < 1 : step >= 1;
  if (operation == '-') return descends ? step >= 1 : step < 1;
  if (operation != '*' || step <= 1) return false;
  const bool positive = first > 0 && last > 0;
  const bool negative = first < 0 && last < 0;
  return (positive && first <= last) || (negative && first >= last);
}

template <typename T>
void tzStepIterator<T>::setRange(T first, T last, T step, char operation) {
  if (!validate(first, last, step, operation)) {
    throw tzException(tzString("Conflict between iterator limits and operation"));
  }
  this->resetIterator();
  this->clear();
  m_first = first;
  m_last = last;
  m_step = step;
  m_operation = operation;
}
