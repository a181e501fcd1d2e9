// The "Reports" dock: its table and chart show the groups of the summaries, a clicked bar names
// its group, and the chart takes the theme's colours.

#include "historydb/fmreportsdock.h"

#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QSignalSpy>
#include <QTableWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

class tst_fmreportsdock : public QObject
{
    Q_OBJECT
private slots:
    // Catches a table without its total row, a chart out of step with the table, a click that
    // names the wrong group, or a chart that keeps its colours when the theme changes.
    void tableChartAndClick()
    {
        fmReportSettings settings;
        settings.Cost = 2.0;
        fmReportsDock dock(settings);
        fmHistorySummary s;
        s.Files.append(fmHistoryFile{u"/h/A.db61"_s, u"A"_s, 1, 1});
        for (const char* user : {"bob", "ann", "bob"}) {
            fmJobSummary j;
            j.User = QLatin1String(user);
            j.GhzHours = 1.5f;
            j.File = 0;
            s.Jobs.push_back(j);
        }
        dock.setLoadedProject(u"A"_s);
        dock.showSummary(s); // grouped by user: ann, bob
        QCOMPARE(dock.table()->rowCount(), 3);
        QCOMPARE(dock.table()->item(1, 0)->text(), u"bob"_s);
        QCOMPARE(dock.table()->item(2, 4)->text(), u"4.50"_s);
        auto* series = qobject_cast<QBarSeries*>(dock.chart()->series().value(0));
        QVERIFY(series);
        QBarSet* set = series->barSets().value(0);
        QCOMPARE(set->count(), 2);
        QCOMPARE(set->at(1), 3.0); // bob's GHz hours

        QSignalSpy clicked(&dock, &fmReportsDock::groupClicked);
        emit set->clicked(1);
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(clicked.first().at(1).toString(), u"bob"_s);

        QPalette dark = dock.palette();
        dark.setColor(QPalette::Highlight, QColor(200, 120, 0));
        dock.setPalette(dark);
        QCOMPARE(set->color(), QColor(200, 120, 0));
    }
};

QTEST_MAIN(tst_fmreportsdock)
#include "tst_fmreportsdock.moc"
