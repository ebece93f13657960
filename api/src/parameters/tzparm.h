/// @file
/// Parameters: the named inputs of tests and of the session.
#pragma once

#include <optional>
#include <type_traits>

#include "tzexception.h"
#include "tzlist.h"
#include "tznamemap.h"
#include "tzsize.h"
#include "tzstring.h"

class tzCStream;
class tzIStream;
class tzOStream;

/// A named input of a test or of the session. It knows its default, the values it accepts and its
/// current value, reads its definition from the input stream, describes itself on the console and
/// writes itself into a column of the csv table. A plain parameter is one value: iterating over it
/// is a single pass. A parameter with an empty name is silent: it is neither read nor shown, and
/// its table cell is empty.
///
/// Operations that take texts throw tzException when a text defines nothing usable; fromIStream
/// catches that, reports it and leaves the parameter as it was.
class tzParameter {
 public:
  /// Bit of flags(): the table cell is written as a blank and the value in double quotes, which
  /// keeps spreadsheet programs from reading it as a number or a date.
  static constexpr int QUOTED_CELL = 2;

  /// @param prompt  text shown when the console is asked; empty: the name
  explicit tzParameter(const tzString& name = "", const tzString& prompt = "");
  tzParameter(const tzParameter&) = delete;
  tzParameter& operator=(const tzParameter&) = delete;

  virtual void reset();
  virtual tzString valueString() const;
  /// What is offered when nothing else is given, in the form in which it can be read back.
  virtual tzString defaultString() const;
  /// The accepted values, for the prompt; empty when there is no such list.
  virtual tzString validString() const;
  virtual tzString description() const;
  virtual tzString prompt() const;
  virtual void resetIterator();
  /// Goes to the first value; false when there is none.
  virtual bool firstValue();
  /// Goes to the next value; false past the last.
  virtual bool nextValue();
  /// Whether any value is marked as deprecated.
  virtual bool isDeprecatedParm() const;
  virtual bool isDeprecatedValue() const;
  /// With @p on: finds out whether the current value is deprecated, in which case the table shows
  /// the text given with it. Without: the value is shown whatever it is.
  virtual bool setDeprecatedFlag(bool on);
  /// Writes "name=value " unless the parameter is silent.
  virtual void toOStream(tzOStream& os) const;
  /// The fixed table column, or -1 for the next free cell.
  virtual int colmIndex() const;
  virtual void toCStream(tzCStream& cs) const;
  virtual void nameToCStream(tzCStream& cs) const;
  /// Settles the parameter from @p is (see tzIStream::getItemValue), shows what will be used and,
  /// where values are written back, writes it. A text that cannot be used is reported and the
  /// previous definition stands.
  virtual void fromIStream(tzIStream& is);
  /// Takes a definition: one value, or what the class reads as a list or range.
  /// @throw tzException when the text is not such a definition; nothing has changed then
  virtual void translate(const tzString& text);
  virtual ~tzParameter();

  const tzString& name() const { return m_name; }
  const tzString& promptText() const { return m_promptText; }
  void setName(const tzString& name, const tzString& prompt = "");
  bool isRunning() const { return m_running; }
  /// Whether the definition is read; false: it is fixed and only its description is shown.
  bool isReadable() const { return m_readable; }
  void setReadable(bool readable) { m_readable = readable; }
  int flags() const { return m_flags; }
  void setFlags(int flags) { m_flags = flags; }

 protected:
  void setRunning(bool running) { m_running = running; }
  void setDeprecation(bool deprecated, const tzString& text);
  /// The definition just taken is not quite what the text says.
  void setReplaced() { m_replaced = true; }

 private:
  void putCell(tzCStream& cs, const tzString& text) const;
  std::optional<tzString> tryTranslate(const tzString& text);
  bool tookAsGiven(const tzString& text);

  tzString m_name;
  tzString m_promptText;
  bool m_running = false;
  bool m_readable = true;
  bool m_replaced = false;
  int m_flags = 0;
  bool m_deprecatedValue = false;
  tzString m_deprecationText;
};

/// @name Values as text
/// By the conversions of tzString. Reading sets the text's fail flag when nothing could be read; a
/// blank text is no failure where a number is read, but it defines nothing (tzIsNothing).
/// @{
template <typename T>
tzString tzValueToText(const T& value) {
  tzString text;
  text << value;
  return text;
}

template <typename T>
T tzTextToValue(const tzString& text) {
  if constexpr (std::is_same_v<T, tzString>) {
    text.setFail(false);
    return text;
  } else {
    T value{};
    value << text;
    return value;
  }
}

/// Whether reading a T from the text leaves the target as it was: then a parameter keeps its value,
/// and a list has no such item.
template <typename T>
bool tzIsNothing(const tzString& text) {
  if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) {
    return text.str().find_first_not_of(" \t\r\n\v\f") == std::string::npos;
  } else if constexpr (std::is_same_v<T, RkdiSize>) {
    return tzIsNothing<int>(text);
  } else {
    return false;
  }
}
/// @}

/// A parameter with a current value of type T, which is at first its default. Texts are left to
/// the derived classes.
template <typename T>
class tzDefault_NSC : public tzParameter {
 public:
  explicit tzDefault_NSC(const tzString& name = "", const tzString& prompt = "",
                         const T& value = T{})
      : tzParameter(name, prompt), m_value(value) {}

  tzString valueString() const override { return valueToString(value()); }
  bool isDeprecatedParm() const override { return !m_deprecated.empty(); }
  bool setDeprecatedFlag(bool on) override;
  void translate(const tzString& text) override {
    if (!isNothing(text)) setValue(validItem(text));
  }

  /// Whether the text defines no value at all, which is no error.
  virtual bool isNothing(const tzString&) const { return false; }
  virtual const T& value() const { return m_value; }
  virtual tzString valueToString(const T&) const { return tzString(); }
  /// Reads a value from @p text, whose fail flag is set when that cannot be done.
  virtual T stringToValue(const tzString& text) const {
    text.setFail(false);
    return T{};
  }
  /// @throw tzException "Invalid value of NAME = TEXT"
  virtual T validItem(const tzString& text) const;

  void setValue(const T& value) { m_value = value; }
  /// Marks @p value as deprecated: the table shows @p text in its place.
  void addDeprecated(const T& value, const tzString& text) {
    m_deprecated.push_back(value);
    m_deprecationTexts.push_back(text);
  }

 private:
  T m_value;
  tzList<T> m_deprecated;
  tzStringList m_deprecationTexts;
};

template <typename T>
bool tzDefault_NSC<T>::setDeprecatedFlag(bool on) {
  if (on) {
    const tzString current = valueToString(value());
    auto text = m_deprecationTexts.begin();
    for (const T& deprecated : m_deprecated) {
      if (valueToString(deprecated) == current) {
        setDeprecation(true, *text);
        return true;
      }
      ++text;
    }
  }
  setDeprecation(false, "");
  return false;
}

template <typename T>
T tzDefault_NSC<T>::validItem(const tzString& text) const {
  T value = stringToValue(text);
  if (text.fail()) throw tzException(tzString("Invalid value of ") + name() + " = " + text);
  return value;
}

/// A plain parameter whose texts are those of tzString's conversions.
template <typename T>
class tzDefault : public tzDefault_NSC<T> {
 public:
  using tzDefault_NSC<T>::tzDefault_NSC;
  tzString valueToString(const T& value) const override { return tzValueToText(value); }
  T stringToValue(const tzString& text) const override { return tzTextToValue<T>(text); }
  bool isNothing(const tzString& text) const override { return tzIsNothing<T>(text); }
};

/// A plain parameter whose values go by names, which may be abbreviated:
/// `parm["byte"] = 0; parm["element"] = 1;`
template <typename T>
class tzMapDefault : public tzDefault_NSC<T> {
 public:
  using tzDefault_NSC<T>::tzDefault_NSC;

  T& operator[](const tzString& valueName) { return m_map[valueName]; }
  tzString validString() const override { return m_map.names(); }
  tzString valueToString(const T& value) const override {
    const tzString* valueName = m_map.nameOf(value);
    return valueName ? *valueName : tzString();
  }
  T stringToValue(const tzString& text) const override {
    const auto* entry = m_map.find(text);
    text.setFail(entry == nullptr);
    return entry ? entry->first : T{};
  }

 private:
  tzNameMap<T> m_map;
};
