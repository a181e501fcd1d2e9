// The submitter's command line for a job handed back to the farm.

#include "historydb/fmresubmit.h"

#include "foundation/fmprocess.h"
#include "jobs/fmjobhistory.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/wait.h>

#include <memory>

using fmJ::_jobsHistoryDB_Runtime;

namespace {

std::unique_ptr<_jobsHistoryDB_Runtime> makeJob()
{
    auto j = std::make_unique<_jobsHistoryDB_Runtime>();
    j->SceneName = "/proj/scenes/shot 010.mb";
    j->SceneOS = 2;
    j->ImageDir = "/out/";
    j->ImageFileName = "shot_";
    j->ImageExtension = ".exr";
    j->ImageFramePadding = 4;
    j->ImageWidth = 1920;
    j->ImageHeight = 1080;
    j->SeqStart = 1;
    j->SeqEnd = 100;
    j->SeqStep = 1;
    j->SeqFileOffset = 0;
    j->Software = "Maya";
    j->Renderer = "Arnold";
    j->Version = 2022;
    j->VersionMinor = 50;
    return j;
}

// The value behind an option, or "?missing?" when the option is not in the list.
QString valueOf(const QStringList& args, const QString& option)
{
    const int i = args.indexOf(option);
    return i >= 0 && i + 1 < args.size() ? args[i + 1] : QStringLiteral("?missing?");
}

} // namespace

class tst_fmresubmit : public QObject
{
    Q_OBJECT
private slots:
    void wholeList();
    void sceneOS_data();
    void sceneOS();
    void optionalTexts_data();
    void optionalTexts();
    void numbers_data();
    void numbers();
    void singleOutputFlag_data();
    void singleOutputFlag();
    void firstOfSelection();
    void nulArgumentReachesChildEmpty();
};

// Catches a changed order of options, a missing always-present option, and a wrong version text.
void tst_fmresubmit::wholeList()
{
    auto j = makeJob();
    j->Camera = "camMain";
    const QStringList expected = {
        "/proj/scenes/shot 010.mb", "-SceneOS", "lx", "-Camera", "camMain", "-ImageDir", "/out/", "-ImageFileName",
        "shot_", "-ImageExtension", ".exr", "-ImageFramePadding", "4", "-ImageWidth", "1920", "-ImageHeight",
        "1080", QString(QChar(0)), "-SeqStart", "1", "-SeqEnd", "100", "-SeqStep", "1", "-SeqFileOffset", "0",
        "-Software", "Maya", "-Renderer", "Arnold", "-Version", "2022.05"};
    QCOMPARE(fmResubmitArguments(*j), expected);
    QCOMPARE(fmResubmitExecutable("/root/bin/lx/"), QString("/root/bin/lx/fmSubmitter"));
}

// Catches a value invented for an unknown operating system (the option must stand alone).
void tst_fmresubmit::sceneOS_data()
{
    QTest::addColumn<int>("os");
    QTest::addColumn<QString>("next"); // the entry behind "-SceneOS"
    QTest::newRow("0 alone") << 0 << "-ImageDir";
    QTest::newRow("windows") << 1 << "win";
    QTest::newRow("linux") << 2 << "lx";
    QTest::newRow("mac") << 3 << "mac";
    QTest::newRow("4 alone") << 4 << "-ImageDir";
    QTest::newRow("255 alone") << 255 << "-ImageDir";
}

void tst_fmresubmit::sceneOS()
{
    QFETCH(int, os);
    QFETCH(QString, next);
    auto j = makeJob();
    j->SceneOS = uint8_t(os);
    const QStringList args = fmResubmitArguments(*j);
    QCOMPARE(args[1], QString("-SceneOS"));
    QCOMPARE(args[2], next);
}

// Catches options written with an empty value (the submitter would take the next option as value).
void tst_fmresubmit::optionalTexts_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("value"); // "" leaves the field unset
    QTest::newRow("no camera") << "-Camera" << "";
    QTest::newRow("camera") << "-Camera" << "cam";
    QTest::newRow("no layer") << "-Layer" << "";
    QTest::newRow("layer") << "-Layer" << "beauty";
    QTest::newRow("no channel") << "-Channel" << "";
    QTest::newRow("channel") << "-Channel" << "rgba";
    QTest::newRow("no database dir") << "-SceneDatabaseDir" << "";
    QTest::newRow("database dir") << "-SceneDatabaseDir" << "/proj/";
}

void tst_fmresubmit::optionalTexts()
{
    QFETCH(QString, option);
    QFETCH(QString, value);
    auto j = makeJob();
    if (option == "-Camera") j->Camera = value;
    else if (option == "-Layer") j->Layer = value;
    else if (option == "-Channel") j->Channel = value;
    else j->SceneDatabaseDir = value;
    const QStringList args = fmResubmitArguments(*j);
    if (value.isEmpty()) QVERIFY(!args.contains(option));
    else QCOMPARE(valueOf(args, option), value);
}

// Catches a precision other than six significant digits for the frame numbers.
void tst_fmresubmit::numbers_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("1000000") << 1000000.0 << "1e+06";
    QTest::newRow("1234567") << 1234567.0 << "1.23457e+06";
    QTest::newRow("999999") << 999999.0 << "999999";
    QTest::newRow("half") << 1.5 << "1.5";
    QTest::newRow("negative") << -10.0 << "-10";
}

void tst_fmresubmit::numbers()
{
    QFETCH(double, value);
    QFETCH(QString, text);
    auto j = makeJob();
    j->SeqStart = value;
    j->SeqEnd = value;
    j->SeqStep = value;
    j->SeqFileOffset = value;
    const QStringList args = fmResubmitArguments(*j);
    for (const char* o : {"-SeqStart", "-SeqEnd", "-SeqStep", "-SeqFileOffset"}) QCOMPARE(valueOf(args, o), text);
}

// Catches dropping the value entry when the flag is unset, or writing the option then.
void tst_fmresubmit::singleOutputFlag_data()
{
    QTest::addColumn<int>("flag");
    QTest::addColumn<bool>("option");
    QTest::newRow("unset") << 0 << false;
    QTest::newRow("set") << 1 << true;
    QTest::newRow("odd byte") << 200 << true;
}

void tst_fmresubmit::singleOutputFlag()
{
    QFETCH(int, flag);
    QFETCH(bool, option);
    auto j = makeJob();
    j->ImageSingleOutputFile = uint8_t(flag);
    const QStringList args = fmResubmitArguments(*j);
    const int height = args.indexOf("-ImageHeight");
    QVERIFY(height > 0);
    QCOMPARE(args.contains("-ImageSingleOutputFile"), option);
    const QString value = args[height + 2 + (option ? 1 : 0)];
    QCOMPARE(value, QString(QChar(char16_t(flag))));
    QCOMPARE(args[height + 3 + (option ? 1 : 0)], QString("-SeqStart"));
}

// Catches submitting another job than the first of the selection, or starting with none.
void tst_fmresubmit::firstOfSelection()
{
    auto a = makeJob();
    auto b = makeJob();
    b->SceneName = "/other.mb";
    const _jobsHistoryDB_Runtime* sel[] = {a.get(), b.get()};
    const QStringList args = fmResubmitSelectionArguments(sel, 2);
    QCOMPARE(args.first(), QString("/proj/scenes/shot 010.mb"));
    QVERIFY(!args.contains("/other.mb"));
    QVERIFY(fmResubmitSelectionArguments(sel, 0).isEmpty());
    QVERIFY(fmResubmitSelectionArguments(nullptr, 1).isEmpty());
}

// Catches a process starter that drops or mangles the NUL-character entry: the child must see an
// empty argument at its place, and the arguments behind it unchanged.
void tst_fmresubmit::nulArgumentReachesChildEmpty()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString log = dir.path() + "/out.txt";
    const QStringList args = {"-c", "printf '[%s]' \"$@\"", "sh", "a", QString(QChar(0)), "b"};
    const long long pid = fmStartProcess(fmString<250>("/bin/sh"), args, fmString<250>(log));
    QVERIFY(pid > 0);
    int status = 0;
    QCOMPARE(::waitpid(pid_t(pid), &status, 0), pid_t(pid));
    QFile f(log);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll(), QByteArray("[a][][b]"));
}

QTEST_GUILESS_MAIN(tst_fmresubmit)
#include "tst_fmresubmit.moc"
