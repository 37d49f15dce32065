#include "misc/identity/Cookie.h"

#include "Mw/Exception.h"
#include "libmw/Text.h"

#include <cctype>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace
{

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
    return head + "01234567-89ab-cdef-0123-456789abcdef";
}

} // namespace

TEST(Cookie, constructorRefusesPartsOutOfRange)
{
    for (const Cookie& good : {Cookie('V', 1679615, 0, 2703), {'V', 1, 36, 1}, {'S', 1, 35, 1}, {'S', 1, 255, 1}})
        EXPECT_TRUE(good.valid()) << text(good);
    const Cookie bad[] = {{'V', 1679616, 0, 1}, {'V', -1, 0, 1}, {'V', 1, 0, 2704}, {'V', 1, 0, -1},
                          {'I', 1, 0, 1},       {'A', 1, 0, 1},  {'S', 1, 36, 1},   {'V', 1, -1, 1}};
    for (const Cookie& cookie : bad)
        EXPECT_EQ(cookie, invalid_cookie) << &cookie - bad;
}

TEST(Cookie, everyMachineNumberHasACodeOfItsOwnThatReadsBack)
{
    for (int machine = 0; machine < 2704; ++machine)
    {
        ASSERT_EQ(isValidMachineNum(machine), machine != 0 && machine != 647) << machine;
        const unsigned code = Cookie::encodeMachineNumber(machine);
        ASSERT_EQ(Cookie::decodeMachineNumber(code), static_cast<unsigned>(machine));
        const unsigned short pair = Cookie::get2DigitBase52Map36Code(code);
        const char first = static_cast<char>(pair & 0xFF), second = static_cast<char>(pair >> 8);
        ASSERT_EQ(Cookie::base52Map36ToInt(first, second), static_cast<int>(code));

        const Cookie cookie('M', 1000 + machine, 7, machine);
        const std::string printed = text(cookie);
        ASSERT_TRUE(printed[1] == first && printed[3] == second);
        ASSERT_TRUE(read(printed) == cookie && readWide(printed) == cookie) << printed;
    }
    EXPECT_EQ(text(Cookie('V', 0, 0, 1)) + text(Cookie('V', 0, 0, 648)) + text(Cookie('V', 0, 0, 2703)),
              "V0030000V0000000V~0~0000");
    for (const int machine : {-1, 2704})
        EXPECT_TRUE(Cookie::encodeMachineNumber(machine) == 0xFFFFFFFFu && !isValidMachineNum(machine));
    EXPECT_THROW(Cookie::base52Map36ToInt('0', '%'), Mw::Exception::RuntimeError);
    EXPECT_THROW(Cookie::get2DigitBase52Map36Code(2704), Mw::Exception::RuntimeError);
}

TEST(Cookie, everyByteAtEveryPlaceOfTheClassicFormIsReadAsItsOwnRule)
{
    const std::string good = "V1527XYZ";
    for (std::size_t place = 0; place < good.size(); ++place)
        for (int byte = 1; byte < 256; ++byte)
        {
            const bool isAlnum = byte < 128 && std::isalnum(byte);
            const char c = static_cast<char>(byte), folded = byte < 128 ? static_cast<char>(std::toupper(byte)) : c;
            std::string changed(good), canonical(good);
            changed[place] = c;
            const Cookie cookie = read(changed);
            const bool isType = place == 0, isPlain = place == 2 || place > 3;
            const char* const strictly = isType ? "EFGOPRSV" : kBase52Codes;
            const char* const readably = isType ? "BCEFGMOPRSTV" : kBase52Codes;
            const bool strict = isPlain ? isAlnum : std::strchr(strictly, c) != nullptr;
            const bool readable = isPlain || std::strchr(readably, folded) != nullptr;
            canonical[place] = !isPlain || isAlnum ? folded : '0';
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
    EXPECT_EQ(toUTF8(Cookie('V', uuid, 100).asWString()), uuidForm("V100-").c_str());
    for (const auto reader : {read, readWide})
    {
        EXPECT_TRUE(reader(uuidForm("V07-"), true) == cookie && reader(uuidForm("V07-"), true).isUuid());
        EXPECT_EQ(reader(uuidForm("S07-"), false).subType(), 0u); // not the default of the classic form
        EXPECT_FALSE(reader("V00-00000000-0000-0000-0000-000000000000", true).valid());
    }
    // The wide form takes the letter as it stands and asks for a number; the narrow one does neither.
    EXPECT_TRUE(readWide(uuidForm("#07-")).type() == '#' && !readWide(uuidForm("Vxx-")).valid());
}

TEST(Cookie, textsOfOtherLengthsAreInvalid)
{
    for (std::size_t length = 0; length <= 41; ++length)
    {
        const std::string cut = uuidForm("V00-").append("0").substr(0, length);
        const bool form = length == 8 || length == 40; // a hyphen is a machine character too
        EXPECT_TRUE(readWide(cut).valid() == form && read(cut).valid() == form) << cut;
        EXPECT_EQ(Cookie::isValid(cut.c_str()), form) << cut;
    }
}

TEST(Cookie, subTypeIsKeptShownOrReplacedByTheDefault)
{
    EXPECT_EQ(text(audio_black), "SZ0Z0001"); // which is not the default of S
    EXPECT_EQ(text(Cookie('V', 1, 5, 647), false) + text(Cookie('S', 1, 5, 647), false), "VZ0Z0001SZ5Z0001");
    EXPECT_TRUE(read("VZ5Z0001", false).subType() == 0 && read("SZ5Z0001", false).subType() == 1);
    EXPECT_EQ(text(convertCookie(Cookie('V', uuid, 4), 'S', 255)), uuidForm("S01-"));
    EXPECT_EQ(text(convertCookie(video_mix50, 'G', 2)) + text(convertCookie(audio_mix50, 'P', 255)),
              "GZ2Z0003PZ0Z0003");
}

TEST(Cookie, orderIsMixedAndIgnoresTheForm)
{
    // Letters and identities descend, sub-types ascend.
    const Cookie sorted[] = {{'V', 2, 0, 647}, {'V', 1, 0, 647}, {'V', 9, 1, 5},   {'V', 9, 200, 5},
                             {'S', uuid, 0},   {'S', 9, 0, 647}, {'S', 9, 0, 646}, invalid_cookie};
    for (const Cookie& a : sorted)
        for (const Cookie& b : sorted)
            EXPECT_TRUE((a.compare(b) < 0) == (&a < &b) && (a == b) == (&a == &b)) << text(a) << ' ' << text(b);
    const Cookie sameWords('V', Mw::UUID({1, 647, 0, 0}), 0);
    EXPECT_TRUE(sameWords == video_black && std::hash<Cookie>()(sameWords) == std::hash<Cookie>()(video_black));
}

TEST(Cookie, builtInKindsFollowTheirNumbers)
{
    for (int number = 0; number < 100000; ++number)
    {
        const auto within = [=](int first, int last) { return number >= first && number <= last; };
        const bool firstBlock = within(46657, 46676) || within(47953, 47972);
        const bool isWipe = firstBlock || within(93313, 93332) || within(94609, 94628);
        const Cookie cookie('V', number, 0, 647), foreign('V', number, 0, 646);
        ASSERT_TRUE(cookie.isWipe() == isWipe && !foreign.isWipe() && !foreign.isDissolve()) << number;
        ASSERT_EQ(foreign.wipeType(), isWipe ? (number - 46656) % 1296 : 0) << number;
        ASSERT_EQ(foreign.wipeDirection(), firstBlock ? 0 : 1) << number;
        ASSERT_EQ(cookie.isInput(), within(46678, 46685)) << number;
    }
    EXPECT_TRUE(film_dissolve.isDissolve() && film_dissolve.isFilmDissolve() && !audio_dissolve.isFilmDissolve());
    EXPECT_EQ(text(getWipeCookie('S', eWipeFirstBlock, 20)) + text(getWipeCookie('V', eWipeSecondBlock, 1)),
              "SZ0Z100KVZ0Z2001");
}
