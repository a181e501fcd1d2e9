// Remote commands carried out by the application object: log switches and reloading its tables.
#include "app/fm.h"
#include "farm/fmcmd.h"
#include "farm/fmgconfig.h"

#include <QElapsedTimer>

namespace {
QString elapsedText(const QElapsedTimer& t)
{
    return QStringLiteral("%1 ms").arg(t.elapsed());
}
} // namespace

void fmExecuteFMCommand(__FM& fm, const _FMCommands& command, const short& client)
{
    const QString where = QStringLiteral("executeFMCommand");
    const _fmcmdHooks& hooks = fmcmdHooks();
    const QString name = fmcmdName(command.Command).toQString();
    const QString clientName =
        hooks.clientName ? hooks.clientName(client) : QStringLiteral("#%1").arg(client);
    fm.WriteLog(3, 8,
                QStringLiteral("fmCommand: '%1' from %2@%3")
                    .arg(name, fm.getUserName(command.UserID, false), clientName),
                where);
    if (hooks.flushLog) hooks.flushLog();

    bool on = false;
    const int channel = fmcmdLogChannel(command.Command, &on);
    if (channel >= 0) {
        if (fm.cfg && channel < _fmgConfig::LogLevels) {
            fm.cfg->LogLevel[channel] = on;
            fm.cfg->LogLevelUI[channel] = on;
        }
        return;
    }

    if (command.Command == fmCmd_LogThreadStatus) {
        if (hooks.setThreadStatusTime) hooks.setThreadStatusTime(60);
    } else if (command.Command == fmCmd_ReloadAllConfig) {
        QElapsedTimer timer;
        timer.start();
        if (fm.cfg) {
            fm.LoadFileCfg();
            fm.ApplyCommandlineLogLevels();
            fm.WriteLog(3, 8,
                        QStringLiteral("fmCommand '%1' Global     done (%2)").arg(name, elapsedText(timer)),
                        where);
        }
        if (fm.ClientList) {
            fm.LoadFileClientsAll(false, QString());
            fm.LoadFileClientGroups();
            fm.WriteLog(3, 8,
                        QStringLiteral("fmCommand '%1' Clients    done (%2)").arg(name, elapsedText(timer)),
                        where);
        }
        if (fm.UserSettings) {
            fm.LoadFileUserSettings();
            fm.WriteLog(3, 8,
                        QStringLiteral("fmCommand '%1' Users      done (%2)").arg(name, elapsedText(timer)),
                        where);
        }
        fm.WriteLog(3, 8, QStringLiteral("fmCommand '%1' all done (%2)").arg(name, elapsedText(timer)),
                    where);
        return;
    }
    // Code 19 lands here too, after its value was set.
    fm.WriteLog(1, 0, QStringLiteral("unsupported fmCommand"), where);
}

void __FM::executeFMCommand(const _FMCommands& command, const short& client)
{
    fmExecuteFMCommand(*this, command, client);
}
