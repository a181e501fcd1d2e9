#include "jobs/fmjobtext.h"

#include "farm/fmclient.h"
#include "farm/fmclientlist.h"
#include "foundation/fmjobid.h"
#include "foundation/fmsdk.h"

#include <QStringList>
#include <cmath>
#include <cstring>

namespace fmJ {

namespace {

struct StatusRow
{
    int from;
    const char* text;     // jobStatusAsString
    const char* textLong; // StatusAsString; null: the wait row
};

// Highest row first: a status counts as the first row it reaches.
const StatusRow kStatusRows[] = {
    {200, "Finished", "Finished"},
    {180, "Script Finished", "Script (Finish)"},
    {160, "Approval Wait", "Approval Wait"},
    {140, "Script Post Render", "Script (PostRender)"},
    {120, "Render", "Render"},
    {100, "Approval Wait", "Approval Wait"},
    {90, "Script Preview", "Script (Preview)"},
    {80, "Preview", "Preview"},
    {60, "Pre Render", "Script (PreRender)"},
    {40, "Wait for jobs", nullptr},
    {0, "First Check", "First Check"},
};

const StatusRow& statusRow(unsigned char status)
{
    for (const StatusRow& r : kStatusRows)
        if (status >= r.from) return r;
    return kStatusRows[std::size(kStatusRows) - 1];
}

const char* errorText(int code)
{
    switch (code) {
    case 0:
        return "";
    case 1:
        return "crashed";
    case 2:
        return "Output directory not found";
    case 3:
    case 11:
        return "No drive space left";
    case 4:
        return "Fileserver time difference";
    case 5:
        return "Job started multiple times, but no frame found";
    case 6:
        return "Warning - Sequence divide was adjusted";
    case 7:
        return "Too many crashes";
    case 8:
        return "Scene file not found";
    case 9:
        return "Render application not found";
    case 10:
        return "Execute Error";
    case 12:
        return "User login failed";
    case 13:
        return "No render license (licenses tempor. reduced)";
    case 14:
        return "Render crashed";
    case 15:
        return "Job send 3 times more than frames exist.";
    case 16:
        return "Aborted because system memory was low.";
    case 17:
        return "Render crashed - Permanently";
    case 18:
        return "Render froze";
    case 19:
        return "No right version of render application found.";
    case 20:
        return "Client got job multiple times, but no render time measured.";
    case 22:
        return "Post-script executed twice!";
    case 23:
        return "Aborted because max render time reached!";
    default:
        return nullptr;
    }
}

// Index = message number 0..63; null: not known to this program.
const char* const kLogTexts[64] = {
    "",                                       // 0
    "Abort reserved clients",                 // 1
    "Enable",                                 // 2
    "Disable",                                // 3
    "Disable & Abort",                        // 4
    "Approve",                                // 5
    "DisApprove",                             // 6
    "Delete",                                 // 7
    "Abort",                                  // 8
    "Check",                                  // 9
    "Reset",                                  // 10
    "Reset & Delete",                         // 11
    nullptr,                                  // 12
    "Change Client Assignment",               // 13
    "Render successful",                      // 14
    "Render aborted",                         // 15
    nullptr,                                  // 16
    "Auto delete after days",                 // 17
    "Placeholder frames deleted",             // 18
    "All frames assigned",                    // 19
    "Sequence Divide adjusted",               // 20
    "Receives Job ",                          // 21
    "Settings Changed",                       // 22
    "Deleted Finished Job",                   // 23
    "Deleted Disabled Job",                   // 24
    "Clear error messages",                   // 25
    "Restrict render app to x32",             // 26
    "Restrict render app to X64",             // 27
    "Restrict render app to xAll",            // 28
    "moved in queue",                         // 29
    "User set job to finished",               // 30
    nullptr,                                  // 31
    nullptr,                                  // 32
    "Export Debug Info",                      // 33
    "Low SysMemory, Aborted",                 // 34
    "Frozen + Aborted",                       // 35
    "Error",                                  // 36
    "Client Waits",                           // 37
    "Abort (High CPU usage of Artist)",       // 38
    "Aborted because frame time was to high", // 39
    "Abort low priority jobs",                // 40
    "Client rendered less than 60s.",         // 41
    "Clear error messages & enable",          // 42
    "First check done",                       // 43
    "Working hours, Aborted",                 // 44
    "Process Found, Aborted",                 // 45
    "Reserved Client, Aborted",               // 46
    "High Priority Job, Aborted",             // 47
    "fmControl, Aborted",                     // 48
    "Client Averaging, Aborted",              // 49
    "Free License, Aborted",                  // 50
    "Local Artist, Aborted",                  // 51
    "Disable - too many crashes",             // 52
    "Disable - no frames found",              // 53
    "Disable - output dir not found",         // 54
    "Disable - UNC map failed",               // 55
    "Disable - fileserver share full",        // 56
    "Revert frame assignment A",              // 57
    "Return frame assignment B",              // 58
    nullptr,                                  // 59
    "Close KSO scene",                        // 60
    "Aborted, Client Disabled",               // 61
    "Sequence Changed",                       // 62
    "WaitFor-Job Finished",                   // 63
};

} // namespace

QString jobStatusAsString(unsigned char status)
{
    return QString::fromLatin1(statusRow(status).text);
}

fmString<50> Err2Str(const _Error& error)
{
    const int code = error.Code;
    const char* t = errorText(code);
    if (t) return fmString<50>(QString::fromLatin1(t));
    return fmString<50>(QStringLiteral("Unknown error %1").arg(code));
}

fmString<50> Log2StrID(const _LogMessage& message)
{
    const int m = message;
    if (m >= 0 && m < 64 && kLogTexts[m]) return fmString<50>(QString::fromLatin1(kLogTexts[m]));
    return fmString<50>(QStringLiteral("Unknown command %1").arg(m));
}

namespace {

// Messages that name a frame range: "%1-%2" with the range, ",%3" with the third parameter. The
// two-part form drops the ",%3" while that parameter is below 2.
struct RangeText
{
    int Message;
    const char* Two; // null: always the three-part form
    const char* Three;
};
constexpr RangeText kRangeTexts[] = {
    {14, "Successful  %1-%2", "Successful  %1-%2,%3"},
    {15, "Aborted      %1-%2", "Aborted      %1-%2,%3"},
    {21, "Receives     %1-%2", "Receives     %1-%2,%3"},
    {34, nullptr, "Low SysMemory, Aborted %1-%2,%3"},
    {35, nullptr, "Frozen + aborted %1-%2,%3"},
    {36, nullptr, "Error %1-%2,%3"},
    {38, nullptr, "High artist CPU usage, Aborted %1-%2,%3"},
    {39, nullptr, "Max Frame Time, Aborted %1-%2,%3"},
    {44, nullptr, "Working hours, Aborted %1-%2,%3"},
    {45, nullptr, "Process Found, Aborted %1-%2,%3"},
    {46, nullptr, "Reserved Client, Aborted %1-%2,%3"},
    {47, nullptr, "High Priority Job, Aborted %1-%2,%3"},
    {48, nullptr, "fmControl, Aborted %1-%2,%3"},
    {49, nullptr, "Client Averaging, Aborted %1-%2,%3"},
    {50, nullptr, "Free License, Aborted %1-%2,%3"},
    {51, nullptr, "Local Artist, Aborted %1-%2,%3"},
    {61, "Aborted (Client Disabled) %1-%2", "Aborted (Client Disabled) %1-%2,%3"},
};

// The messages whose text is not a frame range; empty for any other message.
QString otherLogText(const _Log& log, long long a)
{
    const int p1 = log.Param1;
    const int p2 = log.Param2;
    const int p3 = log.Param3;
    // The third parameter 0 means that the first two are the halves of a job's short identifier.
    auto id = [&] {
        IDShort id;
        id.fromInt32((unsigned(p2) << 16) | unsigned(p1));
        return id.str();
    };
    switch (log.Message) {
    case 1:
        return p3 != 0 ? QStringLiteral("Aborted %1 reserved clients (max required: %2)").arg(p1).arg(p2)
                       : QStringLiteral("Reserved clients aborted by %1").arg(id());
    case 13:
        if (p1 == 0 && p3 == 0) return QStringLiteral("Change Client Assignment");
        if (p1 == 0) return QStringLiteral("De-assigned %1 clients").arg(p3);
        if (p3 == 0) return QStringLiteral("Assigned %1 clients").arg(p1);
        return QStringLiteral("Assigned %1, De-assigned %2 clients").arg(p1).arg(p3);
    case 18:
        return p1 != 9999 ? QStringLiteral("%1 (placeholder) frames deleted").arg(p1)
                          : QStringLiteral("all frames deleted");
    case 20:
        return QStringLiteral("Sequence Divide adjusted %1 %2").arg(p1).arg(p2);
    case 40:
        return p3 != 0 ? QStringLiteral("Abort other low-prio jobs (%1 clients)").arg(p1)
                       : QStringLiteral("Abort by high-prio job %1").arg(id());
    case 41:
        return QStringLiteral("rendered %1s only, Seq. Div. to low?").arg(p1);
    case 57:
        return QStringLiteral("Revert %2+%3 frame assignments, frame #%1").arg(a).arg(p2).arg(p3);
    case 58:
        return QStringLiteral("Return frame assignments (%2+%3), frame #%1").arg(a).arg(p2).arg(p3);
    case 63:
        return QStringLiteral("Wait-for job %1 finished").arg(id());
    default:
        return QString();
    }
}

} // namespace

fmString<50> Log2Str(const _Log& log, _JobSend* job)
{
    // Frame numbers as the user sees them: channel jobs count from 1, others through the job's
    // frame-number mapping.
    long long a = log.Param1;
    long long b = log.Param2;
    if (job) {
        if (job->ImageChannelCount > 1) {
            ++a;
            ++b;
        } else {
            a = roundHalfAway(job->F2fnNoOffset(a, nullptr));
            b = roundHalfAway(job->F2fnNoOffset(b, nullptr));
        }
    }
    const int p3 = log.Param3;
    for (const RangeText& r : kRangeTexts) {
        if (r.Message != log.Message) continue;
        const char* format = r.Two && p3 < 2 ? r.Two : r.Three;
        QString t = QString::fromLatin1(format).arg(a).arg(b);
        if (format == r.Three) t = t.arg(p3);
        return fmString<50>(t);
    }
    const QString t = otherLogText(log, a);
    return t.isEmpty() ? Log2StrID(log.Message) : fmString<50>(t);
}

fmString<50> Log2Username(const _Log& log, __FMSDK& app)
{
    switch (log.Message) {
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
    case 13:
    case 22:
    case 25:
    case 29:
    case 30:
    case 33:
    case 42:
    case 62: {
        int n = log.Param2;
        if (n > 65000) n -= 65536;
        return fmString<50>(QString::number(n) + QLatin1Char(' ') + app.getUserName(n, false));
    }
    default:
        return fmString<50>("-");
    }
}

uint32_t LogColorID(const _LogMessage& message)
{
    switch (message) {
    case 2:
    case 21:
    case 63:
        return 0xFF00CC00u;
    case 14:
        return 0xFF88BB00u;
    case 5:
    case 6:
        return 0xFF469BCCu;
    case 3:
    case 4:
    case 8:
    case 15:
    case 37:
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
    case 52:
    case 53:
    case 54:
    case 55:
    case 56:
        return 0xFFDD8822u;
    case 9:
    case 13:
    case 20:
    case 22:
    case 25:
    case 26:
    case 27:
    case 28:
    case 29:
    case 30:
    case 57:
    case 58:
        return 0xFFDD4400u;
    case 34:
    case 35:
    case 36:
    case 41:
        return 0xFFFF0000u;
    case 60:
        return 0xFF999999u;
    default:
        return 0xFF000000u;
    }
}

fmString<25> Who2Str(int who, __FMSDK& app)
{
    switch (who) {
    case -1:
        return fmString<25>("*fmServer*");
    case -2:
        return fmString<25>("-fmControl-");
    case -3:
        return fmString<25>("-fmWebsite-");
    case -4:
        return fmString<25>("-Unknown-");
    case -5:
        return fmString<25>("-Remote-");
    case -6:
        return fmString<25>("-jobAuth-");
    default:
        break;
    }
    const fmC::_ClientList* clients = app.clientTable();
    if (clients && who >= 0 && who < clients->count()) {
        const fmC::_Client* c = clients->at(who);
        if (c) return fmString<25>(c->Status.Name.toQString());
    }
    return fmString<25>(QStringLiteral("unknown #") + QString::number(who));
}

// ---- the record's own texts and writers

fmString<250> _JobSave::StatusAsString() const
{
    QString t;
    if (Disabled) t = QStringLiteral("Disabled - ");
    const StatusRow& row = statusRow(Status);
    if (row.textLong) {
        t += QLatin1String(row.textLong);
    } else {
        int waiting = 0;
        while (waiting < JobWaitForJob_Max) {
            unsigned long long id;
            std::memcpy(&id, reinterpret_cast<const char*>(WaitForJob) + waiting * sizeof(id), sizeof(id));
            if (id == 0) break;
            ++waiting;
        }
        t += (waiting == 1 ? QStringLiteral("Wait for %1 job") : QStringLiteral("Wait for %1 jobs"))
                 .arg(waiting);
    }
    return fmString<250>(t);
}

bool _JobSave::addError(short who, signed char code)
{
    int count = errorCountClamped();
    // A repeat of one of the last ten errors adds nothing.
    for (int i = count - 1; i >= 0 && i >= count - 10; --i)
        if (Errors[i].Code == code && Errors[i].Who == who) return false;
    if (count >= JobErrors_Max) {
        std::memmove(&Errors[0], &Errors[JobErrors_Max - 25], 25 * sizeof(_Error));
        count = 25;
    }
    _Error e{};
    e.Who = who;
    e.Code = code;
    e.Time = fmTime_t(true);
    std::memcpy(&Errors[count], &e, sizeof(e));
    ErrorCount = static_cast<int8_t>(count + 1);
    infoChanged_JobSave(nullptr);
    return true;
}

namespace {
// A value brought into 0..65534 by adding or subtracting multiples of 65535.
uint16_t wrapParam(long long v)
{
    long long r = v % 65535;
    if (r < 0) r += 65535;
    return static_cast<uint16_t>(r);
}
} // namespace

void _JobSend::addLogFrames(short who, signed char message, long long param1, long long param2,
                            long long param3)
{
    int count = logCountClamped();
    if (count >= JobLog_Max) {
        // Keep the newest half.
        std::memmove(&Log[0], &Log[JobLog_Max - 375], 375 * sizeof(_Log));
        count = 375;
    }
    if (message == 40 && count > 0 && Log[count - 1].Who == who && Log[count - 1].Message == message) {
        LogCount = static_cast<int16_t>(count);
        return;
    }
    _Log e{};
    e.Who = who;
    e.Message = message;
    e.Time.t = static_cast<int32_t>(fmTime_t::CurrentTime());
    const double step = SeqStep;
    const long long p3 = roundHalfAway(double(param3) * step);
    e.Param3 = static_cast<uint8_t>(p3 < 0 ? 0 : (p3 > 255 ? 255 : p3));
    e.Param1 = wrapParam(param1);
    e.Param2 = wrapParam(param2);
    const int clients = ClientsRendering;
    e.ClientsRendering = static_cast<uint8_t>(clients < 0 ? 0 : (clients > 250 ? 250 : clients));
    const int left = FramesLeft;
    e.FramesLeft = static_cast<int16_t>(left > 30000 ? 30000 : (left < -32768 ? -32768 : left));
    e.JobStatus = Status;
    std::memcpy(&Log[count], &e, sizeof(e));
    LogCount = static_cast<int16_t>(count + 1);
    infoChanged_JobSave(nullptr);
}

void _JobSend::addLogUser(short who, short param2, signed char message, short param1, unsigned char param3)
{
    addLogFrames(who, message, param1, param2, param3);
}

namespace {
// The scene as a log line shows it: without extension, render folders and doubled separators,
// each "/" spaced out except behind a drive's colon.
QString shortScene(QString scene)
{
    const int dot = scene.lastIndexOf(QLatin1Char('.'));
    if (dot >= 4) scene.truncate(dot);
    scene.remove(PDs + QStringLiteral("RENDER_PICTURES"), Qt::CaseInsensitive);
    scene.remove(PDs + QStringLiteral("Scenes"), Qt::CaseInsensitive);
    scene.replace(PDs + PDs, PDs);
    scene.replace(QStringLiteral(":/"), QStringLiteral("\x01"));
    scene.replace(QStringLiteral("/"), QStringLiteral(" / "));
    scene.replace(QStringLiteral("\x01"), QStringLiteral(":/"));
    return scene;
}
} // namespace

QString _JobSubmitter::GetJobLogString(bool preview, int lowCpuMinutes)
{
    QString line = ID2str();
    if (lowCpuMinutes >= 4)
        line += QStringLiteral(" Low CPU ") + QString::number(lowCpuMinutes) + QStringLiteral("min  ");
    line += QLatin1Char(' ') + CompanyProjectName.toQString() + QLatin1Char('|') + Software.toQString() +
            QLatin1Char('|');
    line += CustomSeQName.toQString() + QLatin1Char('-') + CustomSHotName.toQString() + QLatin1Char('-') +
            CustomVersionName.toQString() + QLatin1Char('|');
    if (preview) line += QStringLiteral("PREVIEW|");
    const QString sceneName = SceneName.toQString();
    if (sceneName.startsWith(QLatin1Char('?'))) return line;
    const QString scene = shortScene(sceneName);
    if (line.size() + scene.size() < 56)
        return line.leftJustified(55 - scene.size(), QLatin1Char(' ')) + scene;
    const int room = 55 - int(line.size());
    return room > 0 ? line + scene.right(room) : line;
}

QString _JobSubmitter::GetJobLogStringShort(bool, int lowCpuMinutes)
{
    QString line = ID2str();
    if (lowCpuMinutes >= 4)
        line += QStringLiteral(" LowCPU ") + QString::number(lowCpuMinutes) + QStringLiteral("min|");
    line += Software.toQString().left(4) + QLatin1Char('|') + CompanyProjectName.toQString().left(10);
    return line;
}

} // namespace fmJ
