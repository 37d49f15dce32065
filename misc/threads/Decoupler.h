#pragma once

#include "Mw/Assert.h"
#include "Mw/MwPooledObject.h"
#include "Mw/PooledStdAllocator.h"
#include "OS/Export.h"
#include "libmw/CriticalSection.h"

#include <list>
#include <utility>

// Command objects: a caller runs a command without knowing whom it calls. A handle, MwDC::Cmd, shares a
// counted representation, whose execute runs a receiver that the maker of the command named.
//
//     Cmd ◁─ NullCommand, SmplCmd, ParamCmd, CompCmd            what callers hold, copy and queue
//      │
//     CommandRep ◁─ SimpleCommandRep, ParameterizedCommandRep, CompoundCommandRep
//      │
//     Receiver                                                  what is called; not owned
//
// Ctx is what a run gets from whoever starts it. Safety is one of the ThreadSafetyTraits: with ThreadSafe,
// handles may be copied, dropped and run on any thread, and one representation does not run twice at the
// same time on two threads; with NoLocking, running is for one thread at a time. One handle is not to be
// assigned by one thread while another uses it. Handles, representations and the children of compounds come
// from pools.

namespace MwDC
{

// Defaults: no context; nothing that tells one command type from another.
struct NoCtx
{
};
struct NoTag
{
};

// Stops the program: a command was run that is no command yet.
MISC_API void ErrorNullRep();

namespace ThreadSafetyTraits
{

// A recursive lock, which can refuse the thread that is inside already.
class MISC_API ThreadSafe
{
public:
    explicit ThreadSafe(bool checkRecursion) noexcept : checkRecursion_(checkRecursion) {}

    // Blocks until the lock is this thread's. With the check, a thread that is inside already leaves an
    // assertion line and gets a std::runtime_error, and nothing changes.
    void enter()
    {
        enterBare();
        if (checkRecursion_ && inUse_) [[unlikely]]
            refuse();
        inUse_ = true;
    }
    void leave() noexcept
    {
        inUse_ = false;
        lock_.leave();
    }

    // The lock without the check. One with it is a queue's, which is held for moments, and a command's for a run.
    void enterBare() noexcept { checkRecursion_ ? lock_.enterInTurns() : lock_.enter(); }
    void leaveBare() noexcept { lock_.leave(); }

private:
    [[noreturn]] void refuse();

    const bool checkRecursion_;
    bool inUse_ = false;
    CriticalSection lock_{"command"};
};

// The same shape for what one thread uses at a time.
class NoLocking
{
public:
    explicit NoLocking(bool) noexcept {}
    void enter() noexcept {}
    void leave() noexcept {}
    void enterBare() noexcept {}
    void leaveBare() noexcept {}
};

// Is inside for a scope.
template <class Safety>
class [[nodiscard]] Entry
{
public:
    explicit Entry(Safety& safety) : safety_(safety) { safety_.enter(); }
    ~Entry() { safety_.leave(); }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

private:
    Safety& safety_;
};

// Holds the lock without the check for a scope.
template <class Safety>
class [[nodiscard]] BareEntry
{
public:
    explicit BareEntry(Safety& safety) noexcept : safety_(safety) { safety_.enterBare(); }
    ~BareEntry() { safety_.leaveBare(); }
    BareEntry(const BareEntry&) = delete;
    BareEntry& operator=(const BareEntry&) = delete;

private:
    Safety& safety_;
};

} // namespace ThreadSafetyTraits

// The base of what is pooled here.
template <class T>
using DefaultPoolBase =
    Mw::PooledObject<T, Mw::PooledObjectAllocation::ExpandingTraits, Mw::PooledObjectDebug::NullTraits<T>>;

// What handles share: a count, a lock that lets a thread run the same command from inside of itself, and the
// work. The last handle deletes it.
template <class Ctx, class Safety>
class CommandRep
{
public:
    CommandRep() noexcept : CommandRep(false) {}
    virtual ~CommandRep() = default;
    CommandRep(const CommandRep&) = delete;
    CommandRep& operator=(const CommandRep&) = delete;

    // True for success. Derived classes do the work; here there is none, which is an assertion.
    virtual bool execute(Ctx&)
    {
        Mw::assertionFailed("false", "misc/Decoupler line 265");
        return false;
    }

    // The same for a caller that gives its reference away, which is let go after the run: what a queue does with
    // a command that it has taken out, at two atomic instructions less.
    virtual bool executeAndRelease(Ctx& ctx);

protected:
    // One that `doesNothing` counts as the null command, and is not run.
    explicit CommandRep(bool doesNothing) noexcept : doesNothing_(doesNothing) {}

    void addReference() noexcept { OS().atomics().increment(&refCount_); }

    Safety safety_{false};

private:
    template <class, class>
    friend class Cmd;

    // True when this was the last one. The only owner needs no locked instruction: nobody else has a
    // reference, and so nobody can copy one.
    bool dropReference() noexcept
    {
        return OS().atomics().load(&refCount_) == 1 || OS().atomics().decrement(&refCount_) == 0;
    }

    int refCount_ = 0;
    const bool doesNothing_;
};

// Says that a handle takes over a reference which is counted already.
struct Counted
{
};

// A command: the handle by which it is held, copied and run. A handle may be empty; running an empty one stops
// the program. A handle of a derived class can be kept as a plain Cmd and is then still the same command.
template <class Ctx, class Safety>
class Cmd
{
public:
    using Context = Ctx;
    using Rep = CommandRep<Ctx, Safety>;

    Cmd() noexcept = default;
    explicit Cmd(Rep* rep) noexcept : rep_(rep) { addReference(); }
    Cmd(Rep* rep, Counted) noexcept : rep_(rep) {}
    Cmd(const Cmd& other) noexcept : rep_(other.rep_) { addReference(); }
    Cmd(Cmd&& other) noexcept : rep_(std::exchange(other.rep_, nullptr)) {}
    virtual ~Cmd() { dropReference(); }

    // The new reference is taken before the old one is let go.
    Cmd& operator=(const Cmd& other) noexcept
    {
        Cmd(other).swap(*this);
        return *this;
    }
    Cmd& operator=(Cmd&& other) noexcept
    {
        Cmd(std::move(other)).swap(*this);
        return *this;
    }

    // Runs the command and gives its result; true for the null command, which runs nothing.
    bool execute(Ctx& ctx) { return isNullCommand() || (!isUninitialised() && rep_->execute(ctx)); }

    // The same, and leaves the handle empty.
    bool executeAndRelease(Ctx& ctx)
    {
        return !isUninitialised() && std::exchange(rep_, nullptr)->executeAndRelease(ctx);
    }

    bool isValid() const noexcept { return rep_ != nullptr; }
    bool isNullCommand() const noexcept { return rep_ != nullptr && rep_->doesNothing_; }
    Rep* getRep() const noexcept { return rep_; }

    // Whether both are the same command.
    bool operator==(const Cmd& other) const noexcept { return rep_ == other.rep_; }

private:
    // Stops the program if there is nothing to run.
    bool isUninitialised() const
    {
        if (rep_ != nullptr) [[likely]]
            return false;
        ErrorNullRep();
        return true;
    }
    void swap(Cmd& other) noexcept { std::swap(rep_, other.rep_); }
    void addReference() noexcept
    {
        if (isValid())
            rep_->addReference();
    }
    void dropReference() noexcept
    {
        if (isValid() && rep_->dropReference())
            delete rep_;
    }

    Rep* rep_ = nullptr;
};

template <class Ctx, class Safety>
bool CommandRep<Ctx, Safety>::executeAndRelease(Ctx& ctx)
{
    const Cmd<Ctx, Safety> last(this, Counted());
    return execute(ctx);
}

// The command that does nothing. All of one kind are the same command.
template <class Ctx, class Safety>
class NullCommand : public Cmd<Ctx, Safety>, public DefaultPoolBase<NullCommand<Ctx, Safety>>
{
public:
    NullCommand() : Cmd<Ctx, Safety>(&theRep()) {}

private:
    // Holds itself, and so is never deleted.
    class NullRep final : public CommandRep<Ctx, Safety>
    {
    public:
        NullRep() noexcept : CommandRep<Ctx, Safety>(true) {}
        bool execute(Ctx&) override { return true; }

    private:
        const Cmd<Ctx, Safety> self_{this};
    };

    static NullRep& theRep()
    {
        static NullRep* holder = nullptr;
        if (OS().atomics().loadPointer(&holder) == nullptr) [[unlikely]]
            Mw::NamedObjects::findOrCreate(holder, "null command");
        return *OS().atomics().loadPointer(&holder);
    }
};

// Whom a command of class C calls. `argument` is what the command hands on: the context of the run, or what a
// ParamCmd was bound to. `cmd` keeps the representation alive during the call, also if all others drop it.
template <class C>
class Receiver
{
public:
    virtual ~Receiver() = default;
    virtual bool execute(C& cmd, typename C::Argument argument) = 0;
};

template <class Ctx, class Tag, class Safety>
class SmplCmd;

// Calls its receiver, which is not owned, with the context.
template <class Ctx, class Tag, class Safety>
class SimpleCommandRep final : public CommandRep<Ctx, Safety>,
                               public DefaultPoolBase<SimpleCommandRep<Ctx, Tag, Safety>>
{
public:
    using Handle = SmplCmd<Ctx, Tag, Safety>;

    explicit SimpleCommandRep(Receiver<Handle>& receiver) noexcept : receiver_(&receiver) {}

    bool execute(Ctx& ctx) override
    {
        this->addReference();
        return executeAndRelease(ctx);
    }
    bool executeAndRelease(Ctx& ctx) override
    {
        Handle handle(*this, Counted()); // destroyed after the lock is left, since this may go with it
        const ThreadSafetyTraits::Entry entry(this->safety_);
        return receiver_->execute(handle, ctx);
    }

private:
    Receiver<Handle>* const receiver_;
};

// A command that calls a receiver. Tag keeps the commands of one receiver class apart.
template <class Ctx, class Tag, class Safety>
class SmplCmd : public Cmd<Ctx, Safety>, public DefaultPoolBase<SmplCmd<Ctx, Tag, Safety>>
{
public:
    using Argument = Ctx&;
    using Rep = SimpleCommandRep<Ctx, Tag, Safety>;

    // Empty.
    SmplCmd() noexcept = default;

    // The receiver must outlive all runs of the command.
    explicit SmplCmd(Receiver<SmplCmd>& receiver) : Cmd<Ctx, Safety>(new Rep(receiver)) {}
    SmplCmd(Rep& rep, Counted) noexcept : Cmd<Ctx, Safety>(&rep, Counted()) {}
};

template <class P, class Tag, class Ctx, class R, class Safety>
class ParamCmd;

// Calls its receiver, which is not owned, with a parameter in the context's place. R is the form in which the
// receiver gets it: P&, const P& or a P of its own.
template <class P, class Tag, class Ctx, class R, class Safety>
class ParameterizedCommandRep final : public CommandRep<Ctx, Safety>,
                                      public DefaultPoolBase<ParameterizedCommandRep<P, Tag, Ctx, R, Safety>>
{
public:
    using Handle = ParamCmd<P, Tag, Ctx, R, Safety>;

    ParameterizedCommandRep(Receiver<Handle>& receiver, P parameter)
        : receiver_(&receiver), parameter_(std::move(parameter))
    {
    }

    bool execute(Ctx& ctx) override
    {
        this->addReference();
        return executeAndRelease(ctx);
    }
    bool executeAndRelease(Ctx&) override
    {
        Handle handle(*this, Counted());
        const ThreadSafetyTraits::Entry entry(this->safety_);
        return receiver_->execute(handle, parameter_);
    }

    Receiver<Handle>& receiver() const noexcept { return *receiver_; }

    // The parameter under the lock: sets it, copies it, moves it out.
    void setParameter(P parameter)
    {
        const ThreadSafetyTraits::Entry entry(this->safety_);
        parameter_ = std::move(parameter);
    }
    P parameter()
    {
        const ThreadSafetyTraits::Entry entry(this->safety_);
        return parameter_;
    }
    P takeParameter()
    {
        const ThreadSafetyTraits::Entry entry(this->safety_);
        return std::move(parameter_);
    }

private:
    Receiver<Handle>* const receiver_;
    P parameter_;
};

// A command that calls a receiver with a parameter that it is bound to.
template <class P, class Tag, class Ctx, class R, class Safety>
class ParamCmd : public Cmd<Ctx, Safety>, public DefaultPoolBase<ParamCmd<P, Tag, Ctx, R, Safety>>
{
public:
    using Argument = R;
    using Rep = ParameterizedCommandRep<P, Tag, Ctx, R, Safety>;

    // Empty.
    ParamCmd() noexcept = default;

    // The receiver must outlive all runs of the command.
    explicit ParamCmd(Receiver<ParamCmd>& receiver, P parameter = P())
        : Cmd<Ctx, Safety>(new Rep(receiver, std::move(parameter)))
    {
    }
    ParamCmd(Rep& rep, Counted) noexcept : Cmd<Ctx, Safety>(&rep, Counted()) {}

    // Binds the command, and so all handles that share it, to another parameter; not while it is empty.
    void bind(P parameter) { rep().setParameter(std::move(parameter)); }

    // A command of its own that calls the same receiver with another parameter. An empty handle has none,
    // which stops the program.
    ParamCmd boundTo(P parameter) const
    {
        if (this->isValid()) [[likely]]
            return ParamCmd(rep().receiver(), std::move(parameter));
        ErrorNullRep();
        return ParamCmd();
    }

    // Only while it is not empty.
    Rep& rep() const noexcept { return static_cast<Rep&>(*this->getRep()); }
};

// Runs its children in their order.
template <class Ctx, class Safety>
class CompoundCommandRep final : public CommandRep<Ctx, Safety>, public DefaultPoolBase<CompoundCommandRep<Ctx, Safety>>
{
public:
    using Child = Cmd<Ctx, Safety>;

    // `flag` is kept for those who ask for it; running does not look at it.
    explicit CompoundCommandRep(bool flag) noexcept : flag_(flag) {}

    // True if no child failed. After a failed one the others run all the same, unless `stopOnFailure`.
    // An exception of a child goes to the caller. A child may add and remove children: those that are
    // added run as well.
    bool execute(Ctx& ctx) override
    {
        this->addReference();
        return executeAndRelease(ctx);
    }
    bool executeAndRelease(Ctx& ctx) override
    {
        const Child self(this, Counted()); // a child may drop the last handle
        const ThreadSafetyTraits::Entry entry(this->safety_);
        const Walk walk(*this);
        bool result = true;
        for (auto& [key, child] : children_)
        {
            if (key == removedKey || child.execute(ctx))
                continue;
            result = false;
            if (stopOnFailure_)
                break;
        }
        return result;
    }

    // Adds a child behind the others; gives the key by which it can be removed.
    unsigned long addChild(Child child)
    {
        const ThreadSafetyTraits::Entry entry(this->safety_);
        children_.emplace_back(lastKey_ + 1, std::move(child));
        return ++lastKey_;
    }

    // False if there is no such child. One that runs at this moment does so to its end.
    bool removeChild(unsigned long key)
    {
        const ThreadSafetyTraits::Entry entry(this->safety_);
        for (auto at = children_.begin(); key != removedKey && at != children_.end(); ++at)
            if (at->first == key)
            {
                remove(at);
                return true;
            }
        return false;
    }

    void setStopOnFailure(bool stop)
    {
        const ThreadSafetyTraits::Entry entry(this->safety_);
        stopOnFailure_ = stop;
    }

    bool flag() const noexcept { return flag_; }

private:
    // The number of a child that is removed while the children are walked. It stands until the walk is over,
    // and lives as long, since it may be the one that runs.
    static constexpr unsigned long removedKey = 0;

    using Children =
        std::list<std::pair<unsigned long, Child>,
                  Mw::PooledStdAllocator<std::pair<unsigned long, Child>, Mw::PooledObjectDebug::LoggingTraits>>;

    class Walk
    {
    public:
        explicit Walk(CompoundCommandRep& rep) noexcept : rep_(rep) { ++rep_.walks_; }
        ~Walk()
        {
            if (--rep_.walks_ == 0)
                rep_.children_.remove_if([](const auto& child) { return child.first == removedKey; });
        }
        Walk(const Walk&) = delete;
        Walk& operator=(const Walk&) = delete;

    private:
        CompoundCommandRep& rep_;
    };

    void remove(typename Children::iterator at)
    {
        if (walks_ == 0)
            children_.erase(at);
        else
            at->first = removedKey;
    }

    Children children_;
    unsigned long lastKey_ = removedKey;
    int walks_ = 0; // that are under way, one inside the other
    bool stopOnFailure_ = false;
    const bool flag_;
};

// A command that runs others. A new one has no children, and succeeds.
template <class Ctx, class Safety>
class CompCmd : public Cmd<Ctx, Safety>, public DefaultPoolBase<CompCmd<Ctx, Safety>>
{
public:
    using Rep = CompoundCommandRep<Ctx, Safety>;

    explicit CompCmd(bool flag = false) : Cmd<Ctx, Safety>(new Rep(flag)) {}

    // All handles that share the command have its children in common.
    unsigned long addChild(Cmd<Ctx, Safety> child) { return rep().addChild(std::move(child)); }
    bool removeChild(unsigned long key) { return rep().removeChild(key); }
    void setStopOnFailure(bool stop) { rep().setStopOnFailure(stop); }

    Rep& rep() const noexcept { return static_cast<Rep&>(*this->getRep()); }
};

// The common forms are made once, in the library.
extern template class MISC_API CommandRep<NoCtx, ThreadSafetyTraits::ThreadSafe>;
extern template class MISC_API Cmd<NoCtx, ThreadSafetyTraits::ThreadSafe>;
extern template class MISC_API NullCommand<NoCtx, ThreadSafetyTraits::ThreadSafe>;
extern template class MISC_API SimpleCommandRep<NoCtx, NoTag, ThreadSafetyTraits::ThreadSafe>;
extern template class MISC_API SmplCmd<NoCtx, NoTag, ThreadSafetyTraits::ThreadSafe>;
extern template class MISC_API CompoundCommandRep<NoCtx, ThreadSafetyTraits::ThreadSafe>;
extern template class MISC_API CompCmd<NoCtx, ThreadSafetyTraits::ThreadSafe>;
extern template class MISC_API CommandRep<NoCtx, ThreadSafetyTraits::NoLocking>;
extern template class MISC_API Cmd<NoCtx, ThreadSafetyTraits::NoLocking>;
extern template class MISC_API NullCommand<NoCtx, ThreadSafetyTraits::NoLocking>;
extern template class MISC_API SimpleCommandRep<NoCtx, NoTag, ThreadSafetyTraits::NoLocking>;
extern template class MISC_API SmplCmd<NoCtx, NoTag, ThreadSafetyTraits::NoLocking>;
extern template class MISC_API CompoundCommandRep<NoCtx, ThreadSafetyTraits::NoLocking>;
extern template class MISC_API CompCmd<NoCtx, ThreadSafetyTraits::NoLocking>;

} // namespace MwDC
