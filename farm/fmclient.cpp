#include "farm/fmclient.h"
#include "foundation/fmjobid.h"

#include "farm/fmclientlog.h"
#include "foundation/fmsdk.h"

#include <cmath>
#include <cstring>

namespace fmC {

FarmLogTap farmLogTap = nullptr;

void farmLog(__FMSDK& fm, int level, int flags, const QString& text, const QString& where)
{
    if (farmLogTap) farmLogTap(level, text, where);
    // Information lines of the client and user files go to the log only: a box at every load
    // of clients.ini would stop each start-up of a program with a window.
    if (level == 3 || level == 4) flags |= 8;
    fm.WriteLog(level, flags, text, where);
}

int _ClientStatus2SortID(const signed char& status)
{
    static const signed char table[] = {0, 0, 0, 0, 2, 1, 3, 3, 3, 3, 1, 3, 3, 3, 1};
    if (status < 0 || status >= signed(sizeof(table))) return 3;
    return table[int(status)];
}

// ---- threads and status

void _ClientStatusThread::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

void _ClientStatusThread::setJobID(__FMSDK& app, const int& thread, const unsigned long long& id,
                                   const QString& reason, bool logAlways, const bool& log)
{
    if (JobID == id) return;
    JobID = id;
    if (log || logAlways)
        farmLog(app, 3, 0,
                QStringLiteral("Set new Job ID ") + fmJ::ID2str(id) + QStringLiteral("  ") +
                    QString::number(id) + QStringLiteral(" for thread ") + QString::number(thread) +
                    QStringLiteral(" ") + reason,
                QStringLiteral("Client,setJobID"));
}

_ClientStatusBasic::_ClientStatusBasic() : ThreadCount(1), AvailableMemory(0), Temperature(0), UserTime(-1) {}

void _ClientStatusBasic::setVersion(__FMSDK&)
{
    Version.clear();
}

void _ClientStatus::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    ThreadCount = 1;
    UserTime = -1;
}

void _ClientStatus::initStatusSingle()
{
    for (auto& t : Thread)
        t.clear();
    ThreadCount = 1;
    UserTime = -1;
}

void _ClientHardware::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

QString _ClientHardware::OSasString() const
{
    QString r;
    const int major = OSVersion / 10;
    const int minor = OSVersion % 10;
    const QString rest = minor ? QStringLiteral(".%1").arg(minor) : QString();
    switch (OS) {
    case 1:
        r = QStringLiteral("w");
        if (OSVersion >= 70)
            r += QStringLiteral("7") + rest;
        else if (OSVersion >= 60)
            r += QStringLiteral("V") + rest;
        else if (OSVersion >= 50)
            r += QStringLiteral("XP") + rest;
        else if (OSVersion >= 40)
            r += QStringLiteral("2k") + rest;
        break;
    case 2:
        r = QStringLiteral("l") + QString::number(major) + rest;
        break;
    case 3:
        r = QStringLiteral("m") + QString::number(major) + rest;
        break;
    default:
        break;
    }
    if (!Is64Bit) r += QStringLiteral("-32");
    return r;
}

void _ClientUserMessage::add(const QString& text)
{
    Text.set(Text.toQString() + text);
    ++Count;
}

void _ClientUserMessage::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

// ---- status text

static QString disabledText(const _ClientStatusThread& t)
{
    switch (t.JobID) {
    case 0:
        if (t.StatusTime <= 1800) return QStringLiteral("Disabled (enable in %1m)").arg(t.StatusTime);
        return QStringLiteral("Disabled");
    case 1:
        if (t.StatusTime <= 360)
            return QStringLiteral("High CPU Usage (enable in %1m)").arg(t.StatusTime / 60);
        return QStringLiteral("High CPU Usage");
    case 2:
        return QStringLiteral("Working hours");
    case 3:
        return QStringLiteral("Satellite Rendering found");
    case 4:
        return QStringLiteral("Waiting %1s").arg(t.StatusTime);
    case 5:
        return QStringLiteral("Low Available Memory");
    case 7:
        return QStringLiteral("User logged off (enable in %1m)").arg(t.StatusTime / 60);
    case 8:
        return QStringLiteral("Client Shutdown");
    case 10:
        return QStringLiteral("Disable Process found");
    default:
        break;
    }
    if (t.JobID <= 1000) return QStringLiteral("Disabled - Unknown status ") + QString::number(t.JobID);
    return QStringLiteral("Disabled - closed: ") + QString::number(t.JobID);
}

QString _ClientStatusThread::clientStatusAsStringSingle(fmJ::_JobRuntimeClient*) const
{
    const QString prefix = JobID >= 1001 ? fmJ::ID2str(JobID)
                                         : QStringLiteral("|") + QString::number(JobID) + QStringLiteral("|");
    switch (Status) {
    case 0:
        switch (JobID) {
        case 6:
            return QStringLiteral("Wake On Lan");
        case 9:
            return QStringLiteral("WOL Broken!");
        case 11:
            return QStringLiteral("fmClient not running on machine!");
        case 12:
            return QStringLiteral("fmClient off but not shut down properly!");
        default:
            return QStringLiteral("Off");
        }
    case 1:
        if (StatusTime > 599) return QStringLiteral("Idle since %1m").arg(StatusTime / 60);
        return QStringLiteral("Idle");
    case 2:
    case 7:
    case 26:
    case 27:
        return disabledText(*this);
    case 3:
        return prefix + QStringLiteral(" Rendering Job");
    case 4:
    case 25:
        return prefix + QStringLiteral(" Render Successfull");
    case 5:
        return prefix + QStringLiteral(" Render Aborted");
    case 6:
        return prefix + QStringLiteral(" Render Crashed");
    case 8:
        return prefix + QStringLiteral(" Render Starting...");
    case 9:
        return prefix + QStringLiteral(" No Render License");
    case 10:
        return prefix + QStringLiteral(" Render Crashed Permanentely");
    case 11:
        return QStringLiteral("!!fmClient Froze!!");
    case 12:
        return prefix + QStringLiteral(" Render Abort & Disable");
    case 13:
        return prefix + QStringLiteral(" Render Aborted - Low sysMem");
    case 14:
        return prefix + QStringLiteral(" Render Aborted - Froze");
    case 15:
        return prefix + QStringLiteral(" Render Aborted - High user CPU");
    case 16:
        return prefix + QStringLiteral(" Render Abort - Frame Time");
    case 17:
        return prefix + QStringLiteral(" Render Abort - Working hours");
    case 18:
        return prefix + QStringLiteral(" Render Abort - Reserved Client");
    case 19:
        return prefix + QStringLiteral(" Render Abort - High Priority Job");
    case 20:
        return prefix + QStringLiteral(" Render Abort - fmControl");
    case 21:
        return prefix + QStringLiteral(" Render Abort - Averaging");
    case 22:
        return prefix + QStringLiteral(" Render Abort - License Block");
    case 23:
        return prefix + QStringLiteral(" Render Abort - Local Artist");
    case 24:
        return prefix + QStringLiteral(" Render Abort - Process Found");
    default:
        break;
    }
    // Above 27, and negative codes, which no client sends.
    return QStringLiteral("Unknown status %1").arg(int(Status));
}

QString _ClientStatus::clientStatusAsStringAll(fmJ::_JobRuntimeClient* job) const
{
    const int n = threadsInUse();
    if (n == 1) return Thread[0].clientStatusAsStringSingle(job);
    QString r = QStringLiteral("[") + QString::number(n) + QStringLiteral("]");
    bool allRendering = true, allSame = true;
    for (int i = 0; i < n; ++i) {
        if (Thread[i].JobID <= 1000) allRendering = false;
        if (Thread[i].Status != Thread[0].Status || Thread[i].JobID != Thread[0].JobID) allSame = false;
    }
    if (allRendering) {
        for (int i = 0; i < n; ++i) {
            if (i) r += QLatin1Char(' ');
            r += fmJ::ID2str(Thread[i].JobID) + QStringLiteral("|") + QString::number(int(Thread[i].Status));
        }
        return r + QStringLiteral(" Rendering");
    }
    if (allSame) return r + Thread[0].clientStatusAsStringSingle(job);
    for (int i = 0; i < n; ++i) {
        if (i) r += QStringLiteral("| ");
        r += Thread[i].clientStatusAsStringSingle(job);
    }
    return r;
}

// ---- the client

const _cfgStrList<StrListMax>& _Client::defaultThreadJobs(int thread)
{
    static const _cfgStrList<StrListMax> lists[2] = {
        [] {
            _cfgStrList<StrListMax> l;
            l.fromString(QStringLiteral("comp;archive;3d;execute"));
            return l;
        }(),
        [] {
            _cfgStrList<StrListMax> l;
            l.fromString(QStringLiteral("comp;archive"));
            return l;
        }(),
    };
    return lists[thread == 0 ? 0 : 1];
}

void _Client::defaultHourTable(uint32_t* rows)
{
    uint32_t day = 0;
    for (int h = 9; h <= 18; ++h)
        day |= 1u << h;
    for (int d = 0; d < HourTableDays; ++d)
        rows[d] = d <= 5 ? day : 0;
}

void _Client::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    Status.clear();
    ListNo = -1;
    for (int i = 0; i < MaxClientThreads; ++i)
        AcceptThreadJobs[i] = defaultThreadJobs(i);
    CfgValueCount = CfgValueDefaultCount;
    CfgBoolCount = CfgBoolDefaultCount;
    for (int i : {1, 2, 3, 4, 5, 6, 8, 11, 15, 17})
        CfgBool[i] = 1;
    static const int16_t values[CfgValueDefaultCount] = {45, 0, 2, 75, 75, 15, 45, 2, 140, 50, 1,  1,  1,
                                                         1,  1, 1, 5,  9,  19, 1,  1, 1,   1,  20, 10, 0};
    std::memcpy(CfgValue, values, sizeof(values));
    defaultHourTable(WOLSchedule);
    defaultHourTable(WorkingHours);
}

_Client& _Client::operator=(const _ClientStatusBasic& s)
{
    Status.ThreadCount = s.ThreadCount;
    Status.AvailableMemory = s.AvailableMemory;
    Status.UserName = s.UserName;
    Status.Temperature = s.Temperature;
    Status.Version = s.Version;
    Status.UserTime = s.UserTime;
    Status.Name = s.Name;
    return *this;
}

_Client& _Client::operator=(const _ClientStatus& s)
{
    Status = s;
    return *this;
}

void _Client::copyCfgSettings(const _Client& o)
{
    ListNo = o.ListNo;
    Reserved = o.Reserved;
    AcceptWH = o.AcceptWH;
    for (int i = 0; i < MaxClientThreads; ++i)
        AcceptThreadJobs[i] = o.AcceptThreadJobs[i];
    std::memcpy(static_cast<void*>(AbortProcess), o.AbortProcess, sizeof(AbortProcess));
    std::memcpy(CfgBool, o.CfgBool, sizeof(CfgBool));
    std::memcpy(CfgValue, o.CfgValue, sizeof(CfgValue));
    Hardware = o.Hardware;
    WOLMac = o.WOLMac;
    WOLIP = o.WOLIP;
    std::memcpy(WOLFlags, o.WOLFlags, sizeof(WOLFlags));
    std::memcpy(WOLSchedule, o.WOLSchedule, sizeof(WOLSchedule));
    std::memcpy(WorkingHours, o.WorkingHours, sizeof(WorkingHours));
    CustomInfo = o.CustomInfo;
    CfgValueCount = o.CfgValueCount;
    CfgBoolCount = o.CfgBoolCount;
}

void _Client::CheckInvalidValues()
{
    auto atLeast = [this](int i, int lo) {
        if (CfgValue[i] < lo) CfgValue[i] = int16_t(lo);
    };
    auto within = [this](int i, int lo, int hi) {
        if (CfgValue[i] < lo) CfgValue[i] = int16_t(lo);
        if (CfgValue[i] > hi) CfgValue[i] = int16_t(hi);
    };
    atLeast(0, 15);
    within(2, 1, 10);
    within(3, 15, 95);
    within(4, 15, 300);
    atLeast(5, 5);
    atLeast(6, 15);
    atLeast(7, 1);
    if (Hardware.MHz == 0) Hardware.MHz = 1;
    if (Hardware.Cores == 0) Hardware.Cores = 1;
    // Also catches NaN, which a hand-edited file can give.
    if (!(Hardware.Speed >= 0.0f)) Hardware.Speed = 0.0f;
}

float _Client::currentThreadPS(const int& thread) const
{
    if (thread < 0 || thread >= MaxClientThreads) return 0.0f;
    return Hardware.Speed / float(Status.threadsInUse());
}

float _Client::currentThreadGhz(const int& thread) const
{
    if (thread < 0 || thread >= MaxClientThreads) return 0.0f;
    return float(Hardware.MHz) * float(Hardware.Cores ? Hardware.Cores : 1) / 1000.0f /
           float(Status.threadsInUse());
}

} // namespace fmC
