// std::string, used as a program would: `reserve` is not called where the other sides cannot know either.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/strings.h"

#include <functional>
#include <vector>

namespace
{

std::string replaceAll(const std::string& text, const std::string& from, const std::string& to)
{
    std::string result;
    std::size_t rest = 0;
    for (std::size_t found; (found = text.find(from, rest)) != std::string::npos; rest = found + from.size())
    {
        result.append(text, rest, found - rest);
        result.append(to);
    }
    result.append(text, rest);
    return result;
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != std::string::npos; start = end + 1)
        pieces.push_back(text.substr(start, end - start));
    pieces.push_back(text.substr(start));
    return pieces;
}

void addValues(bench::Registry& registry)
{
    static std::string forty(bench::texts::forty);

    registry.peer("strings/copy 40 characters", "std::string",
                  []
                  {
                      std::string copy(forty);
                      bench::keep(copy);
                  });
    registry.peer("strings/make 40 characters", "std::string",
                  [turns = bench::texts::Turns<std::string>()]() mutable
                  { turns.next([] { return std::string(bench::hidden(bench::texts::forty)); }); });
    registry.peer("strings/equality of 40 characters", "std::string",
                  [pairs = bench::texts::Pairs<std::string>(bench::texts::forty, bench::texts::forty)]() mutable
                  { pairs.next(std::equal_to<>()); });
    registry.peer("strings/order of 40 characters", "std::string",
                  [pairs = bench::texts::Pairs<std::string>(bench::texts::forty, bench::texts::fortyLater)]() mutable
                  { pairs.next(std::less<>()); });
}

void addWork(bench::Registry& registry)
{
    registry.peer("strings/append 1 character 1,000 times", "std::string",
                  []
                  {
                      std::string text;
                      for (int i = 0; i < bench::texts::appendCount; ++i)
                          text.push_back(bench::hidden(bench::texts::appendedCharacter));
                      bench::keep(text);
                  });
    registry.peer("strings/append 16 characters 1,000 times", "std::string",
                  []
                  {
                      std::string text;
                      for (int i = 0; i < bench::texts::appendCount; ++i)
                          text.append(bench::hidden(bench::texts::appendedSixteen), bench::hidden(16u));
                      bench::keep(text);
                  });
    registry.peer("strings/substitute over 4 KB", "std::string",
                  []
                  {
                      std::string text =
                          replaceAll(bench::texts::fourKilobytes(), bench::texts::replaced, bench::texts::replacement);
                      bench::keep(text);
                  });
    registry.peer("strings/splitIf of 1,000 fields", "std::string",
                  []
                  {
                      std::vector<std::string> pieces = split(bench::texts::thousandFields(), bench::texts::separator);
                      bench::keep(pieces);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addValues(registry);
        addWork(registry);
    });

} // namespace
