#pragma once
// The client record: one render machine of the farm, its status (from the server or a status file)
// and its configuration (clients.ini). Kept in memory only; clients.ini is written key by key, so
// the layout here is free, but every type stays a plain value: _ClientList moves whole records with
// a raw copy.

#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QString>
#include <cstdint>
#include <type_traits>

class __FMSDK;
class QSettings;
namespace fmJ {
struct _JobRuntimeClient;
}

namespace fmC {

constexpr int MaxClients = 750;
constexpr int MaxClientGroups = 30; // the group "ALL" among them
constexpr int MaxClientThreads = 3;
constexpr int CfgValueMax = 40; // places of "cfgV" read at most
constexpr int CfgBoolMax = 30;  // places of "cfgB" read at most
constexpr int CfgValueDefaultCount = 26;
constexpr int CfgBoolDefaultCount = 18;
constexpr int AbortProcessMax = 20;
constexpr int WOLFlagCount = 6;
constexpr int HourTableDays = 7;
constexpr int StrListMax = 20;     // names in a _cfgStrList
constexpr int StrListItemMax = 50; // characters of one name

// Status codes of a job thread (Status). Codes 2, 7, 26 and 27 are disabled states whose reason
// stands in JobID as a sub-code below 1000.
enum ClientStatusCode : signed char {
    csOff = 0,
    csIdle = 1,
    csDisabled = 2,
    csRendering = 3,
    csRenderSuccess = 4,
    csRenderAborted = 5,
    csRenderCrashed = 6,
    csDisabled7 = 7,
    csRenderStarting = 8,
    csNoLicense = 9,
    csCrashedPermanently = 10,
    csClientFroze = 11,
    csAbortDisable = 12,
    csRenderSuccess25 = 25,
    csDisabled26 = 26,
    csDisabled27 = 27,
};

// The place of a status code in a sort by status: 0 off/idle/disabled, 1 aborted, 2 done, 3 others.
int _ClientStatus2SortID(const signed char& status);

// One job thread of a client.
struct _ClientStatusThread
{
    uint64_t JobID;       // job identifier; up to 1000 a sub-code of Status
    int32_t FramesDone;   // progress of the job on this thread (frames finished)
    int32_t FramesTotal;  // frames the thread was given
    float FrameProgress;  // progress of the current frame, 0..100
    uint32_t StatusTime;  // seconds in the current state, or left
    signed char Status;   // ClientStatusCode
    uint8_t CPUUsage;     // 0..255; 0 and 254 or more are "no value"
    int32_t ThreadMemory; // MB

    _ClientStatusThread() { clear(); }
    void clear();
    void setJobID(__FMSDK& app, const int& thread, const unsigned long long& id, const QString& reason,
                  bool logAlways, const bool& log);
    // The text of this thread's state, as the client table shows it.
    QString clientStatusAsStringSingle(fmJ::_JobRuntimeClient* job = nullptr) const;
};

// The part of _ClientStatus that travels in short status messages: no thread array.
struct _ClientStatusBasic
{
    uint8_t ThreadCount;
    int32_t AvailableMemory; // MB
    fmString<25> UserName;
    signed char Temperature; // degrees Celsius, 0 unknown
    fmString<10> Version;
    int16_t UserTime; // minutes since the logged-on user was active, -1 unknown
    fmString<25> Name;

    _ClientStatusBasic();
    void setVersion(__FMSDK& app); // clears the version fields
};

struct _ClientStatus
{
    _ClientStatusThread Thread[MaxClientThreads];
    uint8_t ThreadCount;     // threads in use, 1 at construction
    int32_t AvailableMemory; // MB
    fmString<25> UserName;   // user logged on at the machine
    signed char Temperature; // degrees Celsius, 0 unknown
    fmString<10> Version;    // version of the client software
    int16_t UserTime;        // minutes since the logged-on user was active, -1 unknown
    fmString<25> Name;       // machine name, the key of the client

    _ClientStatus() { clear(); }
    void clear(); // everything zero, one thread, UserTime -1
    // Clears the threads, one thread, UserTime -1; the name and the rest stay.
    void initStatusSingle();
    int threadsInUse() const
    {
        return ThreadCount < 1 ? 1 : (ThreadCount > MaxClientThreads ? MaxClientThreads : ThreadCount);
    }
    QString clientStatusAsStringAll(fmJ::_JobRuntimeClient* job = nullptr) const;
};

struct _ClientHardware
{
    int32_t Memory;    // installed memory, MB; at least 99 after a file read
    float Speed;       // relative speed index; in the file times 1000
    uint8_t Cores;     // at least 1
    uint8_t OSVersion; // version of the system times 10
    signed char OS;    // _fmOS: 1 Windows, 2 Linux, 3 Mac OS
    bool Is64Bit;
    uint16_t MHz; // processor clock, at least 1

    _ClientHardware() { clear(); }
    void clear();
    // One letter for the system, the version, and "-32" for 32-bit systems: "w7", "l2.6", "m10.6-32".
    QString OSasString() const;
};

struct _ClientUserMessage
{
    fmString<2500> Text;
    int32_t Count; // texts added since the last clear

    _ClientUserMessage() : Count(0) {}
    void add(const QString& text); // appended, cut silently at the capacity
    void clear();
};

struct _Client
{
    _ClientStatus Status;
    int32_t ListNo;                                             // place in the farm's order, -1 when not set
    _cfgStrList<StrListMax> Reserved;                           // users the client is reserved for
    _cfgStrList<StrListMax> AcceptWH;                           // users accepted during working hours
    _cfgStrList<StrListMax> AcceptThreadJobs[MaxClientThreads]; // job types of the threads A, B, C
    fmString<25> AbortProcess[AbortProcessMax];                 // a running process of these names aborts
    uint8_t CfgBool[CfgBoolMax];
    int16_t CfgValue[CfgValueMax];
    _ClientHardware Hardware;
    fmString8_evenSize<30> WOLMac; // hexadecimal digits only
    fmString8_evenSize<50> WOLIP;
    uint8_t WOLFlags[WOLFlagCount];
    uint32_t WOLSchedule[HourTableDays]; // bit h of a day is the hour h
    uint32_t WorkingHours[HourTableDays];
    fmString<250> CustomInfo;
    _ClientUserMessage UserMessage;
    // Run-time fields, never in a file.
    uint8_t Selected; // set by the job selection of the window
    fmTime_t LastSeen;
    int16_t CfgValueCount;
    int16_t CfgBoolCount;

    _Client() { clear(); }
    void clear();
    _Client& operator=(const _ClientStatusBasic& s);
    _Client& operator=(const _ClientStatus& s);
    _Client& operator=(const _Client&) = default;
    _Client(const _Client&) = default;

    // Moves the configuration of another record here; the status stays.
    void copyCfgSettings(const _Client& other);
    // Bounds of the configuration values; MHz and Cores at least 1, Speed not negative.
    void CheckInvalidValues();

    // Share of the machine's speed index and of its clock (GHz) that the thread uses.
    float currentThreadPS(const int& thread) const;
    float currentThreadGhz(const int& thread) const;

    // clients.ini section of this client: read or write the keys, the section is opened here by the
    // client's name and closed again before return. ReadClientCfg returns false when the section
    // holds a broken "cfgV"; what was read up to there stays.
    bool ReadClientCfg(QSettings& file, bool onlyListNo);
    void WriteClientCfg(QSettings& file, const bool& saveListNo, const bool& dropSchedules) const;

    static void defaultHourTable(uint32_t* rows); // hours 9 to 18 of rows 0 to 5
    static const _cfgStrList<StrListMax>& defaultThreadJobs(int thread);
};

static_assert(std::is_trivially_copyable_v<_ClientStatusThread>);
static_assert(std::is_trivially_copyable_v<_ClientStatus>);
static_assert(std::is_trivially_copyable_v<_ClientHardware>);
static_assert(std::is_trivially_copyable_v<_Client>);

// A value of an INI file as text. A value with commas comes back from QSettings as a list: joined again.
QString fmcIniText(QSettings& file, const QString& key);

} // namespace fmC
