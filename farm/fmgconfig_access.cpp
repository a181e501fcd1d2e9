// Keyed access to the configuration table: the getters of __FMSDK and the setters' lookup.
#include "farm/fmgconfig.h"
#include "foundation/fmsdk.h"

namespace {

// Value handed out by a non-const getter that found nothing: reset on every use, so a caller that
// wrote through an earlier pointer does not leak its value to the next.
bool gZeroB;
short gZeroI;
fmString<100> gZeroS;
float gZeroF;

template <typename T> T* zeroOf(T& z)
{
    z = T();
    return &z;
}

const char* typeText(uint8_t type)
{
    switch (type) {
    case fmgCfg_Bool:
        return " is not a boolean!";
    case fmgCfg_String:
        return " is not a string!";
    case fmgCfg_Int:
        return " is not an integer!";
    default:
        return " is not a float!";
    }
}

// The lookup shared by all getters. Logs at level 1 when asked to; null on failure.
_fmgCfg_param* lookup(__FMSDK& sdk, const char* name, uint8_t type, const char* where, bool log)
{
    _fmgCfg_param* p = sdk.cfg ? sdk.cfg->param(name) : nullptr;
    if (!p) {
        if (log)
            sdk.WriteLog(1, 0,
                         QStringLiteral("config param not found: ") + QString::fromLatin1(name ? name : ""),
                         QLatin1String(where));
        return nullptr;
    }
    if (p->Type != type) {
        if (log)
            sdk.WriteLog(1, 0,
                         QStringLiteral("config param ") + QString::fromLatin1(name) +
                             QLatin1String(typeText(type)),
                         QLatin1String(where));
        return nullptr;
    }
    return p;
}

const _fmgCfg_param* lookupConst(const __FMSDK& sdk, const char* name, uint8_t type)
{
    const _fmgCfg_param* p = sdk.cfg ? static_cast<const _fmgConfig*>(sdk.cfg)->param(name) : nullptr;
    return p && p->Type == type ? p : nullptr;
}

} // namespace

// The setters' lookup: an unknown name fails silently, a wrong type is logged.
_fmgCfg_param* fmgCfgLookupSet(__FMSDK& fm, const fmString8_evenSize<100>& name, uint8_t type,
                               const char* where)
{
    if (!fm.cfg) return nullptr;
    const int i = fm.cfg->find(name.Data, name.len());
    if (i < 0) return nullptr;
    _fmgCfg_param* p = &fm.cfg->Params[i];
    if (p->Type != type) {
        fm.WriteLog(1, 0, QStringLiteral("config param ") + name.toQString() + QLatin1String(typeText(type)),
                    QLatin1String(where));
        return nullptr;
    }
    return p;
}

bool* __FMSDK::cfgGetB(const char* name)
{
    _fmgCfg_param* p = lookup(*this, name, fmgCfg_Bool, "FM,cfgGetB", true);
    return p ? &p->ValueB : zeroOf(gZeroB);
}

const bool* __FMSDK::cfgGetB(const char* name) const
{
    const _fmgCfg_param* p = lookupConst(*this, name, fmgCfg_Bool);
    return p ? &p->ValueB : nullptr;
}

short* __FMSDK::cfgGetI(const char* name)
{
    _fmgCfg_param* p = lookup(*this, name, fmgCfg_Int, "FM,cfgGetI", true);
    return p ? &p->ValueI : zeroOf(gZeroI);
}

const short* __FMSDK::cfgGetI(const char* name) const
{
    const _fmgCfg_param* p = lookupConst(*this, name, fmgCfg_Int);
    return p ? &p->ValueI : nullptr;
}

fmString<100>* __FMSDK::cfgGetS(const char* name)
{
    _fmgCfg_param* p = lookup(*this, name, fmgCfg_String, "FM,cfgGetS", true);
    return p ? &p->ValueS : zeroOf(gZeroS);
}

const fmString<100>* __FMSDK::cfgGetS(const char* name) const
{
    const _fmgCfg_param* p = lookupConst(*this, name, fmgCfg_String);
    return p ? &p->ValueS : nullptr;
}

float* __FMSDK::cfgGetF(const char* name)
{
    _fmgCfg_param* p = lookup(*this, name, fmgCfg_Float, "FM,cfgGetF", true);
    return p ? &p->ValueF : zeroOf(gZeroF);
}

const float* __FMSDK::cfgGetF(const char* name) const
{
    const _fmgCfg_param* p = lookupConst(*this, name, fmgCfg_Float);
    return p ? &p->ValueF : nullptr;
}
