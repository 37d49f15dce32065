#pragma once

#include "misc/persistence/StreamableLayer.h"

// A persistent class, and one that derives from it. Each describes its own layer and no more: two names, how
// its fields are written and how they are read. All else comes from StreamableLayer.

class Clip : public StreamableLayer<Clip, Streamable>
{
public:
    // The short name goes into every stored object, the full one into messages.
    static constexpr StreamLayerNames layerNames = {"C", "Clip"};

    Clip() = default; // for reading
    Clip(int startFrame, const LightweightString<char>& reel) : startFrame_(startFrame), reel_(reel) {}

    void pack(PStream& stream) const;
    void unpack(PStream& stream);

    int startFrame() const { return startFrame_; }
    const LightweightString<char>& reel() const { return reel_; }

private:
    int startFrame_ = 0;
    LightweightString<char> reel_;
};

// Stored as two layers, a clip's and its own.
class TitleClip : public StreamableLayer<TitleClip, Clip>
{
public:
    static constexpr StreamLayerNames layerNames = {"T", "TitleClip"};

    TitleClip() = default;
    TitleClip(int startFrame, const LightweightString<char>& reel, const LightweightString<char>& text, int size)
        : StreamableLayer(startFrame, reel), text_(text), size_(size)
    {
    }

    void pack(PStream& stream) const;
    void unpack(PStream& stream);

    const LightweightString<char>& text() const { return text_; }
    int size() const { return size_; }

private:
    static constexpr int defaultSize = 24;

    LightweightString<char> text_;
    int size_ = defaultSize;
};
