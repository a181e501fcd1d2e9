#pragma once

// What the user and the configuration chose for the application's style: read in SetupCfg from
// "UIcolor", "FontLx", "FontLxSmall" and the theme options of the command line, then handed to
// the window side, which builds and installs the style.
struct fmStyleChoices
{
    bool Dark = false;
    bool Easter = false;
    bool Girly = false; // the third palette
    bool FontDefaultSet = false;
    int FontSizeDefault = 0; // point size, when set
    bool FontSmallSet = false;
    int FontSizeSmall = 0;
};
