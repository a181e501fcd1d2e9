#include "jobs/fmjobhistory.h"

#include <cmath>
#include <cstring>
#include <limits>

// Byte offsets of fields in the derived job layers: well defined here (one non-virtual
// inheritance chain, packed), but not standard-layout in the language's terms.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace fmJ {

namespace {

unsigned char* bytes(void* p)
{
    return static_cast<unsigned char*>(p);
}
const unsigned char* bytes(const void* p)
{
    return static_cast<const unsigned char*>(p);
}

int clampInt(int v, int lo, int hi)
{
    return v < lo ? lo : (v > hi ? hi : v);
}

// Header words of a current history record (all upgrades and, partly, the copy from a job).
void setHistoryHeader(_jobsHistoryDB& r)
{
    r.HistoryStructID = JobHistory_StructID;
    r.HistoryStructVersion = JobHistory_StructVersion;
}

} // namespace

// ---- entries

_Error _History_Error::toNew() const
{
    _Error e;
    static_assert(sizeof(e) == sizeof(*this));
    std::memcpy(static_cast<void*>(&e), this, sizeof(e));
    return e;
}

_Log _History_Log::toNew() const
{
    _Log l;
    l.Time.t = Time.t;
    l.Message = Message;
    l.JobStatus = JobStatus;
    l.ClientsRendering = ClientsRendering;
    l.Param3 = Param3;
    l.Param2 = Param2;
    l.Param1 = Param1;
    l.FramesLeft = FramesLeft;
    l.Who = Who;
    return l;
}

void _History_Log::fromNew(const _Log& l)
{
    Param3 = l.Param3;
    Message = l.Message;
    JobStatus = l.JobStatus;
    ClientsRendering = l.ClientsRendering;
    Who = l.Who;
    FramesLeft = l.FramesLeft;
    Param1 = l.Param1;
    Param2 = l.Param2;
    Time.t = l.Time.t;
}

// ---- _jobsHistoryDB

_jobsHistoryDB::_jobsHistoryDB()
{
    clear();
}

void _jobsHistoryDB::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(_jobsHistoryDB));
}

int _jobsHistoryDB::errorCountClamped() const
{
    return clampInt(ErrorCount, 0, JobErrors_Max);
}

int _jobsHistoryDB::logCountClamped() const
{
    return clampInt(LogCount, 0, JobLog_Max);
}

QString _jobsHistoryDB::IDstr() const
{
    return ID2str(JobID);
}

QString _jobsHistoryDB::IDstrFull() const
{
    return ID2strFull(JobID);
}

_jobsHistoryDB& _jobsHistoryDB::operator=(const _JobSave& job)
{
    clear();
    // Only the first three header words are taken: 6, 8 and 10 stay 0.
    BasicsStructID = job.BasicsStructID;
    BasicsStructVersion = job.BasicsStructVersion;
    SubmitterStructID = job.SubmitterStructID;
    setHistoryHeader(*this);

    PathOS = job.PathOS;
    SceneOS = job.SceneOS;
    SceneName = job.SceneName;
    SceneDatabaseDir = job.SceneDatabaseDir;
    VersionMinor = job.VersionMinor;
    Software = job.Software;
    Renderer = job.Renderer;
    Version = job.Version;
    SoftwareAlias = job.SoftwareAlias;
    RenderType = job.RenderType;
    AppValue254 = job.AppValue254;
    AppValue256 = job.AppValue256;
    BasicsFlag22 = job.BasicsFlag22;
    Camera = job.Camera;
    Layer = job.Layer;
    Channel = job.Channel;
    ImageDir = job.ImageDir;
    ImageFileNameVariable = job.ImageFileNameVariable;
    ImageFileName = job.ImageFileName;
    ImageFileNamePost = job.ImageFileNamePost;
    ImageExtension = job.ImageExtension;
    ImageFormatFlag = job.ImageFormatFlag;
    ImageFramePadding = job.ImageFramePadding;
    std::memcpy(bytes(this) + offsetof(_jobsHistoryDB, ImageChannels),
                bytes(&job) + offsetof(_JobBasics, ImageChannels),
                size_t(JobHistoryImageChannels_Max) * sizeof(_JobImageChannel));
    ImageWidth = job.ImageWidth;
    ImageHeight = job.ImageHeight;
    ImageSingleOutputFile = job.ImageSingleOutputFile;
    BasicsText25 = job.BasicsText25;
    ImageChannelCount = job.ImageChannelCount;
    std::memcpy(bytes(this) + offsetof(_jobsHistoryDB, BasicsTags),
                bytes(&job) + offsetof(_JobBasics, BasicsTags),
                size_t(JobHistoryBasicsTags_Max) * sizeof(fmString<10>));
    SeqStart = job.SeqStart;
    SeqEnd = job.SeqEnd;
    SeqStep = job.SeqStep;
    SeqFileOffset = job.SeqFileOffset;
    BasicsText100 = job.BasicsText100.toQString().left(50); // Latin-1, cut to 50
    BasicsFlag19000 = job.BasicsFlag19000;
    Selected = job.Selected;
    JobID = job.JobID;
    UserName = job.UserName;
    SubmitterText25 = job.SubmitterText25;
    CustomSeQName = job.CustomSeQName;
    CustomSHotName = job.CustomSHotName;
    CustomVersionName = job.CustomVersionName;
    CompanyProjectName = job.CompanyProjectName;
    DateSend.t = job.DateSend.t;
    Color_ID = job.Color_ID;
    for (int k = 0; k < JobClients_Max; ++k) {
        // Parts +0 (state) and +20 (frames done) of each 24-byte entry.
        std::memcpy(ClientStats[k].State, job.ClientStats[k].State, 4);
        ClientStats[k].FramesDone = job.ClientStats[k].FramesDone;
    }
    Priority = job.Priority;
    ErrorCountHard = job.ErrorCountHard;
    ErrorCount = job.ErrorCount >= JobErrors_Max ? int8_t(JobHistoryErrors_Keep) : job.ErrorCount;
    const int errors = clampInt(ErrorCount, 0, JobHistoryErrors_Keep);
    std::memcpy(bytes(this) + offsetof(_jobsHistoryDB, Errors), bytes(&job) + offsetof(_JobSave, Errors),
                size_t(errors) * sizeof(_Error));
    // The newest entries are kept: a full log of 750 loses its oldest.
    const int logs = clampInt(job.LogCount, 0, JobLog_Max);
    const int keep = logs < JobHistoryLog_Keep ? logs : JobHistoryLog_Keep;
    LogCount = int16_t(keep);
    for (int k = 0; k < keep; ++k) {
        const _Log l = job.Log[logs - keep + k];
        _History_Log h;
        h.fromNew(l);
        Log[k] = h;
    }
    ExecutionTime = job.ExecutionTime;
    TotalPS = job.TotalPS;
    TotalGhzHours = job.TotalGhzHours;
    DateFinished.t = job.DateFinished.t;
    std::memcpy(bytes(this) + offsetof(_jobsHistoryDB, FrameCounters),
                bytes(&job) + offsetof(_JobSave, FrameCounters), sizeof(FrameCounters));
    std::memcpy(bytes(this) + offsetof(_jobsHistoryDB, FrameLog), bytes(&job) + offsetof(_JobSave, FrameLog),
                sizeof(FrameLog));
    FramesSend = job.FramesSend;
    FramesCrashed = job.FramesCrashed;
    FramesAborted = job.FramesAborted;
    AverageClients = job.AverageClients;
    AverageFrameTime = job.AverageFrameTime;
    TotalFrames = jobFramesTotal(job.SeqStart, job.SeqEnd, job.SeqStep, job.ImageChannelCount, nullptr);
    PreviewEnabled = job.PreviewEnabled;
    return *this;
}

// ---- upgrades of the old layouts

namespace {

// Copies field F from an old record to the same-named field of the current one, as raw bytes.
#define FM_UPGRADE_FIELD(F)                                                                                  \
    static_assert(sizeof(Old::F) == sizeof(_jobsHistoryDB::F), "field " #F " changed its size");             \
    std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, F), bytes(&from) + offsetof(Old, F), sizeof(Old::F));

template <class Old> void upgradeCommon(const Old& from, _jobsHistoryDB& to)
{
    to.clear();
    to.BasicsStructID = JobBasics_StructID;
    to.BasicsStructVersion = JobBasics_StructVersion;
    to.SubmitterStructID = JobSubmitter_StructID;
    to.SubmitterStructVersion = JobSubmitter_StructVersion;
    to.SaveStructID = JobSave_StructID;
    to.SaveStructVersion = JobSave_StructVersion;
    setHistoryHeader(to);

    FM_UPGRADE_FIELD(PathOS)
    FM_UPGRADE_FIELD(SceneOS)
    FM_UPGRADE_FIELD(SceneName)
    FM_UPGRADE_FIELD(SceneDatabaseDir)
    FM_UPGRADE_FIELD(VersionMinor)
    FM_UPGRADE_FIELD(Software)
    FM_UPGRADE_FIELD(Renderer)
    FM_UPGRADE_FIELD(Version)
    FM_UPGRADE_FIELD(SoftwareAlias)
    FM_UPGRADE_FIELD(RenderType)
    FM_UPGRADE_FIELD(AppValue254)
    FM_UPGRADE_FIELD(AppValue256)
    FM_UPGRADE_FIELD(BasicsFlag22)
    FM_UPGRADE_FIELD(Camera)
    FM_UPGRADE_FIELD(Layer)
    FM_UPGRADE_FIELD(Channel)
    FM_UPGRADE_FIELD(ImageDir)
    FM_UPGRADE_FIELD(ImageFileNameVariable)
    FM_UPGRADE_FIELD(ImageFileName)
    FM_UPGRADE_FIELD(ImageFileNamePost)
    FM_UPGRADE_FIELD(ImageExtension)
    FM_UPGRADE_FIELD(ImageFormatFlag)
    FM_UPGRADE_FIELD(ImageFramePadding)
    FM_UPGRADE_FIELD(ImageWidth)
    FM_UPGRADE_FIELD(ImageHeight)
    FM_UPGRADE_FIELD(ImageSingleOutputFile)
    FM_UPGRADE_FIELD(BasicsText25)
    FM_UPGRADE_FIELD(ImageChannelCount)
    FM_UPGRADE_FIELD(BasicsTags)
    FM_UPGRADE_FIELD(SeqStart)
    FM_UPGRADE_FIELD(SeqEnd)
    FM_UPGRADE_FIELD(SeqStep)
    FM_UPGRADE_FIELD(SeqFileOffset)
    FM_UPGRADE_FIELD(BasicsFlag19000)
    FM_UPGRADE_FIELD(Selected)
    FM_UPGRADE_FIELD(JobID)
    FM_UPGRADE_FIELD(UserName)
    FM_UPGRADE_FIELD(SubmitterText25)
    FM_UPGRADE_FIELD(CustomSeQName)
    FM_UPGRADE_FIELD(CustomSHotName)
    FM_UPGRADE_FIELD(CustomVersionName)
    FM_UPGRADE_FIELD(DateSend)
    FM_UPGRADE_FIELD(Color_ID)
    FM_UPGRADE_FIELD(Priority)
    FM_UPGRADE_FIELD(ErrorCountHard)
    FM_UPGRADE_FIELD(ErrorCount)
    FM_UPGRADE_FIELD(Errors) // one block of 600 bytes, whatever ErrorCount says
    FM_UPGRADE_FIELD(ExecutionTime)
    FM_UPGRADE_FIELD(TotalPS)
    FM_UPGRADE_FIELD(TotalGhzHours)
    FM_UPGRADE_FIELD(DateFinished)
    FM_UPGRADE_FIELD(FrameCounters)
    FM_UPGRADE_FIELD(FrameLog)
    FM_UPGRADE_FIELD(FramesSend)
    FM_UPGRADE_FIELD(FramesCrashed)
    FM_UPGRADE_FIELD(FramesAborted)
    FM_UPGRADE_FIELD(AverageClients)
    FM_UPGRADE_FIELD(AverageFrameTime)
    FM_UPGRADE_FIELD(PreviewEnabled)

    // The old layouts hold a 25-character project name; its text moves into the 50-character one.
    to.CompanyProjectName = from.CompanyProjectName.toQString();

    // Log: the old entries are already in history order. From 750 on the last 749 are kept.
    const int16_t oldCount = from.LogCount;
    if (oldCount >= JobLog_Max) {
        to.LogCount = int16_t(JobHistoryLog_Keep);
        std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, Log),
                    bytes(&from) + offsetof(Old, Log) +
                        size_t(JobLog_Max - JobHistoryLog_Keep) * sizeof(_History_Log),
                    size_t(JobHistoryLog_Keep) * sizeof(_History_Log));
    } else {
        to.LogCount = oldCount;
        std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, Log), bytes(&from) + offsetof(Old, Log),
                    sizeof(Old::Log));
    }
    // BasicsText100 and TotalFrames are not computed: they stay empty and 0.
}

#undef FM_UPGRADE_FIELD

} // namespace

void _OLD61__jobsHistoryDB::toJobHistoryDBNew(_jobsHistoryDB& to) const
{
    upgradeCommon(*this, to);
    // 9 additional outputs and 400 clients; the rest stays zero.
    std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, ImageChannels),
                bytes(this) + offsetof(_OLD61__jobsHistoryDB, ImageChannels), sizeof(ImageChannels));
    std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, ClientStats),
                bytes(this) + offsetof(_OLD61__jobsHistoryDB, ClientStats), sizeof(ClientStats));
}

void _OLD62_jobsHistoryDB::toJobHistoryDBNew(_jobsHistoryDB& to) const
{
    upgradeCommon(*this, to);
    static_assert(sizeof(ImageChannels) == sizeof(_jobsHistoryDB::ImageChannels));
    static_assert(sizeof(ClientStats) == sizeof(_jobsHistoryDB::ClientStats));
    std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, ImageChannels),
                bytes(this) + offsetof(_OLD62_jobsHistoryDB, ImageChannels), sizeof(ImageChannels));
    std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, ClientStats),
                bytes(this) + offsetof(_OLD62_jobsHistoryDB, ClientStats), sizeof(ClientStats));
}

void _OLD627_jobsHistoryDB::toJobHistoryDBNew(_jobsHistoryDB& to) const
{
    upgradeCommon(*this, to);
    static_assert(sizeof(ImageChannels) == sizeof(_jobsHistoryDB::ImageChannels));
    static_assert(sizeof(ClientStats) == sizeof(_jobsHistoryDB::ClientStats));
    std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, ImageChannels),
                bytes(this) + offsetof(_OLD627_jobsHistoryDB, ImageChannels), sizeof(ImageChannels));
    std::memcpy(bytes(&to) + offsetof(_jobsHistoryDB, ClientStats),
                bytes(this) + offsetof(_OLD627_jobsHistoryDB, ClientStats), sizeof(ClientStats));
}

// ---- _jobsHistoryDB_Runtime

_jobsHistoryDB_Runtime::_jobsHistoryDB_Runtime()
{
    std::memset(bytes(this) + sizeof(_jobsHistoryDB), 0, sizeof(*this) - sizeof(_jobsHistoryDB));
    QueueID = -1;
}

char16_t fmFilterLower(char16_t unit)
{
    const char32_t lower = QChar::toLower(char32_t(unit));
    return lower <= 0xFFFF ? char16_t(lower) : unit;
}

QString fmFilterLower(const QString& text)
{
    QString out = text;
    for (QChar& c : out)
        c = QChar(fmFilterLower(c.unicode()));
    return out;
}

namespace {
template <int N> void lowerInPlace(fmString<N>& s)
{
    const int n = s.len();
    for (int i = 0; i < n; ++i)
        s.Data[i] = uint16_t(fmFilterLower(char16_t(s.Data[i])));
}
} // namespace

void _jobsHistoryDB_Runtime::fromJobSave(const _jobsHistoryDB* stored, const _ClientSpeed* speeds,
                                         int clientCount)
{
    if (!stored) return;
    static_cast<_jobsHistoryDB&>(*this) = *stored;

    UserNameLower = UserName; // whole value, both length words included
    const int n = CompanyProjectName.len() < 25 ? CompanyProjectName.len() : 25;
    CompanyProjectLower.clear();
    for (int i = 0; i < n; ++i)
        CompanyProjectLower.Data[i] = CompanyProjectName.Data[i];
    CompanyProjectLower.Data[n] = 0;
    CompanyProjectLower.Length = uint16_t(n);
    lowerInPlace(UserNameLower);
    lowerInPlace(CompanyProjectLower);

    if (TotalGhzHours > 0.0f) return;
    SaveStructVersion = JobSave_StructVersion;
    TotalGhzHours = fmJobGhzHours(*stored, speeds, clientCount);
}

float fmJobGhzHours(const _jobsHistoryDB& record, const _ClientSpeed* speeds, int clientCount)
{
    if (record.TotalGhzHours > 0.0f) return record.TotalGhzHours;
    const uint64_t ps = record.TotalPS;
    if (int64_t(ps) <= 0 || !speeds) return 0.0f;
    if (clientCount > JobClients_Max) clientCount = JobClients_Max;
    float sum = 0.0f;
    int counted = 0;
    for (int k = 0; k < clientCount; ++k) {
        const _ClientSpeed c = speeds[k];
        if (record.ClientStats[k].FramesDone >= 11 && c.Cores != 0 && c.Speed > 0.0f) {
            sum += c.Speed / float(c.Cores);
            ++counted;
        }
    }
    if (counted == 0) return 0.0f;
    const float average = sum / float(counted);
    return float(int64_t(ps)) * average / 60.0f / 60.0f;
}

int32_t fmJobFrames(const _jobsHistoryDB& record)
{
    if (record.TotalFrames > 0) return record.TotalFrames;
    const double start = record.SeqStart, end = record.SeqEnd, step = record.SeqStep;
    if (!std::isfinite(start) || !std::isfinite(end) || !(step > 0) || end < start) return 0;
    double n = std::floor((end - start) / step + 1.0);
    if (record.ImageChannelCount >= 1) n *= record.ImageChannelCount;
    return n >= double(std::numeric_limits<int32_t>::max()) ? std::numeric_limits<int32_t>::max()
                                                            : int32_t(n);
}

void _jobsHistoryDB_Runtime::fromJobSave(const _jobsHistoryDB* stored, __FMSDK& fm)
{
    _ClientSpeed speeds[JobClients_Max];
    const int n = fmJobClientSpeeds(fm, speeds, JobClients_Max);
    fromJobSave(stored, speeds, n);
}

} // namespace fmJ
