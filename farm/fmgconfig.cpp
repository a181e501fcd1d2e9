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

namespace {

// Enters one parameter after the other; the table has room for MaxParams, more than the ParamTotal
// entered here. The order of the calls is the table's order.
struct ParamAdder
{
    _fmgConfig& Cfg;
    int N = 0;
    void B(bool v, const char* s, const char* k)
    {
        if (N < _fmgConfig::MaxParams) Cfg.Params[N++].init(v, s, k);
    }
    void S(const char* v, const char* s, const char* k)
    {
        if (N < _fmgConfig::MaxParams) Cfg.Params[N++].init(v, s, k);
    }
    void S(const fmString<100>& v, const char* s, const char* k)
    {
        if (N < _fmgConfig::MaxParams) Cfg.Params[N++].init(v, s, k);
    }
    void I(short v, short lo, short hi, const char* s, const char* k)
    {
        if (N < _fmgConfig::MaxParams) Cfg.Params[N++].init(v, lo, hi, s, k);
    }
    void F(float v, float lo, float hi, const char* s, const char* k)
    {
        if (N < _fmgConfig::MaxParams) Cfg.Params[N++].initf(v, lo, hi, s, k);
    }
};

// The job and client entries.
void addJobParams(ParamAdder& a)
{
    const char* j = "Jobs";
    a.B(true, j, "jHistoryDBExport");
    a.B(true, j, "jStartRenderInMiddle");
    a.B(false, j, "jWaitForApprovedMain");
    a.B(false, j, "jWaitForApprovedDone");
    a.B(true, j, "jDoNotCheckOverwrite");
    a.B(true, j, "jAverageAbortOnReceive");
    a.B(true, j, "jAverageAbortAfterFrame");
    a.B(true, j, "jAbortReservedClientsOnJobReceive");
    a.B(false, j, "jPrivilegLoggedIn");
    a.I(4, 0, 4, j, "jGetProjectNameBy");
    a.I(3, 1, 10, j, "jGetProjectNameByDirStart");
    a.I(1, 1, 5, j, "jGetProjectNameByDirCount");
    a.I(300, 14, 700, j, "jHistoryDBDeleteAfterDays");
    a.I(0, 0, 3, j, "jHistoryDBExportName");
    a.I(14, 1, 30, j, "jDeleteFinishedAfterDays");
    a.I(90, 30, 300, j, "jDeleteUnFinishedAfterDays");
    a.I(1000, 100, 10000, j, "jDeleteIfNumber");
    a.I(3, 1, 20, j, "jMaxCrashesClientDeassign");
    a.I(750, 0, 750, j, "jPreferedProjects1cl");
    a.I(750, 0, 750, j, "jPreferedProjects2cl");
    a.I(750, 0, 750, j, "jPreferedProjects3cl");
    a.I(750, 0, 750, j, "jPreferedProjects4cl");
    a.I(750, 0, 750, j, "jPreferedProjects5cl");
    a.I(750, 0, 750, j, "jPreferedProjects6cl");
    a.I(750, 0, 750, j, "jPreferedProjects7cl");
    a.I(750, 0, 750, j, "jPreferedProjects8cl");
    a.I(750, 0, 750, j, "jPreferedProjects9cl");
    a.I(750, 0, 750, j, "jPreferedProjects10cl");
    a.I(30, 10, 100, j, "jPreviewPriorityIncrease");
    a.I(10, 0, 100, j, "jScriptPriorityIncrease");
    a.I(2, 0, 4, j, "jPrioLvlAmode");
    a.I(0, 0, 4, j, "jPrioLvlBmode");
    a.I(0, 0, 2, j, "jPrioLvlCmode");
    a.I(20, 1, 99, j, "jPrioLvlApmin");
    a.I(79, 1, 99, j, "jPrioLvlApmax");
    a.I(20, 1, 99, j, "jPrioLvlBpmin");
    a.I(79, 1, 99, j, "jPrioLvlBpmax");
    a.I(1, 0, 20, j, "jPrioReduceCrash");
    a.I(1, 0, 20, j, "jPrioReduceCrashClient");
    a.I(1, 0, 2, j, "jGetSSVbySetting");
    a.I(0, 0, 3, j, "jGetSSVbyFile");
    a.I(0, 0, 9, j, "jGetSSVSceneLength");
    a.I(0, 0, 9, j, "jGetSSVShotLength");
    a.I(0, 0, 1, j, "jChunkSize");
    a.S("", j, "jPreferedProjects1");
    a.S("", j, "jPreferedProjects2");
    a.S("", j, "jPreferedProjects3");
    a.S("", j, "jPreferedProjects4");
    a.S("", j, "jPreferedProjects5");
    a.S("", j, "jPreferedProjects6");
    a.S("", j, "jPreferedProjects7");
    a.S("", j, "jPreferedProjects8");
    a.S("", j, "jPreferedProjects9");
    a.S("", j, "jPreferedProjects10");
    a.S("s", j, "jGetSSVScene");
    a.S("_sh", j, "jGetSSVShot");
    a.S("_v", j, "jGetSSVVersion");
    a.S("", j, "jGetSSVSceneEnd");
    a.S("", j, "jGetSSVShotEnd");
    a.S("", j, "jGetSSVVersionEnd");

    const char* c = "Clients";
    a.B(false, c, "cAverageClients");
    a.B(true, c, "cAverageForUser");
    a.B(true, c, "cAverageAbort");
    a.I(6, 1, 24, c, "cAverageAbortHourDelay");
    a.I(750, 200, 30000, c, "cLocTex_LeaveFreeSpaceMB");
    a.I(30, 2, 150, c, "cLocTex_maxDaysToKeep");
    a.I(1, 1, 999, c, "cfgcMaxClientsInFileCached");

    // "Jobs" opens a second time: the job-side abort settings came after their client-side
    // forerunners, which checkAfterLoad still copies into them for old files.
    a.B(true, j, "jAverageAbort");
    a.I(6, 1, 24, j, "jAverageAbortHourDelay");
}

// The services: website, e-mail and FTP.
void addServiceParams(ParamAdder& a)
{
    const char* w = "Website";
    a.B(true, w, "wCreateWebsite");
    a.B(true, w, "wCreateStats");
    a.B(true, w, "wCreateGlobalIndex");
    a.B(false, w, "wCreateUserIndex");
    a.B(true, w, "wCreateProjectIndex");
    a.B(false, w, "wCreateHtAccess");
    a.B(false, w, "wJpegsMultiplyAlpha");
    a.B(true, w, "wCacheApp3D");
    a.B(true, w, "wCacheAppArchive");
    a.B(false, w, "wCacheAppComp");
    a.I(750, 0, 5000, w, "wCacheFrameLimit");
    a.I(0, 0, 3, w, "wJobDataLocation");
    a.S("", w, "wCreateHtAccessPath");

    const char* e = "Email";
    a.B(false, e, "eSendEmails");
    a.B(true, e, "eSendStatus");
    a.B(true, e, "eSendError");
    a.B(false, e, "eEmailFromDomain");
    a.B(false, e, "eDomainEmailStatus");
    a.B(true, e, "eDomainEmailError");
    a.I(180, 30, 10080, e, "eStatusMinuteDelay");
    a.I(30, 10, 10080, e, "eErrorMinuteDelay");
    a.I(25, 1, 20000, e, "eSmtpServerPort");
    a.I(1, 0, 10, e, "eAuthType");
    a.I(0, 0, 2, e, "eSecurityType");
    a.S("", e, "eSmtpServer");
    a.S("", e, "eAuthAccount");
    a.S("", e, "eAuthPass");
    a.S("", e, "eDomainEmail");

    const char* f = "FTP";
    a.B(false, f, "fFtpUpload");
    a.B(false, f, "fProxyHttp");
    a.B(true, f, "fUploadGlobalTables");
    a.B(true, f, "fUploadProjectTables");
    a.B(true, f, "fUploadUserTables");
    a.B(true, f, "fUploadJobSites");
    a.B(true, f, "fUploadImgStats");
    a.B(true, f, "fUploadImgRGBsmall");
    a.B(false, f, "fUploadImgRGB");
    a.B(false, f, "fUploadImgAlpha");
    a.B(false, f, "fUploadQuicktimes");
    a.B(false, f, "fNoHtDelete");
    a.I(21, 1, 20000, f, "fServerPort");
    a.I(0, 0, 1, f, "fProxyType");
    a.I(21, 1, 20000, f, "fProxyPort");
    a.S("", f, "fServer");
    a.S("", f, "fUser");
    a.S("", f, "fPass");
    a.S("", f, "fProxyServer");
    a.S("", f, "fProxyUser");
    a.S("", f, "fProxyPass");
    a.S("", f, "fPath");
}

// The server and the network.
void addServerParams(ParamAdder& a)
{
    const char* s = "Server";
    a.B(false, s, "sMultiUserFileServerLogin");
    a.B(false, s, "sMultiUserFileServerLoginProject");
    a.I(8, 0, 23, s, "sDailyExecuteTime");
    a.I(0, 0, 300, s, "sJobSendDelayNew");
    a.I(3, 1, 50, s, "sWOL_ClientNeedLimit");
    a.I(10, 1, 180, s, "sWOL_WaitBetweenWOLTime");
    a.I(0, 0, 6, s, "nServerOS");
    a.I(0, 0, 1, s, "sFrameCheckmode");
    a.S("", s, "nServerOSInfo");

    // nTCPRequiresAuth stands twice, both with the same default; every lookup finds the first.
    const char* nw = "NetWork";
    a.B(false, nw, "nTCPRequiresAuth");
    a.B(true, nw, "nWebServerStart");
    a.B(true, nw, "nUseServerIP");
    a.B(false, nw, "nTCPRequiresAuth");
    a.I(8070, 10, 30000, nw, "nWebServerPort");
    a.I(20, 5, 120, nw, "nClientConnectPSec");
    a.I(7773, 10, 30000, nw, "nFMServerPort");
    a.I(2304, 5, 32000, nw, "sWOL_Port");
    a.S("", nw, "nServerName");
    a.S("", nw, "nServerMACAddress");
    a.S("", nw, "nServerIP1");
    a.S("", nw, "nServerIP2");
    a.S("", nw, "nServerIP3");
    a.S("", nw, "nBackupServerName");
    a.S("", nw, "nBackupServerIP1");
    a.S("", nw, "nBackupServerIP2");
    a.S("", nw, "nBackupServerIP3");
    a.S("*ANY*", nw, "nFMServerAdapter");
    a.S("255.255.255.0", nw, "sWOL_Subnet");
    a.S("", nw, "nAuthWhiteList");
}

// User, miscellaneous, ShotGun and UNC entries.
void addOtherParams(ParamAdder& a)
{
    const char* u = "User";
    a.B(false, u, "lockClientConfig");
    a.B(true, u, "lockClientClose");
    a.B(false, u, "lockFMConfig");
    a.B(false, u, "encodePreview");

    const char* m = "Misc";
    a.B(false, m, "Exr20");
    a.I(0, 0, 3, m, "VideoPreview");
    a.I(0, 0, 3, m, "VideoFull");
    a.I(0, 0, 1, m, "UIcolor");
    a.I(8, 5, 20, m, "FontWin");
    a.I(7, 5, 20, m, "FontWinSmall");
    a.I(8, 5, 20, m, "FontLx");
    a.I(7, 5, 20, m, "FontLxSmall");
    a.I(11, 5, 20, m, "FontOsx");
    a.I(10, 5, 20, m, "FontOsxSmall");
    a.I(7, 0, 99, m, "ConfigVersionMajor");
    a.I(0, 0, 99, m, "ConfigVersionMinor");
    a.F(0.05f, 0.0f, 6.55f, m, "cfgCost");
    // The farm's files come from Windows machines: the default currency sign is the byte 0x80 of
    // code page 1252, the euro sign.
    a.S(fmString<100>(QString(QChar(0x20AC))), m, "cfgCostDisplay");
    a.S(".", m, "cfgLocalDecimalMark");

    const char* sg = "ShotGun";
    a.B(false, sg, "sgEnable");
    a.B(false, sg, "sgProxyNoFMServer");
    a.I(3128, 1, 20000, sg, "sgProxyPort");
    a.S("", sg, "sgPythonPathWin");
    a.S("", sg, "sgPythonPathLx");
    a.S("", sg, "sgPythonPathMac");
    a.S("", sg, "sgAuthKey");
    a.S("fornmarkViewer", sg, "sgFMName");
    a.S("CustomEntity01", sg, "sgEntityJob");
    a.S("CustomEntity02", sg, "sgEntitySubmit");
    a.S("https://yourstudio.shotgunstudio.com", sg, "sgUrl");
    a.S("", sg, "sgProxy");
    a.S("", sg, "sgProxyUser");
    a.S("", sg, "sgProxyPass");

    const char* unc = "UNC";
    a.S("", unc, "uUsername");
    a.S("", unc, "uPass");
}

} // namespace

void _fmgConfig::initialize()
{
    ParamAdder a{*this};
    addJobParams(a);
    addServiceParams(a);
    addServerParams(a);
    addOtherParams(a);
    ParamCount = a.N;
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
