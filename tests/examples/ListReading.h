#pragma once

#include "examples/editsession/EditListReader.h"
#include "examples/editsession/InputFile.h"

#include <gtest/gtest.h>

#include <string>

// A list as it was read, with what was refused of it: "LINE: reason" and a new line for each.
struct Reading
{
    EditList list;
    std::string refused;
};

inline Reading readList(std::string_view text, Mw::FrameRate rate = Mw::FR25, FrameCount count = FrameCount::AsWritten)
{
    Reading reading;
    const auto refuse = [&](int line, const Text& reason)
    { reading.refused += std::to_string(line) + ": " + reason.c_str() + "\n"; };
    reading.list = EditListReader(rate, count, refuse).read(text);
    return reading;
}

inline std::string shippedList(const char* name)
{
    std::string text;
    EXPECT_EQ(readInputFile(Text(EDIT_LISTS) + name, 1u << 20, text), "");
    return text;
}
