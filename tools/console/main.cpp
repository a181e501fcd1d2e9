// fmHistorydbconsole: the history databases without a window. Lists the projects and their jobs,
// exports them as CSV, checks database files, and makes a demo farm root; each command is an
// entry of the table in commands.cpp.
//
// It finds the shared root and starts up as the window program does (its own place in
// <root>/bin/lx/, or "-fmRoot <root>" anywhere among the arguments) and logs as a console
// program: lines go to standard output, never to a box.

#include "app/fm.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

#include <QCoreApplication>

__FM FM(true, fm_AppType_HistoryDB, "fmHistorydbconsole", false);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(FMMessageOutput);

    fmConsoleArgs args;
    const QString why = fmConsoleParse(QCoreApplication::arguments(), args);
    if (args.Help) {
        fmConsolePrint(fmConsoleHelpText(args.Command));
        return fmExitOk;
    }
    if (!why.isEmpty()) {
        const QString help = fmConsoleFindCommand(args.Command) ? QStringLiteral("help ") + args.Command
                                                                : QStringLiteral("--help");
        fmConsolePrintErr(
            QStringLiteral("fmHistorydbconsole: %1\nTry 'fmHistorydbconsole %2'.\n").arg(why, help));
        return fmExitUsage;
    }
    const fmConsoleCommand& command = *fmConsoleFindCommand(args.Command);

    // Log lines reach standard output through the sink only; data on standard output keeps it.
    fmConsoleLogSink& log = fmConsoleLog();
    log.Verbose = args.Verbose;
    if (args.DataOnStdout) log.Out = stderr;
    fmConsoleInstallLog();

    if (command.NeedsRoot) {
        if (!FM.SetupCfg(argc, argv, false, nullptr)) return fmExitStartup;
        FM.NoUILog = true; // "-service" and the start-up leave it as it was; keep every line on the sink
    }
    return command.Run(args);
}
