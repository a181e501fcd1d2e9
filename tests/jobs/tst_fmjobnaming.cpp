// Names derived from a job's paths: scene display names, path mapping, job-file folders and
// preview frame numbers.
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

    // Catches paths not mapped through the path table, and custom values left out.
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
    }
};

QTEST_GUILESS_MAIN(tst_fmjobnaming)
#include "tst_fmjobnaming.moc"
