// globalconfig.ini: loading and saving the configuration table, and its setters.
#include "app/fm.h"
#include "farm/fmgconfig.h"
#include "foundation/fmfileread.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QVariant>

#include <cmath>
#include <cstring>

namespace {

const QString kCfgFileName = QStringLiteral("globalconfig.ini");

// Modification time in seconds since the epoch; 0 when the path is not a readable file.
int64_t fileTime(const QString& path)
{
    const QFileInfo fi(path);
    if (!fi.exists() || !fi.isFile()) return 0;
    return fi.lastModified().toSecsSinceEpoch();
}

// "01".."99": the number in the keys of the lists.
QString listKey(const char* prefix, int i)
{
    return QLatin1String(prefix) + QStringLiteral("%1").arg(i + 1, 2, 10, QLatin1Char('0'));
}

// A value as text: an unquoted value with a comma comes back from the INI reader as a list.
QString variantText(const QVariant& v)
{
    if (v.typeId() == QMetaType::QStringList) return v.toStringList().join(QLatin1Char(','));
    return v.toString();
}

bool variantNumber(const QVariant& v, long long& out)
{
    if (v.typeId() == QMetaType::QStringList) return false;
    bool ok = false;
    out = v.toString().trimmed().toLongLong(&ok);
    return ok;
}

void logStatus(__FM& fm, QSettings::Status st, const char* accessText, const char* where)
{
    QString text;
    if (st == QSettings::FormatError)
        text = QStringLiteral("globalconfig.ini has wrong file format, file broken!");
    else if (st == QSettings::AccessError)
        text = QLatin1String(accessText);
    else
        text = QStringLiteral("Unknown error while loading globalconfig.ini!");
    fm.WriteLog(0, 0, text, QLatin1String(where));
}

// Typed parameters: a missing key keeps its value; a number that does not parse is named and kept.
void readCfgParams(__FM& fm, const QSettings& ini, _fmgConfig& cfg)
{
    for (int i = 0; i < cfg.ParamCount && i < _fmgConfig::MaxParams; ++i) {
        _fmgCfg_param& p = cfg.Params[i];
        const QVariant v = ini.value(p.key());
        if (!v.isValid()) continue; // missing: the value stays
        switch (p.Type) {
        case fmgCfg_Bool:
            p.ValueB = v.toBool();
            break;
        case fmgCfg_String:
            p.ValueS.set(variantText(v).left(100));
            break;
        case fmgCfg_Int:
        case fmgCfg_Float: {
            long long n = 0;
            if (!variantNumber(v, n)) {
                fm.WriteLog(1, 0,
                            QStringLiteral("globalconfig.ini: parameter ") + p.Name.toQString() +
                                QStringLiteral(" is not a valid number!"),
                            QStringLiteral("FM,LoadFileCfg"));
                break;
            }
            if (p.Type == fmgCfg_Int)
                p.setI(n);
            else
                p.setF(float(double(n) / 100.0)); // stored times 100
            break;
        }
        default:
            break;
        }
    }
}

// The numbered lists: UNC maps (a missing entry is disabled), OS conversions and the log flags (a
// missing flag keeps its value, as every other parameter does).
void readCfgLists(const QSettings& ini, _fmgConfig& cfg)
{
    for (int i = 0; i < _fmgConfig::UNCMapCount; ++i) {
        _fmgUNCMap& m = cfg.UNCMaps[i];
        const QVariant v = ini.value(QStringLiteral("UNC/") + listKey("Map", i));
        if (!v.isValid()) {
            m.Enabled = false;
            continue;
        }
        _fmgConfig::uncMapFromText(variantText(v), m);
    }
    for (int i = 0; i < _fmgConfig::OSConversionCount; ++i)
        _fmgConfig::osConversionFromText(
            variantText(ini.value(QStringLiteral("OSConversion/") + listKey("Path", i))),
            cfg.OSConversion[i]);
    for (int i = 0; i < _fmgConfig::LogLevels; ++i) {
        const QString key = QStringLiteral("Interaction/") + listKey("LogLevel", i);
        cfg.LogLevel[i] = ini.value(key, cfg.LogLevel[i]).toBool();
        const QString keyUI = QStringLiteral("Interaction/") + listKey("LogLevelUI", i);
        cfg.LogLevelUI[i] = ini.value(keyUI, cfg.LogLevelUI[i]).toBool();
    }
    for (int i = 0; i < _fmgConfig::EmailLogLevels; ++i) {
        const QString key = QStringLiteral("Email/") + listKey("LogLevel", i);
        cfg.EmailLogLevel[i] = ini.value(key, cfg.EmailLogLevel[i]).toBool();
    }
}

} // namespace

bool __FM::cfgSetB(const fmString8_evenSize<100>& name, bool value)
{
    _fmgCfg_param* p = fmgCfgLookupSet(*this, name, fmgCfg_Bool, "FM,cfgSetB");
    if (!p) return false;
    p->ValueB = value;
    return true;
}

bool __FM::cfgSetI(const fmString8_evenSize<100>& name, short value)
{
    _fmgCfg_param* p = fmgCfgLookupSet(*this, name, fmgCfg_Int, "FM,cfgSetI");
    if (!p) return false;
    p->setI(value);
    return true;
}

bool __FM::cfgSetS(const fmString8_evenSize<100>& name, const fmString<200>& value)
{
    _fmgCfg_param* p = fmgCfgLookupSet(*this, name, fmgCfg_String, "cfgSetS");
    if (!p) return false;
    p->ValueS.set(value.toQString()); // cut to 100
    return true;
}

bool __FM::cfgSetF(const fmString8_evenSize<100>& name, float value)
{
    _fmgCfg_param* p = fmgCfgLookupSet(*this, name, fmgCfg_Float, "FM,cfgSetF");
    if (!p) return false;
    p->setF(value);
    return true;
}

bool __FM::LoadFileCfg()
{
    const char* where = "FM,LoadFileCfg";
    // No local configuration folder exists on this platform: the shared one is always read.
    const QString folder = CfgGlobalPath.toQString();
    const QString path = folder + kCfgFileName;
    WriteLog(10, 0, path + QStringLiteral("   loading..."), QLatin1String(where));
    if (!cfg) return false;

    if (!fmPathExists(path)) {
        WriteLog(0, 0, QStringLiteral("globalconfig.ini not found!"), QLatin1String(where));
        return false;
    }
    const int64_t mtime = fileTime(path);
    // Unchanged since the last read (0: never read, whatever the file's time).
    if (cfg->LastFileTime.t != 0 && mtime != 0 && cfg->LastFileTime.t >= mtime) return true;

    // QSettings reads a private copy: on the root it would block on a FIFO and read without a cap.
    fmPrivateCopy copy;
    QString why;
    if (!copy.copyFrom(path, fmFileCap::ConfigIni, false, &why)) {
        WriteLog(0, 0,
                 QStringLiteral("Unable to read '") + fmPathForDisplay(path) + QStringLiteral("': ") + why,
                 QLatin1String(where));
        return false;
    }
    QSettings ini(copy.fileName(), QSettings::IniFormat);
    if (ini.status() != QSettings::NoError) {
        logStatus(*this, ini.status(), "Unable to read globalconfig.ini! ", where);
        return false;
    }

    readCfgParams(*this, ini, *cfg);
    readCfgLists(ini, *cfg);

    if (ini.status() != QSettings::NoError) {
        logStatus(*this, ini.status(), "Unable to read globalconfig.ini!", where);
        return false;
    }

    cfg->LastFileTime.t = mtime;
    WriteLog(10, 0, folder + kCfgFileName + QStringLiteral("   loaded"), QLatin1String(where));
    cfg->checkAfterLoad(*this);

    QString serverName = cfg->OverrideServerName.toQString();
    if (serverName.isEmpty() && QCoreApplication::instance())
        serverName = _fmgConfig::overrideServerNameFromArgs(QCoreApplication::arguments());
    if (!serverName.isEmpty()) {
        cfgSetS(fmString8_evenSize<100>("nServerName"), fmString<200>(serverName));
        cfgSetB(fmString8_evenSize<100>("nUseServerIP"), false);
    }
    return true;
}

bool __FM::SaveFileCfg()
{
    const char* where = "FM,SaveFileCfg";
    const QString folder = CfgGlobalPath.toQString();
    const QString path = folder + kCfgFileName;
    WriteLog(10, 0, path + QStringLiteral("   writing..."), QLatin1String(where));
    if (!cfg) return false;
    cfg->checkBeforeSave(*this);

    QSettings::Status st;
    {
        QSettings ini(path, QSettings::IniFormat);
        if (!ini.isWritable()) {
            WriteLog(0, 0, QStringLiteral("globalconfig.ini is read-only!"), QLatin1String(where));
            return false;
        }

        for (int i = 0; i < cfg->ParamCount && i < _fmgConfig::MaxParams; ++i) {
            const _fmgCfg_param& p = cfg->Params[i];
            // A repeated key is written once, from its first entry, which is the one that every
            // lookup and setter reaches; the repetition would otherwise overwrite it with its own
            // untouched value.
            if (cfg->find(p.Name.Data, p.Name.len()) != i) continue;
            switch (p.Type) {
            case fmgCfg_Bool:
                ini.setValue(p.key(), p.ValueB);
                break;
            case fmgCfg_String:
                ini.setValue(p.key(), p.ValueS.toQString());
                break;
            case fmgCfg_Int:
                ini.setValue(p.key(), int(p.ValueI));
                break;
            case fmgCfg_Float:
                ini.setValue(p.key(), int(std::lround(double(p.ValueF) * 100.0)));
                break;
            default:
                break;
            }
        }

        for (int i = 0; i < _fmgConfig::UNCMapCount; ++i)
            ini.setValue(QStringLiteral("UNC/") + listKey("Map", i),
                         _fmgConfig::uncMapToText(cfg->UNCMaps[i]));
        for (int i = 0; i < _fmgConfig::OSConversionCount; ++i)
            ini.setValue(QStringLiteral("OSConversion/") + listKey("Path", i),
                         _fmgConfig::osConversionToText(cfg->OSConversion[i]));
        for (int i = 0; i < _fmgConfig::LogLevels; ++i) {
            ini.setValue(QStringLiteral("Interaction/") + listKey("LogLevel", i), cfg->LogLevel[i]);
            ini.setValue(QStringLiteral("Interaction/") + listKey("LogLevelUI", i), cfg->LogLevelUI[i]);
        }
        for (int i = 0; i < _fmgConfig::EmailLogLevels; ++i)
            ini.setValue(QStringLiteral("Email/") + listKey("LogLevel", i), cfg->EmailLogLevel[i]);

        ini.sync();
        st = ini.status();
    }

    switch (st) {
    case QSettings::NoError:
        cfg->LastFileTime.t = fileTime(path);
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                        QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                        QFileDevice::ReadOther | QFileDevice::WriteOther);
        WriteLog(10, 0, folder + kCfgFileName + QStringLiteral("   written"), QLatin1String(where));
        return true;
    case QSettings::AccessError:
        WriteLog(0, 0, QStringLiteral("Unable to access globalconfig.ini, read-only?"), QLatin1String(where));
        return false;
    case QSettings::FormatError:
        WriteLog(0, 0, QStringLiteral("globalconfig.ini has wrong file format, file broken!"),
                 QLatin1String(where));
        return false;
    default:
        WriteLog(0, 0, QStringLiteral("Unknown error while writing globalconfig.ini!"), QLatin1String(where));
        return false;
    }
}
