#pragma once
// The history browser's main window.

#include <QMainWindow>

class __FM;
namespace fmJ {
class _JobList;
}

class fmHistorydb : public QMainWindow
{
    Q_OBJECT
public:
    // jobList may be null until the job list exists; the window holds references, owns neither.
    fmHistorydb(__FM& fm, fmJ::_JobList* jobList, QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~fmHistorydb() override;

    __FM& FM_;
    fmJ::_JobList* JobList; // not owned
};
