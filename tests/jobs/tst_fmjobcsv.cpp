// CSV export of jobs: the exact bytes of header and lines, and the file modes.

#include "joblist_fixtures.h"

#include "jobs/fmjoblist.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

using namespace fmJ;

namespace {

const QByteArray Header =
    QByteArray("SceneName;SceneDatabaseDir;Camera;Layer;Channel;Software;Renderer;Version;SeqStart;"
               "SeqEnd;SeqStep;TotalFrames;ImageDir;ImageFilename;ImageExtension;UserName;"
               "CustomSeQName;CustomSHotName;CustomVersionName;CompanyProjectName;Date_Send;"
               "av.FrameTime;av.Clients;Date_Finished;ExecutionTime;totalPS;totalGhz;totalCost ") +
    QString(QChar(0x20AC)).toUtf8() + QByteArray(";\r\n");

void fill(_jobsHistoryDB_Runtime& j)
{
    auto r = jlfix::makeRecord(1);
    r->SceneName = "a;b;";
    r->SceneDatabaseDir = "/db/dir";
    r->Camera = ";cam;";
    r->Layer = "lay";
    r->Channel = "chan";
    r->Software = "Maya";
    r->Renderer = "Arnold";
    r->Version = 2022;
    r->VersionMinor = 120;
    r->SeqStart = -1.5;
    r->SeqEnd = 1.5;
    r->SeqStep = 1.0;
    r->TotalFrames = 42;
    r->ImageDir = "/img/";
    r->ImageFileName = "name_";
    r->ImageExtension = ".exr";
    r->UserName = "anna";
    r->CustomSeQName = "sq";
    r->CustomSHotName = "sh";
    r->CustomVersionName = "v001";
    r->CompanyProjectName = "Proj";
    r->DateSend.t = 1300000000; // 13.03.2011 07:06:40 UTC
    r->AverageFrameTime = 0;
    r->AverageClients = 2.5f;
    r->DateFinished.t = 0;
    r->ExecutionTime = 3725;
    r->TotalPS = 123456789012ULL;
    r->TotalGhzHours = 2.5f;
    j.fromJobSave(r.get(), FM);
}

const QByteArray Line =
    "ab;/db/dir;cam;lay;chan;Maya;Arnold;'2022.12;-2;2;1;42;/img/;name_;.exr;anna;sq;sh;v001;Proj;"
    "13.03.2011;;2.500000;01.01.1970;01:02.05;123456789012;3;5.000;\r\n";

} // namespace

class tst_fmjobcsv : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir Dir;

private slots:
    // Catches a header or a column in another form, order or encoding than the spreadsheet expects.
    void headerAndLine()
    {
        _JobList l(FM, nullptr);
        fill(*l.GetNewJob());
        const QString p = Dir.filePath(u"one.csv"_s);
        QVERIFY(l.exportAsCSV(p, nullptr, nullptr, true, false));
        QCOMPARE(jlfix::readFile(p), Header + Line);
        QCOMPARE(_JobList::toCSVString(u";a;;b;"_s), u"ab"_s);
        // One job stays one line: line breaks and NUL bytes of a value become blanks.
        QCOMPARE(_JobList::toCSVString(QString::fromUtf16(u"a\r\nb\0c\n", 7)), u"a  b c "_s);
    }

    // Catches numbers rounded the wrong way (the golden line holds the halves and a zero of each).
    void columns_data()
    {
        QTest::addColumn<int>("what");
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        QTest::newRow("start -0.4") << 0 << -0.4 << 8 << "0";
        QTest::newRow("start huge") << 0 << 1e300 << 8 << "2147483647";
        QTest::newRow("frame time 3725") << 1 << 3725.0 << 21 << "01:02.05";
        QTest::newRow("cost of 1.25 ghz") << 2 << 1.25 << 27 << "2.500";
        QTest::newRow("minor 50") << 4 << 50.0 << 7 << "'2022.05";
    }
    void columns()
    {
        QFETCH(int, what);
        QFETCH(double, value);
        QFETCH(int, column);
        QFETCH(QString, text);
        _JobList l(FM, nullptr);
        _jobsHistoryDB_Runtime* j = l.GetNewJob();
        fill(*j);
        switch (what) {
        case 0:
            j->SeqStart = value;
            break;
        case 1:
            j->AverageFrameTime = uint32_t(value);
            break;
        case 2:
            j->TotalGhzHours = float(value);
            break;
        case 4:
            j->VersionMinor = uint32_t(value);
            break;
        }
        const QString line = _JobList::csvLine(*j, FM);
        QVERIFY(line.endsWith(u";\r\n"_s));
        const QStringList cells = line.chopped(2).split(QLatin1Char(';'));
        QCOMPARE(cells.size(), 29); // 28 values, each closed by ";"
        QCOMPARE(cells[column], text);
    }

    // Catches a second header from appending, or the wrong jobs in all/selection mode.
    void fileModes()
    {
        _JobList l(FM, nullptr);
        for (int n = 0; n < 3; ++n) {
            _jobsHistoryDB_Runtime* j = l.GetNewJob();
            fill(*j);
            j->TotalFrames = n;
            j->Selected = n == 1;
        }
        l.SetSortID(0, Qt::AscendingOrder);
        l.CreateSelectionList();
        const QString p = Dir.filePath(u"modes.csv"_s);
        QVERIFY(l.exportAsCSV(p, nullptr, nullptr, false, false)); // the selection: job 1 only
        QVERIFY(l.exportAsCSV(p, nullptr, nullptr, true, true));   // appended: all three, no header
        const QList<QByteArray> lines = jlfix::readFile(p).split('\n');
        QCOMPARE(lines.size(), 6); // header, 1 + 3 lines, and the empty rest
        QCOMPARE(lines[0] + "\n", Header);
        QCOMPARE(lines[1].split(';')[11], QByteArray("1"));
        QCOMPARE(lines[2].split(';')[11], QByteArray("0"));
        QCOMPARE(lines[4].split(';')[11], QByteArray("2"));
        QVERIFY(lines[5].isEmpty());
    }
    void initTestCase()
    {
        QVERIFY(Dir.isValid());
        float* cost = FM.cfgGetF("cfgCost");
        QVERIFY(cost);
        *cost = 2.0f;
    }
};

QTEST_GUILESS_MAIN(tst_fmjobcsv)
#include "tst_fmjobcsv.moc"
