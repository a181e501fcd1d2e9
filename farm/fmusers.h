#pragma once
// The farm's users and user groups with their rights: users7.dat (written raw, so the records below
// are a file format) and the older users.dat, which is read and upgraded only.

#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QString>
#include <QtGlobal>
#include <cstddef>
#include <cstdint>
#include <type_traits>

class __FMSDK;
namespace fmJ {
struct _JobSubmitter;
}

// A wide string without the reserved word of fmString: N units, the end mark, the Length.
// 2N+4 bytes.
template <int N> struct fmUserWideString
{
    uint16_t Data[N + 1];
    uint16_t Length;

    int len() const { return Length > N ? N : Length; }
    bool isEmpty() const { return len() == 0; }
    void clear()
    {
        Length = 0;
        Data[0] = 0;
    }
    void set(const QString& s)
    {
        int n = int(s.size() & 0xFFFF);
        if (n > N) n = N;
        for (int i = 0; i < n; ++i)
            Data[i] = s.at(i).unicode();
        Data[n] = 0;
        Length = uint16_t(n);
    }
    QString toQString() const { return QString::fromUtf16(reinterpret_cast<const char16_t*>(Data), len()); }
};

// Every record below is packed to 2 bytes: the 64-bit times stand at offsets that are not a
// multiple of 8, and the records follow a 6-byte head in the file.
#pragma pack(push, 2)

// A point in time inside the packed records: the 8 bytes of fmTime_t (seconds since the epoch,
// little-endian) at an offset that is not a multiple of 8. Trivial, so that no constructor runs on
// the unaligned place; copy it into an fmTime_t before calling fmTime_t's functions.
struct fmUserTime
{
    int64_t t;

    operator fmTime_t() const
    {
        fmTime_t r;
        r.t = t;
        return r;
    }
    fmUserTime& operator=(const fmTime_t& v)
    {
        t = v.t;
        return *this;
    }
};

// Older record of users.dat, 608 bytes. Name and the second text are fixed by the file; the rest of
// the record is laid out here as the old writer did: the password, a third text, the rights block.
struct _fmgUserSettings60
{
    fmString8_evenSize<100> Name;    // 0, length at 102
    fmString8_evenSize<100> Text1;   // 104, length at 206
    fmString8_evenSize<50> Password; // 208, held as on disk (plain or scrambled)
    fmString8_evenSize<50> Text3;    // 262
    uint8_t Rights[20];              // 316, the old rights block, one byte a right
    uint8_t Reserved[272];           // 336
};

// One user or user group, 928 bytes.
struct _fmgUserSettings70
{
    fmString<100> Name;               // 0, length at 202
    fmString8_evenSize<100> Text1;    // 206, length at 308
    fmString8_evenSize<50> Password;  // 310, length at 362; scrambled ("fmCB...") or plain (old)
    fmString8_evenSize<100> Text2;    // 364, length at 466
    fmString8_evenSize<50> Text3;     // 468, length at 520
    fmUserWideString<50> GroupName;   // 522, length at 624: the user's group
    uint16_t Flags;                   // 626
    fmUserWideString<48> DisplayName; // 628, length at 726
    uint16_t Reserved1;               // 728
    bool Enabled1;                    // 730
    bool Enabled2;                    // 731
    fmUserTime Created;               // 732
    fmUserTime Changed;               // 740
    uint16_t UniqueID;                // 748
    uint8_t RightsOwn[20];            // 750: rights on own jobs
    uint8_t RightsOther[20];          // 770: rights on other users' jobs
    uint8_t RightsProject[20];        // 790: rights on the jobs of the project
    uint8_t MiscRights[4];            // 810
    uint8_t EffectiveRights[60];      // 814: user: the three sets in effect; group: override flags
    uint8_t EffectiveMisc[4];         // 874: user: misc rights in effect; group: override flags
    uint8_t EffectiveExtra;           // 878: user: Extra in effect; group: override flag
    uint8_t Extra;                    // 879
    uint8_t Reserved2[48];            // 880

    void clear();
    bool operator==(const _fmgUserSettings70& o) const;
    bool operator!=(const _fmgUserSettings70& o) const { return !(*this == o); }
    void from60(const _fmgUserSettings60& old);
    // Stores the plain password scrambled at a length of 50. False when it is too long to
    // scramble; then it stays plain.
    bool setp(fmString8_evenSize<50>& password);
    // The plain password; empty when a scrambled form is damaged.
    fmString8_evenSize<50> pdec() const;
    // The 60 rights of the three sets in a row (own, other, project).
    uint8_t right(int i) const;
};

constexpr int UserMax = 200;      // user records in users7.dat
constexpr int UserCountMax = 199; // UserCount after a load
constexpr int UserGroupMax = 25;
constexpr int User60Max = 100;
constexpr qint64 UsersFileSize = 211594;
constexpr qint64 UsersFileCRCOffset = 211590;
constexpr qint64 Users60FileSize = 62630;
constexpr qint64 Users60CRCOffset = 62624;

// The file form of users7.dat, 211594 bytes.
struct _fmgUserSettingsFile70
{
    int16_t NextUniqueID;                   // 0: next free unique user number
    int16_t UserCount;                      // 2
    int16_t GroupCount;                     // 4: at least 1
    _fmgUserSettings70 User[UserMax];       // 6
    _fmgUserSettings70 Admin;               // 185606: "**FM Admin**"
    _fmgUserSettings70 Template;            // 186534: "**New User Template**"
    _fmgUserSettings70 Anonymous;           // 187462: "**Anonymous**"
    _fmgUserSettings70 Group[UserGroupMax]; // 188390
    uint32_t CRC;                           // 211590: CRC-32 of the bytes before it
};

// The file form of users.dat, 62630 bytes.
struct _fmgUserSettingsList60
{
    _fmgUserSettings60 User[User60Max]; // 0
    _fmgUserSettings60 Admin;           // 60800
    _fmgUserSettings60 Template;        // 61408
    _fmgUserSettings60 Anonymous;       // 62016
    uint32_t CRC;                       // 62624: CRC-32 of the bytes before it
    int16_t UserCount;                  // 62628
};

#pragma pack(pop)

static_assert(sizeof(fmUserTime) == 8 && alignof(fmUserTime) == 2);

static_assert(std::is_trivially_copyable_v<_fmgUserSettings70>);
static_assert(sizeof(_fmgUserSettings60) == 608);
static_assert(offsetof(_fmgUserSettings60, Text1) == 104);
static_assert(offsetof(_fmgUserSettings60, Text1) + offsetof(fmString8_evenSize<100>, Length) == 206);
static_assert(sizeof(_fmgUserSettings70) == 928);
static_assert(offsetof(_fmgUserSettings70, Name) + offsetof(fmString<100>, Length) == 202);
static_assert(offsetof(_fmgUserSettings70, Text1) == 206);
static_assert(offsetof(_fmgUserSettings70, Password) == 310);
static_assert(offsetof(_fmgUserSettings70, Password) + offsetof(fmString8_evenSize<50>, Length) == 362);
static_assert(offsetof(_fmgUserSettings70, Text2) == 364);
static_assert(offsetof(_fmgUserSettings70, Text3) == 468);
static_assert(offsetof(_fmgUserSettings70, GroupName) == 522);
static_assert(offsetof(_fmgUserSettings70, GroupName) + offsetof(fmUserWideString<50>, Length) == 624);
static_assert(offsetof(_fmgUserSettings70, Flags) == 626);
static_assert(offsetof(_fmgUserSettings70, DisplayName) == 628);
static_assert(offsetof(_fmgUserSettings70, DisplayName) + offsetof(fmUserWideString<48>, Length) == 726);
static_assert(offsetof(_fmgUserSettings70, Enabled1) == 730);
static_assert(offsetof(_fmgUserSettings70, Enabled2) == 731);
static_assert(offsetof(_fmgUserSettings70, Created) == 732);
static_assert(offsetof(_fmgUserSettings70, Changed) == 740);
static_assert(offsetof(_fmgUserSettings70, UniqueID) == 748);
static_assert(offsetof(_fmgUserSettings70, RightsOwn) == 750);
static_assert(offsetof(_fmgUserSettings70, RightsOther) == 770);
static_assert(offsetof(_fmgUserSettings70, RightsProject) == 790);
static_assert(offsetof(_fmgUserSettings70, MiscRights) == 810);
static_assert(offsetof(_fmgUserSettings70, EffectiveRights) == 814);
static_assert(offsetof(_fmgUserSettings70, EffectiveMisc) == 874);
static_assert(offsetof(_fmgUserSettings70, EffectiveExtra) == 878);
static_assert(offsetof(_fmgUserSettings70, Extra) == 879);
static_assert(offsetof(_fmgUserSettingsFile70, User) == 6);
static_assert(offsetof(_fmgUserSettingsFile70, Admin) == 185606);
static_assert(offsetof(_fmgUserSettingsFile70, Template) == 186534);
static_assert(offsetof(_fmgUserSettingsFile70, Anonymous) == 187462);
static_assert(offsetof(_fmgUserSettingsFile70, Group) == 188390);
static_assert(offsetof(_fmgUserSettingsFile70, CRC) == UsersFileCRCOffset);
static_assert(sizeof(_fmgUserSettingsFile70) == UsersFileSize);
static_assert(offsetof(_fmgUserSettingsList60, Admin) == 60800);
static_assert(offsetof(_fmgUserSettingsList60, CRC) == Users60CRCOffset);
static_assert(sizeof(_fmgUserSettingsList60) == Users60FileSize);

// The user table. The file form is the base; the run-time fields stand beside it.
class _fmgUserSettingsList : public _fmgUserSettingsFile70
{
public:
    // Results of the byte readers.
    enum LoadResult { LoadOk = 0, LoadWrongSize = 1, LoadCorrupted = 2 };

    fmTime_t LastFileTime;  // modification time of the file at the last load
    bool ValidData = false; // a file was loaded
    int16_t ListID = -1;
    uint8_t OpenAccess = 1;                   // everyone may do everything: a new or damaged table
    _fmgUserSettings70* pAdmin = nullptr;     // not owned: into this table
    _fmgUserSettings70* pTemplate = nullptr;  // not owned
    _fmgUserSettings70* pAnonymous = nullptr; // not owned
    int16_t AdminID = 200;                    // the number that stands for the admin

    _fmgUserSettingsList();
    _fmgUserSettingsList(const _fmgUserSettingsList&) = delete;
    _fmgUserSettingsList& operator=(const _fmgUserSettingsList&) = delete;

    void clear();
    void applyGroupsToUsers();
    unsigned calcChecksum() const; // CRC of the first 211590 bytes of the file form
    int IDtoUniqueID(short id) const;
    int findUserID(QString name, const bool& acceptAdmin) const;
    // May the user (a number below UserCount, AdminID, or anything else for the anonymous user)
    // use the right (0..19) on a job of jobOwner (a user number)? sameProject, when given and not
    // 0, tells that the job is of the user's project; usedSet, when given, receives which set
    // answered (0 own, 1 other, 2 project, -1 none). The job record itself is not read.
    bool userAllowedTo(__FMSDK& app, int userID, int right, short jobOwner, fmJ::_JobSubmitter* job,
                       short* sameProject, short* usedSet) const;
    void from60(const _fmgUserSettingsList60* old);

    // users7.dat from a block of bytes: the size and the CRC are checked, then the table is made
    // sound (counts, special names, the default group) and the groups applied. On a bad CRC the
    // table is cleared. The block may hold anything.
    LoadResult loadFromBytes(const char* data, qint64 size);
    // users.dat from a block of bytes, upgraded to this table.
    LoadResult loadFromBytes60(const char* data, qint64 size);
    // The 211594 bytes of users7.dat, CRC included (set here).
    QByteArray saveToBytes();

    int userCount() const { return UserCount < 0 ? 0 : (UserCount > UserMax ? UserMax : UserCount); }
    int groupCount() const
    {
        return GroupCount < 0 ? 0 : (GroupCount > UserGroupMax ? UserGroupMax : GroupCount);
    }

private:
    void makeSound();
};
