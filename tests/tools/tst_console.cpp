// fmHistorydbconsole: its arguments, outputs and exit codes, run as a process on a demo root made
// here, and the demo root generator called directly.

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "jobs/fmjoblist.h"
#include "jobs/fmjobtext.h"
#include "tools/console/demoroot.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <zlib.h>

#include <memory>

namespace {

const QString kConsole = QStringLiteral(FM_CONSOLE_EXE);

struct Run
{
    int Code = -1;
    QString Out, Err;
};

Run runConsole(const QStringList& args, const QString& workDir = QString())
{
    QProcess p;
    if (!workDir.isEmpty()) p.setWorkingDirectory(workDir);
    p.start(kConsole, args);
    Run r;
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        return r;
    }
    r.Code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -2;
    r.Out = QString::fromUtf8(p.readAllStandardOutput());
    r.Err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

QByteArray readAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Byte offsets of the frames of a database file.
QList<qsizetype> frameOffsets(const QByteArray& b)
{
    QList<qsizetype> offsets;
    qsizetype pos = 0;
    while (pos + 64 <= b.size()) {
        offsets.append(pos);
        pos += 64 + qsizetype(
                        qFromLittleEndian<quint32>(reinterpret_cast<const uchar*>(b.constData() + pos) + 52));
    }
    return offsets;
}

QStringList databaseFiles(const QString& root)
{
    QStringList files;
    QDirIterator it(root + QStringLiteral("/sub/history_db"),
                    {QStringLiteral("*.db"), QStringLiteral("*.db61")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    files.sort();
    return files;
}

} // namespace

class tst_console : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir Tmp;
    QString RootA; // made by the console program
    QString RootB; // made by the generator in this process, same seed
    fmDemoRootReport ReportB;
    QList<QPair<int, QString>> Lines; // log lines of levels 0..2 while collecting

private slots:
    void initTestCase();
    void sameSeedSameFiles();
    void everyProjectLoadsWithoutMessages();
    void arguments_data();
    void arguments();
    void startupPassesWithoutWarnings();
    void projectsText();
    void projectsJson();
    void exportAllMatchesWindowExport();
    void checkDatabases_data();
    void checkDatabases();
};

void tst_console::initTestCase()
{
    QVERIFY(Tmp.isValid());
    QVERIFY2(QFileInfo(kConsole).isExecutable(), qPrintable(kConsole));
    RootA = Tmp.filePath(QStringLiteral("rootA"));
    RootB = Tmp.filePath(QStringLiteral("rootB"));
    const Run r = runConsole({QStringLiteral("demo-root"), RootA, QStringLiteral("--projects"),
                              QStringLiteral("3"), QStringLiteral("--jobs"), QStringLiteral("40"),
                              QStringLiteral("--seed"), QStringLiteral("7")});
    QVERIFY2(r.Code == 0, qPrintable(r.Out + r.Err));

    connect(&FM, &__FM::signalLogUI, this, [this](int level, int, const QString& text, const QString&) {
        if (level <= 2) Lines.append({level, text});
    });
    fmDemoRootOptions o;
    o.Dir = RootB;
    o.Projects = 3;
    o.Jobs = 40;
    o.Seed = 7;
    QCOMPARE(fmCreateDemoRoot(FM, o, &ReportB), QString());
    QCOMPARE(ReportB.Projects.size(), 3);
    QCOMPARE(ReportB.Projects[0].Jobs, 40);
}

// Catches a generator that reads the clock or an unseeded generator: two runs differ.
void tst_console::sameSeedSameFiles()
{
    // clients.ini is left out: its writer goes through the machine-wide /tmp/clients.ini, which a
    // test running beside this one may write at the same moment.
    QStringList rel = {QStringLiteral("sub/cfg_global/clientgroups.ini"),
                       QStringLiteral("sub/cfg_global/users7.dat"), QStringLiteral("sub/version.info"),
                       QStringLiteral("sub/SplashScreen.png")};
    for (const QString& f : databaseFiles(RootB))
        rel.append(QDir(RootB).relativeFilePath(f));
    QCOMPARE(databaseFiles(RootA).size(), databaseFiles(RootB).size());
    for (const QString& r : rel) {
        const QByteArray a = readAll(RootA + QLatin1Char('/') + r);
        QVERIFY2(!a.isEmpty(), qPrintable(r));
        QVERIFY2(a == readAll(RootB + QLatin1Char('/') + r), qPrintable(r));
        if (r.contains(QLatin1String("history_db")))
            QCOMPARE(QFileInfo(RootA + QLatin1Char('/') + r).lastModified(),
                     QFileInfo(RootB + QLatin1Char('/') + r).lastModified());
    }
}

// Catches frames that the loader rejects or logs about, and counts that don't add up.
void tst_console::everyProjectLoadsWithoutMessages()
{
    auto table = std::make_unique<fmProjectTable>(FM);
    table->loadProjectList(RootB + QStringLiteral("/sub/history_db/"));
    QCOMPARE(table->nrOfProjects, ReportB.Projects.size());
    auto list = std::make_unique<fmJ::_JobList>(FM);
    bool split = false;
    for (int i = 0; i < table->nrOfProjects; ++i) {
        const _projectInfo& p = table->projects[size_t(i)];
        QCOMPARE(p.Name, ReportB.Projects[i].Name);
        split = split || p.Files.size() > 1;
        Lines.clear();
        QString message;
        QCOMPARE(table->loadProjectJobs(i, *list, message), fmProjectTable::LoadDone);
        QVERIFY2(Lines.isEmpty(), qPrintable(Lines.isEmpty() ? QString() : Lines.first().second));
        QCOMPARE(list->JobCount, ReportB.Projects[i].Jobs);
        // Jobs make sense: sent before finished, inside the two years, with a user and a program.
        for (int q = 0; q < list->JobCount; ++q) {
            const fmJ::_jobsHistoryDB_Runtime* job = list->GetJobByQueueID(q);
            QVERIFY(job);
            QVERIFY(job->DateSend.t < job->DateFinished.t);
            QVERIFY(job->DateSend.t >= 1730419200 && job->DateFinished.t < 1730419200 + 3 * 365 * 86400);
            QVERIFY(!job->UserName.isEmpty() && !job->Software.isEmpty() && !job->SceneName.isEmpty());
            QVERIFY(job->JobID >= 1000);
            QVERIFY(job->TotalGhzHours > 0.0f);
        }
    }
    QVERIFY2(split, "no project split over a __ subfolder");
}

void tst_console::arguments_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text"); // expected in standard output or error
    const QString root = QStringLiteral("<A>");
    QTest::newRow("help") << QStringList{QStringLiteral("--help")} << 0 << QStringLiteral("Usage:");
    QTest::newRow("help after command") << QStringList{QStringLiteral("export"), QStringLiteral("-h")} << 0
                                        << QStringLiteral("demo-root DIR");
    QTest::newRow("nothing") << QStringList{} << 2 << QStringLiteral("No command given");
    QTest::newRow("unknown command") << QStringList{QStringLiteral("frobnicate")} << 2
                                     << QStringLiteral("Unknown command 'frobnicate'");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("projects"), QStringLiteral("--frobnicate")}
                                    << 2 << QStringLiteral("Unknown option '--frobnicate'");
    QTest::newRow("export without output")
        << QStringList{QStringLiteral("export"), QStringLiteral("--all")} << 2 << QStringLiteral("-o FILE");
    QTest::newRow("export all and project")
        << QStringList{QStringLiteral("export"), QStringLiteral("--all"), QStringLiteral("--project"),
                       QStringLiteral("x"),      QStringLiteral("-o"),    QStringLiteral("x.csv")}
        << 2 << QStringLiteral("either --project NAME or --all");
    QTest::newRow("output without name")
        << QStringList{QStringLiteral("export"), QStringLiteral("--all"), QStringLiteral("-o")} << 2
        << QStringLiteral("-o needs a file name");
    QTest::newRow("check without files")
        << QStringList{QStringLiteral("check")} << 2 << QStringLiteral("at least one");
    QTest::newRow("demo-root without folder")
        << QStringList{QStringLiteral("demo-root")} << 2 << QStringLiteral("exactly one folder");
    QTest::newRow("demo-root jobs 0") << QStringList{QStringLiteral("demo-root"), QStringLiteral("x"),
                                                     QStringLiteral("--jobs"), QStringLiteral("0")}
                                      << 2 << QStringLiteral("--jobs needs a number from 1 to 15000");
    QTest::newRow("demo-root jobs too many") << QStringList{QStringLiteral("demo-root"), QStringLiteral("x"),
                                                            QStringLiteral("--jobs"), QStringLiteral("15001")}
                                             << 2 << QStringLiteral("--jobs needs");
    QTest::newRow("demo-root projects text")
        << QStringList{QStringLiteral("demo-root"), QStringLiteral("x"), QStringLiteral("--projects"),
                       QStringLiteral("many")}
        << 2 << QStringLiteral("--projects needs");
    QTest::newRow("demo-root seed negative") << QStringList{QStringLiteral("demo-root"), QStringLiteral("x"),
                                                            QStringLiteral("--seed"), QStringLiteral("-3")}
                                             << 2 << QStringLiteral("--seed needs");
    QTest::newRow("demo-root in a _debug folder")
        << QStringList{QStringLiteral("demo-root"), QStringLiteral("x_debug")} << 1
        << QStringLiteral("can't be a farm root");
    QTest::newRow("projects takes no export option")
        << QStringList{QStringLiteral("projects"), QStringLiteral("--all")} << 2
        << QStringLiteral("does not take");
    QTest::newRow("no root") << QStringList{QStringLiteral("projects")} << 100
                             << QStringLiteral("Unable to get FM Root path");
    QTest::newRow("root not a farm") << QStringList{QStringLiteral("-fmRoot"),
                                                    QStringLiteral("/nonexistent/farm"),
                                                    QStringLiteral("projects")}
                                     << 100 << QStringLiteral("Unable to get FM Root path");
    QTest::newRow("root first") << QStringList{QStringLiteral("-fmRoot"), root, QStringLiteral("projects")}
                                << 0 << QStringLiteral("Aurora_Documentary");
    QTest::newRow("root between") << QStringList{QStringLiteral("projects"), QStringLiteral("-fmRoot"), root,
                                                 QStringLiteral("--exact")}
                                  << 0 << QStringLiteral("     40   Aurora_Documentary");
    QTest::newRow("root last") << QStringList{QStringLiteral("projects"), QStringLiteral("-fmRoot"), root}
                               << 0 << QStringLiteral("Copperline_Series");
    QTest::newRow("unknown project") << QStringList{QStringLiteral("export"),
                                                    QStringLiteral("--project"),
                                                    QStringLiteral("Nope"),
                                                    QStringLiteral("-o"),
                                                    QStringLiteral("x.csv"),
                                                    QStringLiteral("-fmRoot"),
                                                    root}
                                     << 2 << QStringLiteral("Unknown project 'Nope'");
    QTest::newRow("export unwritable")
        << QStringList{QStringLiteral("-fmRoot"), root,
                       QStringLiteral("export"),  QStringLiteral("--all"),
                       QStringLiteral("-o"),      QStringLiteral("/nonexistent/dir/all.csv")}
        << 1 << QStringLiteral("Unable to save all jobs");
}

// Catches wrong exit codes and unclear messages for every kind of bad call, and a root option
// that is only found at one place of the command line.
void tst_console::arguments()
{
    QFETCH(QStringList, args);
    QFETCH(int, code);
    QFETCH(QString, text);
    args.replaceInStrings(QStringLiteral("<A>"), RootA);
    // Run from a folder that is no root, so that only "-fmRoot" can give one.
    const Run r = runConsole(args, Tmp.path());
    QVERIFY2(r.Code == code, qPrintable(QStringLiteral("exit %1\n%2%3").arg(r.Code).arg(r.Out, r.Err)));
    QVERIFY2((r.Out + r.Err).contains(text), qPrintable(r.Out + r.Err));
    QVERIFY(!QFileInfo::exists(Tmp.filePath(QStringLiteral("x"))));
    QVERIFY(!QFileInfo::exists(Tmp.filePath(QStringLiteral("x_debug"))));
}

// Catches a demo root that the start-up warns about: configuration, clients, groups, users.
void tst_console::startupPassesWithoutWarnings()
{
    const Run r = runConsole(
        {QStringLiteral("-fmRoot"), RootA, QStringLiteral("--verbose"), QStringLiteral("projects")});
    QCOMPARE(r.Code, 0);
    QVERIFY2(r.Out.contains(QLatin1String("init done")), qPrintable(r.Out));
    QVERIFY2(r.Out.contains(QLatin1String("users7.dat   loaded")), qPrintable(r.Out));
    QVERIFY2(r.Out.contains(QLatin1String("clientgroups.ini   loaded")), qPrintable(r.Out));
    for (const QString& line : r.Out.split(QLatin1Char('\n')))
        QVERIFY2(!line.contains(QLatin1String(" ERR ")) && !line.contains(QLatin1String(" WRN ")) &&
                     !line.contains(QLatin1String("CRF")),
                 qPrintable(line));
}

// Catches a project list that differs from the project combo's text of the same table.
void tst_console::projectsText()
{
    auto table = std::make_unique<fmProjectTable>(FM);
    table->loadProjectList(RootA + QStringLiteral("/sub/history_db/"));
    QStringList expected;
    for (int i = 0; i < table->nrOfProjects; ++i)
        expected.append(fmProjectTable::comboText(table->projects[size_t(i)]));
    const Run r = runConsole({QStringLiteral("-fmRoot"), RootA, QStringLiteral("projects")});
    QCOMPARE(r.Code, 0);
    QCOMPARE(r.Out, expected.join(QLatin1Char('\n')) + QLatin1Char('\n'));
    QVERIFY(r.Out.contains(QLatin1Char('~')));
}

// Catches JSON that is not parseable, mixed with log lines, or off from the files on disk.
void tst_console::projectsJson()
{
    const Run r =
        runConsole({QStringLiteral("-fmRoot"), RootA, QStringLiteral("--verbose"), QStringLiteral("projects"),
                    QStringLiteral("--json"), QStringLiteral("--exact")});
    QCOMPARE(r.Code, 0);
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(r.Out.toUtf8(), &error);
    QVERIFY2(error.error == QJsonParseError::NoError, qPrintable(error.errorString()));
    const QJsonArray a = doc.array();
    QCOMPARE(a.size(), ReportB.Projects.size());
    for (int i = 0; i < a.size(); ++i) {
        const QJsonObject p = a[i].toObject();
        QCOMPARE(p[QStringLiteral("name")].toString(), ReportB.Projects[i].Name);
        QCOMPARE(p[QStringLiteral("jobs")].toInt(), ReportB.Projects[i].Jobs);
        QVERIFY(p[QStringLiteral("exact")].toBool());
        const QJsonArray files = p[QStringLiteral("files")].toArray();
        QCOMPARE(files.size(), ReportB.Projects[i].Files.size());
        for (const QJsonValue& f : files) {
            const QFileInfo info(f[QStringLiteral("path")].toString());
            QVERIFY(info.isFile());
            QCOMPARE(qint64(f[QStringLiteral("size")].toDouble()), info.size());
            QCOMPARE(QDateTime::fromString(f[QStringLiteral("time")].toString(), Qt::ISODate),
                     info.lastModified());
        }
        QVERIFY(p[QStringLiteral("first")].toString() <= p[QStringLiteral("last")].toString());
    }
}

// Catches an export whose bytes differ from the window's walk (header once, appends after).
void tst_console::exportAllMatchesWindowExport()
{
    const QString out = Tmp.filePath(QStringLiteral("all.csv"));
    const Run r = runConsole({QStringLiteral("export"), QStringLiteral("--all"), QStringLiteral("-o"), out,
                              QStringLiteral("-fmRoot"), RootA});
    QVERIFY2(r.Code == 0, qPrintable(r.Out + r.Err));

    // The same walk in this process, on the root made here with the same seed.
    const QString mine = Tmp.filePath(QStringLiteral("mine.csv"));
    auto table = std::make_unique<fmProjectTable>(FM);
    table->loadProjectList(RootB + QStringLiteral("/sub/history_db/"));
    auto list = std::make_unique<fmJ::_JobList>(FM);
    for (int i = 0; i < table->nrOfProjects; ++i) {
        QString message;
        QCOMPARE(table->loadProjectJobs(i, *list, message), fmProjectTable::LoadDone);
        QVERIFY(list->exportAsCSV(mine, nullptr, nullptr, true, i > 0));
    }
    const QByteArray bytes = readAll(out);
    QCOMPARE(bytes, readAll(mine));
    // "-o -": the same bytes on standard output, with the log lines kept off it.
    const Run piped =
        runConsole({QStringLiteral("-fmRoot"), RootA, QStringLiteral("--verbose"), QStringLiteral("export"),
                    QStringLiteral("--all"), QStringLiteral("-o"), QStringLiteral("-")});
    QCOMPARE(piped.Code, 0);
    QVERIFY(piped.Out.toUtf8() == bytes);
    QVERIFY(piped.Err.contains(QLatin1String("init done")));
    const QList<QByteArray> lines = bytes.split('\n');
    QCOMPARE(lines.size(),
             ReportB.totalJobs() + 2); // header, jobs, and the empty rest behind the last "\r\n"
    QVERIFY(lines.first().startsWith("SceneName;"));
    QCOMPARE(bytes.count("SceneName;SceneDatabaseDir;"), 1);
    const int columns = int(lines.first().count(';'));
    for (int i = 1; i < lines.size() - 1; ++i) {
        QVERIFY(lines[i].endsWith(";\r"));
        QCOMPARE(int(lines[i].count(';')), columns);
    }
}

void tst_console::checkDatabases_data()
{
    QTest::addColumn<QString>("damage");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("intact") << QString() << 0 << QStringLiteral("0 frames failed");
    QTest::newRow("one frame's data") << QStringLiteral("data") << 1 << QStringLiteral("1 frame failed");
    QTest::newRow("one frame's size")
        << QStringLiteral("size") << 1 << QStringLiteral("Data size does not match");
    QTest::newRow("cut inside a frame") << QStringLiteral("cut") << 1 << QStringLiteral("could not be read");
    QTest::newRow("bad magic") << QStringLiteral("magic") << 1 << QStringLiteral("jobs.db format error");
    QTest::newRow("63 bytes") << QStringLiteral("short") << 1 << QStringLiteral("Wrong file size");
    QTest::newRow("empty") << QStringLiteral("empty") << 0
                           << QStringLiteral("0 jobs loaded, 0 frames failed");
    QTest::newRow("missing") << QStringLiteral("missing") << 1 << QStringLiteral("not found");
}

// Catches a check that misses a damaged frame, names no failure or exits 0 on one; every file
// of the demo root passes.
void tst_console::checkDatabases()
{
    QFETCH(QString, damage);
    QFETCH(int, code);
    QFETCH(QString, text);
    const QStringList files = databaseFiles(RootA);
    QVERIFY(files.size() >= 4);
    QStringList args{QStringLiteral("-fmRoot"), RootA, QStringLiteral("check")};
    if (damage.isEmpty()) {
        args += files;
    } else {
        QByteArray b = readAll(files.first());
        const QList<qsizetype> frames = frameOffsets(b);
        QVERIFY(frames.size() >= 3);
        const qsizetype second = frames[1];
        if (damage == QLatin1String("data")) {
            for (int k = 0; k < 8; ++k)
                b[second + 64 + 40 + k] = char(b[second + 64 + 40 + k] ^ 0x5A);
        } else if (damage == QLatin1String("size")) {
            qToLittleEndian<quint32>(12345, reinterpret_cast<uchar*>(b.data()) + second + 56);
        } else if (damage == QLatin1String("cut")) {
            b.truncate(frames.last() + 30); // inside the last frame's header
        } else if (damage == QLatin1String("magic")) {
            b[second + 8] = 'X';
        } else if (damage == QLatin1String("short")) {
            b.truncate(63);
        } else if (damage == QLatin1String("empty")) {
            b.clear();
        }
        const QString path = Tmp.filePath(QStringLiteral("damaged.db"));
        QFile::remove(path);
        if (damage != QLatin1String("missing")) {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(b);
        }
        args.append(path);
    }
    const Run r = runConsole(args);
    QVERIFY2(r.Code == code, qPrintable(QStringLiteral("exit %1\n%2").arg(r.Code).arg(r.Out + r.Err)));
    QVERIFY2(r.Out.contains(text), qPrintable(r.Out));
    if (damage.isEmpty()) {
        QCOMPARE(int(r.Out.count(QLatin1String(" loaded, 0 frames failed"))), files.size());
        QVERIFY(!r.Out.contains(QLatin1String("ERR")));
        QVERIFY2(r.Out.contains(QStringLiteral("checked %1 files: %2 jobs, 0 frames failed, 0 unreadable")
                                    .arg(files.size())
                                    .arg(ReportB.totalJobs())),
                 qPrintable(r.Out));
    }
    if (damage == QLatin1String("data"))
        QVERIFY2(r.Out.contains(QLatin1String("Error decompressing job #2")), qPrintable(r.Out));
}

QTEST_GUILESS_MAIN(tst_console)
#include "tst_console.moc"
