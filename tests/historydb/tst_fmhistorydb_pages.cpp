// The window's pages over a loaded project: the image label and the log dock as the selection and
// the picked log page change.

#include "joblist_fixtures.h"

#include "app/fm.h"
#include "historydb/fmhistorydb.h"
#include "historydb/fmlogtreemodel.h"
#include "jobs/fmjoblist.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace Qt::StringLiterals;

class tst_fmhistorydb_pages : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        static QTemporaryDir settingsDir;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
        FM.createFarmTables();
    }

    // Catches the image cleared on deselection, tree or table left visible without a selection, a
    // table drawn from another job than the first selected, and "Frames Send" wiping the former rows.
    void steps_data()
    {
        QTest::addColumn<QStringList>("steps"); // "sel:<sorted positions>" or "page:<name>"
        QTest::addColumn<QString>("image");     // the image label at the end
        QTest::addColumn<QString>(
            "table"); // "hidden", or "<columns>x<rows of the first selected job's page>"

        QTest::newRow("one job shows its log at once") << QStringList{"sel:0"} << u"N/A"_s << u"8xlog"_s;
        QTest::newRow("two jobs, job log") << QStringList{"sel:1,2", "page:Job Log", "sel:1,2"}
                                           << u"(multiple jobs selected)"_s << u"8xlog"_s;
        QTest::newRow("errors, then frames send")
            << QStringList{"sel:2", "page:Errors", "page:Frames Send", "sel:2"} << u"N/A"_s << u"3xerrors"_s;
        QTest::newRow("deselection") << QStringList{"sel:0,1", "page:Errors", "sel:"}
                                     << u"(multiple jobs selected)"_s << u"hidden"_s;
    }
    void steps()
    {
        QFETCH(QStringList, steps);
        QFETCH(QString, image);
        QFETCH(QString, table);
        QTemporaryDir dir;
        const QString history = dir.path() + "/history_db/";
        QVERIFY(QDir().mkpath(history));
        FM.RootPath = dir.path() + "/";
        FM.HistoryDbPath = history;
        QByteArray bytes;
        for (int n = 0; n < 3; ++n) {
            auto r = jlfix::makeRecord(n);
            r->LogCount = int16_t(n + 2); // job n: n + 2 log entries, n + 1 errors
            r->ErrorCount = int8_t(n + 1);
            bytes += jlfix::frameOf(*r);
        }
        QVERIFY(jlfix::writeFile(history + "Shot.db61", bytes));
        fmJ::_JobList jobs(FM, nullptr);
        auto w = std::make_unique<fmHistorydb>(FM, jobs);
        w->loadProject(0);
        QCOMPARE(jobs.SortedCount, 3);

        const fmJ::_jobsHistoryDB_Runtime* first = nullptr;
        for (const QString& s : QStringList{"sel:"} + steps) { // the first timer tick sees no selection
            const QString arg = s.section(':', 1);
            if (s.startsWith("sel:")) {
                const QStringList picks = arg.split(',', Qt::SkipEmptyParts);
                for (int i = 0; i < jobs.SortedCount; ++i)
                    jobs.Sorted[i]->Selected = picks.contains(QString::number(i));
                first = picks.isEmpty() ? nullptr : jobs.Sorted[picks.first().toInt()];
                w->uiUpdateJobInfoPage(); // as the timer redraws
                w->uiUpdateLogPage(false);
                continue;
            }
            for (int r = 0; r < w->logModel->rowCount(); ++r) {
                const QModelIndex i = w->logModel->index(r, 0);
                if (w->logModel->data(i).toString() == arg)
                    w->ui.treeLog->selectionModel()->select(i, QItemSelectionModel::ClearAndSelect);
            }
        }
        QCOMPARE(w->ui.JobInfo_LabelFOI->text(), image);
        QCOMPARE(w->ui.treeLog->isHidden(), first == nullptr);
        QTableWidget* t = w->ui.JobLog_Table;
        QString shown = u"hidden"_s;
        if (!t->isHidden() && first) {
            const int rows = t->rowCount();
            shown = QString::number(t->columnCount()) + "x" +
                    (rows == first->logCountClamped()     ? "log"
                     : rows == first->errorCountClamped() ? "errors"
                                                          : "?");
        }
        QCOMPARE(shown, table);
        w.reset();
    }
};

QTEST_MAIN(tst_fmhistorydb_pages)
#include "tst_fmhistorydb_pages.moc"
