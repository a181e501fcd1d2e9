#include "farm/fmgconfig.h"

#include "foundation/fmsdk.h"

#include <cmath>
#include <cstring>

void _fmgCfg_param::setName(const char* section, const char* name)
{
    Section.set(section);
    Name.set(name);
}

void _fmgCfg_param::init(bool value, const char* section, const char* name)
{
    *this = _fmgCfg_param();
    Type = fmgCfg_Bool;
    ValueB = value;
    setName(section, name);
}

void _fmgCfg_param::init(const char* value, const char* section, const char* name)
{
    *this = _fmgCfg_param();
    Type = fmgCfg_String;
    ValueS.set(value);
    setName(section, name);
}

void _fmgCfg_param::init(const fmString<100>& value, const char* section, const char* name)
{
    *this = _fmgCfg_param();
    Type = fmgCfg_String;
    ValueS = value;
    setName(section, name);
}

void _fmgCfg_param::init(short value, short min, short max, const char* section, const char* name)
{
    *this = _fmgCfg_param();
    Type = fmgCfg_Int;
    Min = min;
    Max = max;
    setName(section, name);
    setI(value);
}

void _fmgCfg_param::initf(float value, float min, float max, const char* section, const char* name)
{
    *this = _fmgCfg_param();
    Type = fmgCfg_Float;
    // Bounds are kept times 100 in 16 bits; 655 is the largest bound a float may have.
    const auto bound = [](float f) -> int16_t {
        const long v = std::lround(double(f) * 100.0);
        return int16_t(v < -655 ? -655 : (v > 655 ? 655 : v));
    };
    Min = bound(min);
    Max = bound(max);
    setName(section, name);
    setF(value);
}

void _fmgCfg_param::setI(long long value)
{
    if (value < Min) value = Min;
    if (value > Max) value = Max;
    ValueI = int16_t(value);
}

void _fmgCfg_param::setF(float value)
{
    const float lo = float(Min) / 100.0f;
    const float hi = float(Max) / 100.0f;
    if (std::isnan(value) || value < lo) value = lo;
    if (value > hi) value = hi;
    ValueF = value;
}

QString _fmgCfg_param::key() const
{
    return Section.toQString() + QLatin1Char('/') + Name.toQString();
}

_fmgConfig::_fmgConfig() : ParamCount(0)
{
    for (int i = 0; i < LogLevels; ++i) {
        LogLevel[i] = i <= 4;
        LogLevelUI[i] = i <= 4;
    }
    for (int i = 0; i < EmailLogLevels; ++i)
        EmailLogLevel[i] = i < 2;
    for (_fmgUNCMap& m : UNCMaps) {
        m.Letter = 'A';
        m.Enabled = false;
        m.Flag = false;
        m.Pad = 0;
    }
    std::memset(Index, 0xFF, sizeof(Index));
    initialize();
}

void _fmgConfig::initialize()
{
    int n = 0;
    // One entry; the table has room for MaxParams, more than the ParamTotal entered here.
    const auto B = [&](bool v, const char* s, const char* k) {
        if (n < MaxParams) Params[n++].init(v, s, k);
    };
    const auto S = [&](const char* v, const char* s, const char* k) {
        if (n < MaxParams) Params[n++].init(v, s, k);
    };
    const auto I = [&](short v, short lo, short hi, const char* s, const char* k) {
        if (n < MaxParams) Params[n++].init(v, lo, hi, s, k);
    };
    const auto F = [&](float v, float lo, float hi, const char* s, const char* k) {
        if (n < MaxParams) Params[n++].initf(v, lo, hi, s, k);
    };

    const char* j = "Jobs";
    B(true, j, "jHistoryDBExport");
    B(true, j, "jStartRenderInMiddle");
    B(false, j, "jWaitForApprovedMain");
    B(false, j, "jWaitForApprovedDone");
    B(true, j, "jDoNotCheckOverwrite");
    B(true, j, "jAverageAbortOnReceive");
    B(true, j, "jAverageAbortAfterFrame");
    B(true, j, "jAbortReservedClientsOnJobReceive");
    B(false, j, "jPrivilegLoggedIn");
    I(4, 0, 4, j, "jGetProjectNameBy");
    I(3, 1, 10, j, "jGetProjectNameByDirStart");
    I(1, 1, 5, j, "jGetProjectNameByDirCount");
    I(300, 14, 700, j, "jHistoryDBDeleteAfterDays");
    I(0, 0, 3, j, "jHistoryDBExportName");
    I(14, 1, 30, j, "jDeleteFinishedAfterDays");
    I(90, 30, 300, j, "jDeleteUnFinishedAfterDays");
    I(1000, 100, 10000, j, "jDeleteIfNumber");
    I(3, 1, 20, j, "jMaxCrashesClientDeassign");
    I(750, 0, 750, j, "jPreferedProjects1cl");
    I(750, 0, 750, j, "jPreferedProjects2cl");
    I(750, 0, 750, j, "jPreferedProjects3cl");
    I(750, 0, 750, j, "jPreferedProjects4cl");
    I(750, 0, 750, j, "jPreferedProjects5cl");
    I(750, 0, 750, j, "jPreferedProjects6cl");
    I(750, 0, 750, j, "jPreferedProjects7cl");
    I(750, 0, 750, j, "jPreferedProjects8cl");
    I(750, 0, 750, j, "jPreferedProjects9cl");
    I(750, 0, 750, j, "jPreferedProjects10cl");
    I(30, 10, 100, j, "jPreviewPriorityIncrease");
    I(10, 0, 100, j, "jScriptPriorityIncrease");
    I(2, 0, 4, j, "jPrioLvlAmode");
    I(0, 0, 4, j, "jPrioLvlBmode");
    I(0, 0, 2, j, "jPrioLvlCmode");
    I(20, 1, 99, j, "jPrioLvlApmin");
    I(79, 1, 99, j, "jPrioLvlApmax");
    I(20, 1, 99, j, "jPrioLvlBpmin");
    I(79, 1, 99, j, "jPrioLvlBpmax");
    I(1, 0, 20, j, "jPrioReduceCrash");
    I(1, 0, 20, j, "jPrioReduceCrashClient");
    I(1, 0, 2, j, "jGetSSVbySetting");
    I(0, 0, 3, j, "jGetSSVbyFile");
    I(0, 0, 9, j, "jGetSSVSceneLength");
    I(0, 0, 9, j, "jGetSSVShotLength");
    I(0, 0, 1, j, "jChunkSize");
    S("", j, "jPreferedProjects1");
    S("", j, "jPreferedProjects2");
    S("", j, "jPreferedProjects3");
    S("", j, "jPreferedProjects4");
    S("", j, "jPreferedProjects5");
    S("", j, "jPreferedProjects6");
    S("", j, "jPreferedProjects7");
    S("", j, "jPreferedProjects8");
    S("", j, "jPreferedProjects9");
    S("", j, "jPreferedProjects10");
    S("s", j, "jGetSSVScene");
    S("_sh", j, "jGetSSVShot");
    S("_v", j, "jGetSSVVersion");
    S("", j, "jGetSSVSceneEnd");
    S("", j, "jGetSSVShotEnd");
    S("", j, "jGetSSVVersionEnd");

    const char* c = "Clients";
    B(false, c, "cAverageClients");
    B(true, c, "cAverageForUser");
    B(true, c, "cAverageAbort");
    I(6, 1, 24, c, "cAverageAbortHourDelay");
    I(750, 200, 30000, c, "cLocTex_LeaveFreeSpaceMB");
    I(30, 2, 150, c, "cLocTex_maxDaysToKeep");
    I(1, 1, 999, c, "cfgcMaxClientsInFileCached");

    // "Jobs" opens a second time: the job-side abort settings came after their client-side
    // forerunners, which checkAfterLoad still copies into them for old files.
    B(true, j, "jAverageAbort");
    I(6, 1, 24, j, "jAverageAbortHourDelay");

    const char* w = "Website";
    B(true, w, "wCreateWebsite");
    B(true, w, "wCreateStats");
    B(true, w, "wCreateGlobalIndex");
    B(false, w, "wCreateUserIndex");
    B(true, w, "wCreateProjectIndex");
    B(false, w, "wCreateHtAccess");
    B(false, w, "wJpegsMultiplyAlpha");
    B(true, w, "wCacheApp3D");
    B(true, w, "wCacheAppArchive");
    B(false, w, "wCacheAppComp");
    I(750, 0, 5000, w, "wCacheFrameLimit");
    I(0, 0, 3, w, "wJobDataLocation");
    S("", w, "wCreateHtAccessPath");

    const char* e = "Email";
    B(false, e, "eSendEmails");
    B(true, e, "eSendStatus");
    B(true, e, "eSendError");
    B(false, e, "eEmailFromDomain");
    B(false, e, "eDomainEmailStatus");
    B(true, e, "eDomainEmailError");
    I(180, 30, 10080, e, "eStatusMinuteDelay");
    I(30, 10, 10080, e, "eErrorMinuteDelay");
    I(25, 1, 20000, e, "eSmtpServerPort");
    I(1, 0, 10, e, "eAuthType");
    I(0, 0, 2, e, "eSecurityType");
    S("", e, "eSmtpServer");
    S("", e, "eAuthAccount");
    S("", e, "eAuthPass");
    S("", e, "eDomainEmail");

    const char* f = "FTP";
    B(false, f, "fFtpUpload");
    B(false, f, "fProxyHttp");
    B(true, f, "fUploadGlobalTables");
    B(true, f, "fUploadProjectTables");
    B(true, f, "fUploadUserTables");
    B(true, f, "fUploadJobSites");
    B(true, f, "fUploadImgStats");
    B(true, f, "fUploadImgRGBsmall");
    B(false, f, "fUploadImgRGB");
    B(false, f, "fUploadImgAlpha");
    B(false, f, "fUploadQuicktimes");
    B(false, f, "fNoHtDelete");
    I(21, 1, 20000, f, "fServerPort");
    I(0, 0, 1, f, "fProxyType");
    I(21, 1, 20000, f, "fProxyPort");
    S("", f, "fServer");
    S("", f, "fUser");
    S("", f, "fPass");
    S("", f, "fProxyServer");
    S("", f, "fProxyUser");
    S("", f, "fProxyPass");
    S("", f, "fPath");

    const char* s = "Server";
    B(false, s, "sMultiUserFileServerLogin");
    B(false, s, "sMultiUserFileServerLoginProject");
    I(8, 0, 23, s, "sDailyExecuteTime");
    I(0, 0, 300, s, "sJobSendDelayNew");
    I(3, 1, 50, s, "sWOL_ClientNeedLimit");
    I(10, 1, 180, s, "sWOL_WaitBetweenWOLTime");
    I(0, 0, 6, s, "nServerOS");
    I(0, 0, 1, s, "sFrameCheckmode");
    S("", s, "nServerOSInfo");

    // nTCPRequiresAuth stands twice, both with the same default; every lookup finds the first.
    const char* nw = "NetWork";
    B(false, nw, "nTCPRequiresAuth");
    B(true, nw, "nWebServerStart");
    B(true, nw, "nUseServerIP");
    B(false, nw, "nTCPRequiresAuth");
    I(8070, 10, 30000, nw, "nWebServerPort");
    I(20, 5, 120, nw, "nClientConnectPSec");
    I(7773, 10, 30000, nw, "nFMServerPort");
    I(2304, 5, 32000, nw, "sWOL_Port");
    S("", nw, "nServerName");
    S("", nw, "nServerMACAddress");
    S("", nw, "nServerIP1");
    S("", nw, "nServerIP2");
    S("", nw, "nServerIP3");
    S("", nw, "nBackupServerName");
    S("", nw, "nBackupServerIP1");
    S("", nw, "nBackupServerIP2");
    S("", nw, "nBackupServerIP3");
    S("*ANY*", nw, "nFMServerAdapter");
    S("255.255.255.0", nw, "sWOL_Subnet");
    S("", nw, "nAuthWhiteList");

    const char* u = "User";
    B(false, u, "lockClientConfig");
    B(true, u, "lockClientClose");
    B(false, u, "lockFMConfig");
    B(false, u, "encodePreview");

    const char* m = "Misc";
    B(false, m, "Exr20");
    I(0, 0, 3, m, "VideoPreview");
    I(0, 0, 3, m, "VideoFull");
    I(0, 0, 1, m, "UIcolor");
    I(8, 5, 20, m, "FontWin");
    I(7, 5, 20, m, "FontWinSmall");
    I(8, 5, 20, m, "FontLx");
    I(7, 5, 20, m, "FontLxSmall");
    I(11, 5, 20, m, "FontOsx");
    I(10, 5, 20, m, "FontOsxSmall");
    I(7, 0, 99, m, "ConfigVersionMajor");
    I(0, 0, 99, m, "ConfigVersionMinor");
    F(0.05f, 0.0f, 6.55f, m, "cfgCost");
    // The farm's files come from Windows machines: the default currency sign is the byte 0x80 of
    // code page 1252, the euro sign.
    if (n < MaxParams) Params[n++].init(fmString<100>(QString(QChar(0x20AC))), m, "cfgCostDisplay");
    S(".", m, "cfgLocalDecimalMark");

    const char* sg = "ShotGun";
    B(false, sg, "sgEnable");
    B(false, sg, "sgProxyNoFMServer");
    I(3128, 1, 20000, sg, "sgProxyPort");
    S("", sg, "sgPythonPathWin");
    S("", sg, "sgPythonPathLx");
    S("", sg, "sgPythonPathMac");
    S("", sg, "sgAuthKey");
    S("fornmarkViewer", sg, "sgFMName");
    S("CustomEntity01", sg, "sgEntityJob");
    S("CustomEntity02", sg, "sgEntitySubmit");
    S("https://yourstudio.shotgunstudio.com", sg, "sgUrl");
    S("", sg, "sgProxy");
    S("", sg, "sgProxyUser");
    S("", sg, "sgProxyPass");

    const char* unc = "UNC";
    S("", unc, "uUsername");
    S("", unc, "uPass");

    ParamCount = n;
    rebuildIndex();
}

namespace {
// FNV-1a over the name's bytes.
inline uint32_t nameHash(const char* p, int n)
{
    uint32_t h = 2166136261u;
    for (int i = 0; i < n; ++i)
        h = (h ^ uint8_t(p[i])) * 16777619u;
    return h;
}
} // namespace

void _fmgConfig::rebuildIndex()
{
    std::memset(Index, 0xFF, sizeof(Index));
    if (ParamCount < 0) ParamCount = 0;
    if (ParamCount > MaxParams) ParamCount = MaxParams;
    for (int i = 0; i < ParamCount; ++i) {
        const fmString8_evenSize<100>& nm = Params[i].Name;
        const int len = nm.len();
        uint32_t slot = nameHash(nm.Data, len) & (IndexSize - 1);
        bool repeated = false;
        while (Index[slot] >= 0) {
            const fmString8_evenSize<100>& o = Params[Index[slot]].Name;
            if (o.len() == len && std::memcmp(o.Data, nm.Data, size_t(len)) == 0) {
                repeated = true; // the first entry keeps the slot
                break;
            }
            slot = (slot + 1) & (IndexSize - 1);
        }
        if (!repeated) Index[slot] = int16_t(i);
    }
}

int _fmgConfig::find(const char* name, int length) const
{
    if (!name || length < 0 || length > 100) return -1;
    uint32_t slot = nameHash(name, length) & (IndexSize - 1);
    // At most MaxParams slots are used out of IndexSize, so a free slot ends every probe.
    while (Index[slot] >= 0) {
        const int i = Index[slot];
        if (i < ParamCount) {
            const fmString8_evenSize<100>& o = Params[i].Name;
            if (o.len() == length &&
                (length == 0 || (o.Data[0] == name[0] && std::memcmp(o.Data, name, size_t(length)) == 0)))
                return i;
        }
        slot = (slot + 1) & (IndexSize - 1);
    }
    return -1;
}

int _fmgConfig::find(const char* name) const
{
    if (!name) return -1;
    const size_t n = std::strlen(name);
    return n > 100 ? -1 : find(name, int(n));
}

_fmgCfg_param* _fmgConfig::param(const char* name)
{
    const int i = find(name);
    return i < 0 ? nullptr : &Params[i];
}

const _fmgCfg_param* _fmgConfig::param(const char* name) const
{
    const int i = find(name);
    return i < 0 ? nullptr : &Params[i];
}

bool _fmgConfig::removeParam(const char* name)
{
    const int i = find(name);
    if (i < 0) return false;
    for (int k = i; k + 1 < ParamCount; ++k)
        Params[k] = Params[k + 1];
    --ParamCount;
    Params[ParamCount] = _fmgCfg_param();
    rebuildIndex();
    return true;
}

void _fmgConfig::checkAfterLoad(__FMSDK&)
{
    const _fmgCfg_param* major = param("ConfigVersionMajor");
    const _fmgCfg_param* minor = param("ConfigVersionMinor");
    const int vMajor = major ? major->ValueI : 7;
    const int vMinor = minor ? minor->ValueI : 0;
    // Versions before 5, and 6.0 to 6.2, still kept the abort settings on the client side.
    if (vMajor < 5 || (vMajor == 6 && vMinor <= 2)) {
        const _fmgCfg_param* cAbort = param("cAverageAbort");
        const _fmgCfg_param* cDelay = param("cAverageAbortHourDelay");
        _fmgCfg_param* jAbort = param("jAverageAbort");
        _fmgCfg_param* jDelay = param("jAverageAbortHourDelay");
        if (cAbort && jAbort) jAbort->ValueB = cAbort->ValueB;
        if (cDelay && jDelay) jDelay->setI(cDelay->ValueI);

        _fmgCfg_param* mode = param("jPrioLvlAmode");
        const _fmgCfg_param* avgClients = param("cAverageClients");
        const _fmgCfg_param* avgUser = param("cAverageForUser");
        if (mode && avgClients && avgUser) {
            if (!avgClients->ValueB)
                mode->setI(0);
            else if (!avgUser->ValueB)
                mode->setI(2);
            else
                mode->setI(1);
        }

        removeParam("cAverageAbort");
        removeParam("cAverageAbortHourDelay");
        removeParam("nRouterIP");
    }

    static const char* const mustHave[][2] = {
        {"sgFMName", "fornmarkViewer"},
        {"sgEntityJob", "CustomEntity01"},
        {"sgEntitySubmit", "CustomEntity02"},
        {"sgUrl", "https://yourstudio.shotgunstudio.com"},
    };
    for (const auto& d : mustHave) {
        _fmgCfg_param* p = param(d[0]);
        if (p && p->Type == fmgCfg_String && p->ValueS.isEmpty()) p->ValueS.set(d[1]);
    }
}

void _fmgConfig::checkBeforeSave(__FMSDK&)
{
    if (_fmgCfg_param* p = param("ConfigVersionMajor")) p->setI(7);
    if (_fmgCfg_param* p = param("ConfigVersionMinor")) p->setI(0);
}

QString _fmgConfig::uncMapToText(const _fmgUNCMap& map)
{
    if (!map.Enabled || map.Path.isEmpty()) return QString();
    QString letter;
    if (map.Letter != 0) letter = QChar(char16_t(map.Letter)).toUpper();
    return letter + QLatin1Char('@') + map.Path.toQString() + QLatin1Char('@');
}

void _fmgConfig::uncMapFromText(const QString& text, _fmgUNCMap& map)
{
    const qsizetype at = text.indexOf(QLatin1Char('@'));
    const QString head = (at < 0 ? text : text.left(at)).toUpper();
    if (!head.isEmpty()) {
        const char16_t ch = head.at(0).unicode();
        map.Letter = ch > 255 ? 0 : uint8_t(ch);
    }
    QString path;
    if (at >= 0) {
        const qsizetype end = text.indexOf(QLatin1Char('@'), at + 1);
        path = end < 0 ? text.mid(at + 1) : text.mid(at + 1, end - at - 1);
    }
    map.Path.set(path.left(250));
    map.Enabled = !map.Path.isEmpty();
}

QString _fmgConfig::osConversionToText(const _fmgOSConversion& row)
{
    int used = 0;
    for (int os = 1; os <= 3; ++os)
        used += row.Path[os].isEmpty() ? 0 : 1;
    if (used < 2) return QString();
    return row.Path[1].toQString() + QLatin1Char('?') + row.Path[2].toQString() + QLatin1Char('?') +
           row.Path[3].toQString();
}

void _fmgConfig::osConversionFromText(const QString& text, _fmgOSConversion& row)
{
    for (auto& p : row.Path)
        p.clear();
    if (text.isEmpty()) return;
    qsizetype from = 0;
    for (int os = 1; os <= 3; ++os) {
        const qsizetype q = text.indexOf(QLatin1Char('?'), from);
        const QString part = q < 0 ? text.mid(from) : text.mid(from, q - from);
        row.Path[os].set(part.left(200));
        if (q < 0) break;
        from = q + 1;
    }
}

QString _fmgConfig::overrideServerNameFromArgs(const QStringList& args)
{
    for (qsizetype i = 1; i + 1 < args.size(); ++i) {
        const QString& a = args.at(i);
        if (a.compare(QLatin1String("-OverrideServerName"), Qt::CaseInsensitive) == 0 ||
            a.compare(QLatin1String("-OSN"), Qt::CaseInsensitive) == 0)
            return args.at(i + 1).toUpper().left(200);
    }
    return QString();
}
