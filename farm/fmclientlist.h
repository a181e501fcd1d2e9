#pragma once
// All clients of the farm in a fixed array, shown through a sorted and filtered array of short
// indexes. Records never move for a sort; only sort_ID_Load and removeClient copy whole records.

#include "farm/fmclient.h"

#include <Qt>

class __FMSDK;
namespace fmJ {
class _JobList;
}

namespace fmC {

// Quicksorts of the index array by one key of the clients; the records stay where they are.
// Columns of the client table: 0 name, 2 status, 4 CPU, 5 available memory, 6 system, 7 user,
// 8 version, 9 temperature, 10 memory, 11 cores, 12 MHz, 13 custom info.
void fmQuicksortClient_2_byName(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byStatus(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byCpuUsage(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byAvMemory(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byOS(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byUser(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byVersion(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byTemp(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byMemory(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byCores(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byPS(short* index, _Client* clients, const int& count, const bool& descending);
void fmQuicksortClient_2_byInfo(short* index, _Client* clients, const int& count, const bool& descending);

class _ClientList
{
public:
    explicit _ClientList(__FMSDK& app);
    _ClientList(const _ClientList&) = delete;
    _ClientList& operator=(const _ClientList&) = delete;

    int32_t SortID = 1; // column of the client table
    Qt::SortOrder SortOrder = Qt::AscendingOrder;
    bool ShowWindows = true, ShowMac = true, ShowLinux = true, Show64Bit = true, Show32Bit = true;
    int32_t MinMemory = 0; // MB
    int16_t TypeFilterCount = 0;
    signed char FilterA[MaxClientGroups] = {};
    signed char FilterB[MaxClientGroups] = {};
    bool FilterFlag = false;
    int16_t ShownCount = 0; // clients after the filter: the first ShownCount sorted places
    int16_t Count = 0;      // clients in the list
    int16_t ChangeCount = 0;
    _Client* SortedPointers[MaxClients] = {}; // not owned: into Clients
    int16_t SortedIndex[MaxClients] = {};
    _Client Clients[MaxClients];
    __FMSDK& App;
    fmTime_t LastFileTime; // modification time of clients.ini at the last load or save

    // listB is taken as bools; flag is stored as FilterFlag != 0. Always true.
    bool SetFilter(bool windows, bool mac, bool linux_, bool bits64, bool bits32, int minMemory, short count,
                   signed char* listA, bool* listB, unsigned flag);
    // False when column and order are already set; else sorts, filters and returns true.
    bool SetSortID(int column, Qt::SortOrder order, fmJ::_JobList* jobs);
    void sort(fmJ::_JobList* jobs = nullptr);
    void filter();

    // Orders the records themselves by ListNo (ascending); used after loading.
    void sort_ID_Load();
    void QSort_ID_Load(const short& left, const short& right, _Client& temp);
    // Sorts the sorted places left..right by values[client number], ascending.
    void QSort_Assigned(int left, int right, float* values);

    void clear() { Count = 0; }
    int addClient(); // the new number, -1 at 750 clients
    // Moves the later records one place forward; with resort their ListNo drops by one and the
    // list is sorted and filtered again.
    void removeClient(short number, bool resort);
    // Number of the client of that name (case-insensitive) from start on; -1 when none.
    int findClient(const fmString<25>& name, short start = 0) const;

    _Client* at(int number) { return number >= 0 && number < count() ? &Clients[number] : nullptr; }
    const _Client* at(int number) const
    {
        return number >= 0 && number < count() ? &Clients[number] : nullptr;
    }
    int count() const { return Count < 0 ? 0 : (Count > MaxClients ? MaxClients : Count); }
    int shownCount() const { return ShownCount < 0 ? 0 : (ShownCount > count() ? count() : ShownCount); }

private:
    void fillPointers(int n);
};

} // namespace fmC
