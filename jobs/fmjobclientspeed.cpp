// Client speeds for the GHz-hours estimate of history records, read from FM's client table.

#include "app/fm.h"
#include "jobs/fmjobhistory.h"

namespace fmJ {

int fmJobClientSpeeds(const __FM& fm, _ClientSpeed* out, int max)
{
    // The client table (fmC::_ClientList) is not part of this build yet: no client counts, and
    // a record without TotalGhzHours keeps 0.
    (void)fm;
    (void)out;
    (void)max;
    return 0;
}

} // namespace fmJ
