#include "OS/testing/TestClock.h"

TestClock::~TestClock() = default;
