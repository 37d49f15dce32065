#include "misc/text/JSON.h"

#include "OS/OS.h"
#include "OS/ThreadMgr.h"
#include "libmw/Text.h"
#include "media/AssertionLines.h"
#include "platform/Sanitized.h"
#include "platform/TempFolder.h"
#include "text/JsonModel.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <thread>

namespace
{

using Wide = LightweightString<wchar_t>;
using Ptr = Mw::Ptr<JSON::Element>;

std::string printed(const JSON::Builder& builder, unsigned char indentStep = 0)
{
    TextFile file;
    builder.printTo(file, indentStep);
    std::string text;
    for (unsigned i = 0; i < file.numLines(); ++i)
        text += std::string(file[i]) + "\n";
    return text;
}

// Writes a tree that is drawn at random, and gives the model's form of it.
Model writeTree(std::mt19937& random, JSON::Builder& builder, int depth)
{
    const auto drawText = [&]
    {
        static constexpr wchar_t alphabet[] = L"ab{}[],:\"\\\t\n\r /\b\u00e4\u65e5\U0001F3AC";
        std::wstring drawn(random() % 40, L' ');
        for (wchar_t& c : drawn)
            c = alphabet[random() % (std::size(alphabet) - 1)];
        return drawn;
    };
    Model model;
    for (auto left = random() % 6; left > 0; --left)
    {
        const std::wstring name = drawText();
        switch (random() % (depth == 0 ? 3 : 4))
        {
        case 0:
            model.texts.emplace_back(name, drawText());
            builder.add(name.c_str(), Wide(std::wstring_view(model.texts.back().second)));
            break;
        case 1:
            model.numbers.emplace_back(name, static_cast<int>(random()) / 8.0);
            builder.add(name.c_str(), model.numbers.back().second);
            break;
        case 2:
            model.bools.emplace_back(name, random() % 2 != 0);
            builder.add(name.c_str(), model.bools.back().second);
            break;
        default:
            const bool isArray = random() % 2 != 0;
            isArray ? builder.startArray(name.c_str()) : builder.startChild(name.c_str());
            model.childNames.push_back(name);
            model.children.push_back(writeTree(random, builder, depth - 1));
            isArray ? builder.endArray() : builder.endChild();
        }
    }
    return model;
}

} // namespace

TEST(JsonParser, agreesWithTheTableOnRandomBytes)
{
    // Mostly fragments, so that documents get somewhere, in buffers of their own size, so that a read behind the end
    // shows under the sanitizer.
    std::istringstream list(
        "{ } [ ] : , \" \\ \\\" \\n \\u true false null tru nul 1 - . 25 -0.5 1e5 e + 0x1 \"a\" \"\" \xC3 "
        "\x80 \xE2\x82\xAC {\"a\": [\"x\", 9007199254740993 123456789.125 \"textOfMoreThan16Bytes\" \"k\\t\xC3\xA4\":");
    std::vector<std::string> fragments{" ", "\n", std::string(22, ' '), std::string(1, '\0')};
    fragments.insert(fragments.end(), std::istream_iterator<std::string>(list), {});
    std::mt19937 random(1);
    int complete = 0;
    for (int i = 0; i < 1'000'000; ++i)
    {
        std::string text(random() % 3 == 0 ? "{" : random() % 2 == 0 ? "[" : "");
        for (auto count = random() % 12; count > 0; --count)
            text += fragments[random() % fragments.size()];
        for (auto count = random() % 3; count > 0; --count)
            text += random() % 2 == 0 ? '}' : ']';
        const std::unique_ptr<char[]> buffer(new char[text.size()]);
        std::memcpy(buffer.get(), text.data(), text.size());
        const JSON::Parser parser(buffer.get(), static_cast<unsigned>(text.size()));
        const ModelReader model(text);
        ASSERT_EQ(parser.failed(), model.failed) << text;
        ASSERT_TRUE(modelOf(parser.result()) == model.result) << text;
        ASSERT_EQ(parser.failure().reason.empty(), !model.failed && model.result) << text;
        complete += parser.result() != nullptr;
    }
    EXPECT_GT(complete, 50'000);
}

TEST(JsonParser, readsNumbersLikeStrtod)
{
    std::mt19937_64 random(2);
    for (int i = 0; i < 200'000; ++i)
    {
        const auto digits = [&](std::uint64_t most)
        {
            std::string made;
            for (auto count = random() % (most + 1); count > 0; --count)
                made += static_cast<char>('0' + random() % 10);
            return made;
        };
        const bool isHuge = random() % 50 == 0;
        std::string number = (random() % 3 == 0 ? "-" : "") + digits(isHuge ? 330 : 21);
        if (number.empty() || random() % 2 == 0)
            number += "." + (isHuge ? std::string(random() % 340, '0') : std::string()) + digits(22);
        const Ptr list = JSON::parse(std::string_view("[" + number + "]"));
        ASSERT_TRUE(list);
        const double expected = std::strtod(number.c_str(), nullptr);
        const double read = list->getNum(0u);
        ASSERT_EQ(std::memcmp(&read, &expected, sizeof read), 0) << number << " reads as " << read;
    }
}

TEST(JsonParser, tellsLineColumnAndReason)
{
    const std::tuple<const char*, unsigned, unsigned, const char*> cases[] = {
        {"", 1, 1, "nothing"},
        {"5", 1, 2, "no object"},
        {"{\n \"\xC3\xA4\": x", 2, 7, "begins no value"},
        {"{\"a\":1e5}", 1, 7, "exponent"},
        {"[{\n", 2, 1, "ends before"},
        {"{}\r\n}", 2, 1, "closing"},
        {"[null]", 1, 2, "name"},
        {"{}", 0, 0, ""},
    };
    for (const auto& [text, line, column, reason] : cases)
    {
        JSON::Failure failure;
        EXPECT_EQ(JSON::parse(text, failure) != nullptr, *reason == 0) << text;
        EXPECT_TRUE(failure.line == line && failure.column == column) << text;
        EXPECT_NE(std::string_view(failure.reason).find(reason), std::string_view::npos) << failure.reason;
    }
}

TEST(JsonParser, readsFilesWideTextAndMemory)
{
    TempFolder folder;
    const Wide path = TempFolder::wideOf(folder.path() / "a.json");
    JSON::Failure failure;
    EXPECT_TRUE(JSON::parseFile(path, failure) == nullptr && !failure.reason.empty());
    TextFile file;
    file.appendLine("{\"\xC3\xA4\": 2}");
    ASSERT_TRUE(file.save(path));
    EXPECT_EQ(JSON::parseFile(path)->getNum(L"\u00e4"), 2);
    EXPECT_EQ(JSON::parse(Wide(L"{\"\u00e4\": 2}"))->getNum(L"\u00e4"), 2);
    struct Holder : iMemHolder
    {
        const void* data() const override { return "[1]tail"; }
        std::size_t sizeBytes() const override { return 3; }
    };
    EXPECT_EQ(JSON::parse(Mw::Ptr<iMemHolder>(new Holder))->getNum(0u), 1);
}

TEST(Json, anyDepthTakesLittleStack)
{
    iThreadMgr::ThreadParams small;
    small.stackSizeBytes = 128 * 1024;
    small.function = [](void*)
    {
        constexpr unsigned deepest = MW_SANITIZED ? 1'000'000 : 10'000'000;
        const LightweightString<char> opened(deepest, '[');
        EXPECT_EQ(JSON::parse(opened), nullptr);
        EXPECT_NE(JSON::parse(opened + LightweightString<char>(deepest, '}')), nullptr);
        Ptr top(new JSON::Element);
        JSON::Builder builder;
        for (unsigned level = 0; level < deepest / 10; ++level)
        {
            const Ptr above(new JSON::Element);
            above->addChild(L"below", top);
            top = above;
            builder.startChild(L"below");
        }
        for (unsigned level = 0; level < deepest / 10; ++level)
            builder.endChild();
        EXPECT_NE(JSON::parse(std::string_view(printed(builder))), nullptr);
        return iThread::eExecOK;
    };
    ASSERT_TRUE(OS().threadMgr().createThread(small)->waitForExit(-1));
}

TEST(JsonElement, childOutlivesItsDocumentAndTakesChanges)
{
    Ptr document = JSON::parse("{\"a\":{\"n\":1,\"t\":\"x\",\"b\":[true]},\"c\":{\"n\":2}}");
    const Ptr a = document->getChild(L"a");
    const Ptr c = document->getChild(1u);
    // Elements of one document are changed by threads of their own.
    const auto change = [](const Ptr& element)
    {
        for (int i = 0; i < 1000; ++i)
        {
            element->addAttrib(L"text", L"caf\u00e9 with more characters than a small block has");
            element->addChild(L"child")->addAttrib(L"is", i * 1.0);
        }
    };
    std::thread other(change, a);
    change(c);
    other.join();
    document = nullptr;
    EXPECT_TRUE(a->getNum(L"n") == 1 && a->getString(L"t") == L"x" && a->getChild(L"b")->getBool(0u));
    EXPECT_EQ(c->getString(999u), L"caf\u00e9 with more characters than a small block has");
    EXPECT_EQ(c->getChildren().at(999)->getNum(L"is"), 999);
    EXPECT_EQ(a->getNumChildren(), 1001u);
    // One child of two parents goes with the second.
    c->addChild(L"shared", a);
    EXPECT_EQ(c->getChild(L"shared"), a);
}

TEST(JsonElement, namesThatAreMissingGiveTheDefault)
{
    const Ptr element = JSON::parse("{\"n\":1,\"n\":2,\"t\":\"x\",\"b\":false,\"z\":null}");
    EXPECT_TRUE(element->getNum(L"n") == 1 && element->getNum(L"t", 7) == 7);
    EXPECT_EQ(element->getString(L"n", L"none"), L"none");
    EXPECT_TRUE(element->getBool(L"N", true) && !element->getBool(L"b", true));
    EXPECT_TRUE(element->hasString(L"z") && element->hasNum(L"n") && element->hasBool(L"b"));
    EXPECT_FALSE(element->hasString(L"n") || element->hasNum(L"b") || element->hasBool(L"t"));
    EXPECT_TRUE(element->getChild(L"n") == nullptr && element->getChild(9u) == nullptr);
    EXPECT_TRUE(element->getString(9u).empty() && element->getStringAttribName(9u).empty());
}

// Names are compared in pieces of the processor's width.
TEST(JsonElement, memberIsFoundByEachCharacterOfItsName)
{
    for (unsigned length = 1; length <= 40; ++length)
        for (unsigned place = 0; place < length; ++place)
            for (const wchar_t c : {L'x', L'\u00e9', L'\U0001F3AC'})
            {
                std::wstring name(length, L'a');
                JSON::Element element;
                element.addAttrib(name, 1.0);
                element.addAttrib(name + L'a', 2.0);
                name[place] = c;
                element.addAttrib(name, 3.0);
                ASSERT_EQ(element.getNum(name), 3.0);
            }
}

TEST(JsonBuilder, numbersAreTheShortestThatReadBack)
{
    const auto check = [](auto value)
    {
        JSON::Builder builder;
        builder.add(nullptr, value);
        char digits[400];
        char* const end = std::to_chars(digits, std::end(digits), value, std::chars_format::fixed).ptr;
        ASSERT_EQ(toUTF8(builder.getOutput()[0]), std::string(digits, end).c_str());
    };
    std::mt19937_64 random(5);
    for (int round = 0; round < 40'000; ++round)
    {
        const auto digits = static_cast<double>(static_cast<std::int64_t>(random() >> random() % 64));
        const double value = (round % 2 == 0 ? 1 : -1) * digits / std::pow(10, round % 8);
        check(value);
        check(std::nextafter(value, 0));
        check(static_cast<float>(value));
        if (const auto any = std::bit_cast<double>(random()); std::isfinite(any))
            check(any);
    }
    check(-0.0);
}

TEST(JsonBuilder, whatItWritesReadsBackTheSame)
{
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round)
    {
        JSON::Builder builder;
        builder.startChild(nullptr);
        const Model model = writeTree(random, builder, 4);
        builder.endChild();
        const std::string text = printed(builder, 3);
        ASSERT_TRUE(modelOf(JSON::parse(std::string_view(text))) == model) << text;
    }
}

TEST(JsonBuilder, linesAreAsPeopleReadThem)
{
    JSON::Builder builder;
    builder.startChild(nullptr);
    builder.add(L"long", 1L << 40);
    builder.add(L"large", 1e22);
    builder.add(L"infinite", std::numeric_limits<double>::infinity());
    builder.add(L"null", static_cast<const wchar_t*>(nullptr));
    builder.startArray(L"list");
    builder.add(nullptr, 1);
    builder.startChild(L"");
    builder.add(L"a\"b", L"c\td", true);
    builder.add(L"raw", L"\\u00e4", false);
    builder.endChild();
    builder.endArray();
    builder.add(Wide(L"\u00e4"), true);
    builder.endChild();
    EXPECT_EQ(printed(builder, 2), "{\n"
                                   "  \"long\" : 1099511627776,\n"
                                   "  \"large\" : 10000000000000000000000,\n"
                                   "  \"infinite\" : null,\n"
                                   "  \"null\" : null,\n"
                                   "  \"list\" : [\n"
                                   "    1,\n"
                                   "    {\n"
                                   "      \"a\\\"b\" : \"c\\td\",\n"
                                   "      \"raw\" : \"\\u00e4\"\n"
                                   "    }\n"
                                   "  ],\n"
                                   "  \"\xC3\xA4\" : true\n"
                                   "}\n");
    EXPECT_EQ(JSON::Builder::makePrintable(L"a\\\r\n"), L"a\\\\\\r\\n");
}

TEST(JsonBuilder, strayClosingIsReportedAndWritten)
{
    JSON::Builder builder;
    builder.endChild();
    builder.add(L"a", 1);
    AssertionLines lines;
    EXPECT_EQ(printed(builder, 4), "},\n\"a\" : 1\n");
    EXPECT_TRUE(lines.text().starts_with("assertion failed indentSize >= 0 at"));
}
