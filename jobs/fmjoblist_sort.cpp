// The view of the job list: Sorted[0..SortedCount) holds the jobs that pass the filter, in the
// order of the chosen column. It is rebuilt from Queue on every change.
//
// Records are 38 KB apart in memory, so a sort that read its keys from the records would miss the
// cache on every comparison. The keys are first copied into a compact array (the primary key as a
// 64-bit value or an 8-byte text prefix), the array is sorted, and the pointers written back.
// The sort is the list's own quicksort, step for step: with the queue-order tie-break two jobs
// never compare equal, and where a key is not ordered at all (NaN, or a SortOrder that is neither
// 0 nor 1) the very same partition steps give the very same result.

#include "jobs/fmjoblist.h"

#include "foundation/fmjobid.h"
#include "jobs/fmjoblist_p.h"

#include <QWriteLocker>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace fmJ {

namespace {

struct SortEnt
{
    uint64_t Pre;                // primary key, or the first 8 bytes of a text key
    _jobsHistoryDB_Runtime* Rec; // not owned
    int32_t Qid;
    float F; // primary key of a float column
};

// Result of a key comparison: -1 below, 0 equal, 1 above, Unordered for none of them.
constexpr int Unordered = 2;

inline int cmpU64(uint64_t a, uint64_t b)
{
    return a < b ? -1 : (a > b ? 1 : 0);
}
inline uint64_t signedKey(int64_t v)
{
    return uint64_t(v) ^ (uint64_t(1) << 63);
}

// Text as bytes: memcmp of the UTF-16 units over the shorter length, the shorter first if they
// agree. Little-endian units, so the low byte of a unit decides first.
template <int N> int cmpBytes(const fmString<N>& a, const fmString<N>& b)
{
    const int la = a.len(), lb = b.len();
    const int c = std::memcmp(a.Data, b.Data, size_t(std::min(la, lb)) * 2);
    if (c != 0) return c < 0 ? -1 : 1;
    return la < lb ? -1 : (la > lb ? 1 : 0);
}

// Text as units, as QString::compare with case: unit by unit, the shorter first if they agree.
template <int N> int cmpUnits(const fmString<N>& a, const fmString<N>& b)
{
    const int la = a.len(), lb = b.len();
    const int n = std::min(la, lb);
    for (int i = 0; i < n; ++i)
        if (a.Data[i] != b.Data[i]) return a.Data[i] < b.Data[i] ? -1 : 1;
    return la < lb ? -1 : (la > lb ? 1 : 0);
}

// The first four units as a number that orders like cmpBytes (or cmpUnits) over them. Units past
// the length count as 0: where two prefixes differ only there, the shorter text is the lower one,
// which is what the full comparison says as well. Equal prefixes need the full comparison.
// Taken from unit `from` on, where every key of the column agrees before `from`: the order of
// two keys is then the order of what follows.
template <int N> uint64_t preBytes(const fmString<N>& s, int from)
{
    const int l = s.len();
    uint64_t p = 0;
    for (int i = from; i < from + 4; ++i) {
        const uint16_t u = i < l ? s.Data[i] : 0;
        p = (p << 16) | uint64_t((u & 0xFF) << 8 | u >> 8);
    }
    return p;
}
template <int N> uint64_t preUnits(const fmString<N>& s, int from)
{
    const int l = s.len();
    uint64_t p = 0;
    for (int i = from; i < from + 4; ++i)
        p = (p << 16) | (i < l ? s.Data[i] : 0);
    return p;
}

// Units at the start that all keys share (paths of one project often do), at most the shortest
// key's length.
template <class KeyOf> int commonPrefix(_jobsHistoryDB_Runtime* const* sorted, int n, const KeyOf& keyOf)
{
    const auto& first = keyOf(*sorted[0]);
    int lcp = first.len();
    for (int k = 1; k < n && lcp > 0; ++k) {
        const auto& key = keyOf(*sorted[k]);
        const int l = std::min(lcp, key.len());
        int i = 0;
        while (i < l && key.Data[i] == first.Data[i])
            ++i;
        lcp = i;
    }
    return lcp;
}

template <class Cmp> inline bool below(const SortEnt& x, const SortEnt& p, int order, const Cmp& cmp)
{
    const int c = cmp(x, p);
    return (order == 0 && c == -1) || (order == 1 && c == 1) || (c == 0 && x.Qid < p.Qid);
}
template <class Cmp> inline bool above(const SortEnt& x, const SortEnt& p, int order, const Cmp& cmp)
{
    const int c = cmp(x, p);
    return (order == 0 && c == 1) || (order == 1 && c == -1) || (c == 0 && x.Qid > p.Qid);
}

// The quicksort of the list: pivot from the middle (a copy), i and j run towards each other,
// swap, repeat until they cross, then the two sides. The smaller side recurses and the larger one
// loops, which bounds the depth and leaves the result as it is.
template <class Cmp> void quickSort(SortEnt* a, int left, int right, int order, const Cmp& cmp)
{
    while (left < right) {
        int i = left, j = right;
        const SortEnt p = a[left + (right - left) / 2];
        do {
            while (i <= right && below(a[i], p, order, cmp))
                ++i;
            while (j >= left && above(a[j], p, order, cmp))
                --j;
            if (i <= j) {
                std::swap(a[i], a[j]);
                ++i;
                --j;
            }
        } while (i <= j);
        if (j - left < right - i) {
            if (left < j) quickSort(a, left, j, order, cmp);
            left = i;
        } else {
            if (i < right) quickSort(a, i, right, order, cmp);
            right = j;
        }
    }
}

template <class Fill, class Cmp>
void sortBy(_jobsHistoryDB_Runtime** sorted, int n, int order, const Fill& fill, const Cmp& cmp)
{
    std::vector<SortEnt> ents(static_cast<size_t>(n));
    for (int k = 0; k < n; ++k) {
        SortEnt& e = ents[size_t(k)];
        e.Rec = sorted[k];
        e.Qid = e.Rec->QueueID;
        e.Pre = 0;
        e.F = 0;
        fill(e, *e.Rec);
    }
    quickSort(ents.data(), 0, n - 1, order, cmp);
    for (int k = 0; k < n; ++k)
        sorted[k] = ents[size_t(k)].Rec;
}

// A column whose key is one number, kept whole in Pre.
template <class KeyOf>
void sortByNumber(_jobsHistoryDB_Runtime** sorted, int n, int order, const KeyOf& keyOf)
{
    sortBy(
        sorted, n, order, [&](SortEnt& e, const _jobsHistoryDB_Runtime& r) { e.Pre = keyOf(r); },
        [](const SortEnt& a, const SortEnt& b) { return cmpU64(a.Pre, b.Pre); });
}

// A column of text keys: Pre holds the prefix of the first key behind what all keys share;
// `rest` compares the full keys. `units` orders by unit value (QString::compare), else by bytes.
template <class KeyOf, class Rest>
void sortByText(_jobsHistoryDB_Runtime** sorted, int n, int order, bool units, const KeyOf& keyOf,
                const Rest& rest)
{
    const int from = commonPrefix(sorted, n, keyOf);
    sortBy(
        sorted, n, order,
        [&](SortEnt& e, const _jobsHistoryDB_Runtime& r) {
            e.Pre = units ? preUnits(keyOf(r), from) : preBytes(keyOf(r), from);
        },
        [&](const SortEnt& a, const SortEnt& b) {
            const int c = cmpU64(a.Pre, b.Pre);
            return c != 0 ? c : rest(*a.Rec, *b.Rec);
        });
}

using R = _jobsHistoryDB_Runtime;

template <int N> bool equalsText(const fmString<N>& s, const QString& q)
{
    const int l = s.len();
    return l == q.size() && std::memcmp(s.Data, q.utf16(), size_t(l) * 2) == 0;
}

// One text field, compared by unit value (`units`) or by bytes.
template <auto Field> void sortByField(R** s, int n, int o, bool units)
{
    sortByText(
        s, n, o, units, [](const R& r) -> const auto& { return r.*Field; },
        [units](const R& a, const R& b) {
            return units ? cmpUnits(a.*Field, b.*Field) : cmpBytes(a.*Field, b.*Field);
        });
}

// The columns ordered by text; false for a column that is not one of them.
bool sortTextColumn(R** s, int n, int o, int id)
{
    switch (id) {
    case -1: // Software, SceneName, Camera, Layer
        sortByText(
            s, n, o, false, [](const R& r) -> const auto& { return r.Software; },
            [](const R& a, const R& b) {
                int c = cmpBytes(a.Software, b.Software);
                if (c == 0) c = cmpBytes(a.SceneName, b.SceneName);
                if (c == 0) c = cmpBytes(a.Camera, b.Camera);
                if (c == 0) c = cmpBytes(a.Layer, b.Layer);
                return c;
            });
        return true;
    case 1:
        sortByField<&R::UserName>(s, n, o, false);
        return true;
    case 2:
        sortByField<&R::CompanyProjectName>(s, n, o, false);
        return true;
    case 3: // custom job name: sequence, then shot, by QString::compare
        sortByText(
            s, n, o, true, [](const R& r) -> const auto& { return r.CustomSeQName; },
            [](const R& a, const R& b) {
                const int c = cmpUnits(a.CustomSeQName, b.CustomSeQName);
                return c != 0 ? c : cmpUnits(a.CustomSHotName, b.CustomSHotName);
            });
        return true;
    case 4: // Software, Renderer, Version
        sortByText(
            s, n, o, false, [](const R& r) -> const auto& { return r.Software; },
            [](const R& a, const R& b) {
                int c = cmpBytes(a.Software, b.Software);
                if (c == 0) c = cmpBytes(a.Renderer, b.Renderer);
                if (c == 0) {
                    const int16_t va = a.Version, vb = b.Version;
                    c = va < vb ? -1 : (va > vb ? 1 : 0);
                }
                return c;
            });
        return true;
    case 8:
        sortByField<&R::SceneName>(s, n, o, false);
        return true;
    case 9:
        sortByField<&R::Layer>(s, n, o, false);
        return true;
    case 10:
        sortByField<&R::Camera>(s, n, o, false);
        return true;
    case 24:
        sortByField<&R::CustomSHotName>(s, n, o, true);
        return true;
    case 99:
        sortByField<&R::Channel>(s, n, o, false);
        return true;
    default:
        return false;
    }
}

// The columns ordered by number; any other column keeps the queue order.
void sortNumberColumn(R** s, int n, int o, int id)
{
    switch (id) {
    case 0:
        if (o == 1) std::reverse(s, s + n);
        break;
    case 5: // hard errors, then errors; both signed bytes, so one number orders them
        sortByNumber(s, n, o, [](const R& r) {
            return signedKey(int64_t(r.ErrorCountHard) * 256 + int64_t(r.ErrorCount));
        });
        break;
    case 11:
        sortByNumber(s, n, o, [](const R& r) { return signedKey(int64_t(r.TotalFrames)); });
        break;
    case 13:
        sortByNumber(s, n, o, [](const R& r) { return uint64_t(r.ExecutionTime); });
        break;
    case 15:
        sortByNumber(s, n, o, [](const R& r) { return uint64_t(r.AverageFrameTime); });
        break;
    case 18: // a float may be NaN: then it is neither below, above nor equal
        sortBy(
            s, n, o, [](SortEnt& e, const R& r) { e.F = r.AverageClients; },
            [](const SortEnt& a, const SortEnt& b) {
                if (a.F < b.F) return -1;
                if (a.F > b.F) return 1;
                if (a.F == b.F) return 0;
                return Unordered;
            });
        break;
    case 20:
        sortByNumber(s, n, o, [](const R& r) { return signedKey(int64_t(r.DateSend.t)); });
        break;
    case 21:
        sortByNumber(s, n, o, [](const R& r) { return signedKey(int64_t(r.DateFinished.t)); });
        break;
    default: // queue order
        break;
    }
}

} // namespace

void _JobList::sort()
{
    SortedCount = std::clamp(JobCount, 0, Capacity);
    const int n = SortedCount;
    if (n == 0) return;
    std::copy_n(Queue.get(), n, Sorted.get());
    if (!sortTextColumn(Sorted.get(), n, SortOrder, SortID))
        sortNumberColumn(Sorted.get(), n, SortOrder, SortID);
}

void _JobList::filter()
{
    if (FilterUser.isEmpty() && FilterProject.isEmpty() && FilterApp.isEmpty() && FilterText.isEmpty() &&
        FilterFlag1 && FilterFlag2 && FilterFlag3 && FilterFlag4 && FilterFlag5 &&
        FilterFinishedFrom == INT64_MIN && FilterFinishedTo == INT64_MAX)
        return;
    // Lowered as the stored keys are, so that a name taken from the jobs finds them.
    const QString user = fmFilterLower(FilterUser.left(25));
    const QString project = fmFilterLower(FilterProject.left(50));
    const fmFoldedNeedle text(FilterText);

    auto passes = [&](const _jobsHistoryDB_Runtime& r) {
        if (r.DateFinished.t < FilterFinishedFrom || r.DateFinished.t > FilterFinishedTo) return false;
        if (!FilterUser.isEmpty() && !equalsText(r.UserNameLower, user)) return false;
        if (!FilterProject.isEmpty() && !equalsText(r.CompanyProjectLower, project)) return false;
        if (!FilterApp.isEmpty() && !equalsText(r.Software, FilterApp) &&
            !equalsText(r.SoftwareAlias, FilterApp))
            return false;
        if (!FilterText.isEmpty()) {
            // Any one field decides; the identifier's text is built last as it costs the most.
            const bool found = text.foundIn(r.Software) || text.foundIn(r.Renderer) ||
                               text.foundIn(r.RenderType) || text.foundIn(r.UserName) ||
                               text.foundIn(r.CompanyProjectName) || text.foundIn(r.CustomVersionName) ||
                               text.foundIn(r.CustomSeQName) || text.foundIn(r.CustomSHotName) ||
                               text.foundIn(r.SceneName) || text.foundIn(r.SceneDatabaseDir) ||
                               text.foundIn(r.Camera) || text.foundIn(r.Layer) || text.foundIn(r.ImageDir) ||
                               text.foundIn(r.ImageFileName) || text.foundIn(r.ImageExtension) ||
                               text.foundIn(ID2str(r.JobID));
            if (found == FilterInvert) return false;
        }
        return true;
    };

    // Jobs that go are taken out and the rest close up in their order.
    int kept = 0;
    const int n = std::clamp(SortedCount, 0, Capacity);
    for (int k = 0; k < n; ++k)
        if (passes(*Sorted[k])) Sorted[kept++] = Sorted[k];
    SortedCount = kept;
}

void _JobList::SetFilter(const QString& user, const QString& project, const QString& app, const QString& text,
                         const bool& invert, const bool& flag1, const bool& flag2, const bool& flag3,
                         const bool& flag4, const bool& flag5)
{
    QWriteLocker lock(&LockJobs);
    FilterUser = user;
    FilterProject = project;
    FilterApp = app;
    FilterText = text;
    FilterInvert = invert;
    FilterFlag1 = flag1;
    FilterFlag2 = flag2;
    FilterFlag3 = flag3;
    FilterFlag4 = flag4;
    FilterFlag5 = flag5;
    sort();
    filter();
}

bool _JobList::SetSortID(int sortID, Qt::SortOrder order)
{
    if (SortID == sortID && SortOrder == int(order)) return false;
    QWriteLocker lock(&LockJobs);
    SortID = sortID;
    SortOrder = int(order);
    sort();
    filter();
    return true;
}

// ---- custom active list -------------------------------------------------------------------------

void _JobList::listCustomActive_BuildStart()
{
    CustomActiveSortedCount = 0;
}

void _JobList::listCustomActive_BuildAppend(_jobsHistoryDB_Runtime* job)
{
    if (job && CustomActiveSortedCount >= 0 && CustomActiveSortedCount < Capacity)
        CustomActiveSorted[CustomActiveSortedCount++] = job;
}

void _JobList::listCustomActive_BuildSort_User()
{
    fmQuicksort_2_JLCU(CustomActiveSorted.get(), CustomActiveSortedCount, false);
}

void _JobList::listCustomActive_BuildEnd()
{
    QWriteLocker lock(&LockSelection);
    const int n = std::clamp(CustomActiveSortedCount, 0, Capacity);
    std::copy_n(CustomActiveSorted.get(), n, CustomActive.get());
    CustomActiveCount = n;
    CustomActiveSortedCount = 0;
}

void _JobList::listCustomActive_Removejob(_jobsHistoryDB_Runtime* job)
{
    auto removeFrom = [this, job](_jobsHistoryDB_Runtime** a, int& count) {
        const int n = std::clamp(count, 0, Capacity);
        count = int(std::remove(a, a + n, job) - a);
    };
    removeFrom(CustomActive.get(), CustomActiveCount);
    removeFrom(CustomActiveSorted.get(), CustomActiveSortedCount);
}

namespace {
inline bool jlcuBelow(const _jobsHistoryDB_Runtime* a, const _jobsHistoryDB_Runtime* p, bool descending)
{
    int c = cmpBytes(a->UserNameLower, p->UserNameLower);
    if (descending) c = -c;
    if (c != 0) return c < 0;
    return a->QueueID < p->QueueID;
}
} // namespace

void fmQuicksort_2_JLCU(_jobsHistoryDB_Runtime** array, const int& count, const bool& descending)
{
    if (!array || count < 2) return;
    _jobsHistoryDB_Runtime* tmp = nullptr;
    fmQuicksort_2_JLCU_sub(array, 0, count - 1, descending, &tmp);
}

// Pivot from the middle, swapped to the right end; elements below it gathered on the left.
void fmQuicksort_2_JLCU_sub(_jobsHistoryDB_Runtime** a, int left, int right, const bool& descending,
                            _jobsHistoryDB_Runtime** tmp)
{
    while (left < right) {
        const int mid = left + (right - left) / 2;
        *tmp = a[mid];
        a[mid] = a[right];
        a[right] = *tmp;
        int store = left;
        for (int i = left; i < right; ++i) {
            if (jlcuBelow(a[i], a[right], descending)) {
                *tmp = a[i];
                a[i] = a[store];
                a[store] = *tmp;
                ++store;
            }
        }
        *tmp = a[store];
        a[store] = a[right];
        a[right] = *tmp;
        if (store - left < right - store) {
            fmQuicksort_2_JLCU_sub(a, left, store - 1, descending, tmp);
            left = store + 1;
        } else {
            fmQuicksort_2_JLCU_sub(a, store + 1, right, descending, tmp);
            right = store - 1;
        }
    }
}

// ---- case-insensitive search ---------------------------------------------------------------------

fmFoldedNeedle::fmFoldedNeedle(const QString& needle) : Needle(needle)
{
    Ascii = true;
    for (QChar c : needle)
        if (c.unicode() >= 0x80) Ascii = false;
    if (Ascii) {
        Lower.resize(needle.size());
        for (int i = 0; i < needle.size(); ++i) {
            char c = char(needle.at(i).unicode());
            if (c >= 'A' && c <= 'Z') c = char(c + 32);
            Lower[i] = c;
        }
    }
}

bool fmFoldedNeedle::foundIn(const char16_t* text, int len) const
{
    if (Needle.isEmpty()) return true;
    auto slow = [&]() { return QStringView(text, len).contains(Needle, Qt::CaseInsensitive); };
    if (!Ascii) return slow();
    // Some non-ASCII letters fold to ASCII ones (KELVIN SIGN to "k"): such text goes the long way.
    for (int i = 0; i < len; ++i)
        if (text[i] >= 0x80) return slow();
    const int n = int(Lower.size());
    if (n > len) return false;
    auto fold = [](char16_t c) { return char((c >= 'A' && c <= 'Z') ? c + 32 : c); };
    const char first = Lower[0];
    for (int i = 0; i + n <= len; ++i) {
        if (fold(text[i]) != first) continue;
        int k = 1;
        while (k < n && fold(text[i + k]) == Lower[k])
            ++k;
        if (k == n) return true;
    }
    return false;
}

} // namespace fmJ
