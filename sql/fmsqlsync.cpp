#include "sql/fmsqlsync.h"

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmfile.h"
#include "sql/fmsqldatabase.h"
#include "sql/fmsqlsqliterows.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>
#include <QThreadPool>
#include <QVariant>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cmath>
#include <memory>
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
            Rows = fmSqliteRows::open(Db.db(), Report.DatabaseError);
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
    std::unique_ptr<fmSqliteRows> Rows; // SQLite's rows; null: through InsertJobs
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
