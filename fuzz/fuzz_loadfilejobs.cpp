// libFuzzer target: a job database of any bytes must load without a crash, hang or read out of
// bounds, leave a consistent list, and survive sort, filter and CSV of what it loaded.

#include "app/fm.h"
#include "farm/fmgconfig.h"
#include "jobs/fmjoblist.h"

#include <QFile>
#include <QString>

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace {
fmJ::_JobList* List = nullptr;
QString Path;
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    for (int l = 0; l < 25; ++l)
        FM.cfg->LogLevel[l] = false; // quiet: millions of runs
    List = new fmJ::_JobList(FM, nullptr);
    Path = QStringLiteral("/tmp/fuzz_loadfilejobs_%1.db").arg(::getpid());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    {
        QFile f(Path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate)) return 0;
        f.write(reinterpret_cast<const char*>(data), qint64(size));
    }
    List->deleteAll();
    List->LoadFileJobs(Path);
    if (List->JobCount < 0 || List->JobCount > List->Allocated) std::abort();
    for (int i = 0; i < List->JobCount; ++i)
        if (List->Queue[i]->QueueID != i) std::abort();

    static const int columns[] = {-1, 0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 13, 15, 18, 20, 21, 24, 99};
    const int pick = size > 0 ? data[size - 1] : 0;
    List->SetSortID(columns[pick % 18], (pick & 0x80) ? Qt::DescendingOrder : Qt::AscendingOrder);
    List->SetFilter(QString(), QString(), QString(), (pick & 0x40) ? QStringLiteral("a") : QString(),
                    pick & 0x20, true, true, true, true, true);
    if (List->SortedCount > List->JobCount) std::abort();
    if (List->JobCount > 0) (void)fmJ::_JobList::csvLine(*List->Queue[0], FM);
    return 0;
}
