#pragma once
// A complete demo farm root, made from nothing: version file, splash image, global configuration,
// clients, client groups, users, project databases (current and the three old frame layouts,
// one project split over a "__" subfolder), FOI images, and bin/lx/ with the executables and a
// recording fmSubmitter script. The same seed gives the same files (times included).

#include <QString>
#include <QStringList>

#include <cstdint>

class __FM;

struct fmDemoRootOptions
{
    QString Dir;      // the root to create; made if missing
    int Projects = 6; // 1..40
    int Jobs = 0;     // jobs of the first (largest) project; 0: the default mix
    uint64_t Seed = 1;
    QString ExecutableDir; // folder whose fmHistorydb and fmHistorydbconsole are copied; empty: none
};

struct fmDemoProjectReport
{
    QString Name;
    QStringList Files; // database files of the project, in the order a scan finds them
    int Jobs = 0;      // frames written (all of them load)
    int OldFrames = 0; // of those, frames in one of the three old layouts
    int Images = 0;    // FOI images written
};

struct fmDemoRootReport
{
    QList<fmDemoProjectReport> Projects;
    int Clients = 0;
    int Users = 0;
    int Groups = 0;
    long long Bytes = 0; // size of all files written
    int totalJobs() const
    {
        int n = 0;
        for (const fmDemoProjectReport& p : Projects)
            n += p.Jobs;
        return n;
    }
};

// Job count of the first project when none is given.
constexpr int fmDemoDefaultJobs = 240;
// Other projects get a share of the first project's count, at most this many.
constexpr int fmDemoOtherProjectMax = 300;

// Creates the root. Uses `fm` for the configuration, client and user writers: its paths are
// pointed at the new root and its tables replaced. Returns an empty text on success, otherwise
// the reason; files written up to the failure stay.
QString fmCreateDemoRoot(__FM& fm, const fmDemoRootOptions& options, fmDemoRootReport* report = nullptr);

// A valid PNG (8-bit RGB, one IDAT) of a soft gradient, width x height pixels.
QByteArray fmDemoSplashPng(int width, int height);
