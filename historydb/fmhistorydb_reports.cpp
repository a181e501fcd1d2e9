// The window's side of the "Reports" dock: a clicked group filters the job tree, the finished
// date range limits it, and a job identifier selects its job.

#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "foundation/fmjobid.h"
#include "historydb/fmjobstreemodel.h"
#include "historydb/fmreportsdock.h"
#include "jobs/fmjoblist.h"

#include <QComboBox>
#include <QDate>
#include <QDateTime>
#include <QStatusBar>

#include <limits>

namespace {

// The model index of the job leaf with this identifier, searched depth first.
QModelIndex findJob(const QAbstractItemModel* model, const QModelIndex& parent, unsigned long long id)
{
    for (int r = 0; r < model->rowCount(parent); ++r) {
        const QModelIndex i = model->index(r, 0, parent);
        const auto* node = static_cast<fmuiTreeViewJobsNode*>(i.internalPointer());
        if (node && node->data() && node->data()->Job && node->data()->JobID == id) return i;
        const QModelIndex below = findJob(model, i, id);
        if (below.isValid()) return below;
    }
    return QModelIndex();
}

// "{ABC}" and "ABC" are one short form; the full form has no braces.
QString bare(QString s)
{
    s = s.trimmed();
    if (s.startsWith(QLatin1Char('{'))) s.remove(0, 1);
    if (s.endsWith(QLatin1Char('}'))) s.chop(1);
    return s;
}

} // namespace

void fmHistorydb::setupReportsDock()
{
    reportsDock = new fmReportsDock(fmReportSettingsOf(app), this);
    addDockWidget(Qt::RightDockWidgetArea, reportsDock);
    tabifyDockWidget(ui.dockWidget_JobInfo, reportsDock);
    ui.dockWidget_JobInfo->raise();
    connect(reportsDock, &fmReportsDock::finishedFilterChanged, this,
            [this](bool on, qint64 from, qint64 to) {
                jobs.FilterFinishedFrom = on ? from : std::numeric_limits<int64_t>::min();
                jobs.FilterFinishedTo = on ? to : std::numeric_limits<int64_t>::max();
                uiFilterChanged();
            });
    connect(reportsDock, &fmReportsDock::groupClicked, this, &fmHistorydb::showReportGroup);
    connect(reportsDock, &fmReportsDock::jobSearched, this, &fmHistorydb::selectJobByText);
    connect(reportsDock, &QDockWidget::visibilityChanged, this, [this](bool visible) {
        if (visible && reportsDock->report().Total.Jobs == 0 && !reportsDock->isReading())
            reportsDock->refresh();
    });
}

void fmHistorydb::showReportGroup(fmReportKey key, const QString& value)
{
    auto pick = [this](QComboBox* combo, const QString& text) {
        const int i = combo->findText(text);
        if (i >= 0)
            combo->setCurrentIndex(i); // its signal runs uiFilterChanged
        else
            statusBar()->showMessage(tr("'%1' has no jobs in the loaded project").arg(text), 5000);
    };
    switch (key) {
    case fmReportKey::User:
        pick(ui.Show_ComboUser, value);
        break;
    case fmReportKey::Software:
        pick(ui.Show_ComboApp, value);
        break;
    case fmReportKey::Project:
        if (value.compare(table.currentProject, Qt::CaseInsensitive) != 0)
            statusBar()->showMessage(tr("'%1' is not the loaded project").arg(value), 5000);
        break;
    case fmReportKey::Month: {
        const QDate first = QDate::fromString(value + QStringLiteral("-01"), Qt::ISODate);
        if (!first.isValid()) return;
        jobs.FilterFinishedFrom = QDateTime(first, QTime(0, 0), Qt::LocalTime).toSecsSinceEpoch();
        jobs.FilterFinishedTo =
            QDateTime(first.addMonths(1), QTime(0, 0), Qt::LocalTime).toSecsSinceEpoch() - 1;
        uiFilterChanged();
        statusBar()->showMessage(tr("Jobs finished in %1").arg(value), 5000);
        break;
    }
    }
}

bool fmHistorydb::selectJobByText(const QString& text)
{
    const QString wanted = bare(text);
    if (wanted.isEmpty()) return false;
    unsigned long long id = 0;
    for (int q = 0; q < jobs.JobCount && id == 0; ++q) {
        const fmJ::_jobsHistoryDB_Runtime* job = jobs.GetJobByQueueID(q);
        if (job && (bare(fmJ::ID2str(job->JobID)).compare(wanted, Qt::CaseInsensitive) == 0 ||
                    fmJ::ID2strFull(job->JobID).compare(wanted, Qt::CaseInsensitive) == 0))
            id = job->JobID;
    }
    const QModelIndex index = id ? findJob(jobsModel, QModelIndex(), id) : QModelIndex();
    if (!index.isValid()) {
        statusBar()->showMessage(id ? tr("Job %1 is hidden by the filter").arg(text)
                                    : tr("No job %1 in the loaded project").arg(text),
                                 5000);
        return false;
    }
    QTreeView* tree = ui.treeJobs->Tree;
    tree->selectionModel()->select(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    tree->setCurrentIndex(index);
    tree->scrollTo(index, QAbstractItemView::PositionAtCenter);
    return true;
}
