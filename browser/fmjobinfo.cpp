#include "browser/fmjobinfo.h"

#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjoblist.h"

#include <QStringList>

#include <cstdint>
#include <cstring>

using fmJ::_jobsHistoryDB_Runtime;

namespace {

// Two send or finish times up to this many seconds apart count as equal.
constexpr uint64_t TimeTolerance = 120;
// Two average frame times up to this many seconds apart count as equal.
constexpr uint64_t FrameTimeTolerance = 30;

// |a - b| without overflow, also for the extreme values a damaged record may hold.
uint64_t absDiff(int64_t a, int64_t b)
{
    return a > b ? uint64_t(a) - uint64_t(b) : uint64_t(b) - uint64_t(a);
}

// Same length and the same units: case matters here, unlike fmString::compare.
template <int N> bool sameText(const fmString<N>& a, const fmString<N>& b)
{
    const int n = a.len();
    return n == b.len() && std::memcmp(a.Data, b.Data, size_t(n) * sizeof(a.Data[0])) == 0;
}

// The first `prefix.len()` units of `other` equal those of `prefix`; else the index of the first
// unit that differs or that `other` lacks.
template <int N> int firstDifference(const fmString<N>& prefix, const fmString<N>& other, int limit)
{
    const int n = std::min(prefix.len(), limit);
    const int m = std::min(n, other.len());
    for (int i = 0; i < m; ++i)
        if (prefix.Data[i] != other.Data[i]) return i;
    return m;
}

int64_t timeOf(const fmTimePacked& p)
{
    return p.t;
}

class Selection
{
public:
    Selection(const _jobsHistoryDB_Runtime* const* jobs, int count) : Jobs(jobs), Count(count) {}

    const _jobsHistoryDB_Runtime& first() const { return *Jobs[0]; }

    // True when at least two jobs are selected and one of them differs from the first by `differs`.
    template <class Differs> bool anyDiffers(Differs differs) const
    {
        if (Count < 2) return false;
        const _jobsHistoryDB_Runtime& j = first();
        for (int i = 1; i < Count; ++i)
            if (Jobs[i] && differs(j, *Jobs[i])) return true;
        return false;
    }

    // `text` of the first job, red when the jobs don't share it.
    template <class Differs> QString value(const QString& text, Differs differs) const
    {
        return anyDiffers(differs) ? fmJobInfoRed(text) : text;
    }

private:
    const _jobsHistoryDB_Runtime* const* Jobs;
    int Count;
};

QString sceneOSText(uint8_t os)
{
    switch (os) {
    case 1:
        return QStringLiteral("Scene created on: Windows");
    case 2:
        return QStringLiteral("Scene created on: Linux");
    case 3:
        return QStringLiteral("Scene created on: Mac");
    default:
        return QStringLiteral("Scene created on: unknown");
    }
}

QString g6(double v)
{
    return QString::number(v, 'g', 6);
}

QString outputText(const _jobsHistoryDB_Runtime& j)
{
    return j.ImageDir.toQString() + j.ImageFileName.toQString() + QLatin1Char('#') +
           j.ImageExtension.toQString();
}

} // namespace

QString fmJobInfoRed(const QString& text)
{
    return QStringLiteral("<font color=\"red\">") + text + QStringLiteral("</font>");
}

int fmJobInfoOutputSplit(const _jobsHistoryDB_Runtime* const* jobs, int count)
{
    if (!jobs || count < 1 || !jobs[0]) return -1;
    const _jobsHistoryDB_Runtime& j = *jobs[0];
    const int dirLen = j.ImageDir.len();
    if (dirLen == 0) return -1;

    // The directory: the smallest index at which any job differs. Only J's length is compared, so
    // a directory that merely extends J's agrees.
    int n = dirLen;
    for (int i = 1; i < count && n > 0; ++i)
        if (jobs[i]) n = firstDifference(j.ImageDir, jobs[i]->ImageDir, n);
    if (n < dirLen) return n;

    // Same directories: a difference behind them splits at the directory, never inside a name.
    for (int i = 1; i < count; ++i) {
        const _jobsHistoryDB_Runtime* o = jobs[i];
        if (!o) continue;
        if (firstDifference(j.ImageFileName, o->ImageFileName, j.ImageFileName.len()) <
                j.ImageFileName.len() ||
            firstDifference(j.ImageExtension, o->ImageExtension, j.ImageExtension.len()) <
                j.ImageExtension.len())
            return dirLen;
    }
    return int(outputText(j).size());
}

namespace {

// Scene OS, the identifiers, camera and layer.
void fillIdentity(const Selection& sel, const _jobsHistoryDB_Runtime* const* jobs, int count,
                  fmJobInfoTexts& t)
{
    const _jobsHistoryDB_Runtime& j = sel.first();
    t.SceneOS = sel.value(sceneOSText(j.SceneOS), [](auto& a, auto& b) { return a.SceneOS != b.SceneOS; });

    QStringList ids;
    ids.reserve(count);
    for (int i = 0; i < count; ++i)
        if (jobs[i]) ids.append(fmJ::ID2str(jobs[i]->JobID));
    t.ID = ids.join(QStringLiteral(", "));

    t.Camera =
        sel.value(j.Camera.toQString(), [](auto& a, auto& b) { return !sameText(a.Camera, b.Camera); });
    t.Layer = sel.value(j.Layer.toQString(), [](auto& a, auto& b) { return !sameText(a.Layer, b.Layer); });
}

// Sent and finished, each as a date and a time of day.
void fillDates(const Selection& sel, fmJobInfoTexts& t)
{
    const _jobsHistoryDB_Runtime& j = sel.first();
    const fmTime_t send = j.DateSend;
    t.Date = sel.value(send.asStringDate(), [](auto& a, auto& b) {
        return fmTime_t(a.DateSend).getTotalDays(0) != fmTime_t(b.DateSend).getTotalDays(0);
    });
    t.Time = sel.value(send.daytimeAsString(), [](auto& a, auto& b) {
        return absDiff(timeOf(a.DateSend), timeOf(b.DateSend)) > TimeTolerance;
    });
    const fmTime_t finished = j.DateFinished;
    t.DateFinished = sel.value(finished.asStringDate(), [](auto& a, auto& b) {
        return fmTime_t(a.DateFinished).getTotalDays(0) != fmTime_t(b.DateFinished).getTotalDays(0);
    });
    t.TimeFinished = sel.value(finished.daytimeAsString(), [](auto& a, auto& b) {
        return absDiff(timeOf(a.DateFinished), timeOf(b.DateFinished)) > TimeTolerance;
    });
}

// The custom job name and the render application.
void fillNames(const Selection& sel, fmJobInfoTexts& t)
{
    const _jobsHistoryDB_Runtime& j = sel.first();
    t.CustomScene = sel.value(j.CustomSeQName.toQString(),
                              [](auto& a, auto& b) { return !sameText(a.CustomSeQName, b.CustomSeQName); });
    t.CustomShot = sel.value(j.CustomSHotName.toQString(),
                             [](auto& a, auto& b) { return !sameText(a.CustomSHotName, b.CustomSHotName); });
    t.CustomVersion = sel.value(j.CustomVersionName.toQString(), [](auto& a, auto& b) {
        return !sameText(a.CustomVersionName, b.CustomVersionName);
    });
    t.SoftName =
        sel.value(j.Software.toQString(), [](auto& a, auto& b) { return !sameText(a.Software, b.Software); });
    t.SoftRenderer =
        sel.value(j.Renderer.toQString(), [](auto& a, auto& b) { return !sameText(a.Renderer, b.Renderer); });
    t.SoftRenderType = sel.value(j.RenderType.toQString(),
                                 [](auto& a, auto& b) { return !sameText(a.RenderType, b.RenderType); });
    t.SoftVersion = sel.value(QStringLiteral("%1.").arg(int(j.Version)),
                              [](auto& a, auto& b) { return a.Version != b.Version; });
    t.SoftVersionMinor = sel.value(fmJ::getVersionMinorDisplay(j.VersionMinor),
                                   [](auto& a, auto& b) { return a.VersionMinor != b.VersionMinor; });
}

// Output file, frame range and step.
void fillOutputAndRange(const Selection& sel, const _jobsHistoryDB_Runtime* const* jobs, int count,
                        fmJobInfoTexts& t)
{
    const _jobsHistoryDB_Runtime& j = sel.first();
    // Output file and frame range. Doubles compare by value; a NaN from a damaged record never
    // equals anything and so shows red.
    const int split = fmJobInfoOutputSplit(jobs, count);
    if (split >= 0) {
        const QString text = outputText(j);
        if (split > 0)
            t.Output1a = text.left(split);
        else
            t.KeepOutput1a = true;
        t.Output1b = text.mid(split);
    }

    const double seqStart = j.SeqStart, seqEnd = j.SeqEnd, seqStep = j.SeqStep;
    t.FrameRangeStart =
        sel.value(g6(seqStart), [](auto& a, auto& b) { return double(a.SeqStart) != double(b.SeqStart); });
    t.FrameRangeEnd = sel.value(QStringLiteral("- ") + g6(seqEnd),
                                [](auto& a, auto& b) { return double(a.SeqEnd) != double(b.SeqEnd); });
    if (sel.anyDiffers([](auto& a, auto& b) { return double(a.SeqStep) != double(b.SeqStep); }))
        t.FrameRangeStep = fmJobInfoRed(QStringLiteral(", ") + g6(seqStep));
    else if (seqStep != 1.0)
        t.FrameRangeStep = QStringLiteral(", ") + g6(seqStep);
}

// Clients, frame counts and frame time.
void fillCounts(const Selection& sel, fmJobInfoTexts& t)
{
    const _jobsHistoryDB_Runtime& j = sel.first();
    const float avClients = j.AverageClients;
    t.AvClients = sel.value(QString::number(double(avClients), 'f', 1), [](auto& a, auto& b) {
        return float(a.AverageClients) != float(b.AverageClients);
    });
    t.Send = sel.value(QString::number(j.FramesSend),
                       [](auto& a, auto& b) { return a.FramesSend != b.FramesSend; });
    t.Aborted = sel.value(QString::number(j.FramesAborted),
                          [](auto& a, auto& b) { return a.FramesAborted != b.FramesAborted; });
    t.Crashed = sel.value(QString::number(j.FramesCrashed),
                          [](auto& a, auto& b) { return a.FramesCrashed != b.FramesCrashed; });

    // The stored frame time is unsigned; it is read as signed, so a damaged huge value counts as
    // "none" (0 or below) rather than as a time of decades.
    const int32_t frameTime = int32_t(j.AverageFrameTime);
    if (sel.anyDiffers([](auto& a, auto& b) {
            return absDiff(int32_t(a.AverageFrameTime), int32_t(b.AverageFrameTime)) > FrameTimeTolerance;
        }))
        t.AvFrameTime = fmJobInfoRed(fmSec2ms(frameTime));
    else if (frameTime > 0)
        t.AvFrameTime = fmSec2ms(frameTime);
}

} // namespace

fmJobInfoTexts fmJobInfoPageTexts(const _jobsHistoryDB_Runtime* const* jobs, int count)
{
    fmJobInfoTexts t;
    if (!jobs || count < 1 || !jobs[0]) return t;
    t.Empty = false;
    const Selection sel(jobs, count);
    fillIdentity(sel, jobs, count, t);
    fillDates(sel, t);
    fillNames(sel, t);
    fillOutputAndRange(sel, jobs, count, t);
    fillCounts(sel, t);
    return t;
}

fmJobInfoImage fmJobInfoImageFor(const _jobsHistoryDB_Runtime* const* jobs, int count,
                                 const QString& historyFolder, const QString& project)
{
    fmJobInfoImage img;
    if (!jobs || count < 1 || !jobs[0]) return img;
    img.What = fmJobInfoImage::ShowText;
    if (count != 1) {
        img.Text = QStringLiteral("(multiple jobs selected)");
        return img;
    }
    const QString path =
        historyFolder + project + QLatin1Char('/') + fmJ::ID2strFull(jobs[0]->JobID) + QStringLiteral(".jpg");
    if (!fmPathExists(path)) {
        img.Text = QStringLiteral("N/A");
        return img;
    }
    QString why;
    if (!fmReadRegularFile(path, fmFileCap::Image, img.Bytes, &why)) {
        img.Text =
            QStringLiteral("Unable to read '%1': %2").arg(fmPathForDisplay(GetFileName(path, '/')), why);
        return img;
    }
    img.What = fmJobInfoImage::ShowPixmap;
    img.Path = path;
    return img;
}
