// The job info page's texts: which values turn red for a selection, the output split, the image.

#include "historydb/fmjobinfo.h"

#include "jobs/fmjobhistory.h"
#include "jobs/fmjobid.h"
#include "jobs/fmjoblist.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

using fmJ::_jobsHistoryDB_Runtime;

namespace {

constexpr long long Morning = 1395828000; // 26.03.2014 10:00:00 UTC
constexpr long long LateEvening = 1395878340; // 26.03.2014 23:59:00 UTC

struct Jobs
{
    std::vector<std::unique_ptr<_jobsHistoryDB_Runtime>> Store;
    std::vector<const _jobsHistoryDB_Runtime*> Ptrs;

    _jobsHistoryDB_Runtime& add()
    {
        Store.push_back(std::make_unique<_jobsHistoryDB_Runtime>());
        _jobsHistoryDB_Runtime& j = *Store.back();
        j.JobID = 1000 + Store.size();
        j.SeqStep = 1.0;
        j.ImageDir = "/a/b/";
        j.ImageFileName = "n";
        j.ImageExtension = ".exr";
        Ptrs.push_back(&j);
        return j;
    }
    const _jobsHistoryDB_Runtime* const* data() const { return Ptrs.data(); }
    int count() const { return int(Ptrs.size()); }
};

void setField(_jobsHistoryDB_Runtime& j, const QString& field, const QString& v)
{
    if (field == "send") j.DateSend.t = v.toLongLong();
    else if (field == "finished") j.DateFinished.t = v.toLongLong();
    else if (field == "frametime") j.AverageFrameTime = uint32_t(v.toLongLong());
    else if (field == "step") j.SeqStep = v.toDouble();
    else if (field == "start") j.SeqStart = v.toDouble();
    else if (field == "end") j.SeqEnd = v.toDouble();
    else if (field == "camera") j.Camera = v;
    else if (field == "scene") j.CustomSeQName = v;
    else if (field == "os") j.SceneOS = uint8_t(v.toInt());
    else if (field == "version") j.Version = int16_t(v.toInt());
    else if (field == "minor") j.VersionMinor = v.toUInt();
    else if (field == "clients") j.AverageClients = v.toFloat();
    else if (field == "crashed") j.FramesCrashed = uint16_t(v.toInt());
    else QFAIL(qPrintable("unknown field " + field));
}

QString label(const fmJobInfoTexts& t, const QString& name)
{
    const QHash<QString, QString> all = {
        {"Date", t.Date}, {"Time", t.Time}, {"DateFinished", t.DateFinished}, {"TimeFinished", t.TimeFinished},
        {"AvFrameTime", t.AvFrameTime}, {"Step", t.FrameRangeStep}, {"Start", t.FrameRangeStart},
        {"End", t.FrameRangeEnd}, {"Camera", t.Camera}, {"Scene", t.CustomScene}, {"SceneOS", t.SceneOS},
        {"Version", t.SoftVersion}, {"Minor", t.SoftVersionMinor}, {"AvClients", t.AvClients},
        {"Crashed", t.Crashed}, {"ID", t.ID}};
    return all.value(name, QStringLiteral("?no label?"));
}

QString red(const char* s)
{
    return QStringLiteral("<font color=\"red\">%1</font>").arg(QLatin1String(s));
}

} // namespace

class tst_fmjobinfo : public QObject
{
    Q_OBJECT
private slots:
    void rowColour_data();
    void rowColour();
    void outputSplit_data();
    void outputSplit();
    void image_data();
    void image();
    void emptyAndDamaged();
};

// Catches wrong tolerances (120 s, 30 s), a date compared by time instead of calendar day, case-blind
// string comparison, the "empty when 1.0 / 0" rules applied to a red value, and wrong number formats.
void tst_fmjobinfo::rowColour_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QStringList>("values"); // one per selected job
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("expected");

    const QString m = QString::number(Morning);
    const QString e = QString::number(LateEvening);
    auto at = [](long long t) { return QString::number(t); };
    QTest::newRow("send 120 s apart: time") << "send" << QStringList{m, at(Morning + 120)} << "Time" << "10:00.00";
    QTest::newRow("send 120 s apart: date") << "send" << QStringList{m, at(Morning + 120)} << "Date" << "26. Mar";
    QTest::newRow("send 121 s apart: time red") << "send" << QStringList{m, at(Morning - 121)} << "Time"
                                                << red("10:00.00");
    QTest::newRow("send 121 s apart: date plain") << "send" << QStringList{m, at(Morning + 121)} << "Date"
                                                  << "26. Mar";
    QTest::newRow("across midnight: date red") << "send" << QStringList{e, at(LateEvening + 180)} << "Date"
                                               << red("26. Mar");
    QTest::newRow("across midnight: time red") << "send" << QStringList{e, at(LateEvening + 180)} << "Time"
                                               << red("23:59.00");
    QTest::newRow("across midnight 60 s: time plain") << "send" << QStringList{e, at(LateEvening + 60)} << "Time"
                                                      << "23:59.00";
    QTest::newRow("third job differs") << "send" << QStringList{m, m, at(Morning + 500)} << "Time" << red("10:00.00");
    QTest::newRow("finished 121 s apart") << "finished" << QStringList{m, at(Morning + 121)} << "TimeFinished"
                                          << red("10:00.00");
    QTest::newRow("finished same day") << "finished" << QStringList{m, at(Morning + 3600)} << "DateFinished"
                                       << "26. Mar";
    QTest::newRow("frame time 100/130") << "frametime" << QStringList{"100", "130"} << "AvFrameTime" << "01.40";
    QTest::newRow("frame time 100/131") << "frametime" << QStringList{"100", "131"} << "AvFrameTime"
                                        << red("01.40");
    QTest::newRow("frame time 0 empty") << "frametime" << QStringList{"0"} << "AvFrameTime" << "";
    QTest::newRow("frame time negative empty") << "frametime" << QStringList{"4294967295"} << "AvFrameTime" << "";
    QTest::newRow("frame time 0/40 red") << "frametime" << QStringList{"0", "40"} << "AvFrameTime" << red("00.00");
    QTest::newRow("step 1 empty") << "step" << QStringList{"1"} << "Step" << "";
    QTest::newRow("step 2") << "step" << QStringList{"2"} << "Step" << ", 2";
    QTest::newRow("steps 1 and 2") << "step" << QStringList{"1", "2"} << "Step" << red(", 1");
    QTest::newRow("steps 1 and 1") << "step" << QStringList{"1", "1"} << "Step" << "";
    QTest::newRow("start 1e6") << "start" << QStringList{"1000000"} << "Start" << "1e+06";
    QTest::newRow("end") << "end" << QStringList{"250.5", "250.5"} << "End" << "- 250.5";
    QTest::newRow("camera same") << "camera" << QStringList{"cam", "cam"} << "Camera" << "cam";
    QTest::newRow("camera case") << "camera" << QStringList{"cam", "Cam"} << "Camera" << red("cam");
    QTest::newRow("camera longer") << "camera" << QStringList{"cam", "cam2"} << "Camera" << red("cam");
    QTest::newRow("scene empty vs set") << "scene" << QStringList{"", "sq"} << "Scene" << red("");
    QTest::newRow("os windows") << "os" << QStringList{"1"} << "SceneOS" << "Scene created on: Windows";
    QTest::newRow("os mac") << "os" << QStringList{"3", "3"} << "SceneOS" << "Scene created on: Mac";
    QTest::newRow("os unknown") << "os" << QStringList{"7"} << "SceneOS" << "Scene created on: unknown";
    QTest::newRow("os differs") << "os" << QStringList{"2", "3"} << "SceneOS" << red("Scene created on: Linux");
    QTest::newRow("version") << "version" << QStringList{"2022"} << "Version" << "2022.";
    QTest::newRow("minor 5") << "minor" << QStringList{"5"} << "Minor" << "005";
    QTest::newRow("minor 50") << "minor" << QStringList{"50"} << "Minor" << "05";
    QTest::newRow("minor 500") << "minor" << QStringList{"500"} << "Minor" << "5";
    QTest::newRow("minor 0") << "minor" << QStringList{"0"} << "Minor" << "0";
    QTest::newRow("minor differs") << "minor" << QStringList{"5", "6"} << "Minor" << red("005");
    QTest::newRow("clients one decimal") << "clients" << QStringList{"3"} << "AvClients" << "3.0";
    QTest::newRow("crashed differs") << "crashed" << QStringList{"7", "8"} << "Crashed" << red("7");
    QTest::newRow("IDs never red") << "camera" << QStringList{"x", "y"} << "ID"
                                   << fmJ::ID2str(1001) + ", " + fmJ::ID2str(1002);
}

void tst_fmjobinfo::rowColour()
{
    QFETCH(QString, field);
    QFETCH(QStringList, values);
    QFETCH(QString, label);
    QFETCH(QString, expected);
    Jobs jobs;
    for (const QString& v : values) setField(jobs.add(), field, v);
    const fmJobInfoTexts t = fmJobInfoPageTexts(jobs.data(), jobs.count());
    QVERIFY(!t.Empty);
    QCOMPARE(::label(t, label), expected);
}

// Catches a split inside a file name, a longer directory taken as a difference, a wrong index when
// another directory is shorter, and overwriting the first label when the split falls on 0.
void tst_fmjobinfo::outputSplit_data()
{
    QTest::addColumn<QStringList>("first");  // dir, name, extension of the first job
    QTest::addColumn<QStringList>("second"); // the same of a second job; empty for a single job
    QTest::addColumn<bool>("keep");
    QTest::addColumn<QString>("out1a");
    QTest::addColumn<QString>("out1b");

    const QStringList j = {"/a/b/", "shot_", ".exr"};
    QTest::newRow("single job") << j << QStringList() << false << "/a/b/shot_#.exr" << "";
    QTest::newRow("dirs /a/b/ and /a/c/") << j << QStringList{"/a/c/", "shot_", ".exr"} << false << "/a/"
                                          << "b/shot_#.exr";
    QTest::newRow("same dir, other names") << j << QStringList{"/a/b/", "shut_", ".exr"} << false << "/a/b/"
                                           << "shot_#.exr";
    QTest::newRow("same dir, other extension") << j << QStringList{"/a/b/", "shot_", ".tif"} << false << "/a/b/"
                                               << "shot_#.exr";
    QTest::newRow("identical") << j << j << false << "/a/b/shot_#.exr" << "";
    QTest::newRow("other dir extends") << j << QStringList{"/a/b/c/", "shot_", ".exr"} << false
                                       << "/a/b/shot_#.exr" << "";
    QTest::newRow("other name extends") << j << QStringList{"/a/b/", "shot_v2", ".exr"} << false
                                        << "/a/b/shot_#.exr" << "";
    QTest::newRow("other dir shorter") << j << QStringList{"/a/", "shot_", ".exr"} << false << "/a/"
                                       << "b/shot_#.exr";
    QTest::newRow("differ at first char") << j << QStringList{"x/a/b/", "shot_", ".exr"} << true << ""
                                          << "/a/b/shot_#.exr";
    QTest::newRow("no dir on first job") << QStringList{"", "shot_", ".exr"} << j << false << "" << "";
}

void tst_fmjobinfo::outputSplit()
{
    QFETCH(QStringList, first);
    QFETCH(QStringList, second);
    QFETCH(bool, keep);
    QFETCH(QString, out1a);
    QFETCH(QString, out1b);
    Jobs jobs;
    for (const QStringList& s : {first, second}) {
        if (s.isEmpty()) continue;
        _jobsHistoryDB_Runtime& job = jobs.add();
        job.ImageDir = s[0];
        job.ImageFileName = s[1];
        job.ImageExtension = s[2];
    }
    const fmJobInfoTexts t = fmJobInfoPageTexts(jobs.data(), jobs.count());
    QCOMPARE(t.KeepOutput1a, keep);
    QCOMPARE(t.Output1a, out1a);
    QCOMPARE(t.Output1b, out1b);
}

// Catches a path built from the wrong folder or ID form, and a stale image kept for a multiple
// selection.
void tst_fmjobinfo::image_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("fileThere");
    QTest::addColumn<int>("what");
    QTest::addColumn<QString>("text");

    QTest::newRow("nothing selected keeps") << 0 << true << int(fmJobInfoImage::KeepImage) << "";
    QTest::newRow("two jobs") << 2 << true << int(fmJobInfoImage::ShowText) << "(multiple jobs selected)";
    QTest::newRow("one job, no image") << 1 << false << int(fmJobInfoImage::ShowText) << "N/A";
    QTest::newRow("one job with image") << 1 << true << int(fmJobInfoImage::ShowPixmap) << "";
}

void tst_fmjobinfo::image()
{
    QFETCH(int, count);
    QFETCH(bool, fileThere);
    QFETCH(int, what);
    QFETCH(QString, text);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString history = dir.path() + "/";
    Jobs jobs;
    for (int i = 0; i < std::max(count, 1); ++i) jobs.add().JobID = 0x0123456789ULL + unsigned(i);
    const QString path = history + "Shot/" + fmJ::ID2strFull(jobs.Ptrs[0]->JobID) + ".jpg";
    if (fileThere) {
        QVERIFY(QDir().mkpath(history + "Shot"));
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("jpg");
    }
    const fmJobInfoImage img = fmJobInfoImageFor(jobs.data(), count, history, "Shot");
    QCOMPARE(int(img.What), what);
    QCOMPARE(img.Text, text);
    QCOMPARE(img.Path, what == fmJobInfoImage::ShowPixmap ? path : QString());
}

// Catches reads beyond a record's strings when their lengths are damaged, and a crash on no
// selection or a null selection array.
void tst_fmjobinfo::emptyAndDamaged()
{
    QVERIFY(fmJobInfoPageTexts(nullptr, 3).Empty);
    Jobs none;
    QVERIFY(fmJobInfoPageTexts(none.data(), 0).Empty);

    Jobs jobs;
    for (int i = 0; i < 2; ++i) {
        _jobsHistoryDB_Runtime& j = jobs.add();
        auto* b = reinterpret_cast<unsigned char*>(static_cast<fmJ::_jobsHistoryDB*>(&j));
        for (size_t k = 0; k < sizeof(fmJ::_jobsHistoryDB); ++k) b[k] = uint8_t(0xA5 ^ (k * 7) ^ i);
    }
    const fmJobInfoTexts t = fmJobInfoPageTexts(jobs.data(), jobs.count());
    QVERIFY(!t.Empty);
    QVERIFY(t.Camera.size() <= 50 + 30);
    QVERIFY(t.Output1a.size() + t.Output1b.size() <= 250 * 2 + 25 + 1);
}

QTEST_GUILESS_MAIN(tst_fmjobinfo)
#include "tst_fmjobinfo.moc"
