// The application object's side of logging: lines go to the file here and to the user through the
// UI signal; the toolkit's own messages come in through FMMessageOutput.
#include "app/fm.h"
#include "foundation/fmlogfile.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

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
    case 1:
        reason = QStringLiteral("' returned error; File not found!");
        break;
    case 2:
        reason = QStringLiteral("' returned error; Unable to load plugin!");
        break;
    case 3:
        reason = QStringLiteral("' returned error; Wrong plugin version!");
        break;
    case 4:
        reason = QStringLiteral("' returned error; Plugin function missing!");
        break;
    default:
        reason = QStringLiteral("' returned error %1!").arg(code);
        break;
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
    case QtWarningMsg:
        level = 2;
        break;
    case QtCriticalMsg:
        level = 1;
        break;
    case QtFatalMsg:
        level = 0;
        break;
    default:
        level = 19;
        break;
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
