#include "misc/diagnostics/Console.h"

#include "OS/Debugger.h"
#include "OS/OS.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

constexpr int statusRow = 1;
constexpr int tabColumns = 3;

// The screen. Callers hold the lock, apart from the window's own calls, which take it.
class Contents final : public iStatusWindow::iContents
{
public:
    using Row = LightweightString<wchar_t>;

    explicit Contents(const ConsoleGeometry& geometry)
        : width_(std::max(geometry.width, 1)), height_(std::max(geometry.height, 1)),
          texts_(static_cast<std::size_t>(height_), Row(static_cast<unsigned>(width_), L' ')),
          changed_(static_cast<std::size_t>(height_), false)
    {
        for (Row& text : texts_)
            rows_.push_back(&text);
    }

    int width() override { return width_; }
    int height() override { return height_; }

    Row row(int y) override
    {
        const CriticalSection::Lock hold(getLock());
        return hasRow(y) ? rowAt(y) : Row();
    }

    bool takeChanged(int y) override
    {
        const CriticalSection::Lock hold(getLock());
        if (!hasRow(y))
            return false;
        const bool changed = changed_[index(y)];
        changed_[index(y)] = false;
        return changed;
    }

    void lock() override { getLock().enter(); }
    void unlock() override { getLock().leave(); }

    void put(int x, int y, const wchar_t* text, std::size_t length)
    {
        if (!hasRow(y) || x < 0 || x >= width_)
            return;
        Row& row = rowAt(y);
        length = std::min(length, static_cast<std::size_t>(width_ - x));
        // A cell that holds its character already is left alone; writing another one copies a row that
        // the window shares.
        for (std::size_t i = 0; i < length; ++i)
            row[static_cast<unsigned>(x) + static_cast<unsigned>(i)] = text[i];
        changed_[index(y)] = true;
    }

    void scroll(int top, int bottom)
    {
        if (!hasRow(top) || !hasRow(bottom) || top > bottom)
            return;
        void* const kept = rows_[index(top)];
        for (int y = top; y < bottom; ++y)
        {
            OS().atomics().exchange(&rows_[index(y)], rows_[index(y + 1)]);
            changed_[index(y)] = true;
        }
        blank(*static_cast<Row*>(kept));
        OS().atomics().exchange(&rows_[index(bottom)], kept);
        changed_[index(bottom)] = true;
    }

private:
    static std::size_t index(int y) { return static_cast<std::size_t>(y); }
    bool hasRow(int y) const { return y >= 0 && y < height_; }
    Row& rowAt(int y) { return *static_cast<Row*>(rows_[index(y)]); }

    void blank(Row& row)
    {
        row.resizeFor(static_cast<unsigned>(width_));
        std::fill_n(row.writable(), width_, L' ');
    }

    const int width_;
    const int height_;
    std::vector<Row> texts_;  // the rows' storage, which stays in place
    std::vector<void*> rows_; // from top to bottom, pointers into texts_
    std::vector<bool> changed_;
};

std::atomic<bool> isOn{false};
std::atomic<bool> debugOutputOn{false};

// All that the lock guards.
struct Console
{
    ConsoleGeometry geometry;
    int herc_x = 0;
    int herc_y = geometry.messageLine;
    Mw::Ptr<Contents> contents;
    Mw::Ptr<iStatusWindow> window;

    void put(int x, int y, const LightweightString<wchar_t>& text)
    {
        if (contents)
            contents->put(x, y, text.c_str(), text.length());
    }

    void clearRect(int x0, int y0, int x1, int y1)
    {
        const long columns = std::clamp(static_cast<long>(x1) - x0, 0l, static_cast<long>(geometry.width));
        const LightweightString<wchar_t> blanks(static_cast<unsigned>(columns), L' ');
        const int end = std::min(y1, geometry.height);
        for (int y = std::max(y0, 0); y < end; ++y)
            put(x0, y, blanks);
    }

    void deleteToEndOfLine() { clearRect(herc_x + 1, herc_y, geometry.width, herc_y); }

    void scroll(int top, int bottom)
    {
        if (contents)
            contents->scroll(top, bottom);
    }

    void newLine()
    {
        deleteToEndOfLine();
        herc_x = 0;
        if (++herc_y >= geometry.height)
        {
            herc_y = geometry.height - 1;
            scroll(geometry.messageLine, geometry.height - 1);
        }
    }

    void putAtCursor(wchar_t c)
    {
        if (contents)
            contents->put(herc_x, herc_y, &c, 1);
        ++herc_x;
    }

    void messageWrite(wchar_t c)
    {
        if (c == L'\n' || herc_x >= geometry.width)
            newLine();
        if (c == L'\n')
            return;
        if (c == L'\t')
            while (herc_x % tabColumns != 0)
                putAtCursor(L' ');
        else if (c == L'\r')
            herc_x = 0;
        else
            putAtCursor(c);
    }
};

// Never destroyed: threads may write to the end of the process.
Console& console()
{
    static Console& only = *new Console;
    return only;
}

// Runs `output` on the console under its lock, then tells the window, which may draw itself at once and
// take locks of its own.
template <class Output>
void withConsole(const Output& output)
{
    Mw::Ptr<iStatusWindow> window;
    {
        const CriticalSection::Lock hold(getLock());
        output(console());
        window = console().window;
    }
    if (window)
        window->update();
}

LightweightString<wchar_t> widen(const char* text)
{
    return OS().debugger().widen(text);
}

// The whole formatted text, in place up to 255 characters.
class Formatted
{
public:
    Formatted(const char* format, std::va_list arguments)
    {
        std::va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(buffer_, sizeof buffer_, format, arguments);
        if (length < 0)
            buffer_[0] = 0;
        else if (static_cast<std::size_t>(length) >= sizeof buffer_)
        {
            long_.resize(static_cast<std::size_t>(length));
            std::vsnprintf(long_.data(), long_.size() + 1, format, again);
        }
        va_end(again);
    }

    const char* text() const { return long_.empty() ? buffer_ : long_.c_str(); }

private:
    char buffer_[256];
    std::string long_;
};

} // namespace

CriticalSection& getLock()
{
    static constinit CriticalSection lock("console");
    return lock;
}

void herc_putc(int x, int y, char c)
{
    const char text[2] = {c, 0};
    herc_putstr(x, y, text);
}

void herc_putstr(int x, int y, const char* text)
{
    if (!herc_is_on())
        return;
    const LightweightString<wchar_t> wide = widen(text);
    withConsole([&](Console& console) { console.put(x, y, wide); });
}

void herc_printf(int x, int y, const char* format, ...)
{
    if (!herc_is_on())
        return;
    std::va_list arguments;
    va_start(arguments, format);
    const Formatted formatted(format, arguments);
    va_end(arguments);
    herc_putstr(x, y, formatted.text());
}

void herc_printf(const char* format, ...)
{
    if (!herc_is_on())
        return;
    std::va_list arguments;
    va_start(arguments, format);
    const Formatted formatted(format, arguments);
    va_end(arguments);
    herc_message_write(formatted.text());
    if (herc_debug_output())
        OS().debugger().debugOutput(formatted.text());
}

void herc_status_write(int x, char c)
{
    herc_putc(x, statusRow, c);
}

void herc_status_write(int x, const char* format, ...)
{
    if (!herc_is_on())
        return;
    std::va_list arguments;
    va_start(arguments, format);
    const Formatted formatted(format, arguments);
    va_end(arguments);
    herc_putstr(x, statusRow, formatted.text());
}

void herc_message_write(char c)
{
    const char text[2] = {c, 0};
    herc_message_write(text);
}

void herc_message_write(const char* text)
{
    if (!herc_is_on())
        return;
    const LightweightString<wchar_t> wide = widen(text);
    withConsole(
        [&](Console& console)
        {
            for (const wchar_t c : wide)
                console.messageWrite(c);
        });
}

void herc_clear_rect(int x0, int y0, int x1, int y1)
{
    if (herc_is_on())
        withConsole([&](Console& console) { console.clearRect(x0, y0, x1, y1); });
}

void herc_deleol()
{
    if (herc_is_on())
        withConsole([](Console& console) { console.deleteToEndOfLine(); });
}

void herc_scroll(int top, int bottom)
{
    if (herc_is_on())
        withConsole([&](Console& console) { console.scroll(top, bottom); });
}

Mw::Ptr<iStatusWindow::iContents> herc_create_contents(const ConsoleGeometry& geometry)
{
    const Mw::Ptr<Contents> contents = Mw::makePtr<Contents>(geometry);
    const CriticalSection::Lock hold(getLock());
    Console& at = console();
    at.geometry = {contents->width(), contents->height(), geometry.messageLine};
    at.herc_x = 0;
    at.herc_y = std::clamp(geometry.messageLine, 0, contents->height() - 1);
    at.contents = contents;
    return contents;
}

Mw::Ptr<iStatusWindow> herc_window()
{
    const CriticalSection::Lock hold(getLock());
    return console().window;
}

void herc_set_window(const Mw::Ptr<iStatusWindow>& window)
{
    Mw::Ptr<iStatusWindow> before = window;
    const CriticalSection::Lock hold(getLock());
    console().window.swap(before);
}

bool herc_is_on() noexcept
{
    return isOn.load(std::memory_order_relaxed);
}

void herc_set_on(bool on) noexcept
{
    isOn.store(on, std::memory_order_relaxed);
}

bool herc_debug_output() noexcept
{
    return debugOutputOn.load(std::memory_order_relaxed);
}

void herc_set_debug_output(bool on) noexcept
{
    debugOutputOn.store(on, std::memory_order_relaxed);
}
