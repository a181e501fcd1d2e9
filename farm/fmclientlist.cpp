#include "farm/fmclientlist.h"

#include "foundation/fmsdk.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace fmC {

template <int N> static int compareText(const fmString<N>& a, const fmString<N>& b)
{
    return a.compare(b);
}

// Quicksort of index[left..right]: the middle element is the pivot, moved to the left end. The
// smaller side recurses, the larger one loops, so the depth stays below log2(750).
template <class Less> static void quicksortIndex(short* index, int left, int right, const Less& less)
{
    while (left < right) {
        std::swap(index[left], index[(left + right) / 2]);
        int last = left;
        for (int i = left + 1; i <= right; ++i)
            if (less(index[i], index[left])) std::swap(index[++last], index[i]);
        std::swap(index[left], index[last]);
        if (last - left < right - last) {
            quicksortIndex(index, left, last - 1, less);
            left = last + 1;
        } else {
            quicksortIndex(index, last + 1, right, less);
            right = last - 1;
        }
    }
}

template <class Cmp>
static void quicksortBy(short* index, _Client* clients, int count, bool descending, const Cmp& cmp)
{
    if (!index || !clients || count < 2) return;
    if (count > MaxClients) count = MaxClients;
    if (descending)
        quicksortIndex(index, 0, count - 1,
                       [&](short a, short b) { return cmp(clients[b], clients[a]) < 0; });
    else
        quicksortIndex(index, 0, count - 1,
                       [&](short a, short b) { return cmp(clients[a], clients[b]) < 0; });
}

template <class T> static int cmpNum(T a, T b)
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

#define FM_CLIENT_SORT(NAME, EXPR)                                                                           \
    void fmQuicksortClient_2_##NAME(short* index, _Client* clients, const int& count,                        \
                                    const bool& descending)                                                  \
    {                                                                                                        \
        quicksortBy(index, clients, count, descending,                                                       \
                    [](const _Client& a, const _Client& b) { return EXPR; });                                \
    }

FM_CLIENT_SORT(byName, compareText(a.Status.Name, b.Status.Name))
FM_CLIENT_SORT(byStatus, cmpNum(_ClientStatus2SortID(a.Status.Thread[0].Status),
                                _ClientStatus2SortID(b.Status.Thread[0].Status)))
FM_CLIENT_SORT(byCpuUsage, cmpNum(a.Status.Thread[0].CPUUsage, b.Status.Thread[0].CPUUsage))
FM_CLIENT_SORT(byAvMemory, cmpNum(a.Status.AvailableMemory, b.Status.AvailableMemory))
FM_CLIENT_SORT(byOS, cmpNum(a.Hardware.OS, b.Hardware.OS))
FM_CLIENT_SORT(byUser, compareText(a.Status.UserName, b.Status.UserName))
FM_CLIENT_SORT(byVersion, compareText(a.Status.Version, b.Status.Version))
FM_CLIENT_SORT(byTemp, cmpNum(a.Status.Temperature, b.Status.Temperature))
FM_CLIENT_SORT(byMemory, cmpNum(a.Hardware.Memory, b.Hardware.Memory))
FM_CLIENT_SORT(byCores, cmpNum(a.Hardware.Cores, b.Hardware.Cores))
FM_CLIENT_SORT(byPS, cmpNum(a.Hardware.MHz, b.Hardware.MHz))
FM_CLIENT_SORT(byInfo, compareText(a.CustomInfo, b.CustomInfo))

#undef FM_CLIENT_SORT

_ClientList::_ClientList(__FMSDK& app) : App(app)
{
    sort(nullptr);
    filter();
}

bool _ClientList::SetFilter(bool windows, bool mac, bool linux_, bool bits64, bool bits32, int minMemory,
                            short count, signed char* listA, bool* listB, unsigned flag)
{
    ShowWindows = windows;
    ShowMac = mac;
    ShowLinux = linux_;
    Show64Bit = bits64;
    Show32Bit = bits32;
    MinMemory = minMemory;
    if (count < 0) count = 0;
    if (count > MaxClientGroups) count = MaxClientGroups;
    if (!listA || !listB) count = 0;
    TypeFilterCount = count;
    for (int i = 0; i < count; ++i) {
        FilterA[i] = listA[i];
        FilterB[i] = listB[i] ? 1 : 0;
    }
    FilterFlag = flag != 0;
    sort(nullptr);
    filter();
    return true;
}

bool _ClientList::SetSortID(int column, Qt::SortOrder order, fmJ::_JobList* jobs)
{
    if (SortID == column && SortOrder == order) return false;
    SortID = column;
    SortOrder = order;
    sort(jobs);
    filter();
    return true;
}

void _ClientList::fillPointers(int n)
{
    for (int i = 0; i < n; ++i) {
        int c = SortedIndex[i];
        if (c < 0 || c >= MaxClients) c = 0;
        SortedPointers[i] = &Clients[c];
    }
}

void _ClientList::sort(fmJ::_JobList*)
{
    const int n = count();
    ShownCount = int16_t(n);
    if (n == 0) return;
    const bool descending = SortOrder == Qt::DescendingOrder;
    if (SortID == 1 && descending) {
        for (int i = 0; i < n; ++i)
            SortedIndex[i] = int16_t(n - 1 - i);
    } else {
        for (int i = 0; i < n; ++i)
            SortedIndex[i] = int16_t(i);
        if (SortID != 1) {
            short* idx = SortedIndex;
            switch (SortID) {
            case 0:
                fmQuicksortClient_2_byName(idx, Clients, n, descending);
                break;
            case 2:
                fmQuicksortClient_2_byStatus(idx, Clients, n, descending);
                break;
            case 4:
                fmQuicksortClient_2_byCpuUsage(idx, Clients, n, descending);
                break;
            case 5:
                fmQuicksortClient_2_byAvMemory(idx, Clients, n, descending);
                break;
            case 6:
                fmQuicksortClient_2_byOS(idx, Clients, n, descending);
                break;
            case 7:
                fmQuicksortClient_2_byUser(idx, Clients, n, descending);
                break;
            case 8:
                fmQuicksortClient_2_byVersion(idx, Clients, n, descending);
                break;
            case 9:
                fmQuicksortClient_2_byTemp(idx, Clients, n, descending);
                break;
            case 10:
                fmQuicksortClient_2_byMemory(idx, Clients, n, descending);
                break;
            case 11:
                fmQuicksortClient_2_byCores(idx, Clients, n, descending);
                break;
            case 12:
                fmQuicksortClient_2_byPS(idx, Clients, n, descending);
                break;
            case 13:
                fmQuicksortClient_2_byInfo(idx, Clients, n, descending);
                break;
            default:
                break; // 3 and above 13 keep the list order
            }
        }
    }
    fillPointers(n);
}

void _ClientList::filter()
{
    const int n = count();
    if (ShowWindows && ShowMac && ShowLinux && Show64Bit && Show32Bit && MinMemory == 0 &&
        TypeFilterCount == 0)
        return;
    // One pass that keeps the order of the clients that stay; those taken out go behind them, so
    // that SortedIndex stays a permutation.
    int16_t out[MaxClients];
    int kept = 0, dropped = 0;
    for (int i = 0; i < n; ++i) {
        const int16_t c = SortedIndex[i];
        const _Client& cl = Clients[c >= 0 && c < MaxClients ? c : 0];
        const _ClientHardware& h = cl.Hardware;
        const bool drop = (!ShowWindows && h.OS == 1) || (!ShowMac && h.OS == 3) ||
                          (!ShowLinux && h.OS == 2) || (!Show64Bit && h.Is64Bit) ||
                          (!Show32Bit && !h.Is64Bit) || h.Memory < MinMemory;
        if (drop)
            out[dropped++] = c;
        else
            SortedIndex[kept++] = c;
    }
    std::memcpy(SortedIndex + kept, out, size_t(dropped) * sizeof(int16_t));
    ShownCount = int16_t(kept);
    fillPointers(n);
}

void _ClientList::QSort_ID_Load(const short& left, const short& right, _Client& temp)
{
    const int lo = std::max<int>(0, left), hi = std::min<int>(right, count() - 1);
    if (lo >= hi) return;
    // Sort the numbers, then apply the permutation cycle by cycle: every record moves once, plus
    // one move per cycle through temp.
    const int n = hi - lo + 1;
    std::unique_ptr<int16_t[]> order(new int16_t[size_t(n)]);
    for (int i = 0; i < n; ++i)
        order[i] = int16_t(lo + i);
    std::stable_sort(order.get(), order.get() + n,
                     [this](int16_t a, int16_t b) { return Clients[a].ListNo < Clients[b].ListNo; });
    std::unique_ptr<bool[]> done(new bool[size_t(n)]());
    for (int start = 0; start < n; ++start) {
        if (done[start] || order[start] == lo + start) {
            done[start] = true;
            continue;
        }
        temp = Clients[lo + start];
        int dst = start;
        for (;;) {
            done[dst] = true;
            const int src = order[dst] - lo;
            if (src == start) break;
            Clients[lo + dst] = Clients[lo + src];
            dst = src;
        }
        Clients[lo + dst] = temp;
    }
}

void _ClientList::sort_ID_Load()
{
    if (count() < 2) return;
    std::unique_ptr<_Client> temp(new _Client);
    QSort_ID_Load(0, short(count() - 1), *temp);
    sort(nullptr);
    filter();
}

void _ClientList::QSort_Assigned(int left, int right, float* values)
{
    if (!values) return;
    if (left < 0) left = 0;
    if (right > count() - 1) right = count() - 1;
    if (left >= right) return;
    quicksortIndex(SortedIndex, left, right, [values](short a, short b) { return values[a] < values[b]; });
    fillPointers(count());
}

int _ClientList::addClient()
{
    if (count() >= MaxClients) return -1;
    const int n = count();
    Clients[n].clear();
    SortedIndex[n] = int16_t(n);
    SortedPointers[n] = &Clients[n];
    Count = int16_t(n + 1);
    ++ChangeCount;
    return n;
}

void _ClientList::removeClient(short number, bool resort)
{
    const int n = count();
    if (number < 0 || number >= n) return;
    for (int i = number; i < n - 1; ++i)
        Clients[i] = Clients[i + 1];
    Clients[n - 1].clear();
    Count = int16_t(n - 1);
    ++ChangeCount;
    if (resort) {
        // The moved clients close the gap in the farm's order too.
        for (int i = number; i < n - 1; ++i)
            --Clients[i].ListNo;
        sort(nullptr);
        filter();
    }
}

int _ClientList::findClient(const fmString<25>& name, short start) const
{
    const int n = count();
    for (int i = start < 0 ? 0 : start; i < n; ++i) {
        const fmString<25>& c = Clients[i].Status.Name;
        if (c.len() == name.len() && compareText(c, name) == 0) return i;
    }
    return -1;
}

} // namespace fmC
