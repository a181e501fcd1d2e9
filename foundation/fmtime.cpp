#include "foundation/fmtime.h"

int32_t fmTime_t::fmTime_Start_OffSet = -1;
