// Speed of the SQL store on SQLite: a demo root's history of 200,000 jobs (one demo project of
// 10,000 jobs and 19 copies of its files under other project names) written into a new database,
// then a second run with nothing changed. Prints one figure a line, "name: value unit":
// sqlite_rows_per_s counts the whole first run (reading the files, ahead on all cores, and writing
// the rows), sqlite_resync_noop is the second run. Per second of processor time ("_cpu", which
// does not depend on the machine's load): the whole run, the reads alone (processor time of the
// threads while in readFile) and the rest, which is the writing.

#include "app/fm.h"
#include "browser/fmhistoryreport.h"
#include "sql/fmsqldatabase.h"
#include "sql/fmsqlsummarysource.h"
#include "sql/fmsqlsync.h"
#include "tools/console/demoroot.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <atomic>
#include <cstdio>
#include <ctime>

namespace {

qint64 threadCpuNs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return qint64(t.tv_sec) * 1000000000 + t.tv_nsec;
}

constexpr int DemoJobs = 10000;
constexpr int Copies = 20; // the demo project and 19 copies: 200,000 jobs

// The summary source the console uses, timed.
class TimedSource : public fmSqlJobSource
{
public:
    explicit TimedSource(__FM& app) : Inner(fmReportSettingsOf(app).Speeds) {}
    bool readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error) override
    {
        const qint64 c = threadCpuNs();
        const bool ok = Inner.readFile(path, jobs, error);
        CpuNs += threadCpuNs() - c;
        return ok;
    }
    bool concurrentReads() const override { return Inner.concurrentReads(); }
    std::atomic<qint64> CpuNs{0}; // processor time of the reading threads

private:
    fmSqlSummarySource Inner;
};

// Copies every database file of the history under the project name base + "_<k>".
bool copyProjects(const QString& history)
{
    QStringList files;
    QDirIterator it(history, {QStringLiteral("*.db"), QStringLiteral("*.db61")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    for (int k = 1; k < Copies; ++k)
        for (const QString& f : files) {
            const QFileInfo info(f);
            const QString copy =
                info.absolutePath() +
                QStringLiteral("/%1_%2.%3").arg(info.completeBaseName()).arg(k).arg(info.suffix());
            if (!QFile::copy(f, copy)) return false;
        }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    fmDemoRootOptions o;
    o.Dir = dir.filePath(QStringLiteral("root"));
    o.Projects = 1;
    o.Jobs = DemoJobs;
    fmDemoRootReport demo;
    const QString error = fmCreateDemoRoot(FM, o, &demo);
    const QString history = o.Dir + QStringLiteral("/sub/history_db/");
    if (!error.isEmpty() || !copyProjects(history)) {
        std::fprintf(stderr, "demo root failed: %s\n", qPrintable(error));
        return 1;
    }
    const QList<fmSqlFile> files = fmSqlListFiles(FM, history);

    fmSqlDatabase db;
    const QString dbError = db.openSqlite(dir.filePath(QStringLiteral("history.sqlite")));
    if (!dbError.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(dbError));
        return 1;
    }
    fmSqlSyncOptions options;
    options.CostPerGhzHour = 0.05;
    TimedSource source(FM);
    QElapsedTimer t;
    t.start();
    const std::clock_t c = std::clock();
    const fmSqlSyncReport first = fmSqlSync(db, source, files, options);
    const double firstS = double(t.nsecsElapsed()) / 1e9;
    const double firstCpu = double(std::clock() - c) / CLOCKS_PER_SEC;
    const double readCpu = double(source.CpuNs.load()) / 1e9;
    t.restart();
    const fmSqlSyncReport second = fmSqlSync(db, source, files, options);
    const double noopS = double(t.nsecsElapsed()) / 1e9;
    if (!first.DatabaseError.isEmpty() || !first.Failed.isEmpty() || second.FilesSkipped != files.size()) {
        std::fprintf(stderr, "run failed: %s %s\n", qPrintable(first.DatabaseError),
                     qPrintable(first.Failed.join(';')));
        return 1;
    }
    const double rows = double(first.Inserted);
    std::printf("sqlite_files: %lld\n", static_cast<long long>(files.size()));
    std::printf("sqlite_rows: %.0f rows\n", rows);
    std::printf("sqlite_first_run: %.2f s\n", firstS);
    std::printf("sqlite_rows_per_s: %.0f rows/s\n", rows / firstS);
    std::printf("sqlite_first_run_cpu: %.2f s\n", firstCpu);
    std::printf("sqlite_rows_per_cpu_s: %.0f rows/s\n", rows / firstCpu);
    std::printf("sqlite_read_cpu_s: %.2f s\n", readCpu);
    std::printf("sqlite_write_rows_per_cpu_s: %.0f rows/s\n", rows / (firstCpu - readCpu));
    std::printf("sqlite_resync_noop: %.3f s\n", noopS);
    return 0;
}
