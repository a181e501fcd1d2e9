// One call, WriteLog, serves all reporting: format one line, keep it for the log file and, where
// allowed, show it to the user.
#include "foundation/fmlogfile.h"
#include "foundation/fmsdk.h"
#include "foundation/fmtextcodec.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QRecursiveMutex>
#include <QThread>

#include <cstdio>

namespace {

// Lines come from any thread (a project loads on a worker thread): the switches that the file
// part reads and turns (NoLogFile, the flush interval) change under this lock, and a line is
// formatted and handed to its file under it. Each file's buffer has its own lock besides.
QRecursiveMutex& logFileLock()
{
    static QRecursiveMutex lock;
    return lock;
}

QString levelPrefix(int level)
{
    switch (level) {
    case 0:
        return QStringLiteral("CRF Critical Failure - ");
    case 1:
        return QStringLiteral("ERR ");
    case 2:
        return QStringLiteral("WRN ");
    default:
        return QStringLiteral("    ");
    }
}

// "XYZ text": a text of its own tag (third character upper case, fourth a blank).
bool bringsOwnTag(const QString& text)
{
    return text.size() >= 4 && text.at(3) == QLatin1Char(' ') && text.at(2).isUpper();
}

void printLine(const QString& line)
{
    std::puts(line.toLatin1().constData());
    std::fflush(stdout);
}

const char* const kShutdownLine =
    "##################SHUTDOWN#########################################################";

} // namespace

fmLogMessageBoxFn __FMSDK::MessageBoxHook = nullptr;

bool __FMSDK::logLevelOn(int level) const
{
    return LogLevels && level >= 0 && level < kLogLevels && LogLevels[level];
}

QString fm_AppType_asString(int type)
{
    static const char* const names[] = {"None",       "Server",    "Client",    "Submitter",   "Control",
                                        "PostScript", "Test",      "LogFile",   "ClientWatch", "Config",
                                        "Viewer",     "Installer", "HistoryDB", "Script"};
    if (type < 0 || type > 13) return QStringLiteral("unknown");
    return QLatin1String(names[type]);
}

QString fmOS2String(int os, bool shortForm)
{
    static const char* const names[] = {"All/Unknown", "Windows", "Linux", "Mac"};
    static const char* const shortNames[] = {"all", "win", "lx", "mac"};
    if (os < 0 || os > 3) return QString();
    return QLatin1String(shortForm ? shortNames[os] : names[os]);
}

QString thisOS2String_short(bool with64)
{
    QString s = fmOS2String(fmThisOS, true);
    if (with64) s += QLatin1String("64");
    return s;
}

void __FMSDK::WriteLog(int level, int flags, const QString& text, const QString& where)
{
    if (level == 0) HadCritical = true;
    if (!logLevelOn(level)) return;
    LogNoUIExecute(level, flags, text, where);
    LogFileWrite(level, flags, text, where);
}

void __FMSDK::FormatLogMessage(int level, int flags, QString text, const QString& where, QString& out)
{
    text = fmToFMUTF8(text, false);
    out.clear();
    if (!(flags & fmLog_NoTime)) out = fmTime_t(true).asString() + QLatin1Char('|');

    const bool showPlace = level <= 1 || logLevelOn(16);
    const bool showStack = level <= 1 || logLevelOn(20);

    // A source tag "X|" in front of the text; without one the column stays one blank wide.
    QString tag = QStringLiteral(" ");
    if (text.size() > 2 && text.at(1) == QLatin1Char('|')) {
        tag = text.left(2);
        text.remove(0, 2);
        if (text.startsWith(QLatin1Char(' '))) text.remove(0, 1);
    }
    if (level < 2 || !bringsOwnTag(text)) text.prepend(levelPrefix(level));
    out += tag + QLatin1Char(' ') + text;

    if (out.endsWith(QLatin1Char('\n'))) out.chop(1);
    // Continuation lines align under the text of the first line.
    out.replace(QLatin1Char('\n'), QLatin1Char('\n') + QString(20, QLatin1Char(' ')));

    if (showPlace && !(flags & fmLog_NoPlace)) out += QStringLiteral(";;   (") + where + QLatin1Char(')');
    if (showStack && !(flags & fmLog_NoPlace))
        out += QLatin1Char(' ') + AppName + QLatin1String(fmVersion) + QStringLiteral(" 64bit [") +
               fmOutputStackTrace(3) + QLatin1Char(']');
}

void __FMSDK::LogNoUIExecute(int level, int flags, const QString& text, const QString& where)
{
    if (NoUILog || (flags & fmLog_FileOnly)) return;
    QString line;
    FormatLogMessage(level, flags, text, where, line);
    if (ConsoleApp) {
        printLine(line);
        return;
    }
    if ((flags & fmLog_NoMessageBox) || !App.MessageBoxAllowed || App.ServiceMode || level >= 10) return;
    line.replace(QLatin1String(";   "), QLatin1String(";"));
    line.replace(QLatin1String(";  "), QLatin1String(";"));
    line.replace(QLatin1String("; "), QLatin1String(";"));
    line.replace(QLatin1Char(';'), QLatin1Char('\n'));
    line.remove(QLatin1String("()"));
    // Without a window side there is no box, and a box is shown by the window's thread only:
    // otherwise the line goes where a console program puts it.
    const QCoreApplication* app = QCoreApplication::instance();
    if (MessageBoxHook && app && QThread::currentThread() == app->thread())
        MessageBoxHook(level == 0, line, QStringLiteral("Ok"), 90, flags & fmLog_Courier);
    else
        printLine(line);
}

void __FMSDK::LogFileWrite(int level, int flags, const QString& text, const QString& where)
{
    if (!logLevelOn(level) || !Log) return;
    const QMutexLocker lock(&logFileLock());
    // A crash-like message turns the log file on and writes every line at once from then on.
    if (level == 0 || text.contains(QLatin1String("Access violation")) ||
        text.contains(QLatin1String("PAGE_FAULT")) ||
        text.contains(QLatin1String("std::bad_alloc:bad allocation"))) {
        HadCritical = true;
        NoLogFile = false;
        Log->FlushInterval = 0;
    }
    if (NoLogFile) return;
    if (level < 2) LogFileWriteError(level, flags, text, where);
    QString line;
    FormatLogMessage(level, flags, text, where, line);
    Log->addLog(line);
}

void __FMSDK::LogFileWriteError(int level, int flags, const QString& text, const QString& where)
{
    const QMutexLocker lock(&logFileLock());
    if (level >= 2 || NoLogFile || !LogError) return;
    QString line;
    FormatLogMessage(level, flags, text, where, line);
    LogError->addLog(QLatin1Char('[') + App.MachineName.toQString() + QStringLiteral("]\n") + line +
                     QLatin1Char('\n'));
}

void __FMSDK::WriteLog_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where)
{
    WriteLog(level, flags, text.toQString(), where.toQString());
}

void __FMSDK::LogNoUIExecute_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where)
{
    LogNoUIExecute(level, flags, text.toQString(), where.toQString());
}

void __FMSDK::FormatLogMessage_noQT(int level, int flags, const fmString<250>& text,
                                    const fmString<250>& where, fmString<250>& out)
{
    QString line;
    FormatLogMessage(level, flags, text.toQString(), where.toQString(), line);
    out = line;
}

QString fmOutputStackTrace(int)
{
    return QString();
}

QString __FMSDK::getUserName(const int&, bool)
{
    return QString();
}

QString __FMSDK::getClientName(const int&) const
{
    return QString();
}

const fmC::_ClientList* __FMSDK::clientTable() const
{
    return nullptr;
}

__FMSDK::~__FMSDK()
{
    exitFMSDK(true);
}

void __FMSDK::exitFMSDK(bool)
{
    if (!Log && !cfg) return;
    WriteLog(10, fmLog_NoMessageBox, QStringLiteral("FM app closed"), QStringLiteral("FMSDK"));
    WriteLog(3, fmLog_FileOnly, QLatin1String(kShutdownLine), QString());
    if (Log) Log->flush();
    NoLogFile = true;
    delete Log;
    Log = nullptr;
    delete LogError;
    LogError = nullptr;
    LogLevels = nullptr;
    if (cfg && CfgDeleter) CfgDeleter(cfg);
    cfg = nullptr;
}
