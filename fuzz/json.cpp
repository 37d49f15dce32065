#include "misc/text/JSON.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Ptr = Mw::Ptr<JSON::Element>;

// Writes the tree level by level, without recursion: documents may be deep.
std::string textOf(const Ptr& root)
{
    JSON::Builder builder;
    builder.startChild(nullptr);
    std::vector<std::pair<Ptr, unsigned>> open;
    const auto enter = [&](const Ptr& element)
    {
        for (unsigned i = 0; i < element->getNumStringAttribs(); ++i)
            builder.add(element->getStringAttribName(i).c_str(), element->getString(i));
        for (unsigned i = 0; i < element->getNumNumericAttribs(); ++i)
            builder.add(element->getNumericAttribName(i).c_str(), element->getNum(i));
        for (unsigned i = 0; i < element->getNumBoolAttribs(); ++i)
            builder.add(element->getBoolAttribName(i).c_str(), element->getBool(i));
        open.emplace_back(element, 0);
    };
    enter(root);
    while (!open.empty())
    {
        auto& [element, next] = open.back();
        if (next == element->getNumChildren())
        {
            builder.endChild();
            open.pop_back();
            continue;
        }
        const unsigned child = next++;
        builder.startChild(element->getChildName(child).c_str());
        enter(element->getChild(child));
    }
    TextFile file;
    builder.printTo(file, 1);
    std::string text;
    for (unsigned i = 0; i < file.numLines(); ++i)
        text.append(file[i]).append("\n");
    return text;
}

} // namespace

// Any bytes give a tree or none, and a reason where reading stopped; a tree that was read and written reads back and
// is written as the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    const std::unique_ptr<char[]> text(new char[sizeBytes]);
    std::copy(data, data + sizeBytes, text.get());
    const JSON::Parser parser(text.get(), static_cast<unsigned>(sizeBytes));
    const JSON::Failure failure = parser.failure();
    if (failure.reason.empty() != (!parser.failed() && parser.result()))
        std::abort();
    if (!parser.result())
        return 0;
    const std::string written = textOf(parser.result());
    JSON::Failure none;
    const Ptr again = JSON::parse(std::string_view(written), none);
    if (!again || !none.reason.empty() || textOf(again) != written)
        std::abort();
    return 0;
}
