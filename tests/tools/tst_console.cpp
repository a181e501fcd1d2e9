// fmHistorydbconsole: its arguments, outputs and exit codes, run as a process on a demo root made
// here, and the demo root generator called directly.

#include "fmtestroot.h"

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

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString kConsole = QStringLiteral(FM_CONSOLE_EXE);

fmTestRun runConsole(const QStringList& args, const QString& workDir = QString())
{
    return fmTestRunProgram(kConsole, args, workDir);
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
    QDirIterator it(root + u"/sub/history_db"_s, {u"*.db"_s, u"*.db61"_s}, QDir::Files,
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
    void initTestCase()
    {
        QVERIFY(Tmp.isValid());
        QVERIFY2(QFileInfo(kConsole).isExecutable(), qPrintable(kConsole));
        RootA = Tmp.filePath(u"rootA"_s);
        RootB = Tmp.filePath(u"rootB"_s);
        const fmTestRun r = runConsole(
            {u"demo-root"_s, RootA, u"--projects"_s, u"3"_s, u"--jobs"_s, u"40"_s, u"--seed"_s, u"7"_s});
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

    // Catches frames that the loader rejects or logs about, counts that don't add up, and a demo
    // without the old frame layouts.
    void everyProjectLoadsWithoutMessages()
    {
        auto table = std::make_unique<fmProjectTable>(FM);
        table->loadProjectList(RootB + u"/sub/history_db/"_s);
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
        // Frames of the three old layouts among the current one.
        QSet<int> sizes;
        for (const QString& f : databaseFiles(RootB)) {
            const QByteArray b = fmTestReadAll(f);
            for (qsizetype at : frameOffsets(b))
                sizes.insert(
                    int(qFromLittleEndian<quint32>(reinterpret_cast<const uchar*>(b.constData()) + at + 56)));
        }
        QCOMPARE(sizes, (QSet<int>{30188, 39516, 46908, 37980}));
    }

    void arguments_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text"); // expected in standard output or error
        const QString root = u"<A>"_s;
        QTest::newRow("help") << QStringList{u"--help"_s} << 0 << u"usage:"_s;
        QTest::newRow("help after command")
            << QStringList{u"export"_s, u"-h"_s} << 0 << u"export --all -o FILE"_s;
        QTest::newRow("nothing") << QStringList{} << 2 << u"No command given"_s;
        QTest::newRow("unknown command")
            << QStringList{u"frobnicate"_s} << 2 << u"Unknown command 'frobnicate'"_s;
        QTest::newRow("unknown option")
            << QStringList{u"projects"_s, u"--frobnicate"_s} << 2 << u"Unknown option '--frobnicate'"_s;
        QTest::newRow("export without output") << QStringList{u"export"_s, u"--all"_s} << 2 << u"-o FILE"_s;
        QTest::newRow("export all and project")
            << QStringList{u"export"_s, u"--all"_s, u"--project"_s, u"x"_s, u"-o"_s, u"x.csv"_s} << 2
            << u"either --project NAME or --all"_s;
        QTest::newRow("demo-root without folder")
            << QStringList{u"demo-root"_s} << 2 << u"exactly one folder"_s;
        QTest::newRow("demo-root jobs 0") << QStringList{u"demo-root"_s, u"x"_s, u"--jobs"_s, u"0"_s} << 2
                                          << u"--jobs needs a number from 1 to 15000"_s;
        QTest::newRow("demo-root in a _debug folder")
            << QStringList{u"demo-root"_s, u"x_debug"_s} << 1 << u"can't be a farm root"_s;
        QTest::newRow("no root") << QStringList{u"projects"_s} << 100 << u"Unable to get FM Root path"_s;
        QTest::newRow("root between") << QStringList{u"projects"_s, u"-fmRoot"_s, root, u"--exact"_s} << 0
                                      << u"     40   Aurora_Documentary"_s;
        QTest::newRow("unknown project")
            << QStringList{u"export"_s, u"--project"_s, u"Nope"_s, u"-o"_s, u"x.csv"_s, u"-fmRoot"_s, root}
            << 2 << u"Unknown project 'Nope'"_s;
        QTest::newRow("export unwritable")
            << QStringList{u"-fmRoot"_s, root,    u"export"_s,
                           u"--all"_s,   u"-o"_s, u"/nonexistent/dir/all.csv"_s}
            << 1 << u"Unable to save all jobs"_s;
        QTest::newRow("export to a full disk")
            << QStringList{"-fmRoot", root, "export", "--all", "-o", "/dev/full"} << 1
            << u"Unable to save all jobs"_s;
        QTest::newRow("jobs without project") << QStringList{"jobs"} << 2 << u"needs --project"_s;
        QTest::newRow("delete of no job")
            << QStringList{"-fmRoot", root, "delete", "--project", "Copperline_Series", "12345"} << 2
            << u"No job '12345'"_s;
        QTest::newRow("delete with a filter")
            << QStringList{"delete", "--project", "P", "--user", "u", "1"} << 2 << u"does not take --user"_s;
    }
    // Catches wrong exit codes and unclear messages for every kind of bad call, and a root option
    // that is only found at one place of the command line.
    void arguments()
    {
        QFETCH(QStringList, args);
        QFETCH(int, code);
        QFETCH(QString, text);
        args.replaceInStrings(u"<A>"_s, RootA);
        // Run from a folder that is no root, so that only "-fmRoot" can give one.
        const fmTestRun r = runConsole(args, Tmp.path());
        QVERIFY2(r.Code == code, qPrintable(u"exit %1\n%2%3"_s.arg(r.Code).arg(r.Out, r.Err)));
        QVERIFY2((r.Out + r.Err).contains(text), qPrintable(r.Out + r.Err));
        QVERIFY(!QFileInfo::exists(Tmp.filePath(u"x"_s)));
        QVERIFY(!QFileInfo::exists(Tmp.filePath(u"x_debug"_s)));
    }

    void helpPages_data()
    {
        QTest::addColumn<QString>("command");
        const fmTestRun r = runConsole({u"help"_s, u"--commands"_s});
        QCOMPARE(r.Code, 0);
        for (const QString& name : r.Out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            QTest::newRow(qPrintable(name)) << name;
    }
    // Catches a command missing from the overview or the completion lists, a page without one of its
    // sections, and an option that the command takes but its page does not explain.
    void helpPages()
    {
        QFETCH(QString, command);
        const fmTestRun overview = runConsole({u"--help"_s});
        QVERIFY2(overview.Out.contains(u"\n   "_s + command + QLatin1Char(' ')), qPrintable(overview.Out));
        const fmTestRun page = runConsole({u"help"_s, command});
        QCOMPARE(page.Code, 0);
        for (const char* section :
             {"NAME\n", "SYNOPSIS\n", "DESCRIPTION\n", "OPTIONS\n", "EXIT STATUS\n", "EXAMPLE\n"})
            QVERIFY2(page.Out.contains(QLatin1String(section)), section);
        const fmTestRun options = runConsole({u"help"_s, u"--options"_s, command});
        QCOMPARE(options.Code, 0);
        // Each option heads a line of its own: "    --name VALUE" or "    -o, --name VALUE".
        for (const QString& option : options.Out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QRegularExpression head(u"^    (-\\w, )?%1( |$)"_s.arg(QRegularExpression::escape(option)),
                                          QRegularExpression::MultilineOption);
            QVERIFY2(head.match(page.Out).hasMatch(), qPrintable(option));
        }
    }

    // Catches a demo root that the start-up warns about: configuration, clients, groups, users.
    void startupPassesWithoutWarnings()
    {
        const fmTestRun r = runConsole({u"-fmRoot"_s, RootA, u"--verbose"_s, u"projects"_s});
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
    void projectsText()
    {
        auto table = std::make_unique<fmProjectTable>(FM);
        table->loadProjectList(RootA + u"/sub/history_db/"_s);
        QStringList expected;
        for (int i = 0; i < table->nrOfProjects; ++i)
            expected.append(fmProjectTable::comboText(table->projects[size_t(i)]));
        const fmTestRun r = runConsole({u"-fmRoot"_s, RootA, u"projects"_s});
        QCOMPARE(r.Code, 0);
        QCOMPARE(r.Out, expected.join(QLatin1Char('\n')) + QLatin1Char('\n'));
        QVERIFY(r.Out.contains(QLatin1Char('~')));
    }

    // Catches JSON that is not parseable, mixed with log lines, or off from the files on disk.
    void projectsJson()
    {
        const fmTestRun r =
            runConsole({u"-fmRoot"_s, RootA, u"--verbose"_s, u"projects"_s, u"--json"_s, u"--exact"_s});
        QCOMPARE(r.Code, 0);
        QJsonParseError error;
        const QJsonDocument doc = QJsonDocument::fromJson(r.Out.toUtf8(), &error);
        QVERIFY2(error.error == QJsonParseError::NoError, qPrintable(error.errorString()));
        const QJsonArray a = doc.array();
        QCOMPARE(a.size(), ReportB.Projects.size());
        for (int i = 0; i < a.size(); ++i) {
            const QJsonObject p = a[i].toObject();
            QCOMPARE(p[u"name"_s].toString(), ReportB.Projects[i].Name);
            QCOMPARE(p[u"jobs"_s].toInt(), ReportB.Projects[i].Jobs);
            QVERIFY(p[u"exact"_s].toBool());
            const QJsonArray files = p[u"files"_s].toArray();
            QCOMPARE(files.size(), ReportB.Projects[i].Files.size());
            for (const QJsonValue& f : files) {
                const QFileInfo info(f[u"path"_s].toString());
                QVERIFY(info.isFile());
                QCOMPARE(qint64(f[u"size"_s].toDouble()), info.size());
                QCOMPARE(QDateTime::fromString(f[u"time"_s].toString(), Qt::ISODate), info.lastModified());
            }
            QVERIFY(p[u"first"_s].toString() <= p[u"last"_s].toString());
        }
    }

    // Catches an export whose bytes differ from the window's walk (header once, appends after).
    void exportAllMatchesWindowExport()
    {
        const QString out = Tmp.filePath(u"all.csv"_s);
        const fmTestRun r = runConsole({u"export"_s, u"--all"_s, u"-o"_s, out, u"-fmRoot"_s, RootA});
        QVERIFY2(r.Code == 0, qPrintable(r.Out + r.Err));

        // The same walk in this process, on the root made here with the same seed.
        const QString mine = Tmp.filePath(u"mine.csv"_s);
        auto table = std::make_unique<fmProjectTable>(FM);
        table->loadProjectList(RootB + u"/sub/history_db/"_s);
        auto list = std::make_unique<fmJ::_JobList>(FM);
        for (int i = 0; i < table->nrOfProjects; ++i) {
            QString message;
            QCOMPARE(table->loadProjectJobs(i, *list, message), fmProjectTable::LoadDone);
            QVERIFY(list->exportAsCSV(mine, nullptr, nullptr, true, i > 0));
        }
        const QByteArray bytes = fmTestReadAll(out);
        QCOMPARE(bytes, fmTestReadAll(mine));
        // "-o -": the same bytes on standard output, with the log lines kept off it.
        const fmTestRun piped =
            runConsole({u"-fmRoot"_s, RootA, u"--verbose"_s, u"export"_s, u"--all"_s, u"-o"_s, u"-"_s});
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

    // Catches a project name matched with case or an export that takes other projects' jobs along.
    void exportOneProject()
    {
        const QString out = Tmp.filePath(u"one.csv"_s);
        const fmDemoProjectReport& p = ReportB.Projects[1];
        const fmTestRun r =
            runConsole({u"-fmRoot"_s, RootA, u"export"_s, u"--project"_s, p.Name.toUpper(), u"-o"_s, out});
        QVERIFY2(r.Code == 0, qPrintable(r.Out + r.Err));
        const QByteArray bytes = fmTestReadAll(out);
        QCOMPARE(int(bytes.count("\r\n")), p.Jobs + 1);
        QCOMPARE(int(bytes.count(";" + p.Name.section(QLatin1Char('_'), 0, 0).toUtf8() + ";")), p.Jobs);
    }

    void checkDatabases_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("intact") << QString() << 0 << u"0 frames failed"_s;
        QTest::newRow("one frame's data") << u"data"_s << 1 << u"1 frame failed"_s;
        QTest::newRow("empty") << u"empty"_s << 0 << u"0 jobs loaded, 0 frames failed"_s;
        QTest::newRow("missing") << u"missing"_s << 1 << u"not found"_s;
        QTest::newRow("unknown identifier") << u"id"_s << 1 << u"1 frame skipped"_s;
    }
    // Catches a check that misses a damaged frame, names no failure or exits 0 on one; every file
    // of the demo root passes.
    void checkDatabases()
    {
        QFETCH(QString, damage);
        QFETCH(int, code);
        QFETCH(QString, text);
        const QStringList files = databaseFiles(RootA);
        QVERIFY(files.size() >= 4);
        QStringList args{u"-fmRoot"_s, RootA, u"check"_s};
        if (damage.isEmpty()) {
            args += files;
        } else {
            QByteArray b = fmTestReadAll(files.first());
            const QList<qsizetype> frames = frameOffsets(b);
            QVERIFY(frames.size() >= 3);
            const qsizetype second = frames[1];
            if (damage == QLatin1String("data")) {
                for (int k = 0; k < 8; ++k)
                    b[second + 64 + 40 + k] = char(b[second + 64 + 40 + k] ^ 0x5A);
            } else if (damage == QLatin1String("id")) {
                qToLittleEndian<quint16>(0x0B00, reinterpret_cast<uchar*>(b.data()) + second + 60);
            } else if (damage == QLatin1String("empty")) {
                b.clear();
            }
            const QString path = Tmp.filePath(u"damaged.db"_s);
            QFile::remove(path);
            if (damage != QLatin1String("missing")) QVERIFY(fmTestWriteAll(path, b));
            args.append(path);
        }
        const fmTestRun r = runConsole(args);
        QVERIFY2(r.Code == code, qPrintable(u"exit %1\n%2"_s.arg(r.Code).arg(r.Out + r.Err)));
        QVERIFY2(r.Out.contains(text), qPrintable(r.Out));
        if (damage.isEmpty()) {
            QCOMPARE(int(r.Out.count(QLatin1String(" loaded, 0 frames failed"))), files.size());
            QVERIFY(!r.Out.contains(QLatin1String("ERR")));
            QVERIFY2(
                r.Out.contains(u"checked %1 files: %2 jobs, 0 frames failed, 0 unreadable"_s.arg(files.size())
                                   .arg(ReportB.totalJobs())),
                qPrintable(r.Out));
        }
        if (damage == QLatin1String("data"))
            QVERIFY2(r.Out.contains(QLatin1String("Error decompressing job #2")), qPrintable(r.Out));
    }

    // Catches a generator that writes over a farm that is already there.
    void demoRootRefusesExistingRoot()
    {
        const QString users = RootA + u"/sub/cfg_global/users7.dat"_s;
        const QByteArray before = fmTestReadAll(users);
        const fmTestRun r = runConsole({u"demo-root"_s, RootA});
        QCOMPARE(r.Code, 1);
        QVERIFY(r.Err.contains(QLatin1String("already holds a farm root")));
        QCOMPARE(fmTestReadAll(users), before);
    }

    // Catches saves that undo each other: two processes delete a different job of one project at
    // the same moment; both deletions hold, and every other job stays, once, with its file.
    void deleteFromTwoProcesses()
    {
        const QString root = Tmp.filePath(u"rootTwo"_s);
        QCOMPARE(runConsole({"demo-root", root, "--projects", "1", "--jobs", "30"}).Code, 0);
        const QString name = QFileInfo(databaseFiles(root).first()).completeBaseName();
        const QStringList list = {"-fmRoot", root, "jobs", "--project", name};
        QStringList before = runConsole(list).Out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QVERIFY(before.size() >= 10);
        QProcess a, b;
        a.start(kConsole, {"-fmRoot", root, "delete", "--project", name, before[2].section('\t', 1, 1)});
        b.start(kConsole, {"-fmRoot", root, "delete", "--project", name, before[7].section('\t', 1, 1)});
        QVERIFY(a.waitForFinished(120000) && b.waitForFinished(120000));
        QCOMPARE(a.exitCode() + b.exitCode(), 0);
        before.removeAt(7);
        before.removeAt(2);
        QCOMPARE(runConsole(list).Out.split(QLatin1Char('\n'), Qt::SkipEmptyParts), before);
    }

    // Catches a submitter script that loses or merges arguments with blanks.
    void submitterRecordsArguments()
    {
        const QString script = RootA + u"/bin/lx/fmSubmitter"_s;
        QVERIFY(QFileInfo(script).isExecutable());
        QVERIFY(QFileInfo(RootA + u"/bin/lx/fmHistorydbconsole"_s).isExecutable());
        QCOMPARE(QProcess::execute(script, {u"-scene"_s, u"/mnt/my scene.ma"_s, QString()}), 0);
        const QStringList lines = QString::fromUtf8(fmTestReadAll(RootA + u"/sub/log/submitter_calls.txt"_s))
                                      .split(QLatin1Char('\n'));
        QVERIFY(lines.size() >= 5);
        QVERIFY(lines[0].startsWith(QLatin1String("---- ")));
        QCOMPARE(lines.mid(1, 4), (QStringList{u"-scene"_s, u"/mnt/my scene.ma"_s, QString(), QString()}));
    }
};

QTEST_GUILESS_MAIN(tst_console)
#include "tst_console.moc"
