// clients.ini and clientgroups.ini, and the farm tables owned by FM.
// Placeholder until the client tables land: every load reports failure.
#include "app/fm.h"

void __FM::createFarmTables() {}
void __FM::deleteFarmTables() {}
bool __FM::LoadFileClientsAll(bool, QString) { return false; }
bool __FM::LoadFileClient(fmC::_Client&, bool) { return false; }
bool __FM::SaveFileClient(fmC::_Client&) { return false; }
bool __FM::SaveFileClientsAll(QString) { return false; }
bool __FM::LoadFileClientGroups() { return false; }
bool __FM::SaveFileClientGroups() { return false; }
