#include "browser/fmhistorysummary.h"

#include "browser/fmhistoryframes.h"
#include "foundation/fmfile.h"
#include "foundation/fmjobid.h"

#include <QFile>
#include <QHash>
#include <QThread>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentMap>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace {

void listFolder(const QString& folder, QList<fmHistoryFile>& out, QHash<QString, QString>& names)
{
    fmDirListing files;
    files.addEndsWithFilter(QStringLiteral(".db61"));
    files.addEndsWithFilter(QStringLiteral(".db"));
    if (!files.init(folder, true, false, true, false)) return;
    while (files.nextFile()) {
        if (files.isDir()) continue;
        fmHistoryFile f;
        f.Path = files.dirFileName();
        fmTime_t time;
        long long size = 0;
        files.fileTime(time);
        files.fileSize(size);
        f.Size = size;
        f.MTime = time.t;
        const QString name = GetFileNameBase(f.Path, '/');
        // Shot.db and SHOT.db61 are one project, named as it came first.
        auto it = names.constFind(name.toLower());
        if (it == names.constEnd()) it = names.insert(name.toLower(), name);
        f.Project = it.value();
        out.append(f);
    }
}

} // namespace

QList<fmHistoryFile> fmListHistoryFiles(const QString& historyFolder)
{
    QList<fmHistoryFile> out;
    QHash<QString, QString> names;
    listFolder(historyFolder, out, names);
    // Subfolders whose name begins with "__" hold archived files of the same projects.
    fmDirListing dirs;
    if (dirs.init(historyFolder, true, true, true, false)) {
        while (dirs.nextFile())
            if (dirs.isDir() && dirs.fileName().startsWith(QLatin1String("__")))
                listFolder(dirs.dirFileName() + QLatin1Char('/'), out, names);
    }
    return out;
}

uint64_t fmRecordTexts::hash(const char* bytes, uint32_t n)
{
    // Eight bytes a step, each mixed by a multiply: texts are short, a few dozen units.
    uint64_t h = 0x9E3779B97F4A7C15ull ^ n;
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, bytes + i, 8);
        h = (h ^ w) * 0xFF51AFD7ED558CCDull;
        h ^= h >> 29;
    }
    if (i < n) {
        uint64_t w = 0;
        std::memcpy(&w, bytes + i, n - i);
        h = (h ^ w) * 0xFF51AFD7ED558CCDull;
    }
    h ^= h >> 32;
    return h * 0xC4CEB9FE1A85EC53ull;
}

const QString* fmRecordTexts::find(uint64_t h, const char* bytes, uint32_t n) const
{
    if (Slots.empty()) return nullptr;
    const size_t mask = Slots.size() - 1;
    for (size_t i = size_t(h) & mask;; i = (i + 1) & mask) {
        const Slot& s = Slots[i];
        if (!s.Used) return nullptr;
        if (s.Hash == h && s.Len == n && std::memcmp(Keys.data() + s.At, bytes, n) == 0) return &s.Text;
    }
}

QString fmRecordTexts::add(uint64_t h, const char* bytes, uint32_t n, const QString& text)
{
    if (2 * (Used + 1) > Slots.size()) {
        std::vector<Slot> old(std::max<size_t>(64, Slots.size() * 2));
        old.swap(Slots);
        const size_t mask = Slots.size() - 1;
        for (Slot& s : old) {
            if (!s.Used) continue;
            size_t i = size_t(s.Hash) & mask;
            while (Slots[i].Used)
                i = (i + 1) & mask;
            Slots[i] = std::move(s);
        }
    }
    const size_t mask = Slots.size() - 1;
    size_t i = size_t(h) & mask;
    while (Slots[i].Used)
        i = (i + 1) & mask;
    Slots[i] = {h, Keys.size(), n, text, true};
    Keys.append(bytes, n);
    ++Used;
    return text;
}

fmHistoryFileScan fmScanHistoryFile(const QString& path,
                                    const std::function<void(const fmJ::_jobsHistoryDB*)>& onJob,
                                    const std::atomic<bool>* cancel, std::atomic<qint64>* bytesDone)
{
    fmHistoryFileScan out;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        out.Error = QStringLiteral("unable to open: ") + f.errorString();
        return out;
    }
    fmFrames::Reader reader;
    if (!reader.isValid()) {
        out.Error = QStringLiteral("no memory left");
        return out;
    }
    for (;;) {
        if (cancel && cancel->load(std::memory_order_relaxed)) {
            out.Error = QStringLiteral("cancelled");
            break;
        }
        fmFrames::Header h;
        const fmFrames::Next n = reader.next(f, h);
        if (bytesDone) bytesDone->fetch_add(reader.frameBytes(), std::memory_order_relaxed);
        if (n == fmFrames::Next::EndOfFile) break;
        if (n != fmFrames::Next::Frame) {
            out.Error =
                n == fmFrames::Next::FormatError ? QStringLiteral("format error at byte %1").arg(f.pos())
                : n == fmFrames::Next::TooLarge  ? QStringLiteral("frame too large at byte %1").arg(f.pos())
                                                 : QStringLiteral("unable to read at byte %1").arg(f.pos());
            break;
        }
        const fmJ::_jobsHistoryDB* rec = nullptr;
        const fmFrames::Outcome o = reader.decode(h, rec);
        if (o == fmFrames::Outcome::Skipped) continue;
        if (o == fmFrames::Outcome::Failed) {
            ++out.FailedFrames;
            continue;
        }
        onJob(o == fmFrames::Outcome::Job ? rec : nullptr);
    }
    return out;
}

fmHistoryFileSummary fmSummarizeFile(const fmHistoryFile& file, const fmClientSpeeds& speeds,
                                     const std::atomic<bool>* cancel, std::atomic<qint64>* bytesDone)
{
    fmHistoryFileSummary out;
    out.File = file;
    // A table a column: the small ones (users, programs) stay in the processor's cache.
    fmRecordTexts users, programs, renderers, scenes, cameras, layers;
    fmJ::_ClientSpeed none{0.0f, 0};
    const fmJ::_ClientSpeed* speedData = speeds.empty() ? &none : speeds.data();
    const int speedCount = int(std::min<size_t>(speeds.size(), size_t(fmJ::JobClients_Max)));
    out.Jobs.reserve(size_t(std::min<qint64>(file.Size / 1500 + 1, 100000)));
    const fmHistoryFileScan scan = fmScanHistoryFile(
        file.Path,
        [&](const fmJ::_jobsHistoryDB* rec) {
            fmJobSummary s;
            if (rec) {
                s.JobID = rec->JobID;
                s.IdText = fmJ::ID2strFull(rec->JobID);
                s.User = users.get(rec->UserName);
                s.Software = programs.get(rec->Software);
                s.Renderer = renderers.get(rec->Renderer);
                s.Scene = scenes.get(rec->SceneName);
                s.Camera = cameras.get(rec->Camera);
                s.Layer = layers.get(rec->Layer);
                s.DateSend = rec->DateSend.t;
                s.DateFinished = rec->DateFinished.t;
                s.ExecutionTime = rec->ExecutionTime;
                s.Frames = fmJ::fmJobFrames(*rec);
                s.TotalPS = rec->TotalPS;
                s.GhzHours = fmJ::fmJobGhzHours(*rec, speedData, speedCount);
                s.Errors = rec->errorCountClamped();
            }
            out.Jobs.push_back(std::move(s));
        },
        cancel, bytesDone);
    out.FailedFrames = scan.FailedFrames;
    out.Error = scan.Error;
    return out;
}

QString fmHistorySummary::projectOf(const fmJobSummary& job) const
{
    return job.File >= 0 && job.File < Files.size() ? Files[job.File].Project : QString();
}

fmHistorySummary fmHistorySummaryReader::read(const QString& historyFolder)
{
    Cancel.store(false);
    fmHistorySummary out;
    for (const fmHistoryFile& f : fmListHistoryFiles(historyFolder)) {
        if (!Projects.isEmpty()) {
            bool wanted = false;
            for (const QString& p : Projects)
                wanted = wanted || p.compare(f.Project, Qt::CaseInsensitive) == 0;
            if (!wanted) continue;
        }
        out.Files.append(f);
    }

    const fmHistorySummaryCache cache(CacheFolder);
    std::vector<fmHistoryFileSummary> parts(size_t(out.Files.size()));
    // Largest files first, so that no core is left with a big file at the end.
    std::vector<int> order(parts.size());
    qint64 total = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        order[i] = int(i);
        total += out.Files[int(i)].Size;
    }
    std::sort(order.begin(), order.end(),
              [&](int a, int b) { return out.Files[a].Size > out.Files[b].Size; });

    std::atomic<qint64> done{0};
    auto work = [&](int i) {
        const fmHistoryFile& f = out.Files[i];
        fmHistoryFileSummary& part = parts[size_t(i)];
        if (cache.load(f, Speeds, part)) {
            done.fetch_add(f.Size, std::memory_order_relaxed);
            return;
        }
        part = fmSummarizeFile(f, Speeds, &Cancel, &done);
        if (part.Error != QLatin1String("cancelled")) cache.store(part, Speeds);
    };
    QThreadPool pool;
    pool.setMaxThreadCount(std::max(1, QThread::idealThreadCount()));
    QFuture<void> future = QtConcurrent::map(&pool, order, work);
    while (!future.isFinished()) {
        QThread::msleep(30);
        if (OnProgress) OnProgress(std::min(done.load(), total), total);
    }
    future.waitForFinished();
    if (OnProgress) OnProgress(total, total);

    out.Cancelled = Cancel.load();
    size_t count = 0;
    for (const fmHistoryFileSummary& p : parts)
        count += p.Jobs.size();
    out.Jobs.reserve(count);
    for (size_t i = 0; i < parts.size(); ++i) {
        fmHistoryFileSummary& p = parts[i];
        if (p.FromCache) ++out.CachedFiles;
        out.FailedFrames += p.FailedFrames;
        if (p.damaged() && p.Error != QLatin1String("cancelled")) {
            QString why = p.Error;
            if (p.FailedFrames > 0)
                why = (why.isEmpty() ? QString() : why + QStringLiteral("; ")) +
                      QStringLiteral("%1 damaged frame(s)").arg(p.FailedFrames);
            out.DamagedFiles.append(p.File.Path + QStringLiteral(": ") + why);
        }
        for (fmJobSummary& j : p.Jobs) {
            j.File = int(i);
            out.Jobs.push_back(std::move(j));
        }
        std::vector<fmJobSummary>().swap(p.Jobs);
    }
    return out;
}
