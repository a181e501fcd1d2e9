// Names derived from a job's paths: scene display names, folder picks, output splitting,
// custom scene/shot/version names, colours and preview file names.
#include "app/fm.h"
#include "farm/fmgconfig.h"
#include "jobs/fmjob.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjobnaming.h"

#include <QTest>
#include <memory>

using namespace Qt::StringLiterals;

using namespace fmJ;

class tst_fmjobnaming : public QObject
{
    Q_OBJECT

    static std::unique_ptr<_JobSend> newJob()
    {
        auto job = std::make_unique<_JobSend>();
        job->fmClearAll();
        return job;
    }

private slots:
    // Catches render folders left in, a wrong extension cut and missing blanks behind separators.
    void sceneDisplayName_data()
    {
        QTest::addColumn<QString>("scene");
        QTest::addColumn<QString>("shown");
        QTest::newRow("scenes folder") << u"/proj/Scenes/shot.ma"_s << u"/    proj/    shot"_s;
        QTest::newRow("drive") << u"D:/job/RENDER_PICTURES/x.c4d"_s << u".../    job/    x"_s;
        QTest::newRow("short dot") << u"ab.c"_s << u"ab.c"_s;
        QTest::newRow("empty") << u""_s << u""_s;
    }
    void sceneDisplayName()
    {
        QFETCH(QString, scene);
        QFETCH(QString, shown);
        auto job = newJob();
        job->SceneName = scene;
        QCOMPARE(job->GetSceneDisplayName(), shown);
        auto hist = std::make_unique<_jobsHistoryDB_Runtime>();
        hist->SceneName = scene;
        QCOMPARE(hist->GetSceneDisplayName(), shown);
    }

    // Catches off-by-one folder counts and lost drive or server prefixes.
    void directoryNo_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("no");
        QTest::addColumn<QString>("until");
        QTest::newRow("first") << u"/mnt/proj/shots/a.ma"_s << 1 << 1 << u"mnt"_s << u"/mnt"_s;
        QTest::newRow("second two") << u"/mnt/proj/shots/a.ma"_s << 2 << 2 << u"proj_shots"_s
                                    << u"/mnt/proj/shots"_s;
        QTest::newRow("server") << u"//srv/share/x/y"_s << 2 << 1 << u"share"_s << u"//srv/share"_s;
        QTest::newRow("short") << u"/ab"_s << 3 << 1 << u"/ab"_s << u"/ab"_s;
    }
    void directoryNo()
    {
        QFETCH(QString, path);
        QFETCH(int, first);
        QFETCH(int, count);
        QFETCH(QString, no);
        QFETCH(QString, until);
        QCOMPARE(GetDirectoryNo(path, first, count), no);
        QCOMPARE(GetDirectoryUntilNo(path, first, count), until);
    }

    // Catches wrong splits of the three frame-number styles and movie extensions.
    void splitOutput_data()
    {
        QTest::addColumn<QString>("dir");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("outDir");
        QTest::addColumn<QString>("outName");
        QTest::addColumn<QString>("ext");
        QTest::addColumn<int>("padding");
        QTest::addColumn<bool>("single");
        QTest::newRow("printf") << u"/out/"_s << u"frame%04d.exr"_s << u"/out/"_s << u"frame"_s << u".exr"_s
                                << 4 << false;
        QTest::newRow("hash") << u"/out/"_s << u"beauty.####.tif"_s << u"/out/"_s << u"beauty."_s << u".tif"_s
                              << 4 << false;
        QTest::newRow("bracket hash")
            << u"/out/"_s << u"b[##].tif"_s << u"/out/"_s << u"b"_s << u".tif"_s << 2 << false;
        QTest::newRow("dotted") << u""_s << u"/r/img0001.jpg"_s << u"/r/"_s << u"img"_s << u".jpg"_s << 4
                                << false;
        QTest::newRow("movie") << u"/m/"_s << u"clip.mov"_s << u"/m/"_s << u"clip"_s << u".mov"_s << 4
                               << true;
        QTest::newRow("drive fix") << u"C:out/x"_s << u"a.0001.png"_s << u"C:/out/x"_s << u"a."_s << u".png"_s
                                   << 4 << false;
    }
    void splitOutput()
    {
        QFETCH(QString, dir);
        QFETCH(QString, name);
        QFETCH(QString, outDir);
        QFETCH(QString, outName);
        QFETCH(QString, ext);
        QFETCH(int, padding);
        QFETCH(bool, single);
        auto job = newJob();
        job->ImageDir = dir;
        job->ImageFileName = name;
        job->ImageChannels[2].FileName = "alpha";
        job->Check_SplitImageFileInto_DirFileExt(false);
        QCOMPARE(job->ImageDir.toQString(), outDir);
        QCOMPARE(job->ImageFileName.toQString(), outName);
        QCOMPARE(job->ImageExtension.toQString(), ext);
        QCOMPARE(int(job->ImageFramePadding), padding);
        QCOMPARE(job->ImageSingleOutputFile != 0, single);
        QCOMPARE(job->ImageChannels[2].Extension.toQString(), ext);
        QVERIFY(job->ImageChannels[3].Extension.isEmpty());
    }

    // Catches paths not mapped through the path table, custom values left out, and a wrong
    // guess of the system a job's output paths were written on.
    void pathConversion()
    {
        _fmgOSConversion& row = FM.cfg->OSConversion[0];
        row.Path[_fmOS_Windows] = "X:/";
        row.Path[_fmOS_Linux] = "/mnt/x/";
        row.Path[_fmOS_Mac] = "/Volumes/x/";
        auto job = newJob();
        job->PathOS = _fmOS_Windows;
        job->SceneName = "x:/proj/a.ma"; // the prefix test ignores case
        job->ImageDir = "X:/proj/out/";
        job->ImageChannels[1].FileName = "X:/proj/aov/specular";
        job->customSet_Str(u"cache"_s, u"X:/proj/cache"_s);
        job->ConvertPathsToOS(FM, _fmOS_Linux, false);
        QCOMPARE(int(job->PathOS), int(_fmOS_Linux));
        QCOMPARE(job->SceneName.toQString(), u"/mnt/x/proj/a.ma"_s);
        QCOMPARE(job->ImageDir.toQString(), u"/mnt/x/proj/out/"_s);
        QCOMPARE(job->ImageChannels[1].FileName.toQString(), u"/mnt/x/proj/aov/specular"_s);
        QCOMPARE(job->custom_Str(u"cache"_s), u"/mnt/x/proj/cache"_s);

        auto win = newJob();
        win->ImageDir = "X:\\proj\\out\\";
        win->analyseNsetSceneOS(FM);
        QCOMPARE(int(win->SceneOS), int(_fmOS_Windows));
        QCOMPARE(int(win->PathOS), int(_fmOS_Windows));
        auto unc = newJob();
        unc->ImageDir = "/Volumes/x/out/";
        unc->analyseNsetSceneOS(FM);
        QCOMPARE(int(unc->SceneOS), int(_fmOS_Mac));
        auto unknown = newJob();
        unknown->ImageDir = "Q:/elsewhere/";
        unknown->analyseNsetSceneOS(FM);
        QCOMPARE(int(unknown->SceneOS), int(_fmOS_Windows));
        row = _fmgOSConversion();
    }

    // Catches relative job-file folders not placed below the root and preview names misnumbered.
    void jobFilesAndPreviews()
    {
        FM.RootPath = "/farm/";
        auto job = newJob();
        job->JobFilesFolder = "abc";
        QCOMPARE(job->jobFilesFolderName_Resolved(FM), u"/farm/jobfiles/abc/"_s);
        job->JobFilesFolder = "/abs/files";
        QCOMPARE(job->jobFilesFolderName_Resolved(FM), u"/abs/files/"_s);
        job->JobFilesFolder = "X:\\files\\";
        QCOMPARE(job->jobFilesFolderName_Resolved(FM), u"X:\\files\\/"_s);

        job->JobFilesFolder = "/jf/";
        job->SeqStart = 1;
        job->SeqEnd = 100;
        job->SeqStep = 1;
        job->NumberPreview = 5;
        job->fmClearSend();
        job->PreviewFirstFrame = 10;
        job->PreviewFrameStep = 20;
        QCOMPARE(job->previewID2FrameNr(0), 0);
        QCOMPARE(job->previewID2FrameNr(4), 99);
        QCOMPARE(job->previewID2FrameNr(2), 30);
        QCOMPARE(job->previewFilenameRGB(FM, 2), u"/jf/p00031.jpg"_s);
        QCOMPARE(job->previewFilenameThumbnail(FM, 0), u"/jf/p00001_t.jpg"_s);
        QCOMPARE(job->previewFilenameA(FM, 99), u"/jf/p00100_a.jpg"_s);
    }
};

QTEST_GUILESS_MAIN(tst_fmjobnaming)
#include "tst_fmjobnaming.moc"
