#include "base/KvDate.h"

#include <cstring>

#include "base/KvSimpleString.h"
#include "base/KvText.h"

namespace {

constexpr size_t kDateLength = 24;
constexpr int kMonths = 12;
constexpr int kFirstYear = 1900;
constexpr int kLastYear = 2099;

const char* const s_mon[kMonths] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
// February always allows 29: leap years are not checked.
const int s_mon_day[kMonths] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

enum Piece { kMonthPiece, kDayPiece, kTimePiece, kYearPiece, kPieces };

// A run of blanks separates once, because days below ten are padded with a blank.
bool splitAtBlanks(const char* text, KvSimpleString (&pieces)[kPieces]) {
    for (KvSimpleString& piece : pieces) {
        text += strspn(text, " ");
        const size_t length = strcspn(text, " ");
        if (length == 0) {
            return false;
        }
        piece.assign(text, text + length);
        Str_TrimAll(piece);
        text += length;
    }
    return true;
}

bool readMonth(const KvSimpleString& piece, tm& out) {
    for (int month = 1; month <= kMonths; ++month) {
        // Counted from 1, unlike the months of the system's own functions.
        if (piece == GetMonthString(month)) {
            out.tm_mon = month;
            return true;
        }
    }
    return false;
}

bool readDay(const KvSimpleString& piece, tm& out) {
    out.tm_mday = leadingNumber(piece.c_str());
    return out.tm_mday >= 1 && out.tm_mday <= s_mon_day[out.tm_mon - 1];
}

bool readYear(const KvSimpleString& piece, tm& out) {
    out.tm_year = leadingNumber(piece.c_str());
    return out.tm_year >= kFirstYear && out.tm_year <= kLastYear;
}

// As unsigned numbers, so that a negative one is too large.
bool isBelow(int value, unsigned limit) {
    return static_cast<unsigned>(value) < limit;
}

// The hour alone may begin with something else than a digit: it then counts as 0.
bool readTime(const KvSimpleString& piece, tm& out) {
    out.tm_hour = leadingNumber(piece.c_str());
    if (!isBelow(out.tm_hour, 24)) {
        return false;
    }
    const char* colon = strchr(piece.c_str(), ':');
    if (colon == nullptr || !IsDigit(colon[1])) {
        return false;
    }
    out.tm_min = leadingNumber(colon + 1);
    if (!isBelow(out.tm_min, 60)) {
        return false;
    }
    colon = strchr(colon + 1, ':');
    if (colon == nullptr || !IsDigit(colon[1])) {
        return false;
    }
    out.tm_sec = leadingNumber(colon + 1);
    return isBelow(out.tm_sec, 60);
}

}  // namespace

const char* GetMonthString(int month) {
    return month >= 1 && month <= kMonths ? s_mon[month - 1] : "???";
}

bool operator>(const tm& a, const tm& b) {
    // From the field that weighs most to the one that weighs least.
    static constexpr int tm::*kOrder[] = {&tm::tm_year, &tm::tm_mon, &tm::tm_mday,
                                          &tm::tm_hour, &tm::tm_min, &tm::tm_sec};
    for (const auto field : kOrder) {
        if (a.*field != b.*field) {
            return a.*field > b.*field;
        }
    }
    return false;
}

bool ConvertDateStrToStruct(tm* out, const char* s) {
    if (out == nullptr || s == nullptr || strnlen(s, kDateLength + 1) != kDateLength) {
        return false;
    }
    // In the order month, day, year, time; the day needs the month for its limit.
    KvSimpleString pieces[kPieces];
    return splitAtBlanks(s, pieces) && readMonth(pieces[kMonthPiece], *out) &&
           readDay(pieces[kDayPiece], *out) && readYear(pieces[kYearPiece], *out) &&
           readTime(pieces[kTimePiece], *out);
}
