#pragma once
// Output of the console's commands: text on standard output and error, and the program's log
// lines, which reach standard output (or standard error, when standard output carries data) as
// the family formats them.

#include "foundation/fmtime.h"

#include <QList>
#include <QPair>
#include <QString>

#include <cstdio>

struct fmConsoleLogSink
{
    bool Verbose = false; // show information lines too, not only errors and warnings
    FILE* Out = stdout;
    bool Capture = false;                // keep lines in Captured instead of printing them
    QList<QPair<int, QString>> Captured; // level and raw text, while Capture is set
};

fmConsoleLogSink& fmConsoleLog();

// Sends the application object's log lines to fmConsoleLog().
void fmConsoleInstallLog();

void fmConsolePrint(const QString& text);    // standard output, UTF-8
void fmConsolePrintErr(const QString& text); // standard error, UTF-8

// "1 job", "3 jobs".
QString fmConsolePlural(long long n, const char* word);
// A time as ISO 8601 in UTC: "2026-10-30T18:00:00Z".
QString fmConsoleIsoTime(const fmTime_t& t);
