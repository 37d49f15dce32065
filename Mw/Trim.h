#pragma once

// Removes the space characters at the end. A string that has none keeps its block, shared or not.
template <class S>
void trimTrailingSpaces(S& s)
{
    const auto* const text = s.c_str();
    auto length = s.length();
    while (length != 0 && text[length - 1] == ' ')
        --length;
    s.erase(length);
}
