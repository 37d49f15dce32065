#pragma once

#include "OS/Export.h"

#include <cstdint>

// The values that describe an image, a video image and a sequence of them. Formats combine them as
// bases. A new one describes nothing: all fields are 0.

namespace Mw::Image
{

enum class ScanMode : std::int32_t
{
    Unknown = 0,
    InterlacedUpperFirst = 1, // the field order of PAL
    InterlacedLowerFirst = 2, // the field order of NTSC
    Progressive = 3,
    SegmentedFrame = 4
};

enum class AspectRatio : std::int32_t
{
    Unknown = 0,
    FourByThree = 1,
    SixteenByNine = 2,
    FilmFullFrame = 4,
    FilmAcademy = 5,
    FilmDci185 = 7,
    FilmDci239 = 8
};

} // namespace Mw::Image

namespace Mw::Image::Core
{

struct LIBMW_API Data
{
    Data();

    int width_ = 0;  // pixels
    int height_ = 0; // pixels
    int dataFormat_ = 0;
    int bitsPerComponent_ = 0;
    int bitsPerPixel_ = 0;
};

} // namespace Mw::Image::Core

namespace Mw::Image::Video
{

struct LIBMW_API Data
{
    Data();

    ScanMode scanMode_ = ScanMode::Unknown;
    AspectRatio aspectRatio_ = AspectRatio::Unknown;
    int videoFormatUID_ = 0;
};

} // namespace Mw::Image::Video

namespace Mw::Image::VideoSequence
{

struct LIBMW_API Data
{
    Data();

    int frameRate_ = 0; // a value of Mw::FrameRate
};

} // namespace Mw::Image::VideoSequence
