#include "controls/BusyLine.h"

#include <QTest>

class TestBusyLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itsLightWandersWhileItShows();
};

void TestBusyLine::itsLightWandersWhileItShows()
{
    BusyLine line;
    line.resize(160, 3);
    line.show();
    const QImage first = line.grab().toImage();
    QTRY_VERIFY(line.grab().toImage() != first);
}

QTEST_MAIN(TestBusyLine)
#include "TestBusyLine.moc"
