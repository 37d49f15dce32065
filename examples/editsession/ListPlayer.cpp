#include "examples/editsession/ListPlayer.h"

#include "misc/media/TimecodeLabel.h"
#include "misc/notify/MultiValClient.h"
#include "misc/notify/ValClient.h"

#include <algorithm>

namespace
{

using Frame = ValServer<int>;

// Shows one frame: the position, as it changes.
class PositionDisplay : public ValClient<int>
{
public:
    PositionDisplay(Frame& position, const EditList& list, std::string& out)
        : ValClient<int>(&position), list_(list), out_(out)
    {
    }

    void valChangedNtfy() override { out_ += "  position  " + labelInList(list_, getServerValue()) + '\n'; }

private:
    const EditList& list_;
    std::string& out_;
};

// Keeps the marks inside of the list, and tells when several are to change.
class MarkKeeper : public ValManagerBase<int>
{
public:
    MarkKeeper(int begin, int end) : begin_(begin), end_(end) {}

    bool validateValue(Frame*, int* candidate) override
    {
        *candidate = std::clamp(*candidate, begin_, end_);
        return true;
    }
    void detachServer(Frame*) override {}

    // The marks change together.
    void set(Frame& in, int inFrame, Frame& out, int outFrame)
    {
        announce("StartBatch");
        in = inFrame;
        out = outFrame;
        announce("EndBatch");
    }

private:
    void announce(const char* text) { issueNotification(NotifyMsg(text, {}), CallbackInvokerBase::anyType()); }

    const int begin_;
    const int end_;
};

// Shows both marks in one line, and a batch of changes as one.
class MarkDisplay : public MultiValClient<int>
{
public:
    MarkDisplay(Frame& in, Frame& out, const EditList& list, std::string& text)
        : in_(in), out_(out), list_(list), text_(text)
    {
        registerWith(&in_);
        registerWith(&out_);
    }

    using MultiValClient<int>::valChangedNtfy;
    void valChangedNtfy(Frame*) override { show(); }
    void startBatchOp(ValManagerBase<int>*) override { ++inhibitCount; }
    void endBatchOp(ValManagerBase<int>*) override
    {
        --inhibitCount;
        show();
    }

private:
    void show()
    {
        text_ += "marks  in " + labelInList(list_, in_.getValue()) + "  out " + labelInList(list_, out_.getValue());
        text_ += '\n';
    }

    Frame& in_;
    Frame& out_;
    const EditList& list_;
    std::string& text_;
};

} // namespace

std::string labelInList(const EditList& list, int frame)
{
    char buffer[Mw::longestLabelBytes];
    Mw::writeLabel(Mw::labelOfFrame(frame, {list.rate, list.events[0].edits[0].record.dropFrame}), buffer);
    return buffer;
}

int beginOf(const Event& event)
{
    return event.edits[0].record.in;
}

int endOf(const Event& event, Mw::FrameRate rate)
{
    return beginOf(event) + static_cast<int>(recordLength(event, event.edits.size(), rate));
}

std::string playList(const EditList& list, const EventRange& range)
{
    const auto isNumbered = [](int number) { return [number](const Event& e) { return e.number == number; }; };
    const auto first = std::find_if(list.events.begin(), list.events.end(), isNumbered(range.first));
    const auto last = std::find_if(first, list.events.end(), isNumbered(range.last));
    if (last == list.events.end())
        return {};

    std::string seen;
    // The marks ask it to their end.
    MarkKeeper keeper(beginOf(list.events.front()), endOf(list.events.back(), list.rate));
    Frame position(0);
    Frame markIn(0);
    Frame markOut(0);
    for (Frame* const mark : {&markIn, &markOut})
        mark->setManager(&keeper);
    const PositionDisplay positionDisplay(position, list, seen);
    const MarkDisplay markDisplay(markIn, markOut, list, seen);

    keeper.set(markIn, beginOf(*first), markOut, endOf(*last, list.rate));
    for (auto event = first; event <= last; ++event)
        position = beginOf(*event);
    position = markOut;
    return seen;
}
