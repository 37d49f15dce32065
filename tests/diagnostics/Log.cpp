#include "misc/diagnostics/Log.h"

#include "Mw/Assert.h"
#include "diagnostics/Support.h"

#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

using LogLine = Diagnostics;

TEST_F(LogLine, isStampedWithSecondsAndIsUtf8)
{
    debugger_.timeMs = 1234.5678;
    Log("%d frames of %s\n", 25, "A001");
    Log(L"reel \u00c4%ls\n", L"\u20ac");
    LogString("100% as it is\n");
    LogStringW(L"\U0001F39E\n");
    LogString("");
    EXPECT_EQ(logged(), "1.235    : 25 frames of A001\n1.235    : reel \xc3\x84\xe2\x82\xac\n"
                        "1.235    : 100% as it is\n1.235    : \xf0\x9f\x8e\x9e\n1.235    : ");
}

TEST_F(LogLine, stampHasTheDigitsOfPrintf)
{
    // Exact halves of a thousandth, their neighbours, every size, and what is no time at all.
    std::vector<double> times = {-0.0,          -62.5,         -0.4,    9999999.5,
                                 0x1p52 * 1000, 0x1p51 * 1000, 1.7e308, std::numeric_limits<double>::quiet_NaN()};
    for (int i = 0; i < 20000; ++i)
        times.push_back(i * 7.8125 + (i % 3 - 1) * 1e-12);
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i)
        times.push_back(std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 80) - 78));

    for (const double timeMs : times)
    {
        debugger_.timeMs = timeMs;
        LogString("\n");
    }
    std::istringstream found(logged());
    for (const double timeMs : times)
    {
        char expected[400];
        std::snprintf(expected, sizeof expected, "%-9.3f: ", timeMs / 1000.0);
        std::string line;
        std::getline(found, line);
        ASSERT_EQ(line, expected);
    }
}

TEST_F(LogLine, ofNoneOrOver255CharactersIsReplacedByAnAssertion)
{
    const auto assertionAt = [](const char* where)
    { return "assertion failed false at misc/herc line " + std::string(where) + "\n"; };
    for (const std::size_t length : {0u, 1u, 255u, 256u})
    {
        const std::string text(length, 'x');
        const std::wstring wide(length, L'\u00e4');
        const bool fits = length >= 1 && length <= 255;
        Log("%s", text.c_str());
        EXPECT_EQ(logged(), fits ? "0.000    : " + text : assertionAt("500"));
        LogBoth("%s", text.c_str());
        EXPECT_EQ(logged(), fits ? "0.000    : " + text : assertionAt("482"));
        Log(L"%ls", wide.c_str());
        EXPECT_EQ(logged().size(), fits ? 11 + 2 * length : assertionAt("518").size());
        LogString(text.c_str());
        EXPECT_EQ(logged(), "0.000    : " + text);
    }
}

TEST_F(LogLine, filterLooksAtTheFormatAndNotAtTheText)
{
    SetLogFilter("K\xc3\xb6");
    Log("%s", "K\xc3\xb6ln");
    LogBoth("%s", "K\xc3\xb6ln");
    Log(L"%ls", L"K\u00f6ln");
    Log("%300d", 1);
    EXPECT_EQ(logged(), "") << "not even an assertion";
    Log("in K\xc3\xb6ln: %d\n", 1);
    Log(L"in K\u00f6ln: %d\n", 2);
    LogBoth("in K\xc3\xb6ln: %d\n", 3);
    LogString("K\xc3\xb6ln\n");
    LogStringW(L"K\u00f6ln\n");
    EXPECT_EQ(logged(), "0.000    : in K\xc3\xb6ln: 1\n0.000    : in K\xc3\xb6ln: 2\n0.000    : in K\xc3\xb6ln: 3\n"
                        "0.000    : K\xc3\xb6ln\n0.000    : K\xc3\xb6ln\n");
    for (const char* const none : {static_cast<const char*>(nullptr), ""})
    {
        SetLogFilter("nothing has this");
        SetLogFilter(none);
        Log("%d", 4);
        EXPECT_EQ(logged(), "0.000    : 4");
    }
}

TEST_F(LogLine, ofThreadsStaysWhole)
{
    const auto write = [](char letter)
    {
        const std::string text(60, letter);
        for (int i = 0; i < 500; ++i)
            i % 2 == 0 ? Log("%s\n", text.c_str()) : LogString((text + "\n").c_str());
    };
    std::thread other(write, 'a');
    write('b');
    other.join();
    std::istringstream in(logged());
    int count = 0;
    for (std::string line; std::getline(in, line); ++count)
        ASSERT_EQ(line, "0.000    : " + std::string(60, line.back()));
    EXPECT_EQ(count, 1000);
    SetLogOutput(nullptr);
    EXPECT_EQ(Mw::diagnosticStream(), stdout);
}
