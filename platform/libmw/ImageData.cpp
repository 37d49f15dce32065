#include "libmw/ImageData.h"

Mw::Image::Core::Data::Data() = default;
Mw::Image::Video::Data::Data() = default;
Mw::Image::VideoSequence::Data::Data() = default;
