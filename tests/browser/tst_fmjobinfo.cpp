// The job info page's texts: which values turn red for a selection, the output split, the image;
// the rows of the "Job Log" and "Errors" pages of one job; the re-submit arguments.

#include "fmtestroot.h"
#include "joblist_fixtures.h"

#include "app/fm.h"
#include "browser/fmjobinfo.h"
#include "browser/fmjoblogpage.h"
#include "browser/fmresubmit.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjobtext.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

using fmJ::_jobsHistoryDB_Runtime;

namespace {

constexpr long long Morning = 1395828000; // 26.03.2014 10:00:00 UTC
constexpr long long Evening = 1395878340; // 26.03.2014 23:59:00 UTC

struct Jobs
{
    std::vector<std::unique_ptr<_jobsHistoryDB_Runtime>> Store;
    std::vector<const _jobsHistoryDB_Runtime*> Ptrs;

    _jobsHistoryDB_Runtime& add(const QStringList& out = {"/a/b/", "shot_", ".exr"})
    {
        Store.push_back(std::make_unique<_jobsHistoryDB_Runtime>());
        _jobsHistoryDB_Runtime& j = *Store.back();
        j.JobID = 1000 + Store.size();
        j.SeqStep = 1.0;
        j.ImageDir = out[0];
        j.ImageFileName = out[1];
        j.ImageExtension = out[2];
        Ptrs.push_back(&j);
        return j;
    }
    fmJobInfoTexts texts() const { return fmJobInfoPageTexts(Ptrs.data(), int(Ptrs.size())); }
};

// Sets `field` of a job from text and returns the label of the page that shows it.
QString apply(_jobsHistoryDB_Runtime& j, const fmJobInfoTexts* t, const QString& field, const QString& v)
{
    if (field == "send") return t ? t->Time : (j.DateSend.t = v.toLongLong(), QString());
    if (field == "sendDate") return t ? t->Date : (j.DateSend.t = v.toLongLong(), QString());
    if (field == "frametime")
        return t ? t->AvFrameTime : (j.AverageFrameTime = uint32_t(v.toLongLong()), QString());
    if (field == "step") return t ? t->FrameRangeStep : (j.SeqStep = v.toDouble(), QString());
    if (field == "start") return t ? t->FrameRangeStart : (j.SeqStart = v.toDouble(), QString());
    if (field == "camera") return t ? t->Camera : (j.Camera = v, QString());
    if (field == "os") return t ? t->SceneOS : (j.SceneOS = uint8_t(v.toInt()), QString());
    if (field == "minor") return t ? t->SoftVersionMinor : (j.VersionMinor = v.toUInt(), QString());
    if (field == "ids") return t ? t->ID : (j.Camera = v, QString());
    return u"?unknown field?"_s;
}

QString red(const QString& s)
{
    return u"<font color=\"red\">%1</font>"_s.arg(s);
}

void row(const char* name, const char* field, const QStringList& values, const QString& expected)
{
    QTest::newRow(name) << QString(field) << values << expected;
}

QString at(long long t)
{
    return QString::number(t);
}

} // namespace

using fmJ::_jobsHistoryDB;

namespace {

// "message,who,first,last,step,time" per entry.
std::unique_ptr<_jobsHistoryDB> makeLog(const QStringList& entries)
{
    auto job = std::make_unique<_jobsHistoryDB>();
    int n = 0;
    for (const QString& e : entries) {
        const QStringList p = e.split(',');
        fmJ::_Log l{};
        l.Message = int8_t(p[0].toInt());
        l.Who = int16_t(p[1].toInt());
        l.Param1 = uint16_t(p[2].toInt());
        l.Param2 = uint16_t(p[3].toInt());
        l.Param3 = uint8_t(p[4].toInt());
        l.Time.t = p[5].toInt();
        job->Log[n++].fromNew(l);
    }
    job->LogCount = int16_t(n);
    return job;
}

} // namespace

class tst_fmjobinfo : public QObject
{
    Q_OBJECT
private slots:
    // Catches wrong tolerances (120 s, 30 s), a date compared by time instead of calendar day, case-blind
    // string comparison, the "empty when 1.0 / 0" rules applied to a red value, and wrong number formats.
    void rowColour_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QStringList>("values"); // one per selected job
        QTest::addColumn<QString>("expected");

        row("send 120 s apart", "send", {at(Morning), at(Morning + 120)}, "10:00.00");
        row("send 121 s apart", "send", {at(Morning), at(Morning - 121)}, red("10:00.00"));
        row("across midnight: date", "sendDate", {at(Evening), at(Evening + 180)}, red("26. Mar"));
        row("across midnight: time", "send", {at(Evening), at(Evening + 180)}, red("23:59.00"));
        row("across midnight 60 s: time", "send", {at(Evening), at(Evening + 60)}, "23:59.00");
        row("frame time 100/130", "frametime", {"100", "130"}, "01.40");
        row("frame time 100/131", "frametime", {"100", "131"}, red("01.40"));
        row("frame time 0", "frametime", {"0"}, "");
        row("frame time read as signed", "frametime", {"4294967295"}, "");
        row("steps 1 and 2", "step", {"1", "2"}, red(", 1"));
        row("camera case differs", "camera", {"cam", "Cam"}, red("cam"));
        row("os differs", "os", {"2", "3"}, red("Scene created on: Linux"));
        row("minor 5", "minor", {"5"}, "005");
        row("IDs never red", "ids", {"x", "y"}, fmJ::ID2str(1001) + ", " + fmJ::ID2str(1002));
    }
    void rowColour()
    {
        QFETCH(QString, field);
        QFETCH(QStringList, values);
        QFETCH(QString, expected);
        Jobs jobs;
        for (const QString& v : values)
            apply(jobs.add(), nullptr, field, v);
        const fmJobInfoTexts t = jobs.texts();
        QVERIFY(!t.Empty);
        QCOMPARE(apply(*jobs.Store[0], &t, field, QString()), expected);
    }

    // Catches a split inside a file name, a longer directory taken as a difference, a wrong index when
    // another directory is shorter, and overwriting the first label when the split falls on 0.
    void outputSplit_data()
    {
        QTest::addColumn<QStringList>("second"); // dir, name, extension of a second job; empty: one job
        QTest::addColumn<QStringList>(
            "labels"); // "keep" when the first label is kept, else its text; second label
        auto r = [](const char* n, const QStringList& s, const QStringList& l) {
            QTest::newRow(n) << s << l;
        };
        r("single job", {}, {"/a/b/shot_#.exr", ""});
        r("dirs /a/b/ and /a/c/", {"/a/c/", "shot_", ".exr"}, {"/a/", "b/shot_#.exr"});
        r("other names", {"/a/b/", "shut_", ".exr"}, {"/a/b/", "shot_#.exr"});
        r("other extension", {"/a/b/", "shot_", ".tif"}, {"/a/b/", "shot_#.exr"});
        r("other dir extends", {"/a/b/c/", "shot_", ".exr"}, {"/a/b/shot_#.exr", ""});
        r("other name extends", {"/a/b/", "shot_v2", ".exr"}, {"/a/b/shot_#.exr", ""});
        r("other dir shorter", {"/a/", "shot_", ".exr"}, {"/a/", "b/shot_#.exr"});
        r("differ at first char", {"x/a/b/", "shot_", ".exr"}, {"keep", "/a/b/shot_#.exr"});
    }
    void outputSplit()
    {
        QFETCH(QStringList, second);
        QFETCH(QStringList, labels);
        Jobs jobs;
        jobs.add();
        if (!second.isEmpty()) jobs.add(second);
        const fmJobInfoTexts t = jobs.texts();
        QCOMPARE(t.KeepOutput1a, labels[0] == "keep");
        QCOMPARE(t.KeepOutput1a ? QString("keep") : t.Output1a, labels[0]);
        QCOMPARE(t.Output1b, labels[1]);

        // Without a directory on the first job both labels are empty, whatever the others hold.
        Jobs noDir;
        noDir.add({"", "shot_", ".exr"});
        if (!second.isEmpty()) noDir.add(second);
        QCOMPARE(noDir.texts().Output1a + noDir.texts().Output1b, QString());
    }

    // Catches a path built from the wrong folder or ID form. (The texts for no image and for several
    // jobs: the window's pages test.)
    void image()
    {
        QTemporaryDir dir;
        const QString history = dir.path() + "/";
        Jobs jobs;
        jobs.add().JobID = 0x0123456789ULL;
        const QString path = history + "Shot/" + fmJ::ID2strFull(0x0123456789ULL) + ".jpg";
        QVERIFY(QDir().mkpath(history + "Shot") && fmTestWriteAll(path, QByteArray()));
        const fmJobInfoImage img = fmJobInfoImageFor(jobs.Ptrs.data(), 1, history, "Shot");
        QCOMPARE(int(img.What), int(fmJobInfoImage::ShowPixmap));
        QCOMPARE(img.Path, path);
        // Nothing selected: the image shown before stays.
        QCOMPARE(int(fmJobInfoImageFor(jobs.Ptrs.data(), 0, history, "Shot").What),
                 int(fmJobInfoImage::KeepImage));
    }

    // Catches reads beyond a record's strings when their lengths are damaged, and a crash on no
    // selection or a null selection array.
    void damagedRecords()
    {
        QVERIFY(fmJobInfoPageTexts(nullptr, 3).Empty);
        Jobs jobs;
        QVERIFY(jobs.texts().Empty);
        for (int i = 0; i < 2; ++i) {
            auto* b = reinterpret_cast<unsigned char*>(static_cast<fmJ::_jobsHistoryDB*>(&jobs.add()));
            for (size_t k = 0; k < sizeof(fmJ::_jobsHistoryDB); ++k)
                b[k] = uint8_t(0xA5 ^ (k * 7) ^ i);
        }
        const fmJobInfoTexts t = jobs.texts();
        QVERIFY(!t.Empty);
        QVERIFY(t.Output1a.size() + t.Output1b.size() <= 250 + 250 + 25 + 1);
    }

    // Catches pairing with the wrong sending (the first instead of the nearest earlier one, another
    // client, another segment, a later one), and a division by a step of 0.
    void segmentColumn_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("lastCell"); // column 7 of the last entry

        QTest::newRow("send then return")
            << QStringList{"21,3,10,19,1,100", "14,3,10,19,1,160"} << "10   00:01.00";
        QTest::newRow("sent twice pairs with later")
            << QStringList{"21,3,10,19,1,100", "21,3,10,19,1,200", "14,3,10,19,1,230"} << "10   00:00.30";
        QTest::newRow("return without sending") << QStringList{"14,3,10,19,1,160"} << "";
        QTest::newRow("other client's sending") << QStringList{"21,4,10,19,1,100", "14,3,10,19,1,160"} << "";
        QTest::newRow("other segment's sending") << QStringList{"21,3,20,29,1,100", "14,3,10,19,1,160"} << "";
        QTest::newRow("step 2") << QStringList{"21,3,10,19,2,100", "14,3,10,19,2,100"} << "5   00:00.00";
        QTest::newRow("step 0 left empty") << QStringList{"21,3,10,19,0,100", "14,3,10,19,0,160"} << "";
        QTest::newRow("sending is not a return") << QStringList{"14,3,10,19,1,100", "21,3,10,19,1,160"} << "";
    }
    void segmentColumn()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, lastCell);
        auto job = makeLog(entries);
        const QList<fmJobLogRow> rows = fmJobLogRows(*job, FM);
        QCOMPARE(rows.size(), entries.size());
        QCOMPARE(rows.last().Cells[7], lastCell);
    }

    // Catches values put into the wrong column and the message colour taken from another entry.
    void columnsOfAnEntry()
    {
        auto job = makeLog({"14,-1,1,3,1,1395828000"});
        job->Log[0].JobStatus = 7;
        job->Log[0].ClientsRendering = 4;
        job->Log[0].FramesLeft = 17;
        const fmJobLogRow r = fmJobLogRows(*job, FM).value(0);
        const QStringList cells(r.Cells.begin(), r.Cells.end());
        QCOMPARE(cells.mid(0, 5),
                 QStringList({"03.26 10:00.00", fmJ::jobStatusAsString(7), "17", "4", "*fmServer*"}));
        QCOMPARE(r.Cells[6], fmJ::Log2Str(job->Log[0].toNew(), nullptr).toQString());
        QCOMPARE(r.MessageColor, fmJ::LogColorID(14));
        QCOMPARE(fmJobErrorHeaders(), QStringList({"Date", "Where", "Error"}));
    }

    // Catches counts from a damaged record used unclamped (reading beyond the arrays) or negative.
    void countsClamped_data()
    {
        QTest::addColumn<int>("logCount");
        QTest::addColumn<int>("errorCount");
        QTest::addColumn<int>("logRows");
        QTest::addColumn<int>("errorRows");
        QTest::newRow("full") << 750 << 50 << 750 << 50;
        QTest::newRow("beyond arrays") << 30000 << 120 << 750 << 50;
        QTest::newRow("negative") << -5 << -3 << 0 << 0;
    }
    void countsClamped()
    {
        QFETCH(int, logCount);
        QFETCH(int, errorCount);
        QFETCH(int, logRows);
        QFETCH(int, errorRows);
        auto job = std::make_unique<_jobsHistoryDB>();
        // Every entry filled with a pattern, as a damaged file would hold.
        auto* b = reinterpret_cast<unsigned char*>(job.get());
        for (size_t k = 0; k < sizeof(_jobsHistoryDB); ++k)
            b[k] = uint8_t(k * 13 + 5);
        job->LogCount = int16_t(logCount);
        job->ErrorCount = int8_t(errorCount);
        const QList<fmJobLogRow> rows = fmJobLogRows(*job, FM);
        QCOMPARE(rows.size(), logRows);
        const QList<fmJobErrorRow> errors = fmJobErrorRows(*job, FM);
        QCOMPARE(errors.size(), errorRows);
        for (const fmJobErrorRow& e : errors)
            QVERIFY(!e.Cells[2].isEmpty());
    }

    // Catches a changed order of options, a missing always-present option, and a wrong version text.
    void wholeList()
    {
        auto j = jlfix::makeRenderJob();
        j->Camera = "camMain";
        // "~" stands for the one-character entry of the unset single-output flag (code 0).
        QStringList expected =
            QString("/proj/scenes/shot 010.mb|-SceneOS|lx|-Camera|camMain|-ImageDir|/out/|"
                    "-ImageFileName|shot_|-ImageExtension|.exr|-ImageFramePadding|4|-ImageWidth|1920|"
                    "-ImageHeight|1080|~|-SeqStart|1|-SeqEnd|100|-SeqStep|1|-SeqFileOffset|0|"
                    "-Software|Maya|-Renderer|Arnold|-Version|2022.05")
                .split('|');
        expected.replace(expected.indexOf("~"), QString(QChar(0)));
        QCOMPARE(fmResubmitArguments(*j), expected);
        QCOMPARE(fmResubmitExecutable("/root/bin/lx/"), QString("/root/bin/lx/fmSubmitter"));
    }

    // Catches a value invented for an unknown operating system (the option must stand alone).
    void sceneOS_data()
    {
        QTest::addColumn<int>("os");
        QTest::addColumn<QString>("next"); // the entry behind "-SceneOS"
        QTest::newRow("0 alone") << 0 << "-ImageDir";
        QTest::newRow("windows") << 1 << "win";
        QTest::newRow("mac") << 3 << "mac";
        QTest::newRow("4 alone") << 4 << "-ImageDir";
    }
    void sceneOS()
    {
        QFETCH(int, os);
        QFETCH(QString, next);
        auto j = jlfix::makeRenderJob();
        j->SceneOS = uint8_t(os);
        const QStringList args = fmResubmitArguments(*j);
        QCOMPARE(args[1], QString("-SceneOS"));
        QCOMPARE(args[2], next);
    }

    // Catches options written with an empty value (the submitter would take the next option as value),
    // an unwritten single-output option when the flag is set, and a precision other than six significant
    // digits for the frame numbers.
    void optionalTextsAndNumbers()
    {
        auto j = jlfix::makeRenderJob();
        QStringList args = fmResubmitArguments(*j);
        for (const char* o : {"-Camera", "-Layer", "-Channel", "-SceneDatabaseDir"})
            QVERIFY(!args.contains(o));
        j->Layer = "beauty";
        j->Channel = "rgba";
        j->SeqStart = 1000000;
        j->SeqEnd = 1234567;
        j->SeqStep = 999999;
        j->SeqFileOffset = -1.5;
        j->ImageSingleOutputFile = 1;
        args = fmResubmitArguments(*j);
        const int flag = args.indexOf("-ImageSingleOutputFile");
        QCOMPARE(args.mid(flag - 1, 3), QStringList({"1080", "-ImageSingleOutputFile", QString(QChar(1))}));
        QCOMPARE(args.mid(3, 4), QStringList({"-Layer", "beauty", "-Channel", "rgba"}));
        const int at = args.indexOf("-SeqStart");
        QCOMPARE(args.mid(at, 8), QStringList({"-SeqStart", "1e+06", "-SeqEnd", "1.23457e+06", "-SeqStep",
                                               "999999", "-SeqFileOffset", "-1.5"}));
    }

    // Catches submitting another job than the first of the selection, or starting with none.
    void firstOfSelection()
    {
        auto a = jlfix::makeRenderJob();
        auto b = jlfix::makeRenderJob();
        b->SceneName = "/other.mb";
        const fmJ::_jobsHistoryDB_Runtime* sel[] = {a.get(), b.get()};
        const QStringList args = fmResubmitSelectionArguments(sel, 2);
        QCOMPARE(args.first(), QString("/proj/scenes/shot 010.mb"));
        QVERIFY(!args.contains("/other.mb"));
        QVERIFY(fmResubmitSelectionArguments(sel, 0).isEmpty());
        QVERIFY(fmResubmitSelectionArguments(nullptr, 1).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_fmjobinfo)
#include "tst_fmjobinfo.moc"
