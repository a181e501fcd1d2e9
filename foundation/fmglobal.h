#pragma once
// Types and constants that every part of the program sees.

#include <QString>
#include <cstdint>

// Operating system numbers as the farm stores them (32-bit).
enum _fmOS : int32_t {
    _fmOS_All = 0,
    _fmOS_Windows = 1,
    _fmOS_Linux = 2,
    _fmOS_Mac = 3,
};

// The operating system this build runs on.
constexpr _fmOS fmThisOS = _fmOS_Linux;

// Program types of the family (32-bit).
enum fm_AppType : int32_t {
    fm_AppType_None = 0,
    fm_AppType_Server = 1,
    fm_AppType_Client = 2,
    fm_AppType_Submitter = 3,
    fm_AppType_Control = 4,
    fm_AppType_PostScript = 5,
    fm_AppType_Test = 6,
    fm_AppType_LogFile = 7,
    fm_AppType_ClientWatch = 8,
    fm_AppType_Config = 9,
    fm_AppType_Viewer = 10,
    fm_AppType_Installer = 11,
    fm_AppType_HistoryDB = 12,
    fm_AppType_Script = 13,
};

// The family's version literal, with one leading blank.
inline constexpr const char* fmVersion = " 7.0.10";
inline constexpr const char* fmVersion7 = " 7.0.10";

extern const QString LineEnd;
extern const QString PDs;
extern const QString fmStringFilterAll;
extern const QString fmStringFilterNone;
extern const QString fmrShortNameLetters;
extern const QString fmJ_NoOutputCheckname;
extern const QString fmJ_NoOutputExecOnce;
extern const QString fmJ_NoOutputExecEachClient;
extern const QString fmJ_ExecuteSoftName;
extern const QString fmJ_PythonSoftName;
extern const QString fmJ_CommandJobName;
extern const QString fmJ_CUSTOMUserInfoName;
extern const QString fmJ_CUSTOMEnvName;
extern const QString fmJ_CUSTOMEnvLineName;
extern const QString fmJ_ID_letters;
extern const QString fmJ_ID_letters_small;

// Call stack text for log lines; this platform gives none.
QString fmOutputStackTrace(int skip);
