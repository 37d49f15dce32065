#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

// A window that shows a grid of characters, such as the debug console.
class OS_API iStatusWindow : public iObject
{
public:
    // What the window shows: a grid of rows with a mark on each that has changed. The owner of the
    // contents writes; the window reads and clears the marks, under `lock`, which may be taken again by
    // the thread that holds it.
    class OS_API iContents : public iObject
    {
    public:
        virtual int width() = 0;
        virtual int height() = 0;
        virtual LightweightString<wchar_t> row(int y) = 0;
        // Whether the row has changed since the last call, which clears the mark.
        virtual bool takeChanged(int y) = 0;
        virtual void lock() = 0;
        virtual void unlock() = 0;
    };

    // Told of what the user does in the window.
    class OS_API iEventHandler : public iObject
    {
    public:
        virtual void keyPressed(int keyCode) = 0;
        virtual void closed() = 0;
    };

    virtual bool isVisible() = 0;
    virtual void setVisible(bool visible) = 0;
    virtual void setOnTop(bool onTop) = 0;

    // Rows may have changed: shows them when the window next draws itself.
    virtual void update() = 0;

    // The grid as text, rows separated by new lines, trailing blanks cut.
    virtual LightweightString<char> asText() = 0;
};

// Windows and keyboard state: OS().windowing(). The standard one is headless: windows are grids in
// memory, and keys are down when a test or a host says so. Any thread.
class OS_API iWindowing
{
public:
    virtual ~iWindowing();

    virtual Mw::Ptr<iStatusWindow> createStatusWindow(const Mw::Ptr<iStatusWindow::iContents>& contents,
                                                      const Mw::Ptr<iStatusWindow::iEventHandler>& handler) = 0;

    // Key codes as commands know them: a character, or one of the modifier bits below.
    virtual bool isKeyDown(int keyCode) = 0;
    virtual void setKeyDown(int keyCode, bool down) = 0;

    enum eModifier
    {
        eModifierFourth = 0x100000,
        eModifierShift = 0x1000000,
        eModifierControl = 0x2000000,
        eModifierAlt = 0x4000000
    };
    // The bits of the modifiers that are down, each found by isKeyDown.
    virtual int getKeyboardModifiers();
};
