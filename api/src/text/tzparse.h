/// @file
/// The word splitter, and the tables that give flags and enumeration values their names.
#pragma once

#include "tzstring.h"

/// Splits a text into words at any of a set of separators.
///
/// A double quote opens a stretch in which nothing separates, the next one closes it; both stay in
/// the word. An empty pair of quotes leaves the stretch open. A separator set that holds a double
/// quote itself turns all this off.
class tzParse {
 public:
  explicit tzParse(const tzString& text) : m_text(text) {}

  /// Starts over with a set of separators; needed before `nextWord`.
  void initParse(const tzString& separators);
  /// Whether character `i` separates. Follows the quotes, so it is asked once for each character,
  /// in order.
  bool isSeparator(int i);
  /// @return false, with an empty word, when there is none left
  bool nextWord(tzString& word);
  /// Removes doubled quotes from a word: as long as it holds one, its character at position 1 goes,
  /// wherever the pair stands.
  void removeQuote(tzString& word) const;

  /// @name The whole text at once
  /// @return the number of words; missing ones become empty
  /// @{
  int parse(tzStringList& words, const tzString& separators);
  int parse(tzString& a, tzString& b, const tzString& separators);
  int parse(tzString& a, tzString& b, tzString& c, const tzString& separators);
  /// @}

 private:
  tzString m_text;
  tzString m_separators;
  int m_position = 0;
  int m_quoteStart = 0;
  bool m_quotesGroup = true;
  bool m_inQuotes = false;
};

/// @name Names of flags and enumeration values
/// Two parallel arrays of `count` values and names. Texts are matched by `fitString`, in table
/// order; `skip` is the length of a prefix that the user may leave out. Reading clears the text's
/// fail flag first and sets it when nothing fits.
/// @{

/// The names of all flags that meet `value`, joined by "|"; the value in decimal when none does.
tzString flagString(int value, const int* flags, const char* const* names, int count);
/// The flags named in a text of words separated by any of "|,; ". A word that fits nothing sets the
/// fail flag and adds nothing. Names only: the decimal that `flagString` writes for an empty set is
/// not read back.
int flagValue(const tzString& text, const int* flags, const char* const* names, int count,
              int skip = 0);
/// The first name of `value`; the value in decimal when there is none.
tzString enumString(int value, const int* values, const char* const* names, int count);
/// @return 0, with the fail flag set, when no name fits
int enumValue(const tzString& text, const int* values, const char* const* names, int count,
              int skip = 0);
/// Whether `word` abbreviates `name`: in lower case it is a prefix of `name`, or of `name` without
/// its first `skip` characters. An empty word abbreviates every name.
bool fitString(const tzString& word, const tzString& name, int skip = 0);
/// @}

/// A table for the functions above.
struct tzNameTable {
  static constexpr int MAX = 4;
  int count;
  int values[MAX];
  const char* names[MAX];
};

/// @name Tables shared by parameters and suites, paired with the library's enumeration values
/// @{
inline constexpr tzNameTable tzRoundNames{2, {0, 1}, {"zero", "near"}};
inline constexpr tzNameTable tzHintNames{3, {0, 1, 2}, {"none", "fast", "accurate"}};
/// The value 3 is "greater or equal".
inline constexpr tzNameTable tzCompareNames{4, {0, 1, 2, 4}, {"LT", "LE", "EQ", "GT"}};
/// How a transform is normalised; flags.
inline constexpr tzNameTable tzNormNames{
    4, {1, 2, 4, 8}, {"divFwdByN", "divInvByN", "divBySqrtN", "nodivByAny"}};
/// @}
