#pragma once
// Client groups (clientgroups.ini): which of the 750 client places belong to a group, and which of
// them are satellite masters in it. The group "ALL" is never in the file; it is made on load.

#include "farm/fmclient.h"

namespace fmC {

struct _ClientGroupPlace
{
    bool Assigned;
    uint16_t SatelliteMaster; // the client's own number when it is a satellite master of the group; 65535
                              // when none
};

struct _ClientGroup
{
    fmString<25> Name;
    _ClientGroupPlace Place[MaxClients];

    _ClientGroup() { clear(); }
    void clear(); // empty name, nothing assigned, no satellite master
};

class _ClientGroupList
{
public:
    fmTime_t LastFileTime;
    int16_t Count = 0;
    _ClientGroup Group[MaxClientGroups];

    _ClientGroupList() = default;
    void clear();
    // A new group at the end; null when all 30 are in use.
    _ClientGroup* addGroup(const QString& name);
    // The group "ALL" with every place assigned, appended as the last group.
    void addGroupAll();
    int findGroup(const QString& name) const; // case-insensitive; -1 when none
};

} // namespace fmC
