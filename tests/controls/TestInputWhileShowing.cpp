#include "controls/Waiting.h"

#include "support/Rerun.h"

#include <QApplication>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace
{
// A player at the screen that Qt serves to remote viewers (RFC 6143): there, input waits in a queue as on a desktop.
class Viewer : public QTcpSocket
{
public:
    bool greet(quint16 port)
    {
        connectToHost(QHostAddress::LocalHost, port);
        const QByteArray othersToo("\1");
        return hears(12) && write("RFB 003.003\n") > 0 // both sides' version
            && hears(4) && write(othersToo) > 0 // no password
            && hears(24); // the measures of the screen
    }
    void click(const QPoint &at)
    {
        const QByteArray place = number(at.x()) + number(at.y());
        write(QByteArray("\5\1") + place);
        write(QByteArray("\5\0", 2) + place);
    }

private:
    bool hears(qint64 bytes)
    {
        return QTest::qWaitFor([this, bytes] { return bytesAvailable() >= bytes; }) && !readAll().isEmpty();
    }
    static QByteArray number(int value) { return QByteArray(1, char(value >> 8)).append(char(value & 0xff)); }
};
} // namespace

class TestInputWhileShowing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noInputIsTakenWhileAWindowComesUp();
};

void TestInputWhileShowing::noInputIsTakenWhileAWindowComesUp()
{
    if (!Rerun::isRerun()) {
        QTcpServer free;
        QVERIFY(free.listen(QHostAddress::LocalHost));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_QPA_PLATFORM"_s, u"vnc:port=%1"_s.arg(free.serverPort()));
        environment.insert(u"WAYFAR_TEST_PORT"_s, QString::number(free.serverPort()));
        free.close();
        if (!Rerun::canMount())
            QSKIP("the kernel lets this process have no network of its own");
        const auto result = Rerun::run(Rerun::withPrivateNetwork(), environment); // the screen has no password
        QVERIFY2(result.status == 0, result.output.constData());
        return;
    }
    QPushButton button;
    int clicks = 0;
    connect(&button, &QPushButton::clicked, &button, [&] { ++clicks; });
    button.setGeometry(0, 0, 200, 100);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    Viewer viewer;
    QVERIFY(viewer.greet(quint16(qEnvironmentVariableIntValue("WAYFAR_TEST_PORT"))));

    QWidget next;
    next.winId(); // a window that comes to no screen: it is waited for as long as for any
    viewer.click(button.mapToGlobal(button.rect().center())); // it comes to the program at once
    Waiting::untilShown(next);
    QCOMPARE(clicks, 0);
    QTRY_COMPARE(clicks, 1); // it is only late
}

QTEST_MAIN(TestInputWhileShowing)
#include "TestInputWhileShowing.moc"
