#include "tools/console/demofarm.h"

#include "app/fm.h"
#include "farm/fmclient.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "farm/fmgconfig.h"
#include "farm/fmusers.h"

#include <cstring>

namespace fmDemo {

void writeConfig(__FM& fm)
{
    fm.cfgSetS(fmString8_evenSize<100>("nServerName"), fmString<200>("RENDERSRV01"));
    fm.cfgSetS(fmString8_evenSize<100>("nServerIP1"), fmString<200>("10.20.0.5"));
    fm.cfgSetS(fmString8_evenSize<100>("nBackupServerName"), fmString<200>("RENDERSRV02"));
    fm.cfgSetB(fmString8_evenSize<100>("nUseServerIP"), false);
    fm.cfgSetF(fmString8_evenSize<100>("cfgCost"), 0.04f);
    fm.cfgSetS(fmString8_evenSize<100>("cfgLocalDecimalMark"), fmString<200>("."));
    fm.cfgSetI(fmString8_evenSize<100>("jDeleteFinishedAfterDays"), 14);
}

Farm writeClients(__FM& fm, DemoRng& rng, int& clientCount)
{
    using namespace fmC;
    Farm farm;
    fm.createFarmTables();
    _ClientList& list = *fm.ClientList;
    list.clear();

    struct Kind
    {
        const char* Prefix;
        int Count;
        int Cores;
        int MHz;
        int MemoryGB;
        signed char OS;
        uint8_t OSVersion;
        bool Gpu;
        const char* Info;
    };
    static const Kind kinds[] = {
        {"RN", 24, 64, 3100, 256, 2, 61, false, "Rack A, dual EPYC 7543"},
        {"GPU", 6, 32, 4500, 128, 2, 61, true, "Rack B, 2x RTX 6000 Ada"},
        {"WS-", 8, 24, 5600, 128, 1, 110, true, "Artist workstation, RTX 4090"},
        {"MAC-STUDIO-", 3, 24, 3700, 192, 3, 140, true, "Edit suite, M2 Ultra"},
    };
    static const char* const wsNames[] = {"ANNA", "JONAS", "MIKA", "LUCAS", "SOFIA", "NORA", "TOM", "LEA"};
    int listNo = 0;
    for (const Kind& k : kinds) {
        for (int i = 0; i < k.Count; ++i) {
            const int n = list.addClient();
            if (n < 0) break;
            _Client& c = list.Clients[n];
            c.clear();
            QString name = QString::fromLatin1(k.Prefix);
            if (std::strcmp(k.Prefix, "WS-") == 0)
                name += QLatin1String(wsNames[i % 8]);
            else
                name += QStringLiteral("%1").arg(i + 1, 3, 10, QLatin1Char('0'));
            c.Status.Name = name;
            c.ListNo = listNo++;
            c.Hardware.Cores = uint8_t(k.Cores);
            c.Hardware.MHz = uint16_t(k.MHz + rng.range(0, 2) * 100);
            c.Hardware.Memory = k.MemoryGB * 1024;
            c.Hardware.OS = k.OS;
            c.Hardware.OSVersion = k.OSVersion;
            c.Hardware.Is64Bit = true;
            c.Hardware.Speed = float(k.Cores) * float(c.Hardware.MHz) / 1000.0f;
            c.CustomInfo = QString::fromLatin1(k.Info);
            // Wake-on-LAN: the adapter's address and the machine's IP in the render VLAN.
            c.WOLMac = QStringLiteral("3cecef%1").arg(uint(rng.next() & 0xFFFFFF), 6, 16, QLatin1Char('0'));
            c.WOLIP = QStringLiteral("10.20.%1.%2").arg(k.OS == 2 ? 1 : 2).arg(listNo + 11);
            // What the client last reported: rendering, idle, or switched off for the night.
            c.Status.ThreadCount = 1;
            c.Status.AvailableMemory = k.MemoryGB * 1024 - rng.range(4, 40) * 1024;
            c.Status.Version = "7.0.10";
            c.Status.Temperature = static_cast<signed char>(rng.range(38, 71));
            c.Status.Thread[0].Status = rng.chance(0.7) ? csRendering : (rng.chance(0.5) ? csIdle : csOff);
            if (k.OS != 2) c.Status.UserName = QString::fromLatin1(kUsers[i % kUserCount].Name);
            // Artists' machines render only outside working hours and give way to their users.
            if (k.OS != 2) c.AbortProcess[0] = "Photoshop";
            farm.Clients.append({name, k.Cores, int(c.Hardware.MHz), k.Gpu});
        }
    }
    clientCount = list.count();
    list.sort_ID_Load();
    return farm;
}

bool writeClientGroups(__FM& fm, const Farm& farm)
{
    using namespace fmC;
    _ClientGroupList& groups = *fm.ClientGroups;
    groups.clear();
    struct G
    {
        const char* Name;
        const char* Prefix;
    };
    static const G defs[] = {
        {"RenderNodes", "RN"}, {"GPU", "GPU"}, {"Workstations", "WS-"}, {"EditSuite", "MAC-"}};
    for (const G& d : defs) {
        _ClientGroup* g = groups.addGroup(QString::fromLatin1(d.Name));
        if (!g) return false;
        for (int c = 0; c < farm.Clients.size() && c < MaxClients; ++c) {
            const DemoClient& client = farm.Clients[c];
            bool in = client.Name.startsWith(QLatin1String(d.Prefix));
            // GPU jobs run on every machine with a graphics card.
            if (std::strcmp(d.Name, "GPU") == 0) in = client.Gpu;
            g->Place[c].Assigned = in;
        }
    }
    // The first render node relays the group's files to the others.
    groups.Group[0].Place[0].SatelliteMaster = 0;
    return fm.SaveFileClientGroups();
}

bool writeUsers(__FM& fm)
{
    _fmgUserSettingsList& t = *fm.UserSettings;
    t.clear();
    t.GroupCount = 2;
    t.Group[0].Name.set(QStringLiteral("Artists"));
    t.Group[1].Name.set(QStringLiteral("Supervisors"));
    // Artists may do anything with their own jobs and look at the others'; supervisors may do all.
    std::memset(t.Group[0].RightsOwn, 1, sizeof(t.Group[0].RightsOwn));
    for (int r : {6, 7, 9})
        t.Group[0].RightsOther[r] = 1;
    std::memset(t.Group[0].RightsProject, 1, 10);
    std::memset(t.Group[1].RightsOwn, 1, sizeof(t.Group[1].RightsOwn));
    std::memset(t.Group[1].RightsOther, 1, sizeof(t.Group[1].RightsOther));
    std::memset(t.Group[1].RightsProject, 1, sizeof(t.Group[1].RightsProject));
    t.Group[1].MiscRights[1] = 1;
    const int64_t created = kHistoryBegin - 40 * 86400;
    for (int i = 0; i < kUserCount; ++i) {
        _fmgUserSettings70& u = t.User[i];
        u.clear();
        u.Name.set(QString::fromLatin1(kUsers[i].Name));
        u.DisplayName.set(QString::fromLatin1(kUsers[i].Display));
        u.GroupName.set(kUsers[i].Supervisor ? QStringLiteral("Supervisors") : QStringLiteral("Artists"));
        u.Enabled1 = true;
        u.Enabled2 = true;
        u.UniqueID = uint16_t(500 + i);
        u.Created.t = created + i * 86400;
        u.Changed.t = created + i * 86400 + 3600;
        std::memcpy(u.RightsOwn, t.Group[kUsers[i].Supervisor ? 1 : 0].RightsOwn, 20);
        std::memcpy(u.RightsOther, t.Group[kUsers[i].Supervisor ? 1 : 0].RightsOther, 20);
        std::memcpy(u.RightsProject, t.Group[kUsers[i].Supervisor ? 1 : 0].RightsProject, 20);
    }
    t.UserCount = int16_t(kUserCount);
    t.NextUniqueID = int16_t(500 + kUserCount);
    t.applyGroupsToUsers();
    return fm.SaveFileUserSettings();
}

} // namespace fmDemo
