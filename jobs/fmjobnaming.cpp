#include "jobs/fmjobnaming.h"

#include "farm/fmgconfig.h"
#include "farm/fmpathmap.h"
#include "foundation/fmrandom.h"
#include "foundation/fmsdk.h"
#include "jobs/fmjob.h"
#include "jobs/fmjobhistory.h"

#include <QStringList>
#include <cmath>
#include <cstring>

namespace fmJ {

namespace {

bool isSep(QChar c)
{
    return c == QLatin1Char('/') || c == QLatin1Char('\\');
}

// Steps shared by both display forms, after the extension cut and the removal of render folders:
// two folder levels remain, and every folder separator gets four blanks behind it except the one
// behind a drive's colon.
QString sceneDisplayTail(QString s)
{
    s.replace(PDs + PDs, PDs);
    const int last = s.lastIndexOf(QLatin1Char('/'));
    if (last > 0) {
        const int prev = s.lastIndexOf(QLatin1Char('/'), last - 1);
        if (prev > 0) s = QStringLiteral("...") + s.mid(prev);
    }
    s.replace(QStringLiteral(":/"), QStringLiteral("))))"));
    s.replace(PDs, QStringLiteral("(((("));
    s.replace(QStringLiteral("(((("), PDs + QStringLiteral("    "));
    s.replace(QStringLiteral("))))"), QStringLiteral(":/"));
    return s;
}

QString sceneDisplayHead(QString s)
{
    const int dot = s.lastIndexOf(QLatin1Char('.'));
    if (dot >= 4) s.truncate(dot);
    s.remove(PDs + QStringLiteral("RENDER_PICTURES"), Qt::CaseInsensitive);
    s.remove(PDs + QStringLiteral("Scenes"), Qt::CaseInsensitive);
    s.remove(PDs + QStringLiteral("<FN4>"), Qt::CaseInsensitive);
    return s;
}

// Strips the leading "//", "/" and drive of a path, as the folder picks count from there.
QString stripRoot(QString p, int* removed)
{
    int r = 0;
    if (p.size() > 1 && p.at(1) == QLatin1Char('/')) {
        p.remove(0, 2);
        r += 2;
    }
    if (p.startsWith(QLatin1Char('/'))) {
        p.remove(0, 1);
        r += 1;
    }
    if (p.size() > 2 && p.at(1) == QLatin1Char(':') && p.at(2) == QLatin1Char('/')) {
        p.remove(0, 3);
        r += 3;
    }
    if (removed) *removed = r;
    return p;
}

// Start of folder number `first` in `p` (already stripped), or -1 when fewer folders exist.
int folderStart(const QString& p, int first)
{
    int pos = 0;
    for (int i = 1; i < first; ++i) {
        const int idx = p.indexOf(QLatin1Char('/'), pos);
        if (idx < 0) return -1;
        pos = idx + 1;
    }
    return pos;
}

const char* const kMovieExtensions[] = {".AVI", ".MOV", ".WMV", ".DV",   ".FLV",  ".MPEG", ".MPG",
                                        ".MP4", ".MPE", ".OMF", ".OMFI", ".MXF",  ".WMA",  ".WAV",
                                        ".MP3", ".VOB", ".ASF", ".SWF",  ".SWFT", ".SVG"};

bool isMovieExtension(const QString& ext)
{
    const QString up = ext.toUpper();
    for (const char* m : kMovieExtensions)
        if (up == QLatin1String(m)) return true;
    return false;
}

// Splits a frame-number pattern out of `name`. Returns false when none is found.
bool splitFramePattern(QString& name, QString& ext, int& padding)
{
    const int pct = name.lastIndexOf(QLatin1Char('%'));
    const int d = name.lastIndexOf(QLatin1Char('d'));
    if (pct >= 0 && d > pct) {
        const QString digits = name.mid(pct + 1, d - pct - 1);
        bool ok = false;
        const int n = digits.toInt(&ok);
        padding = (ok && n > 0) ? (n > 255 ? 255 : n) : 1;
        ext = name.mid(d + 1);
        name.truncate(pct);
        return true;
    }
    if (name.contains(QLatin1Char('#'))) {
        name.replace(QStringLiteral("[#"), QStringLiteral("#"));
        name.replace(QStringLiteral("#]"), QStringLiteral("#"));
        const int start = name.indexOf(QLatin1Char('#'));
        int end = start;
        while (end < name.size() && name.at(end) == QLatin1Char('#'))
            ++end;
        padding = end - start > 255 ? 255 : end - start;
        ext = name.mid(end);
        name.truncate(start);
        return true;
    }
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0) {
        ext = name.mid(dot);
        name.truncate(dot);
        while (name.size() > 2 && name.at(name.size() - 1).isDigit())
            name.chop(1);
        return true;
    }
    return false;
}

void convertField(fmString<250>& field, _fmOS from, _fmOS to, __FMSDK& sdk)
{
    QString s = field.toQString();
    ConvertPathsToOS_Single(s, from, to, sdk, false);
    field.set(s.left(250));
}

// Does an entry of the path table for `os` start `path` (case-insensitively)?
bool matchesTable(const QString& path, const _fmgOSConversion* rows, int count, _fmOS os)
{
    for (int i = 0; i < count; ++i) {
        const QString entry = rows[i].Path[os].toQString();
        if (!entry.isEmpty() && path.startsWith(entry, Qt::CaseInsensitive)) return true;
    }
    return false;
}

QString cfgText(const __FMSDK& fm, const char* key)
{
    const fmString<100>* v = fm.cfgGetS(key);
    return v ? v->toQString() : QString();
}

int cfgInt(const __FMSDK& fm, const char* key, int fallback)
{
    const short* v = fm.cfgGetI(key);
    return v ? *v : fallback;
}

} // namespace

// ---- display names

QString _JobBasics::GetSceneDisplayName() const
{
    QString s = sceneDisplayHead(SceneName.toQString());
    s.remove(QStringLiteral("<FN4>"), Qt::CaseInsensitive);
    return sceneDisplayTail(s);
}

QString _jobsHistoryDB_Runtime::GetSceneDisplayName() const
{
    return sceneDisplayTail(sceneDisplayHead(SceneName.toQString()));
}

QString GetDirectoryNo(QString path, int first, int count)
{
    if (path.size() <= 4) return path;
    QString p = stripRoot(path, nullptr);
    const int start = folderStart(p, first);
    if (start < 0) {
        const int last = p.lastIndexOf(QLatin1Char('/'));
        return last >= 0 ? p.mid(last + 1) : p;
    }
    p = p.mid(start);
    for (int i = 1; i < count; ++i) {
        const int idx = p.indexOf(QLatin1Char('/'));
        if (idx < 0) break;
        p[idx] = QLatin1Char('_');
    }
    const int cut = p.indexOf(QLatin1Char('/'));
    if (cut > 0) p.truncate(cut);
    return p;
}

QString GetDirectoryUntilNo(QString path, int first, int count)
{
    if (path.size() <= 4) return path;
    int removed = 0;
    const QString p = stripRoot(path, &removed);
    int start = folderStart(p, first);
    if (start < 0) return path;
    int end = start;
    for (int i = 0; i < (count < 1 ? 1 : count); ++i) {
        const int idx = p.indexOf(QLatin1Char('/'), end);
        if (idx < 0) {
            end = int(p.size());
            break;
        }
        end = idx + (i + 1 < count ? 1 : 0);
    }
    return path.left(removed + end);
}

// ---- path conversion between operating systems

void _JobBasics::ConvertPathsToOS(__FMSDK& sdk, _fmOS target, bool log)
{
    const _fmOS source = static_cast<_fmOS>(PathOS);
    PathOS = static_cast<uint8_t>(target);
    if (log)
        sdk.WriteLog(
            13, 0,
            QStringLiteral("%3 Converting from OS %1 to %2").arg(int(source)).arg(int(target)).arg(ID2str()),
            QStringLiteral("Job,ConvertPathsToOS"));
    convertField(ImageDir, source, target, sdk);
    convertField(ImageFileName, source, target, sdk);
    convertField(ImageFileNamePost, source, target, sdk);
    convertField(SceneName, source, target, sdk);
    convertField(SceneDatabaseDir, source, target, sdk);
    for (_JobImageChannel& ch : ImageChannels)
        if (!ch.FileName.isEmpty()) convertField(ch.FileName, source, target, sdk);
    convertField(ExtraScenePath, source, target, sdk);
    const int ids = custom_maxIDs();
    for (int id = 0; id < ids; ++id) {
        QString v = custom_StrByID(id);
        ConvertPathsToOS_Single(v, source, target, sdk, false);
        customSet_StrByID(id, v);
    }
}

void _JobSubmitter::ConvertPathsToOS_submit(__FMSDK& sdk, _fmOS target, bool log)
{
    const _fmOS source = static_cast<_fmOS>(PathOS);
    ConvertPathsToOS(sdk, target, log);
    const QString folder = JobFilesFolder.toQString();
    if (!folder.isEmpty() && folder != QLatin1String("none"))
        convertField(JobFilesFolder, source, target, sdk);
}

void _JobBasics::analyseNsetSceneOS(__FMSDK& sdk)
{
    if (SceneOS == 0) SceneOS = _fmOS_Mac;
    const QString dir = ImageDir.toQString();
    if (dir.isEmpty()) return;
    const _fmgOSConversion* rows = sdk.cfg ? sdk.cfg->OSConversion : nullptr;
    const int count = rows ? int(_fmgConfig::OSConversionCount) : 0;
    if (matchesTable(fmConvertPDToOS(dir, _fmOS_Windows), rows, count, _fmOS_Windows))
        SceneOS = _fmOS_Windows;
    else if (matchesTable(fmConvertPDToOS(dir, _fmOS_Linux), rows, count, _fmOS_Linux))
        SceneOS = _fmOS_Linux;
    else if (matchesTable(fmConvertPDToOS(dir, _fmOS_Mac), rows, count, _fmOS_Mac))
        SceneOS = _fmOS_Mac;
    else if (dir.size() >= 3 && (isSep(dir.at(1)) || dir.at(1) == QLatin1Char(':')))
        SceneOS = _fmOS_Windows;
    ConvertPathsToOS(sdk, static_cast<_fmOS>(SceneOS), true);
}

// ---- output name analysis

void _JobBasics::Check_SplitImageFileInto_DirFileExt(bool log)
{
    QString dir = ImageDir.toQString();
    QString name = ImageFileName.toQString();
    if (!dir.isEmpty() && name.contains(QLatin1Char('\\')) && name.contains(QLatin1Char('/'))) {
        const bool backFirst = name.indexOf(QLatin1Char('\\')) < name.indexOf(QLatin1Char('/'));
        if (backFirst)
            dir.replace(QLatin1Char('/'), QLatin1Char('\\'));
        else
            dir.replace(QLatin1Char('\\'), QLatin1Char('/'));
    }
    if (dir.isEmpty()) {
        const int cut = std::max(name.lastIndexOf(QLatin1Char('/')), name.lastIndexOf(QLatin1Char('\\')));
        if (cut >= 0) {
            dir = name.left(cut + 1);
            name = name.mid(cut + 1);
        }
    }
    if (dir.size() >= 4 && dir.at(1) == QLatin1Char(':') && !isSep(dir.at(2)))
        dir.insert(2, dir.contains(QLatin1Char('\\')) && !dir.contains(QLatin1Char('/')) ? QLatin1Char('\\')
                                                                                         : QLatin1Char('/'));
    QString ext = ImageExtension.toQString();
    if (!ImageSingleOutputFile && ext.isEmpty()) {
        int padding = ImageFramePadding;
        if (splitFramePattern(name, ext, padding)) ImageFramePadding = static_cast<uint8_t>(padding);
    }
    if (isMovieExtension(ext)) ImageSingleOutputFile = 1;
    if (!ImageSingleOutputFile && !ext.isEmpty() && name.endsWith(ext, Qt::CaseInsensitive))
        name.chop(ext.size());
    ImageDir.set(dir.left(250));
    ImageFileName.set(name.left(250));
    ImageExtension.set(ext.left(25));
    for (int c = 0; c < JobImageChannels_Max; ++c)
        Check_SplitImageFileInto_DirFileExt_Channel(c, log);
}

void _JobBasics::Check_SplitImageFileInto_DirFileExt_Channel(int channel, bool)
{
    if (channel < 0 || channel >= JobImageChannels_Max) return;
    _JobImageChannel& ch = ImageChannels[channel];
    if (!ch.FileName.isEmpty() && ch.Extension.isEmpty()) ch.Extension = ImageExtension;
}

void replaceSquareBracketVariablesSub(fmString<250>& text)
{
    QString s = text.toQString();
    if (!s.contains(QLatin1Char('[')) || !s.contains(QLatin1Char(']'))) return;
    static const char* const names[] = {"User",        "LocalHost", "CompanyProject", "Layer",
                                        "Channel",     "Camera",    "Camera_no.",     "Scene",
                                        "SceneFolder", "Database",  "DatabaseName"};
    for (const char* n : names) {
        const QString key = QString::fromLatin1(n);
        s.replace(QLatin1Char('[') + key + QLatin1Char(']'), QLatin1Char('<') + key + QLatin1Char('>'));
    }
    text.set(s.left(250));
}

void _JobBasics::replaceSquareBracketVariables()
{
    replaceSquareBracketVariablesSub(ImageFileName);
    replaceSquareBracketVariablesSub(ImageDir);
    for (_JobImageChannel& ch : ImageChannels)
        replaceSquareBracketVariablesSub(ch.FileName);
}

// ---- scene, shot and version names

void GetSSV(QString text, fmString<25>& scene, fmString<25>& shot, fmString<25>& version, QString sceneStart,
            QString shotStart, QString versionStart, QString sceneEnd, QString shotEnd, QString versionEnd,
            int sceneLength, int shotLength, int versionLength)
{
    struct Pick
    {
        fmString<25>* out;
        QString start, end;
        int length;
    };
    Pick picks[3] = {{&scene, sceneStart, sceneEnd, sceneLength},
                     {&shot, shotStart, shotEnd, shotLength},
                     {&version, versionStart, versionEnd, versionLength}};
    for (Pick& p : picks) {
        if (p.start == QLatin1String("none")) continue;
        if (!p.start.isEmpty()) {
            const int at = text.indexOf(p.start, 0, Qt::CaseInsensitive);
            if (at < 0) continue;
            text = text.mid(at + p.start.size());
        }
        QString v;
        int endAt = -1;
        if (p.length >= 1) {
            v = text.left(p.length);
        } else if (!p.end.isEmpty() && (endAt = text.indexOf(p.end, 0, Qt::CaseInsensitive)) >= 0) {
            v = text.left(endAt);
        } else {
            const int u = text.indexOf(QLatin1Char('_'), 1);
            const int dot = text.indexOf(QLatin1Char('.'));
            v = u >= 1 ? text.left(u) : (dot >= 0 ? text.left(dot) : text);
        }
        v = v.left(25);
        p.out->set(v);
        text = text.mid(v.size());
    }
}

void _JobSubmitter::setSSV(const __FMSDK& fm)
{
    const int bySetting = cfgInt(fm, "jGetSSVbySetting", 1);
    if (bySetting == 0) return;
    QString source =
        bySetting == 1 ? SceneName.toQString() : ImageDir.toQString() + ImageFileName.toQString();
    source.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (source.endsWith(QLatin1Char('/')))
        source.chop(1);
    QStringList parts = source.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const int byFile = cfgInt(fm, "jGetSSVbyFile", 0);
    QString text;
    if (byFile <= 0) {
        text = parts.isEmpty() ? QString() : parts.last();
        const int dot = text.lastIndexOf(QLatin1Char('.'));
        if (dot >= 0) text.truncate(dot);
    } else {
        const int idx = int(parts.size()) - 1 - byFile;
        text = idx >= 0 ? parts.at(idx) : QString();
    }
    auto unset = [](const fmString<25>& v) {
        return v.isEmpty() || v.toQString() == QLatin1String("<auto>");
    };
    fmString<25> scene = CustomSeQName, shot = CustomSHotName, version = CustomVersionName;
    if (!unset(scene) && !unset(shot) && !unset(version)) return;
    GetSSV(text, scene, shot, version, cfgText(fm, "jGetSSVScene"), cfgText(fm, "jGetSSVShot"),
           cfgText(fm, "jGetSSVVersion"), cfgText(fm, "jGetSSVSceneEnd"), cfgText(fm, "jGetSSVShotEnd"),
           cfgText(fm, "jGetSSVVersionEnd"), cfgInt(fm, "jGetSSVSceneLength", 0),
           cfgInt(fm, "jGetSSVShotLength", 0), cfgInt(fm, "jGetSSVVersionLength", 0));
    CustomSeQName = scene;
    CustomSHotName = shot;
    CustomVersionName = version;
}

void _JobSubmitter::setRandomColor()
{
    const int id = Color_ID;
    if (id < 11) return;
    QString text;
    switch (id) {
    case 11:
        text = SceneName.toQString();
        break;
    case 12:
        text = CompanyProjectName.toQString();
        break;
    case 13:
        text = UserName.toQString();
        break;
    case 14:
        text = Software.toQString() + Renderer.toQString() + QString::number(Version);
        break;
    default:
        Color_ID = 0;
        return;
    }
    // The text's UTF-16 units, little-endian, as the record holds them: the same on every machine.
    QByteArray bytes(int(text.size()) * 2, '\0');
    for (int i = 0; i < text.size(); ++i) {
        const char16_t u = text.at(i).unicode();
        bytes[2 * i] = char(u & 0xFF);
        bytes[2 * i + 1] = char(u >> 8);
    }
    const unsigned r =
        fmRandCalc(reinterpret_cast<const unsigned char*>(bytes.constData()), unsigned(bytes.size()));
    Color_ID = static_cast<uint8_t>((r % 7) + 1);
}

QString _JobSubmitter::jobFilesFolderName_Resolved(const __FMSDK& sdk) const
{
    const QString f = JobFilesFolder.toQString();
    const bool absolute = f.startsWith(QLatin1Char('/')) || f.startsWith(QLatin1Char('\\')) ||
                          (f.size() >= 3 && f.at(1) == QLatin1Char(':'));
    if (absolute) return f.endsWith(PDs) ? f : f + PDs;
    return sdk.RootPath.toQString() + QStringLiteral("jobfiles/") + f + PDs;
}

// ---- preview pictures

int _JobSend::previewID2FrameNr(const int& previewID) const
{
    const int n = NumberPreview;
    const int perPass = FramesPerPass > 0 ? FramesPerPass : 0;
    const int base = ImageChannelCount >= 2 ? (ImageChannelCount / 2) * perPass : 0;
    if (previewID <= 0) return base;
    if (previewID >= n - 1) return base + (perPass > 0 ? perPass - 1 : 0);
    const int first = PreviewFirstFrame;
    const bool known = first >= 0 && PreviewEnabled != 0;
    const bool spread = !known || (JobFlags & JobFlag_PreviewSpread) != 0;
    if (!spread || (known && n < 8)) {
        const long long v = (long long)(previewID - 1) * PreviewFrameStep + first + base;
        return int(v < 0 ? 0 : (v > 2147483647LL ? 2147483647LL : v));
    }
    // Spread: id 1 at a quarter of the pass, id n-2 at three quarters, the others between.
    const int q1 = perPass / 4;
    const int q3 = (perPass * 3) / 4;
    if (n <= 3) return base + q1;
    return base + q1 + int((long long)(q3 - q1) * (previewID - 1) / (n - 3));
}

QString _JobSend::previewFilename_Base(const __FMSDK& sdk, int previewID) const
{
    const int n = NumberPreview;
    if (previewID < 0) previewID = n / 2;
    if (previewID > n - 1) previewID = n - 1 < 0 ? 0 : n - 1;
    const long long index = previewID2FrameNr(previewID);
    const long long number = roundHalfAway(F2fn(index, nullptr));
    return jobFilesFolderName_Resolved(sdk) + QStringLiteral("p%1").arg(number, 5, 10, QLatin1Char('0'));
}

QString _JobSend::previewFilenameThumbnail(const __FMSDK& sdk, int previewID) const
{
    return previewFilename_Base(sdk, previewID) + QStringLiteral("_t.jpg");
}

QString _JobSend::previewFilenameRGB(const __FMSDK& sdk, int previewID) const
{
    return previewFilename_Base(sdk, previewID) + QStringLiteral(".jpg");
}

QString _JobSend::previewFilenameA(const __FMSDK& sdk, int previewID) const
{
    return previewFilename_Base(sdk, previewID) + QStringLiteral("_a.jpg");
}

} // namespace fmJ
