// globalconfig.ini: loading, saving and keyed access to the configuration table.
// Placeholder until the configuration table lands: every operation reports failure.
#include "app/fm.h"

bool* __FMSDK::cfgGetB(const char*) { return nullptr; }
const bool* __FMSDK::cfgGetB(const char*) const { return nullptr; }
short* __FMSDK::cfgGetI(const char*) { return nullptr; }
const short* __FMSDK::cfgGetI(const char*) const { return nullptr; }
fmString<100>* __FMSDK::cfgGetS(const char*) { return nullptr; }
const fmString<100>* __FMSDK::cfgGetS(const char*) const { return nullptr; }
float* __FMSDK::cfgGetF(const char*) { return nullptr; }
const float* __FMSDK::cfgGetF(const char*) const { return nullptr; }

bool __FM::LoadFileCfg() { return false; }
bool __FM::SaveFileCfg() { return false; }
bool __FM::cfgSetB(const fmString8_evenSize<100>&, bool) { return false; }
bool __FM::cfgSetI(const fmString8_evenSize<100>&, short) { return false; }
bool __FM::cfgSetS(const fmString8_evenSize<100>&, const fmString<200>&) { return false; }
bool __FM::cfgSetF(const fmString8_evenSize<100>&, float) { return false; }
