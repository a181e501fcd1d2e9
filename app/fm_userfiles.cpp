// users7.dat: loading and saving the user table owned by FM. users.dat, the older form, is read and
// upgraded when users7.dat is missing, and never written.
#include "app/fm.h"
#include "farm/fmclientlog.h"
#include "farm/fmusers.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

using fmC::farmLog;

static int64_t fileTime(const QString& path)
{
    const QFileInfo fi(path);
    return fi.exists() ? fi.lastModified().toSecsSinceEpoch() : 0;
}

bool __FM::LoadFileUserSettings()
{
    const QString where = QStringLiteral("FM,LoadFileUserSettings");
    if (!UserSettings) {
        farmLog(*this, 1, 0, QStringLiteral("User settings data not allocated!"), where);
        return false;
    }
    const QString folder = CfgGlobalPath.toQString();
    QString path = folder + QStringLiteral("users7.dat");
    bool old = false;
    if (!QFile::exists(path)) {
        path = folder + QStringLiteral("users.dat");
        old = true;
    }
    farmLog(*this, 4, 0, path + QStringLiteral("   loading..."), where);

    const int64_t time = fileTime(path);
    if (time <= UserSettings->LastFileTime.t) return true;

    const qint64 want = old ? Users60FileSize : UsersFileSize;
    const QString wrongSize = old ? QStringLiteral("users.dat has wrong file size!")
                                  : path + QStringLiteral(" has wrong file size!");
    // Read without blocking and never more than the table's size: a FIFO, a device or a file of
    // any other size never reaches the table.
    QByteArray bytes;
    QString why;
    if (!fmReadRegularFile(path, want, bytes, &why)) {
        long long size = 0;
        if (fmFileExists(path, nullptr, &size) && size > want)
            farmLog(*this, 1, 0, wrongSize, where);
        else
            farmLog(*this, 1, 0, QStringLiteral("Unable to open '") + path + QStringLiteral("' !; ") + why,
                    where);
        return false;
    }
    if (bytes.size() != want) {
        farmLog(*this, 1, 0, wrongSize, where);
        return false;
    }
    const auto r = old ? UserSettings->loadFromBytes60(bytes.constData(), bytes.size())
                       : UserSettings->loadFromBytes(bytes.constData(), bytes.size());
    if (r == _fmgUserSettingsList::LoadCorrupted) {
        farmLog(*this, 1, 0, path + QStringLiteral(" data is corrupted!"), where);
        return false;
    }
    if (r != _fmgUserSettingsList::LoadOk) {
        farmLog(*this, 1, 0, path + QStringLiteral(" has wrong file size!"), where);
        return false;
    }
    UserSettings->LastFileTime.t = time;
    farmLog(*this, 4, 0, path + QStringLiteral("   loaded"), where);
    return true;
}

bool __FM::SaveFileUserSettings()
{
    const QString where = QStringLiteral("FM,SaveFileUserSettings");
    farmLog(*this, 4, 0, QStringLiteral("users7.dat   writing..."), where);
    if (!UserSettings) {
        farmLog(*this, 1, 0, QStringLiteral("User settings data not allocated!"), where);
        return false;
    }
    const QString path = CfgGlobalPath.toQString() + QStringLiteral("users7.dat");
    const QByteArray bytes = UserSettings->saveToBytes();
    // Written beside the file and renamed over it: a failed write leaves the old table.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        farmLog(*this, 1, 0, QStringLiteral("Unable to open 'users7.dat' !; ") + file.errorString(), where);
        return false;
    }
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        farmLog(*this, 1, 0, QStringLiteral("Unable to write 'users7.dat' !; ") + file.errorString(), where);
        return false;
    }
    UserSettings->LastFileTime.t = fileTime(path);
    farmLog(*this, 4, 0, QStringLiteral("users.dat   written"), where);
    return true;
}

QString __FM::getUserName(const int& id, bool byUniqueID)
{
    if (id == -1) return QStringLiteral("?");
    const QString fallback = QStringLiteral("u%1").arg(id);
    if (!UserSettings || id < 0) return fallback;
    if (!byUniqueID && id < UserSettings->userCount()) return UserSettings->User[id].Name.toQString();
    for (int i = 0; i < UserSettings->userCount(); ++i)
        if (UserSettings->User[i].UniqueID == id) return UserSettings->User[i].Name.toQString();
    return fallback;
}
