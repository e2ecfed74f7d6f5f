// Dates as texts of a fixed layout.
#pragma once

#include <ctime>

// "Jan" for 1 to "Dec" for 12; "???" for every other number.
[[nodiscard]] const char* GetMonthString(int month);

// Whether `a` is the later one, by year, month, day, hour, minute and second.
[[nodiscard]] bool operator>(const tm& a, const tm& b);

// Reads a date of the layout "Mmm dd hh:mm:ss yyyy" with one more word behind it (the name of a
// time zone, for example; it is not read), 24 characters in all. False for anything else, null
// included; February has 29 days in every year.
//
// What `out` then holds differs from what the system's time functions use: tm_mon counts from 1 and
// tm_year is the full year. It is good only for comparing with a date made in the same way.
// tm_wday, tm_yday and tm_isdst are not touched. After false, `out` may hold some of the fields and
// must not be used.
[[nodiscard]] bool ConvertDateStrToStruct(tm* out, const char* s);
