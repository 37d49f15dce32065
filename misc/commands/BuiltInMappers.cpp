#include "misc/commands/BuiltInMappers.h"

#include "misc/commands/KeyCode.h"
#include "misc/commands/KeyNames.h"

namespace
{

constexpr ResId keyboard = ResId(11960);
constexpr ResId console = ResId(11959);
constexpr ResId keyboardDescription = ResId(11958);

constexpr int consoleKeys[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18,
                               20, 21, 23, 24, 25, 26, 27, 29, 30, 39, 37, 38, 40, 31, 45, 46, 28};

ResId descriptionOf(int consoleKey)
{
    switch (consoleKey)
    {
    case 3:
        return ResId(13229);
    case 5:
        return ResId(13230);
    case 7:
        return ResId(13233);
    case 8:
        return ResId(13232);
    case 9:
        return ResId(13234);
    case 10:
        return ResId(13236);
    case 14:
        return ResId(13238);
    case 15:
        return ResId(13237);
    case 16:
        return ResId(13231);
    case 17:
        return ResId(13235);
    case 29:
        return ResId(13228);
    default:
        return ResId::none;
    }
}

MapItem key(unsigned keycode)
{
    return MapItem(static_cast<int>(keycode), false);
}

std::vector<KeyMap> consoleMaps()
{
    std::vector<KeyMap> maps;
    for (const int number : consoleKeys)
        maps.emplace_back(KeyCode::console | number, MapItem(), KeyNames::ofConsoleKey(number).id,
                          descriptionOf(number), KeyMap::inReports);
    maps.emplace_back(0x34000001, key(0x900004B), ResId(10465), UIString(), KeyMap::inReports);
    maps.emplace_back(0x34000002, key(0x900004D), ResId(10466), UIString(), KeyMap::inReports);
    return maps;
}

std::vector<KeyMap> textEditingMaps()
{
    constexpr ResId copy = ResId(10418);
    constexpr ResId paste = ResId(10449);
    constexpr ResId cut = ResId(10420);
    std::vector<KeyMap> maps;
    maps.emplace_back(0x22000043, key(0xA000052), key(0x2000043), copy);
    maps.emplace_back(0x22000056, key(0x9000052), key(0x2000056), paste);
    maps.emplace_back(0x22000058, key(0x9000053), key(0x2000058), cut);
    maps.emplace_back(0x2000001B, key(0x200005A), key(27));
    maps.emplace_back(0x22000043, key(0x100043), copy);
    maps.emplace_back(0x22000056, key(0x100056), paste);
    maps.emplace_back(0x22000058, key(0x100058), cut);
    maps.emplace_back(0x2000001B, key(0x10005A));
    for (const int same : {0x8000052, 0x8000053, 0x8000047, 0x8000048, 0x8000049, 0x8000051, 0x800004B, 0x800004D,
                           0x800004F, 0x900004B, 0x900004D, 0x900004F})
        maps.emplace_back(same, MapItem(same, false));
    for (const char character : {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', '+', '-', '*', '/', '.'})
        maps.emplace_back(int(character), MapItem(character | KeyCode::keypad, false));
    return maps;
}

// They are in the manager before `main`.
[[maybe_unused]] const bool areMade = (ConsoleMapper(), TextEditingMapper(), true);

} // namespace

SimpleKeyMapper& ConsoleMapper()
{
    static SimpleKeyMapper& mapper =
        *new SimpleKeyMapper("ConsoleMapper", console, ResId::none, consoleMaps(), SimpleKeyMapper::highPerformance,
                             SimpleKeyMapper::clientScope);
    return mapper;
}

SimpleKeyMapper& TextEditingMapper()
{
    static SimpleKeyMapper& mapper =
        *new SimpleKeyMapper("TextEditingMapper", keyboard, keyboardDescription, textEditingMaps(),
                             SimpleKeyMapper::highPerformance, SimpleKeyMapper::clientScope);
    return mapper;
}
