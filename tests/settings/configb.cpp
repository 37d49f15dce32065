#include "misc/settings/configb.h"

#include "misc/base/StrpField.h"
#include "misc/base/TextFile.h"
#include "misc/identity/Cookie.h"
#include "misc/persistence/PStream.h"
#include "misc/settings/config_outb.h"
#include "settings/Support.h"

#include <climits>
#include <cmath>
#include <map>
#include <random>
#include <sstream>
#include <tuple>

namespace
{

std::string packed(const configb& table)
{
    StreamFile file;
    PStream stream(&file);
    table.pack(stream);
    file.setPosition(0);
    return std::string(file.cached());
}

// The entries in order, each as "key|type|value\n", by what pack writes: key, value and type, each with a zero.
std::string entriesOf(const configb& table)
{
    std::istringstream bytes(packed(table).substr(4));
    std::string entries, key, value, type;
    while (std::getline(bytes, key, '\0') && std::getline(bytes, value, '\0') && std::getline(bytes, type, '\0'))
        entries += key + "|" + type + "|" + value + "\n";
    return entries;
}

using ConfigB = Settings;

struct Owner : Dirtiable
{
    int told = 0;
    void setDirty(bool dirty) override { told += dirty ? 1 : 100; }
};

// Entries that the text form carries, in an order that is not theirs.
configb sample()
{
    configb table;
    table.set("Rate", 25);
    table.set("path", "C:\\Mwproj  a", nullptr);
    table.set("gain", -0.125);
    table.set("\xC3\x84rger", "\xC3\xA9lan");
    table.set("empty", "", "int");
    table.set("black", video_black);
    table.set("autosave", true);
    table.set("#-", 1); // not carried
    table.set("note", strp_field("a: b # c"));
    table.remove("#-");
    return table;
}

} // namespace

TEST_F(ConfigB, fileIsReadLineByLine)
{
    for (const auto& [text, failed, entries] :
         {std::tuple("{\na:int 1\nA:double 2\n}\n", false, "a|int|1\n"),
          {"anything\nb 1\na 2\n}extra value\nc 3\n", false, "a||2\nb||1\n"},
          {"{\na 1\n  }\nb 2\n", false, "a||1\n"},
          {"{\n# a 1\n \t\v\n   # b 2\n\nc 3 # d\n}", false, "c||3 # d\n"},
          {"{\na\nb:int\nc:\nd:b:c 1\n:int 5\n: \n}", false, "a||\nb|int|\nc||\nd|b:c|1\n"},
          {"{\npath c:\\x y  \t\r\n\tname  a:b\r\n}\r\n", false, "name||a:b\npath||c:\\x y\n"},
          {"{\n\xA0x\xC3\xA9 \xA0 1\xA0\n}", false, "\xA0x\xC3\xA9||\xA0 1\xA0\n"},
          {"{\na 1", true, "a||1\n"},
          {"", true, ""}})
    {
        const configb table(file(text).c_str());
        EXPECT_EQ(table.readFailed(), failed) << text;
        EXPECT_EQ(entriesOf(table), entries);
        EXPECT_FALSE(table.get_dirty());
    }
    EXPECT_TRUE(configb("/none/such").readFailed());
    EXPECT_EQ(entriesOf(configb("/none/such", file("{\nx 1\n}").c_str())), "x||1\n");
    // A line of 1024 bytes ends the read.
    const std::string longest = "a " + std::string(1021, 'v');
    EXPECT_EQ(entriesOf(configb(file("{\n" + longest + "\nb 1\n" + longest + "v\nc 1\n}").c_str())),
              "a||" + longest.substr(2) + "\nb||1\n");
}

TEST_F(ConfigB, tablesFollowEachOtherInOneStream)
{
    std::ifstream stream(file("{\na 1\n}\n{\na 2\nEND 3\nE\nb 4\n}\n"));
    EXPECT_EQ(entriesOf(configb(&stream, "two")), "a||1\n");
    configb second;
    second.set_end_str("End of it");
    EXPECT_EQ(second.read_from_file(&stream), 0) << "a prefix of the end string ends the table";
    EXPECT_EQ(entriesOf(second), "a||2\n");
}

TEST_F(ConfigB, setKeepsTheFirstTypeAndTellsTheOwnerOfChanges)
{
    Owner owner;
    configb table(&owner);
    table.set("Key", "1", "int");
    for (const auto& [value, type] : {std::pair("2", "double"), {"2", ""}, {nullptr, "int"}, {"1", "int"}})
        table.set("KEY", value, type);
    table.set(nullptr, "1", "int");
    EXPECT_EQ(owner.told, 1);
    table.set("key", "2", nullptr);
    table.set("other", nullptr, "double");
    EXPECT_EQ(owner.told, 3);
    EXPECT_EQ(entriesOf(table), "Key|int|2\nother|double|\n");

    table.set_dirty(false);
    table.remove("none");
    EXPECT_FALSE(table.get_dirty());
    table.remove("kEY");
    configb copy(table);
    copy.clear();
    EXPECT_TRUE(copy.isEmpty() && !table.isEmpty() && owner.told == 4) << "a copy has no owner";
}

TEST_F(ConfigB, valuesConvertOnTheWayOut)
{
    configb table;
    constexpr int none = -99;
    for (const auto& [text, expected] : {std::pair("-7x", -7),
                                         {"99999999999", INT_MAX},
                                         {"-", 0},
                                         {"true", 1},
                                         {"+5", none},
                                         {"", none},
                                         {" 1", none}})
    {
        table.set("n", text);
        int number = none;
        EXPECT_TRUE(table.in("n", number) == (expected == none ? -1 : 0) && number == expected) << text;
    }
    for (const auto& [text, expected] :
         {std::pair(" +1.5e3x", 1500.0), {"-.5", -0.5}, {"word", 0}, {"0x10", 16}, {"1e400", HUGE_VAL}, {"1e-5000", 0}})
    {
        table.set("d", text);
        double number = 7;
        EXPECT_TRUE(table.in("d", number) == 0 && number == expected) << text;
    }

    unsigned large = 0;
    bool on = true;
    char text[] = "????";
    Cookie cookie = video_black;
    table.set("", "1");
    EXPECT_EQ(table.in(nullptr, on) + table.in(nullptr, text) + table.in(nullptr, cookie), -3)
        << "a null key is not the empty one";
    table.set("u", "4294967295");
    table.set("x", "yes");
    EXPECT_EQ(table.in("u", large) + table.in("x", on) + table.in("x", text, 3) + table.in("x", cookie), 0);
    EXPECT_TRUE(on && large == 4294967295u && !cookie.valid()) << "neither word: left alone";
    EXPECT_STREQ(text, "ye");
}

TEST_F(ConfigB, formsOfTheFormatsPage)
{
    configb two;
    two.set("Rate", 25);
    two.set("path", "C:\\");
    EXPECT_EQ(packed(two), std::string("\2\0\0\0path\0C:\\\0\0Rate\0"
                                       "25\0int\0",
                                       26));
    const char* const text = "{\n"
                             "  autosave:bool true\n"
                             "  black:cookie VZ0Z0001\n"
                             "  empty:int\n"
                             "  gain:double -0.12500000\n"
                             "  note:textdata a: b # c\n"
                             "  path C:\\Mwproj  a\n"
                             "  Rate:int 25\n"
                             "  \xC3\x84rger \xC3\xA9lan\n"
                             "}";
    EXPECT_EQ(sample().asString(), text);
}

TEST_F(ConfigB, everyFormReadsBackAsTheSameEntries)
{
    const configb table = sample();
    const std::string expected = entriesOf(table);
    configb fromText, fromLines;
    EXPECT_TRUE(fromText.fromString(table.asString()) == 1 && entriesOf(fromText) == expected);
    TextFile lines;
    lines.appendLine("not a table");
    table.writeTo(lines, 0);
    lines.appendLine("behind it");
    unsigned line = 0;
    EXPECT_TRUE(fromLines.buildFrom(lines, line) == 0 && line++ == 0);
    EXPECT_TRUE(fromLines.buildFrom(lines, line) == 1 && lines[line] == "behind it");
    EXPECT_EQ(entriesOf(fromLines), expected);
    const std::string path = folder_.path() / "dumped";
    EXPECT_TRUE(table.dump(TempFolder::wideOf(path)) == 0 && table.dump(TempFolder::wideOf(path + "/none")) == 1);
    EXPECT_EQ(entriesOf(configb(path.c_str())), expected);
}

TEST_F(ConfigB, textLeavesOutWhatItCannotCarry)
{
    configb table;
    for (const char* const key : {"", "#x", "a b", "a:b", "}", "}x", "l\n"})
        table.set(key, "1", "int");
    table.set("type", "1", "two words");
    table.set("lines", "1\n2");
    EXPECT_EQ(table.asString(), "{\n}");
    const std::string all = entriesOf(table), log = said();
    EXPECT_EQ(std::count(all.begin(), all.end(), '|'), 18) << "all are packed";
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 10) << log;
}

TEST_F(ConfigB, cutBytesUnpackToWhatIsThere)
{
    const std::string whole = packed(sample()), all = entriesOf(sample());
    for (unsigned length = 0; length < whole.size(); ++length)
    {
        StreamFile cut;
        cut.write(whole.data(), length);
        cut.setPosition(0);
        PStream in(&cut);
        const configb table(in);
        EXPECT_STREQ(in.c_str(), "Unexpected EOF.") << length;
        EXPECT_TRUE(all.starts_with(entriesOf(table))) << length;
    }
}

TEST_F(ConfigB, holdsWhatAMapWouldHold)
{
    // Growth, order, collisions and removal in every mix.
    const auto less = [](const std::string& a, const std::string& b)
    { return configb::caseInsensitiveCompare(a.c_str(), b.c_str()) < 0; };
    std::map<std::string, std::string, decltype(less)> model(less);
    configb table;
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i)
    {
        // Texts of less than a word, of one and of several, whose differences are at the end.
        std::string key(random() % 3 * 7, 'x');
        for (auto length = random() % 3 + 1; length != 0; --length)
            key += "aAbB[\xC4"[random() % 6];
        const std::string value = std::to_string(i);
        if (random() % 3 == 0)
            table.remove(key.c_str()), model.erase(key);
        else
            table.set(key.c_str(), value.c_str()), model[key] = value;
        const char* const found = table.in(key.c_str());
        ASSERT_EQ(found != nullptr ? found : "none", model.contains(key) ? model[key] : "none");
    }
    std::string expected;
    for (const auto& [key, value] : model)
        expected += key + "||" + value + "\n";
    EXPECT_EQ(entriesOf(table), expected);
}

TEST_F(ConfigB, streamTakesEntriesOfAPrefixAndTablesInsideTables)
{
    const std::string path = folder_.path() / "out";
    std::ofstream stream(path);
    configb table;
    table.set("abc", "1", "a_type_of_21_letters_");
    table.set("ABD", std::string(1020, 'v').c_str());
    table.dump(&stream, "aB");
    EXPECT_TRUE(said().starts_with("assertion failed (*iter).second.type_.size() <= 20 at misc/configb line "));
    {
        config_outb outer(&stream);
        outer.out("size", 4294967295u);
        config_outb inner(&stream);
        inner.out("gain", 0.5);
        inner.out("note", strp_field("free"));
    }
    stream.close();
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), "{\nabc:a_type_of_21_letters_ 1\n}\n"
                          "{\n  size 4294967295\n  {\n    gain 0.50000000\n    note:textdata free\n  }\n}\n");
}
