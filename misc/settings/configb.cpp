#include "misc/settings/configb.h"

#include "Mw/Assert.h"
#include "Mw/CText.h"
#include "OS/FileMgr.h"
#include "libmw/Text.h"
#include "misc/base/StrpField.h"
#include "misc/base/TextFile.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/Log.h"
#include "misc/identity/Cookie.h"
#include "misc/persistence/PStream.h"
#include "misc/settings/CaselessKey.h"
#include "misc/settings/ValueText.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <limits>

using Mw::valuetext::isSpace;

namespace
{

// A line of a file with its terminator.
constexpr std::streamsize lineBufferSize = 1024;
constexpr std::size_t longestFileLine = lineBufferSize - 1;
constexpr std::size_t anyLength = std::numeric_limits<std::size_t>::max();

std::atomic<bool> debugIsOn{false};

void debugMessage(const char* text, const char* name = "")
{
    if (!debugIsOn.load(std::memory_order_relaxed))
        return;
    herc_printf("%s%s\n", text, name);
    std::fprintf(Mw::diagnosticStream(), "%s%s\n", text, name);
}

// Null counts as empty.
std::string_view viewOf(char const* text) noexcept
{
    return text != nullptr ? text : std::string_view("");
}

std::string_view viewOrNull(char const* text) noexcept
{
    return text != nullptr ? std::string_view(text) : std::string_view();
}

// One text for all entries of a usual type.
LightweightString<char> sharedType(std::string_view type)
{
    static const auto& usual =
        *new std::array<LightweightString<char>, 6>{"int", "double", "cookie", "bool", "IdStamp", "textdata"};
    if (type.empty())
        return {};
    const auto found = std::find(usual.begin(), usual.end(), type);
    return found != usual.end() ? *found : LightweightString<char>(type);
}

// The parts of a line, as places in it.
struct Tokens
{
    std::size_t start = 0;
    std::size_t keyEnd = 0;
    std::size_t valueStart = 0;
    std::size_t valueEnd = 0;
    std::size_t typeStart = 0;
    std::size_t typeEnd = 0;

    // False for a line that has none.
    bool find(std::string_view line) noexcept;
};

bool Tokens::find(std::string_view line) noexcept
{
    const auto pastSpace = [line](std::size_t at)
    {
        while (at < line.size() && isSpace(line[at]))
            ++at;
        return at;
    };
    start = pastSpace(0);
    if (start == line.size() || line[start] == '#')
        return false;
    std::size_t colon = line.size();
    for (keyEnd = start; keyEnd < line.size() && !isSpace(line[keyEnd]); ++keyEnd)
        if (line[keyEnd] == ':' && colon == line.size())
            colon = keyEnd;
    valueStart = pastSpace(keyEnd);
    valueEnd = line.size();
    while (isSpace(line[valueEnd - 1]))
        --valueEnd;
    if (colon < keyEnd)
    {
        typeEnd = keyEnd;
        keyEnd = colon;
        typeStart = colon + 1;
    }
    return true;
}

} // namespace

int tokenise(char* line, int* start, int* keyEnd, int* valueStart, int* valueEnd, int* typeStart, int* typeEnd)
{
    Tokens tokens;
    const bool found = tokens.find(line);
    *start = static_cast<int>(tokens.start);
    *keyEnd = static_cast<int>(tokens.keyEnd);
    *valueStart = static_cast<int>(tokens.valueStart);
    *valueEnd = static_cast<int>(tokens.valueEnd);
    *typeStart = static_cast<int>(tokens.typeStart);
    *typeEnd = static_cast<int>(tokens.typeEnd);
    return found ? 1 : 0;
}

configb::configb(Dirtiable* owner) : owner_(owner) {}

configb::configb(char const* file)
{
    reinit(file);
}

configb::configb(char const* primary, char const* alternate)
{
    reinit(primary, alternate);
}

configb::configb(std::ifstream* stream, char const* name) : name_(name)
{
    read_from_file(stream);
}

configb::configb(PStream& stream)
{
    unpack(stream, 0);
}

configb::configb(const configb& other)
    : Mw::InternalRefCount(), endString_(other.endString_), name_(other.name_), dirty_(other.dirty_),
      table_(other.table_), readFailed_(other.readFailed_)
{
}

configb& configb::operator=(const configb& other)
{
    if (this == &other)
        return *this;
    endString_ = other.endString_;
    name_ = other.name_;
    table_ = other.table_;
    readFailed_ = other.readFailed_;
    set_dirty(other.dirty_);
    return *this;
}

configb::~configb() = default;

int configb::read_from_file(std::ifstream* stream)
{
    readFailed_ = true;
    if (stream == nullptr || stream->peek() == std::ifstream::traits_type::eof())
        return 1;
    reserveFor(*stream);
    stream->ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    file_ = stream;
    readFailed_ = read_all() != 0;
    set_dirty(false);
    return readFailed_ ? 1 : 0;
}

// A guess that spares growing: lines of a usual length, and no more memory than a file of them deserves.
void configb::reserveFor(std::ifstream& stream)
{
    constexpr std::streamoff usualLine = 40;
    constexpr std::streamoff mostLines = 50'000;
    const std::streampos start = stream.tellg();
    if (start < 0)
        return stream.clear();
    const std::streampos end = stream.seekg(0, std::ios::end).tellg();
    stream.clear();
    stream.seekg(start);
    if (end > start)
        table_.reserve(table_.size() + static_cast<std::size_t>(std::min((end - start) / usualLine, mostLines)));
}

int configb::read_all()
{
    int result = 0;
    while (file_ != nullptr && result == 0)
        result = read_next_item();
    return result;
}

int configb::read_next_item()
{
    if (file_ == nullptr)
    {
        debugMessage("configb::read_next_item: invalid file_ specified");
        return 1;
    }
    char line[lineBufferSize];
    while (!file_->eof())
    {
        file_->getline(line, lineBufferSize);
        if (file_->fail())
        {
            file_->close();
            file_ = nullptr;
            return 1;
        }
        const std::string_view text(line);
        if (isComment(line) || std::all_of(text.begin(), text.end(), isSpace))
            continue;
        if (parseLine(line, text.size()) == 1)
            file_ = nullptr;
        return 0;
    }
    file_ = nullptr;
    debugMessage("configb::read_next_item: unexpected EOF in ", name_.c_str());
    return 1;
}

int configb::readFromFile(LightweightString<wchar_t> const& path)
{
    const LightweightString<char> name = toUTF8(path);
    debugMessage("configb: opening file ", name.c_str());
    std::ifstream stream(name.c_str());
    return read_from_file(&stream);
}

int configb::reinit(char const* file)
{
    return reinit(file, nullptr);
}

int configb::reinit(char const* primary, char const* alternate)
{
    table_.clear();
    endString_ = "}";
    name_ = primary;
    std::ifstream stream;
    for (char const* const file : {primary, alternate})
    {
        if (file == nullptr || stream.is_open())
            continue;
        debugMessage("configb: opening file ", file);
        stream.clear();
        stream.open(file);
    }
    const int result = read_from_file(&stream);
    set_dirty(false);
    return result;
}

int configb::buildFrom(TextFile const& file, unsigned int& line)
{
    if (line >= file.numLines() || file[line] != "{")
        return 0;
    std::string copy;
    for (++line; line < file.numLines() && file[line] != std::string_view(endString_); ++line)
    {
        copy = file[line];
        parseLine(copy.data());
    }
    line = std::min(line + 1, file.numLines());
    return 1;
}

int configb::buildFrom(TextFile const& file)
{
    unsigned int line = 0;
    return buildFrom(file, line);
}

int configb::fromString(LightweightString<char> const& text)
{
    TextFile lines;
    lines.appendLine(text);
    return buildFrom(lines);
}

// An empty key never ends a table, and neither does an empty end string.
bool configb::endsTable(std::string_view key) const noexcept
{
    const std::size_t compared = std::min<std::size_t>(key.size(), endString_.length());
    return compared != 0 && Mw::CText::compareNoCase(key.data(), endString_.c_str(), compared) == 0;
}

int configb::parseLine(char* line)
{
    return parseLine(line, std::strlen(line));
}

int configb::parseLine(char* line, std::size_t length)
{
    const std::string_view text(line, length);
    Tokens tokens;
    if (!tokens.find(text))
        return 0;
    line[tokens.valueEnd] = 0;
    const auto part = [text](std::size_t start, std::size_t end) { return text.substr(start, end - start); };
    const std::string_view key = part(tokens.start, tokens.keyEnd);
    if (endsTable(key))
        return 1;
    line[tokens.keyEnd] = 0;
    if (key.empty())
        return 0;
    const bool hasValue = tokens.valueEnd > tokens.keyEnd + 1;
    const bool hasType = tokens.typeStart < tokens.typeEnd;
    set(key, hasValue ? part(std::min(tokens.valueStart, tokens.valueEnd), tokens.valueEnd) : std::string_view(),
        hasType ? part(tokens.typeStart, tokens.typeEnd) : std::string_view());
    return 0;
}

char const* configb::reasonAgainstText(const ConfigTable::Item& item) const noexcept
{
    const std::string_view key = item.key;
    const std::string_view type = item.entry.type_;
    if (key.empty() || key[0] == '#' || endsTable(key) ||
        std::any_of(key.begin(), key.end(), [](char c) { return isSpace(c) || c == ':'; }))
        return "its name";
    if (!isEssentiallyEmpty(item.entry.type_) && std::any_of(type.begin(), type.end(), isSpace))
        return "its type";
    if (item.entry.value_.find('\n') != LightweightString<char>::npos)
        return "its value";
    return nullptr;
}

template <class Function>
void configb::writeEntries(unsigned int indent, std::string_view prefix, std::size_t maxLength, Function line) const
{
    std::string text;
    const auto writeEntry = [&](const ConfigTable::Item& item)
    {
        if (!Mw::caseless::isEqual(item.key.substr(0, prefix.size()), prefix))
            return;
        text.assign(indent, ' ');
        text += item.key;
        if (const auto& type = item.entry.type_; !isEssentiallyEmpty(type))
            (text += ':') += type;
        if (const auto& value = item.entry.value_; !isEssentiallyEmpty(value))
            (text += ' ') += value;
        char const* reason = reasonAgainstText(item);
        if (reason == nullptr && text.size() > maxLength)
            reason = "its length";
        if (reason == nullptr)
            line(text);
        else
            LogString(
                ("configb: left out of a text for " + std::string(reason) + ": " + item.key.data() + "\n").c_str());
    };
    table_.forEach(writeEntry);
}

void configb::writeTo(TextFile& file, unsigned short indent) const
{
    const std::string margin(indent, ' ');
    file.appendLine(margin + "{");
    writeEntries(indent + 2u, "", anyLength, [&](const std::string& line) { file.appendLine(line); });
    file.appendLine(margin + endString_.c_str());
}

LightweightString<char> configb::asString() const
{
    std::string text = "{\n";
    writeEntries(2, "", anyLength, [&](const std::string& line) { (text += line) += '\n'; });
    text += endString_;
    return std::string_view(text);
}

std::string configb::dumped(std::string_view prefix) const
{
    table_.forEach(
        [](const ConfigTable::Item& item)
        {
            if (item.entry.type_.size() > 20)
                Mw::assertionFailed("(*iter).second.type_.size() <= 20", __FILE__, __LINE__);
        });
    std::string text = "{\n";
    writeEntries(0, prefix, longestFileLine, [&](const std::string& line) { (text += line) += '\n'; });
    (text += endString_) += '\n';
    return text;
}

void configb::dump(std::ofstream* stream, char const* prefix) const
{
    if (stream != nullptr)
        *stream << dumped(viewOf(prefix));
}

int configb::dump(LightweightString<wchar_t> const& path) const
{
    const std::string text = dumped("");
    LightweightString<char> error;
    if (Mw::replaceFile(path, text.data(), text.size(), &error))
        return 0;
    LogString(("configb: cannot write " + toUTF8(path) + ": " + error + "\n").c_str());
    return 1;
}

void configb::pack(PStream& stream) const
{
    stream << static_cast<unsigned int>(table_.size());
    table_.forEach([&stream](const ConfigTable::Item& item)
                   { stream << item.key.data() << item.entry.value_ << item.entry.type_; });
}

void configb::unpack(PStream& stream, unsigned char)
{
    StreamFile& file = *stream.file();
    unsigned int count = 0;
    bool isWhole = file.get(count);
    GrowString key, value, type;
    for (; count != 0 && isWhole; --count)
    {
        for (GrowString* const text : {&key, &value, &type})
        {
            const std::uint64_t start = file.position();
            text->clear();
            isWhole = file.readBinary(*text, false) && file.position() - start > text->length();
        }
        if (isWhole)
            set(key.view(), value.view(), type.view());
    }
    if (!isWhole)
        stream.unexpectEOF();
    set_dirty(false);
}

void configb::set(std::string_view key, std::string_view value, std::string_view type)
{
    bool isNew = false;
    ConfigEntryT& entry = table_.findOrAdd(key, isNew);
    if (isNew)
        entry.type_ = sharedType(type);
    else if (value.data() == nullptr || (type.data() != nullptr && std::string_view(entry.type_) != type) ||
             std::string_view(entry.value_) == value)
        return;
    entry.value_ = value;
    set_dirty(true);
}

void configb::set(char const* key, char const* value, char const* type)
{
    if (key != nullptr)
        set(std::string_view(key), viewOrNull(value), viewOrNull(type));
}

void configb::set(char const* key, LightweightString<char> const& value)
{
    set(key, value.c_str());
}

void configb::set(char const* key, ConfigEntryT const& entry)
{
    set(key, entry.value_.c_str(), entry.type_.c_str());
}

void configb::set(char const* key, int value)
{
    set(key, Mw::valuetext::fromLong(value).c_str(), "int");
}

void configb::set(char const* key, double value)
{
    set(key, Mw::valuetext::withEightDecimals(value).c_str(), "double");
}

void configb::set(char const* key, bool value)
{
    set(key, BoolAsString(value), "bool");
}

void configb::set(char const* key, Cookie const& value)
{
    set(key, value.asString(false).c_str(), "cookie");
}

void configb::set(char const* key, strp_field const& value)
{
    set(key, value.c_str(), "textdata");
}

void configb::remove(char const* key)
{
    if (key != nullptr && table_.remove(key))
        set_dirty(true);
}

void configb::clear()
{
    if (table_.empty())
        return;
    table_.clear();
    set_dirty(true);
}

char const* configb::in(char const* key) const noexcept
{
    const ConfigEntryT* const entry = key != nullptr ? find_var(key) : nullptr;
    return entry != nullptr ? entry->value_.c_str() : nullptr;
}

namespace
{

// The number of a value, or what a word stands for. False for anything else.
bool readNumber(char const* value, long& out) noexcept
{
    const std::string_view text = viewOf(value);
    if (!text.empty() && (Mw::CText::isDigit(text[0]) || text[0] == '-'))
        out = Mw::valuetext::toLong(value);
    else if (text == "true" || text == "false")
        out = text == "true" ? 1 : 0;
    else
        return false;
    return true;
}

} // namespace

int configb::in(char const* key, int& out) const
{
    using Int = std::numeric_limits<int>;
    long number = 0;
    if (!readNumber(in(key), number))
        return -1;
    out = static_cast<int>(std::clamp<long>(number, Int::min(), Int::max()));
    return 0;
}

int configb::in(char const* key, unsigned int& out) const
{
    long number = 0;
    if (!readNumber(in(key), number))
        return -1;
    // A negative number comes from a field that was written as an int.
    out = static_cast<unsigned int>(
        std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<unsigned int>::max()));
    return 0;
}

int configb::in(char const* key, double& out) const
{
    char const* const value = in(key);
    if (value == nullptr)
        return -1;
    out = Mw::valuetext::toDouble(value);
    return 0;
}

int configb::in(char const* key, bool& out) const
{
    char const* const value = in(key);
    if (value == nullptr)
        return -1;
    out = Mw::valuetext::toBool(value, out);
    return 0;
}

int configb::in(char const* key, char* out) const
{
    return in(key, out, std::numeric_limits<unsigned int>::max());
}

int configb::in(char const* key, char* out, unsigned int sizeBytes) const
{
    char const* const value = in(key);
    if (value == nullptr)
        return -1;
    if (sizeBytes == 0)
        return 0;
    const std::size_t copied = std::min<std::size_t>(std::strlen(value), sizeBytes - 1);
    std::memcpy(out, value, copied);
    out[copied] = 0;
    return 0;
}

int configb::in(char const* key, Cookie& out) const
{
    char const* const value = in(key);
    if (value == nullptr)
        return -1;
    out = Cookie(value, false);
    return 0;
}

int configb::in(char const* key, strp_field& out) const
{
    char const* const value = in(key);
    if (value == nullptr)
        return -1;
    out.fromString(value);
    return 0;
}

int configb::in(char const* key, ConfigEntryT& out) const
{
    const ConfigEntryT* const entry = key != nullptr ? find_var(key) : nullptr;
    if (entry == nullptr)
        return -1;
    out = *entry;
    return 0;
}

void configb::set_dirty(bool dirty)
{
    dirty_ = dirty;
    if (owner_ != nullptr && dirty)
        owner_->setDirty(dirty);
}

int configb::caseInsensitiveCompare(char const* a, char const* b) noexcept
{
    return Mw::CText::compareNoCase(a, b);
}

void configb::setDebug(bool on) noexcept
{
    debugIsOn.store(on, std::memory_order_relaxed);
}
