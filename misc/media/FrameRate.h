#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <cstdint>
#include <vector>

// Every frame rate that the system knows, and what follows from each: its texts, its frames a second,
// the sets that it belongs to. A rate is stored and compared as its enumerator, never as a number of
// frames, since 24 and 24/1.001 frames a second are different rates, and so are a rate and another that
// shows the same text. Any thread; nothing here keeps state.

namespace Mw
{

// M: divided by 1.001. D2, D3: every second or third frame of the rate before it. F: film.
enum FrameRate : std::int32_t
{
    FRInvalid = 0,
    FR24 = 1,
    FR24M,
    FR25,
    FR30,
    FR30M,
    FR48,
    FR48M,
    FR50,
    FR60,
    FR60M,
    FR24D2 = 11,
    FR24MD2,
    FR25D2,
    FR30D2,
    FR30MD2,
    FR48D2,
    FR48MD2,
    FR50D2,
    FR60D2,
    FR60MD2,
    FR24D3 = 21,
    FR24MD3,
    FR25D3,
    FR30D3,
    FR30MD3,
    FR48D3,
    FR48MD3,
    FR50D3,
    FR60D3,
    FR60MD3,
    FR24F = 31,
    FR25F,
    FR30F,
    FR48F,
    FR12 = 35,
    FR12M,
    FR12_5,
    FR15,
    FR15M,
    FR20,
    FR80,
    FR90,
    FR100,
    FR120,
    FR120M,
    FR240,
    FR240M = 47
};

namespace FrameRateGroups
{
enum FrameRateGroup : std::int32_t
{
    Normal = 1,
    Decimated,
    DecimatedBy2,
    DecimatedBy3,
    Film,
    Others
};
} // namespace FrameRateGroups

// A run of enumerators, both ends included; two times FRInvalid for none.
struct FrameRateExtents
{
    FrameRate first;
    FrameRate last;
};

// The text that people read, such as "23.98 fps"; empty for film rates and for what is no rate. Several
// rates share a text.
MISC_API LightweightString<wchar_t> getDisplayString(FrameRate rate);

// The first rate with exactly that display text. None: asserts and gives FRInvalid.
MISC_API FrameRate getFrameRateFromDisplayString(const LightweightString<wchar_t>& text);

// The text that is stored, such as "24M", one for each rate. What is no rate is stored as "24", with an
// assertion.
MISC_API LightweightString<char> getPersistableString(FrameRate rate);

// The rate with exactly that stored text, or FRInvalid.
MISC_API FrameRate getFrameRateFromPersistableString(const LightweightString<char>& text);

// The whole frames that timecode counts in a second: 24 for FR24M. FR12_5 asserts and gives 15; a rate
// without ticks (decimated, film, none) asserts and gives 0.
MISC_API std::uint8_t getTicksPerSecond(FrameRate rate);

// The true frames per second; 0.0 for a rate without ticks that is no decimation. Decimated rates are
// fractions of the whole ticks: FR24MD2 is exactly 12.
MISC_API double getFramesPerSecond(FrameRate rate);

// Seconds from the ticks of the rate itself; 0.0 where it has none, decimated rates included.
MISC_API double getFrameDuration(FrameRate rate);
MISC_API double getCelResolution(FrameRate rate);

// The rate that a decimated one leaves frames out of; any other rate itself.
MISC_API FrameRate getNonDecimatedFrameRate(FrameRate rate);

// True for the rates divided by 1.001 that are no decimations. They alone can use drop-frame timecode.
MISC_API bool has1001Factor(FrameRate rate);
MISC_API bool canUseDropFrameTimeCode(FrameRate rate);

MISC_API bool isAssociatedWith30FrameLabel(FrameRate rate);
MISC_API bool isInNTSCSet(FrameRate rate);
MISC_API bool isInPALSet(FrameRate rate);

// The rate of a project that material of this rate goes into: FR24 where nothing fits better.
MISC_API FrameRate getEquivalentProjectFrameRate(FrameRate rate);

// The rates of a group. A value that is no group asserts and has none.
MISC_API FrameRateExtents getFrameRateGroupExtents(FrameRateGroups::FrameRateGroup group);
MISC_API bool isInFrameRateGroup(FrameRate rate, FrameRateGroups::FrameRateGroup group);

// These append to `rates`, in ascending order.
MISC_API void getFrameRates(FrameRateGroups::FrameRateGroup group, std::vector<FrameRate>& rates);
MISC_API void getAllFrameRates(std::vector<FrameRate>& rates);
// Nothing for a rate that isn't in the group Normal.
MISC_API void getDecimatedFrameRatesFor(FrameRate rate, std::vector<FrameRate>& rates);

// The six rates that a project can have, in ascending order.
MISC_API std::vector<FrameRate> getProjectFrameRates();

// How many frames of the second rate go with one frame of the first in editing: a fixed table, which isn't
// always the quotient of the two.
MISC_API double getEditResolutionFrameGearing(FrameRate first, FrameRate second);

} // namespace Mw

// Older names of Mw::getFramesPerSecond.
MISC_API double playback_fps(Mw::FrameRate rate);
MISC_API double vid_fps(Mw::FrameRate rate);
