#pragma once
// Points in time as plain integers: seconds since the epoch, 0 means "not set".
// fmTime_t is 8 bytes on disk, fmTime_t32 4 bytes, both little-endian, no other member.
//
// The process keeps one offset, fmTime_t::fmTime_Start_OffSet: the seconds by which the local
// wall clock runs ahead of the stored clock. Parts of a time that are marked "local" go through
// localtime_r; the others are plain arithmetic on value + offset (an offset of -1 is computed
// first).

#include "foundation/fmstring.h"

#include <QDate>
#include <QDateTime>
#include <QString>
#include <cstdint>
#include <ctime>
#include <type_traits>

struct fmTime_t
{
    int64_t t = 0;

    // Seconds by which the local wall clock runs ahead of the stored clock; -1 until computed.
    // Computed once on the main thread (constructor of __FMSDK), only read afterwards.
    static int32_t fmTime_Start_OffSet;

    fmTime_t() = default;
    // true: the current time.
    explicit fmTime_t(bool now) : t(now ? int64_t(::time(nullptr)) : 0) {}
    // Value v; with isFixed false v is read as local clock time and the start offset subtracted.
    // This constructor computes the offset only when it reads 99 (not -1 as all others do);
    // kept so, callers depend on the value it gives before start-up.
    template <typename I, typename = std::enable_if_t<std::is_integral_v<I> && !std::is_same_v<I, bool>>>
    fmTime_t(I v, bool isFixed)
    {
        set(static_cast<long long>(v), isFixed);
    }

    void SetCurrentTime(long long delta = 0) { t = int64_t(::time(nullptr)) + delta; }
    static int64_t CurrentTime() { return int64_t(::time(nullptr)); }
    // File times are already in stored form.
    static int64_t convertStatFileTime(const long& v) { return int64_t(v); }

    // 00:00:00 local time of that day. month <= 0 gives January, >= 13 December; day <= 0 gives 1,
    // >= 32 gives 31; a negative year gives 2014, a year below 100 has 2000 added, above 3000 gives
    // 3000.
    fmTime_t& fromDate(int day, int month, int year);
    // 00:00:00 local time of the date, no limits.
    fmTime_t& operator=(const QDate& d);
    // Year 1900 stands for the current year (and, on 1 January, for today); years 1901 to 1989
    // have 100 added.
    fmTime_t& operator=(const QDateTime& dt);
    operator QDate() const;
    operator tm() const;

    auto operator<=>(const fmTime_t&) const = default;
    bool operator==(const fmTime_t&) const = default;

    // Local parts.
    void to_tm(tm& out) const;
    void to_tm_Offset(tm& out, const long long& delta) const;
    int month() const;                        // 1 to 12
    int year() const;                         // four digits
    int DayOfMonth(long long days = 0) const; // day of the month `days` days from this value
    int WeekDay() const;                      // Monday 0 to Sunday 6

    // Arithmetic parts on value + start offset.
    int64_t valueFixed() const; // low 32 bits of value + offset, sign-extended
    int64_t toLocalTime() const { return valueFixed(); }
    void convertFromLocalTime(); // value -= offset
    int64_t getTotalDays(long long delta = 0) const;
    int getDayHour() const;
    int getDayMinutes() const;
    int getDaySeconds(long long delta = 0) const;

    // now (the current time if null) > value + wait, strictly; when true and reset, value = now.
    bool waitTimeIsOver(const long long& wait, const bool& reset = false, const fmTime_t* now = nullptr);
    // value + wait - now, as a 32-bit number.
    int32_t waitTimeDifference(const long long& wait, const fmTime_t* now = nullptr) const;

    // Text forms. D M h m s: two digits with zero; Y2 year less 2000, Y4 four digits.
    QString asString() const;                             // "M.D h:m.s"
    QString asStringOffset(const long long& delta) const; // same for value + delta
    QString asStringDateHourMin() const;                  // "D. h:m"
    QString asStringHourMin() const;                      // "h:m"
    QString asStringDate() const;                         // "D. Mon"
    QString asStringMonth() const;                        // "Mon"
    QString asStringWeekDay() const;                      // "D. Day"
    QString asStringWeekDateMonth() const;                // "Day D. Mon"
    QString asStringMonthYear() const;                    // "M.Y2"
    QString asStringYearOnly() const;                     // "Y2"
    QString asStringYearOnly2() const;                    // "Y4"
    QString asStringYear() const;                         // "D.M.Y2"
    QString asStringYear2() const;                        // "D.M.Y4"
    QString asStringFileName() const;                     // "MD_hms"
    QString asStringFileName_TruncSec() const;            // "MD_hm" + tens of the seconds
    QString asStringFileNameDate() const;                 // "Y2MD"
    QString asStringFileNameHour() const;                 // "Y2MD_h"
    QString daytimeAsString() const;                      // "h:m.s" of value + offset, arithmetic

    fmString8_evenSize<250> asFM8String() const;              // "%02d.%02d. %02d:%02d.%02d" M D h m s
    fmString8_evenSize<250> asFM8StringDateMonth() const;     // "%02d.%s. " day, month name
    fmString8_evenSize<250> asFM8StringDateMonthYear() const; // "%02d.%s.%02d " day, month name, Y4

    // Checks the start offset against the wall clock. Returns the difference in seconds (0: the
    // offset fits). With update true the difference is first added to the offset and the result
    // of a second check is returned.
    static int TestIfOfsetIsRight(bool update);

private:
    void set(long long v, bool isFixed);
};

// The same point in time in 32 bits; text forms go through a 64-bit copy.
struct fmTime_t32
{
    int32_t t = 0;

    fmTime_t32() = default;
    void SetCurrentTime(long long delta = 0) { t = int32_t(int64_t(::time(nullptr)) + delta); }
    fmTime_t toTime64() const
    {
        fmTime_t r;
        r.t = t;
        return r;
    }
    void to_tm(tm& out) const { toTime64().to_tm(out); }
    void to_tm_Offset(tm& out, const long long& delta) const { toTime64().to_tm_Offset(out, delta); }
    operator tm() const { return tm(toTime64()); }
    fmString8_evenSize<250> asFM8String() const { return toTime64().asFM8String(); }
    QString asString() const { return toTime64().asString(); }
    QString asStringOffset(const long long& delta) const { return toTime64().asStringOffset(delta); }
};

static_assert(sizeof(fmTime_t) == 8 && std::is_trivially_copyable_v<fmTime_t> &&
              std::is_standard_layout_v<fmTime_t>);
static_assert(sizeof(fmTime_t32) == 4 && std::is_trivially_copyable_v<fmTime_t32> &&
              std::is_standard_layout_v<fmTime_t32>);

// Month names from "Jan", week day names from "Sun".
extern const char* const fmMonthNames[12];
extern const char* const fmWeekDayNames[7];

// Durations.
// showSeconds false and ms <= 1000: ".mmm" of ms mod 1000 (so 1000 gives ".000"); else "s.mmm".
QString fmMill2s(int ms, const bool& showSeconds);
// Below 129,601 s: "h:m.s" with hours not limited to 24; else "Dd Hh".
QString fmSec2dhms(long long s);
// "Dd H:m" with the total hours (not modulo 24; kept so).
QString fmSec2dhm(long long s);
// "h:m.s", minutes and seconds mod 60.
QString fmSec2hms(int s);
// "h:m", minutes mod 60 of the absolute value.
QString fmSec2hm(int s);
// "m.s" with the total minutes.
QString fmSec2ms(long long s);
// Thousands separated by a blank; 1000 and below unchanged. signBlank puts " " before a positive
// value, a negative one always has "-".
QString fmSpaceTsd(long long v, bool signBlank = false);

// Processor time of the process in ms (clock() * 1000 / 1000000), not wall time.
struct fmTimer
{
    int64_t Start = 0;

    void start();
    // (now - low 32 bits of start) AND 0x7FFFFFFF, in ms.
    int elapsed() const;
    // elapsed(), and starts anew.
    int restart();
    // fmMill2s(restart(), false) + "ms".
    QString restartAndString();
};
