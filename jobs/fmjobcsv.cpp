// CSV export of jobs for a spreadsheet: one line a job, every value followed by ";" (the last
// one too), lines ending in "\r\n", text in the local 8-bit encoding.

#include "jobs/fmjoblist.h"

#include "foundation/fmsdk.h"

#include <QFile>

#include <cmath>
#include <cstring>
#include <limits>

namespace fmJ {

namespace {

// Rounded half away from zero, as an integer; values beyond the int range are held at its ends
// and NaN gives 0, so a damaged record still writes a number.
long long roundToInt(double v)
{
    if (std::isnan(v)) return 0;
    const double r = std::round(v);
    if (r <= double(std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    if (r >= double(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
    return static_cast<long long>(r);
}

// Times are read out of the packed record by value: their place in it is not 8-byte aligned.
fmTime_t timeOf(int64_t value)
{
    fmTime_t t;
    t.t = value;
    return t;
}

void add(QString& line, const QString& value)
{
    line += _JobList::toCSVString(value);
    line += QLatin1Char(';');
}

QString costDisplay(__FMSDK& app)
{
    const fmString<100>* s = app.cfgGetS("cfgCostDisplay");
    return s ? s->toQString() : QString();
}

} // namespace

QString getVersionMinorDisplay(uint32_t versionMinor)
{
    QString s = QStringLiteral("%1").arg(versionMinor, 3, 10, QLatin1Char('0'));
    while (s.size() >= 2 && s.endsWith(QLatin1Char('0')))
        s.chop(1);
    return s;
}

QString _JobList::toCSVString(QString text)
{
    text.remove(QLatin1Char(';'));
    // One job is one line: line breaks and NUL bytes of a value become a blank.
    for (QChar& c : text)
        if (c == QLatin1Char('\r') || c == QLatin1Char('\n') || c == QChar(0)) c = QLatin1Char(' ');
    return text;
}

QString _JobList::csvHeader(__FMSDK& app)
{
    return QStringLiteral(
               "SceneName;SceneDatabaseDir;Camera;Layer;Channel;Software;Renderer;Version;SeqStart;SeqEnd;"
               "SeqStep;TotalFrames;ImageDir;ImageFilename;ImageExtension;UserName;CustomSeQName;"
               "CustomSHotName;CustomVersionName;CompanyProjectName;Date_Send;av.FrameTime;av.Clients;"
               "Date_Finished;ExecutionTime;totalPS;totalGhz;totalCost ") +
           costDisplay(app) + QStringLiteral(";\r\n");
}

QString _JobList::csvLine(const _jobsHistoryDB_Runtime& job, __FMSDK& app)
{
    QString line;
    line.reserve(1024);
    add(line, job.SceneName.toQString());
    add(line, job.SceneDatabaseDir.toQString());
    add(line, job.Camera.toQString());
    add(line, job.Layer.toQString());
    add(line, job.Channel.toQString());
    add(line, job.Software.toQString());
    add(line, job.Renderer.toQString());
    // The leading "'" keeps a spreadsheet from reading the version as a number.
    add(line, QStringLiteral("'%1.%2").arg(int(job.Version)).arg(getVersionMinorDisplay(job.VersionMinor)));
    add(line, QString::number(roundToInt(job.SeqStart)));
    add(line, QString::number(roundToInt(job.SeqEnd)));
    add(line, QString::number(roundToInt(job.SeqStep)));
    add(line, QString::number(job.TotalFrames));
    add(line, job.ImageDir.toQString());
    add(line, job.ImageFileName.toQString());
    add(line, job.ImageExtension.toQString());
    add(line, job.UserName.toQString());
    add(line, job.CustomSeQName.toQString());
    add(line, job.CustomSHotName.toQString());
    add(line, job.CustomVersionName.toQString());
    add(line, job.CompanyProjectName.toQString());
    add(line, timeOf(job.DateSend.t).asStringYear2());
    const uint32_t frameTime = job.AverageFrameTime;
    add(line, frameTime == 0 ? QString() : fmSec2hms(int(frameTime)));
    add(line, QString::number(double(job.AverageClients), 'f'));
    add(line, timeOf(job.DateFinished.t).asStringYear2());
    add(line, fmSec2hms(static_cast<int>(static_cast<uint32_t>(job.ExecutionTime))));
    add(line, QString::number(static_cast<unsigned long long>(job.TotalPS)));
    const float ghz = job.TotalGhzHours;
    add(line, QString::number(roundToInt(double(ghz))));
    const float* cost = app.cfgGetF("cfgCost");
    const fmString<100>* mark = app.cfgGetS("cfgLocalDecimalMark");
    const unsigned short sep = (mark && mark->len() > 0) ? mark->Data[0] : '.';
    const float value = ghz * (cost ? *cost : 0.0f);
    add(line, float2Str(value, 3, sep).toQString());
    line += QStringLiteral("\r\n");
    return line;
}

bool _JobList::exportAsCSV(const QString& path, _jobsHistoryDB_Runtime* job, QFile* file, const bool& allJobs,
                           const bool& append)
{
    QFile own;
    const bool owned = file == nullptr;
    if (owned) {
        file = &own;
        own.setFileName(path);
        if (append) {
            if (!own.open(QIODevice::WriteOnly | QIODevice::Append)) return false;
        } else {
            if (!own.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
            const QByteArray header = csvHeader(*App).toLocal8Bit();
            if (own.write(header) != header.size()) return false;
        }
    }
    if (!job) {
        const int n = allJobs ? std::clamp(JobCount, 0, Capacity) : std::clamp(SelectedCount, 0, Capacity);
        _jobsHistoryDB_Runtime** list = allJobs ? Queue.get() : Selection.get();
        for (int i = 0; i < n; ++i) {
            if (!list[i]) continue;
            if (!exportAsCSV(path, list[i], file, false, false)) {
                if (owned) own.close();
                return false;
            }
        }
    } else {
        const QByteArray line = csvLine(*job, *App).toLocal8Bit();
        if (file->write(line) != line.size()) return false;
    }
    if (!owned) return true;
    own.close(); // flushes: a full disk shows here at the latest
    return own.error() == QFileDevice::NoError;
}

} // namespace fmJ
