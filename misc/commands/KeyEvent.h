#pragma once

// What a window layer says of a key.
struct KeyEvent
{
    // Whatever isn't a press counts as a release.
    enum eType : int
    {
        eReleased = 0,
        ePressed = 1
    };
};
