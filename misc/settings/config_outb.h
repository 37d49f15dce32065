#pragma once

#include "OS/Export.h"

#include <iosfwd>

class Cookie;
class IdStamp;
class strp_field;

// The older way to write a configuration: line by line into a stream, tables inside tables. An object
// writes the opening of a table when it is made and its closing when it goes, each nested one two blanks
// further in. A line is the name, a blank and the value; numbers follow the C locale. What configb reads
// back of it is one table without others inside. One thread at a time, for all objects together.
class MISC_API config_outb
{
public:
    // The stream stays the caller's; null writes nothing.
    explicit config_outb(std::ofstream* stream);
    ~config_outb();
    config_outb(const config_outb&) = delete;
    config_outb& operator=(const config_outb&) = delete;

    // Null as a text counts as empty.
    void out(char const* name, char const* value);
    void out(char const* name, int value);
    void out(char const* name, unsigned int value);
    void out(char const* name, double value); // 8 decimals
    void out(char const* name, bool value);
    void out(char const* name, Cookie const& value); // without its sub-type
    void out(char const* name, strp_field const& value);
    void out(char const* name, IdStamp const& value);

private:
    void line(char const* name, char const* separator, char const* value);

    std::ofstream* stream_;
};
