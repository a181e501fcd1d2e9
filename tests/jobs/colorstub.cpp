// Stand-in for the colour rule of the naming code, so that the settings test links before that
// code is in the tree: a derived colour request (11..14) becomes colour 1, from 15 it becomes 0.
// Remove this file from the test's SOURCES once _JobSubmitter::setRandomColor is in fmcore.
#include "jobs/fmjob.h"

void fmJ::_JobSubmitter::setRandomColor()
{
    if (Color_ID >= 15)
        Color_ID = 0;
    else if (Color_ID >= 11)
        Color_ID = 1;
}
