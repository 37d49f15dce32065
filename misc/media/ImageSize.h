#pragma once

#include "misc/media/OutputFormat.h"

#include <array>

// The sizes at which pictures are shown: tiles, which have the same height, and viewers, which have the same width.

namespace Mw::ImageSize
{

enum Preset : std::int32_t
{
    ISPSmallThumb, // tiles
    ISPLargeThumb,
    ISPHugeThumb,
    ISPSmall, // viewers
    ISPMedium,
    ISPLarge,
    ISPUnscaled,
    ISPInvalid
};

// The text that is stored: the enumerator's name, "ISPInvalid" for what is none.
MISC_API LightweightString<char> getPersistableString(Preset preset);

// The preset with exactly that text, or ISPInvalid.
MISC_API Preset getPresetFromPersistableString(const LightweightString<char>& text);

// In pixels.
struct Size
{
    int width = 0;
    int height = 0;

    bool operator==(const Size&) const = default;
};

// The extents of the presets. A value; any thread.
class MISC_API Presets
{
public:
    // As the settings of the machine have them, each brought between 16 and 8192.
    Presets();

    // The size of a picture of the format. A tile's height and a viewer's width are the preset's, and the other
    // extent is what keeps the shape of the picture as it is seen: that of its aspect ratio if this is 4:3 or 16:9,
    // else that of its pixels. Unscaled is the format's own size. The invalid preset has no size, and a format
    // without pixels is seen as 16:9.
    Size sizeOf(Preset preset, const OutputFormat::Details& format) const;

private:
    std::array<int, ISPUnscaled> extents_;
};

} // namespace Mw::ImageSize
