#include "historydb/fmhistorydb.h"

#include "app/fm.h"

// Placeholder until the window lands: the form only.
fmHistorydb::fmHistorydb(__FM& fm, fmJ::_JobList& jobList, QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags), app(fm), jobs(jobList), table(fm)
{
    ui.setupUi(this);
}

fmHistorydb::~fmHistorydb() = default;
