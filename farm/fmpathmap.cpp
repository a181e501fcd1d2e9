// Path mapping between the operating systems' views of the shared storage.
#include "farm/fmpathmap.h"

#include "farm/fmgconfig.h"
#include "foundation/fmsdk.h"

QString fmConvertPDToOS(const QString& path)
{
    QString out = path;
    out.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return out;
}

QString fmConvertPDToOS(const QString& path, _fmOS os)
{
    QString out = path;
    if (os == _fmOS_Windows)
        out.replace(QLatin1Char('/'), QLatin1Char('\\'));
    else
        out.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return out;
}

fmString<250> fmConvertPDToOS(const fmString<250>& path)
{
    fmString<250> out = path;
    for (int i = 0; i < out.len(); ++i)
        if (out.Data[i] == u'\\') out.Data[i] = u'/';
    return out;
}

fmString<500> fmConvertPDToOS(const fmString<500>& path)
{
    fmString<500> out = path;
    for (int i = 0; i < out.len(); ++i)
        if (out.Data[i] == u'\\') out.Data[i] = u'/';
    return out;
}

QString fmGetUncPath(QString path)
{
    return fmConvertPDToOS(path);
}

bool fmIsRootpath(const QString& path)
{
    return path.size() < 2;
}

void ConvertPathsToOS_Single(QString& path, _fmOS from, _fmOS to, const _fmgOSConversion* rows, int rowCount,
                             bool force)
{
    const bool columnsOk = from >= 0 && from <= 3 && to >= 0 && to <= 3;
    if ((from != to || force) && columnsOk) {
        if (force) path = fmConvertPDToOS(path, from);
        const int n = rows ? qBound(0, rowCount, int(_fmgConfig::OSConversionCount)) : 0;
        for (int r = 0; r < n; ++r) {
            const QString a = rows[r].Path[from].toQString();
            const QString b = rows[r].Path[to].toQString();
            if (a.isEmpty() || b.isEmpty()) continue;
            if (path.startsWith(a, Qt::CaseInsensitive)) path = b + path.mid(a.size());
        }
    }
    path = fmConvertPDToOS(path, to);
    path.replace(QLatin1String("_mac."), QLatin1String("_lx."));
    path.replace(QLatin1String("_win."), QLatin1String("_lx."));
}

void ConvertPathsToOS_Single(QString& path, _fmOS from, _fmOS to, __FMSDK& sdk, bool force)
{
    if (sdk.cfg)
        ConvertPathsToOS_Single(path, from, to, sdk.cfg->OSConversion, _fmgConfig::OSConversionCount, force);
    else
        ConvertPathsToOS_Single(path, from, to, nullptr, 0, force);
}
