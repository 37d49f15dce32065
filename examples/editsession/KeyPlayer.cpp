#include "examples/editsession/KeyPlayer.h"

#include "examples/editsession/ListPlayer.h"
#include "libmw/Text.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/CommandMapMMC.h"
#include "misc/commands/CommandRegistrar.h"
#include "misc/commands/KeyCode.h"
#include "misc/media/TimecodeLabel.h"

#include <algorithm>
#include <optional>

namespace
{

// Where the player stands in the list, and its marks. Times are frames of the record.
class Player
{
public:
    explicit Player(const EditList& list)
        : list_(list), begin_(beginOf(list.events.front())), end_(endOf(list.events.back(), list.rate)),
          position_(begin_)
    {
    }

    void step(int frames) { position_ = std::clamp(position_ + frames, begin_, end_); }

    // To the beginning of the event that the position lies in, or of one so many behind it.
    void goToEvent(int offset)
    {
        const auto last = static_cast<int>(list_.events.size()) - 1;
        position_ = beginOf(list_.events[static_cast<std::size_t>(std::clamp(eventAt() + offset, 0, last))]);
    }
    void goTo(const std::optional<int>& mark) { position_ = mark.value_or(position_); }

    void markIn() { in_ = position_; }
    void markOut() { out_ = position_; }
    void clearMarks() { in_ = out_ = std::nullopt; }
    const std::optional<int>& markedIn() const { return in_; }
    const std::optional<int>& markedOut() const { return out_; }

    void play(bool on) { isPlaying_ = on; }

    // A second goes by. Playing ends at the mark out, or at the end of the list.
    void letSecondPass()
    {
        if (!isPlaying_)
            return;
        const int stop = out_ && *out_ > position_ ? *out_ : end_;
        position_ = std::min(position_ + Mw::labelsPerSecond(list_.rate), stop);
        isPlaying_ = position_ < stop;
    }

    // Lists the events that begin in the marked part.
    void exportMarked()
    {
        for (const Event& event : list_.events)
            if (beginOf(event) >= in_.value_or(begin_) && beginOf(event) < out_.value_or(end_))
                exported_ += formatted(" %03d", event.number).c_str();
        if (exported_.empty())
            exported_ = " nothing";
    }

    std::string state()
    {
        std::string text = "position " + labelInList(list_, position_);
        if (in_)
            text += "  in " + labelInList(list_, *in_);
        if (out_)
            text += "  out " + labelInList(list_, *out_);
        if (isPlaying_)
            text += "  playing";
        if (!exported_.empty())
            text += "  exported" + exported_;
        exported_.clear();
        return text;
    }

private:
    int eventAt() const
    {
        const auto behind = std::find_if(list_.events.begin() + 1, list_.events.end(),
                                         [this](const Event& event) { return beginOf(event) > position_; });
        return static_cast<int>(behind - list_.events.begin()) - 1;
    }

    const EditList& list_;
    const int begin_;
    const int end_;
    int position_;
    std::optional<int> in_;
    std::optional<int> out_;
    bool isPlaying_ = false;
    std::string exported_;
};

// The one that keys reach; null while none plays.
Player* thePlayer;

template <auto operation, auto... arguments>
void onPlayer()
{
    if (thePlayer != nullptr)
        (thePlayer->*operation)(arguments...);
}

void goToMarkIn()
{
    if (thePlayer != nullptr)
        thePlayer->goTo(thePlayer->markedIn());
}

void goToMarkOut()
{
    if (thePlayer != nullptr)
        thePlayer->goTo(thePlayer->markedOut());
}

void playWhileHeld(const Cmd::Context& context)
{
    if (thePlayer != nullptr)
        thePlayer->play(context.eventKind_ == Cmd::eKeyPressed);
}

enum Key : int
{
    up = KeyCode::scanCode | 0x48,
    left = KeyCode::scanCode | 0x4B,
    right = KeyCode::scanCode | 0x4D,
    down = KeyCode::scanCode | 0x50
};

struct PlainCommand
{
    const char* name;
    void (*function)();
    const wchar_t* description;
    int key;
};

constexpr PlainCommand plainCommands[] = {
    {"Step forward", onPlayer<&Player::step, 1>, L"one frame on", right},
    {"Step back", onPlayer<&Player::step, -1>, L"one frame back", left},
    {"Go to event", onPlayer<&Player::goToEvent, 0>, L"to the beginning of this event", 'g'},
    {"Next event", onPlayer<&Player::goToEvent, 1>, L"to the beginning of the next event", down},
    {"Previous event", onPlayer<&Player::goToEvent, -1>, L"to the beginning of the event before", up},
    {"Mark in", onPlayer<&Player::markIn>, L"marks the first frame of a part", 'i'},
    {"Mark out", onPlayer<&Player::markOut>, L"marks the frame behind the last of a part", 'o'},
    {"Clear marks", onPlayer<&Player::clearMarks>, L"takes both marks away", 'x'},
    {"Go to mark in", goToMarkIn, L"to the mark in", '['},
    {"Go to mark out", goToMarkOut, L"to the mark out", ']'},
    {"Play", onPlayer<&Player::play, true>, L"plays to the mark out or to the end", 'l'},
    {"Stop", onPlayer<&Player::play, false>, L"stops playing", 'k'},
    {"Export", onPlayer<&Player::exportMarked>, L"lists the events of the marked part", 'e'},
};

struct Registration
{
    Registration()
    {
        for (const PlainCommand& command : plainCommands)
            CommandRegistrar(command.name, command.function, UIString(Mw::WStringFromAscii(command.name)),
                             command.description, eCmdGlobal, MapItem(command.key, false));
        CommandRegistrar("Play while held", playWhileHeld, L"Play while held", L"plays as long as the key is down",
                         CommandMapRec::eWantsBothEvents | CommandMapRec::eGlobalScope, MapItem(' ', false));
    }
} const registration;

// Presses the key, holds it for a second and releases it. Gives the name of the command that took it.
Text strike(int keycode, Player& player)
{
    const CommandMapMMC& commands = CommandMapMMC::GlobalCommands();
    const unsigned index = commands.tryKey(keycode, KeyEvent::ePressed);
    player.letSecondPass();
    commands.tryKey(keycode, KeyEvent::eReleased);
    return index != 0 ? CommandMap::instance()->getCommand(index)->commandName() : "no command";
}

} // namespace

std::string playKeys(const EditList& list, std::string_view keys, const EditListReader::Refuse& refuse)
{
    std::string seen;
    Player player(list);
    thePlayer = &player;
    for (int line = 1; !keys.empty(); ++line)
    {
        const std::size_t end = std::min(keys.find('\n'), keys.size());
        const std::string_view word = trimmed(keys.substr(0, end));
        keys.remove_prefix(std::min(end + 1, keys.size()));
        if (word.empty())
            continue;
        // It holds a gesture's code while that is played.
        const MapItem key = mapItemFromText(fromUTF8(Text(word)));
        if (!key.valid())
        {
            refuse(line, quoted(word) + " is no key");
            continue;
        }
        const Text shown = toUTF8(keycodeToString(key.mappedKeyCode()));
        const Text command = strike(key.mappedKeyCode(), player);
        seen += formatted("  %-16s %-16s ", shown.c_str(), command.c_str()).c_str() + player.state() + '\n';
    }
    thePlayer = nullptr;
    return seen;
}
