// clients.ini and clientgroups.ini readers on arbitrary bytes, through the whole load: the file is
// read from a folder of the fuzzer's own (as from the root), copied privately, parsed by QSettings
// and taken into the client list and the groups. Every count and field must stay in its bounds.
#include "app/fm.h"
#include "farm/fmclient.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "foundation/fmfilelock.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Removed at exit with the files in it.
    static QTemporaryDir dir;
    static const bool ready = [] {
        FM.CfgGlobalPath.set(dir.path() + QStringLiteral("/"));
        FM.createFarmTables();
        fmFileLocker::setSleepFunction([](int) {});
        return true;
    }();
    (void)ready;
    // The first byte chooses the file; the rest is its content.
    const bool groups = size > 0 && (data[0] & 1);
    const QByteArray bytes(reinterpret_cast<const char*>(data) + (size > 0 ? 1 : 0),
                           qsizetype(size > 0 ? size - 1 : 0));
    QFile f(dir.path() + (groups ? QStringLiteral("/clientgroups.ini") : QStringLiteral("/clients.ini")));
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size()) std::abort();
    f.close();
    if (groups) {
        FM.LoadFileClientGroups();
        if (FM.ClientGroups->Count < 1 || FM.ClientGroups->Count > fmC::MaxClientGroups) std::abort();
        return 0;
    }
    FM.ClientList->clear();
    FM.LoadFileClientsAll(true, QString());
    if (FM.ClientList->count() > fmC::MaxClients) std::abort();
    for (int i = 0; i < FM.ClientList->count(); ++i) {
        const fmC::_Client& c = FM.ClientList->Clients[i];
        if (c.CfgValueCount > fmC::CfgValueMax || c.CfgBoolCount > fmC::CfgBoolMax) std::abort();
    }
    return 0;
}
