#include "browser/fmresubmit.h"

#include "jobs/fmjobhistory.h"
#include "jobs/fmjoblist.h"

namespace {

template <int N> QString text(const fmString<N>& s)
{
    return s.toQString().left(fmResubmitMaxText);
}

// Frame numbers and offsets: six significant digits, so 1000000 goes out as "1e+06".
QString number(double v)
{
    return QString::number(v, 'g', 6);
}

void addIfSet(QStringList& args, const char* option, const QString& value)
{
    if (value.isEmpty()) return;
    args << QLatin1String(option) << value;
}

} // namespace

QStringList fmResubmitArguments(const fmJ::_jobsHistoryDB& job)
{
    QStringList args;
    args << text(job.SceneName);

    // An unknown operating system leaves the option without value; the next option follows it.
    args << QStringLiteral("-SceneOS");
    switch (job.SceneOS) {
    case 1:
        args << QStringLiteral("win");
        break;
    case 2:
        args << QStringLiteral("lx");
        break;
    case 3:
        args << QStringLiteral("mac");
        break;
    default:
        break;
    }

    addIfSet(args, "-SceneDatabaseDir", text(job.SceneDatabaseDir));
    addIfSet(args, "-Camera", text(job.Camera));
    addIfSet(args, "-Layer", text(job.Layer));
    addIfSet(args, "-Channel", text(job.Channel));

    args << QStringLiteral("-ImageDir") << text(job.ImageDir);
    args << QStringLiteral("-ImageFileName") << text(job.ImageFileName);
    args << QStringLiteral("-ImageExtension") << text(job.ImageExtension);
    args << QStringLiteral("-ImageFramePadding") << QString::number(job.ImageFramePadding);
    args << QStringLiteral("-ImageWidth") << QString::number(job.ImageWidth);
    args << QStringLiteral("-ImageHeight") << QString::number(job.ImageHeight);

    const uint8_t single = job.ImageSingleOutputFile;
    if (single != 0) args << QStringLiteral("-ImageSingleOutputFile");
    args << QString(QChar(char16_t(single)));

    const double seqStart = job.SeqStart, seqEnd = job.SeqEnd, seqStep = job.SeqStep,
                 offset = job.SeqFileOffset;
    args << QStringLiteral("-SeqStart") << number(seqStart);
    args << QStringLiteral("-SeqEnd") << number(seqEnd);
    args << QStringLiteral("-SeqStep") << number(seqStep);
    args << QStringLiteral("-SeqFileOffset") << number(offset);

    args << QStringLiteral("-Software") << text(job.Software);
    args << QStringLiteral("-Renderer") << text(job.Renderer);
    args << QStringLiteral("-Version")
         << QStringLiteral("%1.%2").arg(int(job.Version)).arg(fmJ::getVersionMinorDisplay(job.VersionMinor));
    return args;
}

QStringList fmResubmitSelectionArguments(const fmJ::_jobsHistoryDB_Runtime* const* jobs, int count)
{
    if (!jobs || count < 1 || !jobs[0]) return {};
    return fmResubmitArguments(*jobs[0]);
}

QString fmResubmitExecutable(const QString& binFolder)
{
    return binFolder + QStringLiteral("fmSubmitter");
}
