// Client speeds for the GHz-hours estimate of history records, read from the application's client table.

#include "farm/fmclientlist.h"
#include "foundation/fmsdk.h"
#include "jobs/fmjobhistory.h"

namespace fmJ {

int fmJobClientSpeeds(const __FMSDK& fm, _ClientSpeed* out, int max)
{
    const fmC::_ClientList* list = fm.clientTable();
    if (!list || !out || max <= 0) return 0;
    int n = list->count();
    if (n > max) n = max;
    for (int k = 0; k < n; ++k) {
        const fmC::_ClientHardware& hw = list->Clients[k].Hardware;
        out[k].Speed = hw.Speed;
        out[k].Cores = hw.Cores;
    }
    return n;
}

} // namespace fmJ
