#include "app/fmapptext.h"

#include <ctime>

namespace fmAppText {

QString fromXml(QString s)
{
    s.replace(QLatin1String("&lt;"), QLatin1String("<"));
    s.replace(QLatin1String("&gt;"), QLatin1String(">"));
    s.replace(QLatin1String("&quot;"), QLatin1String("\""));
    s.replace(QLatin1String("&apos;"), QLatin1String("'"));
    s.replace(QLatin1String("&amp;"), QLatin1String("&"));
    static const struct { const char* form; char16_t ch; } numeric[] = {
        {"&#196;", 0xC4}, {"&#214;", 0xD6}, {"&#220;", 0xDC}, {"&#228;", 0xE4},
        {"&#246;", 0xF6}, {"&#252;", 0xFC}, {"&#223;", 0xDF},
    };
    for (const auto& n : numeric) s.replace(QLatin1String(n.form), QString(QChar(n.ch)));
    return QString::fromLatin1(s.toLatin1());
}

QString toFMUTF8(QString text)
{
    static const QString marker = QStringLiteral("<UTF8");
    if (text.contains(marker)) return text;
    qsizetype i = 0;
    while (i < text.size()) {
        if (text.at(i).unicode() < 256) {
            ++i;
            continue;
        }
        const qsizetype before = text.lastIndexOf(QLatin1Char(' '), i);
        const qsizetype start = before < 0 ? 0 : before + 1;
        qsizetype end = text.indexOf(QLatin1Char(' '), i);
        if (end < 0) end = text.size();
        const QByteArray utf8 = text.mid(start, end - start).toUtf8();
        const QString form = marker + QString::fromLatin1(utf8) + QLatin1Char('>');
        text.remove(start, end - start);
        // The marked form goes where the triggering character stood, not where the word began;
        // QString::insert pads with blanks when that lies behind the end.
        text.insert(i, form);
        i += form.size();
    }
    return text;
}

static bool localParts(int64_t t, std::tm& out)
{
    const std::time_t tt = static_cast<std::time_t>(t);
    return localtime_r(&tt, &out) != nullptr;
}

QString timeAsString(int64_t t)
{
    std::tm tm{};
    localParts(t, tm);
    return QStringLiteral("%1.%2 %3:%4.%5")
        .arg(tm.tm_mon + 1, 2, 10, QLatin1Char('0'))
        .arg(tm.tm_mday, 2, 10, QLatin1Char('0'))
        .arg(tm.tm_hour, 2, 10, QLatin1Char('0'))
        .arg(tm.tm_min, 2, 10, QLatin1Char('0'))
        .arg(tm.tm_sec, 2, 10, QLatin1Char('0'));
}

QByteArray timeAsFM8String(int64_t t)
{
    std::tm tm{};
    localParts(t, tm);
    char buf[64];
    std::snprintf(buf, sizeof(buf), "%02d.%02d. %02d:%02d.%02d", tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
                  tm.tm_min, tm.tm_sec);
    return QByteArray(buf);
}

QString sec2hms(int s)
{
    return QStringLiteral("%1:%2.%3")
        .arg(s / 3600, 2, 10, QLatin1Char('0'))
        .arg((s / 60) % 60, 2, 10, QLatin1Char('0'))
        .arg(s % 60, 2, 10, QLatin1Char('0'));
}

QString mill2s(int ms)
{
    if (ms <= 1000) return QStringLiteral(".%1").arg(ms % 1000, 3, 10, QLatin1Char('0'));
    return QStringLiteral("%1.%2").arg(ms / 1000).arg(ms % 1000, 3, 10, QLatin1Char('0'));
}

static int32_t offsetDiff()
{
    const int64_t t = int64_t(std::time(nullptr));
    std::tm tm{};
    localParts(t - fmTime_t::fmTime_Start_OffSet, tm);
    const int64_t s = tm.tm_hour * 3600 + tm.tm_min * 60 + tm.tm_sec;
    int64_t diff = s - (t % 86400);
    if (diff <= -43231) diff += 86400;
    if (diff >= 43231) diff -= 86400;
    return int32_t(diff);
}

int32_t testIfOffsetIsRight(bool update)
{
    const int32_t diff = offsetDiff();
    if (!update) return diff;
    fmTime_t::fmTime_Start_OffSet += diff;
    return offsetDiff();
}

} // namespace fmAppText
