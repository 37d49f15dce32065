#pragma once

#include "Mw/LightweightString.h"
#include "Mw/StdAllocator.h"

#include <algorithm>
#include <vector>

// Splits a string at separators. Any thread.
//
// A separator at the very start gives no empty piece before it, and one at the very end none behind it:
// ",a,,b," at the comma gives "a", "" and "b". Two cases give one empty piece: the empty string and a
// lone separator.

namespace Mw
{

// How splitIf works, as bits.
enum SplitFlags : unsigned
{
    SplitMergeRuns = 1,     // a separator straight after another one is dropped
    SplitHonourQuotes = 2,  // none counts inside double quotes, unless it is the double quote itself
    SplitKeepSeparator = 4, // each piece keeps the separator that ends it
};

// A part of one string.
struct StringRegion
{
    unsigned start;
    unsigned length;
};

template <class C>
class IsMatchingChar
{
public:
    explicit IsMatchingChar(C c) noexcept : c_(c) {}
    bool operator()(C c) const noexcept { return c == c_; }

private:
    C c_;
};

// The vector that pieces of S are put in.
template <class S>
struct StringToVec
{
    using VecT = std::vector<S, StdAllocator<S>>;
};

// Appends the substring of each region to a vector. Both must outlive the builder.
template <class S>
class SplitOutputBuilder
{
public:
    SplitOutputBuilder(const S& s, typename StringToVec<S>::VecT& out) noexcept : s_(s), out_(out) {}
    void operator()(const StringRegion& region)
    {
        // Made in its place: a piece that is moved there costs half as much again.
        const View text = s_;
        out_.emplace_back(region.start < text.size() ? text.substr(region.start, region.length) : View());
    }

private:
    using View = std::basic_string_view<typename S::value_type>;

    const S& s_;
    typename StringToVec<S>::VecT& out_;
};

// The positions of the separators that count, in `indices`. A double quote counts as one unless a
// backslash stands before it.
template <class S, class P>
void findSeparators(const S& s, P isSeparator, std::vector<int>& indices, unsigned flags);

// Calls the builder with the region of each piece, from left to right. No indices, no call.
template <class S, class B>
void convertIndicesToSubStrings(const S& s, const std::vector<int>& indices, B& builder, bool keepSeparator);

// Appends the pieces to `out`, which may hold the text itself, and gives its size afterwards. With merged
// runs the piece after a run begins behind the run's first separator.
template <class S, class P>
unsigned splitIf(const S& s, P isSeparator, typename StringToVec<S>::VecT& out, unsigned flags = 0);

template <class S, class P>
void findSeparators(const S& s, P isSeparator, std::vector<int>& indices, unsigned flags)
{
    using C = typename S::value_type;
    const bool honourQuotes = (flags & SplitHonourQuotes) != 0 && !isSeparator(C('"'));
    const bool mergeRuns = (flags & SplitMergeRuns) != 0;
    const C* const text = s.data();
    const auto length = static_cast<unsigned>(s.length());
    unsigned behindLast = 0; // the place after the last separator seen; 0 for none yet
    bool inQuotes = false;   // stays false where quotes don't matter

    indices.clear();
    for (unsigned i = 0; i < length; ++i)
    {
        if (isSeparator(text[i]))
        {
            if (inQuotes)
                continue;
            if (!mergeRuns || behindLast == 0 || behindLast != i)
                indices.push_back(static_cast<int>(i));
            behindLast = i + 1;
        }
        else if (honourQuotes && text[i] == C('"') && (i == 0 || text[i - 1] != C('\\')))
            inQuotes = !inQuotes;
    }
}

template <class S, class B>
void convertIndicesToSubStrings(const S& s, const std::vector<int>& indices, B& builder, bool keepSeparator)
{
    if (indices.empty())
        return;
    const unsigned kept = keepSeparator ? 1 : 0;
    const auto length = static_cast<unsigned>(s.length());
    const auto first = static_cast<unsigned>(indices.front());
    const auto last = static_cast<unsigned>(indices.back());

    if (first != 0 || length == 1)
        builder(StringRegion{0, first + kept});
    for (std::size_t i = 1; i < indices.size(); ++i)
    {
        const unsigned start = static_cast<unsigned>(indices[i - 1]) + 1;
        builder(StringRegion{start, static_cast<unsigned>(indices[i]) - start + kept});
    }
    if (last + 1 != length)
        builder(StringRegion{last + 1, length - last - 1});
}

template <class S, class P>
unsigned splitIf(const S& s, P isSeparator, typename StringToVec<S>::VecT& out, unsigned flags)
{
    std::vector<int> indices;
    findSeparators(s, isSeparator, indices, flags);
    if (indices.empty())
        out.push_back(s);
    else
    {
        const S text = s; // which may stand in `out` and move with it
        // One piece more than separators at most. Grown by doubling, as push_back does, so that splitting
        // many texts into one vector stays linear.
        if (const std::size_t most = out.size() + indices.size() + 1; most > out.capacity())
            out.reserve(std::max(most, 2 * out.capacity()));
        SplitOutputBuilder<S> builder(text, out);
        convertIndicesToSubStrings(text, indices, builder, (flags & SplitKeepSeparator) != 0);
    }
    return static_cast<unsigned>(out.size());
}

} // namespace Mw
