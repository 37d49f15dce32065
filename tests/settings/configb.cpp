#include "misc/settings/configb.h"

#include "misc/base/StrpField.h"
#include "misc/base/TextFile.h"
#include "misc/identity/Cookie.h"
#include "misc/persistence/PStream.h"
#include "misc/settings/config_outb.h"
#include "settings/Support.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <map>
#include <random>

namespace
{

std::string packed(const configb& table)
{
    StreamFile file;
    PStream stream(&file);
    table.pack(stream);
    std::string bytes(file.size(), ' ');
    file.setPosition(0);
    file.readBinary(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()), true);
    return bytes;
}

// The entries in order, each as "key|type|value\n", by what pack writes: key, value and type, each with a zero.
std::string entriesOf(const configb& table)
{
    const std::string bytes = packed(table);
    std::string entries;
    for (std::size_t at = 4; at < bytes.size();)
    {
        const auto next = [&]
        {
            const char* const text = bytes.c_str() + at;
            at += std::strlen(text) + 1;
            return std::string(text);
        };
        const std::string key = next(), value = next(), type = next();
        entries += key + "|" + type + "|" + value + "\n";
    }
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
    struct Case
    {
        const char* text;
        int result;
        const char* entries;
    };
    for (const auto& [text, result, entries] : {
             Case{"{\na:int 1\nA:double 2\n}\n", 0, "a|int|1\n"},
             {"anything\nb 1\na 2\n}extra value\nc 3\n", 0, "a||2\nb||1\n"},
             {"{\na 1\n  }\nb 2\n", 0, "a||1\n"},
             {"{\n# a 1\n \t\v\n   # b 2\n\nc 3 # d\n}", 0, "c||3 # d\n"},
             {"{\na\nb:int\nc:\nd:b:c 1\n:int 5\n: \n}", 0, "a||\nb|int|\nc||\nd|b:c|1\n"},
             {"{\npath c:\\x y  \t\r\n\tname  a:b\r\n}\r\n", 0, "name||a:b\npath||c:\\x y\n"},
             {"{\n\xA0x\xC3\xA9 \xA0 1\xA0\n}", 0, "\xA0x\xC3\xA9||\xA0 1\xA0\n"},
             {"{\na 1\n", 1, "a||1\n"},
             {"{\na 1", 1, "a||1\n"},
             {"{", 1, ""},
             {"", 1, ""},
         })
    {
        SCOPED_TRACE(text);
        const configb table(file(text).c_str());
        EXPECT_EQ(table.readFailed(), result != 0);
        EXPECT_EQ(entriesOf(table), entries);
        EXPECT_FALSE(table.get_dirty());
    }
    EXPECT_TRUE(configb((folder_.path() / "none").c_str()).readFailed());
    EXPECT_EQ(entriesOf(configb("/none/such", file("{\nx 1\n}").c_str())), "x||1\n");
}

TEST_F(ConfigB, lineOf1024BytesEndsTheRead)
{
    const std::string first(5000, '{'), longest = "a " + std::string(1021, 'v');
    EXPECT_EQ(entriesOf(configb(file(first + "\n" + longest + "\nb 1\n" + longest + "v\nc 1\n}").c_str())),
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
    EXPECT_TRUE(copy.isEmpty() && !table.isEmpty() && table.get_dirty());
    EXPECT_EQ(owner.told, 4) << "a copy has no owner";
}

TEST_F(ConfigB, valuesConvertOnTheWayOut)
{
    configb table;
    constexpr int none = -99;
    for (const auto& [text, expected] : {std::pair("-7x", -7),
                                         {"99999999999", INT_MAX},
                                         {"-99999999999", INT_MIN},
                                         {"-", 0},
                                         {"true", 1},
                                         {"+5", none},
                                         {"", none},
                                         {"True", none},
                                         {" 1", none}})
    {
        table.set("n", text);
        int number = none;
        EXPECT_EQ(table.in("n", number), expected == none ? -1 : 0) << text;
        EXPECT_EQ(number, expected) << text;
    }
    for (const auto& [text, expected] :
         {std::pair(" +1.5e3x", 1500.0), {"-.5", -0.5}, {"word", 0}, {"0x10", 16}, {"1e400", HUGE_VAL}, {"1e-5000", 0}})
    {
        table.set("d", text);
        double number = 7;
        EXPECT_EQ(table.in("d", number), 0);
        EXPECT_EQ(number, expected) << text;
    }

    unsigned large = 0;
    bool on = true;
    char text[] = "????";
    Cookie cookie = video_black;
    strp_field field;
    ConfigEntryT entry;
    table.set("", "1");
    EXPECT_EQ(table.in(nullptr, on) + table.in(nullptr, text) + table.in(nullptr, cookie) + table.in(nullptr, field) +
                  table.in(nullptr, entry) + table.in(nullptr, large),
              -6)
        << "a null key is not the empty one";
    table.set("u", "4294967295");
    table.set("x", "yes");
    EXPECT_EQ(table.in("u", large) + table.in("x", on) + table.in("x", text, 3) + table.in("x", cookie), 0);
    EXPECT_TRUE(on) << "neither word: left alone";
    EXPECT_EQ(large, 4294967295u);
    EXPECT_STREQ(text, "ye");
    EXPECT_FALSE(cookie.valid());
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
    TextFile file;
    sample().writeTo(file, 2);
    EXPECT_EQ(std::string(file[0]) + std::string(file[1]) + std::string(file[9]), "  {    autosave:bool true  }");
}

TEST_F(ConfigB, everyFormReadsBackAsTheSameEntries)
{
    const configb table = sample();
    const std::string expected = entriesOf(table);
    configb fromText, fromLines;
    EXPECT_EQ(fromText.fromString(table.asString()), 1);
    EXPECT_EQ(entriesOf(fromText), expected);

    TextFile lines;
    lines.appendLine("not a table");
    table.writeTo(lines, 0);
    lines.appendLine("behind it");
    unsigned line = 0;
    EXPECT_EQ(fromLines.buildFrom(lines, line), 0);
    EXPECT_EQ(line++, 0u);
    EXPECT_EQ(fromLines.buildFrom(lines, line), 1);
    EXPECT_EQ(lines[line], "behind it");
    EXPECT_EQ(entriesOf(fromLines), expected);

    const std::string path = folder_.path() / "dumped";
    EXPECT_EQ(table.dump(TempFolder::wideOf(path)), 0);
    EXPECT_EQ(entriesOf(configb(path.c_str())), expected);
    EXPECT_EQ(table.dump(TempFolder::wideOf(path + "/none")), 1);
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

    table.clear();
    table.set("abc", "1", "a_type_of_21_letters_");
    table.set("ABD", std::string(1020, 'v').c_str());
    std::ofstream out(folder_.path() / "out");
    table.dump(&out, "aB");
    out.close();
    EXPECT_EQ(contents(folder_.path() / "out"), "{\nabc:a_type_of_21_letters_ 1\n}\n");
    EXPECT_TRUE(said().starts_with("assertion failed (*iter).second.type_.size() <= 20 at misc/configb line "));
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
        EXPECT_FALSE(table.get_dirty());
    }
}

TEST_F(ConfigB, holdsWhatAMapWouldHold)
{
    // Growth, order, collisions and removal in every mix.
    struct Less
    {
        bool operator()(const std::string& a, const std::string& b) const
        {
            return configb::caseInsensitiveCompare(a.c_str(), b.c_str()) < 0;
        }
    };
    std::map<std::string, std::string, Less> model;
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

TEST_F(ConfigB, outbWritesTablesInsideTables)
{
    std::ofstream stream(folder_.path() / "outb");
    {
        config_outb outer(&stream);
        outer.out("name", "two words");
        outer.out("size", 4294967295u);
        config_outb inner(&stream);
        inner.out("gain", 0.5);
        inner.out("black", video_black);
        inner.out("note", strp_field("free"));
    }
    stream.close();
    EXPECT_EQ(contents(folder_.path() / "outb"),
              "{\n  name two words\n  size 4294967295\n"
              "  {\n    gain 0.50000000\n    black VZ0Z0001\n    note:textdata free\n  }\n}\n");
}
