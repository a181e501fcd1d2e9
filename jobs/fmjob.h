#pragma once
// The flat job record in its four layers. Each layer extends the last by fields at higher
// offsets; the whole record is written to disk and exchanged between the farm's programs byte for
// byte, so every offset below is a file offset (little-endian, no padding of its own: every gap is
// a named reserved array, and static_asserts at the end of this file pin each field).
//
//   _JobBasics     0 .. 24616   what the job is
//   _JobSubmitter  .. 48120     how the farm is to treat it
//   _JobSave       .. 65460     what has happened to it
//   _JobSend       .. 65544     what the server computes for its clients (never stored)
//
// Records come from files written by other machines: counts (CustomCount, ErrorCount, LogCount,
// CustomOptionCount, string Lengths) may hold anything. Readers clamp; raw copies keep the bytes.
//
// Alignment: the records are packed (alignment 1). Reading or writing a scalar member is fine;
// do not bind a reference or typed pointer to a member wider than a byte (JobID, SeqStart, ...):
// copy the value out first. Points in time are stored as fmTimePacked (the 8 bytes of fmTime_t
// without its 8-byte alignment, which the offsets don't give): use `.t`, or convert
// (fmTime_t t = job.InfoChanged;) before calling fmTime_t's functions.

#include "foundation/fmglobal.h"
#include "foundation/fmjobid.h"
#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QString>
#include <QStringList>
#include <cstddef>
#include <cstdint>
#include <type_traits>

class __FMSDK;
class __FMSDK;
namespace fmRA {
class _RenderApp;
}

// Instantiate the string layouts used below outside the packing region.
static_assert(sizeof(fmString<10>) == 26 && offsetof(fmString<10>, Length) == 22);
static_assert(sizeof(fmString<25>) == 56);
static_assert(sizeof(fmString<50>) == 106 && offsetof(fmString<50>, Length) == 102);
static_assert(sizeof(fmString<150>) == 306 && offsetof(fmString<150>, Length) == 302);
static_assert(sizeof(fmString<250>) == 506);
static_assert(sizeof(fmString8_evenSize<50>) == 54 && offsetof(fmString8_evenSize<50>, Length) == 52);
static_assert(sizeof(fmString8_evenSize<100>) == 104);

// A point in time inside a packed record: the same 8 bytes as fmTime_t (seconds since the epoch,
// little-endian), with alignment 1 so that a field at any offset is accessed without UB.
#pragma pack(push, 1)
struct fmTimePacked
{
    int64_t t;

    fmTimePacked() : t(0) {}
    fmTimePacked(const fmTime_t& v) : t(v.t) {}
    fmTimePacked& operator=(const fmTime_t& v)
    {
        t = v.t;
        return *this;
    }
    operator fmTime_t() const
    {
        fmTime_t r;
        r.t = t;
        return r;
    }
};
#pragma pack(pop)
static_assert(sizeof(fmTimePacked) == sizeof(fmTime_t) && alignof(fmTimePacked) == 1);

namespace fmJ {

// Structure identifier and current version of each layer (the pairs at 0, 4, 8 and 12).
constexpr uint16_t JobBasics_StructID = 0x0403;
constexpr uint16_t JobBasics_StructVersion = 3;
constexpr uint16_t JobSubmitter_StructID = 0x0506;
constexpr uint16_t JobSubmitter_StructVersion = 7;
constexpr uint16_t JobSave_StructID = 0x0606;
constexpr uint16_t JobSave_StructVersion = 6;
constexpr uint16_t JobSend_StructID = 0x0705;
constexpr uint16_t JobSend_StructVersion = 5;

constexpr int JobImageChannels_Max = 25;
constexpr int JobBasicsTags_Max = 22;
constexpr int JobClients_Max = 750;
constexpr int JobCustomOptions_Max = 30;
constexpr int JobWaitForJob_Max = 20;
constexpr int JobErrors_Max = 50;
constexpr int JobLog_Max = 750;
constexpr int JobFrameLog_Max = 200;
constexpr int JobCustomData_Size = 5000;

// Text that stands in SceneName while only a minimal record of the job has arrived.
extern const char* const
    JobSceneName_WaitingForUpdate;        // "?waiting for update. Or user right to view is missing."
extern const char* const JobField_Update; // "?update?"

// Rounds half away from zero into a 64-bit integer. NaN gives 0 and values beyond the range are
// held near its ends, so numbers from a damaged record never make the conversion undefined.
long long roundHalfAway(double v);

// Value modes of a custom data entry.
enum CUSTOMData_Modes : char {
    CUSTOMData_Unicode = 'u', // two bytes a character, high byte first
    CUSTOMData_Char = 'c',    // one Latin-1 byte a character
};

#pragma pack(push, 1)

// One error of a job, 12 bytes.
struct _Error
{
    int16_t Who; // client index or a negative code of another program
    int8_t Code;
    uint8_t Free;
    fmTimePacked Time; // at +4
};

// One log entry of a job, 16 bytes. (A history record stores the fields in another order.)
struct _Log
{
    fmTime_t32 Time;
    int8_t Message;           // _LogMessage number
    uint8_t JobStatus;        // Status of the job at that moment
    uint8_t ClientsRendering; // at most 250
    uint8_t Param3;
    uint16_t Param2;
    uint16_t Param1;
    int16_t FramesLeft; // at most 30000
    int16_t Who;
};

// An additional output of a job, 562 bytes.
struct _JobImageChannel
{
    fmString<250> FileName;
    fmString<25> Extension; // at +506
};

// Per client of the farm, by client index, 24 bytes.
struct _JobClientStat
{
    uint8_t State[4]; // copied, not read here
    uint8_t Reserved4[16];
    int32_t FramesDone; // at +20
};

// An entry of the submitter's option list, 68 bytes.
struct _JobCustomOption
{
    fmString8_evenSize<50> Name;
    uint16_t Value;   // at +54
    uint8_t Flags[8]; // at +56; Flags[0] != 0: the entry is set
    uint32_t Value2;  // at +64
};

// An entry of the second option list, 64 bytes: the same without the u32.
struct _JobOptionB
{
    fmString8_evenSize<50> Name;
    uint16_t Value;
    uint8_t Flags[8];
};

// Per received frame segment, 16 bytes; carried, not read here.
struct _JobFrameLog
{
    uint16_t Word1;
    uint16_t Word2;
    uint32_t Value1;
    uint32_t Value2;
    uint32_t Value3;
};

// What the job is. 24616 bytes.
struct _JobBasics
{
    uint16_t BasicsStructID;
    uint16_t BasicsStructVersion;
    uint16_t SubmitterStructID;
    uint16_t SubmitterStructVersion;
    uint16_t SaveStructID;
    uint16_t SaveStructVersion;
    uint16_t SendStructID;
    uint16_t SendStructVersion;
    uint16_t OuterStructID; // free for an embedding record (history keeps its ID here)
    uint16_t OuterStructVersion;
    uint8_t PathOS;       // _fmOS the path fields are written for
    uint8_t SceneOS;      // _fmOS the scene was made on, 0 until analysed
    uint8_t BasicsFlag22; // carried
    uint8_t Reserved23[1];
    uint32_t VersionMinor; // three digits after the point
    fmString<25> Software;
    fmString<25> Renderer;
    int16_t Version; // major version of the application
    fmString<25> SoftwareAlias;
    fmString<25> RenderType;
    uint16_t AppValue254; // carried
    uint16_t AppValue256; // carried
    uint8_t Reserved258[2];
    fmString<250> SceneName;
    fmString<250> SceneDatabaseDir;
    fmString<250> ExtraScenePath; // not kept in history
    fmString<50> Camera;
    fmString<50> Layer;
    fmString<50> Channel;
    fmString<250> ImageFileNameVariable; // output name before variables were replaced
    fmString<250> ImageDir;
    fmString<250> ImageFileName;        // up to the frame number
    fmString<250> ImageFileNamePost;    // behind the frame number
    fmString<25> ImageExtension;        // with its dot
    uint8_t ImageFormatFlag;            // carried
    uint8_t ImageFramePadding;          // digits of the frame number
    _JobImageChannel ImageChannels[25]; // additional outputs; history keeps 20
    int16_t ImageWidth;                 // pixels
    int16_t ImageHeight;                // pixels
    uint8_t ImageSingleOutputFile;      // 1: movie or other one-file output
    uint8_t Reserved18233[1];
    fmString<25> BasicsText25; // carried
    int8_t ImageChannelCount;  // outputs counting as passes; 0 or 1: one pass
    uint8_t Reserved18291[1];
    fmString<10> BasicsTags[22]; // history keeps 20
    double SeqStart;             // first frame
    double SeqEnd;               // last frame
    double SeqStep;
    double SeqFileOffset;                  // added to a frame to form the file's number
    fmString8_evenSize<100> BasicsText100; // Latin-1, carried
    uint8_t BasicsFlag19000;               // carried
    uint8_t Reserved19001[3];
    unsigned long long JobID;
    uint8_t Reserved19012[22];
    fmString<250> CustomScratch; // set by a settings file; not kept in history
    int32_t CustomCount;         // custom entries (untrusted)
    int32_t CustomValueEnd;      // size of index and values (untrusted)
    int32_t CustomIndexEnd;      // size of the index (untrusted)
    uint8_t CustomData[5000];    // index entries, then values
    uint8_t Selected;            // marked in a view
    uint8_t Reserved24553[63];

    _JobBasics();
    // Sets the four header pairs and clears all four layers' worth of this layer.
    void Initialize();
    // Zeroes the layer except the 16 header bytes and OuterStructID/Version, then sets the
    // defaults: PathOS of this build, ImageFramePadding 4, SeqStart/SeqEnd/SeqStep 1.0.
    void fmClearBasics();

    QString IDstr() const;
    QString ID2str() const;
    QString IDstrFull() const;
    QString ID2strFull() const;

    // Custom data (packed name/value entries in CustomData). Every position, length and count
    // read from the block is clamped to it.
    QString custom_Str(const QString& name) const;
    QString custom_StrByID(const int& id) const;
    QString custom_NameByID(const int& id) const;
    int custom_maxIDs() const;
    // Values come with their length in front: "<length> <text>". Kept so: callers hand them on.
    void custom_All(QStringList& names, QStringList& values) const;
    QString custom_AllAsString() const;
    bool custom_isEqual(const _JobBasics* other) const;
    QString custom_sub(const int& position, const int& length, const CUSTOMData_Modes& mode) const;
    void customSet_Str(const QString& name, const QString& value);
    void customSet_StrByID(const int& id, const QString& value);
    void customSet_All(const QStringList& names, const QStringList& values);
    QString custom_UserInfo() const;
    void customSet_UserInfo(const QString& text);

    // Naming and path analysis (defined with the naming code).
    QString GetSceneDisplayName() const;
    void ConvertPathsToOS(__FMSDK& sdk, _fmOS target, bool log);
    void analyseNsetSceneOS(__FMSDK& sdk);
    void Check_SplitImageFileInto_DirFileExt(bool log);
    void Check_SplitImageFileInto_DirFileExt_Channel(int channel, bool log);
    void replaceSquareBracketVariables();
};

// How the farm is to treat the job. Ends at 48120.
struct _JobSubmitter : public _JobBasics
{
    uint8_t Reserved24616[4];
    fmString<25> UserName;
    fmString<25> SubmitterText25; // carried
    fmString<25> CustomSeQName;
    fmString<25> CustomSHotName;
    fmString<25> CustomVersionName;
    fmString<50> CompanyProjectName;
    uint8_t Reserved25006[2];
    fmTimePacked DateSend;
    uint8_t Color_ID; // 0 none, 1..7 a colour, 11..14 derive one
    uint8_t PreviewEnabled;
    uint16_t SeqDivMIN; // mirrored at SeqDivMINCurrent
    uint16_t SeqDivMAX; // mirrored at SeqDivMAXCurrent
    uint16_t MaxClientsAtATime;
    uint8_t Disabled;
    uint8_t Reserved25025[3];
    uint32_t SubmitterValue;            // carried
    _JobClientStat ClientStats[750];    // by client index
    _JobCustomOption CustomOptions[30]; // not kept in history
    uint8_t CustomOptionCount;          // entries in use, at most 30 (untrusted)
    uint8_t OptionFlags[23];
    uint8_t Reserved45096[16];
    _JobOptionB SubmitterOptionsB[30]; // not kept in history
    uint8_t SubmitterOptionsBCount;
    uint8_t SubmitFlagA;
    uint8_t SubmitFlagB;
    int8_t Priority;                   // 0..100
    unsigned long long WaitForJob[20]; // first 0 ends the list
    fmString<25> SubmitterText25b;     // carried
    fmString<150> SubmitterText150;    // carried
    uint8_t SubmitFlagC;
    uint8_t SubmitFlagD;
    fmTimePacked WaitForTime;     // disabled until this time
    fmString<250> JobFilesFolder; // absolute or below the root
    int8_t NumberPreview;         // preview frames, 2..20 after a clear
    uint8_t Reserved48075[1];
    uint64_t SubmitterValue2; // carried
    uint16_t MaxFrameTime;    // carried
    uint8_t MaxCrashes;
    uint8_t Reserved48087[33];

    _JobSubmitter();
    // Texts "none" / "<auto>", DateSend now, the table's defaults, WaitForTime = DateSend - 50 days,
    // the identifier pair at 4, 6.
    void fmClearSubmitter();

    // 32-bit short form of JobID (ID2ShortID).
    unsigned int ID2ShortID() const;

    // Defined with the naming code.
    void ConvertPathsToOS_submit(__FMSDK& sdk, _fmOS target, bool log);
    void setSSV(const __FMSDK& fm);
    void setRandomColor();
    QString jobFilesFolderName_Resolved(const __FMSDK& sdk) const;
    // Defined with the status and log texts.
    QString GetJobLogString(bool preview, int lowCpuMinutes);
    QString GetJobLogStringShort(bool preview, int lowCpuMinutes);
};

// What has happened to the job. Ends at 65460.
struct _JobSave : public _JobSubmitter
{
    uint8_t Reserved48120[4];
    int8_t ErrorCountHard; // errors that block the job
    int8_t ErrorCount;     // entries in Errors (untrusted)
    uint8_t Reserved48126[2];
    _Error Errors[50];
    int16_t LogCount; // entries in Log (untrusted)
    uint8_t Reserved48730[2];
    _Log Log[750];
    uint16_t FrameCounters[7];
    uint8_t Reserved60746[2];
    _JobFrameLog FrameLog[200]; // per received frame segment
    uint16_t FramesSend;        // frames handed to clients
    uint16_t FramesCrashed;
    uint16_t FramesAborted;
    uint8_t Reserved63954[2];
    float AverageClients;
    uint8_t Reserved63960[4];
    uint32_t AverageFrameTime; // seconds
    uint8_t Reserved63968[4];
    fmTimePacked DateLastSegment;
    fmTimePacked InfoChanged; // time of the last change
    fmTimePacked DateStart;
    uint64_t ExecutionTime; // seconds from first to last frame
    uint64_t TotalPS;       // render effort in PS
    float TotalGhzHours;    // render effort in GHz hours
    uint32_t FramesDone;
    uint8_t Status;
    uint8_t Reserved64021[3];
    fmTimePacked DateFinished;
    uint8_t Reserved64032[2];
    uint16_t SeqDivMINCurrent;
    uint16_t SeqDivMAXCurrent;
    uint8_t Reserved64038[2];
    fmTimePacked DateFirstFrame;
    int32_t PreviewFirstFrame; // below 0: no preview frames yet
    int32_t PreviewFrameStep;
    fmTimePacked SaveTimes[20];
    uint8_t Reserved64216[1244];

    _JobSave();
    // Zeroes 48120..65460, brings NumberPreview into 2..20, repairs SeqStep <= 0 to 1.0,
    // PreviewFirstFrame -1, PreviewFrameStep 1, the pair at 8, 10, InfoChanged now.
    void fmClearSave();
    // InfoChanged = *when, or now for null.
    void infoChanged_JobSave(const fmTime_t* when);

    // Disabled, WaitForTime after now, or Status 160, 100 or below 41.
    bool IsDisabled(fmTime_t now) const;
    // ErrorCountHard > 0 or ErrorCount > 5.
    bool IsJobMarkedAsError() const;

    // Entries in use, clamped to the arrays (the counts may come from a damaged file).
    int errorCountClamped() const;
    int logCountClamped() const;

    // Defined with the status and log texts.
    fmString<250> StatusAsString() const;
    // False when the same error of the same client stands among the last ten.
    bool addError(short who, signed char code);
};

struct _JobMinInfo;
struct _SettingsOnly;

// What the server computes for its clients. Not stored in history. 65544 bytes.
struct _JobSend : public _JobSave
{
    uint8_t Reserved65460[4];
    double MeasureA; // -9999: nothing measured
    double MeasureB; // -9999: nothing measured
    int32_t FramesLeft;
    int32_t FramesTotal; // FramesPerPass times the passes
    int32_t FramesPerPass;
    int32_t SendValue65492;
    int32_t SendValue65496;
    int16_t ClientsRendering;
    uint8_t Reserved65502[6];
    uint16_t FrameTimeSeconds;
    uint8_t Reserved65510[10];
    fmTimePacked SendTime65520;
    uint16_t SendValue65528;
    uint8_t Reserved65530[7];
    uint8_t ServerOnly; // 0 or 1 (a byte, not a bool: files may hold any value)
    uint8_t Reserved65538[2];
    uint8_t JobFlags;
    uint8_t Reserved65541[3];

    _JobSend();
    // FramesPerPass, FramesTotal, FramesLeft from the sequence; the rest of the layer cleared to
    // its defaults; the pair at 12, 14. `keepRuntime` is accepted for the farm's callers and
    // changes nothing here.
    void fmClearSend(bool keepRuntime = false);
    // All four layers cleared (basics, submitter, save, send) with their header pairs.
    void fmClearAll();

    // Identifiers at 0, 4, 8, 12 equal, versions at 2, 6, 10, 14 at least the current ones.
    bool isRightStructVersion() const;

    void fromMinInfo(const _JobMinInfo* info, const bool& markUpdate, const bool& clearFirst);

    // Frame number to frame index (-1 before the sequence, FramesTotal - 1 past its end).
    long long fn2F(double frameNumber, signed char pass) const;
    // Frame index to frame number; `pass` (if not null) gets index / FramesPerPass.
    double F2fn(long long index, signed char* pass) const;
    double F2fnNoOffset(long long index, signed char* pass) const;

    // Applies a block of changed settings where the mask's field is not 0.
    void SetSettingsOnly_Send(_SettingsOnly& values, _SettingsOnly& mask, fmRA::_RenderApp* app);

    // Defined with the status and log texts.
    void addLogFrames(short who, signed char message, long long param1, long long param2, long long param3);
    void addLogUser(short who, short param2, signed char message, short param1, unsigned char param3);
    // Defined with the naming code.
    QString previewFilename_Base(const __FMSDK& sdk, int previewID) const;
    int previewID2FrameNr(const int& previewID) const;
    QString previewFilenameThumbnail(const __FMSDK& sdk, int previewID) const;
    QString previewFilenameRGB(const __FMSDK& sdk, int previewID) const;
    QString previewFilenameA(const __FMSDK& sdk, int previewID) const;
};

// The small form the server sends for a job a client may not see in full. 236 bytes.
struct _JobMinInfo
{
    unsigned long long JobID;
    fmString<25> UserName;           // at 8
    fmString<50> CompanyProjectName; // at 64
    fmString<25> CustomSeQName;      // at 170
    uint8_t Reserved226[2];
    uint32_t JobFlags; // at 228
    uint8_t Bits;      // at 232: 2 ServerOnly, 4 Disabled, 16 finished
    uint8_t Reserved233[3];

    _JobMinInfo();
    QString IDstr() const;
};

// The settings a user may change after submission: one block carries values, a second block
// of the same shape is a mask in which a non-zero field means "take this value". 10228 bytes.
// Custom data starts at 5184 (counts) and 5196 (data), in the same format as in _JobBasics.
struct _SettingsOnly
{
    double SeqStart;
    double SeqEnd;
    double SeqStep;
    double SeqFileOffset;
    fmString<25> UserName; // at 32
    fmString<25> CustomSeQName;
    fmString<25> CustomSHotName;
    fmString<25> CustomVersionName;
    fmString<50> CompanyProjectName; // at 256
    fmString<250> CustomScratch;     // at 362
    uint8_t Color_ID;                // at 868
    uint8_t Reserved869;
    uint16_t SeqDivMIN; // at 870
    uint16_t SeqDivMAX;
    uint16_t MaxClientsAtATime;
    uint16_t MaxFrameTime;
    uint8_t Reserved878[2];
    _JobCustomOption CustomOptions[30]; // at 880
    uint8_t CustomOptionCount;          // at 2920
    uint8_t OptionFlags[23];            // at 2921
    uint8_t SubmitFlagA;                // at 2944
    uint8_t SubmitFlagB;
    int8_t Priority;
    uint8_t Reserved2947;
    fmString<25> SubmitterText25b; // at 2948
    uint8_t SubmitFlagC;           // at 3004
    uint8_t Reserved3005;
    fmString<150> SubmitterText150; // at 3006
    uint8_t SubmitFlagD;            // at 3312
    uint8_t Reserved3313[7];
    fmTimePacked WaitForTime; // at 3320
    int8_t NumberPreview;     // at 3328
    uint8_t MaxCrashes;
    uint8_t Reserved3330[2];
    uint32_t SubmitterValue; // at 3332
    uint8_t Reserved3336[1848];
    int32_t CustomCount; // at 5184
    int32_t CustomValueEnd;
    int32_t CustomIndexEnd;
    uint8_t CustomData[5000]; // at 5196
    uint8_t Reserved10196[32];

    _SettingsOnly();
    void clear();

    QString custom_Str(const QString& name) const;
    QString custom_StrByID(const int& id) const;
    QString custom_NameByID(const int& id) const;
    int custom_maxIDs() const;
    void custom_All(QStringList& names, QStringList& values) const;
    QString custom_sub(const int& position, const int& length, const CUSTOMData_Modes& mode) const;
    void customSet_Str(const QString& name, const QString& value);
    void customSet_StrByID(const int& id, const QString& value);
    void customSet_All(const QStringList& names, const QStringList& values);
    QString custom_UserInfo() const;
    void customSet_UserInfo(const QString& text);
};

// A growing array of _JobBasics behind a 1028-byte header. ID, Version and StructSize are sent
// as they stand. Data is owned (malloc/realloc).
struct _JobBasicsArray
{
    uint16_t ID;      // 0x0403
    uint16_t Version; // 3
    uint8_t Reserved4[1006];
    uint16_t StructSize; // at 1010: 24616
    int32_t Count;       // at 1012
    int32_t Capacity;    // at 1016
    _JobBasics* Data;    // at 1020, owned

    _JobBasicsArray();
    ~_JobBasicsArray();
    _JobBasicsArray(const _JobBasicsArray&) = delete;
    _JobBasicsArray& operator=(const _JobBasicsArray&) = delete;

    // Never shrinks. New records get the header and defaults. False if memory runs out.
    bool SetArraySize(const int& count);
    // Null past the end.
    _JobBasics* at(const int& index);
    void clear();
    // One more record, cleared; false and null when memory runs out.
    bool getNewJob(_JobBasics*& job);
    bool isVersionSupported(unsigned char minVersion) const;
};

// A command for a set of jobs. 60040 bytes.
struct _JobCommandSend
{
    int16_t Count; // IDs used (clamped to 7500 by readers)
    int16_t Command;
    unsigned long long IDs[7500]; // at 4
    uint8_t Reserved60004[36];

    _JobCommandSend();
    explicit _JobCommandSend(short command);
    // Each ID as ID2str followed by ", "; a line end after every tenth.
    QString idsAsString() const;
};

// A changed set of settings for a set of jobs. 80464 bytes.
struct _JobSettingsSend
{
    uint16_t ID;                  // 0x0403
    uint16_t Version;             // 3
    int32_t Count;                // IDs used (clamped to 7500 by readers)
    unsigned long long IDs[7500]; // at 8
    _SettingsOnly Values;         // at 60008
    _SettingsOnly Mask;           // at 70236

    _JobSettingsSend();
    QString idsAsString() const;
};

#pragma pack(pop)

constexpr int JobCommandSend_MaxIDs = 7500;

// Frames of a sequence: truncate((end - start) / step + 1), times imageChannelCount if that is
// at least 1. Saturates to the int range; NaN gives 0. `framesPerPass` (if not null) gets the
// first factor.
int jobFramesTotal(double seqStart, double seqEnd, double seqStep, int imageChannelCount,
                   int32_t* framesPerPass);

} // namespace fmJ

// Layout pins. offsetof on the derived layers is well defined here (no virtual bases, one
// inheritance chain); the compilers' warning about non-standard-layout classes is silenced.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
namespace fmJ {
static_assert(sizeof(_Error) == 12 && offsetof(_Error, Code) == 2 && offsetof(_Error, Time) == 4);
static_assert(sizeof(_Log) == 16);
static_assert(offsetof(_Log, Message) == 4 && offsetof(_Log, JobStatus) == 5 &&
              offsetof(_Log, ClientsRendering) == 6);
static_assert(offsetof(_Log, Param3) == 7 && offsetof(_Log, Param2) == 8 && offsetof(_Log, Param1) == 10);
static_assert(offsetof(_Log, FramesLeft) == 12 && offsetof(_Log, Who) == 14);
static_assert(sizeof(_JobImageChannel) == 562 && offsetof(_JobImageChannel, Extension) == 506);
static_assert(sizeof(_JobClientStat) == 24 && offsetof(_JobClientStat, FramesDone) == 20);
static_assert(sizeof(_JobCustomOption) == 68 && offsetof(_JobCustomOption, Value) == 54);
static_assert(offsetof(_JobCustomOption, Flags) == 56 && offsetof(_JobCustomOption, Value2) == 64);
static_assert(sizeof(_JobOptionB) == 64);
static_assert(sizeof(_JobFrameLog) == 16);
// Raw copies (memcpy, file reads) are valid copies. Clearing goes through the fmClear functions;
// a memset of a record needs a cast to void* (the records have constructors).
static_assert(std::is_trivially_copyable_v<_JobSend> && std::is_trivially_copyable_v<_SettingsOnly>);
static_assert(std::is_trivially_copyable_v<_JobMinInfo> && std::is_trivially_copyable_v<_JobCommandSend>);
static_assert(offsetof(_JobBasics, BasicsStructID) == 0);
static_assert(offsetof(_JobBasics, BasicsStructVersion) == 2);
static_assert(offsetof(_JobBasics, SubmitterStructID) == 4);
static_assert(offsetof(_JobBasics, SubmitterStructVersion) == 6);
static_assert(offsetof(_JobBasics, SaveStructID) == 8);
static_assert(offsetof(_JobBasics, SaveStructVersion) == 10);
static_assert(offsetof(_JobBasics, SendStructID) == 12);
static_assert(offsetof(_JobBasics, SendStructVersion) == 14);
static_assert(offsetof(_JobBasics, OuterStructID) == 16);
static_assert(offsetof(_JobBasics, OuterStructVersion) == 18);
static_assert(offsetof(_JobBasics, PathOS) == 20);
static_assert(offsetof(_JobBasics, SceneOS) == 21);
static_assert(offsetof(_JobBasics, BasicsFlag22) == 22);
static_assert(offsetof(_JobBasics, VersionMinor) == 24);
static_assert(offsetof(_JobBasics, Software) == 28);
static_assert(offsetof(_JobBasics, Renderer) == 84);
static_assert(offsetof(_JobBasics, Version) == 140);
static_assert(offsetof(_JobBasics, SoftwareAlias) == 142);
static_assert(offsetof(_JobBasics, RenderType) == 198);
static_assert(offsetof(_JobBasics, AppValue254) == 254);
static_assert(offsetof(_JobBasics, AppValue256) == 256);
static_assert(offsetof(_JobBasics, SceneName) == 260);
static_assert(offsetof(_JobBasics, SceneDatabaseDir) == 766);
static_assert(offsetof(_JobBasics, ExtraScenePath) == 1272);
static_assert(offsetof(_JobBasics, Camera) == 1778);
static_assert(offsetof(_JobBasics, Layer) == 1884);
static_assert(offsetof(_JobBasics, Channel) == 1990);
static_assert(offsetof(_JobBasics, ImageFileNameVariable) == 2096);
static_assert(offsetof(_JobBasics, ImageDir) == 2602);
static_assert(offsetof(_JobBasics, ImageFileName) == 3108);
static_assert(offsetof(_JobBasics, ImageFileNamePost) == 3614);
static_assert(offsetof(_JobBasics, ImageExtension) == 4120);
static_assert(offsetof(_JobBasics, ImageFormatFlag) == 4176);
static_assert(offsetof(_JobBasics, ImageFramePadding) == 4177);
static_assert(offsetof(_JobBasics, ImageChannels) == 4178);
static_assert(offsetof(_JobBasics, ImageWidth) == 18228);
static_assert(offsetof(_JobBasics, ImageHeight) == 18230);
static_assert(offsetof(_JobBasics, ImageSingleOutputFile) == 18232);
static_assert(offsetof(_JobBasics, BasicsText25) == 18234);
static_assert(offsetof(_JobBasics, ImageChannelCount) == 18290);
static_assert(offsetof(_JobBasics, BasicsTags) == 18292);
static_assert(offsetof(_JobBasics, SeqStart) == 18864);
static_assert(offsetof(_JobBasics, SeqEnd) == 18872);
static_assert(offsetof(_JobBasics, SeqStep) == 18880);
static_assert(offsetof(_JobBasics, SeqFileOffset) == 18888);
static_assert(offsetof(_JobBasics, BasicsText100) == 18896);
static_assert(offsetof(_JobBasics, BasicsFlag19000) == 19000);
static_assert(offsetof(_JobBasics, JobID) == 19004);
static_assert(offsetof(_JobBasics, CustomScratch) == 19034);
static_assert(offsetof(_JobBasics, CustomCount) == 19540);
static_assert(offsetof(_JobBasics, CustomValueEnd) == 19544);
static_assert(offsetof(_JobBasics, CustomIndexEnd) == 19548);
static_assert(offsetof(_JobBasics, CustomData) == 19552);
static_assert(offsetof(_JobBasics, Selected) == 24552);
static_assert(sizeof(_JobBasics) == 24616);
static_assert(offsetof(_JobSubmitter, UserName) == 24620);
static_assert(offsetof(_JobSubmitter, SubmitterText25) == 24676);
static_assert(offsetof(_JobSubmitter, CustomSeQName) == 24732);
static_assert(offsetof(_JobSubmitter, CustomSHotName) == 24788);
static_assert(offsetof(_JobSubmitter, CustomVersionName) == 24844);
static_assert(offsetof(_JobSubmitter, CompanyProjectName) == 24900);
static_assert(offsetof(_JobSubmitter, DateSend) == 25008);
static_assert(offsetof(_JobSubmitter, Color_ID) == 25016);
static_assert(offsetof(_JobSubmitter, PreviewEnabled) == 25017);
static_assert(offsetof(_JobSubmitter, SeqDivMIN) == 25018);
static_assert(offsetof(_JobSubmitter, SeqDivMAX) == 25020);
static_assert(offsetof(_JobSubmitter, MaxClientsAtATime) == 25022);
static_assert(offsetof(_JobSubmitter, Disabled) == 25024);
static_assert(offsetof(_JobSubmitter, SubmitterValue) == 25028);
static_assert(offsetof(_JobSubmitter, ClientStats) == 25032);
static_assert(offsetof(_JobSubmitter, CustomOptions) == 43032);
static_assert(offsetof(_JobSubmitter, CustomOptionCount) == 45072);
static_assert(offsetof(_JobSubmitter, OptionFlags) == 45073);
static_assert(offsetof(_JobSubmitter, SubmitterOptionsB) == 45112);
static_assert(offsetof(_JobSubmitter, SubmitterOptionsBCount) == 47032);
static_assert(offsetof(_JobSubmitter, SubmitFlagA) == 47033);
static_assert(offsetof(_JobSubmitter, SubmitFlagB) == 47034);
static_assert(offsetof(_JobSubmitter, Priority) == 47035);
static_assert(offsetof(_JobSubmitter, WaitForJob) == 47036);
static_assert(offsetof(_JobSubmitter, SubmitterText25b) == 47196);
static_assert(offsetof(_JobSubmitter, SubmitterText150) == 47252);
static_assert(offsetof(_JobSubmitter, SubmitFlagC) == 47558);
static_assert(offsetof(_JobSubmitter, SubmitFlagD) == 47559);
static_assert(offsetof(_JobSubmitter, WaitForTime) == 47560);
static_assert(offsetof(_JobSubmitter, JobFilesFolder) == 47568);
static_assert(offsetof(_JobSubmitter, NumberPreview) == 48074);
static_assert(offsetof(_JobSubmitter, SubmitterValue2) == 48076);
static_assert(offsetof(_JobSubmitter, MaxFrameTime) == 48084);
static_assert(offsetof(_JobSubmitter, MaxCrashes) == 48086);
static_assert(sizeof(_JobSubmitter) == 48120);
static_assert(offsetof(_JobSave, ErrorCountHard) == 48124);
static_assert(offsetof(_JobSave, ErrorCount) == 48125);
static_assert(offsetof(_JobSave, Errors) == 48128);
static_assert(offsetof(_JobSave, LogCount) == 48728);
static_assert(offsetof(_JobSave, Log) == 48732);
static_assert(offsetof(_JobSave, FrameCounters) == 60732);
static_assert(offsetof(_JobSave, FrameLog) == 60748);
static_assert(offsetof(_JobSave, FramesSend) == 63948);
static_assert(offsetof(_JobSave, FramesCrashed) == 63950);
static_assert(offsetof(_JobSave, FramesAborted) == 63952);
static_assert(offsetof(_JobSave, AverageClients) == 63956);
static_assert(offsetof(_JobSave, AverageFrameTime) == 63964);
static_assert(offsetof(_JobSave, DateLastSegment) == 63972);
static_assert(offsetof(_JobSave, InfoChanged) == 63980);
static_assert(offsetof(_JobSave, DateStart) == 63988);
static_assert(offsetof(_JobSave, ExecutionTime) == 63996);
static_assert(offsetof(_JobSave, TotalPS) == 64004);
static_assert(offsetof(_JobSave, TotalGhzHours) == 64012);
static_assert(offsetof(_JobSave, FramesDone) == 64016);
static_assert(offsetof(_JobSave, Status) == 64020);
static_assert(offsetof(_JobSave, DateFinished) == 64024);
static_assert(offsetof(_JobSave, SeqDivMINCurrent) == 64034);
static_assert(offsetof(_JobSave, SeqDivMAXCurrent) == 64036);
static_assert(offsetof(_JobSave, DateFirstFrame) == 64040);
static_assert(offsetof(_JobSave, PreviewFirstFrame) == 64048);
static_assert(offsetof(_JobSave, PreviewFrameStep) == 64052);
static_assert(offsetof(_JobSave, SaveTimes) == 64056);
static_assert(sizeof(_JobSave) == 65460);
static_assert(offsetof(_JobSend, MeasureA) == 65464);
static_assert(offsetof(_JobSend, MeasureB) == 65472);
static_assert(offsetof(_JobSend, FramesLeft) == 65480);
static_assert(offsetof(_JobSend, FramesTotal) == 65484);
static_assert(offsetof(_JobSend, FramesPerPass) == 65488);
static_assert(offsetof(_JobSend, SendValue65492) == 65492);
static_assert(offsetof(_JobSend, SendValue65496) == 65496);
static_assert(offsetof(_JobSend, ClientsRendering) == 65500);
static_assert(offsetof(_JobSend, FrameTimeSeconds) == 65508);
static_assert(offsetof(_JobSend, SendTime65520) == 65520);
static_assert(offsetof(_JobSend, SendValue65528) == 65528);
static_assert(offsetof(_JobSend, ServerOnly) == 65537);
static_assert(offsetof(_JobSend, JobFlags) == 65540);
static_assert(sizeof(_JobSend) == 65544);
static_assert(sizeof(_JobMinInfo) == 236 && offsetof(_JobMinInfo, UserName) == 8);
static_assert(offsetof(_JobMinInfo, CompanyProjectName) == 64 && offsetof(_JobMinInfo, CustomSeQName) == 170);
static_assert(offsetof(_JobMinInfo, JobFlags) == 228 && offsetof(_JobMinInfo, Bits) == 232);
static_assert(offsetof(_SettingsOnly, UserName) == 32 && offsetof(_SettingsOnly, CompanyProjectName) == 256);
static_assert(offsetof(_SettingsOnly, CustomScratch) == 362 && offsetof(_SettingsOnly, Color_ID) == 868);
static_assert(offsetof(_SettingsOnly, CustomOptions) == 880 && offsetof(_SettingsOnly, OptionFlags) == 2921);
static_assert(offsetof(_SettingsOnly, SubmitterText150) == 3006 &&
              offsetof(_SettingsOnly, WaitForTime) == 3320);
static_assert(offsetof(_SettingsOnly, SubmitterValue) == 3332);
static_assert(offsetof(_SettingsOnly, CustomCount) == 5184 &&
              offsetof(_SettingsOnly, CustomValueEnd) == 5188);
static_assert(offsetof(_SettingsOnly, CustomIndexEnd) == 5192 && offsetof(_SettingsOnly, CustomData) == 5196);
static_assert(sizeof(_SettingsOnly) == 10228);
static_assert(offsetof(_JobBasicsArray, StructSize) == 1010 && offsetof(_JobBasicsArray, Count) == 1012);
static_assert(offsetof(_JobBasicsArray, Capacity) == 1016 && offsetof(_JobBasicsArray, Data) == 1020);
static_assert(sizeof(_JobBasicsArray) == 1020 + sizeof(void*));
static_assert(sizeof(_JobCommandSend) == 60040 && offsetof(_JobCommandSend, IDs) == 4);
static_assert(sizeof(_JobSettingsSend) == 80464 && offsetof(_JobSettingsSend, IDs) == 8);
static_assert(offsetof(_JobSettingsSend, Values) == 60008 && offsetof(_JobSettingsSend, Mask) == 70236);
} // namespace fmJ
#pragma GCC diagnostic pop
