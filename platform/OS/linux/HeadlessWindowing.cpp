#include "Mw/Ptr.h"
#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/Utf8.h"
#include "OS/Windowing.h"

#include <atomic>
#include <mutex>
#include <set>
#include <string_view>
#include <vector>

namespace
{

// The contents are the grid's owner's; the window keeps what it last showed of them, under their lock. It
// has no lock of its own, which their owner would meet in the other order.
class HeadlessStatusWindow : public iStatusWindow
{
public:
    HeadlessStatusWindow(const Mw::Ptr<iContents>& contents, const Mw::Ptr<iEventHandler>& handler)
        : contents_(contents), handler_(handler)
    {
    }

    bool isVisible() override { return visible_; }
    void setVisible(bool visible) override { visible_ = visible; }
    void setOnTop(bool) override {}

    void update() override
    {
        if (!contents_)
            return;
        const ContentsLock lock(*contents_);
        draw();
    }

    LightweightString<char> asText() override
    {
        LightweightString<char> text;
        if (!contents_)
            return text;
        const ContentsLock lock(*contents_);
        draw();
        for (const LightweightString<wchar_t>& row : rows_)
        {
            const LightweightString<char> line = Mw::utf8FromWide(row.c_str(), row.length());
            const std::string_view view(line);
            text += view.substr(0, view.find_last_not_of(' ') + 1);
            text.push_back('\n');
        }
        return text;
    }

private:
    struct ContentsLock
    {
        explicit ContentsLock(iContents& contents) : contents_(contents) { contents_.lock(); }
        ~ContentsLock() { contents_.unlock(); }
        ContentsLock(const ContentsLock&) = delete;
        ContentsLock& operator=(const ContentsLock&) = delete;

        iContents& contents_;
    };

    void draw()
    {
        const int height = contents_->height();
        rows_.resize(static_cast<std::size_t>(height));
        for (int y = 0; y < height; ++y)
            if (contents_->takeChanged(y))
                rows_[static_cast<std::size_t>(y)] = contents_->row(y);
    }

    const Mw::Ptr<iContents> contents_;
    const Mw::Ptr<iEventHandler> handler_;
    std::atomic<bool> visible_{false};
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
