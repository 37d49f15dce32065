#pragma once

#include "libmw/Text.h"
#include "misc/text/JSON.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The reader's table once more, written to be looked through and not to be fast.

struct Model
{
    std::vector<std::pair<std::wstring, std::wstring>> texts;
    std::vector<std::pair<std::wstring, double>> numbers;
    std::vector<std::pair<std::wstring, bool>> bools;
    std::vector<std::wstring> childNames;
    std::vector<Model> children;

    bool operator==(const Model&) const = default;
};

inline std::wstring wideOf(const std::string& bytes)
{
    return std::wstring(std::wstring_view(fromUTF8(std::string_view(bytes))));
}

struct ModelReader
{
    explicit ModelReader(const std::string& text) : failed(text.empty())
    {
        Model root;
        std::vector<Model*> open{&root};
        std::optional<std::string> key;
        const auto name = [&] { return key ? wideOf(*std::exchange(key, {})) : L""; };
        const auto addMember = [&]
        {
            if (key)
                open.back()->texts.emplace_back(L"", name());
        };
        for (std::size_t i = 0; i < text.size() && !failed;)
        {
            const char c = text[i++];
            const auto spells = [&](const std::string& rest)
            {
                failed = text.compare(i, rest.size(), rest) != 0;
                i += rest.size();
                return !failed;
            };
            if (c == '"')
            {
                std::string bytes;
                for (; i < text.size() && text[i] != '"'; ++i)
                {
                    if (text[i] != '\\')
                        bytes += text[i];
                    else if (++i < text.size())
                    {
                        const auto escape = std::string("bfnrt").find(text[i]);
                        bytes += escape != std::string::npos ? "\b\f\n\r\t"[escape] : text[i];
                    }
                }
                ++i;
                if (key)
                {
                    const std::wstring of = name();
                    open.back()->texts.emplace_back(of, wideOf(bytes));
                }
                else
                    key = bytes;
            }
            else if (c == ':')
                failed = !key;
            else if (c == ',')
                addMember();
            else if (c == '{' || c == '[')
            {
                open.back()->childNames.push_back(name());
                open.push_back(&open.back()->children.emplace_back());
            }
            else if (c == '}' || c == ']')
            {
                addMember();
                open.pop_back();
                failed = open.empty();
            }
            else if (c == 't' && spells("rue"))
                open.back()->bools.emplace_back(name(), true);
            else if (c == 'f' && spells("alse"))
                open.back()->bools.emplace_back(name(), false);
            else if (c == 'n' && key && spells("ull"))
                open.back()->texts.emplace_back(name(), L"");
            else if (JSON::Parser::isNumericChar(c))
            {
                open.back()->numbers.emplace_back(name(), std::strtod(text.c_str() + i - 1, nullptr));
                while (i < text.size() && JSON::Parser::isNumericChar(text[i]))
                    ++i;
            }
            else if (c != ' ' && c != '\t' && c != '\n' && c != '\r')
                failed = true;
        }
        failed = failed || open.size() != 1;
        if (open.size() == 1 && !root.children.empty())
            result = std::move(root.children[0]);
    }

    bool failed;
    std::optional<Model> result;
};

// The model of a tree; nothing of null.
inline std::optional<Model> modelOf(const Mw::Ptr<JSON::Element>& element)
{
    if (!element)
        return {};
    Model model;
    for (unsigned i = 0; i < element->getNumStringAttribs(); ++i)
        model.texts.emplace_back(element->getStringAttribName(i), element->getString(i));
    for (unsigned i = 0; i < element->getNumNumericAttribs(); ++i)
        model.numbers.emplace_back(element->getNumericAttribName(i), element->getNum(i));
    for (unsigned i = 0; i < element->getNumBoolAttribs(); ++i)
        model.bools.emplace_back(element->getBoolAttribName(i), element->getBool(i));
    for (unsigned i = 0; i < element->getNumChildren(); ++i)
    {
        model.childNames.emplace_back(element->getChildName(i));
        model.children.push_back(*modelOf(element->getChild(i)));
    }
    return model;
}
