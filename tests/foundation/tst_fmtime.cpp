#include <QtTest>
class tst_fmTime : public QObject { Q_OBJECT };
QTEST_APPLESS_MAIN(tst_fmTime)
#include "tst_fmtime.moc"
