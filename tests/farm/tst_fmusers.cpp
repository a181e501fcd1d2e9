// The user table: users7.dat and users.dat, defaults, groups, lookups.
#include "fmtestroot.h"

#include "app/fm.h"
#include "farm/fmclientlog.h"
#include "farm/fmusers.h"
#include "foundation/fmchecksum.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <memory>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

static QStringList tapped;
static void tap(int, const QString& text, const QString&)
{
    tapped << text;
}

class tst_fmUsers : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        FM.CfgGlobalPath.set(dir.path() + u"/"_s);
        FM.createFarmTables();
        QVERIFY(FM.UserSettings);
        fmC::farmLogTap = tap;
    }

    void init()
    {
        QFile::remove(path7());
        QFile::remove(path60());
        users().clear();
        users().LastFileTime.t = 0;
        tapped.clear();
    }

    void cleanupTestCase()
    {
        fmC::farmLogTap = nullptr;
        FM.deleteFarmTables();
        QVERIFY(!FM.UserSettings);
    }

    // Catches a reader or writer that changes any byte of a table it wrote itself.
    void saveLoadSameBytes()
    {
        fillTable();
        QVERIFY(FM.SaveFileUserSettings());
        QCOMPARE(tapped.last(), u"users.dat   written"_s);
        const QByteArray first = fmTestReadAll(path7());
        QCOMPARE(first.size(), 211594);
        uint32_t stored = 0;
        std::memcpy(&stored, first.constData() + 211590, 4);
        QCOMPARE(fmCRCCalc(reinterpret_cast<const unsigned char*>(first.constData()), 211590), stored);

        users().clear();
        users().LastFileTime.t = 0;
        QVERIFY(FM.LoadFileUserSettings());
        QVERIFY(users().ValidData);
        QCOMPARE(int(users().OpenAccess), 0);
        QCOMPARE(int(users().UserCount), 3);
        QCOMPARE(users().User[1].Name.toQString(), u"Ben"_s);
        QVERIFY(FM.SaveFileUserSettings());
        QCOMPARE(fmTestReadAll(path7()), first);

        // Unchanged file time: nothing is read again.
        users().UserCount = 0;
        QVERIFY(FM.LoadFileUserSettings());
        QCOMPARE(int(users().UserCount), 0);
    }

    void refusedFile_data()
    {
        QTest::addColumn<int>("offset"); // the byte changed; -1: none
        QTest::addColumn<int>("size");   // -1: as saved; -2: a FIFO
        QTest::addColumn<QString>("message");
        const QString corrupted = u" data is corrupted!"_s, size = u" has wrong file size!"_s;
        QTest::newRow("head changed") << 2 << -1 << corrupted;
        QTest::newRow("last data byte changed") << 211589 << -1 << corrupted;
        QTest::newRow("crc changed") << 211592 << -1 << corrupted;
        QTest::newRow("one short") << -1 << 211593 << size;
        QTest::newRow("one long") << -1 << 211595 << size;
        QTest::newRow("FIFO") << -1 << -2 << u"' !; Is a FIFO, not a regular file"_s;
    }
    // Catches a reader that trusts a damaged file (the table must become the empty open one), accepts
    // one of another size or blocks on a FIFO.
    void refusedFile()
    {
        QFETCH(int, offset);
        QFETCH(int, size);
        QFETCH(QString, message);
        fillTable();
        QByteArray bytes = users().saveToBytes();
        if (offset >= 0) bytes[offset] = char(bytes[offset] ^ 0x20);
        if (size >= 0) bytes.resize(size);
        if (offset < 0) users().clear(); // a refusal before the CRC leaves the table as it was
        QFile::remove(path7());
        if (size == -2)
            QVERIFY(::mkfifo(QFile::encodeName(path7()).constData(), 0600) == 0);
        else
            QVERIFY(fmTestWriteAll(path7(), bytes));
        users().LastFileTime.t = 0;
        QVERIFY(!FM.LoadFileUserSettings());
        QCOMPARE(tapped.last(), (size == -2 ? "Unable to open '" : "") + path7() + message);
        QCOMPARE(int(users().UserCount), 0);
        QVERIFY(!users().ValidData);
        if (offset >= 0) QCOMPARE(int(users().OpenAccess), 1);
        QFile::remove(path7());
    }

    // Catches counts and lengths from a file used without a bound.
    void hostileCounts()
    {
        QByteArray bytes(211594, char(0xFF));
        const int16_t big[3] = {32767, 30000, 30000};
        std::memcpy(bytes.data(), big, 6);
        uint32_t crc = fmCRCCalc(reinterpret_cast<const unsigned char*>(bytes.constData()), 211590);
        std::memcpy(bytes.data() + 211590, &crc, 4);
        QCOMPARE(users().loadFromBytes(bytes.constData(), bytes.size()), _fmgUserSettingsList::LoadOk);
        QVERIFY(users().UserCount >= 0 && users().UserCount <= 199);
        QVERIFY(users().GroupCount >= 1 && users().GroupCount <= 25);
        QCOMPARE(users().User[0].Name.len(), 100);
        QCOMPARE(users().findUserID(u"x"_s, false), -1);
        QVERIFY(!FM.getUserName(5, true).isEmpty());
        // Negative counts.
        bytes.fill('\0');
        const int16_t head[3] = {-5, -7, -9};
        std::memcpy(bytes.data(), head, 6);
        crc = fmCRCCalc(reinterpret_cast<const unsigned char*>(bytes.constData()), 211590);
        std::memcpy(bytes.data() + 211590, &crc, 4);
        QCOMPARE(users().loadFromBytes(bytes.constData(), bytes.size()), _fmgUserSettingsList::LoadOk);
        QCOMPARE(int(users().UserCount), 0);
        QCOMPARE(int(users().GroupCount), 1);
        QCOMPARE(users().Group[0].Name.toQString(), u"DefaultGroup"_s);
        QCOMPARE(users().Anonymous.Name.toQString(), u"**Anonymous**"_s);
        QCOMPARE(users().loadFromBytes(nullptr, 211594), _fmgUserSettingsList::LoadWrongSize);
    }

    // Catches an upgrade that loses users, rights or the defaults of the new fields.
    void oldFileUpgraded()
    {
        QVERIFY(fmTestWriteAll(path60(), makeOldFile(14)));
        QVERIFY(FM.LoadFileUserSettings());
        QCOMPARE(tapped.last(), path60() + u"   loaded"_s);
        const _fmgUserSettingsList& u = users();
        QCOMPARE(int(u.UserCount), 14);
        QCOMPARE(int(u.NextUniqueID), 514);
        QCOMPARE(int(u.GroupCount), 1);
        QCOMPARE(u.User[13].Name.toQString(), u"old13"_s);
        QCOMPARE(u.User[13].DisplayName.toQString(), u"old13"_s);
        QCOMPARE(int(u.User[13].UniqueID), 513);
        QCOMPARE(u.User[0].GroupName.toQString(), u"DefaultGroup"_s);
        QCOMPARE(u.User[0].Text1.toQString(), u"note"_s);
        QCOMPARE(u.User[0].Password.toQString(), u"plain"_s);
        QVERIFY(u.User[0].Created.t > 0);
        // Old place 0 goes to own 0, 6 and 7.
        QCOMPARE(int(u.User[0].RightsOwn[0]), 1);
        QCOMPARE(int(u.User[0].RightsOwn[6]), 1);
        QCOMPARE(int(u.User[0].RightsOwn[7]), 1);
        QCOMPARE(int(u.User[0].RightsOwn[9]), 1);
        QCOMPARE(int(u.User[1].RightsOwn[5]), 1);
        QCOMPARE(int(u.User[2].RightsOwn[8]), 1);
        QCOMPARE(int(u.User[6].RightsOther[0]), 1);
        QCOMPARE(int(u.User[6].RightsOther[7]), 1);
        QCOMPARE(int(u.User[8].RightsOther[2]), 1);
        QCOMPARE(int(u.User[8].RightsOther[8]), 1);
        QCOMPARE(int(u.User[10].RightsOther[4]), 1);
        QCOMPARE(int(u.User[11].RightsOther[9]), 1);
        QCOMPARE(int(u.User[11].RightsOther[4]), 0);
        QCOMPARE(u.Admin.Name.toQString(), u"**FM Admin**"_s);
        // Empty special names of the old file get their defaults.
        QCOMPARE(u.Anonymous.Name.toQString(), u"**Anonymous**"_s);
        QVERIFY(!QFile::exists(path7())); // users.dat is upgraded in memory only
    }

    // Catches an old file of a wrong size or CRC that gets through.
    void oldFileCorrupted()
    {
        QByteArray bytes = makeOldFile(3);
        bytes[500] = char(bytes[500] ^ 1);
        QVERIFY(fmTestWriteAll(path60(), bytes));
        QVERIFY(!FM.LoadFileUserSettings());
        QCOMPARE(tapped.last(), path60() + u" data is corrupted!"_s);
        QCOMPARE(int(users().UserCount), 0);
        QVERIFY(fmTestWriteAll(path60(), bytes.left(62629)));
        users().LastFileTime.t = 0;
        QVERIFY(!FM.LoadFileUserSettings());
        QCOMPARE(tapped.last(), u"users.dat has wrong file size!"_s);
    }

    // Catches overrides applied without their flag, and the group's Extra going anywhere but to the
    // second misc right.
    void groupOverrides()
    {
        fillTable();
        _fmgUserSettingsList& u = users();
        _fmgUserSettings70& g = u.Group[1];
        g.MiscRights[3] = 1;
        g.EffectiveMisc[3] = 1;
        g.MiscRights[0] = 1; // no flag: not applied
        g.Extra = 1;
        g.EffectiveExtra = 1;
        u.User[1].Extra = 0;
        u.User[1].RightsOther[3] = 1; // no flag in the group: stays
        u.applyGroupsToUsers();
        const _fmgUserSettings70& b = u.User[1];
        QCOMPARE(int(b.EffectiveRights[22]), 1);
        QCOMPARE(int(b.EffectiveRights[23]), 1);
        QCOMPARE(int(b.EffectiveMisc[3]), 1);
        QCOMPARE(int(b.EffectiveMisc[0]), 0);
        QCOMPARE(int(b.EffectiveMisc[1]), 1);
        QCOMPARE(int(b.EffectiveExtra), 0);
        // A group flag that clears a right.
        g.RightsOwn[1] = 0;
        g.EffectiveRights[1] = 1;
        u.User[1].RightsOwn[1] = 1;
        u.applyGroupsToUsers();
        QCOMPARE(int(u.User[1].EffectiveRights[1]), 0);
        QCOMPARE(int(u.User[0].EffectiveRights[0]), 1); // no group
    }

private:
    QTemporaryDir dir;
    QString path7() const { return dir.path() + u"/users7.dat"_s; }
    QString path60() const { return dir.path() + u"/users.dat"_s; }
    _fmgUserSettingsList& users() { return *FM.UserSettings; }
    void fillTable();
    QByteArray makeOldFile(int users);
};

void tst_fmUsers::fillTable()
{
    _fmgUserSettingsList& u = users();
    u.UserCount = 3;
    u.GroupCount = 2;
    u.Group[1].Name.set("Lighting");
    u.Group[1].RightsOther[2] = 1;
    u.Group[1].EffectiveRights[22] = 1;
    const char* names[3] = {"anna", "Ben", "carl"};
    for (int i = 0; i < 3; ++i) {
        u.User[i].Name.set(names[i]);
        u.User[i].DisplayName.set(QString::fromLatin1(names[i]).toUpper());
        u.User[i].UniqueID = uint16_t(500 + i);
        u.User[i].Created.t = 1700000000 + i;
        u.User[i].RightsOwn[i] = 1;
        fmString8_evenSize<50> pw(u"secret%1"_s.arg(i));
        QVERIFY(u.User[i].setp(pw));
    }
    u.User[1].GroupName.set(u"lighting"_s);
    u.NextUniqueID = 503;
    u.applyGroupsToUsers();
}

// users.dat with the given number of users, CRC set.
QByteArray tst_fmUsers::makeOldFile(int n)
{
    std::unique_ptr<_fmgUserSettingsList60> old(new _fmgUserSettingsList60);
    std::memset(static_cast<void*>(old.get()), 0, sizeof(*old));
    for (int i = 0; i < n; ++i) {
        old->User[i].Name.set(u"old%1"_s.arg(i));
        old->User[i].Text1.set("note");
        old->User[i].Password.set("plain");
        for (int r = 0; r < 14; ++r)
            old->User[i].Rights[r] = uint8_t(r == i % 14 ? 1 : 0);
    }
    old->Admin.Name.set("**FM Admin**");
    old->UserCount = int16_t(n);
    old->CRC = fmCRCCalc(reinterpret_cast<const unsigned char*>(old.get()), unsigned(Users60CRCOffset));
    return QByteArray(reinterpret_cast<const char*>(old.get()), int(sizeof(*old)));
}

QTEST_GUILESS_MAIN(tst_fmUsers)
#include "tst_fmusers.moc"
