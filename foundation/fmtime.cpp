#include "foundation/fmtime.h"

#include <cstdio>
#include <cstdlib>

int32_t fmTime_t::fmTime_Start_OffSet = -1;

const char* const fmMonthNames[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const fmWeekDayNames[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

namespace {
// Sums of stored values wrap instead of overflowing: a value read from a damaged file may be
// anything, and the result is then merely wrong, never undefined.
int64_t wrapAdd(int64_t a, int64_t b)
{
    return int64_t(uint64_t(a) + uint64_t(b));
}

int64_t offset()
{
    if (fmTime_t::fmTime_Start_OffSet == -1) fmTime_t::TestIfOfsetIsRight(true);
    return fmTime_t::fmTime_Start_OffSet;
}

void localParts(int64_t v, tm& out)
{
    out = tm{};
    const time_t tt = time_t(v);
    if (!localtime_r(&tt, &out)) out = tm{};
}

QString d2(long long v)
{
    return QStringLiteral("%1").arg(v, 2, 10, QLatin1Char('0'));
}
QString monthName(const tm& x)
{
    return QLatin1String(fmMonthNames[x.tm_mon >= 0 && x.tm_mon < 12 ? x.tm_mon : 0]);
}
QString dayName(const tm& x)
{
    return QLatin1String(fmWeekDayNames[x.tm_wday >= 0 && x.tm_wday < 7 ? x.tm_wday : 0]);
}
long long year4(const tm& x)
{
    return (long long)x.tm_year + 1900;
}
long long year2(const tm& x)
{
    return year4(x) - 2000;
}

// Seconds by which the clock in the local zone differs from the stored clock corrected by the
// start offset, folded into half a day either way.
int offsetDifference()
{
    const int64_t now = int64_t(::time(nullptr));
    tm lt;
    localParts(wrapAdd(now, -int64_t(fmTime_t::fmTime_Start_OffSet)), lt);
    const int64_t s = int64_t(lt.tm_hour) * 3600 + lt.tm_min * 60 + lt.tm_sec;
    int64_t diff = s - now % 86400;
    if (diff <= -43231)
        diff += 86400;
    else if (diff >= 43231)
        diff -= 86400;
    return int(diff);
}

// Two calls of mktime on freshly built fields, so that the daylight saving flag of the first
// call has settled in the second.
int64_t doubleMktime(int year, int month, int day, int hour, int minute, int second)
{
    tm x{};
    auto fill = [&] {
        x.tm_year = year - 1900;
        x.tm_mon = month - 1;
        x.tm_mday = day;
        x.tm_hour = hour;
        x.tm_min = minute;
        x.tm_sec = second;
    };
    fill();
    ::mktime(&x);
    fill();
    return int64_t(::mktime(&x));
}
} // namespace

int fmTime_t::TestIfOfsetIsRight(bool update)
{
    const int diff = offsetDifference();
    if (!update) return diff;
    fmTime_Start_OffSet = int32_t(uint32_t(fmTime_Start_OffSet) + uint32_t(diff));
    return offsetDifference();
}

void fmTime_t::set(long long v, bool isFixed)
{
    if (fmTime_Start_OffSet == 99) TestIfOfsetIsRight(true);
    t = isFixed ? int64_t(v) : wrapAdd(v, -int64_t(fmTime_Start_OffSet));
}

fmTime_t& fmTime_t::fromDate(int day, int month, int year)
{
    if (month <= 0) month = 1;
    if (month >= 13) month = 12;
    if (day <= 0) day = 1;
    if (day >= 32) day = 31;
    if (year < 0)
        year = 2014;
    else if (year < 100)
        year += 2000;
    else if (year > 3000)
        year = 3000;
    t = doubleMktime(year, month, day, 0, 0, 0);
    return *this;
}

fmTime_t& fmTime_t::operator=(const QDate& d)
{
    // Qt's years reach far beyond what tm holds; clamped only so that the int fields can't wrap.
    const int y = int(std::clamp<long long>(d.year(), -2000000000LL, 2000000000LL));
    t = doubleMktime(y, d.month(), d.day(), 0, 0, 0);
    return *this;
}

fmTime_t& fmTime_t::operator=(const QDateTime& dt)
{
    const QDate d = dt.date();
    const QTime tm0 = dt.time();
    int year = int(std::clamp<long long>(d.year(), -2000000000LL, 2000000000LL));
    int month = d.month(), day = d.day();
    if (year == 1900) {
        tm now;
        localParts(CurrentTime(), now);
        year = now.tm_year + 1900;
        if (day == 1 && month == 1) {
            day = now.tm_mday;
            month = now.tm_mon + 1;
        }
    } else if (year >= 1901 && year <= 1989) {
        year += 100;
    }
    t = doubleMktime(year, month, day, tm0.hour(), tm0.minute(), tm0.second());
    return *this;
}

fmTime_t::operator QDate() const
{
    tm x;
    localParts(t, x);
    return QDate(int(year4(x)), x.tm_mon + 1, x.tm_mday);
}

fmTime_t::operator tm() const
{
    tm x;
    localParts(t, x);
    return x;
}

void fmTime_t::to_tm(tm& out) const
{
    localParts(t, out);
}
void fmTime_t::to_tm_Offset(tm& out, const long long& delta) const
{
    localParts(wrapAdd(t, delta), out);
}

int fmTime_t::month() const
{
    tm x;
    localParts(t, x);
    return x.tm_mon + 1;
}

int fmTime_t::year() const
{
    tm x;
    localParts(t, x);
    return int(year4(x));
}

int fmTime_t::DayOfMonth(long long days) const
{
    tm x;
    localParts(wrapAdd(t, int64_t(uint64_t(days) * 86400u)), x);
    return x.tm_mday;
}

int fmTime_t::WeekDay() const
{
    tm x;
    localParts(t, x);
    return (x.tm_wday + 6) % 7;
}

int64_t fmTime_t::valueFixed() const
{
    return int64_t(int32_t(uint32_t(uint64_t(t)) + uint32_t(offset())));
}

void fmTime_t::convertFromLocalTime()
{
    t = wrapAdd(t, -offset());
}

int64_t fmTime_t::getTotalDays(long long delta) const
{
    return wrapAdd(wrapAdd(t, offset()), delta) / 86400;
}
int fmTime_t::getDayHour() const
{
    return int((wrapAdd(t, offset()) / 3600) % 24);
}
int fmTime_t::getDayMinutes() const
{
    return int((wrapAdd(t, offset()) / 60) % 1440);
}
int fmTime_t::getDaySeconds(long long delta) const
{
    return int(wrapAdd(wrapAdd(t, offset()), delta) % 86400);
}

bool fmTime_t::waitTimeIsOver(const long long& wait, const bool& reset, const fmTime_t* now)
{
    const int64_t n = now ? now->t : CurrentTime();
    if (!(n > wrapAdd(t, wait))) return false;
    if (reset) t = n;
    return true;
}

int32_t fmTime_t::waitTimeDifference(const long long& wait, const fmTime_t* now) const
{
    const int64_t n = now ? now->t : CurrentTime();
    return int32_t(uint32_t(uint64_t(wrapAdd(wrapAdd(t, wait), -n))));
}

QString fmTime_t::asString() const
{
    return asStringOffset(0);
}

QString fmTime_t::asStringOffset(const long long& delta) const
{
    tm x;
    to_tm_Offset(x, delta);
    return QStringLiteral("%1.%2 %3:%4.%5")
        .arg(d2(x.tm_mon + 1), d2(x.tm_mday), d2(x.tm_hour), d2(x.tm_min), d2(x.tm_sec));
}

QString fmTime_t::asStringDateHourMin() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1. %2:%3").arg(d2(x.tm_mday), d2(x.tm_hour), d2(x.tm_min));
}

QString fmTime_t::asStringHourMin() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1:%2").arg(d2(x.tm_hour), d2(x.tm_min));
}

QString fmTime_t::asStringDate() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%2. %1").arg(monthName(x), d2(x.tm_mday));
}

QString fmTime_t::asStringMonth() const
{
    tm x;
    to_tm(x);
    return monthName(x);
}

QString fmTime_t::asStringWeekDay() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1. %2").arg(d2(x.tm_mday), dayName(x));
}

QString fmTime_t::asStringWeekDateMonth() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1 %2. %3").arg(dayName(x), d2(x.tm_mday), monthName(x));
}

QString fmTime_t::asStringMonthYear() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%2.%3").arg(d2(x.tm_mon + 1), d2(year2(x)));
}

QString fmTime_t::asStringYearOnly() const
{
    tm x;
    to_tm(x);
    return d2(year2(x));
}

QString fmTime_t::asStringYearOnly2() const
{
    tm x;
    to_tm(x);
    return QString::number(year4(x));
}

QString fmTime_t::asStringYear() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1.%2.%3").arg(d2(x.tm_mday), d2(x.tm_mon + 1), d2(year2(x)));
}

QString fmTime_t::asStringYear2() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1.%2.%3").arg(d2(x.tm_mday), d2(x.tm_mon + 1), QString::number(year4(x)));
}

QString fmTime_t::asStringFileName() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1%2_%3%4%5")
        .arg(d2(x.tm_mon + 1), d2(x.tm_mday), d2(x.tm_hour), d2(x.tm_min), d2(x.tm_sec));
}

QString fmTime_t::asStringFileName_TruncSec() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1%2_%3%4%5")
        .arg(d2(x.tm_mon + 1), d2(x.tm_mday), d2(x.tm_hour), d2(x.tm_min), QString::number(x.tm_sec / 10));
}

QString fmTime_t::asStringFileNameDate() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1%2%3").arg(d2(year2(x)), d2(x.tm_mon + 1), d2(x.tm_mday));
}

QString fmTime_t::asStringFileNameHour() const
{
    tm x;
    to_tm(x);
    return QStringLiteral("%1%2%3_%4").arg(d2(year2(x)), d2(x.tm_mon + 1), d2(x.tm_mday), d2(x.tm_hour));
}

QString fmTime_t::daytimeAsString() const
{
    const int s = getDaySeconds(0);
    return QStringLiteral("%3:%4.%5").arg(d2(s / 3600), d2((s / 60) % 60), d2(s % 60));
}

fmString8_evenSize<250> fmTime_t::asFM8String() const
{
    tm x;
    to_tm(x);
    char b[96];
    std::snprintf(b, sizeof(b), "%02d.%02d. %02d:%02d.%02d", x.tm_mon + 1, x.tm_mday, x.tm_hour, x.tm_min,
                  x.tm_sec);
    return fmString8_evenSize<250>(b);
}

fmString8_evenSize<250> fmTime_t::asFM8StringDateMonth() const
{
    tm x;
    to_tm(x);
    char b[96];
    std::snprintf(b, sizeof(b), "%02d.%s. ", x.tm_mday,
                  fmMonthNames[x.tm_mon >= 0 && x.tm_mon < 12 ? x.tm_mon : 0]);
    return fmString8_evenSize<250>(b);
}

fmString8_evenSize<250> fmTime_t::asFM8StringDateMonthYear() const
{
    tm x;
    to_tm(x);
    char b[96];
    std::snprintf(b, sizeof(b), "%02d.%s.%02lld ", x.tm_mday,
                  fmMonthNames[x.tm_mon >= 0 && x.tm_mon < 12 ? x.tm_mon : 0], year4(x));
    return fmString8_evenSize<250>(b);
}

QString fmMill2s(int ms, const bool& showSeconds)
{
    if (!showSeconds && ms <= 1000) return QStringLiteral(".%2").arg(ms % 1000, 3, 10, QLatin1Char('0'));
    return QStringLiteral("%1.%2").arg(ms / 1000).arg(ms % 1000, 3, 10, QLatin1Char('0'));
}

QString fmSec2dhms(long long s)
{
    if (s < 129601) return QStringLiteral("%1:%2.%3").arg(d2(s / 3600), d2((s / 60) % 60), d2(s % 60));
    return QStringLiteral("%1d %2h").arg(s / 86400).arg((s / 3600) % 24);
}

QString fmSec2dhm(long long s)
{
    return QStringLiteral("%1d %2:%3").arg(QString::number(s / 86400), d2(s / 3600), d2((s / 60) % 60));
}

QString fmSec2hms(int s)
{
    return QStringLiteral("%1:%2.%3").arg(d2(s / 3600), d2((s / 60) % 60), d2(s % 60));
}

QString fmSec2hm(int s)
{
    const long long a = std::llabs((long long)s);
    return QStringLiteral("%1:%2").arg(d2(s / 3600), d2((a / 60) % 60));
}

QString fmSec2ms(long long s)
{
    return QStringLiteral("%1.%2").arg(d2(s / 60), d2(s % 60));
}

QString fmSpaceTsd(long long v, bool signBlank)
{
    QString prefix;
    // Unsigned from here on: the size of the most negative value has no signed form.
    unsigned long long u = 0;
    if (v < 0) {
        prefix = QStringLiteral("-");
        u = 0ULL - (unsigned long long)v;
    } else {
        if (signBlank) prefix = QStringLiteral(" ");
        u = (unsigned long long)v;
    }
    if (u <= 1000) return prefix + QString::number(u);
    const auto group = [](unsigned long long g) {
        return QStringLiteral("%1").arg(g % 1000, 3, 10, QLatin1Char('0'));
    };
    QString tail = group(u);
    if (u < 1001000ULL) return prefix + QString::number(u / 1000) + QLatin1Char(' ') + tail;
    tail = group(u / 1000) + QLatin1Char(' ') + tail;
    if (u < 1001000000ULL) return prefix + QString::number(u / 1000000) + QLatin1Char(' ') + tail;
    tail = group(u / 1000000) + QLatin1Char(' ') + tail;
    return prefix + QString::number(u / 1000000000ULL) + QLatin1Char(' ') + tail;
}

namespace {
int64_t processMs()
{
    return int64_t(::clock()) * 1000 / 1000000;
}
} // namespace

void fmTimer::start()
{
    Start = processMs();
}

int fmTimer::elapsed() const
{
    return int(uint64_t(processMs() - int64_t(uint32_t(uint64_t(Start)))) & 0x7FFFFFFFu);
}

int fmTimer::restart()
{
    const int e = elapsed();
    start();
    return e;
}

QString fmTimer::restartAndString()
{
    return fmMill2s(restart(), false) + QStringLiteral("ms");
}
