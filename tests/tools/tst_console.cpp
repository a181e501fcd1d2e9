#include <QtTest>
class tst_console : public QObject { Q_OBJECT };
QTEST_GUILESS_MAIN(tst_console)
#include "tst_console.moc"
