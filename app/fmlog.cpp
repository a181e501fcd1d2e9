// One call, WriteLog, serves all reporting: format one line, keep it for the log file and, where
// allowed, show it to the user.
#include "app/fm.h"
#include "app/fmlogfile.h"
#include "farm/fmgconfig.h"
#include "foundation/fmtextcodec.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

namespace {

QString levelPrefix(int level)
{
    switch (level) {
    case 0: return QStringLiteral("CRF Critical Failure - ");
    case 1: return QStringLiteral("ERR ");
    case 2: return QStringLiteral("WRN ");
    default: return QStringLiteral("    ");
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

} // namespace

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

    const bool inRange = cfg && level >= 0 && level < 25;
    const bool showPlace = level <= 1 || (inRange && cfg->LogLevel[16]);
    const bool showStack = level <= 1 || (inRange && cfg->LogLevel[20]);

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
    // Without a window side there is no box: the line goes where a console program puts it.
    if (MessageBoxHook) MessageBoxHook(level == 0, line, QStringLiteral("Ok"), 90, flags & fmLog_Courier);
    else printLine(line);
}

void __FMSDK::LogFileWrite(int level, int flags, const QString& text, const QString& where)
{
    if (!logLevelOn(level) || !Log) return;
    // A crash-like message turns the log file on and writes every line at once from then on.
    if (level == 0 || text.contains(QLatin1String("Access violation")) || text.contains(QLatin1String("PAGE_FAULT")) ||
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
    if (level >= 2 || NoLogFile || !LogError) return;
    QString line;
    FormatLogMessage(level, flags, text, where, line);
    LogError->addLog(QLatin1Char('[') + App.MachineName.toQString() + QStringLiteral("]\n") + line + QLatin1Char('\n'));
}

void __FMSDK::WriteLog_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where)
{
    WriteLog(level, flags, text.toQString(), where.toQString());
}

void __FMSDK::LogNoUIExecute_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where)
{
    LogNoUIExecute(level, flags, text.toQString(), where.toQString());
}

void __FMSDK::FormatLogMessage_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where,
                                    fmString<250>& out)
{
    QString line;
    FormatLogMessage(level, flags, text.toQString(), where.toQString(), line);
    out = line;
}

QString fmOutputStackTrace(int)
{
    return QString();
}

void __FM::WriteLog(int level, int flags, const QString& text, const QString& where)
{
    if (level == 0) HadCritical = true;
    if (!logLevelOn(level)) return;
    LogFileWrite(level, flags, text, where);
    if (!App.ServiceMode) emit signalLogUI(level, flags, text, where);
}

void __FM::SlotLogUI(int level, int flags, const QString& text, const QString& where)
{
    LogNoUIExecute(level, flags, text, where);
}

void __FM::SlotLogFile(int level, int flags, const QString& text, const QString& where)
{
    LogFileWrite(level, flags, text, where);
}

void __FM::TransferLogBufferToTextEdit()
{
    if (!LogTextEdit || !Log || Log->BufferUsed <= 0) return;
    const QString text = QString::fromLatin1(Log->bufferText());
    QMetaObject::invokeMethod(LogTextEdit, "appendPlainText", Q_ARG(QString, text));
}

void __FM::WriteLogPluginError(int code, QString name)
{
    QString reason;
    switch (code) {
    case 1: reason = QStringLiteral("' returned error; File not found!"); break;
    case 2: reason = QStringLiteral("' returned error; Unable to load plugin!"); break;
    case 3: reason = QStringLiteral("' returned error; Wrong plugin version!"); break;
    case 4: reason = QStringLiteral("' returned error; Plugin function missing!"); break;
    default: reason = QStringLiteral("' returned error %1!").arg(code); break;
    }
    WriteLog(1, 0, QStringLiteral("Plugin '") + name + reason, QStringLiteral("FM,Plugin"));
}

void FMMessageOutput(QtMsgType type, const QMessageLogContext&, const QString& msg)
{
    // A box raised from here may make the toolkit speak again; that goes to the file only.
    static thread_local bool inside = false;
    if (msg.contains(QLatin1String("This implementation does not support subelements"))) return;
    int level = 19;
    switch (type) {
    case QtWarningMsg: level = 2; break;
    case QtCriticalMsg: level = 1; break;
    case QtFatalMsg: level = 0; break;
    default: level = 19; break;
    }
    __FM* fm = __FM::First;
    if (!fm || !fm->logLevelOn(level)) return;
    QString line;
    fm->FormatLogMessage(level, 0, msg, QStringLiteral("-"), line);
    fm->LogFileWrite(level, 0, msg, QStringLiteral("-"));
    if (fm->Log) fm->Log->flush();

    if (fm->App.ServiceMode || inside) return;
    QCoreApplication* app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread()) return;
    if (fm->ConsoleApp) {
        const QByteArray bytes = line.toLatin1() + '\n';
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
        std::fflush(stdout);
        return;
    }
    if (fm->LogTextEdit) {
        fm->TransferLogBufferToTextEdit();
        return;
    }
    line.replace(QLatin1Char(';'), QLatin1String(".\n"));
    if (level == 19 || !__FMSDK::MessageBoxHook) return;
    inside = true;
    __FMSDK::MessageBoxHook(level == 0, line, QStringLiteral("Ok"), 90, false);
    inside = false;
}
