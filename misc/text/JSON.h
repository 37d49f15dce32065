#pragma once

#include "misc/base/MemHolder.h"
#include "misc/text/JsonBuilder.h"
#include "misc/text/JsonElement.h"
#include "misc/text/JsonParser.h"

// JSON: reading (JSON::parse, JSON::Parser), the tree (JSON::Element) and writing (JSON::Builder).
//
//     const Mw::Ptr<JSON::Element> project = JSON::parseFile(path);
//     const double rate = project ? project->getNum(L"rate", 25) : 25;
namespace JSON
{

// The tree of a document, null when nothing was parsed. What follows a complete document is ignored. With `failure`
// that tells where and why reading stopped, and has no reason where all was read. Any thread.
MISC_API Mw::Ptr<Element> parse(const LightweightString<char>& text);
MISC_API Mw::Ptr<Element> parse(const LightweightString<char>& text, Failure& failure);
MISC_API Mw::Ptr<Element> parse(const LightweightString<wchar_t>& text);
MISC_API Mw::Ptr<Element> parse(const Mw::Ptr<iMemHolder>& text);

// Of a whole file; null if it can't be read.
MISC_API Mw::Ptr<Element> parseFile(const LightweightString<wchar_t>& path);
MISC_API Mw::Ptr<Element> parseFile(const LightweightString<wchar_t>& path, Failure& failure);

} // namespace JSON
