#pragma once

/// What a byte means in ASCII, whatever the locale.

constexpr bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The value of a hexadecimal digit in either case; -1 for anything else.
constexpr int hexDigit(char c)
{
    if (isDigit(c))
        return c - '0';
    const char lower = char(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}
