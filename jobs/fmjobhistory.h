#pragma once
// The history record: the stored form of a finished job in a project database (37980 bytes,
// raw inside a compressed frame), the three older layouts that are upgraded as they are loaded,
// and the runtime form that the job list keeps in memory.
//
// Every layout is packed little-endian; static_asserts at the end pin each field. Records come
// from files written by other machines: ErrorCount, LogCount and string Lengths may hold anything.
// Accessors clamp; raw copies and upgrades keep the bytes as they are.

#include "jobs/fmjob.h"

class __FMSDK;

namespace fmJ {

constexpr uint16_t JobHistory_StructID = 0x0A04;
constexpr uint16_t JobHistory_StructVersion = 3;
constexpr uint16_t JobHistoryOld61_StructID = 0x0A02;
constexpr uint16_t JobHistoryOld62_StructID = 0x0A03; // also _OLD627_: told apart by size
constexpr int JobHistoryImageChannels_Max = 20;
constexpr int JobHistoryBasicsTags_Max = 20;
constexpr int JobHistoryErrors_Keep = 49; // a copy from _JobSave keeps at most 49 errors
constexpr int JobHistoryLog_Keep = 749;   // and the newest 749 log entries

#pragma pack(push, 1)

// An error in a history record, 12 bytes; the same form as _Error.
struct _History_Error
{
    int16_t Who;
    int8_t Code;
    uint8_t Free;
    fmTimePacked Time; // at +4

    _Error toNew() const;
};

// A log entry in a history record (and in the three old layouts), 16 bytes: the fields of _Log
// in another order.
struct _History_Log
{
    uint8_t Param3;           // _Log +7
    int8_t Message;           // _Log +4
    uint8_t JobStatus;        // _Log +5
    uint8_t ClientsRendering; // _Log +6
    int16_t Who;              // _Log +14
    int16_t FramesLeft;       // _Log +12
    uint16_t Param1;          // _Log +10
    uint16_t Param2;          // _Log +8
    fmTime_t32 Time;          // _Log +0

    _Log toNew() const;
    void fromNew(const _Log& log);
};

// Per client in a history record, 8 bytes: the +0 and +20 parts of a _JobClientStat.
struct _HistoryClientStat
{
    uint8_t State[4]; // copied byte by byte, not read here
    int32_t FramesDone;
};

struct _jobsHistoryDB
{
    uint16_t BasicsStructID;
    uint16_t BasicsStructVersion;
    uint16_t SubmitterStructID;
    uint16_t SubmitterStructVersion;
    uint16_t SaveStructID;
    uint16_t SaveStructVersion;
    uint8_t Reserved12[4];
    uint16_t HistoryStructID;
    uint16_t HistoryStructVersion;
    uint8_t PathOS;
    uint8_t SceneOS;
    fmString<250> SceneName;
    fmString<250> SceneDatabaseDir;
    uint8_t Reserved1034[2];
    uint32_t VersionMinor;
    fmString<25> Software;
    fmString<25> Renderer;
    int16_t Version;
    fmString<25> SoftwareAlias;
    fmString<25> RenderType;
    uint16_t AppValue254;
    uint16_t AppValue256;
    uint8_t Reserved1270[2];
    uint8_t BasicsFlag22;
    uint8_t Reserved1273[1];
    fmString<50> Camera;
    fmString<50> Layer;
    fmString<50> Channel;
    fmString<250> ImageDir;
    fmString<250> ImageFileNameVariable;
    fmString<250> ImageFileName;
    fmString<250> ImageFileNamePost;
    fmString<25> ImageExtension;
    uint8_t ImageFormatFlag;
    uint8_t ImageFramePadding;
    _JobImageChannel ImageChannels[20];
    int16_t ImageWidth;
    int16_t ImageHeight;
    uint8_t ImageSingleOutputFile;
    uint8_t Reserved14919[1];
    fmString<25> BasicsText25;
    int8_t ImageChannelCount;
    uint8_t Reserved14977[1];
    fmString<10> BasicsTags[20];
    uint8_t Reserved15498[2];
    double SeqStart;
    double SeqEnd;
    double SeqStep;
    double SeqFileOffset;
    fmString<50> BasicsText100; // the job's Latin-1 text cut to 50
    uint8_t BasicsFlag19000;
    uint8_t Selected;
    unsigned long long JobID;
    fmString<25> UserName;
    fmString<25> SubmitterText25;
    fmString<25> CustomSeQName;
    fmString<25> CustomSHotName;
    fmString<25> CustomVersionName;
    fmString<50> CompanyProjectName;
    uint8_t Reserved16034[2];
    fmTimePacked DateSend;
    uint8_t Color_ID;
    uint8_t Reserved16045[3];
    _HistoryClientStat ClientStats[750];
    int8_t Priority;
    int8_t ErrorCountHard;
    int8_t ErrorCount; // untrusted
    uint8_t Reserved22051[1];
    _History_Error Errors[50];
    int16_t LogCount; // untrusted
    uint8_t Reserved22654[2];
    _History_Log Log[750];
    uint64_t ExecutionTime;
    uint64_t TotalPS;
    float TotalGhzHours;
    fmTimePacked DateFinished;
    uint16_t FrameCounters[7];
    uint8_t Reserved34698[2];
    _JobFrameLog FrameLog[200];
    uint16_t FramesSend;
    uint16_t FramesCrashed;
    uint16_t FramesAborted;
    uint8_t Reserved37906[2];
    float AverageClients;
    uint32_t AverageFrameTime;
    int32_t TotalFrames;
    uint8_t PreviewEnabled;
    uint8_t Reserved37921[59];

    _jobsHistoryDB();
    // Zeroes the 37980 bytes.
    void clear();
    // A history record from a finished job: the header words at 0, 2, 4 (6, 8, 10 stay 0), the
    // history pair, the fields of the table, at most 49 errors, the newest 749 log entries,
    // TotalFrames computed.
    _jobsHistoryDB& operator=(const _JobSave& job);
    // A raw copy: strings keep their text and both length words, every other byte as it stands.
    _jobsHistoryDB& operator=(const _jobsHistoryDB& other) = default;
    _jobsHistoryDB(const _jobsHistoryDB& other) = default;

    // Entries in use, clamped to the arrays.
    int errorCountClamped() const;
    int logCountClamped() const;

    QString IDstr() const;
    QString IDstrFull() const;
};

// The layout before version 6.2: 30188 bytes, identifier 0x0A02. 9 additional outputs, 400 clients.
struct _OLD61__jobsHistoryDB
{
    uint16_t BasicsStructID;
    uint16_t BasicsStructVersion;
    uint16_t SubmitterStructID;
    uint16_t SubmitterStructVersion;
    uint16_t SaveStructID;
    uint16_t SaveStructVersion;
    uint8_t Reserved12[4];
    uint16_t HistoryStructID;
    uint16_t HistoryStructVersion;
    uint8_t PathOS;
    uint8_t SceneOS;
    fmString<250> SceneName;
    fmString<250> SceneDatabaseDir;
    uint8_t Reserved1034[2];
    uint32_t VersionMinor;
    fmString<25> Software;
    fmString<25> Renderer;
    int16_t Version;
    fmString<25> SoftwareAlias;
    fmString<25> RenderType;
    uint16_t AppValue254;
    uint16_t AppValue256;
    uint8_t Reserved1270[2];
    fmString<50> Camera;
    fmString<50> Layer;
    fmString<50> Channel;
    fmString<250> ImageDir;
    uint8_t Reserved2096[206];
    fmString<250> ImageFileName;
    fmString<250> ImageFileNamePost;
    fmString<25> ImageExtension;
    uint8_t ImageFormatFlag;
    uint8_t ImageFramePadding;
    _JobImageChannel ImageChannels[9];
    uint8_t Reserved8430[562];
    int16_t ImageWidth;
    int16_t ImageHeight;
    uint8_t ImageSingleOutputFile;
    int8_t ImageChannelCount;
    fmString<10> BasicsTags[20];
    uint8_t Reserved9518[1];
    uint8_t BasicsFlag19000;
    double SeqStart;
    double SeqEnd;
    double SeqStep;
    double SeqFileOffset;
    fmString<25> BasicsText25;
    uint8_t Selected;
    uint8_t Reserved9609[22];
    uint8_t BasicsFlag22;
    uint8_t Reserved9632[556];
    fmString<250> ImageFileNameVariable;
    uint8_t Reserved10694[6];
    fmString<25> UserName;
    fmString<25> SubmitterText25;
    fmString<25> CustomSeQName;
    fmString<25> CustomSHotName;
    fmString<25> CustomVersionName;
    fmString<25> CompanyProjectName;
    fmTimePacked DateSend;
    unsigned long long JobID;
    uint8_t Color_ID;
    uint8_t Reserved11053[3];
    _HistoryClientStat ClientStats[400];
    uint8_t Reserved14256[1];
    int8_t Priority;
    int8_t ErrorCountHard;
    int8_t ErrorCount;
    _History_Error Errors[50];
    int16_t LogCount;
    uint8_t Reserved14862[2];
    _History_Log Log[750];
    uint64_t ExecutionTime;
    uint64_t TotalPS;
    fmTimePacked DateFinished;
    uint16_t FrameCounters[7];
    uint8_t Reserved26902[2];
    _JobFrameLog FrameLog[200];
    uint16_t FramesSend;
    uint16_t FramesCrashed;
    uint16_t FramesAborted;
    uint8_t Reserved30110[2];
    float AverageClients;
    uint32_t AverageFrameTime;
    uint8_t Reserved30120[4];
    uint8_t PreviewEnabled;
    uint8_t Reserved30125[3];
    float TotalGhzHours;
    uint8_t Reserved30132[56];

    void toJobHistoryDBNew(_jobsHistoryDB& to) const;
};

// Version 6.2: 39516 bytes, identifier 0x0A03.
struct _OLD62_jobsHistoryDB
{
    uint16_t BasicsStructID;
    uint16_t BasicsStructVersion;
    uint16_t SubmitterStructID;
    uint16_t SubmitterStructVersion;
    uint16_t SaveStructID;
    uint16_t SaveStructVersion;
    uint8_t Reserved12[4];
    uint16_t HistoryStructID;
    uint16_t HistoryStructVersion;
    uint8_t PathOS;
    uint8_t SceneOS;
    fmString<250> SceneName;
    fmString<250> SceneDatabaseDir;
    uint8_t Reserved1034[2];
    uint32_t VersionMinor;
    fmString<25> Software;
    fmString<25> Renderer;
    int16_t Version;
    fmString<25> SoftwareAlias;
    fmString<25> RenderType;
    uint16_t AppValue254;
    uint16_t AppValue256;
    uint8_t Reserved1270[2];
    uint8_t BasicsFlag22;
    uint8_t Reserved1273[1];
    fmString<50> Camera;
    fmString<50> Layer;
    fmString<50> Channel;
    fmString<250> ImageDir;
    fmString<250> ImageFileNameVariable;
    fmString<250> ImageFileName;
    fmString<250> ImageFileNamePost;
    fmString<25> ImageExtension;
    uint8_t ImageFormatFlag;
    uint8_t ImageFramePadding;
    _JobImageChannel ImageChannels[20];
    int16_t ImageWidth;
    int16_t ImageHeight;
    uint8_t ImageSingleOutputFile;
    uint8_t Reserved14919[1];
    fmString<25> BasicsText25;
    int8_t ImageChannelCount;
    uint8_t Reserved14977[1];
    fmString<10> BasicsTags[20];
    uint8_t Reserved15498[2];
    double SeqStart;
    double SeqEnd;
    double SeqStep;
    double SeqFileOffset;
    uint8_t Reserved15532[106];
    uint8_t BasicsFlag19000;
    uint8_t Reserved15639[1531];
    uint8_t Selected;
    uint8_t Reserved17171[57];
    fmString<25> UserName;
    fmString<25> SubmitterText25;
    fmString<25> CustomSeQName;
    fmString<25> CustomSHotName;
    fmString<25> CustomVersionName;
    fmString<25> CompanyProjectName;
    fmTimePacked DateSend;
    unsigned long long JobID;
    uint8_t Color_ID;
    uint8_t Reserved17581[3];
    _HistoryClientStat ClientStats[750];
    uint8_t Reserved23584[1];
    int8_t Priority;
    int8_t ErrorCountHard;
    int8_t ErrorCount;
    _History_Error Errors[50];
    int16_t LogCount;
    uint8_t Reserved24190[2];
    _History_Log Log[750];
    uint64_t ExecutionTime;
    uint64_t TotalPS;
    fmTimePacked DateFinished;
    uint16_t FrameCounters[7];
    uint8_t Reserved36230[2];
    _JobFrameLog FrameLog[200];
    uint16_t FramesSend;
    uint16_t FramesCrashed;
    uint16_t FramesAborted;
    uint8_t Reserved39438[2];
    float AverageClients;
    uint32_t AverageFrameTime;
    uint8_t Reserved39448[4];
    uint8_t PreviewEnabled;
    uint8_t Reserved39453[3];
    float TotalGhzHours;
    uint8_t Reserved39460[56];

    void toJobHistoryDBNew(_jobsHistoryDB& to) const;
};

// Version 6.27: 46908 bytes, identifier 0x0A03 (told apart from 6.2 by size).
struct _OLD627_jobsHistoryDB
{
    uint16_t BasicsStructID;
    uint16_t BasicsStructVersion;
    uint16_t SubmitterStructID;
    uint16_t SubmitterStructVersion;
    uint16_t SaveStructID;
    uint16_t SaveStructVersion;
    uint8_t Reserved12[4];
    uint16_t HistoryStructID;
    uint16_t HistoryStructVersion;
    uint8_t PathOS;
    uint8_t SceneOS;
    uint8_t BasicsFlag22;
    uint8_t Reserved23[1];
    uint32_t VersionMinor;
    fmString<25> Software;
    fmString<25> Renderer;
    int16_t Version;
    fmString<25> SoftwareAlias;
    fmString<25> RenderType;
    uint16_t AppValue254;
    uint16_t AppValue256;
    uint8_t Reserved258[2];
    fmString<250> SceneName;
    fmString<250> SceneDatabaseDir;
    uint8_t Reserved1272[506];
    fmString<50> Camera;
    fmString<50> Layer;
    fmString<50> Channel;
    fmString<250> ImageFileNameVariable;
    fmString<250> ImageDir;
    fmString<250> ImageFileName;
    fmString<250> ImageFileNamePost;
    fmString<25> ImageExtension;
    uint8_t ImageFormatFlag;
    uint8_t ImageFramePadding;
    _JobImageChannel ImageChannels[20];
    uint8_t Reserved15418[2810];
    int16_t ImageWidth;
    int16_t ImageHeight;
    uint8_t ImageSingleOutputFile;
    uint8_t Reserved18233[1];
    fmString<25> BasicsText25;
    int8_t ImageChannelCount;
    uint8_t Reserved18291[1];
    fmString<10> BasicsTags[20];
    uint8_t Reserved18812[52];
    double SeqStart;
    double SeqEnd;
    double SeqStep;
    double SeqFileOffset;
    uint8_t Reserved18896[104];
    uint8_t BasicsFlag19000;
    uint8_t Reserved19001[5551];
    uint8_t Selected;
    uint8_t Reserved24553[67];
    fmString<25> UserName;
    fmString<25> SubmitterText25;
    fmString<25> CustomSeQName;
    fmString<25> CustomSHotName;
    fmString<25> CustomVersionName;
    fmString<25> CompanyProjectName;
    fmTimePacked DateSend;
    unsigned long long JobID;
    uint8_t Color_ID;
    uint8_t Reserved24973[3];
    _HistoryClientStat ClientStats[750];
    uint8_t Reserved30976[1];
    int8_t Priority;
    int8_t ErrorCountHard;
    int8_t ErrorCount;
    _History_Error Errors[50];
    int16_t LogCount;
    uint8_t Reserved31582[2];
    _History_Log Log[750];
    uint64_t ExecutionTime;
    uint64_t TotalPS;
    fmTimePacked DateFinished;
    uint16_t FrameCounters[7];
    uint8_t Reserved43622[2];
    _JobFrameLog FrameLog[200];
    uint16_t FramesSend;
    uint16_t FramesCrashed;
    uint16_t FramesAborted;
    uint8_t Reserved46830[2];
    float AverageClients;
    uint32_t AverageFrameTime;
    uint8_t Reserved46840[4];
    uint8_t PreviewEnabled;
    uint8_t Reserved46845[3];
    float TotalGhzHours;
    uint8_t Reserved46852[56];

    void toJobHistoryDBNew(_jobsHistoryDB& to) const;
};

// Speed of one client of the farm, as the GHz-hours estimate needs it.
struct _ClientSpeed
{
    float Speed; // client's Speed (the client table's unit, for all its cores)
    int Cores;
};

// A loaded history record with what only memory needs. 38104 bytes; never written to disk.
struct _jobsHistoryDB_Runtime : public _jobsHistoryDB
{
    int32_t QueueID;         // position in the job list; -1: slot not in use
    uint8_t HistorySelected; // selection flag when the job list is a copy
    uint8_t Reserved37985;
    fmString<25> UserNameLower;       // UserName by fmFilterLower, for filtering
    fmString<25> CompanyProjectLower; // CompanyProjectName cut to 25, by fmFilterLower
    uint16_t SourceFile;              // 1 + index of the file in _JobList::Sources; 0: none
    uint8_t Reserved38100[4];

    _jobsHistoryDB_Runtime();
    using _jobsHistoryDB::operator=;

    // Fills this from a stored record: copy, lower-cased keys, and TotalGhzHours estimated from
    // the client table of `fm` when the record has none.
    void fromJobSave(const _jobsHistoryDB* stored, __FMSDK& fm);
    // The same with the client speeds given by index (speeds[k] belongs to client index k).
    void fromJobSave(const _jobsHistoryDB* stored, const _ClientSpeed* speeds, int clientCount);

    // Defined with the naming code.
    QString GetSceneDisplayName() const;
};

#pragma pack(pop)

// The one lower-casing of the user and project filters, for the stored keys and the filter text
// alike: each UTF-16 unit by Unicode's simple mapping, one unit to one unit, whatever the process
// locale. So every name taken from the jobs finds them again, letters beyond ASCII included.
char16_t fmFilterLower(char16_t unit);
QString fmFilterLower(const QString& text);

// GHz hours of a stored record as a load shows them: the record's own when above 0, else estimated
// from its processor seconds and the average speed per core of the clients (`speeds[k]` belongs to
// client index k) that rendered 11 frames or more of it; 0 when none did.
float fmJobGhzHours(const _jobsHistoryDB& record, const _ClientSpeed* speeds, int clientCount);

// Frames to render: TotalFrames where the record has it; records of the old layouts carry 0 there,
// so the sequence tells (start to end by step, each output counted). 0 for a sequence that isn't
// finite or runs backwards; at most INT32_MAX.
int32_t fmJobFrames(const _jobsHistoryDB& record);

// Speeds of the clients of FM's client table by client index, at most `max` of them; returns the
// number written. Wired to fmC::_ClientList (FM.ClientList): `Speed` and `Cores` of each client.
int fmJobClientSpeeds(const __FMSDK& fm, _ClientSpeed* out, int max);

} // namespace fmJ

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
namespace fmJ {
static_assert(sizeof(_History_Error) == 12 && offsetof(_History_Error, Code) == 2 &&
              offsetof(_History_Error, Time) == 4);
static_assert(sizeof(_History_Log) == 16 && offsetof(_History_Log, Message) == 1);
static_assert(offsetof(_History_Log, JobStatus) == 2 && offsetof(_History_Log, ClientsRendering) == 3);
static_assert(offsetof(_History_Log, Who) == 4 && offsetof(_History_Log, FramesLeft) == 6);
static_assert(offsetof(_History_Log, Param1) == 8 && offsetof(_History_Log, Param2) == 10);
static_assert(offsetof(_History_Log, Time) == 12);
static_assert(sizeof(_HistoryClientStat) == 8 && offsetof(_HistoryClientStat, FramesDone) == 4);
static_assert(std::is_trivially_copyable_v<_jobsHistoryDB_Runtime> &&
              std::is_trivially_copyable_v<_OLD627_jobsHistoryDB>);
static_assert(std::is_trivially_copyable_v<_OLD61__jobsHistoryDB> &&
              std::is_trivially_copyable_v<_OLD62_jobsHistoryDB>);
static_assert(offsetof(_jobsHistoryDB, BasicsStructID) == 0);
static_assert(offsetof(_jobsHistoryDB, BasicsStructVersion) == 2);
static_assert(offsetof(_jobsHistoryDB, SubmitterStructID) == 4);
static_assert(offsetof(_jobsHistoryDB, SubmitterStructVersion) == 6);
static_assert(offsetof(_jobsHistoryDB, SaveStructID) == 8);
static_assert(offsetof(_jobsHistoryDB, SaveStructVersion) == 10);
static_assert(offsetof(_jobsHistoryDB, HistoryStructID) == 16);
static_assert(offsetof(_jobsHistoryDB, HistoryStructVersion) == 18);
static_assert(offsetof(_jobsHistoryDB, PathOS) == 20);
static_assert(offsetof(_jobsHistoryDB, SceneOS) == 21);
static_assert(offsetof(_jobsHistoryDB, SceneName) == 22);
static_assert(offsetof(_jobsHistoryDB, SceneDatabaseDir) == 528);
static_assert(offsetof(_jobsHistoryDB, VersionMinor) == 1036);
static_assert(offsetof(_jobsHistoryDB, Software) == 1040);
static_assert(offsetof(_jobsHistoryDB, Renderer) == 1096);
static_assert(offsetof(_jobsHistoryDB, Version) == 1152);
static_assert(offsetof(_jobsHistoryDB, SoftwareAlias) == 1154);
static_assert(offsetof(_jobsHistoryDB, RenderType) == 1210);
static_assert(offsetof(_jobsHistoryDB, AppValue254) == 1266);
static_assert(offsetof(_jobsHistoryDB, AppValue256) == 1268);
static_assert(offsetof(_jobsHistoryDB, BasicsFlag22) == 1272);
static_assert(offsetof(_jobsHistoryDB, Camera) == 1274);
static_assert(offsetof(_jobsHistoryDB, Layer) == 1380);
static_assert(offsetof(_jobsHistoryDB, Channel) == 1486);
static_assert(offsetof(_jobsHistoryDB, ImageDir) == 1592);
static_assert(offsetof(_jobsHistoryDB, ImageFileNameVariable) == 2098);
static_assert(offsetof(_jobsHistoryDB, ImageFileName) == 2604);
static_assert(offsetof(_jobsHistoryDB, ImageFileNamePost) == 3110);
static_assert(offsetof(_jobsHistoryDB, ImageExtension) == 3616);
static_assert(offsetof(_jobsHistoryDB, ImageFormatFlag) == 3672);
static_assert(offsetof(_jobsHistoryDB, ImageFramePadding) == 3673);
static_assert(offsetof(_jobsHistoryDB, ImageChannels) == 3674);
static_assert(offsetof(_jobsHistoryDB, ImageWidth) == 14914);
static_assert(offsetof(_jobsHistoryDB, ImageHeight) == 14916);
static_assert(offsetof(_jobsHistoryDB, ImageSingleOutputFile) == 14918);
static_assert(offsetof(_jobsHistoryDB, BasicsText25) == 14920);
static_assert(offsetof(_jobsHistoryDB, ImageChannelCount) == 14976);
static_assert(offsetof(_jobsHistoryDB, BasicsTags) == 14978);
static_assert(offsetof(_jobsHistoryDB, SeqStart) == 15500);
static_assert(offsetof(_jobsHistoryDB, SeqEnd) == 15508);
static_assert(offsetof(_jobsHistoryDB, SeqStep) == 15516);
static_assert(offsetof(_jobsHistoryDB, SeqFileOffset) == 15524);
static_assert(offsetof(_jobsHistoryDB, BasicsText100) == 15532);
static_assert(offsetof(_jobsHistoryDB, BasicsFlag19000) == 15638);
static_assert(offsetof(_jobsHistoryDB, Selected) == 15639);
static_assert(offsetof(_jobsHistoryDB, JobID) == 15640);
static_assert(offsetof(_jobsHistoryDB, UserName) == 15648);
static_assert(offsetof(_jobsHistoryDB, SubmitterText25) == 15704);
static_assert(offsetof(_jobsHistoryDB, CustomSeQName) == 15760);
static_assert(offsetof(_jobsHistoryDB, CustomSHotName) == 15816);
static_assert(offsetof(_jobsHistoryDB, CustomVersionName) == 15872);
static_assert(offsetof(_jobsHistoryDB, CompanyProjectName) == 15928);
static_assert(offsetof(_jobsHistoryDB, DateSend) == 16036);
static_assert(offsetof(_jobsHistoryDB, Color_ID) == 16044);
static_assert(offsetof(_jobsHistoryDB, ClientStats) == 16048);
static_assert(offsetof(_jobsHistoryDB, Priority) == 22048);
static_assert(offsetof(_jobsHistoryDB, ErrorCountHard) == 22049);
static_assert(offsetof(_jobsHistoryDB, ErrorCount) == 22050);
static_assert(offsetof(_jobsHistoryDB, Errors) == 22052);
static_assert(offsetof(_jobsHistoryDB, LogCount) == 22652);
static_assert(offsetof(_jobsHistoryDB, Log) == 22656);
static_assert(offsetof(_jobsHistoryDB, ExecutionTime) == 34656);
static_assert(offsetof(_jobsHistoryDB, TotalPS) == 34664);
static_assert(offsetof(_jobsHistoryDB, TotalGhzHours) == 34672);
static_assert(offsetof(_jobsHistoryDB, DateFinished) == 34676);
static_assert(offsetof(_jobsHistoryDB, FrameCounters) == 34684);
static_assert(offsetof(_jobsHistoryDB, FrameLog) == 34700);
static_assert(offsetof(_jobsHistoryDB, FramesSend) == 37900);
static_assert(offsetof(_jobsHistoryDB, FramesCrashed) == 37902);
static_assert(offsetof(_jobsHistoryDB, FramesAborted) == 37904);
static_assert(offsetof(_jobsHistoryDB, AverageClients) == 37908);
static_assert(offsetof(_jobsHistoryDB, AverageFrameTime) == 37912);
static_assert(offsetof(_jobsHistoryDB, TotalFrames) == 37916);
static_assert(offsetof(_jobsHistoryDB, PreviewEnabled) == 37920);
static_assert(sizeof(_jobsHistoryDB) == 37980);
static_assert(offsetof(_OLD61__jobsHistoryDB, BasicsStructID) == 0);
static_assert(offsetof(_OLD61__jobsHistoryDB, BasicsStructVersion) == 2);
static_assert(offsetof(_OLD61__jobsHistoryDB, SubmitterStructID) == 4);
static_assert(offsetof(_OLD61__jobsHistoryDB, SubmitterStructVersion) == 6);
static_assert(offsetof(_OLD61__jobsHistoryDB, SaveStructID) == 8);
static_assert(offsetof(_OLD61__jobsHistoryDB, SaveStructVersion) == 10);
static_assert(offsetof(_OLD61__jobsHistoryDB, HistoryStructID) == 16);
static_assert(offsetof(_OLD61__jobsHistoryDB, HistoryStructVersion) == 18);
static_assert(offsetof(_OLD61__jobsHistoryDB, PathOS) == 20);
static_assert(offsetof(_OLD61__jobsHistoryDB, SceneOS) == 21);
static_assert(offsetof(_OLD61__jobsHistoryDB, SceneName) == 22);
static_assert(offsetof(_OLD61__jobsHistoryDB, SceneDatabaseDir) == 528);
static_assert(offsetof(_OLD61__jobsHistoryDB, VersionMinor) == 1036);
static_assert(offsetof(_OLD61__jobsHistoryDB, Software) == 1040);
static_assert(offsetof(_OLD61__jobsHistoryDB, Renderer) == 1096);
static_assert(offsetof(_OLD61__jobsHistoryDB, Version) == 1152);
static_assert(offsetof(_OLD61__jobsHistoryDB, SoftwareAlias) == 1154);
static_assert(offsetof(_OLD61__jobsHistoryDB, RenderType) == 1210);
static_assert(offsetof(_OLD61__jobsHistoryDB, AppValue254) == 1266);
static_assert(offsetof(_OLD61__jobsHistoryDB, AppValue256) == 1268);
static_assert(offsetof(_OLD61__jobsHistoryDB, Camera) == 1272);
static_assert(offsetof(_OLD61__jobsHistoryDB, Layer) == 1378);
static_assert(offsetof(_OLD61__jobsHistoryDB, Channel) == 1484);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageDir) == 1590);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageFileName) == 2302);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageFileNamePost) == 2808);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageExtension) == 3314);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageFormatFlag) == 3370);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageFramePadding) == 3371);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageChannels) == 3372);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageWidth) == 8992);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageHeight) == 8994);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageSingleOutputFile) == 8996);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageChannelCount) == 8997);
static_assert(offsetof(_OLD61__jobsHistoryDB, BasicsTags) == 8998);
static_assert(offsetof(_OLD61__jobsHistoryDB, BasicsFlag19000) == 9519);
static_assert(offsetof(_OLD61__jobsHistoryDB, SeqStart) == 9520);
static_assert(offsetof(_OLD61__jobsHistoryDB, SeqEnd) == 9528);
static_assert(offsetof(_OLD61__jobsHistoryDB, SeqStep) == 9536);
static_assert(offsetof(_OLD61__jobsHistoryDB, SeqFileOffset) == 9544);
static_assert(offsetof(_OLD61__jobsHistoryDB, BasicsText25) == 9552);
static_assert(offsetof(_OLD61__jobsHistoryDB, Selected) == 9608);
static_assert(offsetof(_OLD61__jobsHistoryDB, BasicsFlag22) == 9631);
static_assert(offsetof(_OLD61__jobsHistoryDB, ImageFileNameVariable) == 10188);
static_assert(offsetof(_OLD61__jobsHistoryDB, UserName) == 10700);
static_assert(offsetof(_OLD61__jobsHistoryDB, SubmitterText25) == 10756);
static_assert(offsetof(_OLD61__jobsHistoryDB, CustomSeQName) == 10812);
static_assert(offsetof(_OLD61__jobsHistoryDB, CustomSHotName) == 10868);
static_assert(offsetof(_OLD61__jobsHistoryDB, CustomVersionName) == 10924);
static_assert(offsetof(_OLD61__jobsHistoryDB, CompanyProjectName) == 10980);
static_assert(offsetof(_OLD61__jobsHistoryDB, DateSend) == 11036);
static_assert(offsetof(_OLD61__jobsHistoryDB, JobID) == 11044);
static_assert(offsetof(_OLD61__jobsHistoryDB, Color_ID) == 11052);
static_assert(offsetof(_OLD61__jobsHistoryDB, ClientStats) == 11056);
static_assert(offsetof(_OLD61__jobsHistoryDB, Priority) == 14257);
static_assert(offsetof(_OLD61__jobsHistoryDB, ErrorCountHard) == 14258);
static_assert(offsetof(_OLD61__jobsHistoryDB, ErrorCount) == 14259);
static_assert(offsetof(_OLD61__jobsHistoryDB, Errors) == 14260);
static_assert(offsetof(_OLD61__jobsHistoryDB, LogCount) == 14860);
static_assert(offsetof(_OLD61__jobsHistoryDB, Log) == 14864);
static_assert(offsetof(_OLD61__jobsHistoryDB, ExecutionTime) == 26864);
static_assert(offsetof(_OLD61__jobsHistoryDB, TotalPS) == 26872);
static_assert(offsetof(_OLD61__jobsHistoryDB, DateFinished) == 26880);
static_assert(offsetof(_OLD61__jobsHistoryDB, FrameCounters) == 26888);
static_assert(offsetof(_OLD61__jobsHistoryDB, FrameLog) == 26904);
static_assert(offsetof(_OLD61__jobsHistoryDB, FramesSend) == 30104);
static_assert(offsetof(_OLD61__jobsHistoryDB, FramesCrashed) == 30106);
static_assert(offsetof(_OLD61__jobsHistoryDB, FramesAborted) == 30108);
static_assert(offsetof(_OLD61__jobsHistoryDB, AverageClients) == 30112);
static_assert(offsetof(_OLD61__jobsHistoryDB, AverageFrameTime) == 30116);
static_assert(offsetof(_OLD61__jobsHistoryDB, PreviewEnabled) == 30124);
static_assert(offsetof(_OLD61__jobsHistoryDB, TotalGhzHours) == 30128);
static_assert(sizeof(_OLD61__jobsHistoryDB) == 30188);
static_assert(offsetof(_OLD62_jobsHistoryDB, BasicsStructID) == 0);
static_assert(offsetof(_OLD62_jobsHistoryDB, BasicsStructVersion) == 2);
static_assert(offsetof(_OLD62_jobsHistoryDB, SubmitterStructID) == 4);
static_assert(offsetof(_OLD62_jobsHistoryDB, SubmitterStructVersion) == 6);
static_assert(offsetof(_OLD62_jobsHistoryDB, SaveStructID) == 8);
static_assert(offsetof(_OLD62_jobsHistoryDB, SaveStructVersion) == 10);
static_assert(offsetof(_OLD62_jobsHistoryDB, HistoryStructID) == 16);
static_assert(offsetof(_OLD62_jobsHistoryDB, HistoryStructVersion) == 18);
static_assert(offsetof(_OLD62_jobsHistoryDB, PathOS) == 20);
static_assert(offsetof(_OLD62_jobsHistoryDB, SceneOS) == 21);
static_assert(offsetof(_OLD62_jobsHistoryDB, SceneName) == 22);
static_assert(offsetof(_OLD62_jobsHistoryDB, SceneDatabaseDir) == 528);
static_assert(offsetof(_OLD62_jobsHistoryDB, VersionMinor) == 1036);
static_assert(offsetof(_OLD62_jobsHistoryDB, Software) == 1040);
static_assert(offsetof(_OLD62_jobsHistoryDB, Renderer) == 1096);
static_assert(offsetof(_OLD62_jobsHistoryDB, Version) == 1152);
static_assert(offsetof(_OLD62_jobsHistoryDB, SoftwareAlias) == 1154);
static_assert(offsetof(_OLD62_jobsHistoryDB, RenderType) == 1210);
static_assert(offsetof(_OLD62_jobsHistoryDB, AppValue254) == 1266);
static_assert(offsetof(_OLD62_jobsHistoryDB, AppValue256) == 1268);
static_assert(offsetof(_OLD62_jobsHistoryDB, BasicsFlag22) == 1272);
static_assert(offsetof(_OLD62_jobsHistoryDB, Camera) == 1274);
static_assert(offsetof(_OLD62_jobsHistoryDB, Layer) == 1380);
static_assert(offsetof(_OLD62_jobsHistoryDB, Channel) == 1486);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageDir) == 1592);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageFileNameVariable) == 2098);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageFileName) == 2604);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageFileNamePost) == 3110);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageExtension) == 3616);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageFormatFlag) == 3672);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageFramePadding) == 3673);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageChannels) == 3674);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageWidth) == 14914);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageHeight) == 14916);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageSingleOutputFile) == 14918);
static_assert(offsetof(_OLD62_jobsHistoryDB, BasicsText25) == 14920);
static_assert(offsetof(_OLD62_jobsHistoryDB, ImageChannelCount) == 14976);
static_assert(offsetof(_OLD62_jobsHistoryDB, BasicsTags) == 14978);
static_assert(offsetof(_OLD62_jobsHistoryDB, SeqStart) == 15500);
static_assert(offsetof(_OLD62_jobsHistoryDB, SeqEnd) == 15508);
static_assert(offsetof(_OLD62_jobsHistoryDB, SeqStep) == 15516);
static_assert(offsetof(_OLD62_jobsHistoryDB, SeqFileOffset) == 15524);
static_assert(offsetof(_OLD62_jobsHistoryDB, BasicsFlag19000) == 15638);
static_assert(offsetof(_OLD62_jobsHistoryDB, Selected) == 17170);
static_assert(offsetof(_OLD62_jobsHistoryDB, UserName) == 17228);
static_assert(offsetof(_OLD62_jobsHistoryDB, SubmitterText25) == 17284);
static_assert(offsetof(_OLD62_jobsHistoryDB, CustomSeQName) == 17340);
static_assert(offsetof(_OLD62_jobsHistoryDB, CustomSHotName) == 17396);
static_assert(offsetof(_OLD62_jobsHistoryDB, CustomVersionName) == 17452);
static_assert(offsetof(_OLD62_jobsHistoryDB, CompanyProjectName) == 17508);
static_assert(offsetof(_OLD62_jobsHistoryDB, DateSend) == 17564);
static_assert(offsetof(_OLD62_jobsHistoryDB, JobID) == 17572);
static_assert(offsetof(_OLD62_jobsHistoryDB, Color_ID) == 17580);
static_assert(offsetof(_OLD62_jobsHistoryDB, ClientStats) == 17584);
static_assert(offsetof(_OLD62_jobsHistoryDB, Priority) == 23585);
static_assert(offsetof(_OLD62_jobsHistoryDB, ErrorCountHard) == 23586);
static_assert(offsetof(_OLD62_jobsHistoryDB, ErrorCount) == 23587);
static_assert(offsetof(_OLD62_jobsHistoryDB, Errors) == 23588);
static_assert(offsetof(_OLD62_jobsHistoryDB, LogCount) == 24188);
static_assert(offsetof(_OLD62_jobsHistoryDB, Log) == 24192);
static_assert(offsetof(_OLD62_jobsHistoryDB, ExecutionTime) == 36192);
static_assert(offsetof(_OLD62_jobsHistoryDB, TotalPS) == 36200);
static_assert(offsetof(_OLD62_jobsHistoryDB, DateFinished) == 36208);
static_assert(offsetof(_OLD62_jobsHistoryDB, FrameCounters) == 36216);
static_assert(offsetof(_OLD62_jobsHistoryDB, FrameLog) == 36232);
static_assert(offsetof(_OLD62_jobsHistoryDB, FramesSend) == 39432);
static_assert(offsetof(_OLD62_jobsHistoryDB, FramesCrashed) == 39434);
static_assert(offsetof(_OLD62_jobsHistoryDB, FramesAborted) == 39436);
static_assert(offsetof(_OLD62_jobsHistoryDB, AverageClients) == 39440);
static_assert(offsetof(_OLD62_jobsHistoryDB, AverageFrameTime) == 39444);
static_assert(offsetof(_OLD62_jobsHistoryDB, PreviewEnabled) == 39452);
static_assert(offsetof(_OLD62_jobsHistoryDB, TotalGhzHours) == 39456);
static_assert(sizeof(_OLD62_jobsHistoryDB) == 39516);
static_assert(offsetof(_OLD627_jobsHistoryDB, BasicsStructID) == 0);
static_assert(offsetof(_OLD627_jobsHistoryDB, BasicsStructVersion) == 2);
static_assert(offsetof(_OLD627_jobsHistoryDB, SubmitterStructID) == 4);
static_assert(offsetof(_OLD627_jobsHistoryDB, SubmitterStructVersion) == 6);
static_assert(offsetof(_OLD627_jobsHistoryDB, SaveStructID) == 8);
static_assert(offsetof(_OLD627_jobsHistoryDB, SaveStructVersion) == 10);
static_assert(offsetof(_OLD627_jobsHistoryDB, HistoryStructID) == 16);
static_assert(offsetof(_OLD627_jobsHistoryDB, HistoryStructVersion) == 18);
static_assert(offsetof(_OLD627_jobsHistoryDB, PathOS) == 20);
static_assert(offsetof(_OLD627_jobsHistoryDB, SceneOS) == 21);
static_assert(offsetof(_OLD627_jobsHistoryDB, BasicsFlag22) == 22);
static_assert(offsetof(_OLD627_jobsHistoryDB, VersionMinor) == 24);
static_assert(offsetof(_OLD627_jobsHistoryDB, Software) == 28);
static_assert(offsetof(_OLD627_jobsHistoryDB, Renderer) == 84);
static_assert(offsetof(_OLD627_jobsHistoryDB, Version) == 140);
static_assert(offsetof(_OLD627_jobsHistoryDB, SoftwareAlias) == 142);
static_assert(offsetof(_OLD627_jobsHistoryDB, RenderType) == 198);
static_assert(offsetof(_OLD627_jobsHistoryDB, AppValue254) == 254);
static_assert(offsetof(_OLD627_jobsHistoryDB, AppValue256) == 256);
static_assert(offsetof(_OLD627_jobsHistoryDB, SceneName) == 260);
static_assert(offsetof(_OLD627_jobsHistoryDB, SceneDatabaseDir) == 766);
static_assert(offsetof(_OLD627_jobsHistoryDB, Camera) == 1778);
static_assert(offsetof(_OLD627_jobsHistoryDB, Layer) == 1884);
static_assert(offsetof(_OLD627_jobsHistoryDB, Channel) == 1990);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageFileNameVariable) == 2096);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageDir) == 2602);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageFileName) == 3108);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageFileNamePost) == 3614);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageExtension) == 4120);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageFormatFlag) == 4176);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageFramePadding) == 4177);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageChannels) == 4178);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageWidth) == 18228);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageHeight) == 18230);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageSingleOutputFile) == 18232);
static_assert(offsetof(_OLD627_jobsHistoryDB, BasicsText25) == 18234);
static_assert(offsetof(_OLD627_jobsHistoryDB, ImageChannelCount) == 18290);
static_assert(offsetof(_OLD627_jobsHistoryDB, BasicsTags) == 18292);
static_assert(offsetof(_OLD627_jobsHistoryDB, SeqStart) == 18864);
static_assert(offsetof(_OLD627_jobsHistoryDB, SeqEnd) == 18872);
static_assert(offsetof(_OLD627_jobsHistoryDB, SeqStep) == 18880);
static_assert(offsetof(_OLD627_jobsHistoryDB, SeqFileOffset) == 18888);
static_assert(offsetof(_OLD627_jobsHistoryDB, BasicsFlag19000) == 19000);
static_assert(offsetof(_OLD627_jobsHistoryDB, Selected) == 24552);
static_assert(offsetof(_OLD627_jobsHistoryDB, UserName) == 24620);
static_assert(offsetof(_OLD627_jobsHistoryDB, SubmitterText25) == 24676);
static_assert(offsetof(_OLD627_jobsHistoryDB, CustomSeQName) == 24732);
static_assert(offsetof(_OLD627_jobsHistoryDB, CustomSHotName) == 24788);
static_assert(offsetof(_OLD627_jobsHistoryDB, CustomVersionName) == 24844);
static_assert(offsetof(_OLD627_jobsHistoryDB, CompanyProjectName) == 24900);
static_assert(offsetof(_OLD627_jobsHistoryDB, DateSend) == 24956);
static_assert(offsetof(_OLD627_jobsHistoryDB, JobID) == 24964);
static_assert(offsetof(_OLD627_jobsHistoryDB, Color_ID) == 24972);
static_assert(offsetof(_OLD627_jobsHistoryDB, ClientStats) == 24976);
static_assert(offsetof(_OLD627_jobsHistoryDB, Priority) == 30977);
static_assert(offsetof(_OLD627_jobsHistoryDB, ErrorCountHard) == 30978);
static_assert(offsetof(_OLD627_jobsHistoryDB, ErrorCount) == 30979);
static_assert(offsetof(_OLD627_jobsHistoryDB, Errors) == 30980);
static_assert(offsetof(_OLD627_jobsHistoryDB, LogCount) == 31580);
static_assert(offsetof(_OLD627_jobsHistoryDB, Log) == 31584);
static_assert(offsetof(_OLD627_jobsHistoryDB, ExecutionTime) == 43584);
static_assert(offsetof(_OLD627_jobsHistoryDB, TotalPS) == 43592);
static_assert(offsetof(_OLD627_jobsHistoryDB, DateFinished) == 43600);
static_assert(offsetof(_OLD627_jobsHistoryDB, FrameCounters) == 43608);
static_assert(offsetof(_OLD627_jobsHistoryDB, FrameLog) == 43624);
static_assert(offsetof(_OLD627_jobsHistoryDB, FramesSend) == 46824);
static_assert(offsetof(_OLD627_jobsHistoryDB, FramesCrashed) == 46826);
static_assert(offsetof(_OLD627_jobsHistoryDB, FramesAborted) == 46828);
static_assert(offsetof(_OLD627_jobsHistoryDB, AverageClients) == 46832);
static_assert(offsetof(_OLD627_jobsHistoryDB, AverageFrameTime) == 46836);
static_assert(offsetof(_OLD627_jobsHistoryDB, PreviewEnabled) == 46844);
static_assert(offsetof(_OLD627_jobsHistoryDB, TotalGhzHours) == 46848);
static_assert(sizeof(_OLD627_jobsHistoryDB) == 46908);
static_assert(offsetof(_jobsHistoryDB_Runtime, QueueID) == 37980);
static_assert(offsetof(_jobsHistoryDB_Runtime, HistorySelected) == 37984);
static_assert(offsetof(_jobsHistoryDB_Runtime, UserNameLower) == 37986);
static_assert(offsetof(_jobsHistoryDB_Runtime, CompanyProjectLower) == 38042);
static_assert(sizeof(_jobsHistoryDB_Runtime) == 38104);
} // namespace fmJ
#pragma GCC diagnostic pop
