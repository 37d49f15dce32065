#include "misc/media/OutputFormat.h"

#include "Mw/Assert.h"
#include "OS/Immortal.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string_view>
#include <tuple>

namespace
{

using Mw::Image::AspectRatio;
using Mw::Image::ScanMode;
using enum Mw::Image::AspectRatio;

struct TypeFacts
{
    const wchar_t* display;
    int videoFormatUID;
};

// By type, from 1 on.
constexpr TypeFacts typeFacts[] = {{L"PAL", 3},
                                   {L"NTSC", 15},
                                   {L"720p", 27},
                                   {L"1080i", 28},
                                   {L"1080p", 28},
                                   {L"1080p (sf)", 28},
                                   {L"2k full frame", 110},
                                   {L"2k Academy", 111},
                                   {L"2k DCI 2.39:1", 112},
                                   {L"2k DCI 1.85:1", 113},
                                   {L"UltraHD", 73},
                                   {L"4k full frame", 120},
                                   {L"4k Academy", 121},
                                   {L"4k DCI 2.39:1", 122},
                                   {L"4k DCI 1.85:1", 123}};

const TypeFacts* factsOf(OutputFormat::Type type)
{
    return type >= 1 && type <= static_cast<int>(std::size(typeFacts)) ? &typeFacts[type - 1] : nullptr;
}

constexpr int bitsPerComponent = 8;

struct Row
{
    OutputFormat::Type type;
    const wchar_t* qualifier;
    int width;
    int height;
    AspectRatio aspectRatio;
    Mw::FrameRate rate;
    ScanMode scanMode;
};

using F = OutputFormat;

constexpr Row rows[] = {
    {F::Pal, L"4:3", 720, 576, FourByThree, Mw::FR25, ScanMode::InterlacedUpperFirst},
    {F::Pal, L"16:9", 720, 576, SixteenByNine, Mw::FR25, ScanMode::InterlacedUpperFirst},
    {F::Ntsc, L"4:3", 720, 486, FourByThree, Mw::FR30M, ScanMode::InterlacedLowerFirst},
    {F::Ntsc, L"16:9", 720, 486, SixteenByNine, Mw::FR30M, ScanMode::InterlacedLowerFirst},
    {F::SevenTwentyP, L"23.98fps", 1280, 720, SixteenByNine, Mw::FR24M, ScanMode::Progressive},
    {F::SevenTwentyP, L"24fps", 1280, 720, SixteenByNine, Mw::FR24, ScanMode::Progressive},
    {F::SevenTwentyP, L"25fps", 1280, 720, SixteenByNine, Mw::FR25, ScanMode::Progressive},
    {F::SevenTwentyP, L"50fps", 1280, 720, SixteenByNine, Mw::FR50, ScanMode::Progressive},
    {F::SevenTwentyP, L"59.94fps", 1280, 720, SixteenByNine, Mw::FR60M, ScanMode::Progressive},
    {F::SevenTwentyP, L"60.0fps", 1280, 720, SixteenByNine, Mw::FR60, ScanMode::Progressive},
    {F::SevenTwentyP, L"29.97fps", 1280, 720, SixteenByNine, Mw::FR30M, ScanMode::Progressive},
    {F::SevenTwentyP, L"30.0fps", 1280, 720, SixteenByNine, Mw::FR30, ScanMode::Progressive},
    {F::TenEightyI, L"25fps", 1920, 1080, SixteenByNine, Mw::FR25, ScanMode::InterlacedUpperFirst},
    {F::TenEightyI, L"29.97fps", 1920, 1080, SixteenByNine, Mw::FR30M, ScanMode::InterlacedUpperFirst},
    {F::TenEightyI, L"30fps", 1920, 1080, SixteenByNine, Mw::FR30, ScanMode::InterlacedUpperFirst},
    {F::TenEightyPsf, L"23.98fps", 1920, 1080, SixteenByNine, Mw::FR24M, ScanMode::SegmentedFrame},
    {F::TenEightyPsf, L"24fps", 1920, 1080, SixteenByNine, Mw::FR24, ScanMode::SegmentedFrame},
    {F::TenEightyPsf, L"25fps", 1920, 1080, SixteenByNine, Mw::FR25, ScanMode::SegmentedFrame},
    {F::TenEightyPsf, L"29.97fps", 1920, 1080, SixteenByNine, Mw::FR30M, ScanMode::SegmentedFrame},
    {F::TenEightyPsf, L"30fps", 1920, 1080, SixteenByNine, Mw::FR30, ScanMode::SegmentedFrame},
    {F::TenEightyPsf, L"48fps", 1920, 1080, SixteenByNine, Mw::FR48, ScanMode::SegmentedFrame},
    {F::TenEightyP, L"50fps", 1920, 1080, SixteenByNine, Mw::FR50, ScanMode::Progressive},
    {F::TenEightyP, L"59.94fps", 1920, 1080, SixteenByNine, Mw::FR60M, ScanMode::Progressive},
    {F::TwoKFull, L"24fps", 2048, 1536, FilmFullFrame, Mw::FR24, ScanMode::SegmentedFrame},
    {F::TwoKAcademy, L"24fps", 1828, 1332, FilmAcademy, Mw::FR24, ScanMode::SegmentedFrame},
    {F::TwoKDci239, L"24fps", 2048, 858, FilmDci239, Mw::FR24, ScanMode::SegmentedFrame},
    {F::TwoKDci185, L"24fps", 1998, 1080, FilmDci185, Mw::FR24, ScanMode::SegmentedFrame},
    {F::UltraHD, L"23.98fps", 3840, 2160, SixteenByNine, Mw::FR24M, ScanMode::SegmentedFrame},
    {F::UltraHD, L"24fps", 3840, 2160, SixteenByNine, Mw::FR24, ScanMode::SegmentedFrame},
    {F::UltraHD, L"25fps", 3840, 2160, SixteenByNine, Mw::FR25, ScanMode::SegmentedFrame},
    {F::UltraHD, L"29.97fps", 3840, 2160, SixteenByNine, Mw::FR30M, ScanMode::SegmentedFrame},
};

class Catalogue
{
public:
    Catalogue()
    {
        for (std::size_t i = 0; i < std::size(rows); ++i)
        {
            const Row& row = rows[i];
            formats[i] = F::Details(row.type, row.qualifier, row.width, row.height, bitsPerComponent, row.aspectRatio,
                                    row.rate, row.scanMode, factsOf(row.type)->videoFormatUID);
        }
    }

    std::array<F::Details, std::size(rows)> formats;
};

// The bits of some rates below 32.
template <class... Rates>
constexpr unsigned setOf(Rates... rates)
{
    return ((1u << rates) | ...);
}

// The output rates that a project's rate permits, whatever the type; nothing if it permits all.
std::optional<unsigned> permittedRates(Mw::FrameRate project)
{
    switch (project)
    {
    case Mw::FR24:
        return setOf(Mw::FR24, Mw::FR24M, Mw::FR25, Mw::FR30, Mw::FR30M, Mw::FR50, Mw::FR60, Mw::FR60M);
    case Mw::FR25:
    case Mw::FR50:
        return setOf(Mw::FR25, Mw::FR50);
    case Mw::FR30:
        return setOf(Mw::FR30, Mw::FR30M, Mw::FR60, Mw::FR60M);
    // FR30 is missed out, and meant to be.
    case Mw::FR60:
        return setOf(Mw::FR30M, Mw::FR60, Mw::FR60M);
    default:
        return std::nullopt;
    }
}

// Projects at 48 can't put out 25 or 30 in frames that are shown whole.
bool isRefusedAt48(F::Type type, Mw::FrameRate output)
{
    const bool isWhole = type == F::SevenTwentyP || type == F::TenEightyP || type == F::TenEightyPsf;
    return isWhole && (output == Mw::FR25 || output == Mw::FR30 || output == Mw::FR30M);
}

bool isInsideCharacter(char utf8)
{
    return (static_cast<unsigned char>(utf8) & 0xC0) == 0x80;
}

// Reads the fields of a persistable string, one after the other.
class Fields
{
public:
    explicit Fields(std::string_view text) : rest_(text) {}

    // White space and a sign may stand before a number.
    bool readNumber(int& number)
    {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\n\v\f\r"), rest_.size()));
        const bool isPlus = rest_.starts_with('+') && !rest_.starts_with("+-");
        const char* const end = rest_.data() + rest_.size();
        const auto [behind, fault] = std::from_chars(rest_.data() + (isPlus ? 1 : 0), end, number);
        if (fault != std::errc())
            return false;
        rest_ = std::string_view(behind, static_cast<std::size_t>(end - behind));
        return true;
    }

    bool skipBar()
    {
        const bool isBar = rest_.starts_with('|');
        rest_.remove_prefix(isBar ? 1 : 0);
        return isBar;
    }

    std::string_view readText()
    {
        const std::string_view text = rest_.substr(0, rest_.find('|'));
        rest_.remove_prefix(text.size());
        return text;
    }

private:
    std::string_view rest_;
};

} // namespace

bool OutputFormat::isSD(Type type) noexcept
{
    return type == Pal || type == Ntsc;
}

LightweightString<wchar_t> OutputFormat::getDisplayString(Type type)
{
    const TypeFacts* const facts = factsOf(type);
    return facts != nullptr ? facts->display : L"";
}

unsigned OutputFormat::getNumFormats() noexcept
{
    return static_cast<unsigned>(std::size(rows));
}

const OutputFormat::Details* OutputFormat::getSupportedFormats()
{
    return immortal<Catalogue>().formats.data();
}

const OutputFormat::Details& OutputFormat::getFormat(unsigned index)
{
    if (index < getNumFormats())
        return getSupportedFormats()[index];
    MW_ASSERT(false);
    return getSupportedFormats()[0];
}

bool OutputFormat::isOutputRateAllowedForProjectFrameRate(Type type, Mw::FrameRate output,
                                                          Mw::FrameRate project) noexcept
{
    if (project == Mw::FR48 || project == Mw::FR48M)
        return !isRefusedAt48(type, output);
    const std::optional<unsigned> permitted = permittedRates(project);
    return !permitted || (output >= 0 && output < 32 && (*permitted >> output & 1) != 0);
}

bool OutputFormat::isOutputRateAllowedForProjectFrameRate(Mw::FrameRate output, Mw::FrameRate project) noexcept
{
    return isOutputRateAllowedForProjectFrameRate(Type(), output, project);
}

bool OutputFormat::isOutputFormatAllowedForProjectFrameRate(const Details& format, Mw::FrameRate project) noexcept
{
    return isOutputRateAllowedForProjectFrameRate(format.type_, format.frameRate(), project);
}

void OutputFormat::getAllowedOutputFormatsForProjectFrameRate(Mw::FrameRate project, std::vector<unsigned>& indices)
{
    indices.clear();
    for (unsigned i = 0; i < getNumFormats(); ++i)
        if (isOutputFormatAllowedForProjectFrameRate(getFormat(i), project))
            indices.push_back(i);
}

OutputFormat::Details::Details(const Type& type, const LightweightString<wchar_t>& qualifier, int width, int height,
                               int bitsPerComponent, Mw::Image::AspectRatio aspectRatio, Mw::FrameRate frameRate,
                               Mw::Image::ScanMode scanMode, int videoFormatUID)
    : type_(type), qualifier_(qualifier), isVideoDataSet_(true)
{
    width_ = width;
    height_ = height;
    bitsPerComponent_ = bitsPerComponent;
    aspectRatio_ = aspectRatio;
    frameRate_ = frameRate;
    scanMode_ = scanMode;
    videoFormatUID_ = videoFormatUID;
}

OutputFormat::Details::Details(const LightweightString<char>& persisted)
{
    fromPersistableString(persisted);
}

void OutputFormat::Details::invalidate()
{
    *this = Details();
}

bool OutputFormat::Details::valid() const noexcept
{
    return factsOf(type_) != nullptr;
}

bool OutputFormat::Details::isInterlaced() const
{
    const bool isInterlaced =
        scanMode_ == ScanMode::InterlacedUpperFirst || scanMode_ == ScanMode::InterlacedLowerFirst;
    if (isInterlaced)
        MW_ASSERT(type_ == Pal || type_ == Ntsc || type_ == TenEightyI);
    else if (scanMode_ == ScanMode::Progressive)
        MW_ASSERT(type_ != Pal && type_ != Ntsc && type_ != TenEightyI);
    return isInterlaced;
}

LightweightString<wchar_t> OutputFormat::Details::getDisplayString() const
{
    const LightweightString<wchar_t> type = OutputFormat::getDisplayString(type_);
    return type.empty() || qualifier_.empty() ? type + qualifier_ : type + L" " + qualifier_;
}

LightweightString<char> OutputFormat::Details::getPersistableString() const
{
    char buffer[80];
    const LightweightString<char> utf8 = toUTF8(qualifier_);
    const std::string_view qualifier = utf8.c_str();
    const int length = std::snprintf(buffer, sizeof buffer, "%d|%d|%d|%d|%d|%d|%d|%d|%s", static_cast<int>(type_), 0,
                                     width_, height_, bitsPerComponent_, static_cast<int>(aspectRatio_), frameRate_,
                                     static_cast<int>(scanMode_), qualifier.data());
    std::string_view text(buffer);
    // What didn't fit is the end of the qualifier, whose first missing byte may be the inside of a character.
    if (const auto missing = static_cast<std::size_t>(length) - text.size();
        missing != 0 && missing <= qualifier.size())
        for (std::size_t kept = qualifier.size() - missing; isInsideCharacter(qualifier[kept]) && kept != 0; --kept)
            text.remove_suffix(1);
    return text;
}

void OutputFormat::Details::fromPersistableString(const LightweightString<char>& persisted)
{
    invalidate();
    Fields fields(persisted);
    int numbers[8];
    for (int& number : numbers)
        if ((&number != numbers && !fields.skipBar()) || !fields.readNumber(number))
            return;
    const auto& [firstType, unused, width, height, bits, aspectRatio, rate, scanMode] = numbers;
    int type = firstType;
    if (fields.skipBar())
    {
        const std::string_view qualifier = fields.readText();
        qualifier_ = fromUTF8(qualifier.data(), static_cast<int>(qualifier.size()));
        if (int lastType; fields.skipBar() && fields.readNumber(lastType))
            type = lastType;
    }
    *this = Details(static_cast<Type>(type), qualifier_, width, height, bits, static_cast<AspectRatio>(aspectRatio),
                    static_cast<Mw::FrameRate>(rate), static_cast<ScanMode>(scanMode), 0);
    setUIDfromOutputFormatType();
}

void OutputFormat::Details::setUIDfromOutputFormatType()
{
    const TypeFacts* const facts = factsOf(type_);
    if (facts == nullptr)
        Log("Invalid output format type (%d)\n", static_cast<int>(type_));
    videoFormatUID_ = facts != nullptr ? facts->videoFormatUID : 0;
}

bool OutputFormat::Details::operator==(const Details& other) const
{
    const auto said = [](const Details& d)
    {
        return std::tie(d.type_, d.width_, d.height_, d.dataFormat_, d.bitsPerComponent_, d.bitsPerPixel_, d.scanMode_,
                        d.aspectRatio_, d.videoFormatUID_, d.frameRate_, d.qualifier_);
    };
    return said(*this) == said(other);
}
