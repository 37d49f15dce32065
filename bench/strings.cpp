// Area strings: LightweightString, the split functions, the natural order of names, text conversions.
//
// Workload: the texts of bench/strings.h. Every side ends up owning what it makes, starts from the form
// that it keeps texts in, and gives its memory back within the measured time.

#include "bench/strings.h"

#include "Mw/LightweightString.h"
#include "Mw/Split.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "libmw/Text.h"
#include "misc/base/strxcmp.h"

#include <functional>

namespace
{

using String = LightweightString<char>;
using WideString = LightweightString<wchar_t>;
using Pieces = Mw::StringToVec<String>::VecT;

void declareValues(bench::Registry& registry)
{
    registry.declare({"strings/copy 40 characters",
                      "Copies a string of 40 characters that others hold too, and drops the copy.",
                      {{1.05, "QString"}}});
    registry.declare({"strings/make 40 characters",
                      "Makes a string of 40 characters from the text of a C string, and drops one made before.",
                      {{1.0, bench::bestPeer}}});
    registry.declare({"strings/equality of 40 characters",
                      "Compares two strings of the same 40 characters, each in a block of its own.",
                      {{1.0, bench::bestPeer}}});
    registry.declare({"strings/order of 40 characters",
                      "Orders two strings of 40 characters that differ in the last one.",
                      {{1.0, bench::bestPeer}}});
}

void declareWork(bench::Registry& registry)
{
    registry.declare({"strings/append 1 character 1,000 times",
                      "Grows an empty string by a character a thousand times.",
                      {{1.2, "std::string"}, {1.0, "GString"}, {1.0, "QString"}}});
    registry.declare({"strings/append 16 characters 1,000 times",
                      "Grows an empty string by 16 characters a thousand times.",
                      {{1.1, "std::string"}, {1.0, "GString"}, {1.0, "QString"}}});
    registry.declare({"strings/substitute over 4 KB",
                      "Makes a text of 4 KB with a word replaced in each of its 64 lines.",
                      {{1.0, bench::bestPeer}}});
    registry.declare({"strings/splitIf of 1,000 fields",
                      "Splits a text at its commas into a thousand strings, and drops them.",
                      {{0.9, "g_strsplit"}}});
    registry.declare({"strings/strxcmp of typical names",
                      "Compares eight pairs of names in natural order.",
                      {{2.4, "strverscmp"}, {0.2, "QCollator"}}});
    registry.declare({"strings/fromUTF8 of ASCII", "Widens 1,024 bytes of ASCII.", {{1.0, "QString"}}});
    registry.declare(
        {"strings/fromUTF8 of mixed text", "Widens about 1,000 bytes of text in many scripts.", {{1.0, "QString"}}});
    registry.declare({"strings/toUTF8 of ASCII", "Narrows 1,024 characters of ASCII.", {{1.0, "QString"}}});
    registry.declare(
        {"strings/toUTF8 of mixed text", "Narrows text in many scripts to about 1,000 bytes.", {{1.0, "QString"}}});
    registry.declare({"strings/memory of 40 characters",
                      "Takes the block of such a string from OS().allocator(), and gives it back.",
                      {{1.1, "mimalloc"}}});
}

void addLimits(bench::Registry& registry)
{
    static int count = 1;
    registry.add("strings/copy 40 characters", {bench::Role::limit, "bare atomic pair",
                                                [](std::size_t operations) { limit_atomic_pair(&count, operations); }});
}

void addValues(bench::Registry& registry)
{
    static String forty(bench::texts::forty);

    registry.ours("strings/copy 40 characters",
                  []
                  {
                      String copy(forty);
                      bench::keep(copy);
                  });
    registry.ours("strings/make 40 characters", [turns = bench::texts::Turns<String>()]() mutable
                  { turns.next([] { return String(bench::hidden(bench::texts::forty)); }); });
    registry.ours("strings/equality of 40 characters",
                  [pairs = bench::texts::Pairs<String>(bench::texts::forty, bench::texts::forty)]() mutable
                  { pairs.next(std::equal_to<>()); });
    registry.ours("strings/order of 40 characters",
                  [pairs = bench::texts::Pairs<String>(bench::texts::forty, bench::texts::fortyLater)]() mutable
                  { pairs.next(std::less<>()); });
}

void addWork(bench::Registry& registry)
{
    static const String fourKilobytes(bench::texts::fourKilobytes());
    static const String thousandFields(bench::texts::thousandFields());

    registry.ours("strings/append 1 character 1,000 times",
                  []
                  {
                      String text;
                      for (int i = 0; i < bench::texts::appendCount; ++i)
                          text.push_back(bench::hidden(bench::texts::appendedCharacter));
                      bench::keep(text);
                  });
    registry.ours("strings/append 16 characters 1,000 times",
                  []
                  {
                      String text;
                      for (int i = 0; i < bench::texts::appendCount; ++i)
                          text.append(bench::hidden(bench::texts::appendedSixteen), bench::hidden(16u));
                      bench::keep(text);
                  });
    registry.ours("strings/substitute over 4 KB",
                  []
                  {
                      String text = fourKilobytes.substitute(bench::texts::replaced, bench::texts::replacement);
                      bench::keep(text);
                  });
    registry.ours("strings/splitIf of 1,000 fields",
                  []
                  {
                      Pieces pieces;
                      Mw::splitIf(thousandFields, Mw::IsMatchingChar<char>(bench::texts::separator), pieces, 1);
                      bench::keep(pieces);
                  });
    registry.ours("strings/strxcmp of typical names",
                  []
                  {
                      for (const auto& [first, second] : bench::texts::namePairs)
                          bench::keepNumber(strxcmp(bench::hidden(first), second));
                  });
    registry.ours("strings/memory of 40 characters",
                  []
                  {
                      void* block = OS().allocator().allocate(bench::hidden(sizeof(String::Impl) + 64));
                      bench::keep(block);
                      OS().allocator().release(block);
                  });
}

void addConversions(bench::Registry& registry)
{
    const auto from = [](const std::string& text)
    {
        return [&text]
        {
            WideString wide = fromUTF8(text.data(), static_cast<int>(text.size()));
            bench::keep(wide);
        };
    };
    const auto to = [](const std::string& text)
    {
        return [wide = fromUTF8(text.data(), static_cast<int>(text.size()))]
        {
            String narrow = toUTF8(wide);
            bench::keep(narrow);
        };
    };
    registry.ours("strings/fromUTF8 of ASCII", from(bench::texts::ascii()));
    registry.ours("strings/fromUTF8 of mixed text", from(bench::texts::mixed()));
    registry.ours("strings/toUTF8 of ASCII", to(bench::texts::ascii()));
    registry.ours("strings/toUTF8 of mixed text", to(bench::texts::mixed()));
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        declareValues(registry);
        declareWork(registry);
        addLimits(registry);
        addValues(registry);
        addWork(registry);
        addConversions(registry);
    });

} // namespace
