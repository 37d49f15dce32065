// rapidjson, with its document tree and its indenting writer, and the vector instructions that ours uses.

#define RAPIDJSON_SSE2
#include "bench/json.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <memory>

namespace
{

using namespace bench::json;

auto parsing(const std::string& text)
{
    return [&text]
    {
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        bench::keep(document);
    };
}

class Writer
{
public:
    void openItem() { writer_.StartObject(); }
    void close() { writer_.EndObject(); }
    void openArray(Key key)
    {
        writer_.Key(keys[key]);
        writer_.StartArray();
    }
    void closeArray() { writer_.EndArray(); }
    void text(Key key, std::size_t text)
    {
        writer_.Key(keys[key]);
        writer_.String(texts()[text].data(), static_cast<rapidjson::SizeType>(texts()[text].size()));
    }
    void number(Key key, double value)
    {
        writer_.Key(keys[key]);
        writer_.Double(value);
    }
    void whole(Key key, int value)
    {
        writer_.Key(keys[key]);
        writer_.Int(value);
    }
    void truth(Key key, bool value)
    {
        writer_.Key(keys[key]);
        writer_.Bool(value);
    }
    void item(double value) { writer_.Double(value); }

    rapidjson::StringBuffer buffer_;

private:
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer_{buffer_};
};

void lookUp(const rapidjson::Document& document)
{
    for (std::size_t i = 0; i < members.size(); ++i)
    {
        const auto found = document.FindMember(bench::hidden(members[i]));
        if (found == document.MemberEnd())
            continue;
        if (kinds[i] == 't')
            bench::keepNumber(found->value.GetStringLength());
        else if (kinds[i] == 'n')
            bench::keepNumber(static_cast<int>(found->value.GetDouble()));
        else
            bench::keepNumber(found->value.GetBool());
    }
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("json/parse a project of 1 MB", "rapidjson", parsing(project()));
        registry.peer("json/parse 100,000 numbers", "rapidjson", parsing(numbers()));
        registry.peer("json/parse 50,000 texts with escapes", "rapidjson", parsing(escapedTexts()));
        static rapidjson::Document twenty;
        twenty.Parse(twentyMembers().c_str());
        registry.peer("json/look up 20 names among 20", "rapidjson", [] { lookUp(twenty); });
        registry.peer("json/build and print a project of 1 MB", "rapidjson",
                      []
                      {
                          Writer writer;
                          writeProject(writer);
                          bench::keep(writer.buffer_);
                      });
    });

} // namespace
