#pragma once

#include "misc/media/OutputFormat.h"

// How a project puts its pictures out. A value.
class PictureSettings
{
public:
    // Of an invalid format.
    PictureSettings() = default;

    // Not explicit: a format says it all.
    PictureSettings(const OutputFormat::Details& outputFormat) : outputFormat_(outputFormat) {}

    const OutputFormat::Details& outputFormat() const noexcept { return outputFormat_; }

    bool operator==(const PictureSettings&) const = default;

private:
    OutputFormat::Details outputFormat_;
};
