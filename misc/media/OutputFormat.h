#pragma once

#include "Mw/LightweightString.h"
#include "libmw/ImageData.h"
#include "misc/media/FrameRate.h"

#include <cstdint>
#include <vector>

// The catalogue of the video formats that a project can put out, and the rule which of them a project's rate
// permits. Any thread.
class MISC_API OutputFormat
{
public:
    enum Type : std::int32_t
    {
        Pal = 1,
        Ntsc,
        SevenTwentyP,
        TenEightyI,
        TenEightyP,
        TenEightyPsf,
        TwoKFull,
        TwoKAcademy,
        TwoKDci239,
        TwoKDci185,
        UltraHD,
        FourKFull, // the four of 4k have no supported format
        FourKAcademy,
        FourKDci239,
        FourKDci185
    };

    class Details;

    // PAL and NTSC.
    static bool isSD(Type type) noexcept;

    // The text that people read, such as "1080p (sf)"; empty for what is no type.
    static LightweightString<wchar_t> getDisplayString(Type type);

    // The catalogue. An index outside of it asserts and gives the first.
    static unsigned getNumFormats() noexcept;
    static const Details* getSupportedFormats();
    static const Details& getFormat(unsigned index);

    // Whether a project of a rate may put out another rate, in a format of the type or, without one, in a format
    // that has no rule of its own. A rate that is none of a project's permits all.
    static bool isOutputRateAllowedForProjectFrameRate(Type type, Mw::FrameRate output, Mw::FrameRate project) noexcept;
    static bool isOutputRateAllowedForProjectFrameRate(Mw::FrameRate output, Mw::FrameRate project) noexcept;
    static bool isOutputFormatAllowedForProjectFrameRate(const Details& format, Mw::FrameRate project) noexcept;

    // Makes `indices` those of the catalogue's formats that are permitted, in ascending order.
    static void getAllowedOutputFormatsForProjectFrameRate(Mw::FrameRate project, std::vector<unsigned>& indices);

    // Makes the first permitted format the current project's output format, with notification, if the project's rate
    // doesn't permit the one that it has. Stands above this module, with Mw::CurrentProject.
    static void validateProjectSettings();
};

// One video format: what an image is, how it is scanned, and how many there are in a second. A value; what is
// stored of it is the persistable string of docs/formats.md.
class MISC_API OutputFormat::Details : public Mw::Image::Core::Data,
                                       public Mw::Image::Video::Data,
                                       public Mw::Image::VideoSequence::Data
{
public:
    // Invalid.
    Details() = default;

    Details(const Type& type, const LightweightString<wchar_t>& qualifier, int width, int height, int bitsPerComponent,
            Mw::Image::AspectRatio aspectRatio, Mw::FrameRate frameRate, Mw::Image::ScanMode scanMode,
            int videoFormatUID);
    explicit Details(const LightweightString<char>& persisted);

    void invalidate();

    // Whether the type is one of the fifteen.
    bool valid() const noexcept;

    // By the scan mode. Asserts where that doesn't go with the type.
    bool isInterlaced() const;

    Mw::FrameRate frameRate() const noexcept { return static_cast<Mw::FrameRate>(frameRate_); }

    // Type and qualifier with a blank between them, such as "1080i 25fps".
    LightweightString<wchar_t> getDisplayString() const;

    // At most 79 bytes: a qualifier that is longer is cut between two characters.
    LightweightString<char> getPersistableString() const;

    // Takes what a persistable string says, or becomes invalid if it is none.
    void fromPersistableString(const LightweightString<char>& persisted);

    // Sets the UID that formats of the type have; what is no type gets 0, and a line in the log.
    void setUIDfromOutputFormatType();

    // Compares all that the format says.
    bool operator==(const Details& other) const;

    Type type_{};
    LightweightString<wchar_t> qualifier_; // what tells formats of a type apart, such as "4:3" or "25fps"
    bool isVideoDataSet_ = false;
};
