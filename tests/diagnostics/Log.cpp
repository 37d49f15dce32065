#include "misc/diagnostics/Log.h"

#include "diagnostics/Support.h"

#include <cmath>
#include <random>
#include <thread>
#include <vector>

using LogLine = Diagnostics;

TEST_F(LogLine, isStampedWithSecondsAndIsUtf8)
{
    debugger_.set(1234.5678);
    Log("%d frames of %s\n", 25, "A001");
    Log(L"reel \u00c4%ls\n", L"\u20ac");
    LogString("100% as it is\n");
    LogStringW(L"\U0001F39E\n");
    LogPlatformMessages();
    OS().message("from below");
    LogString("");
    EXPECT_EQ(said(), "1.235    : 25 frames of A001\n1.235    : reel \xc3\x84\xe2\x82\xac\n"
                      "1.235    : 100% as it is\n1.235    : \xf0\x9f\x8e\x9e\n1.235    : from below\n1.235    : ");
}

TEST_F(LogLine, stampHasTheDigitsOfPrintf)
{
    // Exact halves of a thousandth, their neighbours, every size, and what is no time at all.
    std::vector<double> times = {-0.0, -62.5, -0.4, 9999999.5, 0x1p52 * 1000, 0x1p51 * 1000, 1.7e308, std::nan("")};
    for (int i = 0; i < 20000; ++i)
        times.push_back(i * 7.8125 + (i % 3 - 1) * 1e-12);
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i)
        times.push_back(std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 80) - 78));
    for (const double timeMs : times)
    {
        debugger_.set(timeMs);
        LogString("");
        char expected[400];
        std::snprintf(expected, sizeof expected, "%-9.3f: ", timeMs / 1000.0);
        ASSERT_EQ(said(), expected);
    }
}

TEST_F(LogLine, ofNoneOrOver255CharactersIsReplacedByAnAssertion)
{
    const std::string assertionAt = "assertion failed false at misc/herc line ";
    for (const std::size_t length : {0u, 1u, 255u, 256u})
    {
        const std::string text(length, 'x');
        const bool fits = length >= 1 && length <= 255;
        Log("%s", text.c_str());
        EXPECT_EQ(said(), fits ? "0.000    : " + text : assertionAt + "500\n");
        LogBoth("%s", text.c_str());
        EXPECT_EQ(said(), fits ? "0.000    : " + text : assertionAt + "482\n");
        Log(L"%ls", std::wstring(length, L'\u00e4').c_str());
        EXPECT_EQ(said().size(), fits ? 11 + 2 * length : assertionAt.size() + 4);
        LogString(text.c_str());
        EXPECT_EQ(said(), "0.000    : " + text);
    }
}

TEST_F(LogLine, filterLooksAtTheFormatAndNotAtTheText)
{
    SetLogFilter("K\xc3\xb6");
    Log("%s", "K\xc3\xb6ln");
    LogBoth("%s", "K\xc3\xb6ln");
    Log(L"%ls", L"K\u00f6ln");
    Log("%300d", 1);
    EXPECT_EQ(said(), "") << "not even an assertion";
    Log("K\xc3\xb6.%d\n", 1);
    Log(L"K\u00f6.%d\n", 2);
    LogBoth("K\xc3\xb6.%d\n", 3);
    LogStringW(L"K\u00f6");
    EXPECT_EQ(said(), "0.000    : K\xc3\xb6.1\n0.000    : K\xc3\xb6.2\n0.000    : K\xc3\xb6.3\n0.000    : K\xc3\xb6");
    SetLogFilter("");
    Log("%d", 4);
    EXPECT_EQ(said(), "0.000    : 4");
}

TEST_F(LogLine, ofThreadsStaysWhole)
{
    const std::string text = "0.000    : " + std::string(60, 'x') + "\n";
    const auto write = [&]
    {
        for (int i = 0; i < 5000; ++i)
            Log("%s", text.c_str() + 11);
    };
    std::thread other(write);
    write();
    other.join();
    std::string whole;
    for (int i = 0; i < 10000; ++i)
        whole += text;
    EXPECT_TRUE(said() == whole);
}
