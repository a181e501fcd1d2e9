#include "tools/console/consoleio.h"

#include "app/fm.h"

#include <QByteArray>
#include <QDateTime>

namespace {

void write(FILE* to, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
}

// Errors and warnings always; the other levels with --verbose or the family's debug options.
void onLog(int level, int flags, const QString& text, const QString& where)
{
    fmConsoleLogSink& sink = fmConsoleLog();
    if (flags & fmLog_FileOnly) return;
    if (sink.Capture) {
        sink.Captured.append({level, text});
        return;
    }
    if (level > 2 && !sink.Verbose) return;
    QString line;
    FM.FormatLogMessage(level, flags, text, where, line);
    write(sink.Out, line + QLatin1Char('\n'));
    std::fflush(sink.Out);
}

} // namespace

fmConsoleLogSink& fmConsoleLog()
{
    static fmConsoleLogSink sink;
    return sink;
}

void fmConsoleInstallLog()
{
    FM.NoUILog = true;
    QObject::connect(&FM, &__FM::signalLogUI, &FM, onLog);
}

void fmConsolePrint(const QString& text)
{
    write(stdout, text);
}

void fmConsolePrintErr(const QString& text)
{
    write(stderr, text);
}

QString fmConsolePlural(long long n, const char* word)
{
    return QStringLiteral("%1 %2%3")
        .arg(n)
        .arg(QLatin1String(word))
        .arg(n == 1 ? QString() : QStringLiteral("s"));
}

QString fmConsoleIsoTime(const fmTime_t& t)
{
    return QDateTime::fromSecsSinceEpoch(t.t, Qt::UTC).toString(Qt::ISODate);
}
