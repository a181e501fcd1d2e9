#include "historydb/fmprojectload.h"

#include "app/fm.h"

#include <algorithm>

namespace {

qint64 filesSize(const fmProjectTable& table, int index)
{
    if (index < 0 || index >= table.nrOfProjects || size_t(index) >= table.projects.size()) return 0;
    qint64 sum = 0;
    for (const _projectInfo_files& f : table.projects[size_t(index)].Files)
        sum += std::max<qint64>(f.Size, 0);
    return sum;
}

QString nameOf(const fmProjectTable& table, int index)
{
    if (index < 0 || index >= table.nrOfProjects || size_t(index) >= table.projects.size()) return QString();
    return table.projects[size_t(index)].Name;
}

} // namespace

fmProjectLoad::fmProjectLoad(__FM& app, const fmProjectTable& table, int index)
    : Index(index), Name(nameOf(table, index)), FileBytes(filesSize(table, index)), Table(table),
      List(std::make_unique<fmJ::_JobList>(app, nullptr))
{
    List->setLoadObserver(this);
}

fmProjectLoad::~fmProjectLoad()
{
    cancel();
    wait();
}

void fmProjectLoad::run()
{
    Result = Table.loadProjectJobs(Index, *List, Message);
    // A cancelled load's records are freed on this thread, not on the window's.
    if (cancelled()) List.reset();
}

bool fmProjectLoad::frameRead(int frames, qint64 bytes, qint64)
{
    // Each file counts its frames from 1.
    if (frames <= FileFrames) {
        FramesOfFiles += FileFrames;
        BytesOfFiles += FileBytesRead;
    }
    FileFrames = frames;
    FileBytesRead = bytes;
    Frames.store(FramesOfFiles + frames, std::memory_order_relaxed);
    Bytes.store(BytesOfFiles + bytes, std::memory_order_relaxed);
    return !cancelled();
}
