#pragma once

#include "OS/OS.h"
#include "OS/Utf8.h"
#include "misc/text/JsonScan.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace JSON
{

// An array that grows where it lies if it can; large blocks move without being copied.
template <class T>
class Buffer
{
public:
    Buffer() noexcept = default;
    Buffer(Buffer&& other) noexcept { swap(other); }
    Buffer& operator=(Buffer other) noexcept
    {
        swap(other);
        return *this;
    }
    ~Buffer() { OS().allocator().release(items_); }

    std::size_t size() const noexcept { return size_; }
    const T* data() const noexcept { return items_; }
    T& operator[](std::size_t index) noexcept { return items_[index]; }
    const T& operator[](std::size_t index) const noexcept { return items_[index]; }

    // Room for so many items behind the last, which setEnd takes in.
    T* room(std::size_t count)
    {
        if (capacity_ - size_ < count) [[unlikely]]
            grow(size_ + count);
        return items_ + size_;
    }
    void setEnd(const T* end) noexcept { size_ = static_cast<std::size_t>(end - items_); }

    void push_back(T item)
    {
        *room(1) = item;
        ++size_;
    }

private:
    [[gnu::noinline]] void grow(std::size_t least)
    {
        const std::size_t capacity = std::max<std::size_t>({2 * capacity_, least, 64});
        items_ = static_cast<T*>(OS().allocator().reallocate(items_, capacity * sizeof(T)));
        capacity_ = capacity;
    }
    void swap(Buffer& other) noexcept
    {
        std::swap(items_, other.items_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

    T* items_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// The lines that a builder wrote. One of ASCII, which most are, takes a byte for each character; others stay wide.
class LineList
{
public:
    std::size_t size() const noexcept { return lines_.size(); }
    std::size_t sizeBytes() const noexcept { return bytes_.size(); }

    // Room for a line of ASCII behind the last line; endLine takes it in.
    char* room(std::size_t sizeBytes) { return bytes_.room(sizeBytes); }
    void endLine(const char* end)
    {
        bytes_.setEnd(end);
        lines_.push_back(Line(bytes_.size(), false));
    }

    void addWide(std::wstring_view line)
    {
        const std::size_t sizeBytes = line.size() * sizeof(wchar_t);
        char* const out = bytes_.room(sizeBytes);
        std::memcpy(out, line.data(), sizeBytes);
        bytes_.setEnd(out + sizeBytes);
        lines_.push_back(Line(bytes_.size(), true));
    }

    // At the end of the last line.
    void addComma()
    {
        Line& last = lines_[lines_.size() - 1];
        const wchar_t wide = L',';
        const char ascii = ',';
        const std::size_t sizeBytes = last.isWide() ? sizeof wide : sizeof ascii;
        char* const out = bytes_.room(sizeof wide);
        std::memcpy(out, last.isWide() ? static_cast<const void*>(&wide) : &ascii, sizeBytes);
        bytes_.setEnd(out + sizeBytes);
        last = Line(bytes_.size(), last.isWide());
    }

    // Calls wide(text) or ascii(text) for each line in turn. A wide text is valid during the call.
    template <class Wide, class Ascii>
    void forEach(Wide wide, Ascii ascii) const
    {
        std::wstring line;
        std::size_t start = 0;
        for (std::size_t i = 0; i < lines_.size(); ++i)
        {
            const std::string_view bytes(bytes_.data() + start, lines_[i].end() - start);
            start = lines_[i].end();
            if (!lines_[i].isWide())
            {
                ascii(bytes);
                continue;
            }
            line.resize(bytes.size() / sizeof(wchar_t));
            std::memcpy(line.data(), bytes.data(), bytes.size());
            wide(std::wstring_view(line));
        }
    }

private:
    // Where a line ends among the bytes, and which of the two it is.
    class Line
    {
    public:
        Line(std::size_t end, bool isWide) noexcept : endAndWidth_(2 * end + isWide) {}
        std::size_t end() const noexcept { return endAndWidth_ / 2; }
        bool isWide() const noexcept { return endAndWidth_ % 2 != 0; }

    private:
        std::size_t endAndWidth_;
    };

    Buffer<char> bytes_;
    Buffer<Line> lines_;
};

} // namespace JSON
