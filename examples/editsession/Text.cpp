#include "examples/editsession/Text.h"

#include "libmw/Text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace
{

constexpr wchar_t replacement = 0xFFFD;
constexpr unsigned quotedCharacters = 40;

// Control characters of both blocks, and those that end a line or turn the direction of writing.
bool steersTerminal(wchar_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

LightweightString<wchar_t> shown(std::string_view text)
{
    LightweightString<wchar_t> wide = fromUTF8(Text(text));
    wchar_t* const begin = wide.writable();
    std::replace(begin, begin + wide.length(), L'\t', L' ');
    std::replace_if(begin, begin + wide.length(), steersTerminal, replacement);
    return wide;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

char upperCase(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

} // namespace

Text formatted(const char* format, ...)
{
    char buffer[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return buffer;
}

Text printable(std::string_view text)
{
    const auto isPlain = [](char c) { return c >= 0x20 && c < 0x7F; };
    return std::all_of(text.begin(), text.end(), isPlain) ? Text(text) : toUTF8(shown(text));
}

Text quoted(std::string_view text)
{
    // Four bytes are the most that a character has.
    const LightweightString<wchar_t> wide = shown(text.substr(0, 4 * (quotedCharacters + 1)));
    const bool cut = wide.length() > quotedCharacters;
    return "\"" + toUTF8(wide.substr(0, quotedCharacters)) + (cut ? "...\"" : "\"");
}

unsigned characters(std::string_view utf8)
{
    return static_cast<unsigned>(std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == text.npos ? std::string_view() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool startsWith(std::string_view text, std::string_view upperCaseWord)
{
    return text.size() >= upperCaseWord.size() && std::equal(upperCaseWord.begin(), upperCaseWord.end(), text.begin(),
                                                             [](char word, char c) { return word == upperCase(c); });
}

int numberIn(std::string_view digits, unsigned maxDigits)
{
    if (digits.empty() || digits.size() > maxDigits || !std::all_of(digits.begin(), digits.end(), isDigit))
        return -1;
    int number = 0;
    for (const char c : digits)
        number = number * 10 + (c - '0');
    return number;
}
