#include "sql/fmsqlsync.h"

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmfile.h"
#include "sql/fmsqldatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>
#include <QThreadPool>
#include <QVariant>
#include <QtConcurrent/QtConcurrentRun>

#include <dlfcn.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

// What fm_files says about a file: its size and modification time (ms since the epoch) when
// its rows were written, and the jobs it held then.
struct StoredFile
{
    qint64 Size = -1;
    qint64 Mtime = -1;
    int Jobs = 0;
};

// Rows go in statements of up to this many: one statement a row costs a round trip to a server
// (and Qt's overhead) per job.
constexpr int RowsPerInsert = 100;

// An insert of `rows` jobs; a job that already stands in another file of the project is left out.
QString insertJobsSql(int rows)
{
    QString sql =
        QStringLiteral("INSERT INTO fm_jobs (project, source_file, job_id, id_text, user_name, software, "
                       "renderer, scene, camera, layer, date_send, date_finished, execution_seconds, frames, "
                       "total_ps, ghz_hours, cost, errors) VALUES ");
    for (int i = 0; i < rows; ++i)
        sql += (i ? QStringLiteral(", ") : QString()) +
               QStringLiteral("(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    return sql + QStringLiteral(" ON CONFLICT DO NOTHING");
}

// True when the Qt driver runs on this program's SQLite library, so that its connection handle may
// be used here. A driver with a copy of SQLite of its own (a Qt built with the bundled one) shares
// no state with this one; its handle is then left to Qt. The driver object's first word points
// into its class's virtual table, inside the driver's plugin (or program).
bool driverUsesOurSqlite(const QSqlDriver* driver)
{
    Dl_info info{};
    if (!driver || !dladdr(*reinterpret_cast<void* const*>(driver), &info) || !info.dli_fname) return false;
    void* const plugin = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    if (!plugin) return false;
    const bool same = dlsym(plugin, "sqlite3_step") == reinterpret_cast<void*>(&sqlite3_step);
    dlclose(plugin);
    return same;
}

// The rows of a file into SQLite through the C interface, on the Qt connection's own handle and
// inside its transaction. The same values reach the same columns as through QSqlQuery (which costs
// a QVariant, a placeholder name and a hash lookup per value): integers as integers, reals as
// reals, a null QString as NULL, texts as text. Rows go in statements of RowsPerStep (one step
// serves them all, about half a row's cost in SQLite), the rest one by one; project and source
// file are the parameters ?1 and ?2 of every row. A text is bound again only when it differs from
// the one its parameter holds (bindings outlast a reset); an ASCII text goes in as UTF-8 from a
// buffer of its parameter, any other as its UTF-16 units, which SQLite converts as it did Qt's.
class SqliteRows
{
public:
    static constexpr int RowsPerStep = 32;

    // Null when the connection is no SQLite one this program can drive.
    static std::unique_ptr<SqliteRows> open(QSqlDatabase& db, QString& error)
    {
        const QVariant h = db.driver()->handle();
        if (!h.isValid() || qstrcmp(h.typeName(), "sqlite3*") != 0 || !driverUsesOurSqlite(db.driver()))
            return nullptr;
        sqlite3* const handle = *static_cast<sqlite3* const*>(h.constData());
        if (!handle) return nullptr;
        auto rows = std::unique_ptr<SqliteRows>(new SqliteRows(handle));
        if (!rows->One.prepare(handle, 1) || !rows->Many.prepare(handle, RowsPerStep)) {
            error = rows->why(QStringLiteral("Unable to execute statement"));
            return nullptr;
        }
        return rows;
    }
    SqliteRows(const SqliteRows&) = delete;
    SqliteRows& operator=(const SqliteRows&) = delete;

    // Inserts the jobs of one file; `inserted` counts the rows written (a job that stands in
    // another file of the project is not). False with `error` set when a statement failed.
    bool insert(const fmSqlFile& file, const QList<fmSqlJob>& jobs, double costPerGhzHour,
                long long& inserted, QString& error)
    {
        inserted = 0;
        for (qsizetype first = 0; first < jobs.size();) {
            Statement& st = jobs.size() - first >= RowsPerStep ? Many : One;
            bool bound = st.text(0, 1, file.Project) && st.text(1, 2, file.RelPath);
            for (int k = 0; k < st.Rows && bound; ++k)
                bound = st.bindRow(k, jobs[first + k], costPerGhzHour);
            if (!bound) {
                error = why(QStringLiteral("Unable to bind parameters"));
                return false;
            }
            if (sqlite3_step(st.Stmt) != SQLITE_DONE) {
                error = why(QStringLiteral("Unable to fetch row"));
                sqlite3_reset(st.Stmt);
                return false;
            }
            sqlite3_reset(st.Stmt);
            inserted += sqlite3_changes(Db); // fewer: jobs that stand in another file
            first += st.Rows;
        }
        return true;
    }

private:
    explicit SqliteRows(sqlite3* db) : Db(db) {}

    static bool ok(int rc) { return rc == SQLITE_OK; }

    // The driver's message as QSqlError::text() gives it: SQLite's text, then what failed.
    QString why(const QString& what) const
    {
        return QString::fromUtf8(sqlite3_errmsg(Db)) + QLatin1Char(' ') + what;
    }

    // A text bound to a parameter: the QString keeps alive the units SQLite may point to.
    struct TextSlot
    {
        QString Value;
        std::string Utf8;
        bool Bound = false;
    };

    // An insert of `Rows` rows: ?1 project, ?2 source file, then 16 parameters a row.
    struct Statement
    {
        static constexpr int PerRow = 16;
        static constexpr int TextsPerRow = 7; // id_text, user_name .. layer

        sqlite3_stmt* Stmt = nullptr;
        int Rows = 0;
        std::vector<TextSlot> Texts;             // 2 + TextsPerRow a row
        std::vector<std::array<char, 40>> Times; // date_send, date_finished of each row

        ~Statement() { sqlite3_finalize(Stmt); }

        bool prepare(sqlite3* db, int rows)
        {
            std::string sql =
                "INSERT INTO fm_jobs (project, source_file, job_id, id_text, user_name, software, "
                "renderer, scene, camera, layer, date_send, date_finished, execution_seconds, "
                "frames, total_ps, ghz_hours, cost, errors) VALUES ";
            for (int k = 0; k < rows; ++k) {
                sql += k ? ", (?1, ?2" : "(?1, ?2";
                for (int c = 0; c < PerRow; ++c)
                    sql += ", ?" + std::to_string(3 + k * PerRow + c);
                sql += ')';
            }
            sql += " ON CONFLICT DO NOTHING";
            Rows = rows;
            Texts.resize(size_t(2 + TextsPerRow * rows));
            Times.resize(size_t(rows));
            return ok(sqlite3_prepare_v3(db, sql.c_str(), int(sql.size()), SQLITE_PREPARE_PERSISTENT, &Stmt,
                                         nullptr));
        }

        // Row k's parameters from ?(3 + 16 k), in the columns' order.
        bool bindRow(int k, const fmSqlJob& job, double costPerGhzHour)
        {
            const int p = 3 + k * PerRow;
            const int t = 2 + k * TextsPerRow;
            char* const sent = Times[size_t(k)].data();
            char* const finished = sent + 20;
            fmSqlDatabase::timeChars(job.DateSend, sent);
            if (job.DateFinished > 0) fmSqlDatabase::timeChars(job.DateFinished, finished);
            const double cost = job.GhzHours * costPerGhzHour;
            return ok(sqlite3_bind_int64(Stmt, p, job.JobID)) && text(t, p + 1, job.IdText) &&
                   text(t + 1, p + 2, job.UserName) && text(t + 2, p + 3, job.Software) &&
                   text(t + 3, p + 4, job.Renderer) && text(t + 4, p + 5, job.Scene) &&
                   text(t + 5, p + 6, job.Camera) && text(t + 6, p + 7, job.Layer) &&
                   ok(sqlite3_bind_text(Stmt, p + 8, sent, 20, SQLITE_STATIC)) &&
                   // A job without a finish time has none in the database either.
                   ok(job.DateFinished > 0 ? sqlite3_bind_text(Stmt, p + 9, finished, 20, SQLITE_STATIC)
                                           : sqlite3_bind_null(Stmt, p + 9)) &&
                   ok(sqlite3_bind_int64(Stmt, p + 10, job.ExecutionSeconds)) &&
                   ok(sqlite3_bind_int(Stmt, p + 11, job.Frames)) &&
                   ok(sqlite3_bind_int64(Stmt, p + 12, job.TotalPS)) &&
                   ok(sqlite3_bind_double(Stmt, p + 13, job.GhzHours)) &&
                   ok(sqlite3_bind_double(Stmt, p + 14, std::isfinite(cost) ? cost : 0.0)) &&
                   ok(sqlite3_bind_int(Stmt, p + 15, job.Errors));
        }

        // Binds parameter `param` (text slot `slot`) unless it holds this text already.
        bool text(int slot, int param, const QString& s)
        {
            TextSlot& t = Texts[size_t(slot)];
            if (t.Bound && s.isNull() == t.Value.isNull() && s.size() == t.Value.size() &&
                (s.constData() == t.Value.constData() || s == t.Value))
                return true;
            t.Value = s;
            t.Bound = false;
            if (s.isNull()) return t.Bound = ok(sqlite3_bind_null(Stmt, param));
            const char16_t* units = reinterpret_cast<const char16_t*>(s.constData());
            const qsizetype n = s.size();
            bool ascii = true;
            for (qsizetype i = 0; i < n && ascii; ++i)
                ascii = units[i] < 0x80;
            if (!ascii)
                return t.Bound = ok(sqlite3_bind_text16(Stmt, param, units, int(n * 2), SQLITE_STATIC));
            // From the parameter's buffer even when empty: a null pointer would bind NULL.
            t.Utf8.resize(size_t(n));
            for (qsizetype i = 0; i < n; ++i)
                t.Utf8[size_t(i)] = char(units[i]);
            return t.Bound = ok(sqlite3_bind_text(Stmt, param, t.Utf8.data(), int(n), SQLITE_STATIC));
        }
    };

    sqlite3* Db;
    Statement One, Many;
};

const char* const kUpsertFile =
    "INSERT INTO fm_files (path, size, mtime, jobs, synced_at) VALUES (?, ?, ?, ?, ?) "
    "ON CONFLICT (path) DO UPDATE SET size = excluded.size, mtime = excluded.mtime, jobs = excluded.jobs, "
    "synced_at = excluded.synced_at";

// The statements of one run, prepared once. Every write of a file is one transaction; a failed
// statement rolls it back and ends the run with the driver's message in the report.
class Writer
{
public:
    Writer(fmSqlDatabase& db, const fmSqlSyncOptions& options, fmSqlSyncReport& report)
        : Db(db), Options(options), Report(report), DeleteRows(db.db()), InsertJobs(db.db()),
          UpsertFile(db.db()), DeleteFile(db.db())
    {
    }

    bool prepare()
    {
        if (Db.kind() == fmSqlDatabase::SQLite) {
            Rows = SqliteRows::open(Db.db(), Report.DatabaseError);
            if (!Report.DatabaseError.isEmpty()) return false;
        }
        return prepared(DeleteRows, QStringLiteral("DELETE FROM fm_jobs WHERE source_file = ?")) &&
               (Rows || prepared(InsertJobs, insertJobsSql(RowsPerInsert))) &&
               prepared(UpsertFile, QString::fromLatin1(kUpsertFile)) &&
               prepared(DeleteFile, QStringLiteral("DELETE FROM fm_files WHERE path = ?"));
    }

    bool loadStored(QHash<QString, StoredFile>& out)
    {
        QSqlQuery q(Db.db());
        q.setForwardOnly(true);
        if (!q.exec(QStringLiteral("SELECT path, size, mtime, jobs FROM fm_files"))) return failed(q);
        while (q.next())
            out.insert(q.value(0).toString(),
                       {q.value(1).toLongLong(), q.value(2).toLongLong(), q.value(3).toInt()});
        return true;
    }

    // Files whose rows are fewer than the jobs they held: some of their jobs stood in another file
    // of the project too, whose rows were written first.
    bool incompleteFiles(QSet<QString>& out)
    {
        QSqlQuery q(Db.db());
        q.setForwardOnly(true);
        if (!q.exec(
                QStringLiteral("SELECT f.path FROM fm_files f LEFT JOIN fm_jobs j ON j.source_file = f.path "
                               "GROUP BY f.path, f.jobs HAVING COUNT(j.source_file) < f.jobs")))
            return failed(q);
        while (q.next())
            out.insert(q.value(0).toString());
        return true;
    }

    // Replaces the rows of one file; `deleted` and `inserted` count the rows gone and written.
    bool writeFile(const fmSqlFile& file, qint64 size, qint64 mtime, const QList<fmSqlJob>& jobs,
                   long long& deleted, long long& inserted)
    {
        if (!Db.db().transaction()) return failedDb();
        DeleteRows.addBindValue(file.RelPath);
        if (!DeleteRows.exec()) return rollback(DeleteRows);
        deleted = std::max(0, DeleteRows.numRowsAffected());
        if (!insertRows(file, jobs, inserted)) return false;
        UpsertFile.addBindValue(file.RelPath);
        UpsertFile.addBindValue(size);
        UpsertFile.addBindValue(mtime);
        UpsertFile.addBindValue(int(jobs.size()));
        UpsertFile.addBindValue(fmSqlDatabase::timeText(QDateTime::currentSecsSinceEpoch()));
        if (!UpsertFile.exec()) return rollback(UpsertFile);
        return commit(file.RelPath);
    }

    // The file's rows, inside its transaction; rolled back on failure.
    bool insertRows(const fmSqlFile& file, const QList<fmSqlJob>& jobs, long long& inserted)
    {
        inserted = 0;
        if (Rows) {
            QString why;
            return Rows->insert(file, jobs, Options.CostPerGhzHour, inserted, why) || rollback(why);
        }
        QSqlQuery tail(Db.db());
        for (qsizetype first = 0; first < jobs.size(); first += RowsPerInsert) {
            const int n = int(std::min<qsizetype>(RowsPerInsert, jobs.size() - first));
            QSqlQuery& q = n == RowsPerInsert ? InsertJobs : tail;
            if (n < RowsPerInsert && !q.prepare(insertJobsSql(n))) return rollback(q);
            for (int i = 0; i < n; ++i)
                bindJob(q, file, jobs[first + i], Options.CostPerGhzHour);
            if (!q.exec()) return rollback(q);
            inserted += std::max(0, q.numRowsAffected()); // fewer: jobs that stand in another file
        }
        return true;
    }

    bool removeFile(const QString& relPath, long long& deleted)
    {
        if (!Db.db().transaction()) return failedDb();
        DeleteRows.addBindValue(relPath);
        if (!DeleteRows.exec()) return rollback(DeleteRows);
        deleted = std::max(0, DeleteRows.numRowsAffected());
        DeleteFile.addBindValue(relPath);
        if (!DeleteFile.exec()) return rollback(DeleteFile);
        return commit(relPath);
    }

private:
    bool prepared(QSqlQuery& q, const QString& sql) { return q.prepare(sql) || failed(q); }

    static void bindJob(QSqlQuery& q, const fmSqlFile& file, const fmSqlJob& job, double costPerGhzHour)
    {
        q.addBindValue(file.Project);
        q.addBindValue(file.RelPath);
        q.addBindValue(qlonglong(job.JobID));
        q.addBindValue(job.IdText);
        q.addBindValue(job.UserName);
        q.addBindValue(job.Software);
        q.addBindValue(job.Renderer);
        q.addBindValue(job.Scene);
        q.addBindValue(job.Camera);
        q.addBindValue(job.Layer);
        q.addBindValue(fmSqlDatabase::timeText(job.DateSend));
        // A job without a finish time has none in the database either.
        q.addBindValue(job.DateFinished > 0 ? QVariant(fmSqlDatabase::timeText(job.DateFinished))
                                            : QVariant(QMetaType::fromType<QString>()));
        q.addBindValue(qlonglong(job.ExecutionSeconds));
        q.addBindValue(job.Frames);
        q.addBindValue(qlonglong(job.TotalPS));
        q.addBindValue(job.GhzHours);
        const double cost = job.GhzHours * costPerGhzHour;
        q.addBindValue(std::isfinite(cost) ? cost : 0.0);
        q.addBindValue(job.Errors);
    }

    bool commit(const QString& relPath)
    {
        if (Options.BeforeCommit) Options.BeforeCommit(relPath);
        if (Db.db().commit()) return true;
        const QString why = Db.db().lastError().text();
        Db.db().rollback();
        Report.DatabaseError = why;
        return false;
    }

    bool rollback(const QSqlQuery& q) { return rollback(q.lastError().text()); }
    bool rollback(const QString& why)
    {
        Db.db().rollback();
        Report.DatabaseError = why;
        return false;
    }

    bool failed(const QSqlQuery& q)
    {
        Report.DatabaseError = q.lastError().text();
        return false;
    }

    bool failedDb()
    {
        Report.DatabaseError = Db.db().lastError().text();
        return false;
    }

    fmSqlDatabase& Db;
    const fmSqlSyncOptions& Options;
    fmSqlSyncReport& Report;
    QSqlQuery DeleteRows, InsertJobs, UpsertFile, DeleteFile;
    std::unique_ptr<SqliteRows> Rows; // SQLite's rows; null: through InsertJobs
};

// A file to read and write, with its size and time as seen before the read.
struct FileRead
{
    const fmSqlFile* File = nullptr;
    qint64 Size = 0, Mtime = 0;
    bool Ok = false;
    QList<fmSqlJob> Jobs;
    QString Why;
};

// Reads the files in their order. With a source that can read files at the same time, up to
// `ahead` reads run on a pool while the caller writes the file before them (reading, inflating
// above all, is most of a file's time); otherwise each file is read when taken, on this thread.
class ReadAhead
{
public:
    ReadAhead(fmSqlJobSource& source, std::vector<FileRead>& files)
        : Source(source), Files(files), Started(files.size()),
          Ahead(source.concurrentReads() ? std::max(1, QThread::idealThreadCount()) : 0)
    {
        Pool.setMaxThreadCount(std::max(1, Ahead));
    }
    ~ReadAhead() { Pool.waitForDone(); }
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    FileRead& take(size_t i)
    {
        for (size_t k = i; k < Files.size() && k <= i + size_t(Ahead); ++k)
            if (Ahead > 0 && !Started[k].isValid())
                Started[k] = QtConcurrent::run(&Pool, [this, k] { read(Files[k]); });
        if (Started[i].isValid())
            Started[i].waitForFinished();
        else
            read(Files[i]);
        return Files[i];
    }

private:
    void read(FileRead& f) { f.Ok = Source.readFile(f.File->Path, f.Jobs, f.Why); }

    fmSqlJobSource& Source;
    std::vector<FileRead>& Files;
    std::vector<QFuture<void>> Started;
    const int Ahead;
    QThreadPool Pool;
};

void countRows(fmSqlSyncReport& r, long long before, long long now)
{
    r.Replaced += std::min(before, now);
    if (now > before)
        r.Inserted += now - before;
    else
        r.Removed += before - now;
}

} // namespace

QList<fmSqlFile> fmSqlListFiles(__FM& app, const QString& historyFolder)
{
    auto table = std::make_unique<fmProjectTable>(app);
    table->loadProjectList(historyFolder);
    const QDir history(QDir(historyFolder).absolutePath());
    QList<fmSqlFile> files;
    for (int i = 0; i < table->nrOfProjects; ++i) {
        const _projectInfo& p = table->projects[size_t(i)];
        for (const _projectInfo_files& f : p.Files) {
            const QString path = QFileInfo(f.FileName).absoluteFilePath();
            files.append({p.Name, path, history.relativeFilePath(path)});
        }
    }
    return files;
}

fmSqlSyncReport fmSqlSync(fmSqlDatabase& db, fmSqlJobSource& source, const QList<fmSqlFile>& files,
                          const fmSqlSyncOptions& options)
{
    fmSqlSyncReport r;
    Writer w(db, options, r);
    QHash<QString, StoredFile> stored;
    if (!w.prepare() || !w.loadStored(stored)) return r;

    auto selected = [&](const QString& project) {
        return options.Projects.isEmpty() || options.Projects.contains(project, Qt::CaseInsensitive);
    };
    QHash<QString, const fmSqlFile*> present; // by RelPath, of the selected projects
    for (const fmSqlFile& f : files)
        if (selected(f.Project)) present.insert(f.RelPath, &f);

    // Projects that lost rows: a job held by two of their files may now be missing.
    QSet<QString> shrunk;
    QStringList gone;
    for (auto it = stored.cbegin(); it != stored.cend(); ++it)
        if (!present.contains(it.key()) && selected(GetFileNameBase(it.key()))) gone.append(it.key());
    std::sort(gone.begin(), gone.end());
    for (const QString& path : gone) {
        long long deleted = 0;
        if (!w.removeFile(path, deleted)) return r;
        r.Removed += deleted;
        ++r.FilesRemoved;
        if (deleted > 0) shrunk.insert(GetFileNameBase(path).toLower());
    }

    QSet<QString> failed, skipped;
    // The files to read, in order; an unchanged one is skipped unless forced.
    auto toRead = [&](const fmSqlFile& f, bool force, std::vector<FileRead>& out) {
        const QFileInfo info(f.Path);
        const qint64 size = info.size(), mtime = info.lastModified().toMSecsSinceEpoch();
        const auto it = stored.constFind(f.RelPath);
        if (!force && it != stored.cend() && it->Size == size && it->Mtime == mtime) {
            ++r.FilesSkipped;
            skipped.insert(f.RelPath);
            return;
        }
        FileRead read;
        read.File = &f;
        read.Size = size;
        read.Mtime = mtime;
        out.push_back(std::move(read));
    };
    auto sync = [&](std::vector<FileRead>& reads) {
        ReadAhead ahead(source, reads);
        for (size_t i = 0; i < reads.size(); ++i) {
            FileRead& read = ahead.take(i);
            const fmSqlFile& f = *read.File;
            if (!read.Ok) {
                r.Failed.append(f.RelPath + QStringLiteral(": ") + read.Why);
                failed.insert(f.RelPath);
                continue;
            }
            long long deleted = 0, inserted = 0;
            if (!w.writeFile(f, read.Size, read.Mtime, read.Jobs, deleted, inserted)) return false;
            QList<fmSqlJob>().swap(read.Jobs);
            countRows(r, deleted, inserted);
            ++r.FilesRead;
            if (deleted > 0) shrunk.insert(f.Project.toLower());
        }
        return true;
    };
    std::vector<FileRead> reads;
    for (const fmSqlFile& f : files)
        if (present.value(f.RelPath) == &f) toRead(f, false, reads);
    if (!sync(reads)) return r;

    if (shrunk.isEmpty()) return r;
    QSet<QString> incomplete;
    if (!w.incompleteFiles(incomplete)) return r;
    std::vector<FileRead> again;
    for (const fmSqlFile& f : files) {
        if (present.value(f.RelPath) != &f || failed.contains(f.RelPath) || !incomplete.contains(f.RelPath) ||
            !shrunk.contains(f.Project.toLower()))
            continue;
        if (skipped.remove(f.RelPath)) --r.FilesSkipped; // read after all
        toRead(f, true, again);
    }
    sync(again);
    return r;
}
