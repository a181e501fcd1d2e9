// The client list: sorted order of short indexes, adding, finding.
#include "app/fm.h"
#include "farm/fmclientlist.h"

#include <QtTest>
#include <memory>

using namespace Qt::StringLiterals;

using namespace fmC;

class tst_fmClientList : public QObject
{
    Q_OBJECT
private slots:
    void sortIDTable_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("sortID");
        QTest::newRow("code 14, the last of the table") << 14 << 1;
        QTest::newRow("code 15") << 15 << 3;
        QTest::newRow("code -1") << -1 << 3;
    }
    // Catches a shifted sort table, and reads past its end for large or negative codes.
    void sortIDTable()
    {
        QFETCH(int, status);
        QFETCH(int, sortID);
        const signed char s = static_cast<signed char>(status);
        QCOMPARE(_ClientStatus2SortID(s), sortID);
    }

    void init() { list.reset(new _ClientList(FM)); }

    void sortByColumn_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QList<int>>("ascending");
        QTest::newRow("0 name, case-insensitive") << 0 << QList<int>{1, 4, 3, 0, 2};
        QTest::newRow("1 list number") << 1 << QList<int>{0, 1, 2, 3, 4};
        QTest::newRow("2 status") << 2 << QList<int>{-1, -1, -1, -1, -1}; // ties; checked by key below
        QTest::newRow("3 keeps order") << 3 << QList<int>{0, 1, 2, 3, 4};
        QTest::newRow("4 cpu") << 4 << QList<int>{1, 3, 0, 4, 2};
        QTest::newRow("5 available memory") << 5 << QList<int>{1, 2, 4, 0, 3};
        QTest::newRow("6 system") << 6 << QList<int>{-1, -1, -1, -1, -1};
        QTest::newRow("7 user") << 7 << QList<int>{3, 1, 4, 2, 0};
        QTest::newRow("8 version") << 8 << QList<int>{1, 3, 0, 4, 2};
        QTest::newRow("9 temperature") << 9 << QList<int>{4, 2, 0, 3, 1};
        QTest::newRow("10 memory") << 10 << QList<int>{2, 4, 0, 1, 3};
        QTest::newRow("11 cores") << 11 << QList<int>{3, 1, 0, 4, 2};
        QTest::newRow("12 MHz") << 12 << QList<int>{2, 0, 4, 1, 3};
        QTest::newRow("13 info") << 13 << QList<int>{2, 4, 0, 3, 1};
    }
    // Catches a column sorted by the wrong key, a reversed order, or pointers out of step.
    void sortByColumn()
    {
        QFETCH(int, column);
        QFETCH(QList<int>, ascending);
        addFive();
        list->SortID = -1;
        QVERIFY(list->SetSortID(column, Qt::AscendingOrder, nullptr));
        const QList<int> up = order();
        QCOMPARE(up.size(), 5);
        if (ascending.first() >= 0) QCOMPARE(up, ascending);
        // The key must never fall along the order, for the tie columns too.
        auto key = [&](int n) {
            const _Client& c = list->Clients[n];
            switch (column) {
            case 2:
                return _ClientStatus2SortID(c.Status.Thread[0].Status);
            case 6:
                return int(c.Hardware.OS);
            default:
                return 0;
            }
        };
        for (int i = 1; i < 5; ++i)
            QVERIFY(key(up[i - 1]) <= key(up[i]));

        QVERIFY(list->SetSortID(column, Qt::DescendingOrder, nullptr));
        const QList<int> down = order();
        if (ascending.first() >= 0 && column != 3 && column != 14) {
            QList<int> rev(ascending.rbegin(), ascending.rend());
            QCOMPARE(down, rev);
        }
        for (int i = 1; i < 5; ++i)
            QVERIFY(key(down[i - 1]) >= key(down[i]));
    }

    // Catches a quicksort that loses or duplicates indexes on many equal keys and a large list, and an
    // addition past the fixed array.
    void sortLargeWithTies()
    {
        for (int i = 0; i < MaxClients; ++i) {
            const int n = list->addClient();
            QCOMPARE(n, i);
            list->Clients[n].Hardware.Memory = (i * 7919) % 13;
            list->Clients[n].Status.Name.set(u"c%1"_s.arg((i * 31) % 750, 3, 10, QLatin1Char('0')));
        }
        QCOMPARE(list->addClient(), -1); // past the fixed array
        for (int column : {10, 0}) {
            list->SortID = -1;
            list->SetSortID(column, Qt::DescendingOrder, nullptr);
            QCOMPARE(int(list->ShownCount), MaxClients);
            QList<int> seen(MaxClients, 0);
            for (int i = 0; i < MaxClients; ++i)
                ++seen[list->SortedIndex[i]];
            QCOMPARE(seen.count(1), MaxClients);
            for (int i = 1; i < MaxClients; ++i) {
                const _Client& a = *list->SortedPointers[i - 1];
                const _Client& b = *list->SortedPointers[i];
                if (column == 10)
                    QVERIFY(a.Hardware.Memory >= b.Hardware.Memory);
                else
                    QVERIFY(a.Status.Name.compare(b.Status.Name) > 0);
            }
        }
    }

    // Catches a find that is case-sensitive, takes a prefix or ignores its start.
    void addAndFind()
    {
        addFive();
        QCOMPARE(int(list->ChangeCount), 5);
        QCOMPARE(list->findClient(fmString<25>("ECHO")), 2);
        QCOMPARE(list->findClient(fmString<25>("echo"), 3), -1);
        QCOMPARE(list->findClient(fmString<25>("ech")), -1);
    }

    // Catches a record sort that mixes up records or loses one.
    void sortIDLoad()
    {
        const int listNo[7] = {5, -1, 3, 9, 0, 3, 7};
        for (int i = 0; i < 7; ++i) {
            const int n = list->addClient();
            list->Clients[n].ListNo = listNo[i];
            list->Clients[n].Status.Name.set(u"n%1"_s.arg(i));
        }
        list->sort_ID_Load();
        QStringList got;
        for (int i = 0; i < 7; ++i)
            got << u"%1:%2"_s.arg(list->Clients[i].ListNo).arg(list->Clients[i].Status.Name.toQString());
        QCOMPARE(got, (QStringList{"-1:n1", "0:n4", "3:n2", "3:n5", "5:n0", "7:n6", "9:n3"}));
    }

private:
    std::unique_ptr<_ClientList> list;
    void addFive();
    QList<int> order() const;
};

// Five clients whose keys give each column a different order. Numbers 0..4.
void tst_fmClientList::addFive()
{
    struct Row
    {
        const char* name;
        int status, cpu, avMem, os, version, temp, mem, cores, mhz;
        const char* user;
        const char* info;
    };
    const Row rows[5] = {
        {"delta", 3, 50, 4000, 2, 3, 40, 8000, 8, 2400, "eve", "c"},
        {"Alpha", 1, 10, 1000, 1, 1, 60, 16000, 4, 3000, "bob", "e"},
        {"echo", 4, 90, 2000, 3, 5, 30, 2000, 16, 2000, "Dan", "a"},
        {"charlie", 5, 30, 5000, 2, 2, 50, 32000, 2, 3600, "amy", "d"},
        {"Bravo", 0, 70, 3000, 1, 4, 20, 4000, 12, 2800, "cid", "b"},
    };
    for (const Row& r : rows) {
        const int n = list->addClient();
        _Client& c = list->Clients[n];
        c.Status.Name.set(r.name);
        c.ListNo = n;
        c.Status.Thread[0].Status = static_cast<signed char>(r.status);
        c.Status.Thread[0].CPUUsage = uint8_t(r.cpu);
        c.Status.AvailableMemory = r.avMem;
        c.Hardware.OS = static_cast<signed char>(r.os);
        c.Status.Version.set(QString::number(r.version));
        c.Status.Temperature = static_cast<signed char>(r.temp);
        c.Hardware.Memory = r.mem;
        c.Hardware.Cores = uint8_t(r.cores);
        c.Hardware.MHz = uint16_t(r.mhz);
        c.Status.UserName.set(r.user);
        c.CustomInfo.set(r.info);
    }
}

QList<int> tst_fmClientList::order() const
{
    QList<int> r;
    for (int i = 0; i < list->ShownCount; ++i) {
        r << list->SortedIndex[i];
        if (list->SortedPointers[i] != &list->Clients[list->SortedIndex[i]])
            r << -100; // pointers out of step
    }
    return r;
}

QTEST_GUILESS_MAIN(tst_fmClientList)
#include "tst_fmclientlist.moc"
