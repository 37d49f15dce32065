#include "OS/Windowing.h"

iWindowing::~iWindowing() = default;

int iWindowing::getKeyboardModifiers()
{
    int modifiers = 0;
    for (const int modifier : {eModifierControl, eModifierShift, eModifierAlt, eModifierFourth})
        if (isKeyDown(modifier))
            modifiers |= modifier;
    return modifiers;
}
