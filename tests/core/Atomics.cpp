#include "OS/OS.h"

#include <array>
#include <gtest/gtest.h>
#include <thread>

TEST(Atomics, exchangesGiveTheValueFound)
{
    int number = 5;
    EXPECT_EQ(OS().atomics().compareExchange(&number, 7, 4), 5);
    EXPECT_EQ(OS().atomics().compareExchange(&number, 7, 5), 5);
    void* slot = &number;
    EXPECT_EQ(OS().atomics().compareExchangePointer(&slot, nullptr, nullptr), &number);
    EXPECT_EQ(OS().atomics().compareExchangePointer(&slot, nullptr, &number), &number);
    EXPECT_TRUE(number == 7 && slot == nullptr);
}

TEST(Atomics, pairsChangeAsOne)
{
    if (!OS().atomics().hasPairExchange())
        GTEST_SKIP() << "this processor has no 16-byte exchange";
    // Pointer and counter move together: a torn exchange would let them part, a lost one would miss a count.
    constexpr std::uint64_t rounds = 20000;
    static std::array<char, rounds * 4 + 1> places;
    PointerPair shared{places.data(), 0};
    {
        std::array<std::jthread, 4> threads;
        for (std::jthread& thread : threads)
            thread = std::jthread(
                [&]
                {
                    for (std::uint64_t i = 0; i < rounds; ++i)
                    {
                        PointerPair found{places.data(), 0};
                        PointerPair next;
                        do
                        {
                            EXPECT_EQ(found.pointer, places.data() + found.counter);
                            next = {static_cast<char*>(found.pointer) + 1, found.counter + 1};
                        } while (!OS().atomics().compareExchangePair(&shared, next, found));
                    }
                });
    }
    EXPECT_EQ(shared.counter, 4 * rounds);
    EXPECT_EQ(shared.pointer, places.data() + 4 * rounds);
}
