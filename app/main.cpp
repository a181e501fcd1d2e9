#include "app/fm.h"

#include <QApplication>

__FM FM(false, fm_AppType_HistoryDB, "fmHistorydb", false);

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    return 0;
}
