// The C library: strverscmp, and text conversion by a plain loop, which stands in a file of plain C.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "bench/strings.h"

#include <cstdlib>
#include <cstring>

namespace
{

void addWidening(bench::Registry& registry, const char* caseName, const std::string& text)
{
    registry.peer(caseName, "plain loop",
                  [&text]
                  {
                      wchar_t* wide = plain_from_utf8(text.data(), text.size());
                      bench::keep(wide);
                      std::free(wide);
                  });
}

void addNarrowing(bench::Registry& registry, const char* caseName, const std::string& text)
{
    wchar_t* const wide = plain_from_utf8(text.data(), text.size());
    registry.peer(caseName, "plain loop",
                  [wide = std::wstring(wide)]
                  {
                      char* narrow = plain_to_utf8(wide.data(), wide.size());
                      bench::keep(narrow);
                      std::free(narrow);
                  });
    std::free(wide);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("strings/strxcmp of typical names", "strverscmp",
                      []
                      {
                          for (const auto& [first, second] : bench::texts::namePairs)
                              bench::keepNumber(strverscmp(bench::hidden(first), second));
                      });
        addWidening(registry, "strings/fromUTF8 of ASCII", bench::texts::ascii());
        addWidening(registry, "strings/fromUTF8 of mixed text", bench::texts::mixed());
        addNarrowing(registry, "strings/toUTF8 of ASCII", bench::texts::ascii());
        addNarrowing(registry, "strings/toUTF8 of mixed text", bench::texts::mixed());
    });

} // namespace
