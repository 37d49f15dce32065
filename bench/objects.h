#pragma once

// What the cases of stored objects are given, the same for all sides: objects of two layers, 100,000 in all.

#include <array>
#include <cstddef>
#include <string>

namespace bench::objects
{

inline constexpr unsigned objectCount = 100'000;
// What the cases of one object go round in, so that they don't measure a single place of memory.
inline constexpr unsigned roundCount = 1'000;

// The base layer and, from `curve` on, the derived one.
struct Fields
{
    std::array<int, 4> numbers;
    std::array<unsigned char, 20> identity; // that of a cookie
    std::string name;                       // of 20 characters
    std::array<double, 8> curve;
    std::string note; // of 40 characters

    friend bool operator==(const Fields&, const Fields&) = default;
};

inline Fields fieldsOf(unsigned index)
{
    Fields fields;
    for (unsigned i = 0; i < 4; ++i)
        fields.numbers[i] = static_cast<int>(index * (i + 1));
    for (unsigned i = 0; i < 20; ++i)
        fields.identity[i] = static_cast<unsigned char>((index + 1) * 2654435761u >> i);
    for (unsigned i = 0; i < 8; ++i)
        fields.curve[i] = index + i / 8.0;
    const std::string digits = std::to_string(index);
    fields.name = "shot " + std::string(15 - digits.size(), '0') + digits;
    fields.note = "as in the second take, see sheet " + std::string(7 - digits.size(), '0') + digits;
    return fields;
}

} // namespace bench::objects
