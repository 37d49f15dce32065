// Area json: reading JSON to a tree, looking things up in it, building and printing a document.
//
// Workload: the project, the numbers and the texts of bench/json.h. Every side reads the same bytes into a tree that
// it then drops, with its memory, within the measured time.

#include "bench/json.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "libmw/Text.h"
#include "misc/text/JSON.h"

#include <charconv>
#include <random>

namespace bench::json
{

namespace
{

// Writes the project as text, as people lay it out.
class TextWriter
{
public:
    explicit TextWriter(std::string& out) : out_(out) {}

    void openItem() { openWith("{"); }
    void close() { closeWith("}"); }
    void openArray(Key key)
    {
        begin(key);
        openBracket("[");
    }
    void closeArray() { closeWith("]"); }
    void text(Key key, std::size_t text)
    {
        begin(key);
        out_ += '"' + texts()[text] + '"';
    }
    void number(Key key, double value)
    {
        begin(key);
        appendNumber(value);
    }
    void whole(Key key, int value) { number(key, value); }
    void truth(Key key, bool value)
    {
        begin(key);
        out_ += value ? "true" : "false";
    }
    void item(double value)
    {
        newLine();
        appendNumber(value);
    }

private:
    void newLine()
    {
        if (!isFirst_)
            out_ += ',';
        isFirst_ = false;
        if (depth_ != 0)
            out_ += '\n' + std::string(4 * depth_, ' ');
    }
    void begin(Key key)
    {
        newLine();
        out_ += std::string("\"") + keys[key] + "\": ";
    }
    void openWith(const char* bracket)
    {
        newLine();
        openBracket(bracket);
    }
    void openBracket(const char* bracket)
    {
        out_ += bracket;
        ++depth_;
        isFirst_ = true;
    }
    void closeWith(const char* bracket)
    {
        --depth_;
        out_ += '\n' + std::string(4 * depth_, ' ') + bracket;
        isFirst_ = false;
    }
    void appendNumber(double value)
    {
        char digits[32];
        out_.append(digits, std::to_chars(digits, std::end(digits), value, std::chars_format::fixed).ptr);
    }

    std::string& out_;
    std::size_t depth_ = 0;
    bool isFirst_ = true;
};

std::string listOf(int count, const std::function<std::string(int)>& member)
{
    std::string list = "[";
    for (int i = 0; i < count; ++i)
        list += (i == 0 ? "" : ", ") + member(i);
    return list + "]";
}

} // namespace

const std::string& project()
{
    static const std::string text = []
    {
        std::string made;
        TextWriter writer(made);
        writeProject(writer);
        return made;
    }();
    return text;
}

const std::string& numbers()
{
    static const std::string text = []
    {
        std::minstd_rand random;
        return listOf(100'000,
                      [&random](int i)
                      {
                          const auto drawn = static_cast<double>(random());
                          char digits[32];
                          const double value = i % 10 == 0  ? drawn / 2147483647.0
                                               : i % 2 == 0 ? static_cast<double>(random() % 1'000'000) / 1000
                                                            : static_cast<double>(random() % 1'000'000);
                          return std::string(
                              digits, std::to_chars(digits, std::end(digits), value, std::chars_format::fixed).ptr);
                      });
    }();
    return text;
}

const std::string& escapedTexts()
{
    static const std::string text =
        listOf(50'000, [](int i) { return R"("reel \")" + std::to_string(i) + R"(\" at dawn")"; });
    return text;
}

const std::string& twentyMembers()
{
    static const std::string text = []
    {
        std::string made = "{";
        for (std::size_t i = 0; i < members.size(); ++i)
        {
            const std::string value = kinds[i] == 't' ? "\"take 17\"" : kinds[i] == 'n' ? "29.97" : "true";
            made += std::string(i == 0 ? "" : ", ") + '"' + members[i] + "\": " + value;
        }
        return made + "}";
    }();
    return text;
}

} // namespace bench::json

namespace
{

using namespace bench::json;

void declare(bench::Registry& registry)
{
    registry.declare({"json/parse a project of 1 MB",
                      "Reads the settings of a project of 1 MB into a tree and drops it.",
                      {{1.0, "rapidjson"}, {1.0, "boost.json"}, {1.0, "QJsonDocument"}, {1.0, "nlohmann"}}});
    registry.declare({"json/parse 100,000 numbers",
                      "Reads an array of numbers into a tree and drops it.",
                      {{1.6, "simdjson"}, {1.0, "boost.json"}, {1.0, "QJsonDocument"}, {1.0, "nlohmann"}}});
    registry.declare({"json/parse 50,000 texts with escapes",
                      "Reads an array of short texts with escapes into a tree and drops it.",
                      {{1.0, "rapidjson"}, {1.0, "boost.json"}, {1.0, "QJsonDocument"}, {1.0, "nlohmann"}}});
    registry.declare({"json/look up 20 names among 20",
                      "Gets each of the 20 members of an object by its name.",
                      {{1.0, "rapidjson"}}});
    registry.declare({"json/build and print a project of 1 MB",
                      "Makes the same project in calls and prints it with indentation, in memory.",
                      {{2.5, "rapidjson"}, {1.0 / 3, "nlohmann"}}});
    registry.declare({"json/memory of a project of 1 MB",
                      "The heap that the tree of the project takes.",
                      {{1.0, "nlohmann"}, {1.25, "QJsonDocument"}},
                      1,
                      bench::Clock::heap});
}

auto parsing(const std::string& text)
{
    return [&text]
    {
        const JSON::Parser parser(text.data(), static_cast<unsigned>(text.size()));
        bench::keepNumber(parser.result().get());
    };
}

void addReading(bench::Registry& registry)
{
    registry.ours("json/parse a project of 1 MB", parsing(project()));
    registry.ours("json/parse 100,000 numbers", parsing(numbers()));
    registry.ours("json/parse 50,000 texts with escapes", parsing(escapedTexts()));
    registry.ours("json/look up 20 names among 20",
                  [element = JSON::parse(std::string_view(twentyMembers()))]
                  {
                      for (std::size_t i = 0; i < members.size(); ++i)
                      {
                          const wchar_t* const name = bench::hidden(wideMembers[i]);
                          if (kinds[i] == 't')
                              bench::keepNumber(element->getString(name).length());
                          else if (kinds[i] == 'n')
                              bench::keepNumber(static_cast<int>(element->getNum(name)));
                          else
                              bench::keepNumber(element->getBool(name));
                      }
                  });
    registry.add("json/memory of a project of 1 MB", {bench::Role::ours, "ours",
                                                      [kept = Mw::Ptr<JSON::Element>()](std::size_t count) mutable
                                                      {
                                                          kept = nullptr;
                                                          if (count != 0)
                                                              kept = JSON::parse(std::string_view(project()));
                                                      }});
}

void addLimit(bench::Registry& registry)
{
    for (const auto& [row, text] :
         {std::pair("json/parse a project of 1 MB", &project()), std::pair("json/parse 100,000 numbers", &numbers()),
          std::pair("json/parse 50,000 texts with escapes", &escapedTexts())})
        registry.add(row, {bench::Role::limit, "widening to 32 bits",
                           [text = text, wide = std::vector<unsigned>(text->size())](std::size_t count) mutable
                           {
                               for (; count != 0; --count)
                                   limit_widen(text->data(), text->size(), wide.data());
                           }});
}

// Calls to our builder, with texts that are wide already.
class BuilderWriter
{
public:
    void openItem() { builder.startChild(nullptr); }
    void close() { builder.endChild(); }
    void openArray(Key key) { builder.startArray(wideKeys[key]); }
    void closeArray() { builder.endArray(); }
    void text(Key key, std::size_t text) { builder.add(wideKeys[key], wideTexts()[text], true); }
    void number(Key key, double value) { builder.add(wideKeys[key], value); }
    void whole(Key key, int value) { builder.add(wideKeys[key], value); }
    void truth(Key key, bool value) { builder.add(wideKeys[key], value); }
    void item(double value) { builder.add(nullptr, value); }

    static const std::vector<LightweightString<wchar_t>>& wideTexts()
    {
        static const std::vector<LightweightString<wchar_t>> wide = []
        {
            std::vector<LightweightString<wchar_t>> made;
            for (const std::string& text : texts())
                made.push_back(fromUTF8(std::string_view(text)));
            return made;
        }();
        return wide;
    }

    JSON::Builder builder;
};

void addWriting(bench::Registry& registry)
{
    BuilderWriter::wideTexts();
    registry.ours("json/build and print a project of 1 MB",
                  []
                  {
                      BuilderWriter writer;
                      writeProject(writer);
                      TextFile file;
                      writer.builder.printTo(file, 4);
                      bench::keep(file);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        declare(registry);
        addReading(registry);
        addLimit(registry);
        addWriting(registry);
    });

} // namespace
