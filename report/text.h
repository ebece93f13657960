/// @file
/// Texts from files made fit for a terminal, a table or a page; numbers as texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace report {

/// UTF-8 without anything that moves a cursor or turns text around: bytes that are no UTF-8 are
/// read as Latin-1, control characters and marks of direction become U+FFFD.
std::string cleanText(std::string_view text);

/// Columns that a clean text takes on a terminal, one a character.
int textWidth(std::string_view text);
/// Blanks put behind, up to a width.
std::string padRight(std::string text, int width);
/// The text, or its beginning and an ellipsis, in at most `width` columns.
std::string shortened(const std::string& text, int width);
/// The text in lines of at most `width` columns: broken at blanks where there are any, else behind
/// a "_", else where the line ends. At least one line.
std::vector<std::string> wrapped(const std::string& text, int width);

/// Three digits and more, as the harness writes figures: 150, 15.0, 1.50, 0.150.
std::string figureText(double value);
/// printf's format for one number.
std::string formatted(const char* format, double value);
/// "49,152 B" as "48 KiB".
std::string bytesText(double bytes);
/// "1 row", "3 rows".
std::string counted(std::size_t count, const char* noun);
/// The shortest text that reads back as the same number, as JSON has it.
std::string exactText(double value);

std::vector<std::string> split(std::string_view text, char separator);
/// Whether the word occurs in the text, letters of either case being equal.
bool containsWord(std::string_view text, std::string_view word);
/// The same of each of some words with blanks between; of none, it is true.
bool containsWords(std::string_view text, std::string_view words);

}  // namespace report
