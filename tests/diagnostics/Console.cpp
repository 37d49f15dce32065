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

    // The whole screen, trailing blanks cut, one "|" after each row, and behind it the rows that were marked as
    // changed since the last call, as digits.
    std::string screen()
    {
        std::string text, marked;
        for (int y = 0; y < 6; ++y)
        {
            const std::string row = toUTF8(contents_->row(y)).c_str();
            text += row.substr(0, row.find_last_not_of(' ') + 1) + "|";
            if (contents_->takeChanged(y))
                marked += std::to_string(y);
        }
        return text + marked;
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
    herc_status_write(0, "%d", 1);
    herc_clear_rect(0, 0, 10, 6);
    herc_scroll(0, 5);
    LogBoth("still logged\n");
    EXPECT_EQ(said(), "0.000    : still logged\n");
    herc_set_on(true);
    herc_message_write('x');
    EXPECT_EQ(screen(), "|||x|||3") << "the cursor moved while the console was off";
}

TEST_F(Console, textEndsAtTheEdgeAndOutsideIsLeftAlone)
{
    herc_putstr(7, 2, ("abc" + std::string(100, 'x')).c_str());
    herc_printf(0, 0, "%d%%", 50);
    herc_putc(9, 5, 'z');
    herc_status_write(2, "reel %s", "A1");
    EXPECT_EQ(screen(), "50%|  reel A1|       abc|||         z|0125");
    for (const auto& [x, y] : {std::pair(-1, 0), {10, 0}, {0, -1}, {0, 6}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MIN}})
        herc_putstr(x, y, "outside");
    EXPECT_EQ(screen(), "50%|  reel A1|       abc|||         z|");
}

TEST_F(Console, messagesWrapAndScrollBelowTheStatusArea)
{
    herc_putstr(0, 0, "title");
    herc_printf("%s", "0123456789");
    EXPECT_EQ(screen(), "title|||0123456789|||03");
    LogBoth("xb\r%s\nd\n", "\xc3\xa4");
    EXPECT_EQ(screen(), "title|||\u00e4b|d||345") << "the full row scrolled away";
    herc_printf("\n\n%s", std::string(300, 'x').c_str());
    EXPECT_EQ(screen(), "title|||xxxxxxxxxx|xxxxxxxxxx|xxxxxxxxxx|345") << "a long text is written whole";

    // Tab stops are every three columns; a tab in a full row wraps first and is then at a stop.
    herc_message_write("\n\tx\na\tx\nabc\tabcd\tx");
    EXPECT_EQ(screen(), "title|||x|a  x|abcabcd  x|345");
}

TEST_F(Console, clearedRectangleIsHalfOpen)
{
    for (int y = 0; y < 6; ++y)
        herc_putstr(0, y, "xxxx");
    screen();
    herc_clear_rect(1, 1, 3, 3);
    herc_clear_rect(3, 0, 1, 1);
    EXPECT_EQ(screen(), "xxxx|x  x|x  x|xxxx|xxxx|xxxx|012") << "an empty text marks its row";
    herc_message_write("ab");
    herc_deleol();
    EXPECT_EQ(screen(), "xxxx|x  x|x  x|abxx|xxxx|xxxx|3") << "deleol clears nothing";
    herc_clear_rect(0, INT_MIN, INT_MAX, INT_MAX);
    EXPECT_EQ(screen(), "||||||012345");
}

TEST_F(Console, scrollMovesRowsOfThePartThatIsThere)
{
    herc_putstr(0, 1, "one");
    herc_putstr(0, 2, "two");
    herc_putstr(0, 3, "three");
    screen();
    const LightweightString<wchar_t> one = contents_->row(1);
    herc_scroll(1, 3);
    EXPECT_EQ(one, L"one       ") << "a shared row keeps its text";
    for (const auto& [top, bottom] : {std::pair(-1, 2), {0, 6}, {3, 2}})
        herc_scroll(top, bottom);
    EXPECT_EQ(screen(), "|two|three||||123");
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
