#include "windows/InstallerDownloadWindow.h"

#include "controls/ElidedLabel.h"
#include "controls/Theme.h"
#include "support/DarkDesktop.h"

#include <QProgressBar>
#include <QScreen>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestInstallerDownloadWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theBarShowsWholePercentsInItsRange_data();
    void theBarShowsWholePercentsInItsRange();
    void theBarFollowsEveryChange();
    void theTextStandsAsItIs_data();
    void theTextStandsAsItIs();
    void aTextOfAnyLengthLeavesTheWindowAsItIs();
    void itIsPresentedInFrontInTheMiddle();
    void closingHidesItAndLeavesItWhole();
    void itFollowsAChangeToDarkAndBack();

private:
    static QProgressBar &barOf(const InstallerDownloadWindow &window) { return *window.findChild<QProgressBar *>(); }
    static ElidedLabel &labelOf(const InstallerDownloadWindow &window)
    {
        return *window.findChild<ElidedLabel *>(u"downloadLabel"_s);
    }
};

void TestInstallerDownloadWindow::theBarShowsWholePercentsInItsRange_data()
{
    QTest::addColumn<double>("percentage");
    QTest::addColumn<int>("shown");
    QTest::newRow("zero") << 0.0 << 0;
    QTest::newRow("within") << 33.0 << 33;
    QTest::newRow("full") << 100.0 << 100;
    QTest::newRow("below") << -1.0 << 0;
    QTest::newRow("far below") << -9.0e18 << 0;
    QTest::newRow("above") << 101.0 << 100;
    QTest::newRow("far above") << 9.0e18 << 100;
    QTest::newRow("lowest") << std::numeric_limits<double>::lowest() << 0;
}

void TestInstallerDownloadWindow::theBarShowsWholePercentsInItsRange()
{
    QFETCH(const double, percentage);
    InstallerDownloadWindow window;
    window.showProgress(50);
    window.showProgress(percentage);
    QTEST(barOf(window).value(), "shown");
}

void TestInstallerDownloadWindow::theBarFollowsEveryChange()
{
    InstallerDownloadWindow window;
    for (const int percentage : {0, 10, 100, 40, 0}) {
        window.showProgress(percentage);
        QCOMPARE(barOf(window).value(), percentage);
    }
}

void TestInstallerDownloadWindow::theTextStandsAsItIs_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << u"Downloading version 1.3.0"_s;
    QTest::newRow("markup") << u"Downloading version <b>1</b>"_s;
    QTest::newRow("a shortcut's sign") << u"Downloading version 1&2"_s;
    QTest::newRow("two lines") << u"Downloading version 1.3.0\n"_s;
}

void TestInstallerDownloadWindow::theTextStandsAsItIs()
{
    QFETCH(const QString, text);
    InstallerDownloadWindow window;
    window.showText(u"another"_s);
    window.showText(text);
    QCOMPARE(labelOf(window).text(), text);
}

void TestInstallerDownloadWindow::aTextOfAnyLengthLeavesTheWindowAsItIs()
{
    InstallerDownloadWindow window;
    window.showText(u"Downloading version 1.3.0"_s);
    const QSize small = window.sizeHint();
    window.showText(u"Downloading version "_s + QString(100000, u'9') + QString(50, u'\n'));
    QCOMPARE(window.sizeHint(), small);
}

void TestInstallerDownloadWindow::itIsPresentedInFrontInTheMiddle()
{
    InstallerDownloadWindow window;
    window.present();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const QPoint off = window.geometry().center() - window.screen()->availableGeometry().center();
    QVERIFY(std::abs(off.x()) <= 4 && std::abs(off.y()) <= 4);
    QCOMPARE(barOf(window).minimum(), 0);
    QCOMPARE(barOf(window).maximum(), 100);
    window.dismiss();
    QVERIFY(!window.isVisible());
}

void TestInstallerDownloadWindow::closingHidesItAndLeavesItWhole()
{
    InstallerDownloadWindow window;
    window.show();
    QVERIFY(window.close());
    QVERIFY(!window.isVisible());
    window.showProgress(70);
    window.showText(u"still there"_s);
    QCOMPARE(barOf(window).value(), 70);
    QVERIFY(window.close()); // a second time, as at the end of the download
}

void TestInstallerDownloadWindow::itFollowsAChangeToDarkAndBack()
{
    InstallerDownloadWindow window;
    window.show();
    verifyFollowsTheDesktop(window);
}

QTEST_MAIN(TestInstallerDownloadWindow)
#include "TestInstallerDownloadWindow.moc"
