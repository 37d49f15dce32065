#include "misc/media/ImageSize.h"

#include "misc/settings/config.h"

#include <algorithm>
#include <iterator>

namespace Mw::ImageSize
{

namespace
{

constexpr const char* persistableStrings[] = {"ISPSmallThumb", "ISPLargeThumb", "ISPHugeThumb", "ISPSmall",
                                              "ISPMedium",     "ISPLarge",      "ISPUnscaled",  "ISPInvalid"};

struct Setting
{
    const char* name;
    int defaultPixels;
};

// By preset.
constexpr Setting settings[] = {{"small_tile_height", 72},   {"large_tile_height", 108},   {"huge_tile_height", 162},
                                {"small_viewer_width", 320}, {"medium_viewer_width", 480}, {"large_viewer_width", 720}};

constexpr int smallestExtent = 16;
constexpr int largestExtent = 8192;

bool isTile(Preset preset)
{
    return preset <= ISPHugeThumb;
}

// Width and height of which only the ratio counts.
Size shapeOf(const OutputFormat::Details& format)
{
    using enum Image::AspectRatio;
    if (format.aspectRatio_ == FourByThree)
        return {4, 3};
    if (format.aspectRatio_ == SixteenByNine || format.width_ <= 0 || format.height_ <= 0)
        return {16, 9};
    return {format.width_, format.height_};
}

// To the nearest. A format may claim any shape, so the result has a bound.
int scaled(int extent, int numerator, int denominator)
{
    const std::int64_t pixels = (std::int64_t{extent} * numerator + denominator / 2) / denominator;
    return static_cast<int>(std::clamp<std::int64_t>(pixels, 1, 16 * largestExtent));
}

} // namespace

LightweightString<char> getPersistableString(Preset preset)
{
    const bool isPreset = preset >= ISPSmallThumb && preset < ISPInvalid;
    return persistableStrings[isPreset ? preset : ISPInvalid];
}

Preset getPresetFromPersistableString(const LightweightString<char>& text)
{
    const auto found = std::find(std::begin(persistableStrings), std::prev(std::end(persistableStrings)), text);
    return static_cast<Preset>(found - std::begin(persistableStrings));
}

Presets::Presets()
{
    std::transform(
        std::begin(settings), std::end(settings), extents_.begin(),
        [](const Setting& setting)
        { return std::clamp(config_int(setting.name, setting.defaultPixels), smallestExtent, largestExtent); });
}

Size Presets::sizeOf(Preset preset, const OutputFormat::Details& format) const
{
    if (preset == ISPUnscaled)
        return {std::max(format.width_, 0), std::max(format.height_, 0)};
    if (preset < ISPSmallThumb || preset > ISPUnscaled)
        return {};
    const int extent = extents_[static_cast<std::size_t>(preset)];
    const Size shape = shapeOf(format);
    return isTile(preset) ? Size{scaled(extent, shape.width, shape.height), extent}
                          : Size{extent, scaled(extent, shape.height, shape.width)};
}

} // namespace Mw::ImageSize
