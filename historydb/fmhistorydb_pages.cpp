// The window's pages and commands on the selection: the job info page, the log pages, the CSV
// exports and the re-submit. The texts come from window-free helpers; here they meet the widgets.

#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmprocess.h"
#include "browser/fmjobinfo.h"
#include "browser/fmjoblogpage.h"
#include "historydb/fmlogtreemodel.h"
#include "browser/fmresubmit.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"

#include <QColor>
#include <QCoreApplication>
#include <QFileDialog>
#include <QPixmap>
#include <QScreen>
#include <QSplashScreen>
#include <QTableWidgetItem>

#include <algorithm>

namespace {

const QString PageJobLog = QStringLiteral("Job Log");
const QString PageErrors = QStringLiteral("Errors");
const QString PageFramesSend = QStringLiteral("Frames Send");
const QString PageFrameInfoReturned = QStringLiteral("Frame Info Returned");

// The selection list as the last CreateSelectionList left it, its count clamped to the array.
int selectedCount(const fmJ::_JobList& jobs)
{
    if (!jobs.Selection) return 0;
    return std::clamp(jobs.SelectedCount, 0, jobs.Capacity);
}

fmJ::_jobsHistoryDB_Runtime* firstSelected(const fmJ::_JobList& jobs)
{
    return selectedCount(jobs) > 0 ? jobs.Selection[0] : nullptr;
}

void showIfHidden(QWidget* w)
{
    if (w->isHidden()) w->show();
}

void hideIfVisible(QWidget* w)
{
    if (!w->isHidden()) w->hide();
}

} // namespace

void fmHistorydb::uiUpdateJobInfoPage()
{
    jobs.CreateSelectionList();
    const int count = selectedCount(jobs);
    const fmJobInfoTexts t = fmJobInfoPageTexts(jobs.Selection.get(), count);

    if (t.Empty) {
        // The image label is left alone: the last image stays on the page after a deselection.
        for (QLabel* l : {ui.JobInfo_LabelCamera,
                          ui.JobInfo_LabelLayer,
                          ui.JobInfo_LabelID,
                          ui.JobInfo_LabelDate,
                          ui.JobInfo_LabelTime,
                          ui.JobInfo_LabelDateFinished,
                          ui.JobInfo_LabelTimeFinished,
                          ui.JobInfo_LabelCustomScene,
                          ui.JobInfo_LabelCustomShot,
                          ui.JobInfo_LabelCustomVersion,
                          ui.JobInfo_LabelSoftName,
                          ui.JobInfo_LabelSoftRenderer,
                          ui.JobInfo_LabelSoftRenderType,
                          ui.JobInfo_LabelSoftVersionMinor,
                          ui.JobInfo_LabelSoftVersion,
                          ui.JobInfo_LabelOutput1a,
                          ui.JobInfo_LabelOutput1b,
                          ui.JobInfo_LabelFrameRangeStart,
                          ui.JobInfo_LabelFrameRangeEnd,
                          ui.JobInfo_LabelFrameRangeStep,
                          ui.JobInfo_LabelAvClients,
                          ui.JobInfo_LabelAvFrameTime,
                          ui.JobInfo_LabelSend,
                          ui.JobInfo_LabelAborted,
                          ui.JobInfo_LabelCrashed,
                          ui.JobInfo_Statimage,
                          ui.JobInfo_LabelSceneOS})
            l->setText(QString());
        return;
    }

    ui.JobInfo_LabelSceneOS->setText(t.SceneOS);
    ui.JobInfo_LabelID->setText(t.ID);
    ui.JobInfo_LabelCamera->setText(t.Camera);
    ui.JobInfo_LabelLayer->setText(t.Layer);
    ui.JobInfo_LabelDate->setText(t.Date);
    ui.JobInfo_LabelTime->setText(t.Time);
    ui.JobInfo_LabelDateFinished->setText(t.DateFinished);
    ui.JobInfo_LabelTimeFinished->setText(t.TimeFinished);
    ui.JobInfo_LabelCustomScene->setText(t.CustomScene);
    ui.JobInfo_LabelCustomShot->setText(t.CustomShot);
    ui.JobInfo_LabelCustomVersion->setText(t.CustomVersion);
    ui.JobInfo_LabelSoftName->setText(t.SoftName);
    ui.JobInfo_LabelSoftRenderer->setText(t.SoftRenderer);
    ui.JobInfo_LabelSoftRenderType->setText(t.SoftRenderType);
    ui.JobInfo_LabelSoftVersion->setText(t.SoftVersion);
    ui.JobInfo_LabelSoftVersionMinor->setText(t.SoftVersionMinor);
    ui.JobInfo_LabelFrameRangeStart->setText(t.FrameRangeStart);
    ui.JobInfo_LabelFrameRangeEnd->setText(t.FrameRangeEnd);
    ui.JobInfo_LabelFrameRangeStep->setText(t.FrameRangeStep);
    ui.JobInfo_LabelAvClients->setText(t.AvClients);
    ui.JobInfo_LabelSend->setText(t.Send);
    ui.JobInfo_LabelAborted->setText(t.Aborted);
    ui.JobInfo_LabelCrashed->setText(t.Crashed);
    ui.JobInfo_LabelAvFrameTime->setText(t.AvFrameTime);

    if (!t.KeepOutput1a) ui.JobInfo_LabelOutput1a->setText(t.Output1a);
    ui.JobInfo_LabelOutput1b->setText(t.Output1b);

    const fmJobInfoImage img =
        fmJobInfoImageFor(jobs.Selection.get(), count, app.HistoryDbPath.toQString(), table.currentProject);
    if (img.What == fmJobInfoImage::KeepImage) return;
    ui.JobInfo_LabelFOI->clear();
    if (img.What == fmJobInfoImage::ShowText)
        ui.JobInfo_LabelFOI->setText(img.Text);
    else {
        QPixmap picture; // a file that is no image gives an empty pixmap
        picture.loadFromData(img.Bytes);
        ui.JobInfo_LabelFOI->setPixmap(picture);
    }
}

void fmHistorydb::uiUpdateLogPage(bool unused)
{
    Q_UNUSED(unused)
    fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    if (!job) {
        hideIfVisible(ui.treeLog);
        hideIfVisible(ui.JobLog_Table);
        return;
    }
    showIfHidden(ui.treeLog);
    // The rebuild drops the tree's selection; the table stays on the page of logPage.
    if (logModel) logModel->CreateLogTree(app, job);
    if (logPage == 2)
        uiUpdateLogError();
    else if (logPage == 1)
        uiUpdateLogServer();
}

void fmHistorydb::LogSelectionChanged(const QItemSelection& selected)
{
    fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    if (!job) return;
    const QModelIndexList indexes = selected.indexes();
    const fmuiTreeViewLogNode* node = nullptr;
    if (!indexes.isEmpty() && logModel && indexes.first().isValid())
        node = logModel->nodeFromIndex(indexes.first());
    if (!node || (logModel && node == logModel->RootNode)) {
        hideIfVisible(ui.JobLog_Table);
        return;
    }
    logJobID = job->JobID;
    // The last two pages have nothing to draw: the table keeps what it showed.
    if (node->Name == PageJobLog) {
        uiUpdateLogServer();
        logPage = 1;
    } else if (node->Name == PageErrors) {
        uiUpdateLogError();
        logPage = 2;
    } else if (node->Name == PageFramesSend) {
        logPage = 3;
    } else if (node->Name == PageFrameInfoReturned) {
        logPage = 4;
    }
}

void fmHistorydb::uiUpdateLogServer()
{
    const fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    QTableWidget* view = ui.JobLog_Table;
    if (!job) {
        hideIfVisible(view);
        return;
    }
    showIfHidden(view);
    const QList<fmJobLogRow> rows = fmJobLogRows(*job, app);
    view->setUpdatesEnabled(false);
    view->clear();
    view->setColumnCount(8);
    view->setHorizontalHeaderLabels(fmJobLogHeaders());
    view->setRowCount(int(rows.size()));
    for (int i = 0; i < rows.size(); ++i) {
        const fmJobLogRow& row = rows[i];
        for (int c = 0; c < int(row.Cells.size()); ++c) {
            auto* item = new QTableWidgetItem(row.Cells[size_t(c)]); // owned by the table
            if (c == 6) item->setForeground(QColor::fromRgba(row.MessageColor));
            view->setItem(i, c, item);
        }
    }
    view->setRowCount(int(rows.size()));
    view->resizeRowsToContents();
    view->setUpdatesEnabled(true);
}

void fmHistorydb::uiUpdateLogError()
{
    const fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    QTableWidget* view = ui.JobLog_Table;
    if (!job) {
        hideIfVisible(view);
        return;
    }
    showIfHidden(view);
    // One row per error, with no rows first sized by the log: so a job with more errors than log
    // entries loses none of them.
    const QList<fmJobErrorRow> rows = fmJobErrorRows(*job, app);
    view->setUpdatesEnabled(false);
    view->clear();
    view->setColumnCount(3);
    view->setHorizontalHeaderLabels(fmJobErrorHeaders());
    view->setRowCount(int(rows.size()));
    for (int i = 0; i < rows.size(); ++i)
        for (int c = 0; c < int(rows[i].Cells.size()); ++c)
            view->setItem(i, c, new QTableWidgetItem(rows[i].Cells[size_t(c)])); // owned by the table
    view->resizeRowsToContents();
    view->setUpdatesEnabled(true);
}

void fmHistorydb::on_actionExport_as_csv_Excel_triggered()
{
    if (selectedCount(jobs) <= 0) {
        fmMessageBox::Warning(this, QStringLiteral("No Job selected"), QStringLiteral("Ok"), 45);
        return;
    }
    const QString suggestion = lastExportDirectory + fmPathForDisplay(table.currentProject) +
                               QLatin1Char('_') + fmTime_t(true).asStringFileNameDate() +
                               QStringLiteral(".csv");
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Export Job(s) as csv"), suggestion, tr("Xml Files (*.csv)"));
    if (path.isEmpty()) return;
    lastExportDirectory = GetDirName(path, '/');
    if (!jobs.exportAsCSV(path, nullptr, nullptr, false, false))
        fmMessageBox::Warning(this, QStringLiteral("Unable to save jobs into \n'") + path + QLatin1Char('\''),
                              QStringLiteral("Ok"), 45);
}

void fmHistorydb::on_actionExport_ALL_Projects_as_csv_Excel_triggered()
{
    const QString suggestion = lastExportDirectory + QStringLiteral("ALL_") +
                               fmTime_t(true).asStringFileNameDate() + QStringLiteral(".csv");
    const QString path = QFileDialog::getSaveFileName(this, tr("Export all projects as csv"), suggestion,
                                                      tr("Xml Files (*.csv)"));
    if (path.isEmpty()) return;

    QSplashScreen splash(screen(), QPixmap(QStringLiteral(":/Logos/PleaseWait.bmp")));
    splash.move(geometry().center() - splash.rect().center());
    splash.show();
    QCoreApplication::processEvents();
    lastExportDirectory = GetDirName(path, '/');

    // Each load replaces the job list; the last project stays loaded afterwards.
    const int count = std::max(table.nrOfProjects, 0);
    for (int i = 0; i < count; ++i) {
        splash.showMessage(QStringLiteral("%1/%2 %3 ...")
                               .arg(i + 1)
                               .arg(count)
                               .arg(fmPathForDisplay(table.projects[size_t(i)].Name)),
                           Qt::AlignLeft | Qt::AlignBottom, Qt::black);
        QCoreApplication::processEvents();
        loadProject(i);
        if (!jobs.exportAsCSV(path, nullptr, nullptr, true, i > 0))
            fmMessageBox::Warning(
                this, QStringLiteral("Unable to save all jobs into \n'") + path + QLatin1Char('\''),
                QStringLiteral("Ok"), 45);
    }
    splash.hide();
}

void fmHistorydb::on_actionRe_submit_job_triggered()
{
    const QStringList args = fmResubmitSelectionArguments(jobs.Selection.get(), selectedCount(jobs));
    if (args.isEmpty()) return;
    // Detached: the submitter is not the window's child, so nothing has to collect it.
    fmStartProcess(fmString<250>(fmResubmitExecutable(app.BinPath.toQString())), args, fmString<250>());
}
