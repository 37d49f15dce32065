#include "misc/commands/MappingManagerRegistryString.h"

#include "libmw/Text.h"
#include "misc/commands/KeyCode.h"
#include "misc/diagnostics/Console.h"
#include "misc/settings/RegistryConfig.h"

#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace
{

using Name = LightweightString<char>;

constexpr std::size_t numFields = 6;

// As "0x%04X".
void appendHex(std::string& text, int value)
{
    constexpr const char* digits = "0123456789ABCDEF";
    const auto bits = static_cast<unsigned>(value);
    char out[10] = {'0', 'x'};
    unsigned length = 2;
    for (int shift = 28; shift >= 0; shift -= 4)
        if (shift < 16 || (bits >> shift) != 0)
            out[length++] = digits[bits >> shift & 0xF];
    text.append(out, length);
}

bool isBlank(std::string_view text)
{
    return text.find_first_not_of(" \t\n\v\f\r") == text.npos;
}

bool isHex(std::string_view text)
{
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

// What follows a number is passed over, as a scan of it would; one beyond 32 bits is none.
std::optional<int> readHex(std::string_view text)
{
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), value, 16);
    return error == std::errc() ? std::optional(static_cast<int>(value)) : std::nullopt;
}

// A number, or a key in its short form.
std::optional<int> readCode(std::string_view text)
{
    if (isHex(text))
        return readHex(text);
    const int keycode = stringToKeycode(Name(text));
    return keycode != 0 ? std::optional(keycode) : std::nullopt;
}

// Whether the text has that many colons; what they close.
bool split(std::string_view text, std::array<std::string_view, numFields>& fields)
{
    for (std::string_view& field : fields)
    {
        const std::size_t end = text.find(':');
        if (end == text.npos)
            return false;
        field = text.substr(0, end);
        text.remove_prefix(end + 1);
    }
    return true;
}

} // namespace

bool MappingManagerRegistryString::areCommentsWanted()
{
    return GlobalConfig().getValue("Show Mapping Comments", false, "");
}

LightweightString<char> MappingManagerRegistryString::registryString(PartENUM part) const
{
    std::string text;
    if (part != upToClient && part != upToOutput)
        appendTo(text, part != upToKey && areCommentsWanted());
    else
    {
        text.append(internalName_).append(":");
        if (part == upToOutput)
            appendOutput(text);
    }
    return Name(std::string_view(text));
}

void MappingManagerRegistryString::appendTo(std::string& text, bool isCommentWanted) const
{
    text.append(internalName_).append(":");
    appendOutput(text);
    appendKey(text);
    if (isCommentWanted)
        appendComment(text);
}

void MappingManagerRegistryString::appendOutput(std::string& text) const
{
    if (isEssentiallyEmpty(outputString_))
        appendHex(text, outputValue_);
    else
        text.append("\"").append(outputString_).append("\"");
    text += ':';
}

void MappingManagerRegistryString::appendKey(std::string& text) const
{
    if (!isGesture())
    {
        appendHex(text, item_.mappedKeyCode());
        text += "::::";
        return;
    }
    text += ':';
    appendHex(text, item_.cke().heldKey);
    text += ':';
    appendHex(text, item_.cke().secondKey);
    text += item_.cke().press != 0 ? ":P:" : "::";
}

void MappingManagerRegistryString::appendComment(std::string& text) const
{
    const auto shown = [](int keycode) { return toUTF8(keycodeToString(keycode)); };
    text += "   ";
    text.append(isEssentiallyEmpty(outputString_) ? shown(outputValue_) : outputString_);
    text += " <- ";
    if (!isGesture())
    {
        text.append(shown(item_.mappedKeyCode()));
        return;
    }
    text.append("HOLD ").append(shown(item_.cke().heldKey));
    text.append(item_.cke().press != 0 ? " PRESS " : " TAP ").append(shown(item_.cke().secondKey));
}

bool MappingManagerRegistryString::registryString(const Name& text)
{
    std::array<std::string_view, numFields> fields;
    if (!split(text, fields))
    {
        herc_printf("regStr malformed!\n");
        return false;
    }
    const auto [client, output, key, heldKey, secondKey, press] = fields;
    internalName_ = client;
    outputValue_ = -1;
    outputString_.clear();
    if (output.starts_with('"'))
    {
        if (output.size() < 2 || !output.ends_with('"'))
            return false;
        outputString_ = output.substr(1, output.size() - 2);
    }
    else if (const std::optional<int> value = readCode(output))
        outputValue_ = *value;
    else
        return false;
    if (!isBlank(key))
    {
        const std::optional<int> keycode = readCode(key);
        // A slot's code means whatever gesture holds the slot in this run.
        if (!keycode || (*keycode & KeyCode::complexEvent) != 0)
            return false;
        item_ = MapItem(*keycode, false);
        return true;
    }
    const std::optional<int> held = readCode(heldKey);
    const std::optional<int> second = readCode(secondKey);
    if (!held || !second || (!press.empty() && press != "P"))
        return false;
    item_ = MapItem(ComplexKeyboardEvent{*held, *second, press.empty() ? 0 : 1}, false);
    return true;
}
