#include "misc/base/strxcmp.h"

#include "Mw/CText.h"

#include <limits>

using Mw::CText::compareNoCase;
using Mw::CText::isDigit;
using Mw::CText::toLower;
using Mw::CText::toUpper;

namespace
{

// The value of the run of digits at `text`, at most the largest 32-bit number.
template <class C>
int numberAt(const C* text) noexcept
{
    constexpr long long largest = std::numeric_limits<int>::max();
    long long value = 0;
    for (; isDigit(*text); ++text)
    {
        value = value * 10 + (*text - C('0'));
        if (value > largest)
            return static_cast<int>(largest);
    }
    return static_cast<int>(value);
}

// The order of two runs of digits. 0 if they are the same text: both then stand behind their runs.
// Otherwise they stay.
template <class C>
int compareRuns(const C*& a, const C*& b) noexcept
{
    const C* aEnd = a;
    const C* bEnd = b;
    int firstDifference = 0;
    for (; isDigit(*aEnd) && isDigit(*bEnd); ++aEnd, ++bEnd)
        if (firstDifference == 0)
            firstDifference = *aEnd - *bEnd;

    // Runs of one length are in the order of their first difference, however large their values are.
    if (!isDigit(*aEnd) && !isDigit(*bEnd))
    {
        if (firstDifference == 0)
        {
            a = aEnd;
            b = bEnd;
        }
        return firstDifference;
    }
    const int aValue = numberAt(a);
    const int bValue = numberAt(b);
    if (aValue != bValue)
        return aValue < bValue ? -1 : 1;
    return compareNoCase(a, b);
}

// One walk over both texts at once. Where they differ outside of numbers, or where a number meets another
// character, the first difference without case decides.
template <class C>
int naturalOrder(const C* a, const C* b) noexcept
{
    static constexpr C empty = C();
    a = a != nullptr ? a : &empty;
    b = b != nullptr ? b : &empty;
    while (a != b)
    {
        if (isDigit(*a) && isDigit(*b))
        {
            if (const int order = compareRuns(a, b); order != 0)
                return order < 0 ? -1 : 1;
            continue;
        }
        const C first = toLower(*a);
        const C second = toLower(*b);
        if (first != second)
            return std::char_traits<C>::lt(first, second) ? -1 : 1;
        if (first == C())
            return 0;
        ++a;
        ++b;
    }
    return 0;
}

bool isSpace(char c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

const char* skipSpaces(const char* text) noexcept
{
    while (isSpace(*text))
        ++text;
    return text;
}

} // namespace

int strxcmp(const char* a, const char* b) noexcept
{
    return naturalOrder(a, b);
}

int wstrxcmp(const wchar_t* a, const wchar_t* b) noexcept
{
    return naturalOrder(a, b);
}

int strycmp(const char* a, const char* b) noexcept
{
    a = a != nullptr ? a : "";
    b = b != nullptr ? b : "";
    for (;; ++a, ++b)
    {
        a = skipSpaces(a);
        b = skipSpaces(b);
        const int fromA = static_cast<unsigned char>(*a);
        const int fromB = static_cast<unsigned char>(*b);
        if (fromA == 0 || fromB == 0 || toUpper(*a) != toUpper(*b))
            return fromB - fromA;
    }
}
