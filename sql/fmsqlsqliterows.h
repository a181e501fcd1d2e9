#pragma once
// The rows of a file into SQLite through its C interface, on the Qt connection's own handle and
// inside its transaction: the same values in the same columns as through QSqlQuery, at a fraction
// of its cost a value. Only where Qt's driver runs on this program's libsqlite3.

#include "sql/fmsqlsource.h"
#include "sql/fmsqlsync.h"

#include <QList>
#include <QString>

#include <memory>

class QSqlDatabase;

class fmSqliteRows
{
public:
    virtual ~fmSqliteRows() = default;
    // Null when the connection is no SQLite one this program can drive (then rows go through
    // QSqlQuery); null with `error` set when its statements could not be prepared.
    static std::unique_ptr<fmSqliteRows> open(QSqlDatabase& db, QString& error);
    // Inserts the jobs of one file; `inserted` counts the rows written (a job that stands in
    // another file of the project is not). False with `error` (the driver's message) set when a
    // statement failed; the caller rolls the transaction back.
    virtual bool insert(const fmSqlFile& file, const QList<fmSqlJob>& jobs, double costPerGhzHour,
                        long long& inserted, QString& error) = 0;
};
