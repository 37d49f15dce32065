#pragma once

#include "Mw/LightweightString.h"
#include "misc/base/ResId.h"

#include <utility>

// A display text that is given either as it stands or as a resource. The resource is looked up when the text is
// first asked for, and kept: static objects may hold one. One thread at a time.
class UIString
{
public:
    using Text = LightweightString<wchar_t>;

    UIString() noexcept = default;
    UIString(Text text) noexcept : text_(std::move(text)) {}
    UIString(const wchar_t* text) : text_(text) {}
    UIString(ResId id, ResStrFmt format = ResStrFmt::asIs) noexcept : id_(id), format_(format) {}

    // The text, or else that of the resource; empty if there is neither.
    const Text& text() const
    {
        if (text_.empty() && id_ != ResId::none)
            text_ = resourceStrW(id_, format_);
        return text_;
    }

    ResId id() const noexcept { return id_; }
    ResStrFmt format() const noexcept { return format_; }

    // Whether there is anything to show, found without a look-up.
    bool isGiven() const noexcept { return !text_.empty() || id_ != ResId::none; }

private:
    mutable Text text_;
    ResId id_ = ResId::none;
    ResStrFmt format_ = ResStrFmt::asIs;
};
