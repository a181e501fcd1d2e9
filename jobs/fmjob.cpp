#include "jobs/fmjob.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace fmJ {

const char* const JobSceneName_WaitingForUpdate = "?waiting for update. Or user right to view is missing.";
const char* const JobField_Update = "?update?";

namespace {

// Byte offsets of the layers inside the flat record.
constexpr size_t kBasicsEnd = sizeof(_JobBasics);
constexpr size_t kSubmitterEnd = sizeof(_JobSubmitter);
constexpr size_t kSaveEnd = sizeof(_JobSave);
constexpr size_t kSendEnd = sizeof(_JobSend);
constexpr size_t kOuterEnd = 20; // header pairs and OuterStructID/Version survive a clear

// 50 days: a fresh job's WaitForTime lies this far before its DateSend.
constexpr int64_t kWaitForTimeBack = 4320000;

void zeroBytes(void* record, size_t from, size_t to)
{
    std::memset(static_cast<unsigned char*>(record) + from, 0, to - from);
}

// double to int32 by truncation, saturating; NaN gives 0. Sequence fields come from files.
int32_t truncToInt32(double v)
{
    if (!(v == v)) return 0;
    if (v >= 2147483647.0) return std::numeric_limits<int32_t>::max();
    if (v <= -2147483648.0) return std::numeric_limits<int32_t>::min();
    return int32_t(v);
}

int32_t clampToInt32(long long v)
{
    if (v > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (v < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
    return int32_t(v);
}

} // namespace

int jobFramesTotal(double seqStart, double seqEnd, double seqStep, int imageChannelCount,
                   int32_t* framesPerPass)
{
    const int32_t perPass = truncToInt32((seqEnd - seqStart) / seqStep + 1.0);
    if (framesPerPass) *framesPerPass = perPass;
    long long total = perPass;
    if (imageChannelCount >= 1) total *= imageChannelCount;
    return clampToInt32(total);
}

// ---- _JobBasics

_JobBasics::_JobBasics()
{
    Initialize();
}

void _JobBasics::Initialize()
{
    zeroBytes(this, 0, kBasicsEnd);
    BasicsStructID = JobBasics_StructID;
    BasicsStructVersion = JobBasics_StructVersion;
    fmClearBasics();
}

void _JobBasics::fmClearBasics()
{
    zeroBytes(this, kOuterEnd, kBasicsEnd);
    PathOS = uint8_t(fmThisOS);
    ImageFramePadding = 4;
    SeqStart = 1.0;
    SeqEnd = 1.0;
    SeqStep = 1.0;
}

QString _JobBasics::IDstr() const
{
    return fmJ::ID2str(JobID);
}

QString _JobBasics::ID2str() const
{
    return fmJ::ID2str(JobID);
}

QString _JobBasics::IDstrFull() const
{
    return fmJ::ID2strFull(JobID);
}

QString _JobBasics::ID2strFull() const
{
    return fmJ::ID2strFull(JobID);
}

// ---- _JobSubmitter

_JobSubmitter::_JobSubmitter()
{
    fmClearSubmitter();
}

void _JobSubmitter::fmClearSubmitter()
{
    zeroBytes(this, kBasicsEnd, kSubmitterEnd);
    SubmitterStructID = JobSubmitter_StructID;
    SubmitterStructVersion = JobSubmitter_StructVersion;
    BasicsText25.clear();
    CustomScratch.clear();
    UserName = "none";
    JobFilesFolder = "none";
    CustomSeQName = "<auto>";
    CustomSHotName = "<auto>";
    CustomVersionName = "<auto>";
    const int64_t now = fmTime_t::CurrentTime();
    DateSend.t = now;
    PreviewEnabled = 1;
    SeqDivMIN = 10;
    SeqDivMAX = 25;
    MaxClientsAtATime = 750;
    Priority = 50;
    WaitForTime.t = now - kWaitForTimeBack;
    NumberPreview = 5;
    MaxCrashes = 30;
}

unsigned int _JobSubmitter::ID2ShortID() const
{
    return fmJ::ID2ShortID(JobID);
}

// ---- _JobSave

_JobSave::_JobSave()
{
    fmClearSave();
}

void _JobSave::fmClearSave()
{
    zeroBytes(this, kSubmitterEnd, kSaveEnd);
    if (NumberPreview < 2)
        NumberPreview = 5;
    else if (NumberPreview > 20)
        NumberPreview = 20;
    if (SeqStep <= 0.0) SeqStep = 1.0;
    PreviewFirstFrame = -1;
    PreviewFrameStep = 1;
    SaveStructID = JobSave_StructID;
    SaveStructVersion = JobSave_StructVersion;
    InfoChanged.t = fmTime_t::CurrentTime();
}

void _JobSave::infoChanged_JobSave(const fmTime_t* when)
{
    InfoChanged.t = when ? when->t : fmTime_t::CurrentTime();
}

bool _JobSave::IsDisabled(fmTime_t now) const
{
    if (Disabled) return true;
    if (WaitForTime.t > now.t) return true;
    return Status == 160 || Status == 100 || Status < 41;
}

bool _JobSave::IsJobMarkedAsError() const
{
    return ErrorCountHard > 0 || ErrorCount > 5;
}

int _JobSave::errorCountClamped() const
{
    return ErrorCount < 0 ? 0 : (ErrorCount > JobErrors_Max ? JobErrors_Max : ErrorCount);
}

int _JobSave::logCountClamped() const
{
    return LogCount < 0 ? 0 : (LogCount > JobLog_Max ? JobLog_Max : LogCount);
}

// ---- _JobSend

_JobSend::_JobSend()
{
    fmClearSend(false);
}

void _JobSend::fmClearSend(bool keepRuntime)
{
    (void)keepRuntime;
    zeroBytes(this, kSaveEnd, kSendEnd);
    int32_t perPass = 0;
    FramesTotal = jobFramesTotal(SeqStart, SeqEnd, SeqStep, ImageChannelCount, &perPass);
    FramesPerPass = perPass;
    FramesLeft = clampToInt32((long long)FramesTotal - (long long)FramesDone);
    MeasureA = -9999.0;
    MeasureB = -9999.0;
    FrameTimeSeconds = 7200;
    SendValue65528 = 10;
    SendStructID = JobSend_StructID;
    SendStructVersion = JobSend_StructVersion;
}

void _JobSend::fmClearAll()
{
    Initialize();
    fmClearSubmitter();
    fmClearSave();
    fmClearSend(false);
}

bool _JobSend::isRightStructVersion() const
{
    return BasicsStructID == JobBasics_StructID && SubmitterStructID == JobSubmitter_StructID &&
           SaveStructID == JobSave_StructID && SendStructID == JobSend_StructID &&
           BasicsStructVersion >= JobBasics_StructVersion &&
           SubmitterStructVersion >= JobSubmitter_StructVersion &&
           SaveStructVersion >= JobSave_StructVersion && SendStructVersion >= JobSend_StructVersion;
}

void _JobSend::fromMinInfo(const _JobMinInfo* info, const bool& markUpdate, const bool& clearFirst)
{
    if (!info) return;
    if (clearFirst) fmClearAll();
    JobID = info->JobID;
    UserName = info->UserName;
    CompanyProjectName = info->CompanyProjectName;
    // The minimal record's only other text, the one at 170, fills Software; the job's own
    // CustomSeQName is not among the fields set here and stays as it was.
    Software = info->CustomSeQName;
    JobFlags = uint8_t(info->JobFlags & 0xFF);
    ServerOnly = (info->Bits & 2) ? 1 : 0;
    Disabled = (info->Bits & 4) ? 1 : 0;
    if (info->Bits & 16) Status = 200;
    if (markUpdate) {
        SceneName = JobSceneName_WaitingForUpdate;
        SceneDatabaseDir = JobField_Update;
        Camera = JobField_Update;
        Layer = JobField_Update;
        Channel = JobField_Update;
        ImageDir = JobField_Update;
        ImageFileName = JobField_Update;
        SeqStart = -1.0;
        SeqEnd = -1.0;
    }
}

long long roundHalfAway(double v)
{
    if (std::isnan(v)) return 0;
    const double r = std::round(v);
    if (r >= 9.2e18) return 9200000000000000000LL;
    if (r <= -9.2e18) return -9200000000000000000LL;
    return static_cast<long long>(r);
}

long long _JobSend::fn2F(double frameNumber, signed char pass) const
{
    double v = frameNumber - SeqFileOffset - SeqStart;
    if (v < 0.0) return -1;
    v /= SeqStep;
    if (ImageChannelCount != 0) v += double(pass) * double(FramesPerPass);
    if (v >= double(FramesTotal)) return (long long)FramesTotal - 1;
    if (!(v == v) || v < -9.0e18) return -1; // NaN from a damaged record or a 0 step
    return (long long)std::round(v);
}

double _JobSend::F2fnNoOffset(long long index, signed char* pass) const
{
    const long long perPass = FramesPerPass;
    if (perPass <= 0) {
        if (pass) *pass = 0;
        return double(index) * SeqStep + SeqStart;
    }
    if (pass) *pass = static_cast<signed char>(index / perPass);
    return double(index % perPass) * SeqStep + SeqStart;
}

double _JobSend::F2fn(long long index, signed char* pass) const
{
    return F2fnNoOffset(index, pass) + SeqFileOffset;
}

// ---- _JobMinInfo

_JobMinInfo::_JobMinInfo()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

QString _JobMinInfo::IDstr() const
{
    return fmJ::ID2str(JobID);
}

// ---- _SettingsOnly

_SettingsOnly::_SettingsOnly()
{
    clear();
}

void _SettingsOnly::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

// ---- _JobBasicsArray

_JobBasicsArray::_JobBasicsArray()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    ID = JobBasics_StructID;
    Version = JobBasics_StructVersion;
    StructSize = uint16_t(sizeof(_JobBasics));
}

_JobBasicsArray::~_JobBasicsArray()
{
    clear();
}

bool _JobBasicsArray::SetArraySize(const int& count)
{
    const int want = count;
    if (want <= Count) return true;
    // A record is 24616 bytes: keep the product far inside size_t and the counts inside int.
    constexpr int kMaxRecords = 1 << 20;
    if (want > kMaxRecords) return false;
    if (want > Capacity) {
        int newCapacity = Capacity + Capacity / 2;
        if (newCapacity < want) newCapacity = want;
        if (newCapacity > kMaxRecords) newCapacity = kMaxRecords;
        _JobBasics* old = Data;
        void* p = old ? std::realloc(static_cast<void*>(old), size_t(newCapacity) * sizeof(_JobBasics))
                      : std::calloc(size_t(newCapacity), sizeof(_JobBasics));
        if (!p) return false;
        Data = static_cast<_JobBasics*>(p);
        Capacity = newCapacity;
    }
    _JobBasics* data = Data;
    for (int i = Count; i < want; ++i)
        new (static_cast<void*>(data + i)) _JobBasics();
    Count = want;
    return true;
}

_JobBasics* _JobBasicsArray::at(const int& index)
{
    if (index < 0 || index >= Count || !Data) return nullptr;
    return Data + index;
}

void _JobBasicsArray::clear()
{
    std::free(static_cast<void*>(Data));
    Data = nullptr;
    Count = 0;
    Capacity = 0;
}

bool _JobBasicsArray::getNewJob(_JobBasics*& job)
{
    job = nullptr;
    const int n = Count + 1;
    if (n <= 0 || !SetArraySize(n)) return false;
    job = Data + (n - 1);
    job->Initialize();
    return true;
}

bool _JobBasicsArray::isVersionSupported(unsigned char minVersion) const
{
    return ID == JobBasics_StructID && Version >= minVersion && StructSize == sizeof(_JobBasics);
}

// ---- _JobCommandSend, _JobSettingsSend

namespace {
// `ids` points at the packed IDs array (read with memcpy: it is not 8-byte aligned).
QString idsText(const unsigned char* ids, long long count)
{
    if (count < 0) count = 0;
    if (count > JobCommandSend_MaxIDs) count = JobCommandSend_MaxIDs;
    QString s;
    for (long long i = 0; i < count; ++i) {
        unsigned long long id;
        std::memcpy(&id, ids + i * 8, sizeof(id));
        s += fmJ::ID2str(id);
        s += QStringLiteral(", ");
        if ((i + 1) % 10 == 0) s += LineEnd;
    }
    return s;
}
} // namespace

_JobCommandSend::_JobCommandSend()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    Command = -1;
}

_JobCommandSend::_JobCommandSend(short command)
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    Command = command;
}

QString _JobCommandSend::idsAsString() const
{
    return idsText(reinterpret_cast<const unsigned char*>(this) + offsetof(_JobCommandSend, IDs), Count);
}

_JobSettingsSend::_JobSettingsSend()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    ID = JobBasics_StructID;
    Version = JobBasics_StructVersion;
}

QString _JobSettingsSend::idsAsString() const
{
    return idsText(reinterpret_cast<const unsigned char*>(this) + offsetof(_JobSettingsSend, IDs), Count);
}

} // namespace fmJ
