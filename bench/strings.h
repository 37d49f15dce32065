#pragma once

// What the cases of strings are given, the same for all sides: texts as they come up in an editing
// program, built once.

#include "bench/harness/Keep.h"

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace bench::texts
{

inline constexpr const char* forty = "Interview with the director, take 17 A B";
inline constexpr const char* fortyLater = "Interview with the director, take 17 A C"; // differs in the last

// Pairs of equal content, compared in turn: how fast one comparison is depends on where its texts happen to
// lie, and no side is to owe its row to that.
template <class S>
class Pairs
{
public:
    Pairs(const char* first, const char* second)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            first_.push_back(S(first));
            second_.push_back(S(second));
        }
    }

    template <class Compare>
    void next(Compare compare)
    {
        at_ = (at_ + 1) % count;
        keepNumber(compare(first_[at_], second_[at_]));
    }

private:
    static constexpr std::size_t count = 32;

    std::vector<S> first_;
    std::vector<S> second_;
    std::size_t at_ = 0;
};

// Strings that are made in turn, each in place of one made before: the memory of one alone may happen to lie across two
// pages, where writing costs three times as much, and be given out again and again.
template <class S>
class Turns
{
public:
    template <class Make>
    void next(Make make)
    {
        at_ = (at_ + 1) % kept_.size();
        kept_[at_] = make();
        keep(kept_[at_]);
    }

private:
    std::array<S, 32> kept_;
    std::size_t at_ = 0;
};

inline constexpr char appendedCharacter = 'x';
inline constexpr const char* appendedSixteen = "take 0017 cam A ";
inline constexpr int appendCount = 1000;

// 4,096 characters in lines of 64; the word to replace stands once in each, and the text grows.
inline constexpr const char* replaced = "reel";
inline constexpr const char* replacement = "tape 0";
inline const std::string& fourKilobytes()
{
    static const std::string text = []
    {
        std::string lines;
        for (int line = 0; line < 64; ++line)
            lines += "harbour at dawn, second camera, from reel 12, handheld, take 31\n";
        return lines;
    }();
    return text;
}

// 1,000 fields of 8 characters, such as the names of clips, with a comma between them.
inline constexpr char separator = ',';
inline const std::string& thousandFields()
{
    static const std::string text = []
    {
        std::string fields;
        for (int field = 1000; field < 2000; ++field)
            fields += "clip" + std::to_string(field) + (field < 1999 ? "," : "");
        return fields;
    }();
    return text;
}

// Names as a list of clips is sorted by: numbers of different length, the same number, none at all.
inline constexpr std::array<std::pair<const char*, const char*>, 8> namePairs{{
    {"Interview 2", "Interview 10"},
    {"clip9", "clip10"},
    {"Scene 12 take 3", "Scene 12 take 14"},
    {"B-roll harbour", "B-roll museum"},
    {"A001_C003_0412", "A001_C012_0413"},
    {"reel 7", "reel 8"},
    {"Music 01", "Music 02"},
    {"Titles", "Titles end"},
}};

// 1,024 bytes of ASCII.
inline const std::string& ascii()
{
    static const std::string text = fourKilobytes().substr(0, 1024);
    return text;
}

// About 1,000 bytes, half of them ASCII: Latin with accents, Greek, Cyrillic, Japanese and symbols.
inline const std::string& mixed()
{
    static const std::string text = []
    {
        std::string lines;
        for (int line = 0; line < 7; ++line)
            lines += "Prise 17: l'\u00e9t\u00e9 \u00e0 la mer, caf\u00e9 \u00ab na\u00eff \u00bb; "
                     "\u03ba\u03ac\u03bc\u03b5\u03c1\u03b1 B, \u0434\u0443\u0431\u043b\u044c 4, "
                     "\u6620\u753b\u306e\u6700\u521d\u306e\u5834\u9762 \U0001F3AC take two, harbour at dawn\n";
        return lines;
    }();
    return text;
}

} // namespace bench::texts
