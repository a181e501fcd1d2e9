#include "farm/fmclientgroups.h"

namespace fmC {

void _ClientGroup::clear()
{
    Name.clear();
    for (auto& p : Place) {
        p.Assigned = false;
        p.SatelliteMaster = 65535;
    }
}

void _ClientGroupList::clear()
{
    for (int i = 0; i < Count && i < MaxClientGroups; ++i)
        Group[i].clear();
    Count = 0;
}

_ClientGroup* _ClientGroupList::addGroup(const QString& name)
{
    if (Count < 0) Count = 0;
    if (Count >= MaxClientGroups) return nullptr;
    _ClientGroup* g = &Group[Count++];
    g->clear();
    g->Name.set(name);
    return g;
}

void _ClientGroupList::addGroupAll()
{
    _ClientGroup* g = addGroup(QStringLiteral("ALL"));
    if (!g) return;
    for (auto& p : g->Place)
        p.Assigned = true;
}

int _ClientGroupList::findGroup(const QString& name) const
{
    for (int i = 0; i < Count && i < MaxClientGroups; ++i)
        if (Group[i].Name.toQString().compare(name, Qt::CaseInsensitive) == 0) return i;
    return -1;
}

} // namespace fmC
