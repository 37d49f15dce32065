#pragma once

#include "OS/OS.h"
#include "libmw/CriticalSection.h"

#include <cstddef>
#include <new>

namespace Mw::LockFree
{

// The single link of an object that stands on a stack.
template <class T>
struct SLNode
{
    SLNode* next;
};

namespace Private
{

// How a stack reaches the link of a T, and the T of a link. The link lies over the beginning of the object,
// whose contents it destroys: a stack of dead objects needs no memory of its own. A type with room for a link
// may specialise this.
template <class T>
struct SLNodeAccessor
{
    static SLNode<T>* nodeOf(T* object) noexcept { return ::new (static_cast<void*>(object)) SLNode<T>; }
    static T* objectOf(SLNode<T>* node) noexcept { return reinterpret_cast<T*>(node); }
};

} // namespace Private

// A stack of objects in their own memory, which nothing blocks. It owns none of them. Whoever pops may look
// at the link of an object that another thread has taken meanwhile, so the memory of an object that was
// once on the stack must stay readable for as long as the stack lives. Any thread.
//
// The pop that finds its head unchanged might still be wrong if the head had been taken and put back in
// between, with another object below it. A counter beside the pointer, which each pop raises, makes that pop
// fail: no object gets two owners. Only a thread that sleeps in the middle of a pop while others pop exactly
// 2^32 times, or a multiple of it, and then finds the same head and the same count, would not notice.
//
//     offset 0   head, a plain pointer, which a leak checker follows
//            8   how many objects stand on the stack, 32 bits
//           12   how many were popped, 32 bits
template <class T>
class Stack
{
public:
    enum class Means
    {
        pairExchange, // of pointer and counter at once, 16 bytes
        lock          // on processors without that exchange
    };

    static Means bestMeans() noexcept { return OS().atomics().hasPairExchange() ? Means::pairExchange : Means::lock; }

    explicit Stack(Means means = bestMeans()) noexcept : means_(means) {}
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    // The object has no valid contents from now on.
    void push(T* object) noexcept
    {
        Node* const node = Accessor::nodeOf(object);
        if (means_ == Means::pairExchange) [[likely]]
            exchangeIn(node);
        else
            lockIn(node);
    }

    // The object that was pushed last, or null if the stack is empty. What its pusher did before is seen.
    T* pop() noexcept
    {
        Node* const node = means_ == Means::pairExchange ? exchangeOut() : lockOut();
        if (node == nullptr)
            return nullptr;
        return Accessor::objectOf(node);
    }

    // How many objects stand on the stack: at one moment, which is past.
    int count() const noexcept
    {
        if (means_ == Means::pairExchange) [[likely]]
            return static_cast<int>(OS().atomics().loadPair(&head_).counter);
        const CriticalSection::Lock lock(lock_);
        return static_cast<int>(head_.counter);
    }

private:
    using Node = SLNode<T>;
    using Accessor = Private::SLNodeAccessor<T>;

    // What a push and a pop add to the counter.
    static constexpr std::uint64_t onePush = 1;
    static constexpr std::uint64_t onePop = (std::uint64_t{1} << 32) - 1;

    void exchangeIn(Node* node) noexcept
    {
        PointerPair head = OS().atomics().loadPair(&head_);
        do
            node->next = static_cast<Node*>(head.pointer);
        while (!OS().atomics().compareExchangePair(&head_, {node, head.counter + onePush}, head));
    }

    Node* exchangeOut() noexcept
    {
        for (;;)
        {
            // The counter comes first: an exchange that succeeds then says that nothing was popped since,
            // and the link belongs to an object that stood on the stack all the time.
            PointerPair head = OS().atomics().loadPair(&head_);
            Node* const node = static_cast<Node*>(head.pointer);
            if (node == nullptr ||
                OS().atomics().compareExchangePair(&head_, {nextOf(node), head.counter + onePop}, head))
                return node;
        }
    }

    [[gnu::noinline, gnu::cold]] void lockIn(Node* node) noexcept
    {
        const CriticalSection::Lock lock(lock_);
        node->next = static_cast<Node*>(head_.pointer);
        head_.pointer = node;
        head_.counter += onePush;
    }
    [[gnu::noinline, gnu::cold]] Node* lockOut() noexcept
    {
        const CriticalSection::Lock lock(lock_);
        Node* const node = static_cast<Node*>(head_.pointer);
        if (node != nullptr)
        {
            head_.pointer = node->next;
            head_.counter += onePop;
        }
        return node;
    }

    // The one read that may be stale. Where another thread has taken the object since, and writes to it, what
    // is read here is lost, since the exchange that follows fails. The thread sanitizer, which would report the
    // read, has no way to know, and so is not to look at it.
    __attribute__((no_sanitize("thread"))) static Node* nextOf(const Node* node) noexcept
    {
        return *static_cast<Node* const volatile*>(&node->next);
    }

    alignas(64) PointerPair head_; // the line is the stack's own
    const Means means_;
    mutable CriticalSection lock_{"lock-free stack"};
};

} // namespace Mw::LockFree
