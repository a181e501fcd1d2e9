// The demo farm root: every file a farm's root holds, made by the family's own writers where it
// has them (globalconfig.ini, clients.ini, clientgroups.ini, users7.dat) and frame by frame for
// the project databases, so that the three old layouts can stand among the current one.
//
// Everything is drawn from one 64-bit generator seeded by the caller; no clock is read. Times are
// seconds since the epoch between kHistoryBegin and kHistoryEnd.

#include "tools/console/demoroot.h"

#include "app/fm.h"
#include "farm/fmgconfig.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"
#include "tools/console/demofarm.h"
#include "tools/console/demoframes.h"
#include "tools/console/demoimages.h"
#include "tools/console/demojobs.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

using namespace fmJ;
using namespace fmDemo;

namespace {

bool writeFile(const QString& path, const QByteArray& bytes, QString& error)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size()) {
        error = QStringLiteral("Unable to write '%1': %2").arg(path, f.errorString());
        return false;
    }
    return true;
}

bool makeDir(const QString& path, QString& error)
{
    if (QDir().mkpath(path)) return true;
    error = QStringLiteral("Unable to create directory '%1'").arg(path);
    return false;
}

void setTimes(const QString& path, int64_t secs)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadWrite)) return;
    const QDateTime t = QDateTime::fromSecsSinceEpoch(secs, Qt::UTC);
    f.setFileTime(t, QFileDevice::FileModificationTime);
    f.setFileTime(t, QFileDevice::FileAccessTime);
}

// Which layout a frame is written in: the oldest part of an archive file in the three old ones.
Layout layoutFor(int kind, bool archive, int index, int count)
{
    const double f = count > 0 ? double(index) / double(count) : 0.0;
    if (kind == 0 && archive) {
        if (f < 0.25) return Layout::Old61;
        if (f < 0.5) return Layout::Old62;
        if (f < 0.7) return Layout::Old627;
        return Layout::Current;
    }
    if (kind == 2) {
        if (index % 5 == 1) return Layout::Old627;
        if (index % 10 == 3) return Layout::Old62;
    }
    return Layout::Current;
}

bool writeProject(const Plan& p, const QString& history, JobMaker& maker, DemoRng& rng,
                  fmDemoProjectReport& rep, QString& error)
{
    rep.Name = p.Name;
    // Sending times, in order: the project's jobs spread over its months.
    std::vector<int64_t> sends(size_t(p.Jobs));
    // Sent up to three days before the project's end, so that the last jobs finish inside it.
    for (int64_t& s : sends)
        s = rng.range64(p.Begin, std::max(p.Begin, p.End - 3 * 86400));
    std::sort(sends.begin(), sends.end());

    struct Part
    {
        QString Path;
        int From, To; // jobs [From, To)
        bool Archive;
    };
    QList<Part> parts;
    if (p.Kind == 0 && p.Jobs >= 2) {
        const int split = p.Jobs * 2 / 5;
        parts.append({history + p.Name + QStringLiteral(".db61"), split, p.Jobs, false});
        parts.append(
            {history + QStringLiteral("__archive/") + p.Name + QStringLiteral(".db"), 0, split, true});
    } else {
        parts.append({history + p.Name + (p.Kind == 2 ? QStringLiteral(".db") : QStringLiteral(".db61")), 0,
                      p.Jobs, false});
    }

    const QString images = history + p.Name + QLatin1Char('/');
    auto record = std::make_unique<_jobsHistoryDB>();
    for (const Part& part : parts) {
        if (!makeDir(QFileInfo(part.Path).absolutePath(), error)) return false;
        FrameWriter w;
        if (!w.open(part.Path, error)) return false;
        int64_t newest = 0;
        for (int i = part.From; i < part.To; ++i) {
            const Layout layout = layoutFor(p.Kind, part.Archive, i - part.From, part.To - part.From);
            maker.make(p, sends[size_t(i)], layout != Layout::Current, *record);
            if (!w.write(*record, layout, error)) return false;
            const int64_t finished = record->DateFinished.t; // a copy: the packed field is unaligned
            if (finished > newest) newest = finished;
            ++rep.Jobs;
            if (layout != Layout::Current) ++rep.OldFrames;
            // The farm keeps a picture of the first frame of a part of the finished jobs.
            if (!maker.lastDeleted() && rng.chance(0.3)) {
                if (!makeDir(images, error)) return false;
                const QString path = images + ID2strFull(record->JobID) + QStringLiteral(".jpg");
                if (!writeFile(path, fmDemo::jpeg(rep.Images), error)) return false;
                setTimes(path, record->DateFinished.t);
                ++rep.Images;
            }
        }
        w.close();
        // The file's time is that of its last job, as on a farm that appends as jobs finish.
        setTimes(part.Path, newest > 0 ? newest : p.End);
        rep.Files.append(part.Path);
    }
    return true;
}

// Folders, version file, splash image; then the family's writers are pointed at the new root.
QString startRoot(__FM& fm, const QString& root)
{
    QString error;
    const QString sub = root + QStringLiteral("sub/");
    for (const char* folder : {"sub/cfg_global", "sub/cfg_user", "sub/log", "sub/stats",
                               "sub/client_execute_scripts", "sub/history_db", "bin/lx"})
        if (!makeDir(root + QLatin1String(folder), error)) return error;

    if (!writeFile(sub + QStringLiteral("version.info"), QByteArrayLiteral(" 7.0.10\n2024-11-04\n"), error))
        return error;
    if (!writeFile(sub + QStringLiteral("SplashScreen.png"), fmDemoSplashPng(600, 340), error)) return error;

    // The writers of the family put their files below FM's paths: point them at the new root.
    fm.RootPath = root;
    fm.ExeRootPath = root;
    fm.pathsCalcOtherPaths();
    // The family reads "_debug" in a root as its "_release" twin: such a folder can't be a root.
    if (fm.RootPath.toQString() != root)
        return QStringLiteral("'%1' can't be a farm root (too long, or \"_debug\" in its path)").arg(root);
    return QString();
}

// globalconfig.ini, clients.ini, clientgroups.ini, users7.dat.
QString writeFarm(__FM& fm, DemoRng& rng, Farm& farm, fmDemoRootReport& rep)
{
    if (!fm.cfg) return QStringLiteral("No configuration table");
    fm.cfg->initialize();
    writeConfig(fm);
    if (!fm.SaveFileCfg()) return QStringLiteral("Unable to write globalconfig.ini");
    farm = writeClients(fm, rng, rep.Clients);
    if (!fm.SaveFileClientsAll(QStringLiteral("demo root")))
        return QStringLiteral("Unable to write clients.ini");
    if (!writeClientGroups(fm, farm)) return QStringLiteral("Unable to write clientgroups.ini");
    if (!writeUsers(fm)) return QStringLiteral("Unable to write users7.dat");
    rep.Users = kUserCount;
    rep.Groups = 2;
    return QString();
}

// Project i of `projects`: spread over the two years, a few months long, with a team and its
// programs.
Plan planProject(int i, int projects, int jobs, DemoRng& rng)
{
    static const double shares[] = {0.6, 0.45, 0.35, 0.3, 0.25, 0.2, 0.15};
    Plan p;
    p.Name = QString::fromLatin1(kProjectNames[i % kProjectNameCount]);
    if (i >= kProjectNameCount) p.Name += QStringLiteral("_%1").arg(i / kProjectNameCount + 1);
    p.Company = p.Name.section(QLatin1Char('_'), 0, 0);
    const int64_t span = kHistoryEnd - kHistoryBegin;
    const int64_t length = int64_t(rng.range(60, 240)) * 86400;
    p.Begin =
        kHistoryBegin + (span - length) * (projects > 1 ? (projects - 1 - i) : 0) / std::max(1, projects - 1);
    p.Begin = std::clamp<int64_t>(p.Begin + rng.range(-20, 20) * 86400, kHistoryBegin, kHistoryEnd - length);
    p.End = p.Begin + length;
    p.Jobs = i == 0
                 ? jobs
                 : std::clamp(int(std::lround(jobs * shares[std::min(i - 1, 6)])), 1, fmDemoOtherProjectMax);
    // The oldest project is the one split over "__archive" with frames of the old layouts.
    p.Kind = (projects - 1 - i) % 3;
    const int appCount = rng.range(1, 3);
    while (p.Apps.size() < appCount) {
        const int a = rng.range(0, kAppCount - 1);
        if (!p.Apps.contains(a)) p.Apps.append(a);
    }
    const int teamSize = rng.range(3, 6);
    while (p.Team.size() < teamSize) {
        const int u = rng.range(0, kUserCount - 1);
        if (!p.Team.contains(u)) p.Team.append(u);
    }
    p.Res = kResolutions[rng.range(0, 4)];
    return p;
}

// bin/lx: the programs, and a submitter that only records how it was called.
QString writePrograms(const QString& executableDir, const QString& bin)
{
    QString error;
    if (!executableDir.isEmpty()) {
        for (const char* exe : {"fmHistorydb", "fmHistorydbconsole"}) {
            const QString from = QDir(executableDir).filePath(QLatin1String(exe));
            if (!QFileInfo(from).isFile() ||
                QFileInfo(from).absoluteFilePath() == QFileInfo(bin + QLatin1String(exe)).absoluteFilePath())
                continue;
            QFile::remove(bin + QLatin1String(exe));
            if (!QFile::copy(from, bin + QLatin1String(exe)))
                return QStringLiteral("Unable to copy '%1' into '%2'").arg(from, bin);
        }
    }
    const QByteArray submitter =
        "#!/bin/sh\n"
        "# Demo submitter: records each call instead of submitting. One argument a line, each call\n"
        "# headed by a line \"---- <time>\", in sub/log/submitter_calls.txt of this root.\n"
        "root=$(cd \"$(dirname \"$0\")/../..\" && pwd)\n"
        "mkdir -p \"$root/sub/log\"\n"
        "{\n"
        "  echo \"---- $(date '+%Y-%m-%d %H:%M:%S')\"\n"
        "  for arg in \"$@\"; do printf '%s\\n' \"$arg\"; done\n"
        "} >> \"$root/sub/log/submitter_calls.txt\"\n";
    if (!writeFile(bin + QStringLiteral("fmSubmitter"), submitter, error)) return error;
    QFile::setPermissions(bin + QStringLiteral("fmSubmitter"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
                              QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther |
                              QFileDevice::ExeOther);
    return QString();
}

long long folderBytes(const QString& root)
{
    long long bytes = 0;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        bytes += it.fileInfo().size();
    }
    return bytes;
}

} // namespace

QString fmCreateDemoRoot(__FM& fm, const fmDemoRootOptions& options, fmDemoRootReport* report)
{
    fmDemoRootReport localReport;
    fmDemoRootReport& rep = report ? *report : localReport;
    rep = fmDemoRootReport();
    if (options.Dir.isEmpty()) return QStringLiteral("No folder given for the demo root");
    const int projects = std::clamp(options.Projects, 1, 40);
    const int jobs = std::clamp(options.Jobs > 0 ? options.Jobs : fmDemoDefaultJobs, 1, _JobList::MaxJobs);

    QString root = QDir(options.Dir).absolutePath();
    if (!root.endsWith(QLatin1Char('/'))) root += QLatin1Char('/');
    if (root.contains(QLatin1String("_debug"), Qt::CaseInsensitive) || root.size() > 200)
        return QStringLiteral("'%1' can't be a farm root (too long, or \"_debug\" in its path)").arg(root);
    QString error = startRoot(fm, root);
    if (!error.isEmpty()) return error;

    DemoRng rng(options.Seed);
    Farm farm;
    if (!(error = writeFarm(fm, rng, farm, rep)).isEmpty()) return error;

    const QString history = fm.HistoryDbPath.toQString();
    JobMaker maker(farm, rng);
    for (int i = 0; i < projects; ++i) {
        const Plan p = planProject(i, projects, jobs, rng);
        fmDemoProjectReport pr;
        if (!writeProject(p, history, maker, rng, pr, error)) return error;
        rep.Projects.append(pr);
    }
    if (!(error = writePrograms(options.ExecutableDir, root + QStringLiteral("bin/lx/"))).isEmpty())
        return error;
    rep.Bytes = folderBytes(root);
    return QString();
}
