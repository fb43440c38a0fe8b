#pragma once
// Times as they travel on the pipes, and sizes for display. Pure, any thread.
#include <cstdint>
#include <ctime>

// Windows FILETIME: 100-nanosecond intervals since 1601-01-01, low half first.
struct _filetime {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
};

// Seconds since 1970; a time before that wraps. -1 for a null pointer, else 0.
int ms_filetime_to_timet(const _filetime* filetime, std::time_t* seconds);
// Stores the decimal number of text into raw and, unchanged, into filetime. -1, with filetime untouched, for
// a null text or filetime and for the number 34.
int seconds_convert_to_ms_filetime(const char* text, _filetime* filetime, std::uint64_t* raw);
// The sum of the value's two halves, cut to 32 bits.
std::int32_t convert_to_timet_for_link_engine(std::uint64_t value);

// "1.5 KB" and the like; newly allocated with malloc, the caller frees it.
char* get_format_size_for_display(std::uint64_t bytes);
