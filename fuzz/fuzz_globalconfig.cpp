// globalconfig.ini reader on arbitrary bytes, through the whole load: read from a folder of the
// fuzzer's own (as from the root), copied privately and parsed by QSettings. Every value must stay
// within its bounds and every text within its capacity.
#include "app/fm.h"
#include "farm/fmgconfig.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Removed at exit with the files in it.
    static QTemporaryDir dir;
    static const bool ready = [] {
        FM.CfgGlobalPath.set(dir.path() + QStringLiteral("/"));
        return true;
    }();
    (void)ready;
    QFile f(dir.path() + QStringLiteral("/globalconfig.ini"));
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        f.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        std::abort();
    f.close();
    FM.cfg->LastFileTime.t = 0; // read again whatever the file's time
    FM.LoadFileCfg();
    const _fmgConfig& c = *FM.cfg;
    if (c.ParamCount < 1 || c.ParamCount > _fmgConfig::MaxParams) std::abort();
    for (int i = 0; i < c.ParamCount; ++i) {
        const _fmgCfg_param& p = c.Params[i];
        if (p.ValueS.len() > 100) std::abort();
        if (p.Type == fmgCfg_Int && (p.ValueI < p.Min || p.ValueI > p.Max)) std::abort();
        if (p.Type == fmgCfg_Float &&
            (std::isnan(p.ValueF) || p.ValueF < p.Min / 100.0f || p.ValueF > p.Max / 100.0f))
            std::abort();
    }
    for (const _fmgUNCMap& m : c.UNCMaps)
        if (m.Path.len() > 250) std::abort();
    return 0;
}
