#include "OS/TextBlocks.h"

constinit thread_local std::array<TextBlocks::List, TextBlocks::listCount> TextBlocks::lists_{};

// Opens the lists of its thread, and empties and closes them when the thread ends. What is given back
// after that, by destructors that run later, goes straight to the allocator.
class TextBlocks::Emptier
{
public:
    Emptier() noexcept
    {
        for (std::size_t i = 0; i < lists_.size(); ++i)
            lists_[i].room = static_cast<std::uint32_t>(bytesPerList / (headerBytes + (std::size_t(1) << i)));
    }
    ~Emptier()
    {
        for (List& list : lists_)
        {
            while (Link* const block = list.first)
            {
                list.first = block->next;
                Allocator().release(block);
            }
            list.room = 0;
        }
    }
};

void TextBlocks::giveToFullList(void* block, std::size_t textBytes) noexcept
{
    // Stays true after the thread's Emptier is gone.
    static thread_local constinit bool opened = false;
    if (opened)
        return Allocator().release(block);
    opened = true;
    static thread_local const Emptier emptier;
    give(block, textBytes);
}
