#include "app/fm.h"

// The fuzz targets' global application object: a console program with all logging kept quiet.
__FM FM(true, fm_AppType_Test, "fmFuzz", true);
