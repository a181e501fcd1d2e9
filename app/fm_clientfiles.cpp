// clients.ini and clientgroups.ini, and the farm tables owned by FM.
//
// clients.ini lives on the shared root and is read and written by every tool of the farm. QSettings
// never works on the share: the file is copied to a private temporary file of this process under
// the file lock, the settings work there, and a save writes the result back while it still holds
// the lock.
#include "app/fm.h"
#include "farm/fmclient.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "farm/fmclientlog.h"
#include "farm/fmusers.h"
#include "foundation/fmfile.h"
#include "foundation/fmfilelock.h"
#include "foundation/fmfileread.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSettings>
#include <cmath>
#include <memory>

using namespace fmC;

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

static QString clientsPath(const __FM& fm)
{
    return fm.CfgGlobalPath.toQString() + QStringLiteral("clients.ini");
}

static int64_t fileTime(const QString& path)
{
    const QFileInfo fi(path);
    return fi.exists() ? fi.lastModified().toSecsSinceEpoch() : 0;
}

static QString lockOwner(const __FM& fm)
{
    return fm.App.MachineName.toQString() + QLatin1Char(' ') + fm.AppName;
}

// Applications that may create clients.ini when it is missing.
static bool mayCreateClients(fm_AppType t)
{
    return t == fm_AppType_Server || t == fm_AppType_Config;
}

// Writes the bytes of the private copy over the shared file: beside it, flushed, renamed over it, so
// that a failed write leaves the old file. Reports through the log; false on any failure.
static bool writeBack(__FM& fm, fmPrivateCopy& copy, const QString& path, const QString& where)
{
    QByteArray bytes;
    QString why;
    if (!copy.readBack(bytes, &why)) {
        farmLog(fm, 1, 0,
                QStringLiteral("Unknown error while opening ") + copy.fileName() + QStringLiteral("! ") + why,
                where);
        return false;
    }
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly)) {
        farmLog(fm, 1, 0,
                QStringLiteral("Unknown error while opening ") + path + QStringLiteral("! ") +
                    out.errorString(),
                where);
        return false;
    }
    if (out.write(bytes) != bytes.size() || !out.commit()) {
        farmLog(fm, 1, 0, QStringLiteral("Failure to write block 0  ") + out.errorString(), where);
        return false;
    }
    // Every tool of the farm, under whatever user, must be able to write it again.
    fmSetFileRights_ReadWriteAll(fmPathToBytes(path).constData());
    return true;
}

// The private copy of clients.ini; an empty one when the shared file is missing. A file that is
// no regular file, or too large, is reported with its name and the system's reason.
static bool takeCopy(__FM& fm, fmPrivateCopy& copy, const QString& path, const QString& where)
{
    QString why;
    if (copy.copyFrom(path, fmFileCap::ConfigIni, true, &why)) return true;
    farmLog(fm, 1, 0,
            QStringLiteral("Unable to read '") + fmPathForDisplay(path) + QStringLiteral("': ") + why, where);
    return false;
}

static bool readStatusOk(__FM& fm, const QSettings& s, const QString& name, const QString& where)
{
    switch (s.status()) {
    case QSettings::NoError:
        return true;
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
    case QSettings::NoError:
        return true;
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

// Takes (server) or waits for (others) the lock and makes the private copy. A server that does not
// get the lock ends a load of all clients; every other program waits as long as isFree allows and
// then reads all the same, as does a single load: a lock left by a crashed server must not stop
// every start for 3 hours, and a server's save replaces the file whole by a rename.
static bool lockAndCopy(__FM& fm, fmPrivateCopy& copy, const QString& path, int timeoutMs, bool single,
                        const QString& where)
{
    fmFileLocker locker(path);
    int waited = 0;
    const bool server = fm.AppType == fm_AppType_Server;
    const bool got =
        server ? locker.lock(timeoutMs, lockOwner(fm), &waited, false) : locker.isFree(timeoutMs, &waited);
    if (waited > 500)
        farmLog(fm, 3, 0,
                QStringLiteral("clients.ini lock took ") + QString::number(waited) + QStringLiteral("ms"),
                QStringLiteral("FM,LoadFileClient"));
    if (!got) {
        if (waited < 0)
            farmLog(fm, 1, 0, QStringLiteral("You do not have the rights to lock ") + path + QLatin1Char('!'),
                    where);
        if (server && !single) {
            if (waited >= 0) farmLog(fm, 1, 0, path + QStringLiteral(" is locked!"), where);
            return false;
        }
        farmLog(fm, 2, fmLog_NoMessageBox,
                path + QStringLiteral(" is locked! Trying to continue load client config."), where);
    }
    const bool copied = takeCopy(fm, copy, path, where);
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

    fmPrivateCopy copy;
    if (!lockAndCopy(*this, copy, path, 6000, false, where)) return false;

    QSettings file(copy.fileName(), QSettings::IniFormat);
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
    fmPrivateCopy copy;
    if (!lockAndCopy(*this, copy, path, 30000, true, where)) return false;
    QSettings file(copy.fileName(), QSettings::IniFormat);
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
    if (!ok)
        farmLog(*this, 1, 0,
                QStringLiteral("Unable to load config of client ") + client.Status.Name.toQString(), where);
    if (onlyListNo)
        client.ListNo = read->ListNo;
    else
        client.copyCfgSettings(*read);
    farmLog(*this, 4, 0, QStringLiteral("  single    loaded"), where);
    return ok;
}

// The shared save of one client (one != null) or of all clients.
// While the server sorts the clients anew it owns the file; the flag file tells so. A server that
// died leaves it behind, so the wait ends after three minutes.
static bool waitForClientSort(__FM& fm, const QString& where)
{
    const QString sortFlag = fm.CfgGlobalPath.toQString() + QStringLiteral("_newclientsort.cfg");
    for (int i = 0; QFile::exists(sortFlag); ++i) {
        if (i >= 90) return false;
        farmLog(fm, 3, 0, QStringLiteral("Waiting for fmServer client sort..."), where);
        fmFileLocker::pause(2000);
    }
    return true;
}

static bool lockClientsFile(__FM& fm, fmFileLocker& locker, const QString& path, bool one, int& waited,
                            const QString& where)
{
    waited = 0;
    if (!locker.lock(30000, lockOwner(fm), &waited, false)) {
        if (waited < 0)
            farmLog(fm, 1, 0, QStringLiteral("No rights to lock file ") + path + QLatin1Char('!'), where);
        else
            farmLog(fm, 1, 0,
                    path +
                        (one ? QStringLiteral(" is locked! Aborting to save client config.")
                             : QStringLiteral(" is locked! Aborting to save all clients.")) +
                        QStringLiteral("  Waited: %1s").arg(waited / 1000.0),
                    where);
        return false;
    }
    if (waited > 500)
        farmLog(fm, 3, 0,
                QStringLiteral("clients.ini save lock took ") + QString::number(waited) +
                    QStringLiteral("ms"),
                where);
    return true;
}

// Writes one client's section, or every client's, into the private copy of clients.ini.
static bool writeClientSections(__FM& fm, const QString& copyName, const QString& path, _Client* one,
                                const QString& where)
{
    QSettings file(copyName, QSettings::IniFormat);
    // In place: the private copy keeps its name and its rights.
    file.setAtomicSyncRequired(false);
    if (!file.isWritable()) {
        farmLog(fm, 1, 0, path + QStringLiteral(" is read-only!"), where);
        return false;
    }
    // A section of the same machine spelt in another case is replaced, not doubled.
    QHash<QString, QString> sections; // lower case -> as spelt in the file
    for (const QString& sec : file.childGroups())
        sections.insert(sec.toLower(), sec);
    auto writeOne = [&file, &sections](const _Client& c) {
        const QString name = c.Status.Name.toQString();
        if (name.isEmpty() || name.compare(QLatin1String(ReservedClientName), Qt::CaseInsensitive) == 0)
            return;
        const QString spelt = sections.value(name.toLower());
        if (!spelt.isEmpty() && spelt != name) file.remove(spelt);
        c.WriteClientCfg(file, true, true);
    };
    if (one)
        writeOne(*one);
    else
        for (int i = 0; i < fm.ClientList->count(); ++i)
            writeOne(fm.ClientList->Clients[i]);
    file.sync();
    return writeStatusOk(fm, file, QStringLiteral("clients.ini"), where);
}

static bool saveClients(__FM& fm, _Client* one)
{
    const QString where = one ? QStringLiteral("FM,SaveFileClient") : QStringLiteral("FM,SaveFileClientsAll");
    const QString path = clientsPath(fm);
    QElapsedTimer total;
    total.start();
    farmLog(fm, 3, 0,
            one ? path + QStringLiteral(" single writing...") : QStringLiteral("clients.ini all writing..."),
            where);
    if (!one && !fm.ClientList) {
        farmLog(fm, 1, 0, QStringLiteral("Client data not allocated!"), where);
        return false;
    }
    if (!waitForClientSort(fm, where)) return false;

    fmFileLocker locker(path);
    int waited = 0;
    if (!lockClientsFile(fm, locker, path, one != nullptr, waited, where)) return false;

    fmPrivateCopy copy;
    if (!takeCopy(fm, copy, path, where)) return false;
    farmLog(fm, 10, 0, QStringLiteral("     localCopy"), where);
    if (!writeClientSections(fm, copy.fileName(), path, one, where)) return false;
    if (!writeBack(fm, copy, path, where)) return false;
    locker.unlock();
    if (fm.ClientList) fm.ClientList->LastFileTime.t = fileTime(path);
    fmFileLocker::pause(250);

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
        farmLog(fm, 3, 0, path + QStringLiteral(" all    written (%1s, %2 mb)").arg(secs).arg(mb, 0, 'f', 3),
                where);
    return true;
}

bool __FM::SaveFileClient(fmC::_Client& client)
{
    return saveClients(*this, &client);
}

bool __FM::SaveFileClientsAll(QString)
{
    return saveClients(*this, nullptr);
}

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
    // A missing file is no group at all; one that can't be read is reported like a broken one.
    fmPrivateCopy copy;
    QString why;
    const bool copied = copy.copyFrom(path, fmFileCap::ConfigIni, true, &why);
    if (!copied)
        farmLog(*this, 1, 0,
                QStringLiteral("Unable to read '") + fmPathForDisplay(path) + QStringLiteral("': ") + why,
                where);
    QSettings file(copy.fileName(), QSettings::IniFormat);
    if (!copied || !readStatusOk(*this, file, QStringLiteral("clientgroups.ini"), where)) {
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
                if (master)
                    g->Place[n].SatelliteMaster = uint16_t(n);
                else
                    g->Place[n].Assigned = true;
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
