#include "misc/identity/Cookie.h"

#include "Mw/Exception.h"
#include "libmw/Splat.h"
#include "libmw/Text.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

namespace
{

constexpr char uuidText[] = "01234567-89ab-cdef-0123-456789abcdef";
constexpr Mw::UUID uuid({0x01234567, 0x89abcdef, 0x01234567, 0x89abcdef});

std::string text(const Cookie& cookie, bool withSubType = true)
{
    return std::string(cookie.asString(withSubType).c_str());
}

Cookie read(const std::string& text, bool keepSubType = true)
{
    return Cookie(text.c_str(), keepSubType);
}

Cookie readWide(const std::string& text, bool keepSubType = true)
{
    return Cookie(LightweightString<wchar_t>(std::wstring(text.begin(), text.end())), keepSubType);
}

std::string uuidForm(const std::string& head)
{
    return head + uuidText;
}

} // namespace

// Constants are there before any constructor runs.
static_assert(video_black.number() == 1 && video_black.machine() == 647 && !invalid_cookie.valid());

TEST(Cookie, constructorRefusesPartsOutOfRange)
{
    const Cookie good[] = {{'V', 1679615, 0, 2703}, {'V', 1, 36, 1}, {'S', 1, 35, 1}, {'S', 1, 255, 1}, {'V', 1, 0, 0}};
    const Cookie bad[] = {{'V', 1679616, 0, 1}, {'V', -1, 0, 1}, {'V', 1, 0, 2704}, {'V', 1, 0, -1}, {'I', 1, 0, 1},
                          {'A', 1, 0, 1},       {'S', 1, 36, 1}, {'S', 1, -1, 1},   {'V', 1, -1, 1}};
    for (const Cookie& cookie : good)
        EXPECT_TRUE(cookie.valid()) << &cookie - good;
    for (const Cookie& cookie : bad)
        EXPECT_EQ(cookie, invalid_cookie) << &cookie - bad;
    EXPECT_EQ(Cookie('V', 1, 0, 65535).machine(), static_cast<unsigned>(Cookie::getLocalMachineNumber()));
}

TEST(Cookie, everyMachineNumberHasACodeOfItsOwnThatReadsBack)
{
    std::set<unsigned> codes;
    for (int machine = 0; machine < 2704; ++machine)
    {
        ASSERT_EQ(isValidMachineNum(machine), machine != 0 && machine != 647) << machine;
        const unsigned code = Cookie::encodeMachineNumber(machine);
        codes.insert(code);
        ASSERT_EQ(Cookie::decodeMachineNumber(code), static_cast<unsigned>(machine));
        const unsigned short pair = Cookie::get2DigitBase52Map36Code(code);
        const char first = static_cast<char>(pair & 0xFF), second = static_cast<char>(pair >> 8);
        ASSERT_EQ(Cookie::base52Map36ToInt(first, second), static_cast<int>(code));

        const Cookie cookie('M', 1000 + machine, 7, machine);
        const std::string printed = text(cookie);
        ASSERT_TRUE(printed[1] == first && printed[3] == second);
        ASSERT_TRUE(read(printed) == cookie && readWide(printed) == cookie) << printed;
        ASSERT_EQ(cookie.asWString(), fromUTF8(printed.c_str()));
    }
    EXPECT_TRUE(codes.size() == 2704 && *codes.rbegin() == 2703);
    EXPECT_EQ(text(Cookie('V', 0, 0, 1)) + text(Cookie('V', 0, 0, 648)) + text(Cookie('V', 0, 0, 2703)),
              "V0030000V0000000V~0~0000");
    for (const int machine : {-1, 2704, INT_MAX, INT_MIN})
        EXPECT_TRUE(Cookie::encodeMachineNumber(machine) == 0xFFFFFFFFu && !isValidMachineNum(machine));
    EXPECT_EQ(Cookie::decodeMachineNumber(2704), 65535u);
    for (const auto& pair : {"0%", "%0", "..", "0"})
        EXPECT_THROW(Cookie::base52Map36ToInt(pair[0], pair[1]), Mw::Exception::RuntimeError);
    try
    {
        Cookie::get2DigitBase52Map36Code(2704);
        FAIL();
    }
    catch (const Mw::Exception::RuntimeError& e)
    {
        EXPECT_STREQ(e.message_, "Number out of range in get2DigitBase52Map36Code!");
        EXPECT_EQ(e.file_ + std::string(" ") + std::to_string(e.line_), "misc/Cookie 955");
    }
}

TEST(Cookie, everyByteAtEveryPlaceOfTheClassicFormIsReadAsItsOwnRule)
{
    const std::string good = "V1527XYZ";
    for (std::size_t place = 0; place < good.size(); ++place)
        for (int byte = 1; byte < 256; ++byte)
        {
            const char c = static_cast<char>(byte);
            const char folded = byte < 128 ? static_cast<char>(std::toupper(byte)) : c;
            std::string changed(good);
            changed[place] = c;
            const Cookie cookie = read(changed);

            bool readable = true;
            bool strict = byte < 128 && std::isalnum(byte);
            std::string canonical(good);
            canonical[place] = byte < 128 && std::isalnum(byte) ? folded : '0';
            if (place == 0)
            {
                readable = std::strchr("BCEFGMOPRSTV", folded) != nullptr;
                strict = std::strchr("EFGOPRSV", c) != nullptr;
            }
            else if (place == 1 || place == 3)
            {
                canonical[place] = folded;
                readable = std::strchr(kBase52Codes, folded) != nullptr;
                strict = std::strchr(kBase52Codes, c) != nullptr;
            }
            ASSERT_EQ(text(cookie), readable ? canonical : "INVALID") << place << ' ' << byte;
            ASSERT_EQ(Cookie::isValid(changed.c_str()), strict) << place << ' ' << byte;
            ASSERT_EQ(readWide(changed), byte < 128 ? cookie : invalid_cookie) << place << ' ' << byte;
        }
}

TEST(Cookie, everyByteAtEveryPlaceOfTheUuidFormIsReadAsItsOwnRule)
{
    const std::string good = uuidForm("V07-");
    for (std::size_t place = 0; place < good.size(); ++place)
        for (int byte = 1; byte < 256; ++byte)
        {
            const bool ascii = byte < 128, isDigit = ascii && std::isxdigit(byte), isHyphen = byte == '-';
            std::string changed(good);
            changed[place] = static_cast<char>(byte);
            // The letter; a number, whose reading stray characters end and which is not negative; any fourth one.
            const bool ofText = good[place] == '-' ? isHyphen : isDigit;
            const bool readable = place == 0   ? ascii && std::strchr("BCEFGMOPRSTV", std::toupper(byte))
                                  : place == 1 ? !isHyphen
                                               : place < 4 || ofText;
            ASSERT_EQ(read(changed).valid(), readable) << place << ' ' << byte;
            const bool strict = place == 0                 ? ascii && std::isalpha(byte)
                                : place == 1 || place == 2 ? ascii && std::isdigit(byte)
                                                           : place == 19 || ofText;
            ASSERT_EQ(Cookie::isValid(changed.c_str()), strict) << place << ' ' << byte;
        }
}

TEST(Cookie, uuidFormPrintsAndReadsBothWays)
{
    const Cookie cookie('V', uuid, 7);
    EXPECT_EQ(text(cookie) + text(cookie, false), uuidForm("V07-") + uuidForm("V00-"));
    EXPECT_EQ(cookie.asWString(), fromUTF8(uuidForm("V07-").c_str()));
    EXPECT_EQ(text(Cookie('V', uuid, 100)), uuidForm("V100-"));
    for (const auto reader : {read, readWide})
    {
        EXPECT_TRUE(reader(uuidForm("V07-"), true) == cookie && reader(uuidForm("V07-"), true).isUuid());
        EXPECT_EQ(reader(uuidForm("S07-"), false).subType(), 0u); // not the default of the classic form
        EXPECT_EQ(reader(uuidForm("V+9-"), true).subType(), 9u);
        for (const std::string& bad : {uuidForm("V-7-"), std::string("V00-00000000-0000-0000-0000-000000000000")})
            EXPECT_FALSE(reader(bad, true).valid());
    }
    // The wide form takes the letter as it stands and asks for a number; the narrow one does neither.
    EXPECT_EQ(readWide(uuidForm("#07-")).type(), '#');
    EXPECT_FALSE(readWide(uuidForm("I07-")).valid() || readWide(uuidForm("Vxx-")).valid());
    EXPECT_EQ(read(uuidForm("v07-")).type(), 'V');
}

TEST(Cookie, textsOfOtherLengthsAreInvalid)
{
    const std::string longest = uuidForm("V00-") + "0";
    for (std::size_t length = 0; length <= longest.size(); ++length)
    {
        const std::string cut = longest.substr(0, length);
        const bool form = length == 8 || length == 40; // a hyphen is a machine character too
        EXPECT_TRUE(readWide(cut).valid() == form && read(cut).valid() == form && Cookie::isValid(cut.c_str()) == form)
            << cut;
    }
    EXPECT_FALSE(Cookie(static_cast<const char*>(nullptr), true).valid() || Cookie::isValid(nullptr));
    EXPECT_EQ(text(Cookie("", true)), "INVALID");
    EXPECT_EQ(invalid_cookie.asWString(), L"INVALID");
}

TEST(Cookie, subTypeIsKeptShownOrReplacedByTheDefault)
{
    EXPECT_EQ(text(audio_black), "SZ0Z0001"); // which is not the default of S
    EXPECT_EQ(text(Cookie('V', 1, 5, 647), false), "VZ0Z0001");
    EXPECT_EQ(text(Cookie('S', 1, 5, 647), false), "SZ5Z0001");
    EXPECT_EQ(text(Cookie('V', 1, 36, 647)), "VZ[Z0001"); // past Z
    EXPECT_EQ(read("VZ5Z0001", false).subType(), 0u);
    EXPECT_EQ(read("SZ5Z0001", false).subType(), 1u);

    EXPECT_EQ(text(convertCookie(Cookie('V', uuid, 4), 'S', 255)), uuidForm("S01-"));
    EXPECT_EQ(text(convertCookie(video_mix50, 'G', 2)), "GZ2Z0003");
    EXPECT_EQ(text(convertCookie(audio_mix50, 'P', 255)), "PZ0Z0003");
}

TEST(Cookie, orderIsMixedAndIgnoresTheForm)
{
    // Letters and identities descend, sub-types ascend.
    const Cookie sorted[] = {{'V', 2, 0, 647}, {'V', 1, 0, 647}, {'V', 9, 1, 5},   {'V', 9, 200, 5},
                             {'S', uuid, 0},   {'S', 9, 0, 647}, {'S', 9, 0, 646}, invalid_cookie};
    for (const Cookie& a : sorted)
        for (const Cookie& b : sorted)
        {
            EXPECT_EQ(a.compare(b) < 0, &a < &b) << text(a) << ' ' << text(b);
            EXPECT_EQ(a == b, &a == &b);
        }
    const Cookie sameWords('V', Mw::UUID({1, 647, 0, 0}), 0);
    EXPECT_EQ(std::unordered_set<Cookie>({sameWords, video_black}).size(), 1u);
}

TEST(Cookie, builtInKindsFollowTheirNumbers)
{
    for (int number = 0; number < 100000; ++number)
    {
        const auto within = [=](int first, int last) { return number >= first && number <= last; };
        const bool firstBlock = within(46657, 46676) || within(47953, 47972);
        const bool isWipe = firstBlock || within(93313, 93332) || within(94609, 94628);
        const bool isFilm = number == 4 || number == 1300, isDissolve = isFilm || number == 2 || number == 1298;
        for (const int machine : {647, 646})
        {
            const Cookie cookie('V', number, 0, machine);
            const bool here = machine == 647;
            ASSERT_EQ(cookie.wipeType(), isWipe ? (number - 46656) % 1296 : 0) << number;
            ASSERT_EQ(cookie.wipeDirection(), firstBlock ? 0 : 1) << number;
            ASSERT_TRUE(cookie.isWipe() == (here && isWipe) && cookie.isDissolve() == (here && isDissolve) &&
                        cookie.isFilmDissolve() == (here && isFilm) &&
                        cookie.isEffectGraph() == (here && number == 46677) &&
                        cookie.isInput() == (here && within(46678, 46685)))
                << number;
        }
    }
    EXPECT_EQ(text(getWipeCookie('S', eWipeFirstBlock, 20)) + text(getWipeCookie('V', eWipeSecondBlock, 1)),
              "SZ0Z100KVZ0Z2001");
    EXPECT_FALSE(getWipeCookie('V', eWipeSecondBlock, INT_MAX).valid());
}

TEST(Cookie, printingAMachineWithoutACodeIsFatal)
{
    Cookie cookie;
    cookie.construct('V', 1, 0, 2704);
    addSplatCallback([](const char* message) { std::fputs(message, stderr); });
    EXPECT_DEATH(cookie.asString(true), "Failed to encode machine number in cookie_string::construct");
}
