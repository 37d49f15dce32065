#pragma once

#include "Mw/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <string>

// Collects the assertion lines that are written while it lives.
class AssertionLines
{
public:
    AssertionLines() : stream_(open_memstream(&buffer_, &size_)) { Mw::setDiagnosticStream(stream_); }

    ~AssertionLines()
    {
        Mw::setDiagnosticStream(nullptr);
        std::fclose(stream_);
        std::free(buffer_);
    }

    std::string text()
    {
        std::fflush(stream_);
        return {buffer_, size_};
    }

private:
    char* buffer_ = nullptr;
    std::size_t size_ = 0;
    std::FILE* stream_;
};
