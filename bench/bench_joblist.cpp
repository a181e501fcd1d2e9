// Speed of the job list on the largest project: 15000 jobs with logs, client statistics and
// frame logs filled as a long render leaves them. Prints one figure a line, "name: value unit",
// and last "load/floor: R", the default load (sort column 0) against reading and inflating alone,
// and "save/load: R", writing the same jobs against loading them.

#include "joblist_fixtures.h"

#include "jobs/fmjobframe.h"
#include "jobs/fmjoblist.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QWriteLocker>

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

using namespace fmJ;

namespace {

constexpr int Jobs = 15000;

std::unique_ptr<_jobsHistoryDB> realisticRecord(int n, std::mt19937& rnd)
{
    auto r = jlfix::makeRecord(n);
    r->UserName = QStringLiteral("artist%1").arg(rnd() % 40);
    r->CompanyProjectName = QStringLiteral("Feature_%1").arg(rnd() % 3);
    r->SceneName = QStringLiteral("/mnt/projects/feature/seq%1/sh%2/lighting/scenes/sh%2_light_v%3.ma")
                       .arg(rnd() % 30, 3, 10, QLatin1Char('0'))
                       .arg(rnd() % 400, 4, 10, QLatin1Char('0'))
                       .arg(rnd() % 60, 3, 10, QLatin1Char('0'));
    r->ImageDir = QStringLiteral("/mnt/render/feature/sh%1/").arg(rnd() % 400);
    r->SeqStart = 1001;
    r->SeqEnd = 1001 + double(rnd() % 240);
    r->ImageChannelCount = int8_t(rnd() % 4);
    for (int c = 0; c < r->ImageChannelCount; ++c) {
        r->ImageChannels[c].FileName = QStringLiteral("/mnt/render/feature/pass%1/img_").arg(c);
    }
    const int clients = 20 + int(rnd() % 60);
    for (int c = 0; c < clients; ++c) {
        r->ClientStats[c].State[0] = uint8_t(rnd() % 4);
        r->ClientStats[c].FramesDone = int32_t(rnd() % 30);
    }
    const int logs = 50 + int(rnd() % 400);
    r->LogCount = int16_t(logs);
    uint32_t t = uint32_t(r->DateSend.t);
    for (int k = 0; k < logs; ++k) {
        _History_Log& e = r->Log[k];
        t += rnd() % 120;
        e.Time.t = int32_t(t);
        e.Message = int8_t(rnd() % 30);
        e.Who = int16_t(rnd() % uint32_t(clients));
        e.Param1 = uint16_t(1001 + rnd() % 240);
        e.Param2 = uint16_t(e.Param1 + rnd() % 5);
        e.Param3 = 1;
        e.FramesLeft = int16_t(rnd() % 240);
    }
    r->ErrorCount = int8_t(rnd() % 4);
    for (int k = 0; k < r->ErrorCount; ++k) {
        r->Errors[k].Who = int16_t(rnd() % uint32_t(clients));
        r->Errors[k].Code = int8_t(rnd() % 40);
        r->Errors[k].Time.t = int64_t(t) - int64_t(rnd() % 1000);
    }
    for (int k = 0; k < 200; ++k) {
        uint8_t* p = reinterpret_cast<uint8_t*>(&r->FrameLog[k]);
        for (size_t b = 0; b < sizeof(r->FrameLog[k]); ++b)
            p[b] = uint8_t(rnd() % 7);
    }
    r->ExecutionTime = rnd() % 200000;
    r->AverageFrameTime = rnd() % 3000;
    r->AverageClients = float(rnd() % 400) / 10.0f;
    r->TotalFrames = int32_t(r->SeqEnd - r->SeqStart + 1);
    return r;
}

void print(const char* name, double value, const char* unit)
{
    std::printf("%s: %.2f %s\n", name, value, unit);
    std::fflush(stdout);
}

double ms(const QElapsedTimer& t)
{
    return double(t.nsecsElapsed()) / 1e6;
}

// Reading the file and inflating every frame on one thread with the loader's own inflate, nothing
// else: what a loader on one core cannot beat.
double floorRun(const QString& path)
{
    QElapsedTimer t;
    t.start();
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return -1;
    const QByteArray all = f.readAll();
    std::vector<unsigned char> out(65460);
    const unsigned char* p = reinterpret_cast<const unsigned char*>(all.constData());
    qsizetype pos = 0;
    int frames = 0;
    while (pos + 64 <= all.size()) {
        uint32_t csize;
        std::memcpy(&csize, p + pos + 52, 4);
        if (pos + 64 + qsizetype(csize) > all.size()) break;
        frame::Header h;
        h.Compressed = csize;
        h.Stored = frame::SizeNow;
        h.ID = JobHistory_StructID;
        uint32_t len = 0;
        if (frame::inflateBody(h, p + pos + 64, csize, out.data(), len) == Z_OK) ++frames;
        pos += 64 + qsizetype(csize);
    }
    const double r = ms(t);
    if (frames != Jobs) std::fprintf(stderr, "floor: %d frames\n", frames);
    return r;
}

double loadRun(const QString& path, int sortID, _JobList*& keep)
{
    auto* l = new _JobList(FM, nullptr);
    l->SetSortID(sortID, Qt::AscendingOrder);
    QElapsedTimer t;
    t.start();
    l->LoadFileJobs(path);
    const double r = ms(t);
    if (l->JobCount != Jobs) std::fprintf(stderr, "load: %d jobs\n", l->JobCount);
    delete keep;
    keep = l;
    return r;
}

} // namespace

int main()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("feature.db"));
    {
        // The project file, written frame by frame as the farm writes it.
        std::mt19937 rnd(20260101);
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly)) return 1;
        for (int n = 0; n < Jobs; ++n)
            f.write(jlfix::frameOf(*realisticRecord(n, rnd)));
        std::printf("file: %.2f MB\n", double(f.size()) / 1048576.0);
    }

    double floorBest = 1e99;
    for (int k = 0; k < 3; ++k)
        floorBest = std::min(floorBest, floorRun(path));
    print("floor", floorBest, "ms");

    _JobList* list = nullptr;
    double load0 = 1e99;
    for (int k = 0; k < 3; ++k)
        load0 = std::min(load0, loadRun(path, 0, list));
    print("load_sort0", load0, "ms");
    print("load_sort1", loadRun(path, 1, list), "ms");
    print("load_sort8", loadRun(path, 8, list), "ms");

    double save = 0;
    {
        QElapsedTimer t;
        t.start();
        if (!list->SaveFileJobs(false, dir.filePath(QStringLiteral("saved.db")), false, QString()))
            std::fprintf(stderr, "save: %s\n", qPrintable(list->LastSaveError));
        save = ms(t);
        print("save", save, "ms");
    }

    for (int id : {-1, 0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 13, 15, 18, 20, 21, 24, 99}) {
        for (int order : {0, 1}) {
            QWriteLocker lock(&list->LockJobs);
            list->SortID = id;
            list->SortOrder = order;
            QElapsedTimer t;
            t.start();
            list->sort();
            const QByteArray name =
                QStringLiteral("sort_%1_%2").arg(id).arg(order ? "desc" : "asc").toLatin1();
            print(name.constData(), ms(t), "ms");
        }
    }
    {
        list->SetSortID(0, Qt::AscendingOrder);
        QElapsedTimer t;
        t.start();
        list->SetFilter(QString(), QString(), QString(), QStringLiteral("sh0123"), false, false, false, false,
                        false, true);
        print("filter_text", ms(t), "ms");
        std::printf("filter_text_kept: %d jobs\n", list->SortedCount);
        t.restart();
        list->SetFilter(QStringLiteral("ARTIST7"), QString(), QStringLiteral("Maya"), QString(), false, false,
                        false, false, false, true);
        print("filter_user_app", ms(t), "ms");
        list->SetFilter(QString(), QString(), QString(), QString(), false, true, true, true, true, true);
    }
    {
        QElapsedTimer t;
        t.start();
        list->exportAsCSV(dir.filePath(QStringLiteral("all.csv")), nullptr, nullptr, true, false);
        print("csv_all", ms(t), "ms");
    }
    unsigned int mb = 0;
    list->getMemoryUsage(mb);
    std::printf("memory: %u MB\n", mb);
    delete list;
    std::printf("load/floor: %.2f\n", load0 / floorBest);
    std::printf("save/load: %.2f\n", save / load0);
    return 0;
}
