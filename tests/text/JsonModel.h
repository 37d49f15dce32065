#pragma once

#include "libmw/Text.h"
#include "misc/text/JSON.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// The reader's table once more, written to be looked through and not to be fast.

struct Model
{
    std::vector<std::pair<std::wstring, std::wstring>> texts;
    std::vector<std::pair<std::wstring, double>> numbers;
    std::vector<std::pair<std::wstring, bool>> bools;
    std::vector<std::pair<std::wstring, std::shared_ptr<Model>>> children;
};

inline std::wstring wideOf(const std::string& bytes)
{
    return std::wstring(std::wstring_view(fromUTF8(std::string_view(bytes))));
}

struct ModelReader
{
    explicit ModelReader(const std::string& text) : failed(text.empty())
    {
        std::vector<std::shared_ptr<Model>> open{std::make_shared<Model>()};
        const std::shared_ptr<Model> root = open[0];
        std::unique_ptr<std::string> key;
        const auto name = [&] { return key ? wideOf(*std::exchange(key, nullptr)) : L""; };
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
                    key = std::make_unique<std::string>(bytes);
            }
            else if (c == ':')
                failed = key == nullptr;
            else if (c == ',')
                addMember();
            else if (c == '{' || c == '[')
            {
                const auto child = std::make_shared<Model>();
                open.back()->children.emplace_back(name(), child);
                open.push_back(child);
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
        if (open.size() == 1 && !root->children.empty())
            result = root->children[0].second;
    }

    bool failed;
    std::shared_ptr<Model> result;
};

// Null is the same as null.
inline bool sameTree(const Mw::Ptr<JSON::Element>& element, const Model* model)
{
    if (!element || model == nullptr)
        return !element && model == nullptr;
    const auto same = [](const auto& list, unsigned size, auto equals)
    {
        for (unsigned i = 0; i < size && size == list.size(); ++i)
            if (!equals(i, list[i]))
                return false;
        return size == list.size();
    };
    const JSON::Element& e = *element;
    const auto is = [](const LightweightString<wchar_t>& text, const std::wstring& expected)
    { return std::wstring_view(text) == expected; };
    return same(model->texts, e.getNumStringAttribs(),
                [&](unsigned i, const auto& pair)
                { return is(e.getStringAttribName(i), pair.first) && is(e.getString(i), pair.second); }) &&
           same(model->numbers, e.getNumNumericAttribs(),
                [&](unsigned i, const auto& pair)
                { return is(e.getNumericAttribName(i), pair.first) && e.getNum(i) == pair.second; }) &&
           same(model->bools, e.getNumBoolAttribs(),
                [&](unsigned i, const auto& pair)
                { return is(e.getBoolAttribName(i), pair.first) && e.getBool(i) == pair.second; }) &&
           same(model->children, e.getNumChildren(),
                [&](unsigned i, const auto& pair)
                { return is(e.getChildName(i), pair.first) && sameTree(e.getChild(i), pair.second.get()); });
}
