#include "farm/fmusers.h"

#include "foundation/fmchecksum.h"
#include "foundation/fmcrypt.h"
#include "foundation/fmsdk.h"

#include <QByteArray>
#include <cstring>
#include <memory>

static const char* const AdminName = "**FM Admin**";
static const char* const TemplateName = "**New User Template**";
static const char* const AnonymousName = "**Anonymous**";
static const char* const DefaultGroupName = "DefaultGroup";

// ---- the record

void _fmgUserSettings70::clear()
{
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

bool _fmgUserSettings70::operator==(const _fmgUserSettings70& o) const
{
    return std::memcmp(static_cast<const void*>(this), static_cast<const void*>(&o), sizeof(*this)) == 0;
}

uint8_t _fmgUserSettings70::right(int i) const
{
    if (i < 0 || i >= 60) return 0;
    if (i < 20) return RightsOwn[i];
    if (i < 40) return RightsOther[i - 20];
    return RightsProject[i - 40];
}

void _fmgUserSettings70::from60(const _fmgUserSettings60& old)
{
    clear();
    const QString name = old.Name.toQString();
    Name.set(name);
    DisplayName.set(name.left(48));
    Text1 = old.Text1;
    Password = old.Password;
    Text3 = old.Text3;
    Created.t = fmTime_t::CurrentTime();

    const uint8_t* r = old.Rights;
    for (int i = 0; i <= 4; ++i)
        RightsOwn[i] = r[i];
    RightsOwn[6] = RightsOwn[7] = r[0];
    RightsOwn[5] = r[1];
    RightsOwn[8] = r[2];
    RightsOwn[9] = 1;
    RightsOther[0] = RightsOther[5] = RightsOther[6] = RightsOther[7] = r[6];
    RightsOther[1] = r[7];
    RightsOther[2] = r[8];
    RightsOther[8] = r[8];
    RightsOther[3] = r[9];
    RightsOther[4] = r[10];
    RightsOther[9] = 1;
    // The old misc rights land in the effective set, as the first upgrade put them.
    EffectiveMisc[0] = EffectiveMisc[1] = EffectiveMisc[2] = r[12];
    EffectiveMisc[3] = r[13];
    EffectiveExtra = 1;
}

bool _fmgUserSettings70::setp(fmString8_evenSize<50>& password)
{
    Password = password;
    Password.Length = uint16_t(Password.len());
    Password.Data[Password.len()] = 0;
    unsigned short length = Password.Length;
    // The data field holds 51 bytes: 50 scrambled ones and the end mark.
    if (!fmCrypt::Rmpg4(Password.Data, int(sizeof(Password.Data)), 50, &length)) return false;
    Password.Length = length > 50 ? 50 : length;
    return true;
}

fmString8_evenSize<50> _fmgUserSettings70::pdec() const
{
    fmString8_evenSize<50> p = Password;
    const int n = p.len();
    p.Length = uint16_t(n);
    p.Data[n] = 0;
    if (n < 4 || std::memcmp(p.Data, "fmCB", 4) != 0) return p;
    unsigned short length = uint16_t(n);
    if (!fmCrypt::DeRmpg4(p.Data, int(sizeof(p.Data)), &length)) return fmString8_evenSize<50>();
    if (length > 50) return fmString8_evenSize<50>();
    p.Length = length;
    p.Data[length] = 0;
    return p;
}

// ---- the list

_fmgUserSettingsList::_fmgUserSettingsList()
{
    pAdmin = &Admin;
    pTemplate = &Template;
    pAnonymous = &Anonymous;
    clear();
}

void _fmgUserSettingsList::clear()
{
    std::memset(static_cast<void*>(static_cast<_fmgUserSettingsFile70*>(this)), 0,
                sizeof(_fmgUserSettingsFile70));
    NextUniqueID = 500;
    UserCount = 0;
    GroupCount = 1;
    Admin.Name.set(AdminName);
    Template.Name.set(TemplateName);
    Anonymous.Name.set(AnonymousName);
    Group[0].Name.set(DefaultGroupName);
    std::memset(Anonymous.RightsOwn, 1, sizeof(Anonymous.RightsOwn));
    Anonymous.RightsOther[6] = Anonymous.RightsOther[7] = Anonymous.RightsOther[9] = 1;
    std::memset(Template.RightsOwn, 1, sizeof(Template.RightsOwn));
    std::memset(Template.RightsOther, 1, sizeof(Template.RightsOther));
    std::memset(Template.RightsProject, 1, sizeof(Template.RightsProject));
    Template.MiscRights[1] = 1;
    Template.Extra = 1;
    ValidData = false;
    OpenAccess = 1;
    ListID = -1;
    AdminID = 200;
}

static void copyOwnRights(_fmgUserSettings70& u)
{
    std::memcpy(u.EffectiveRights, u.RightsOwn, 20);
    std::memcpy(u.EffectiveRights + 20, u.RightsOther, 20);
    std::memcpy(u.EffectiveRights + 40, u.RightsProject, 20);
    std::memcpy(u.EffectiveMisc, u.MiscRights, 4);
    u.EffectiveExtra = u.Extra;
}

void _fmgUserSettingsList::applyGroupsToUsers()
{
    copyOwnRights(Anonymous);
    const int groups = groupCount();
    QString groupNames[UserGroupMax];
    for (int g = 0; g < groups; ++g)
        groupNames[g] = Group[g].Name.toQString();
    for (int i = 0; i < userCount(); ++i) {
        _fmgUserSettings70& u = User[i];
        copyOwnRights(u);
        if (u.GroupName.isEmpty()) continue;
        const QString gn = u.GroupName.toQString();
        int g = 0;
        while (g < groups && groupNames[g].compare(gn, Qt::CaseInsensitive) != 0)
            ++g;
        if (g == groups) {
            u.GroupName.clear();
            continue;
        }
        const _fmgUserSettings70& grp = Group[g];
        for (int r = 0; r < 60; ++r)
            if (grp.EffectiveRights[r]) u.EffectiveRights[r] = grp.right(r);
        for (int r = 0; r < 4; ++r)
            if (grp.EffectiveMisc[r]) u.EffectiveMisc[r] = grp.MiscRights[r];
        // The group's Extra goes to the second misc right, not to EffectiveExtra: the two share
        // one value there, and existing tables depend on it.
        if (grp.EffectiveExtra) u.EffectiveMisc[1] = grp.Extra;
    }
}

unsigned _fmgUserSettingsList::calcChecksum() const
{
    const auto* p = reinterpret_cast<const unsigned char*>(static_cast<const _fmgUserSettingsFile70*>(this));
    return fmCRCCalc(p, unsigned(UsersFileCRCOffset));
}

int _fmgUserSettingsList::IDtoUniqueID(short id) const
{
    if (id < 0) return id - 1;
    if (id == AdminID) return id;
    if (id < UserMax) return User[id].UniqueID;
    return id;
}

int _fmgUserSettingsList::findUserID(QString name, const bool& acceptAdmin) const
{
    if (name.isEmpty()) return -1;
    name = name.left(100).toLower();
    if (acceptAdmin && (name == QLatin1String("keepers") || name == QLatin1String("owner"))) return AdminID;
    for (int i = 0; i < userCount(); ++i)
        if (User[i].Name.toQString().toLower() == name) return i;
    return -1;
}

bool _fmgUserSettingsList::userAllowedTo(__FMSDK&, int userID, int right, short jobOwner, fmJ::_JobSubmitter*,
                                         short* sameProject, short* usedSet) const
{
    if (usedSet) *usedSet = -1;
    if (!ValidData || OpenAccess) return true;
    if (right < 0 || right >= 20) return false;
    if (userID == AdminID) return true;
    const bool known = userID >= 0 && userID < userCount();
    const _fmgUserSettings70& u = known ? User[userID] : Anonymous;
    int set = 1;
    if (known && jobOwner == userID)
        set = 0;
    else if (sameProject && *sameProject)
        set = 2;
    if (usedSet) *usedSet = short(set);
    return u.EffectiveRights[set * 20 + right] != 0;
}

void _fmgUserSettingsList::from60(const _fmgUserSettingsList60* old)
{
    clear();
    if (!old) return;
    GroupCount = 1;
    Group[0].clear();
    Group[0].Name.set(DefaultGroupName);
    NextUniqueID = 500;
    int n = old->UserCount;
    if (n < 0) n = 0;
    if (n > User60Max) n = User60Max;
    for (int i = 0; i < n; ++i) {
        User[i].from60(old->User[i]);
        User[i].UniqueID = uint16_t(NextUniqueID);
        NextUniqueID = int16_t(NextUniqueID + 1);
        User[i].GroupName.set(QString::fromLatin1(DefaultGroupName));
    }
    UserCount = int16_t(n);
    Admin.from60(old->Admin);
    Template.from60(old->Template);
    Anonymous.from60(old->Anonymous);
}

void _fmgUserSettingsList::makeSound()
{
    if (Admin.Name.isEmpty()) Admin.Name.set(AdminName);
    if (Template.Name.isEmpty()) Template.Name.set(TemplateName);
    if (Anonymous.Name.isEmpty()) Anonymous.Name.set(AnonymousName);
    if (GroupCount < 1) {
        GroupCount = 1;
        Group[0].clear();
    }
    if (GroupCount > UserGroupMax) GroupCount = UserGroupMax;
    if (Group[0].Name.isEmpty()) Group[0].Name.set(DefaultGroupName);
    Template.Password.clear();
    Template.Text1.clear();
    if (UserCount < 0) UserCount = 0;
    if (UserCount > UserCountMax) UserCount = UserCountMax;
}

_fmgUserSettingsList::LoadResult _fmgUserSettingsList::loadFromBytes(const char* data, qint64 size)
{
    if (!data || size != UsersFileSize) return LoadWrongSize;
    auto* image = static_cast<_fmgUserSettingsFile70*>(this);
    std::memcpy(static_cast<void*>(image), data, size_t(UsersFileSize));
    if (calcChecksum() != CRC) {
        clear();
        return LoadCorrupted;
    }
    makeSound();
    applyGroupsToUsers();
    ValidData = true;
    OpenAccess = 0;
    return LoadOk;
}

_fmgUserSettingsList::LoadResult _fmgUserSettingsList::loadFromBytes60(const char* data, qint64 size)
{
    if (!data || size != Users60FileSize) return LoadWrongSize;
    // About 62 KB; on the heap so that a reader on a small stack is safe.
    std::unique_ptr<_fmgUserSettingsList60> old(new _fmgUserSettingsList60);
    std::memcpy(static_cast<void*>(old.get()), data, size_t(Users60FileSize));
    if (fmCRCCalc(reinterpret_cast<const unsigned char*>(data), unsigned(Users60CRCOffset)) != old->CRC) {
        clear();
        return LoadCorrupted;
    }
    from60(old.get());
    makeSound();
    applyGroupsToUsers();
    ValidData = true;
    OpenAccess = 0;
    return LoadOk;
}

QByteArray _fmgUserSettingsList::saveToBytes()
{
    CRC = calcChecksum();
    return QByteArray(reinterpret_cast<const char*>(static_cast<const _fmgUserSettingsFile70*>(this)),
                      int(UsersFileSize));
}
