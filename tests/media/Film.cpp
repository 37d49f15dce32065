#include "misc/media/Film.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace
{

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

} // namespace

TEST(Film, gaugesReadBackFromTheirEditListTexts)
{
    for (const film_gauge gauge : {FILM_16MM, FILM_35MM, FILM_16MM_INK, FILM_35MM_3PERF})
        EXPECT_EQ(edlstr_to_film_gauge(film_gauge_to_edlstr(gauge)), gauge);
    EXPECT_EQ(edlstr_to_film_gauge("f16r"), FILM_16MM_INK);
    for (const char* text : {"F3", "F3533", "INVALID", static_cast<const char*>(nullptr)})
        EXPECT_EQ(edlstr_to_film_gauge(text), FILM_INVALID);
    EXPECT_EQ(perfs_to_frames(23, FILM_35MM_3PERF) + frames_to_perfs(-7, FILM_35MM), 7 - 28);
    EXPECT_TRUE(frames_to_perfs(highest, FILM_35MM) == highest && perfs_to_frames(lowest, FILM_INVALID) == highest);
}

TEST(Film, feetOfFramesAndBack)
{
    const auto feet = [](int frame, film_gauge gauge) -> std::string { return frames_to_feet(frame, gauge, 1); };
    EXPECT_EQ(feet(-3, FILM_16MM) + feet(40, FILM_16MM_INK), "-0000.03 0001.00");
    EXPECT_EQ(feet(20, FILM_35MM_3PERF) + feet(21, FILM_35MM_3PERF) + feet(42, FILM_35MM_3PERF),
              " 0000.20 0001.00 0002.00");
    EXPECT_EQ(feet(-5, FILM_INVALID) + feet(lowest, FILM_35MM), "INVALID-134217728.00");
    EXPECT_STREQ(frames_to_feet(-3, FILM_16MM, 0), "-   0.03");
    for (const film_gauge gauge : {FILM_16MM, FILM_35MM})
        for (int frame = -5000; frame != 5000; ++frame)
            ASSERT_EQ(feet_to_frames(frames_to_feet(frame, gauge, frame % 2), gauge), frame);
}

TEST(Film, framesOfFeetTexts)
{
    for (const char* text : {"2", "2.", "2.x5", "2..5", " +2.0"})
        EXPECT_EQ(feet_to_frames(text, FILM_16MM), 80) << text;
    EXPECT_EQ(feet_to_frames("-", FILM_35MM) + feet_to_frames(nullptr, FILM_35MM), 0);
    EXPECT_EQ(feet_to_frames("- 2+5", FILM_35MM), -37);
    EXPECT_EQ(feet_to_frames(" -2.5", FILM_35MM), 37);
    EXPECT_EQ(feet_to_frames("2.1", FILM_35MM_3PERF), 43);
    EXPECT_EQ(feet_to_frames("-2.5", FILM_INVALID), -1);
    EXPECT_EQ(feet_to_frames("99999999999999999999.99999999999999999999", FILM_35MM), highest);
    EXPECT_EQ(feet_to_frames("-0.99999999999999999999", FILM_35MM_3PERF), -highest);
}
