#pragma once
// Brings the SQL store up to date with the history folder, file by file. A file whose size and
// modification time are those stored in fm_files is not read again; a new or changed file has
// its rows replaced in one transaction, together with its fm_files row; a file gone from the
// folder has its rows removed in one transaction. So an interrupted run leaves every file either
// as it was or fully written, and the next run goes on from there.

#include "sql/fmsqlsource.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class __FM;
class fmSqlDatabase;

// One database file of the history folder.
struct fmSqlFile
{
    QString Project; // as the project list names it
    QString Path;    // absolute
    QString RelPath; // relative to the history folder: source_file and fm_files.path
};

// The project database files of a history folder (ending in "/"), grouped into projects as the
// project list groups them, in the order of the scan.
QList<fmSqlFile> fmSqlListFiles(__FM& app, const QString& historyFolder);

struct fmSqlSyncOptions
{
    QStringList Projects;        // only these projects (any case); empty: all
    double CostPerGhzHour = 0.0; // the farm's cfgCost: cost = GHz hours x this
    // Called inside each file's transaction, just before its commit, with the file's RelPath.
    // For tools and tests that must see or disturb a run at that point; may stay empty.
    std::function<void(const QString&)> BeforeCommit;
};

struct fmSqlSyncReport
{
    // Rows: a file read again with k rows before and n now counts min(k, n) replaced and the
    // difference as inserted or removed; a new file's rows are inserted, a gone file's removed.
    long long Inserted = 0;
    long long Replaced = 0;
    long long Removed = 0;
    int FilesRead = 0;     // read and written
    int FilesSkipped = 0;  // unchanged since the last run
    int FilesRemoved = 0;  // gone from the folder
    QStringList Failed;    // "relative path: why" of files that could not be read; their rows stay
    QString DatabaseError; // not empty: the database failed and the run stopped; the file being
                           // written then was rolled back
};

fmSqlSyncReport fmSqlSync(fmSqlDatabase& db, fmSqlJobSource& source, const QList<fmSqlFile>& files,
                          const fmSqlSyncOptions& options);
