#pragma once
// One connection to the SQL store, SQLite or PostgreSQL, with the schema in place: fm_schema
// (one row: the schema's version), fm_jobs (one row a job) and fm_files (one row a database file
// of the history folder, with the size and time at which its rows were written). Both databases
// get the same tables and columns; only the type of the time columns differs: ISO 8601 text
// ("2024-03-01T12:00:00Z") in SQLite, timestamptz in PostgreSQL, both UTC.

#include <QSqlDatabase>
#include <QString>

#include <cstdint>

class fmSqlDatabase
{
public:
    enum Kind { SQLite, PostgreSQL };
    static constexpr int SchemaVersion = 1;

    fmSqlDatabase();
    ~fmSqlDatabase(); // closes the connection
    fmSqlDatabase(const fmSqlDatabase&) = delete;
    fmSqlDatabase& operator=(const fmSqlDatabase&) = delete;

    // Opens the database (an SQLite file is made if missing) and creates what is missing of the
    // schema. Returns an empty text, or why the database cannot be used (the driver's message).
    QString openSqlite(const QString& file);
    // `conninfo`: a libpq connection string of keyword=value pairs ("host=... dbname=...").
    // The password comes from the environment or ~/.pgpass, as libpq reads them.
    QString openPostgres(const QString& conninfo);

    QSqlDatabase& db() { return Db; }
    Kind kind() const { return DbKind; }

    // A time as the time columns take it: ISO 8601 text in UTC, which PostgreSQL reads as a
    // timestamptz as well. Clamped to the years 1970 to 9999.
    static QString timeText(int64_t secondsSinceEpoch);
    // The same text as the 20 ASCII bytes of `out` (no NUL behind).
    static void timeChars(int64_t secondsSinceEpoch, char out[20]);
    // Why a connection string is refused, or an empty text: it must be keyword=value pairs (no
    // URI), and it must not hold a password (a command line is visible to every user).
    static QString conninfoProblem(const QString& conninfo);

private:
    QString open(const QString& driver, Kind kind);
    QString ensureSchema();

    QString ConnectionName;
    QSqlDatabase Db;
    Kind DbKind = SQLite;
};
