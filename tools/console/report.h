#pragma once
// The console's "report" command: jobs, render hours, frames, GHz hours, cost and errors of the
// whole history, grouped by user, project, month or software.

#include <QStringList>

// True when the command word among the arguments (argv[0] first) is "report".
bool fmConsoleIsReport(const QStringList& args);
// Runs it; returns the exit status (2 for bad arguments, 100 when start-up fails).
int fmConsoleReport(const QStringList& args, int argc, char** argv);
