#include "Mw/Ptr.h"
#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/Utf8.h"
#include "OS/Windowing.h"

#include <mutex>
#include <set>
#include <vector>

namespace
{

// The contents are the grid's owner's; the window keeps what it last showed of them.
class HeadlessStatusWindow : public iStatusWindow
{
public:
    HeadlessStatusWindow(const Mw::Ptr<iContents>& contents, const Mw::Ptr<iEventHandler>& handler)
        : contents_(contents), handler_(handler)
    {
    }

    bool isVisible() override
    {
        const std::lock_guard lock(mutex_);
        return visible_;
    }

    void setVisible(bool visible) override
    {
        const std::lock_guard lock(mutex_);
        visible_ = visible;
    }

    void setOnTop(bool) override {}

    void update() override
    {
        const std::lock_guard lock(mutex_);
        draw();
    }

    LightweightString<char> asText() override
    {
        const std::lock_guard lock(mutex_);
        draw();
        LightweightString<char> text;
        for (const LightweightString<wchar_t>& row : rows_)
        {
            LightweightString<char> line = Mw::utf8FromWide(row.c_str(), row.length());
            unsigned length = line.length();
            while (length > 0 && line.c_str()[length - 1] == ' ')
                --length;
            text.append(line.c_str(), length);
            text.push_back('\n');
        }
        return text;
    }

private:
    void draw()
    {
        if (!contents_)
            return;
        contents_->lock();
        rows_.resize(static_cast<std::size_t>(contents_->height()));
        for (int y = 0; y < contents_->height(); ++y)
            if (contents_->takeChanged(y))
                rows_[static_cast<std::size_t>(y)] = contents_->row(y);
        contents_->unlock();
    }

    const Mw::Ptr<iContents> contents_;
    const Mw::Ptr<iEventHandler> handler_;
    std::mutex mutex_;
    bool visible_ = false;
    std::vector<LightweightString<wchar_t>> rows_;
};

class HeadlessWindowing : public iWindowing
{
public:
    Mw::Ptr<iStatusWindow> createStatusWindow(const Mw::Ptr<iStatusWindow::iContents>& contents,
                                              const Mw::Ptr<iStatusWindow::iEventHandler>& handler) override
    {
        return Mw::Ptr<iStatusWindow>(new HeadlessStatusWindow(contents, handler));
    }

    bool isKeyDown(int keyCode) override
    {
        const std::lock_guard lock(mutex_);
        return keysDown_.contains(keyCode);
    }

    void setKeyDown(int keyCode, bool down) override
    {
        const std::lock_guard lock(mutex_);
        if (down)
            keysDown_.insert(keyCode);
        else
            keysDown_.erase(keyCode);
    }

private:
    std::mutex mutex_;
    std::set<int> keysDown_;
};

} // namespace

iWindowing& OperatingSystem::standardWindowing()
{
    return immortal<HeadlessWindowing>();
}
