// Area project: what it costs to set a value of the current project that others listen to.
//
// Workload: a number that changes with every write. Each listener reads the new value from where it is kept and
// adds it to a sum of its own. Everything is on one thread.

#include "bench/harness/Registry.h"
#include "misc/media/CurrentProject.h"
#include "misc/notify/ValClient.h"

#include <array>
#include <memory>

namespace
{

using Mw::CurrentProject;

constexpr int listeners = 10;
constexpr const char* caseName = "project/set a value, 10 listeners";

class Listener
{
public:
    Listener()
        : guard_(CurrentProject::addListener(Mw::Ptr<ProjectState::Listener>(new Callback(this, &Listener::take))))
    {
    }

    int take(const NotifierEvent<unsigned>& event)
    {
        if (event.value == ProjectState::InCameraFilmSpeedAspect)
            sum_ += static_cast<unsigned>(CurrentProject::getInCameraFilmSpeed());
        return 0;
    }

private:
    using Callback = MethodCallback<Listener, NotifierEvent<unsigned>>;

    unsigned sum_ = 0;
    Mw::Ptr<Mw::Guard> guard_;
};

class Follower : public ValClient<unsigned>
{
public:
    using ValClient<unsigned>::ValClient;
    void valChangedNtfy() override { sum_ += getServerValue(); }

private:
    unsigned sum_ = 0;
};

struct Server
{
    ValServer<unsigned> server{0};
    std::vector<std::unique_ptr<Follower>> followers;

    Server()
    {
        for (int i = 0; i < listeners; ++i)
            followers.push_back(std::make_unique<Follower>(&server));
    }
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({caseName,
                          "Sets a value of the project that ten listen to; the limit writes to a value server with "
                          "ten clients.",
                          {{1.2, bench::theLimit}}});
        registry.ours(caseName, [all = std::make_shared<std::array<Listener, listeners>>(), next = 0]() mutable
                      { CurrentProject::setInCameraFilmSpeed(Mw::FrameRate(++next % 8), true); });
        registry.add(caseName, {bench::Role::limit, "value server",
                                [value = std::make_shared<Server>(), next = 0u](std::size_t count) mutable
                                {
                                    for (; count != 0; --count)
                                        value->server = ++next % 8;
                                }});
    });

} // namespace
