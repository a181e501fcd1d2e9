#include "browser/fmprojecttable.h"

#include "app/fm.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "jobs/fmjoblist.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

void _projectInfo::clear()
{
    Files.clear();
    Opened = false;
    Loaded = false;
    NrOfJobs = 0;
    Name.clear();
}

fmProjectTable::fmProjectTable(__FM& app) : App(app) {}

QString fmProjectTable::databaseProblem(const QString& path)
{
    // What failed, the file's name and the system's reason: a missing file, a refused one (a FIFO,
    // a device, a folder) and an empty one each say so.
    const QString name = QStringLiteral("\n'") + fmPathForDisplay(path) + QLatin1Char('\'');
    struct stat st;
    if (::stat(fmPathToBytes(path).constData(), &st) != 0)
        return QStringLiteral("Unable to find project database!") + name + QStringLiteral("\n") +
               QString::fromLocal8Bit(std::strerror(errno));
    QString why;
    const int fd = fmOpenRegularFile(path, fmFileCap::Database, &why);
    if (fd < 0) return QStringLiteral("Unable to open project database!") + name + QStringLiteral("\n") + why;
    ::close(fd);
    if (st.st_size == 0) return QStringLiteral("Project database is empty!") + name;
    return QString();
}

void fmProjectTable::loadProjectList()
{
    loadProjectList(App.HistoryDbPath.toQString());
}

void fmProjectTable::loadProjectList(const QString& historyFolder)
{
    nrOfProjects = 0;
    loadProjectFolder(historyFolder);
    // Subfolders whose name begins with "__" hold archived files of the same projects; only
    // this one level is entered.
    fmDirListing dirs;
    if (dirs.init(historyFolder, true, true, true, false)) {
        while (dirs.nextFile()) {
            if (dirs.isDir() && dirs.fileName().startsWith(QLatin1String("__")))
                loadProjectFolder(dirs.dirFileName() + QLatin1Char('/'));
        }
    }
    calcAvJobSize();
    // The loaded project keeps its entry by name: the scan may have moved it.
    if (!currentProject.isEmpty()) currentProjectID = indexOf(currentProject);
}

int fmProjectTable::indexOf(const QString& name) const
{
    for (int i = 0; i < nrOfProjects; ++i)
        if (projects[size_t(i)].Name.compare(name, Qt::CaseInsensitive) == 0) return i;
    return -1;
}

void fmProjectTable::loadProjectFolder(const QString& folder)
{
    fmDirListing files;
    files.addEndsWithFilter(QStringLiteral(".db61"));
    files.addEndsWithFilter(QStringLiteral(".db"));
    if (!files.init(folder, true, false, true, false)) return;
    while (files.nextFile()) {
        if (files.isDir()) continue;
        fmTime_t time;
        long long size = 0;
        files.fileTime(time);
        files.fileSize(size);
        addProjectFile(files.dirFileName(), time, size);
    }
}

void fmProjectTable::addProjectFile(const QString& path, fmTime_t time, long long size)
{
    const QString name = GetFileNameBase(path, '/');
    int index = -1;
    for (int i = 0; i < nrOfProjects; ++i)
        if (projects[size_t(i)].Name.compare(name, Qt::CaseInsensitive) == 0)
            index = i; // the last match stands
    if (index < 0) {
        index = nrOfProjects++;
        if (size_t(index) >= projects.size()) projects.emplace_back();
        _projectInfo& p = projects[size_t(index)];
        p.clear();
        p.Name = name;
        p.DateFirst = time;
        p.DateLast = time;
    }
    _projectInfo& p = projects[size_t(index)];
    _projectInfo_files f;
    f.Size = size;
    f.Time = time;
    f.FileName = path;
    p.Files.append(f);
    if (time.t > p.DateLast.t) p.DateLast = time;
    if (time.t < p.DateFirst.t) p.DateFirst = time;
}

void fmProjectTable::calcAvJobSize()
{
    // The seeds stay in the sums: a built-in average of 2486 bytes a job that real projects move.
    long long size = static_cast<long long>(SeedSize);
    long long jobs = SeedJobs;
    for (int i = 0; i < nrOfProjects; ++i) {
        const _projectInfo& p = projects[size_t(i)];
        if (!p.Loaded) continue;
        for (const _projectInfo_files& f : p.Files)
            size += f.Size;
        jobs += p.NrOfJobs;
    }
    avJobSize = jobs > 0 ? float(size) / float(jobs) : 0.0f;
    setNrOfJobs();
}

void fmProjectTable::setNrOfJobs()
{
    for (int i = 0; i < nrOfProjects; ++i) {
        _projectInfo& p = projects[size_t(i)];
        if (p.Loaded) continue;
        p.NrOfJobs = 0;
        if (!(avJobSize > 0.0f)) continue;
        long long size = 0;
        for (const _projectInfo_files& f : p.Files)
            size += f.Size;
        const float estimate = std::round(float(size) / avJobSize); // half away from zero
        if (estimate >= float(std::numeric_limits<long long>::max()))
            p.NrOfJobs = std::numeric_limits<long long>::max();
        else if (estimate > 0.0f)
            p.NrOfJobs = static_cast<long long>(estimate);
    }
}

fmProjectTable::LoadResult fmProjectTable::loadProjectJobs(int index, fmJ::_JobList& list, QString& message)
{
    message.clear();
    if (index < 0 || index >= nrOfProjects) return LoadBadIndex;
    _projectInfo& p = projects[size_t(index)];
    list.deleteAll();
    dbChanged = false;
    for (const _projectInfo_files& f : p.Files) {
        message = databaseProblem(f.FileName);
        if (!message.isEmpty()) return LoadFileMissing;
        // The jobs of the project's files add up, with no test for a job that stands in two.
        if (!list.LoadFileJobs(f.FileName)) {
            message = QStringLiteral("Unable to load project database!\n'") + fmPathForDisplay(f.FileName) +
                      QLatin1Char('\'');
            return LoadFileFailed;
        }
    }
    p.Opened = true;
    p.Loaded = true;
    p.NrOfJobs = list.JobCount;
    currentProject = p.Name;
    currentProjectID = index;
    for (int q = 0; q < list.JobCount; ++q) {
        const fmJ::_jobsHistoryDB_Runtime* job = list.GetJobByQueueID(q);
        if (!job) continue;
        const int64_t sent = job->DateSend.t;
        const int64_t finished = job->DateFinished.t;
        if (q == 0) {
            p.DateLast.t = finished;
            p.DateFirst.t = sent;
        } else {
            if (finished > p.DateLast.t) p.DateLast.t = finished;
            if (sent < p.DateFirst.t) p.DateFirst.t = sent;
        }
    }
    calcAvJobSize();
    return LoadDone;
}

QString fmProjectTable::comboText(const _projectInfo& project)
{
    const QString month = project.DateLast.asStringMonthYear();
    const QString count = QString::number(project.NrOfJobs);
    // Counts of up to four digits line up: two blanks for each digit short of four.
    const qsizetype padN = 2 * (4 - count.size());
    const QString pad = padN > 0 ? QString(padN, QLatin1Char(' ')) : QString();
    const QString name = fmPathForDisplay(project.Name);
    if (project.Loaded) return QStringLiteral(".%1   %2%3   %4").arg(month, pad, count, name);
    return QStringLiteral(".%1 %2~%3   %4").arg(month, pad, count, name);
}

int fmProjectTable::comboGrey(const _projectInfo& project, const fmTime_t& now)
{
    const int32_t age =
        static_cast<int32_t>(static_cast<uint32_t>(uint64_t(now.t) - uint64_t(project.DateLast.t)));
    return std::clamp(age / 172800, 0, 150);
}
