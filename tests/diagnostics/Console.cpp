#include "misc/diagnostics/Console.h"

#include "diagnostics/Support.h"
#include "libmw/Text.h"
#include "misc/diagnostics/DebugWindow.h"

#include <climits>
#include <thread>

namespace
{

// A console of 10 columns and 6 rows whose message area begins at row 3.
class Console : public Diagnostics
{
protected:
    Console() { herc_set_on(true); }
    ~Console() override
    {
        herc_set_on(false);
        herc_shutdown();
    }

    std::string row(int y) { return toUTF8(contents_->row(y)).c_str(); }

    // The whole screen, trailing blanks cut, one "|" after each row.
    std::string screen()
    {
        std::string text;
        for (int y = 0; y < 6; ++y)
            text += row(y).substr(0, row(y).find_last_not_of(' ') + 1) + "|";
        return text;
    }

    // The rows that were marked as changed since the last call, as digits.
    std::string marked()
    {
        std::string rows;
        for (int y = 0; y < 6; ++y)
            if (contents_->takeChanged(y))
                rows += std::to_string(y);
        return rows;
    }

    Mw::Ptr<iStatusWindow::iContents> contents_ = herc_create_contents({10, 6, 3});
};

// Draws on another thread, which must find the console's lock free.
class DrawingWindow : public iStatusWindow
{
public:
    int updates = 0;

    bool isVisible() override { return true; }
    void setVisible(bool) override {}
    void setOnTop(bool) override {}
    void update() override
    {
        ++updates;
        std::thread([] { const CriticalSection::Lock hold(getLock()); }).join();
    }
    LightweightString<char> asText() override { return {}; }
};

} // namespace

TEST_F(Console, recordsNothingWhileItIsOff)
{
    herc_set_on(false);
    herc_putc(0, 0, 'a');
    herc_printf(0, 0, "%d", 1);
    herc_printf("message %d\n\n\n\n", 1);
    herc_status_write(0, "%d", 1);
    herc_clear_rect(0, 0, 10, 6);
    herc_scroll(0, 5);
    EXPECT_EQ(marked(), "");
    LogBoth("still %s\n", "logged");
    EXPECT_EQ(logged(), "0.000    : still logged\n");
    herc_set_on(true);
    herc_message_write('x');
    EXPECT_EQ(screen(), "|||x|||") << "the cursor moved while the console was off";
}

TEST_F(Console, textEndsAtTheEdgeAndOutsideIsLeftAlone)
{
    EXPECT_EQ(row(0), "          ");
    herc_putstr(7, 2, ("abc" + std::string(100, 'x')).c_str());
    herc_printf(0, 0, "%d%%", 50);
    herc_putc(9, 5, 'z');
    herc_status_write(2, "reel %s", "A1");
    EXPECT_EQ(marked(), "0125");
    for (const auto& [x, y] : {std::pair(-1, 0), {10, 0}, {0, -1}, {0, 6}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MIN}})
        herc_putstr(x, y, "outside");
    EXPECT_EQ(marked(), "");
    EXPECT_EQ(screen(), "50%|  reel A1|       abc|||         z|");
}

TEST_F(Console, messagesWrapAndScrollBelowTheStatusArea)
{
    herc_putstr(0, 0, "title");
    herc_printf("%s", "0123456789");
    EXPECT_EQ(screen(), "title|||0123456789|||");
    LogBoth("ab\r%s\nd\n", "\xc3\xa4");
    EXPECT_EQ(screen(), "title|||\xc3\xa4"
                        "b|d||")
        << "the full row scrolled away";
    marked();
    herc_message_write("e\n");
    EXPECT_EQ(screen(), "title|||d|e||");
    EXPECT_EQ(marked(), "345");
    herc_printf("\n\n%s", std::string(300, 'x').c_str());
    EXPECT_EQ(screen(), "title|||xxxxxxxxxx|xxxxxxxxxx|xxxxxxxxxx|") << "a long text is written whole";

    // Tab stops are every three columns; a tab in a full row wraps first and is then at a stop.
    herc_message_write("\n\tx\na\tx\nabc\tabcd\tx");
    EXPECT_EQ(screen(), "title|||x|a  x|abcabcd  x|");
}

TEST_F(Console, clearedRectangleIsHalfOpen)
{
    for (int y = 0; y < 6; ++y)
        herc_putstr(0, y, "xxxx");
    marked();
    herc_clear_rect(1, 1, 3, 3);
    EXPECT_EQ(screen(), "xxxx|x  x|x  x|xxxx|xxxx|xxxx|");
    EXPECT_EQ(marked(), "12");
    herc_clear_rect(3, 0, 1, 1);
    EXPECT_EQ(marked(), "0") << "an empty text marks its row";
    herc_message_write("ab");
    herc_deleol();
    EXPECT_EQ(row(3), "abxx      ") << "deleol clears nothing";
    herc_clear_rect(0, INT_MIN, INT_MAX, INT_MAX);
    EXPECT_EQ(screen(), "||||||");
}

TEST_F(Console, scrollMovesRowsWithoutTheirText)
{
    herc_putstr(0, 1, "one");
    herc_putstr(0, 2, "two");
    herc_putstr(0, 3, "three");
    const LightweightString<wchar_t> one = contents_->row(1), two = contents_->row(2);
    herc_putstr(0, 1, "one");
    EXPECT_EQ(contents_->row(1).c_str(), one.c_str()) << "the same text copies no shared row";
    marked();
    herc_scroll(1, 3);
    EXPECT_EQ(contents_->row(1).c_str(), two.c_str());
    EXPECT_EQ(toUTF8(one), "one       ") << "a shared row keeps its text";
    EXPECT_EQ(marked(), "123");
    for (const auto& [top, bottom] : {std::pair(-1, 2), {0, 6}, {3, 2}})
        herc_scroll(top, bottom);
    EXPECT_EQ(screen() + marked(), "|two|three||||");
}

TEST_F(Console, outputReachesTheWindowAndOnDemandTheDebugChannel)
{
    const auto window = Mw::makePtr<DrawingWindow>();
    herc_set_window(window);
    toggleWin32Debug();
    herc_printf("a\nb\nc %d\nd\n", 2);
    herc_message_write("to the window alone\n");
    toggleWin32Debug();
    herc_printf("e\n");
    EXPECT_EQ(window->updates, 3);
    EXPECT_EQ(debugger_.channel, "------------------ Marrowline Win32 debug output ON ------------------\n  \n"
                                 "a\nb\nc 2\nd\n"
                                 "------------------ Marrowline Win32 debug output OFF -----------------\n  \n");
}

TEST_F(Diagnostics, consoleIsOnWhileItsWindowShows)
{
    herc_shutdown();
    toggleHercWindow();
    EXPECT_EQ(logged(), "assertion failed window_ at misc/herc line 558\n");
    herc_init({});
    const Mw::Ptr<iStatusWindow> window = herc_window();
    herc_init({});
    EXPECT_EQ(herc_window(), window) << "a second herc_init keeps the window";
    for (const bool on : {true, true, false})
    {
        showDebugWindow(on);
        EXPECT_TRUE(debugWindowIsVisible() == on && herc_is_on() == on);
    }
    herc_shutdown();
}
