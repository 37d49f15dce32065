#pragma once

#include "Mw/LightweightString.h"

#include <string_view>

// Small text helpers of the session. Any thread.

using Text = LightweightString<char>;

// Formatted as by printf; cut at 1023 bytes.
Text formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Text from outside that can be shown: a tab is a blank, and what is no UTF-8 or would steer a terminal is
// U+FFFD.
Text printable(std::string_view text);

// The same in quotes for a message, cut to a few words.
Text quoted(std::string_view text);

// Characters, not bytes, of printable text.
unsigned characters(std::string_view utf8);

// Without the blanks, tabs and carriage returns around it.
std::string_view trimmed(std::string_view text);

// Whether the text begins with the word, letters of either case being the same.
bool startsWith(std::string_view text, std::string_view upperCaseWord);

// The number that 1 to `maxDigits` (at most 9) decimal digits stand for, or -1 for any other text.
int numberIn(std::string_view digits, unsigned maxDigits);
