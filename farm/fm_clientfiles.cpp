// clients.ini and clientgroups.ini, and the farm tables owned by FM.
//
// clients.ini lives on the shared root and is read and written by every tool of the farm. QSettings
// never works on the share: the file is copied to a local temporary file under the file lock, the
// settings work there, and a save copies the result back while it still holds the lock.
#include "app/fm.h"
#include "farm/fmclientlog.h"
#include "farm/fmclient.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "farm/fmusers.h"
#include "foundation/fmfilelock.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSettings>
#include <QSysInfo>
#include <QThread>
#include <cmath>
#include <memory>

using namespace fmC;

static const QString TempClientsPath = QStringLiteral("/tmp/clients.ini");
static const char* const ReservedClientName = "nemo"; // never written: the name is reserved

void __FM::createFarmTables()
{
    if (!ClientList) ClientList = new _ClientList(*this);
    if (!ClientGroups) ClientGroups = new _ClientGroupList;
    if (!UserSettings) UserSettings = new _fmgUserSettingsList;
}

void __FM::deleteFarmTables()
{
    delete UserSettings;
    UserSettings = nullptr;
    delete ClientGroups;
    ClientGroups = nullptr;
    delete ClientList;
    ClientList = nullptr;
}

// ---- one client's section

// A value as text. An INI value with commas comes back as a list: join it again.
static QString readText(QSettings& file, const QString& key)
{
    const QVariant v = file.value(key);
    if (v.typeId() == QMetaType::QStringList) return v.toStringList().join(QLatin1Char(','));
    return v.toString();
}

template <class T>
static T clampTo(long long v, long long lo, long long hi)
{
    return T(v < lo ? lo : (v > hi ? hi : v));
}

static QString hourTableToString(const uint32_t* rows)
{
    QString s;
    for (int d = 0; d < HourTableDays; ++d)
        s += QStringLiteral("%1").arg(rows[d] & 0xFFFFFFu, 6, 16, QLatin1Char('0')).toUpper();
    return s;
}

// Seven rows of six hexadecimal digits; a row that does not parse keeps what it had.
static void hourTableFromString(const QString& s, uint32_t* rows)
{
    for (int d = 0; d < HourTableDays; ++d) {
        if (s.size() < (d + 1) * 6) break;
        bool ok = false;
        const uint v = s.mid(d * 6, 6).toUInt(&ok, 16);
        if (ok) rows[d] = v & 0xFFFFFFu;
    }
}

// The older form: one name a key, prefix + "01" to prefix + "20".
static void readOldList(QSettings& file, const QString& prefix, _cfgStrList<StrListMax>& list)
{
    QStringList names;
    for (int i = 1; i <= StrListMax; ++i) {
        const QString n = readText(file, prefix + QStringLiteral("%1").arg(i, 2, 10, QLatin1Char('0'))).trimmed();
        if (!n.isEmpty() && !n.contains(QLatin1Char(';'))) names << n;
    }
    list.fromString(names.join(QLatin1Char(';')) + QLatin1Char(';'));
}

bool _Client::ReadClientCfg(QSettings& file, bool onlyListNo)
{
    file.beginGroup(Status.Name.toQString());
    bool ok = false;
    ListNo = readText(file, QStringLiteral("listNo")).toInt(&ok);
    if (!ok) ListNo = 0;
    if (onlyListNo) {
        file.endGroup();
        return true;
    }

    const QString b = readText(file, QStringLiteral("cfgB"));
    const int nb = b.size() < CfgBoolMax ? int(b.size()) : CfgBoolMax;
    for (int i = 0; i < nb; ++i) CfgBool[i] = b.at(i) == QLatin1Char('1') ? 1 : 0;
    if (nb > CfgBoolCount) CfgBoolCount = int16_t(nb);

    QStringList v = readText(file, QStringLiteral("cfgV")).split(QLatin1Char(';'));
    if (!v.isEmpty() && v.last().trimmed().isEmpty()) v.removeLast();
    const int nv = v.size() < CfgValueMax ? int(v.size()) : CfgValueMax;
    for (int i = 0; i < nv; ++i) {
        const long long x = v.at(i).trimmed().toLongLong(&ok);
        if (!ok) {
            // A broken list ends the section for this client; what was read stays.
            if (i > CfgValueCount) CfgValueCount = int16_t(i);
            CheckInvalidValues();
            file.endGroup();
            return false;
        }
        CfgValue[i] = clampTo<int16_t>(x, -32768, 32767);
    }
    if (nv > CfgValueCount) CfgValueCount = int16_t(nv);

    const QStringList h = readText(file, QStringLiteral("Hardware")).split(QLatin1Char(';'));
    auto part = [&h](int i, long long def) {
        bool good = false;
        const long long x = i < h.size() ? h.at(i).trimmed().toLongLong(&good) : 0;
        return good ? x : def;
    };
    if (h.size() >= 2 || !h.value(0).isEmpty()) {
        Hardware.Memory = clampTo<int32_t>(part(0, Hardware.Memory), 99, 0x7FFFFFFF);
        Hardware.Cores = clampTo<uint8_t>(part(1, Hardware.Cores), 1, 255);
        Hardware.OS = clampTo<signed char>(part(2, Hardware.OS), -128, 127);
        Hardware.Is64Bit = part(3, Hardware.Is64Bit ? 1 : 0) != 0;
        Hardware.MHz = clampTo<uint16_t>(part(4, Hardware.MHz), 1, 65535);
        Hardware.OSVersion = clampTo<uint8_t>(part(5, Hardware.OSVersion), 0, 255);
        // Stored times 1000; kept within what a float holds exactly enough to write back.
        const long long speed = part(6, std::llround(double(Hardware.Speed) * 1000.0));
        Hardware.Speed = float(double(clampTo<long long>(speed, 0, 2000000000LL)) / 1000.0);
    }

    const QStringList w = readText(file, QStringLiteral("WOL")).split(QLatin1Char(';'));
    static const QRegularExpression notHex(QStringLiteral("[^0-9a-fA-F]"));
    WOLMac.set(w.value(0).remove(notHex));
    WOLIP.set(w.value(1).trimmed());
    const QString flags = w.value(2);
    for (int i = 0; i < WOLFlagCount; ++i) WOLFlags[i] = i < flags.size() && flags.at(i) == QLatin1Char('1');

    defaultHourTable(WOLSchedule);
    defaultHourTable(WorkingHours);
    if (file.contains(QStringLiteral("WOLSchedule")))
        hourTableFromString(readText(file, QStringLiteral("WOLSchedule")), WOLSchedule);
    if (file.contains(QStringLiteral("WorkingHours")))
        hourTableFromString(readText(file, QStringLiteral("WorkingHours")), WorkingHours);

    if (file.contains(QStringLiteral("Reserved"))) Reserved.fromString(readText(file, QStringLiteral("Reserved")));
    else readOldList(file, QStringLiteral("Reserved"), Reserved);
    if (file.contains(QStringLiteral("AcceptWH"))) AcceptWH.fromString(readText(file, QStringLiteral("AcceptWH")));
    else readOldList(file, QStringLiteral("AcceptWH"), AcceptWH);

    static const char* const threadKeys[MaxClientThreads] = {"acceptThreadJobsA", "acceptThreadJobsB",
                                                             "acceptThreadJobsC"};
    for (int t = 0; t < MaxClientThreads; ++t) {
        const QString key = QLatin1String(threadKeys[t]);
        if (file.contains(key)) AcceptThreadJobs[t].fromString(readText(file, key));
        else AcceptThreadJobs[t] = defaultThreadJobs(t);
    }

    for (int i = 0; i < AbortProcessMax; ++i)
        AbortProcess[i].set(
            readText(file, QStringLiteral("AbortProcess%1").arg(i + 1, 2, 10, QLatin1Char('0'))).trimmed());

    CustomInfo.set(readText(file, QStringLiteral("customClientInfo")));
    CheckInvalidValues();
    file.endGroup();
    return true;
}

void _Client::WriteClientCfg(QSettings& file, const bool& saveListNo, const bool& dropSchedules) const
{
    file.beginGroup(Status.Name.toQString());
    if (saveListNo) file.setValue(QStringLiteral("listNo"), QString::number(ListNo));

    QString b;
    const int nb = CfgBoolCount < 0 ? 0 : (CfgBoolCount > CfgBoolMax ? CfgBoolMax : CfgBoolCount);
    for (int i = 0; i < nb; ++i) b += CfgBool[i] ? QLatin1Char('1') : QLatin1Char('0');
    file.setValue(QStringLiteral("cfgB"), b);

    QString v;
    const int nv = CfgValueCount < 0 ? 0 : (CfgValueCount > CfgValueMax ? CfgValueMax : CfgValueCount);
    for (int i = 0; i < nv; ++i) v += QString::number(CfgValue[i]) + QLatin1Char(';');
    file.setValue(QStringLiteral("cfgV"), v);

    const long long speed = std::llround(double(Hardware.Speed) * 1000.0);
    file.setValue(QStringLiteral("Hardware"),
                  QStringLiteral("%1;%2;%3;%4;%5;%6;%7;")
                      .arg(Hardware.Memory)
                      .arg(int(Hardware.Cores))
                      .arg(int(Hardware.OS))
                      .arg(Hardware.Is64Bit ? 1 : 0)
                      .arg(int(Hardware.MHz))
                      .arg(int(Hardware.OSVersion))
                      .arg(speed));

    static const QRegularExpression notHex(QStringLiteral("[^0-9a-fA-F]"));
    QString wol = WOLMac.toQString().remove(notHex) + QLatin1Char(';') + WOLIP.toQString() + QLatin1Char(';');
    for (int i = 0; i < WOLFlagCount; ++i) wol += WOLFlags[i] ? QLatin1Char('1') : QLatin1Char('0');
    file.setValue(QStringLiteral("WOL"), wol);

    if (dropSchedules) {
        file.remove(QStringLiteral("WOLSchedule"));
        file.remove(QStringLiteral("WorkingHours"));
    } else {
        file.setValue(QStringLiteral("WOLSchedule"), hourTableToString(WOLSchedule));
        file.setValue(QStringLiteral("WorkingHours"), hourTableToString(WorkingHours));
    }

    file.setValue(QStringLiteral("Reserved"), Reserved.asString());
    file.setValue(QStringLiteral("AcceptWH"), AcceptWH.asString());

    static const char* const threadKeys[MaxClientThreads] = {"acceptThreadJobsA", "acceptThreadJobsB",
                                                             "acceptThreadJobsC"};
    for (int t = 0; t < MaxClientThreads; ++t) {
        const QString key = QLatin1String(threadKeys[t]);
        if (AcceptThreadJobs[t].isEqual(defaultThreadJobs(t))) file.remove(key);
        else file.setValue(key, AcceptThreadJobs[t].asString());
    }

    for (int i = 0; i < AbortProcessMax; ++i) {
        const QString key = QStringLiteral("AbortProcess%1").arg(i + 1, 2, 10, QLatin1Char('0'));
        if (AbortProcess[i].isEmpty()) file.remove(key);
        else file.setValue(key, AbortProcess[i].toQString());
    }

    file.setValue(QStringLiteral("customClientInfo"), CustomInfo.toQString());
    file.endGroup();
}

// ---- the file around them

static QString clientsPath(const __FM& fm) { return fm.CfgGlobalPath.toQString() + QStringLiteral("clients.ini"); }

static int64_t fileTime(const QString& path)
{
    const QFileInfo fi(path);
    return fi.exists() ? fi.lastModified().toSecsSinceEpoch() : 0;
}

static QString lockOwner(const __FM& fm) { return QSysInfo::machineHostName() + QLatin1Char(' ') + fm.AppName; }

// Applications that may create clients.ini when it is missing.
static bool mayCreateClients(fm_AppType t) { return t == fm_AppType_Server || t == fm_AppType_Config; }

// Copies src over dst block by block. Reports through the log; false on any failure.
static bool copyBlocks(__FM& fm, const QString& src, const QString& dst, const QString& where)
{
    QFile in(src), out(dst);
    if (!in.open(QIODevice::ReadOnly)) {
        farmLog(fm, 1, 0, QStringLiteral("Unknown error while opening ") + src + QStringLiteral("! ") + in.errorString(),
                    where);
        return false;
    }
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        farmLog(fm, 1, 0, QStringLiteral("Unknown error while opening ") + dst + QStringLiteral("! ") + out.errorString(),
                    where);
        return false;
    }
    constexpr qint64 block = 1 << 20;
    QByteArray buf;
    int n = 0;
    for (;; ++n) {
        buf = in.read(block);
        if (buf.isEmpty()) break;
        if (out.write(buf) != buf.size()) {
            farmLog(fm, 1, 0, QStringLiteral("Failure to write block ") + QString::number(n) + QStringLiteral("  ") +
                                  out.errorString(), where);
            return false;
        }
    }
    out.close();
    if (QFileInfo(dst).size() != in.size()) {
        farmLog(fm, 1, 0, QStringLiteral("Failure to read block ") + QString::number(n) + QStringLiteral("  ") + in.errorString(),
                where);
        return false;
    }
    return true;
}

// A fresh temporary copy of clients.ini; an empty one when the shared file is missing.
static bool makeTempCopy(__FM& fm, const QString& path, const QString& where)
{
    QFile::remove(TempClientsPath);
    if (!QFile::exists(path)) {
        QFile f(TempClientsPath);
        return f.open(QIODevice::WriteOnly);
    }
    return copyBlocks(fm, path, TempClientsPath, where);
}

static bool readStatusOk(__FM& fm, const QSettings& s, const QString& name, const QString& where)
{
    switch (s.status()) {
    case QSettings::NoError: return true;
    case QSettings::FormatError:
        farmLog(fm, 0, 0, name + QStringLiteral(" has wrong file format, file broken!"), where);
        return false;
    case QSettings::AccessError:
        farmLog(fm, 0, 0, QStringLiteral("Unable to read ") + name + QLatin1Char('!'), where);
        return false;
    }
    farmLog(fm, 0, 0, QStringLiteral("Unknown error while loading ") + name + QLatin1Char('!'), where);
    return false;
}

static bool writeStatusOk(__FM& fm, const QSettings& s, const QString& name, const QString& where)
{
    switch (s.status()) {
    case QSettings::NoError: return true;
    case QSettings::AccessError:
        farmLog(fm, 0, 0, QStringLiteral("Unable to access ") + name + QStringLiteral(", read-only?"), where);
        return false;
    case QSettings::FormatError:
        farmLog(fm, 0, 0, name + QStringLiteral(" has wrong file format, file broken!"), where);
        return false;
    }
    farmLog(fm, 0, 0, QStringLiteral("Unknown error while writing ") + name + QLatin1Char('!'), where);
    return false;
}

// Takes (server) or waits for (others) the lock and makes the temporary copy. With mustLock a lock
// that is not got ends the load; else the load goes on with the message of a single load.
static bool lockAndCopy(__FM& fm, const QString& path, int timeoutMs, bool single, const QString& where)
{
    fmFileLocker locker(path);
    int waited = 0;
    const bool server = fm.AppType == fm_AppType_Server;
    const bool got = server ? locker.lock(timeoutMs, lockOwner(fm), &waited, false) : locker.isFree(timeoutMs, &waited);
    if (waited > 500)
        farmLog(fm, 3, 0, QStringLiteral("clients.ini lock took ") + QString::number(waited) + QStringLiteral("ms"),
                    QStringLiteral("FM,LoadFileClient"));
    if (!got) {
        if (waited < 0) farmLog(fm, 1, 0, QStringLiteral("You do not have the rights to lock ") + path + QLatin1Char('!'), where);
        if (!single) {
            if (waited >= 0) farmLog(fm, 1, 0, path + QStringLiteral(" is locked!"), where);
            return false;
        }
        farmLog(fm, 2, 0, path + QStringLiteral(" is locked! Trying to continue load client config."), where);
    }
    const bool copied = makeTempCopy(fm, path, where);
    locker.unlock();
    return copied;
}

bool __FM::LoadFileClientsAll(bool force, QString)
{
    const QString where = QStringLiteral("FM,LoadFileClientsAll");
    if (!ClientList) {
        farmLog(*this, 1, 0, QStringLiteral("Client data not allocated!"), where);
        return false;
    }
    const QString path = clientsPath(*this);
    if (!QFile::exists(path)) {
        if (mayCreateClients(AppType)) return true;
        farmLog(*this, 1, 0, path + QStringLiteral(" is missing!"), where);
        return false;
    }
    farmLog(*this, 4, 0, path + QStringLiteral(" all loading..."), where);
    const int64_t time = fileTime(path);
    if (time <= ClientList->LastFileTime.t && !force) return true;

    if (!lockAndCopy(*this, path, 6000, false, where)) return false;

    QSettings file(TempClientsPath, QSettings::IniFormat);
    if (!readStatusOk(*this, file, QStringLiteral("clients.ini"), where)) return false;

    const QStringList names = file.childGroups();
    std::unique_ptr<_Client> read(new _Client);
    int done = 0;
    for (const QString& name : names) {
        if (done++ >= MaxClients) break;
        read->clear();
        read->Status.Name.set(name);
        if (read->Status.Name.toQString() != name) continue; // longer than a client name can be
        if (!read->ReadClientCfg(file, false))
            farmLog(*this, 1, 0, QStringLiteral("Unable to load config of client ") + name, where);
        int n = ClientList->findClient(read->Status.Name, 0);
        if (n >= 0) {
            ClientList->Clients[n].copyCfgSettings(*read);
            continue;
        }
        n = ClientList->addClient();
        if (n < 0) break;
        ClientList->Clients[n] = *read;
    }
    ClientList->sort_ID_Load();
    ClientList->LastFileTime.t = time;
    farmLog(*this, 4, 0, QStringLiteral("clients.ini   loaded"), where);
    return true;
}

bool __FM::LoadFileClient(fmC::_Client& client, bool onlyListNo)
{
    const QString where = QStringLiteral("FM,LoadFileClient");
    const QString path = clientsPath(*this);
    farmLog(*this, 4, 0, path + QStringLiteral(" - single loading..."), where);
    if (!QFile::exists(path)) {
        farmLog(*this, 1, 0, path + QStringLiteral(" is missing!"), where);
        return false;
    }
    if (!lockAndCopy(*this, path, 30000, true, where)) return false;
    QSettings file(TempClientsPath, QSettings::IniFormat);
    if (!readStatusOk(*this, file, QStringLiteral("clients.ini"), where)) return false;

    // Machine names are compared without regard to case; the section may be spelt otherwise.
    std::unique_ptr<_Client> read(new _Client);
    read->Status.Name = client.Status.Name;
    const QString wanted = client.Status.Name.toQString();
    const QStringList sections = file.childGroups();
    for (const QString& sec : sections)
        if (sec.compare(wanted, Qt::CaseInsensitive) == 0) {
            read->Status.Name.set(sec);
            break;
        }
    const bool ok = read->ReadClientCfg(file, onlyListNo);
    if (!ok) farmLog(*this, 1, 0, QStringLiteral("Unable to load config of client ") + client.Status.Name.toQString(), where);
    if (onlyListNo) client.ListNo = read->ListNo;
    else client.copyCfgSettings(*read);
    farmLog(*this, 4, 0, QStringLiteral("  single    loaded"), where);
    return ok;
}

// The shared save of one client (one != null) or of all clients.
static bool saveClients(__FM& fm, _Client* one)
{
    const QString where = one ? QStringLiteral("FM,SaveFileClient") : QStringLiteral("FM,SaveFileClientsAll");
    const QString path = clientsPath(fm);
    QElapsedTimer total;
    total.start();
    farmLog(fm, 3, 0, one ? path + QStringLiteral(" single writing...") : QStringLiteral("clients.ini all writing..."), where);
    if (!one && !fm.ClientList) {
        farmLog(fm, 1, 0, QStringLiteral("Client data not allocated!"), where);
        return false;
    }

    // While the server sorts the clients anew it owns the file; the flag file tells so. A server
    // that died leaves it behind, so the wait ends after three minutes.
    const QString sortFlag = fm.CfgGlobalPath.toQString() + QStringLiteral("_newclientsort.cfg");
    for (int i = 0; QFile::exists(sortFlag); ++i) {
        if (i >= 90) return false;
        farmLog(fm, 3, 0, QStringLiteral("Waiting for fmServer client sort..."), where);
        QThread::msleep(2000);
    }

    fmFileLocker locker(path);
    int waited = 0;
    if (!locker.lock(30000, lockOwner(fm), &waited, false)) {
        if (waited < 0) farmLog(fm, 1, 0, QStringLiteral("No rights to lock file ") + path + QLatin1Char('!'), where);
        else
            farmLog(fm, 1, 0,
                        path + (one ? QStringLiteral(" is locked! Aborting to save client config.")
                                    : QStringLiteral(" is locked! Aborting to save all clients.")) +
                            QStringLiteral("  Waited: %1s").arg(waited / 1000.0),
                        where);
        return false;
    }
    if (waited > 500)
        farmLog(fm, 3, 0, QStringLiteral("clients.ini save lock took ") + QString::number(waited) + QStringLiteral("ms"),
                    where);

    if (!makeTempCopy(fm, path, where)) return false;
    farmLog(fm, 10, 0, QStringLiteral("     localCopy"), where);
    QFile::setPermissions(TempClientsPath, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup |
                                               QFileDevice::WriteGroup | QFileDevice::ReadOther |
                                               QFileDevice::WriteOther);
    farmLog(fm, 10, 0, QStringLiteral("     fmSetFileRights_ReadWriteAll done"), where);

    {
        QSettings file(TempClientsPath, QSettings::IniFormat);
        if (!file.isWritable()) {
            farmLog(fm, 1, 0, path + QStringLiteral(" is read-only!"), where);
            return false;
        }
        // A section of the same machine spelt in another case is replaced, not doubled.
        QHash<QString, QString> sections; // lower case -> as spelt in the file
        for (const QString& sec : file.childGroups()) sections.insert(sec.toLower(), sec);
        auto writeOne = [&file, &sections](const _Client& c) {
            const QString name = c.Status.Name.toQString();
            if (name.isEmpty() || name.compare(QLatin1String(ReservedClientName), Qt::CaseInsensitive) == 0) return;
            const QString spelt = sections.value(name.toLower());
            if (!spelt.isEmpty() && spelt != name) file.remove(spelt);
            c.WriteClientCfg(file, true, true);
        };
        if (one) writeOne(*one);
        else
            for (int i = 0; i < fm.ClientList->count(); ++i) writeOne(fm.ClientList->Clients[i]);
        file.sync();
        if (!writeStatusOk(fm, file, QStringLiteral("clients.ini"), where)) return false;
    }

    if (!copyBlocks(fm, TempClientsPath, path, where)) return false;
    locker.unlock();
    if (fm.ClientList) fm.ClientList->LastFileTime.t = fileTime(path);
    QThread::msleep(250);

    const double secs = double(total.elapsed()) / 1000.0;
    const double mb = double(QFileInfo(path).size()) / (1024.0 * 1024.0);
    if (one)
        farmLog(fm, 3, 0,
                    path + QStringLiteral(" single    written (%1s, %2 mb, lock took %3s)")
                               .arg(secs)
                               .arg(mb, 0, 'f', 3)
                               .arg(double(waited) / 1000.0),
                    where);
    else
        farmLog(fm, 3, 0, path + QStringLiteral(" all    written (%1s, %2 mb)").arg(secs).arg(mb, 0, 'f', 3), where);
    return true;
}

bool __FM::SaveFileClient(fmC::_Client& client) { return saveClients(*this, &client); }

bool __FM::SaveFileClientsAll(QString) { return saveClients(*this, nullptr); }

// ---- clientgroups.ini

bool __FM::LoadFileClientGroups()
{
    const QString where = QStringLiteral("FM,LoadFileClientGroups");
    const QString path = CfgGlobalPath.toQString() + QStringLiteral("clientgroups.ini");
    farmLog(*this, 4, 0, path + QStringLiteral("   loading..."), where);
    if (!ClientGroups) {
        farmLog(*this, 1, 0, QStringLiteral("ClientGroups data not allocated!"), where);
        return false;
    }
    QSettings file(path, QSettings::IniFormat);
    if (!readStatusOk(*this, file, QStringLiteral("clientgroups.ini"), where)) {
        ClientGroups->clear();
        ClientGroups->addGroupAll();
        return false;
    }
    ClientGroups->clear();
    const QStringList groups = file.childGroups();
    for (const QString& name : groups) {
        if (ClientGroups->Count >= MaxClientGroups - 1) break; // the last place is for "ALL"
        if (name.compare(QLatin1String("ALL"), Qt::CaseInsensitive) == 0) continue;
        _ClientGroup* g = ClientGroups->addGroup(name.left(25));
        file.beginGroup(name);
        auto mark = [&](const QString& key, bool master) {
            const QStringList names = readText(file, key).split(QLatin1Char(';'), Qt::SkipEmptyParts);
            for (const QString& c : names) {
                if (!ClientList) break;
                const int n = ClientList->findClient(fmString<25>(c.trimmed()), 0);
                if (n < 0) continue;
                if (master) g->Place[n].SatelliteMaster = uint16_t(n);
                else g->Place[n].Assigned = true;
            }
        };
        mark(QStringLiteral("Assigned"), false);
        mark(QStringLiteral("SattelliteMaster"), true);
        file.endGroup();
    }
    ClientGroups->addGroupAll();
    ClientGroups->LastFileTime.t = fileTime(path);
    farmLog(*this, 4, 0, QStringLiteral("clientgroups.ini   loaded"), where);
    return true;
}

bool __FM::SaveFileClientGroups()
{
    const QString where = QStringLiteral("FM,SaveFileClientGroups");
    const QString path = CfgGlobalPath.toQString() + QStringLiteral("clientgroups.ini");
    farmLog(*this, 4, 0, path + QStringLiteral("   writing..."), where);
    if (!ClientGroups) {
        farmLog(*this, 1, 0, QStringLiteral("ClientGroups data not allocated!"), where);
        return false;
    }
    QSettings file(path, QSettings::IniFormat);
    if (!file.isWritable()) {
        farmLog(*this, 1, 0, QStringLiteral("clientgroups.ini is read-only!"), where);
        return false;
    }
    file.clear();
    for (int i = 0; i < ClientGroups->Count && i < MaxClientGroups; ++i) {
        const _ClientGroup& g = ClientGroups->Group[i];
        const QString name = g.Name.toQString();
        if (name.isEmpty() || name.compare(QLatin1String("ALL"), Qt::CaseInsensitive) == 0) continue;
        QString assigned, masters;
        const int n = ClientList ? ClientList->count() : 0;
        for (int c = 0; c < n; ++c) {
            const QString cn = ClientList->Clients[c].Status.Name.toQString();
            if (g.Place[c].Assigned) assigned += cn + QLatin1Char(';');
            if (g.Place[c].SatelliteMaster != 65535) masters += cn + QLatin1Char(';');
        }
        file.beginGroup(name);
        file.setValue(QStringLiteral("Assigned"), assigned);
        file.setValue(QStringLiteral("SattelliteMaster"), masters);
        file.endGroup();
    }
    file.sync();
    if (!writeStatusOk(*this, file, QStringLiteral("clientgroups.ini"), where)) return false;
    ClientGroups->LastFileTime.t = fileTime(path);
    farmLog(*this, 4, 0, QStringLiteral("clientgroups.ini   written"), where);
    return true;
}
