// users7.dat: loading and saving the user table owned by FM.
// Placeholder until the user table lands: every load reports failure.
#include "app/fm.h"

bool __FM::LoadFileUserSettings() { return false; }
bool __FM::SaveFileUserSettings() { return false; }
QString __FM::getUserName(const int&, bool) { return QString(); }
