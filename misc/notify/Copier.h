#pragma once

#include "OS/Export.h"

#include <cstdint>

class iObject;

// A strategy that copies or moves items from one holder to another, for values whose clients have to be told
// before and after. Who runs it calls preCopy, then for each item canCopy, copyItem and, when moving, removeItem,
// then commit, or rollback if an item failed, and last postCopy. The items belong to the holders. One thread
// at a time.
class MISC_API Copier
{
public:
    enum Type : std::uint32_t
    {
        eMove = 0,
        eCopy = 1
    };

    explicit Copier(Type type) noexcept : type_(type) {}
    Copier(const Copier&) = delete;
    Copier& operator=(const Copier&) = delete;
    virtual ~Copier();

    virtual void preCopy();
    virtual void postCopy();

    // False leaves the item where it is.
    virtual bool canCopy(const iObject* item) const = 0;

    // Puts the item into the new holder; false if that failed.
    virtual bool copyItem(iObject* item) = 0;

    // Takes the item out of the old holder; false if that failed.
    virtual bool removeItem(iObject* item) = 0;

    // Keeps what was done, or undoes it.
    virtual bool commit() = 0;
    virtual void rollback() = 0;

    virtual bool isMove() const;

protected:
    // For the derived class: the item at work. Null at first.
    iObject* item_ = nullptr;

private:
    const Type type_;
};
