#include "jobs/fmjoblist.h"

#include "foundation/fmsdk.h"
#include "jobs/fmjoblist_p.h"

#include <QReadLocker>
#include <QWriteLocker>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace fmJ {

static_assert(sizeof(_jobsHistoryDB_Runtime) == 38104, "getMemoryUsage counts 38104 bytes a record");

const char _JobList::FrameMagic[45] = "     FMJob compr 01                         ";
static_assert(sizeof(_JobList::FrameMagic) == 45);
// Records are made by calloc and freed by free: a plain, trivially copied and destroyed record.
static_assert(std::is_trivially_copyable_v<_jobsHistoryDB_Runtime>);
static_assert(std::is_trivially_destructible_v<_jobsHistoryDB_Runtime>);

_JobList::_JobList(__FMSDK& app, _JobList* copyOf)
    : CustomActiveSorted(new _jobsHistoryDB_Runtime*[MaxJobs]()), MoveJobs(new _JobCommandSend[MaxMoveJobs]),
      Queue(new _jobsHistoryDB_Runtime*[MaxJobs]()), Sorted(new _jobsHistoryDB_Runtime*[MaxJobs]()),
      Selection(new _jobsHistoryDB_Runtime*[MaxJobs]()), CustomActive(new _jobsHistoryDB_Runtime*[MaxJobs]())
{
    App = &app;
    if (app.AppType == fm_AppType_Submitter) SortOrder = 0;
    if (copyOf) {
        IsCopy = true;
        QReadLocker lock(&copyOf->LockJobs);
        if (copyOf->Capacity > Capacity) {
            Capacity = copyOf->Capacity;
            Queue.reset(new _jobsHistoryDB_Runtime*[size_t(Capacity)]());
            Sorted.reset(new _jobsHistoryDB_Runtime*[size_t(Capacity)]());
            Selection.reset(new _jobsHistoryDB_Runtime*[size_t(Capacity)]());
            CustomActive.reset(new _jobsHistoryDB_Runtime*[size_t(Capacity)]());
            CustomActiveSorted.reset(new _jobsHistoryDB_Runtime*[size_t(Capacity)]());
        }
        std::copy_n(copyOf->Queue.get(), Capacity, Queue.get());
        JobCount = copyOf->JobCount;
        Allocated = copyOf->Allocated;
        MoveJobsCount = copyOf->MoveJobsCount;
        std::copy_n(copyOf->MoveJobs.get(), MaxMoveJobs, MoveJobs.get());
    } else {
        QWriteLocker lock(&LockJobs);
        allocateBlock();
    }
    {
        QWriteLocker lock(&LockJobs);
        sort();
    }
    SetFilter(QString(), QString(), QString(), QString(), false, true, true, true, true, true);
}

_JobList::~_JobList()
{
    if (!IsCopy) freeAll();
}

void _JobList::freeAll()
{
    for (int i = 0; i < Capacity; ++i) {
        std::free(Queue[i]);
        Queue[i] = nullptr;
    }
    Allocated = 0;
    JobCount = 0;
}

// Adds up to AllocBlock zero-filled spare records behind Allocated. False when memory ran out;
// the records made before the failure stay.
bool _JobList::allocateBlock()
{
    if (Allocated + AllocBlock > Capacity && !grow()) return false;
    const int n = AllocBlock;
    for (int k = 0; k < n; ++k) {
        // calloc gives the zero-filled record (a plain record: zero is its constructed state) without
        // a constructor pass over its 38 KB; freed by free().
        auto* r = static_cast<_jobsHistoryDB_Runtime*>(std::calloc(1, sizeof(_jobsHistoryDB_Runtime)));
        if (!r) {
            App->WriteLog(0, 0, QStringLiteral("{ALL} Unable to create new job object; No Memory Left?"),
                          QStringLiteral("_JobList,GetNewJob"));
            return false;
        }
        r->QueueID = -1;
        Queue[Allocated++] = r;
    }
    return n > 0;
}

// Doubles the places of the five arrays; the old pointers are copied. No limit but memory: when
// that runs out, the list says so and keeps what it has.
bool _JobList::grow()
{
    const long long wanted = std::max<long long>(2LL * Capacity, Capacity + AllocBlock);
    if (wanted > std::numeric_limits<int>::max() / 2) return false;
    const size_t n = size_t(wanted);
    std::unique_ptr<_jobsHistoryDB_Runtime*[]> arrays[5];
    for (auto& a : arrays) {
        a.reset(new (std::nothrow) _jobsHistoryDB_Runtime*[n]());
        if (!a) {
            App->WriteLog(
                0, 0,
                QStringLiteral("{ALL} Not enough memory for more than %1 jobs (%2 Mb more needed)")
                    .arg(Capacity)
                    .arg(double(n - size_t(Capacity)) * double(sizeof(_jobsHistoryDB_Runtime)) / 1048576.0, 0,
                         'f', 1),
                QStringLiteral("_JobList,GetNewJob"));
            return false;
        }
    }
    std::unique_ptr<_jobsHistoryDB_Runtime*[]>* mine[5] = {&Queue, &Sorted, &Selection, &CustomActive,
                                                           &CustomActiveSorted};
    for (int k = 0; k < 5; ++k) {
        std::copy_n(mine[k]->get(), Capacity, arrays[k].get());
        *mine[k] = std::move(arrays[k]);
    }
    Capacity = int(wanted);
    return true;
}

void _JobList::viewChanged()
{
    if (ViewBatchDepth > 0) {
        ViewBatchPending = true;
        return;
    }
    sort();
    filter();
}

_jobsHistoryDB_Runtime* _JobList::GetNewJob(_JobSend*, unsigned short)
{
    if (IsCopy) return nullptr;
    QWriteLocker lock(&LockJobs);
    if (Allocated < JobCount + 1) {
        if (!allocateBlock() || Allocated < JobCount + 1) return nullptr;
    }
    _jobsHistoryDB_Runtime* job = Queue[JobCount];
    std::memset(static_cast<void*>(job), 0, sizeof(*job));
    job->QueueID = JobCount;
    ++JobCount;
    viewChanged();
    TimeChanged.SetCurrentTime();
    return job;
}

void _JobList::DeleteJob(_jobsHistoryDB_Runtime* job)
{
    if (IsCopy || !job) return;
    QWriteLocker lock(&LockJobs);
    listCustomActive_Removejob(job);
    int idx = -1;
    for (int i = 0; i < JobCount; ++i) {
        if (Queue[i] == job) {
            idx = i;
            break;
        }
    }
    if (idx < 0) return;
    // Close the gap: the later jobs move one place down; the record goes behind them for reuse.
    int k = idx;
    while (k + 1 < Allocated && Queue[k + 1] && Queue[k + 1]->QueueID >= 1) {
        Queue[k] = Queue[k + 1];
        Queue[k]->QueueID -= 1;
        ++k;
    }
    Queue[k] = job;
    job->QueueID = -1;
    if (Allocated > JobCount + AllocBlock) {
        for (int n = 0; n < 5 && Allocated > 0; ++n) {
            --Allocated;
            std::free(Queue[Allocated]);
            Queue[Allocated] = nullptr;
        }
    }
    --JobCount;
    viewChanged();
}

void _JobList::deleteAll()
{
    if (IsCopy) return;
    QWriteLocker lock(&LockJobs);
    for (int i = 0; i < Allocated; ++i)
        if (Queue[i]) Queue[i]->QueueID = -1;
    JobCount = 0;
    CustomActiveCount = 0;
    CustomActiveSortedCount = 0;
    Sources.clear();
    viewChanged();
}

void _JobList::swapJobs(_JobList& other)
{
    if (IsCopy || other.IsCopy || &other == this) return;
    QWriteLocker mine(&LockJobs);
    QWriteLocker theirs(&other.LockJobs);
    std::swap(Allocated, other.Allocated);
    std::swap(Capacity, other.Capacity);
    std::swap(JobCount, other.JobCount);
    std::swap(SelectedCount, other.SelectedCount);
    std::swap(CustomActiveCount, other.CustomActiveCount);
    std::swap(CustomActiveSortedCount, other.CustomActiveSortedCount);
    std::swap(Queue, other.Queue);
    std::swap(Sorted, other.Sorted);
    std::swap(Selection, other.Selection);
    std::swap(CustomActive, other.CustomActive);
    std::swap(CustomActiveSorted, other.CustomActiveSorted);
    std::swap(TimeLoaded, other.TimeLoaded);
    std::swap(TimeChanged, other.TimeChanged);
    std::swap(TimeSaved, other.TimeSaved);
    std::swap(Sources, other.Sources);
    std::swap(LastLoad, other.LastLoad);
    // Each list's view is rebuilt with its own filter and order.
    sort();
    filter();
    other.sort();
    other.filter();
}

bool _JobList::isValidJob(_jobsHistoryDB_Runtime* job)
{
    if (!job) return false;
    QReadLocker lock(&LockJobs);
    for (int i = 0; i < JobCount; ++i)
        if (Queue[i] == job) return job->QueueID >= 0;
    return false;
}

_jobsHistoryDB_Runtime* _JobList::GetJobByQueueID(const int& id)
{
    QReadLocker lock(&LockJobs);
    if (id < 0 || id >= JobCount) return nullptr;
    return Queue[id];
}

_jobsHistoryDB_Runtime* _JobList::GetJobBySortedID(const int& id)
{
    QReadLocker lock(&LockJobs);
    if (id < 0 || id >= SortedCount) return nullptr;
    return Sorted[id];
}

_jobsHistoryDB_Runtime* _JobList::GetJobByJobID(unsigned long long id)
{
    if (id < 1000) return nullptr;
    QReadLocker lock(&LockJobs);
    for (int i = 0; i < JobCount; ++i)
        if (Queue[i]->JobID == id) return Queue[i];
    return nullptr;
}

void _JobList::getMemoryUsage(unsigned int& megabytes)
{
    QReadLocker lock(&LockJobs);
    megabytes = static_cast<unsigned int>((static_cast<unsigned long long>(Allocated) * 38104ULL) >> 20);
}

void _JobList::addMoveJobs(const _JobCommandSend& cmd)
{
    if (IsCopy || MoveJobsCount >= MaxMoveJobs) return;
    MoveJobs[MoveJobsCount++] = cmd;
}

void _JobList::applyMoveJobs()
{
    if (IsCopy || MoveJobsCount <= 0) return;
    QWriteLocker lock(&LockJobs);
    const int nCmd = std::min(MoveJobsCount, MaxMoveJobs);
    for (int c = 0; c < nCmd; ++c) {
        const _JobCommandSend& cmd = MoveJobs[c];
        if (cmd.Count == 0 || JobCount <= 0) continue;
        const int nIDs = std::clamp<int>(cmd.Count, 0, int(sizeof(cmd.IDs) / sizeof(cmd.IDs[0])));
        if (nIDs == 0) continue;
        auto findPos = [this](unsigned long long id) {
            for (int i = 0; i < JobCount; ++i)
                if (Queue[i]->JobID == id) return i;
            return -1;
        };
        // The target is where the first named job stands; without it, the stored position.
        int target = findPos(cmd.IDs[0]);
        if (target < 0) target = std::clamp<int>(cmd.Command, 0, JobCount - 1);
        for (int n = 0; n < nIDs; ++n) {
            const int p = findPos(cmd.IDs[n]);
            if (p < 0 || p == target) continue;
            _jobsHistoryDB_Runtime* job = Queue[p];
            if (p > target)
                std::move_backward(Queue.get() + target, Queue.get() + p, Queue.get() + p + 1);
            else
                std::move(Queue.get() + p + 1, Queue.get() + target + 1, Queue.get() + p);
            Queue[target] = job;
            for (int i = 0; i < JobCount; ++i)
                Queue[i]->QueueID = i;
        }
    }
    TimeChanged.SetCurrentTime();
    MoveJobsCount = 0;
    viewChanged();
}

void _JobList::CreateSelectionList()
{
    QReadLocker lock(&LockJobs);
    SelectedCount = 0;
    const int n = std::clamp(SortedCount, 0, Capacity);
    for (int i = 0; i < n; ++i) {
        _jobsHistoryDB_Runtime* job = Sorted[i];
        if (job && job->QueueID >= 0 && job->Selected) Selection[SelectedCount++] = job;
    }
}

} // namespace fmJ
