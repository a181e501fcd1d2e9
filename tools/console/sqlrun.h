#pragma once
// The console command "sql": the history of all projects (or of some) into an SQLite file or a
// PostgreSQL database, brought up to date file by file.

#include <QString>

// Runs "sql" when the arguments name it and returns its exit status; returns -1 for any other
// command. `familyValueOption` tells the family's start-up options that take a value.
int fmConsoleSqlMain(int argc, char** argv, bool (*familyValueOption)(const QString&));
