#include "app/fm.h"

// The test programs' global application object: a console application of type Test, so that
// log lines never raise a message box.
__FM FM(true, fm_AppType_Test, "fmTest", false);
