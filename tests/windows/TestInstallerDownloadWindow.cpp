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
    void theBarShowsWholePercentsInItsRange();
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

void TestInstallerDownloadWindow::theBarShowsWholePercentsInItsRange()
{
    InstallerDownloadWindow window;
    const QList<std::pair<double, int>> shown = {
        {33, 33}, {100, 100}, {40, 40},   {0, 0},      {50, 50},
        {-1, 0},  {101, 100}, {-9e18, 0}, {9e18, 100}, {std::numeric_limits<double>::lowest(), 0}};
    for (const auto &[percentage, value] : shown) {
        window.showProgress(percentage);
        QCOMPARE(barOf(window).value(), value);
    }
}

void TestInstallerDownloadWindow::theTextStandsAsItIs()
{
    InstallerDownloadWindow window;
    for (const QString &text : {u"Downloading version 1.3.0"_s, u"Downloading version <b>1</b>"_s,
                                u"Downloading version 1&2"_s, u"Downloading version 1.3.0\n"_s}) {
        window.showText(text);
        QCOMPARE(labelOf(window).text(), text);
        QCOMPARE(window.accessibleName(), text.trimmed()); // spoken when it opens
    }
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
