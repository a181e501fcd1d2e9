#include "tools/console/demojobs.h"

#include "foundation/fmjobid.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace fmJ;

namespace {

// Message numbers with a text, beside those that every rendered job logs (43, 19, 21, 14, 23):
// one of them goes into each job in turn, so that the demo shows every kind of log line.
const int8_t kExtraMessages[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 13, 15, 17, 18, 20, 22, 24,
                                 25, 26, 27, 28, 29, 30, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 44, 45,
                                 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 60, 61, 62, 63};
constexpr int kExtraCount = int(sizeof(kExtraMessages));
// Error codes with a text.
const int8_t kErrorCodes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 22, 23};
constexpr int kErrorCount = int(sizeof(kErrorCodes));

} // namespace

namespace fmDemo {

// What the steps of one job hand on to each other.
struct JobMaker::Draft
{
    const DemoApp* App = nullptr;
    int User = 0;
    QString Sq, Sh, Ver; // sequence, shot and version names
    bool Still = false;  // a still image project: few frames, double resolution
    unsigned long long Id = 0;
    int Frames = 0;
    QList<int> Used; // clients that rendered it
    std::vector<LogEvent> Ev;
    int64_t Start = 0, Finished = 0;
    int SegSize = 0, Crashed = 0;
    double RenderSeconds = 0.0, GhzSeconds = 0.0, PsSeconds = 0.0;
    bool Deleted = false;
};

JobMaker::JobMaker(const Farm& farm, DemoRng& rng) : F(farm), R(rng), Job(std::make_unique<_JobSend>()) {}

JobMaker::~JobMaker() = default;

void JobMaker::extraEvent(std::vector<LogEvent>& ev, int8_t msg, const Plan& p, int64_t t, int frames,
                          int client, int left)
{
    const int a = R.range(0, std::max(0, frames - 1));
    const int b = std::min(frames - 1, a + R.range(0, 9));
    const int user = userIndex(p);
    switch (msg) {
    // Given by a user: the user's number travels in the second parameter.
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case 10:
    case 11:
    case 22:
    case 25:
    case 29:
    case 30:
    case 33:
    case 42:
    case 62:
        log(ev, t, -2, msg, 0, user, 0, 0, left);
        break;
    case 13:
        log(ev, t, -2, msg, R.range(1, 8), user, R.range(0, 2), 0, left);
        break;
    case 1:
        log(ev, t, -1, msg, R.range(1, 6), R.range(6, 12), 1, 0, left);
        break;
    case 40:
        log(ev, t, -1, msg, R.range(2, 10), 0, 1, 0, left);
        break;
    case 20:
        log(ev, t, -1, msg, R.range(2, 5), R.range(10, 25), 0, 0, left);
        break;
    case 41:
        log(ev, t, client, msg, R.range(12, 58), 0, 0, 0, left);
        break;
    case 18:
        log(ev, t, -1, msg, R.chance(0.3) ? 9999 : R.range(1, 12), 0, 0, 0, left);
        break;
    case 57:
    case 58:
        log(ev, t, -1, msg, a, R.range(1, 4), R.range(1, 4), 0, left);
        break;
    case 63: {
        const unsigned id = PreviousID ? ID2ShortID(PreviousID) : 0x00010203u;
        log(ev, t, -1, msg, id & 0xFFFF, id >> 16, 0, 0, left);
        break;
    }
    // A frame range of one client.
    case 15:
    case 34:
    case 35:
    case 36:
    case 38:
    case 39:
    case 44:
    case 45:
    case 46:
    case 47:
    case 48:
    case 49:
    case 50:
    case 51:
    case 61:
        log(ev, t, client, msg, a, b, R.range(1, 3), 1, left);
        break;
    case 37:
        log(ev, t, client, msg, 0, 0, 0, 0, left);
        break;
    default:
        log(ev, t, -1, msg, 0, 0, 0, 0, left);
        break;
    }
}

void JobMaker::make(const Plan& p, int64_t send, bool olderVersion, _jobsHistoryDB& out)
{
    Job->fmClearAll();
    Draft d;
    describe(p, send, olderVersion, d);
    schedule(p, send, d);
    render(send, d);
    logEvents(p, d);
    addErrors(d);
    setTotals(d);
    out = *Job;
    PreviousID = d.Id;
    LastDeleted = d.Deleted;
}

// Application, user, shot, identifier, scene and output names.
void JobMaker::describe(const Plan& p, int64_t send, bool olderVersion, Draft& dr)
{
    _JobSend& j = *Job;
    const DemoApp& app = *(dr.App = &kApps[p.Apps[R.range(0, int(p.Apps.size()) - 1)]]);
    dr.User = userIndex(p);
    const int seq = R.range(1, 6) * 10;
    const int shot = R.range(1, 24) * 10;
    const int version = R.range(1, 28);
    const char* task = std::strcmp(app.Software, "Nuke") == 0 ? "comp" : R.pick(kTasks);
    const char* layer = std::strcmp(app.Software, "Nuke") == 0 ? "comp" : R.pick(kLayers);
    const QString& sq = dr.Sq = QStringLiteral("sq%1").arg(seq, 3, 10, QLatin1Char('0'));
    const QString& sh = dr.Sh = QStringLiteral("sh%1").arg(shot, 4, 10, QLatin1Char('0'));
    const QString& ver = dr.Ver = QStringLiteral("v%1").arg(version, 3, 10, QLatin1Char('0'));
    const QString projectRoot = QStringLiteral("/mnt/projects/") + p.Name + QLatin1Char('/');

    // Identifier: the second of sending, the machine's two bytes, a counter for the same second.
    IDDecomp d;
    d.Stamp = uint32_t(send);
    d.PartA = uint8_t(R.range(1, 254));
    d.PartB = uint8_t(R.range(1, 254));
    unsigned long long id = d.toID();
    while (Ids.contains(id)) {
        ++d.Counter;
        id = d.toID();
    }
    Ids.insert(id);
    j.JobID = dr.Id = id;

    j.PathOS = 2;
    j.SceneOS = uint8_t(app.SceneOS);
    j.Software = app.Software;
    j.Renderer = app.Renderer;
    j.SoftwareAlias = app.Alias;
    j.RenderType = app.Gpu ? "GPU" : "CPU";
    // Older frames come from the program versions of their time.
    j.Version = int16_t(olderVersion ? app.Version - (app.Version > 100 ? 2 : 1) : app.Version);
    j.VersionMinor = uint32_t(app.Minor);
    j.SceneName = projectRoot + QLatin1String(app.Dir) + QStringLiteral("/scenes/") + sq + QLatin1Char('/') +
                  sh + QLatin1Char('/') + sh + QLatin1Char('_') + QLatin1String(task) + QLatin1Char('_') +
                  ver + QLatin1String(app.SceneExt);
    j.SceneDatabaseDir = projectRoot + QLatin1String(app.Dir) + QLatin1Char('/');
    j.Camera = R.chance(0.8) ? QStringLiteral("cam_") + sh : QStringLiteral("renderCam");
    j.Layer = layer;
    if (R.chance(0.2)) j.Channel = "rgba";
    const QString imageDir = QStringLiteral("/mnt/renders/") + p.Name + QLatin1Char('/') + sq +
                             QLatin1Char('/') + sh + QLatin1Char('/') + ver + QLatin1Char('/') +
                             QLatin1String(layer) + QLatin1Char('/');
    j.ImageDir = imageDir;
    j.ImageFileName =
        sh + QLatin1Char('_') + QLatin1String(layer) + QLatin1Char('_') + ver + QLatin1Char('.');
    j.ImageFileNameVariable = QStringLiteral("<shot>_<layer>_<version>.");
    j.ImageExtension = app.ImageExt;
    j.ImageFramePadding = 4;
    const bool still = dr.Still =
        p.Name.startsWith(QLatin1String("Glasshouse")) || p.Name.startsWith(QLatin1String("Orchard"));
    j.ImageWidth = int16_t(still ? p.Res.W * 2 : p.Res.W);
    j.ImageHeight = int16_t(still ? p.Res.H * 2 : p.Res.H);
    j.ImageChannelCount = 1;
    // Lighting renders write their AOVs beside the beauty: outputs of the same pass.
    static const char* const aovs[] = {"diffuse",       "specular", "emission", "sss",
                                       "crypto_object", "depth",    "normals",  "motion"};
    if (std::strcmp(task, "lighting") == 0 || std::strcmp(task, "lookdev") == 0) {
        const int n = R.range(2, 8);
        for (int k = 0; k < n; ++k) {
            j.ImageChannels[k].FileName = imageDir.left(imageDir.size() - 1) + QLatin1Char('_') +
                                          QLatin1String(aovs[k]) + QLatin1Char('/') + sh + QLatin1Char('_') +
                                          QLatin1String(aovs[k]) + QLatin1Char('_') + ver + QLatin1Char('.');
            j.ImageChannels[k].Extension = app.ImageExt;
        }
    }
}

// Frames of the sequence, the job's own settings, and the clients that rendered it.
void JobMaker::schedule(const Plan& p, int64_t send, Draft& d)
{
    _JobSend& j = *Job;
    const DemoApp& app = *d.App;
    const bool still = d.Still;
    const QString &sq = d.Sq, &sh = d.Sh, &ver = d.Ver;
    const int user = d.User;
    int frames = still ? R.range(1, 6) : R.range(24, 240);
    if (std::strcmp(app.Software, "Nuke") == 0) frames = R.range(48, 300);
    const double step = (!still && R.chance(0.12)) ? 5.0 : 1.0; // a quick check of every 5th frame
    j.SeqStart = still ? 1.0 : 1001.0;
    j.SeqEnd = j.SeqStart + (frames - 1) * step;
    j.SeqStep = step;
    j.SeqFileOffset = 0.0;

    j.UserName = kUsers[user].Name;
    j.CustomSeQName = sq;
    j.CustomSHotName = sh;
    j.CustomVersionName = ver;
    j.CompanyProjectName = p.Company;
    j.DateSend.t = send;
    j.Color_ID = uint8_t(R.range(0, 7));
    j.Priority = int8_t(R.range(3, 9) * 10);
    j.PreviewEnabled = R.chance(0.5) ? 1 : 0;
    j.SeqDivMIN = uint16_t(R.range(1, 5));
    j.SeqDivMAX = uint16_t(j.SeqDivMIN + R.range(5, 20));
    j.MaxClientsAtATime = uint16_t(R.chance(0.3) ? R.range(4, 12) : 0);
    j.fmClearSend(); // frames of the sequence
    d.Frames = frames = j.FramesTotal > 0 ? j.FramesTotal : 1;

    // The clients that rendered it: GPU renderers run where a graphics card is.
    QList<int> pool;
    for (int c = 0; c < F.Clients.size(); ++c)
        if (!app.Gpu || F.Clients[c].Gpu) pool.append(c);
    const int wanted = std::min<int>(int(pool.size()), std::max(1, std::min(frames, R.range(2, 16))));
    QList<int>& used = d.Used;
    while (used.size() < wanted) {
        const int c = pool[R.range(0, int(pool.size()) - 1)];
        if (!used.contains(c)) used.append(c);
    }
}

// The frame segments on the clients, as the server booked them, and the totals they add up to.
void JobMaker::render(int64_t send, Draft& d)
{
    _JobSend& j = *Job;
    const DemoApp& app = *d.App;
    const int frames = d.Frames;
    const QList<int>& used = d.Used;
    std::vector<LogEvent>& ev = d.Ev;
    double &renderSeconds = d.RenderSeconds, &ghzSeconds = d.GhzSeconds, &psSeconds = d.PsSeconds;
    int& crashed = d.Crashed;
    log(ev, send + R.range(3, 40), -1, 43, 0, 0, 0, 0, frames);
    const int64_t start = d.Start = send + R.range(30, 5 * 3600);
    const double complexity = 0.5 + R.unit() * 1.5;
    const double pixels = double(j.ImageWidth) * double(j.ImageHeight) / (1920.0 * 1080.0);

    // Segments of the sequence, handed to the clients in turn; each client works through its own.
    const int segCount = std::min(frames, 80);
    const int segSize = d.SegSize = (frames + segCount - 1) / segCount;
    std::vector<int64_t> clock(size_t(used.size()), start);
    int left = frames;
    int64_t lastAssign = start;
    for (int s = 0, first = 0; first < frames; ++s, first += segSize) {
        const int last = std::min(frames - 1, first + segSize - 1);
        const int n = last - first + 1;
        const size_t k = size_t(s % used.size());
        const DemoClient& c = F.Clients[used[int(k)]];
        const double speed = double(c.Cores) * double(c.MHz) / (64.0 * 3100.0);
        const double perFrame = std::max(4.0, app.FrameSeconds * pixels * complexity / std::max(0.2, speed));
        const int64_t t0 = clock[k];
        const int64_t t1 = t0 + int64_t(std::llround(perFrame * n * (0.85 + 0.3 * R.unit())));
        clock[k] = t1 + R.range(5, 60);
        lastAssign = std::max(lastAssign, t0);
        const int rendering = int(used.size());
        log(ev, t0, used[int(k)], 21, first, last, 1, rendering, left);
        left -= n;
        if (R.chance(0.04)) {
            // The client crashed on the segment; another pass rendered it.
            log(ev, t1, used[int(k)], 36, first, last, 1, rendering, left + n);
            ++crashed;
        }
        log(ev, t1, used[int(k)], 14, first, last, 1, rendering, left);
        const double secs = double(t1 - t0);
        renderSeconds += secs;
        ghzSeconds += secs * double(c.Cores) * double(c.MHz) / 1000.0;
        psSeconds += secs * double(c.Cores) * double(c.MHz) / 1000.0 * 0.9;
        // The segment as the server booked it: client, frames, first frame, start and duration.
        if (s < JobFrameLog_Max) {
            _JobFrameLog& f = j.FrameLog[s];
            f.Word1 = uint16_t(used[int(k)]);
            f.Word2 = uint16_t(n);
            f.Value1 = uint32_t(first);
            f.Value2 = uint32_t(t0 - send);
            f.Value3 = uint32_t(t1 - t0);
        }
        j.ClientStats[used[int(k)]].FramesDone += n;
        j.ClientStats[used[int(k)]].State[0] = 4;
    }
    d.Finished = *std::max_element(clock.begin(), clock.end());
    log(ev, lastAssign, -1, 19, 0, 0, 0, int(used.size()), 0);
}

// Messages of other kinds, the end (finished or deleted), and the log in time order.
void JobMaker::logEvents(const Plan& p, Draft& d)
{
    _JobSend& j = *Job;
    const int frames = d.Frames;
    const QList<int>& used = d.Used;
    std::vector<LogEvent>& ev = d.Ev;
    const int64_t start = d.Start;
    int64_t& finished = d.Finished;
    const int user = d.User;
    // One message of every kind in turn, and now and then a second one.
    const int client = used[R.range(0, int(used.size()) - 1)];
    const int64_t mid = start + (finished - start) / 2;
    extraEvent(ev, kExtraMessages[ExtraCursor++ % kExtraCount], p, mid, frames, client, frames / 2);
    if (R.chance(0.3))
        extraEvent(ev, kExtraMessages[R.range(0, kExtraCount - 1)], p, start + (finished - start) / 3, frames,
                   client, frames / 3);

    // A few jobs were deleted by their user before they were done.
    const bool deleted = d.Deleted = R.chance(0.06);
    if (deleted) {
        finished = start + (finished - start) * 2 / 3;
        log(ev, finished, -2, 7, 0, user, 0, 0, frames / 3);
    } else {
        log(ev, finished + R.range(1, 14) * 86400, -1, 23, 0, 0, 0, 0, 0);
    }
    std::stable_sort(ev.begin(), ev.end(),
                     [](const LogEvent& a, const LogEvent& b) { return a.Time < b.Time; });
    for (const LogEvent& e : ev) {
        j.ClientsRendering = int16_t(e.Rendering);
        j.FramesLeft = e.FramesLeft;
        // The job's state at that moment: first check, render, finished.
        j.Status = uint8_t(e.Time < start ? 0 : (e.Time <= finished ? 120 : 200));
        j.addLogFrames(e.Who, e.Message, e.P1, e.P2, e.P3);
        const int n = j.logCountClamped();
        if (n > 0) j.Log[n - 1].Time.t = int32_t(e.Time);
    }
}

// Errors: every code in turn on a quarter of the jobs (each code once early on), by one of the
// job's clients.
void JobMaker::addErrors(Draft& d)
{
    _JobSend& j = *Job;
    const QList<int>& used = d.Used;
    const int64_t start = d.Start, finished = d.Finished;
    if (ErrorCursor < kErrorCount || R.chance(0.25)) {
        const int count = R.range(1, 3);
        for (int e = 0; e < count; ++e) {
            const int8_t code = kErrorCodes[ErrorCursor++ % kErrorCount];
            const int who = used[R.range(0, int(used.size()) - 1)];
            if (!j.addError(int16_t(who), code)) continue;
            const int n = j.errorCountClamped();
            if (n > 0) j.Errors[n - 1].Time.t = start + (finished - start) * (e + 1) / (count + 1);
            if (code == 7 || code == 17) j.ErrorCountHard = int8_t(j.ErrorCountHard + 1);
        }
    }
}

void JobMaker::setTotals(Draft& d)
{
    _JobSend& j = *Job;
    const int frames = d.Frames, crashed = d.Crashed, segSize = d.SegSize;
    const int64_t start = d.Start, finished = d.Finished;
    const bool deleted = d.Deleted;
    j.Status = deleted ? 120 : 200;
    j.FramesDone = uint32_t(deleted ? frames * 2 / 3 : frames);
    j.FramesSend = uint16_t(std::min(65535, frames + crashed * segSize));
    j.FramesCrashed = uint16_t(crashed * segSize);
    j.FramesAborted = uint16_t(deleted ? frames / 3 : 0);
    j.DateStart.t = start;
    j.DateFirstFrame.t = start + R.range(20, 90);
    j.DateLastSegment.t = finished;
    j.DateFinished.t = finished;
    j.InfoChanged.t = finished;
    j.ExecutionTime = uint64_t(finished - start);
    j.AverageFrameTime = uint32_t(std::llround(d.RenderSeconds / frames));
    j.AverageClients = float(double(d.Used.size()) * (0.75 + 0.25 * R.unit()));
    j.TotalGhzHours = float(d.GhzSeconds / 3600.0);
    j.TotalPS = uint64_t(d.PsSeconds);
}

} // namespace fmDemo
