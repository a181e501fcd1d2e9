#include "sql/fmsqldatabase.h"

#include "sql/fmsqlsource.h"

#include <QAtomicInt>
#include <QDateTime>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>

namespace {

// The time columns' type: the one place where the two databases differ.
QString timeType(fmSqlDatabase::Kind kind)
{
    return kind == fmSqlDatabase::PostgreSQL ? QStringLiteral("TIMESTAMPTZ") : QStringLiteral("TEXT");
}

QStringList schemaStatements(fmSqlDatabase::Kind kind)
{
    const QString t = timeType(kind);
    return {
        QStringLiteral("CREATE TABLE IF NOT EXISTS fm_schema (version INTEGER NOT NULL)"),
        QStringLiteral(
            "CREATE TABLE IF NOT EXISTS fm_jobs ("
            "project TEXT NOT NULL, source_file TEXT NOT NULL, job_id BIGINT NOT NULL, "
            "id_text TEXT NOT NULL, user_name TEXT NOT NULL, software TEXT NOT NULL, "
            "renderer TEXT NOT NULL, scene TEXT NOT NULL, camera TEXT NOT NULL, layer TEXT NOT NULL, "
            "date_send %1 NOT NULL, date_finished %1, execution_seconds BIGINT NOT NULL, "
            "frames INTEGER NOT NULL, total_ps BIGINT NOT NULL, ghz_hours DOUBLE PRECISION NOT NULL, "
            "cost DOUBLE PRECISION NOT NULL, errors INTEGER NOT NULL, "
            "PRIMARY KEY (project, job_id, date_send))")
            .arg(t),
        // A changed or removed file's rows are found by their file.
        QStringLiteral("CREATE INDEX IF NOT EXISTS fm_jobs_source_file ON fm_jobs (source_file)"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS fm_files ("
                       "path TEXT PRIMARY KEY, size BIGINT NOT NULL, mtime BIGINT NOT NULL, "
                       "jobs INTEGER NOT NULL, synced_at %1 NOT NULL)")
            .arg(t),
    };
}

} // namespace

fmSqlDatabase::fmSqlDatabase()
{
    static QAtomicInt serial;
    ConnectionName = QStringLiteral("fmsql-%1").arg(serial.fetchAndAddRelaxed(1));
}

fmSqlDatabase::~fmSqlDatabase()
{
    if (Db.isValid()) Db.close();
    Db = QSqlDatabase();
    QSqlDatabase::removeDatabase(ConnectionName);
}

void fmSqlDatabase::timeChars(int64_t secondsSinceEpoch, char out[20])
{
    const int64_t t = std::clamp<int64_t>(secondsSinceEpoch, 0, fmSqlMaxTime);
    // Two of these a row: the civil date from the day number (Howard Hinnant's days_from_civil
    // inverse, proleptic Gregorian, exact for these years) instead of QDateTime's formatter.
    const int64_t days = t / 86400, secs = t % 86400;
    const int64_t z = days + 719468, era = z / 146097, doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100), mp = (5 * doy + 2) / 153;
    const int64_t day = doy - (153 * mp + 2) / 5 + 1, month = mp < 10 ? mp + 3 : mp - 9;
    const int64_t year = yoe + era * 400 + (month <= 2);
    auto two = [out](int at, int64_t v) {
        out[at] = char('0' + v / 10);
        out[at + 1] = char('0' + v % 10);
    };
    two(0, year / 100);
    two(2, year % 100);
    out[4] = '-';
    two(5, month);
    out[7] = '-';
    two(8, day);
    out[10] = 'T';
    two(11, secs / 3600);
    out[13] = ':';
    two(14, secs / 60 % 60);
    out[16] = ':';
    two(17, secs % 60);
    out[19] = 'Z';
}

QString fmSqlDatabase::timeText(int64_t secondsSinceEpoch)
{
    char out[20];
    timeChars(secondsSinceEpoch, out);
    return QString::fromLatin1(out, 20);
}

QString fmSqlDatabase::conninfoProblem(const QString& conninfo)
{
    static const QRegularExpression password(QStringLiteral("(^|[\\s;])password\\s*="),
                                             QRegularExpression::CaseInsensitiveOption);
    if (conninfo.contains(QLatin1String("://")))
        return QStringLiteral(
            "give the connection as keyword=value pairs (host=... dbname=...), not as a URI");
    if (password.match(conninfo).hasMatch())
        return QStringLiteral("no password in the connection string: set PGPASSWORD or use ~/.pgpass");
    return QString();
}

QString fmSqlDatabase::openSqlite(const QString& file)
{
    if (file.isEmpty()) return QStringLiteral("no SQLite file given");
    Db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), ConnectionName);
    Db.setDatabaseName(file);
    return open(QStringLiteral("QSQLITE"), SQLite);
}

QString fmSqlDatabase::openPostgres(const QString& conninfo)
{
    Db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), ConnectionName);
    // Everything goes to libpq as it stands: the driver appends the options to its own (empty)
    // keyword list.
    Db.setConnectOptions(conninfo);
    return open(QStringLiteral("QPSQL"), PostgreSQL);
}

QString fmSqlDatabase::open(const QString& driver, Kind kind)
{
    DbKind = kind;
    if (!QSqlDatabase::isDriverAvailable(driver))
        return QStringLiteral("the Qt SQL driver %1 is not installed").arg(driver);
    if (!Db.open()) return Db.lastError().text();
    if (kind == SQLite) {
        // A write-ahead log, synced at its checkpoints only: a file's transaction costs no sync of
        // its own, and a crash or power loss still leaves every file's rows with their fm_files
        // row, whole or not at all (a lost last commit is redone by the next run, as its fm_files
        // row went with it). The mode stays with the database file. A database that cannot take
        // it now (in memory, busy, on a file system without shared memory) keeps its journal and
        // the full syncs that a rollback journal needs.
        QSqlQuery q(Db);
        if (q.exec(QStringLiteral("PRAGMA journal_mode = WAL")) && q.next() &&
            q.value(0).toString().compare(QLatin1String("wal"), Qt::CaseInsensitive) == 0)
            q.exec(QStringLiteral("PRAGMA synchronous = NORMAL"));
    }
    if (kind == PostgreSQL) {
        // Month and day texts of the example queries read the session's zone: UTC, as stored.
        // The schema's "already exists" notices are no news on every run.
        QSqlQuery q(Db);
        if (!q.exec(QStringLiteral("SET TIME ZONE 'UTC'")) ||
            !q.exec(QStringLiteral("SET client_min_messages TO WARNING")))
            return q.lastError().text();
    }
    return ensureSchema();
}

QString fmSqlDatabase::ensureSchema()
{
    if (!Db.transaction()) return Db.lastError().text();
    QSqlQuery q(Db);
    auto fail = [&](const QSqlError& e) {
        Db.rollback();
        return e.text();
    };
    for (const QString& statement : schemaStatements(DbKind))
        if (!q.exec(statement)) return fail(q.lastError());
    if (!q.exec(QStringLiteral("SELECT MAX(version) FROM fm_schema")) || !q.next())
        return fail(q.lastError());
    const QVariant stored = q.value(0);
    if (stored.isNull()) {
        q.prepare(QStringLiteral("INSERT INTO fm_schema (version) VALUES (?)"));
        q.addBindValue(SchemaVersion);
        if (!q.exec()) return fail(q.lastError());
    } else if (stored.toInt() != SchemaVersion) {
        Db.rollback();
        return QStringLiteral("the database holds schema version %1; this program writes version %2")
            .arg(stored.toInt())
            .arg(SchemaVersion);
    }
    q.finish();
    if (!Db.commit()) return Db.lastError().text();
    return QString();
}
