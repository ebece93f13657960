/// @file
/// Command-line keys: words split into keys, and the record that each known key registers.
#pragma once

#include "tzlist.h"
#include "tzstring.h"

class tzSession;

/// One key as given: its letter and its argument with a leading sign kept.
struct tzCommandKey {
  char key = 0;
  tzString arg;

  /// The key as a user writes it in one word: "-", the letter, the argument.
  tzString word() const;
};

/// The keys of one command line in their order.
class tzCommandList : public tzList<tzCommandKey> {
 public:
  /// Whether the key was given.
  bool isKey(char key) const;

  /// The argument of the key's last occurrence.
  /// @return false, with `arg` untouched, when the key was not given
  bool getArg(char key, tzString& arg) const;

  /// "--help" and "--version" are -h and -v. Splits one word, with the word after it (null at the
  /// end of the line) as the argument when none is attached and `next` is not itself a key.
  /// @return the number of words used: 1 or 2, 0 when `word` is no key word (then it is refused)
  int setArg(const tzString& word, const tzString* next);

  /// Appends the keys of a whole line. Words in double quotes may hold blanks.
  /// @{
  void setArgs(int argc, char** argv);  ///< argv[0] is the program and is skipped
  void setArgs(const tzString& line);
  void setArgs(const tzStringList& words);
  /// @}

  /// The words that are no keys and follow no key that takes them.
  const tzStringList& refused() const { return m_refused; }

  /// A dash followed by a letter, "?" or a sign.
  static bool isKeyWord(const tzString& word);

 private:
  tzStringList m_refused;
};

/// Returns the line echoed when a key with this argument is applied; for an argument that cannot
/// be used a text that begins with "ignored".
using tzKeyInfo = tzString (*)(const tzString& arg);
/// Does what the key asks for; does nothing for an argument that cannot be used.
using tzKeyApply = void (*)(const tzString& arg, tzSession* session);

/// What may follow a key's letter.
enum tzKeyArgument {
  ARG_ANY,   ///< a text
  ARG_SIGN,  ///< a sign alone
  ARG_NONE
};

/// One known key, as tzSession::initOption records it.
struct tzOption {
  char key = 0;
  bool hidden = false;  ///< left out of the help of -h
  tzString name;        ///< the text after the dash in the help: "hq" for "?"
  tzKeyInfo info = nullptr;
  tzKeyApply apply = nullptr;
  tzString text;  ///< help lines; after an empty line, the detailed text
  tzKeyArgument argument = ARG_ANY;
  bool lastCounts = false;  ///< of several, those before the last are ignored

  tzString helpLines() const;  ///< the part of `text` that the short help shows
  tzString details() const;    ///< the detailed text, empty when there is none
  /// The part of an argument that the key can take.
  tzString taken(const tzString& arg) const;
};

using tzOptionList = tzList<tzOption>;

/// Registers every key of this program, in the order of the help, with `session`.
/// The table behind it is the one source of parser, help and manual.
void tzRegisterKeys(tzSession& session);
