// Any bytes are a list that can be read and printed, at a rate with drop frame and at one without.

#include "examples/editsession/EditListPrinter.h"
#include "examples/editsession/EditListReader.h"

// Examples have no library to link.
#include "examples/editsession/EditList.cpp"
#include "examples/editsession/EditListPrinter.cpp"
#include "examples/editsession/EditListReader.cpp"
#include "examples/editsession/Text.cpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const Mw::FrameRate rate : {Mw::FR25, Mw::FR60M})
    {
        const auto refuse = [](int, const Text& reason)
        {
            if (reason.empty())
                std::abort();
        };
        const EditList list = EditListReader(rate, FrameCount::AsWritten, refuse).read(text);
        for (const Event& event : list.events)
            if (event.edits.empty() || recordLength(event, event.edits.size(), rate) < 0)
                std::abort();
        EditListPrinter(list, FILM_35MM).print();
    }
    return 0;
}
