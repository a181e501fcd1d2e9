#pragma once
// Jobs of the demo root: finished (now and then deleted) render jobs of a project, with the log,
// errors, frame segments and client statistics that the farm's server writes.

#include "jobs/fmjob.h"
#include "jobs/fmjobhistory.h"
#include "tools/console/demofarm.h"

#include <QList>
#include <QSet>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

namespace fmDemo {

struct Plan
{
    QString Name;    // project and file name
    QString Company; // CompanyProjectName of its jobs
    int64_t Begin = 0;
    int64_t End = 0;
    int Jobs = 0;
    int Kind = 0;    // 0 split over "__archive" with all old layouts, 1 ".db61", 2 ".db" with 6.2x frames
    QList<int> Apps; // indexes of kApps
    QList<int> Team; // indexes of kUsers
    Resolution Res{1920, 1080};
};

// One line of a job's log before it is written: the job log keeps entries in time order.
struct LogEvent
{
    int64_t Time;
    int16_t Who;
    int8_t Message;
    long long P1, P2, P3;
    int Rendering;
    int FramesLeft;
};

class JobMaker
{
public:
    JobMaker(const Farm& farm, DemoRng& rng);
    ~JobMaker();

    // Fills `out` with a finished (or deleted) job of the project sent at `send`.
    void make(const Plan& p, int64_t send, bool olderVersion, fmJ::_jobsHistoryDB& out);
    bool lastDeleted() const { return LastDeleted; }

private:
    struct Draft;
    // The steps of make(), in the order they draw from the generator.
    void describe(const Plan& p, int64_t send, bool olderVersion, Draft& d);
    void schedule(const Plan& p, int64_t send, Draft& d);
    void render(int64_t send, Draft& d);
    void logEvents(const Plan& p, Draft& d);
    void addErrors(Draft& d);
    void setTotals(Draft& d);

    void log(std::vector<LogEvent>& ev, int64_t t, int who, int msg, long long p1, long long p2, long long p3,
             int rendering, int left)
    {
        ev.push_back({t, int16_t(who), int8_t(msg), p1, p2, p3, rendering, left});
    }
    int userIndex(const Plan& p) { return p.Team[R.range(0, int(p.Team.size()) - 1)]; }
    void extraEvent(std::vector<LogEvent>& ev, int8_t msg, const Plan& p, int64_t t, int frames, int client,
                    int left);

    const Farm& F;
    DemoRng& R;
    std::unique_ptr<fmJ::_JobSend> Job;
    QSet<unsigned long long> Ids;
    unsigned long long PreviousID = 0;
    int ExtraCursor = 0;
    int ErrorCursor = 0;
    bool LastDeleted = false;
};

} // namespace fmDemo
