// A thread's own fixed clock moves "now" for that thread only.
#include <gtest/gtest.h>

#include <thread>

#include "core/Clock.h"

TEST(ScopedThreadClock, MovesNowForItsThreadOnly)
{
    ScopedClock process(1000);
    int32_t seenElsewhere = 0;
    {
        ScopedThreadClock mine(5000);
        EXPECT_EQ(CurrentTime(), 5000);
        std::thread other([&] { seenElsewhere = CurrentTime(); });
        other.join();
        mine.Set(7000);
        EXPECT_EQ(CurrentTime(), 7000);
        {
            ScopedThreadClock inner(9000);
            EXPECT_EQ(CurrentTime(), 9000);
        }
        EXPECT_EQ(CurrentTime(), 7000);
    }
    EXPECT_EQ(seenElsewhere, 1000);
    EXPECT_EQ(CurrentTime(), 1000);
}
