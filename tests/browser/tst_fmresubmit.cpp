// The submitter's command line for a job handed back to the farm.

#include "browser/fmresubmit.h"

#include "foundation/fmprocess.h"
#include "joblist_fixtures.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

class tst_fmresubmit : public QObject
{
    Q_OBJECT
private slots:
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

    // Catches a process starter that drops or mangles the NUL-character entry: the child must see an
    // empty argument at its place, and the arguments behind it unchanged.
    void nulArgumentReachesChildEmpty()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString log = dir.path() + "/out.txt";
        const QStringList args = {"-c", "printf '[%s]' \"$@\"", "sh", "a", QString(QChar(0)), "b"};
        QVERIFY(fmStartProcess(fmString<250>("/bin/sh"), args, fmString<250>(log)) > 0);
        auto content = [&log] {
            QFile f(log);
            return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
        };
        QTRY_COMPARE_WITH_TIMEOUT(content(), QByteArray("[a][][b]"), 60000);
    }
};

QTEST_GUILESS_MAIN(tst_fmresubmit)
#include "tst_fmresubmit.moc"
