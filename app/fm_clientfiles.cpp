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

static QString clientsPath(const __FM& fm) { return fm.CfgGlobalPath.toQString() + QStringLiteral("clients.ini"); }

static int64_t fileTime(const QString& path)
{
    const QFileInfo fi(path);
    return fi.exists() ? fi.lastModified().toSecsSinceEpoch() : 0;
}

static QString lockOwner(const __FM& fm) { return fm.App.MachineName.toQString() + QLatin1Char(' ') + fm.AppName; }

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
            const QStringList names = fmcIniText(file, key).split(QLatin1Char(';'), Qt::SkipEmptyParts);
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

QString __FM::getClientName(const int& index) const
{
    if (!ClientList || index < 0 || index >= ClientList->count()) return QString();
    return ClientList->Clients[index].Status.Name.toQString();
}
