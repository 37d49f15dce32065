#pragma once

#include <memory>

// The older counted pointer, for classic containers: one word, which points at a control block of 16 bytes
// with the object and a plain count. Null has no block. One thread at a time, for all pointers to one
// object; what threads share is held by Mw::Ptr.
template <class T>
class SmartPtr
{
public:
    SmartPtr() noexcept = default;

    // Adopts: the object is deleted with the last SmartPtr to it, and also if no block can be made.
    explicit SmartPtr(T* object)
    {
        std::unique_ptr<T> owner(object);
        if (object != nullptr)
            block_ = new Block{object, 1};
        owner.release();
    }

    SmartPtr(const SmartPtr& other) noexcept : block_(other.block_) { addReference(); }
    ~SmartPtr() { purge(); }

    SmartPtr& operator=(const SmartPtr& other) noexcept
    {
        // Counted before the old object is let go, so that assigning a pointer to itself is safe.
        other.addReference();
        Block* const block = other.block_;
        purge();
        block_ = block;
        return *this;
    }

    // Gives up one reference; the last one deletes the object and makes this null. While others hold the
    // object the pointer keeps its value, so the caller overwrites or destroys it at once.
    void purge() noexcept
    {
        if (block_ == nullptr || --block_->count_ != 0)
            return;
        destroy(block_);
        block_ = nullptr;
    }

    T* get() const noexcept { return block_ != nullptr ? block_->object_ : nullptr; }
    T& operator*() const noexcept { return *block_->object_; }
    T* operator->() const noexcept { return get(); }
    explicit operator bool() const noexcept { return get() != nullptr; }

    // Equal objects, by their own equality; null equals null alone.
    friend bool operator==(const SmartPtr& a, const SmartPtr& b)
    {
        if (a.block_ == b.block_)
            return true;
        return a.block_ != nullptr && b.block_ != nullptr && *a == *b;
    }

private:
    struct Block
    {
        T* object_;
        int count_;
    };

    // Apart from its callers, where g++ would warn of counts that it can't follow.
    [[gnu::noinline]] static void destroy(Block* block) noexcept
    {
        delete block->object_;
        delete block;
    }

    void addReference() const noexcept
    {
        if (block_ != nullptr)
            ++block_->count_;
    }

    Block* block_ = nullptr;
};
