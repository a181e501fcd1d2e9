#pragma once
// The typed table of the farm's global settings (globalconfig.ini) and its four numbered lists.
// The table lives only in memory; the file is a QSettings INI file (see fm_cfgfile.cpp).

#include "foundation/fmglobal.h"
#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QString>
#include <QStringList>
#include <cstddef>
#include <cstdint>

class __FMSDK;

// Kind of a parameter, stored in _fmgCfg_param::Type.
enum _fmgCfg_type : uint8_t {
    fmgCfg_Bool = 0,
    fmgCfg_String = 1,
    fmgCfg_Int = 2,
    fmgCfg_Float = 3,
};

// One parameter. Min and Max bound an integer; for a float they hold the bound times 100
// (so a float can reach at most 6.55, Max 655). Only the Value field of the Type is meaningful.
struct _fmgCfg_param
{
    int16_t Min;
    int16_t Max;
    uint8_t Type;
    bool ValueB;
    fmString<100> ValueS;
    int16_t ValueI;
    float ValueF;
    fmString8_evenSize<100> Section; // INI group
    fmString8_evenSize<100> Name;    // key inside the group

    _fmgCfg_param() : Min(0), Max(0), Type(fmgCfg_Bool), ValueB(false), ValueI(0), ValueF(0.0f) {}

    void init(bool value, const char* section, const char* name);
    void init(const char* value, const char* section, const char* name);
    void init(const fmString<100>& value, const char* section, const char* name);
    void init(short value, short min, short max, const char* section, const char* name);
    void initf(float value, float min, float max, const char* section, const char* name);

    // Clamp to Min..Max and store.
    void setI(long long value);
    // Clamp to Min/100..Max/100 and store; NaN counts as the lower bound.
    void setF(float value);

    // "Section/Name", the key in the INI file.
    QString key() const;

private:
    void setName(const char* section, const char* name);
};

static_assert(offsetof(_fmgCfg_param, Type) == 4);
static_assert(offsetof(_fmgCfg_param, ValueS) == 6);
static_assert(offsetof(_fmgCfg_param, ValueI) == 212);
static_assert(offsetof(_fmgCfg_param, ValueF) == 216);
static_assert(offsetof(_fmgCfg_param, Section) == 220);
static_assert(offsetof(_fmgCfg_param, Name) == 324);
static_assert(sizeof(_fmgCfg_param) == 428);

// A drive mapping of "UNC/Map01".."Map19": Windows drive letter and the share it stands for.
struct _fmgUNCMap
{
    fmString8_evenSize<250> Path;
    uint8_t Letter; // upper-case Latin-1 letter; 0 when the file held a character above 255
    bool Enabled;   // true when Path is not empty
    bool Flag;      // kept for the other tools of the family; not read here
    uint8_t Pad;
};
static_assert(sizeof(_fmgUNCMap) == 258);

// A row of "OSConversion/PathNN": the same folder as each operating system sees it, indexed by
// _fmOS. Slot 0 (_fmOS_All) stays empty.
struct _fmgOSConversion
{
    fmString8_evenSize<200> Path[4];
};
static_assert(sizeof(_fmgOSConversion) == 4 * 204);

class _fmgConfig
{
public:
    static constexpr int MaxParams = 200;
    static constexpr int ParamTotal = 183; // entries that initialize() enters
    static constexpr int LogLevels = 25;
    static constexpr int EmailLogLevels = 20;
    static constexpr int UNCMapCount = 19;
    static constexpr int OSConversionCount = 60;

    // Sets the log switches and lists to their defaults and fills the table (initialize()).
    _fmgConfig();

    fmTime_t LastFileTime;           // modification time of globalconfig.ini when it was last read; 0 never
    int32_t ParamCount;              // entries in use in Params, 0..MaxParams
    fmString8_evenSize<250> Comment; // carried for the other tools; not read here
    _fmgCfg_param Params[MaxParams];

    // Log switches by level (0..24): LogLevel for the log file, LogLevelUI for what the user sees.
    // All off after construction except levels 0 to 4.
    bool LogLevel[LogLevels];
    bool LogLevelUI[LogLevels];
    bool EmailLogLevel[EmailLogLevels]; // first 2 on after construction
    _fmgUNCMap UNCMaps[UNCMapCount];
    _fmgOSConversion OSConversion[OSConversionCount];

    // Server name the application was given to use instead of the file's "nServerName"; empty
    // for none. Applied at the end of every load of globalconfig.ini. Not stored in the file.
    fmString<200> OverrideServerName;

    // Fills the parameter table with the defaults, in the order of the file. The log switches and
    // lists are left as they are.
    void initialize();

    // Index of the first entry of that name, or -1. Names compare byte for byte.
    int find(const char* name, int length) const;
    int find(const char* name) const;
    _fmgCfg_param* param(const char* name);
    const _fmgCfg_param* param(const char* name) const;

    // Takes an entry out of the table, moving the later ones one place forward. False if unknown.
    bool removeParam(const char* name);

    // Upgrade of files from older versions, and defaults for texts that must not stay empty.
    void checkAfterLoad(__FMSDK& fm);
    // Stamps the table with the version that writes it (7.0).
    void checkBeforeSave(__FMSDK& fm);

    // The text forms of the lists in globalconfig.ini.
    static QString uncMapToText(const _fmgUNCMap& map);
    static void uncMapFromText(const QString& text, _fmgUNCMap& map);
    static QString osConversionToText(const _fmgOSConversion& row);
    static void osConversionFromText(const QString& text, _fmgOSConversion& row);
    // The upper-cased value behind the first "-OverrideServerName" or "-OSN" (any case), at most
    // 200 characters; empty when there is none. args[0] is the program and is not looked at.
    static QString overrideServerNameFromArgs(const QStringList& args);

    // Rebuilds the name index; needed only after Params or ParamCount were changed by hand.
    void rebuildIndex();

private:
    // Open-addressing hash of the names to their first entry: keeps the often-called lookup by key
    // constant-time while still answering the first of a repeated key. -1 marks a free slot.
    static constexpr int IndexSize = 512;
    int16_t Index[IndexSize];
};

class __FMSDK;
// The setters' lookup in sdk's table: an unknown name fails silently, a wrong type is logged at
// level 1 with `where`. Null on failure.
_fmgCfg_param* fmgCfgLookupSet(__FMSDK& sdk, const fmString8_evenSize<100>& name, uint8_t type,
                               const char* where);
