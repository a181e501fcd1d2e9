#include "historydb/fmhistorydb.h"

#include "app/fm.h"

#include <QWidget>

fmHistorydb::fmHistorydb(__FM& fm, fmJ::_JobList* jobList, QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags), FM_(fm), JobList(jobList)
{
    setWindowTitle(fm.AppTitle(false));
    setCentralWidget(new QWidget(this));
    resize(1200, 800);
}

fmHistorydb::~fmHistorydb() = default;
