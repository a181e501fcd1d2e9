#pragma once
// The "Reports" dock: jobs, render hours, frames, GHz hours, cost and errors grouped by user,
// project, month or software, over the loaded project or all projects, as a table and a bar
// chart of one measure. The summaries are read on a worker pool, with progress and a cancel
// button. It also carries the job tree's "Finished from ... to ..." filter and the search box
// for a job identifier; the window acts on their signals.

#include "browser/fmhistoryreport.h"

#include <QDockWidget>
#include <QFutureWatcher>

#include <memory>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTableWidget;
class QChart;
class QChartView;

class fmReportsDock : public QDockWidget
{
    Q_OBJECT
public:
    fmReportsDock(const fmReportSettings& settings, QWidget* parent = nullptr);
    ~fmReportsDock() override; // cancels a running read and waits for it

    // The project whose jobs the window shows; "Loaded project" reports over it alone.
    void setLoadedProject(const QString& name);
    // Shows the report of these summaries (the end of every read; tests call it directly).
    void showSummary(const fmHistorySummary& summary);

    const fmReport& report() const { return Report; }
    QTableWidget* table() const { return Table; }
    QChart* chart() const;
    bool isReading() const { return Watcher.isRunning(); }

signals:
    // A bar or table row was clicked: the jobs of that group (a user, project, month "YYYY-MM"
    // or software).
    void groupClicked(fmReportKey key, const QString& value);
    // The "Finished from ... to ..." filter of the job tree; off: no limit.
    void finishedFilterChanged(bool on, qint64 from, qint64 to);
    // A job identifier, in either of its text forms, to select in the job tree.
    void jobSearched(const QString& text);

public slots:
    // Reads the summaries again (from the cache where the files are unchanged) and shows them.
    void refresh();

private:
    void buildWidgets();
    void connectWidgets();
    void rebuild(); // table and chart from Summary and the controls
    void applyTheme();
    void emitFinishedFilter();
    fmReportFilter currentFilter() const;
    fmReportKey currentKey() const;

    fmReportSettings Settings;
    QString LoadedProject;
    fmHistorySummary Summary;
    fmReport Report;
    std::shared_ptr<fmHistorySummaryReader> Reader; // shared with the running read
    QFutureWatcher<fmHistorySummary> Watcher;

    QComboBox* By = nullptr;
    QComboBox* Scope = nullptr;
    QComboBox* Measure = nullptr;
    QCheckBox* UseRange = nullptr;
    QCheckBox* FilterTree = nullptr;
    QDateEdit* From = nullptr;
    QDateEdit* To = nullptr;
    QLineEdit* JobSearch = nullptr;
    QPushButton* Run = nullptr;
    QProgressBar* Progress = nullptr;
    QLabel* Status = nullptr;
    QTableWidget* Table = nullptr;
    QChartView* ChartView = nullptr;
};
