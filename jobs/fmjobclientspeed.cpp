// Client speeds for the GHz-hours estimate of history records, read from FM's client table.

#include "app/fm.h"
#include "farm/fmclientlist.h"
#include "jobs/fmjobhistory.h"

namespace fmJ {

int fmJobClientSpeeds(const __FM& fm, _ClientSpeed* out, int max)
{
    const fmC::_ClientList* list = fm.ClientList;
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
