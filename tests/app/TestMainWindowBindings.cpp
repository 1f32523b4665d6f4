#include "support/Program.h"

#include "controls/ElidedLabel.h"
#include "controls/StatusLine.h"

#include <QApplication>
#include <QLayout>
#include <QLineEdit>
#include <QProgressBar>
#include <QTextDocumentFragment>

#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(DownloadPace)

namespace
{
// What a tool tip reads on the screen: Qt takes for markup what looks like it.
QString shownToolTip(const QWidget &widget)
{
    const QString text = widget.toolTip();
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}
} // namespace

class TestMainWindowBindings : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { end(); }
    void init();

    void everyTextFollowsItsProperty_data();
    void everyTextFollowsItsProperty();
    void aTextSetInAnotherThreadArrives();
    void aLateAnnouncementNeverBringsBackAnOlderValue();
    void theBarShowsWhatItCanAndThePropertyKeepsTheNumber_data();
    void theBarShowsWhatItCanAndThePropertyKeepsTheNumber();
    void aFailureLooksLikeOne();
    void theBarTellsSizeAndSpeed_data();
    void theBarTellsSizeAndSpeed();
    void theMainButtonIsDisabledDuringADownloadAndGetsTheKeyboardBack();
    void theMainButtonGetsTheKeyboardBackInABackgroundWindow();
    void theKeyboardStaysWhereThePlayerMovedIt();
    void textsFromOutsideAreNoMarkup_data();
    void textsFromOutsideAreNoMarkup();
    void aGiantTextMovesNothing_data();
    void aGiantTextMovesNothing();

private:
    ElidedLabel &label(const char *name) { return *m_program->control<ElidedLabel>(name); }
    QAbstractButton &mainButton() { return *m_program->control("mainButton"); }
};

void TestMainWindowBindings::initTestCase()
{
    begin();
    QVERIFY(m_program->start());
    QVERIFY(QTest::qWaitForWindowActive(delegate().window()));
}

void TestMainWindowBindings::init()
{
    delegate().setUpdateNotStarted(true);
    delegate().setButtonText(u"Update"_s);
    delegate().setCurrentVersion(u"1.2.5"_s);
    delegate().setUpdateVersion(u"1.2.6"_s);
    delegate().setStatusStr(u"Ready"_s);
    mainButton().setFocus();
    QVERIFY(mainButton().hasFocus());
}

void TestMainWindowBindings::everyTextFollowsItsProperty_data()
{
    QTest::addColumn<QByteArray>("control");
    QTest::addColumn<void (ShownState::*)(const std::optional<QString> &)>("set");
    QTest::addColumn<QString>("withoutValue");
    QTest::newRow("installed") << QByteArray("currentVersionLabel") << &ShownState::setCurrentVersion << QString();
    QTest::newRow("published") << QByteArray("updateVersionLabel") << &ShownState::setUpdateVersion
                               << u"not available"_s;
    QTest::newRow("button") << QByteArray("mainButton") << &ShownState::setButtonText << QString();
    QTest::newRow("status") << QByteArray("statusLabel") << &ShownState::setStatusStr << QString();
}

void TestMainWindowBindings::everyTextFollowsItsProperty()
{
    QFETCH(const QByteArray, control);
    using Setter = void (ShownState::*)(const std::optional<QString> &);
    QFETCH(const Setter, set);
    QFETCH(const QString, withoutValue);
    const QWidget *shown = m_program->control<QWidget>(control.constData());
    (delegate().*set)(u"first"_s);
    QCOMPARE(shown->property("text").toString(), u"first"_s);
    (delegate().*set)(u"second"_s);
    QCOMPARE(shown->property("text").toString(), u"second"_s);
    (delegate().*set)(std::nullopt);
    QCOMPARE(shown->property("text").toString(), withoutValue);
}

void TestMainWindowBindings::aTextSetInAnotherThreadArrives()
{
    std::jthread worker([this] {
        delegate().setStatusStr(u"from a worker"_s);
        delegate().setUpdateProgressbar(37);
        delegate().setButtonText(u"Play"_s);
    });
    worker.join();
    QCOMPARE(label("statusLabel").text(), u"Ready"_s); // the window is the main thread's alone
    QTRY_COMPARE(label("statusLabel").text(), u"from a worker"_s);
    QTRY_COMPARE(m_program->control<QProgressBar>("progressIndicator")->value(), 37);
    QTRY_COMPARE(mainButton().text(), u"Play"_s);
}

void TestMainWindowBindings::aLateAnnouncementNeverBringsBackAnOlderValue()
{
    std::jthread([this] { delegate().setStatusStr(u"older"_s); }).join(); // its announcement is under way
    delegate().setStatusStr(u"newer"_s);
    QCOMPARE(label("statusLabel").text(), u"newer"_s);
    QCoreApplication::processEvents();
    QCOMPARE(label("statusLabel").text(), u"newer"_s);
}

void TestMainWindowBindings::theBarShowsWhatItCanAndThePropertyKeepsTheNumber_data()
{
    QTest::addColumn<double>("percentage");
    QTest::addColumn<int>("maximum"); // 0: busy
    QTest::addColumn<int>("value");
    QTest::newRow("nothing") << 0.0 << 100 << 0;
    QTest::newRow("one step") << 1.0 << 100 << 1;
    QTest::newRow("a part of a step") << 41.9 << 100 << 41;
    QTest::newRow("full") << 100.0 << 100 << 100;
    QTest::newRow("above full") << 250.0 << 100 << 100;
    QTest::newRow("an unknown length") << -1638400.0 << 0 << -1;
    QTest::newRow("known again") << 12.0 << 100 << 12;
}

void TestMainWindowBindings::theBarShowsWhatItCanAndThePropertyKeepsTheNumber()
{
    QFETCH(const double, percentage);
    QFETCH(const int, maximum);
    QFETCH(const int, value);
    delegate().setUpdateProgressbar(percentage); // after the row before
    const auto *bar = m_program->control<QProgressBar>("progressIndicator");
    QCOMPARE(bar->minimum(), 0);
    QCOMPARE(bar->maximum(), maximum);
    if (maximum > 0)
        QCOMPARE(bar->value(), value);
    QCOMPARE(delegate().updateProgressbar(), percentage);
}

void TestMainWindowBindings::aFailureLooksLikeOne()
{
    const auto *status = m_program->control<StatusLine>("statusLabel");
    delegate().setFailureStr(u"Incorrect Login..."_s);
    QVERIFY(status->isFailure());
    QCOMPARE(status->text(), u"Incorrect Login..."_s);
    QCOMPARE(delegate().statusStr(), u"Incorrect Login..."_s);
    delegate().setStatusStr(u"Downloading..."_s);
    QVERIFY(!status->isFailure());
}

void TestMainWindowBindings::theBarTellsSizeAndSpeed_data()
{
    QTest::addColumn<DownloadPace>("pace");
    QTest::addColumn<QString>("toolTip");
    QTest::newRow("no download") << DownloadPace() << QString();
    QTest::newRow("a known size") << DownloadPace{3 << 20, 12 << 20, 2s}
                                  << u"3.00 MiB of 12.00 MiB, 1.50 MiB per second"_s;
    QTest::newRow("an unknown size") << DownloadPace{3 << 10, -1, 1s} << u"3.00 KiB, 3.00 KiB per second"_s;
    QTest::newRow("the first moment") << DownloadPace{3 << 10, -1, 0s} << QString();
}

void TestMainWindowBindings::theBarTellsSizeAndSpeed()
{
    QFETCH(const DownloadPace, pace);
    QFETCH(const QString, toolTip);
    delegate().setDownloadPace(pace);
    QCOMPARE(m_program->control<QProgressBar>("progressIndicator")->toolTip(), toolTip);
}

void TestMainWindowBindings::theMainButtonIsDisabledDuringADownloadAndGetsTheKeyboardBack()
{
    delegate().setUpdateNotStarted(false);
    QVERIFY(!mainButton().isEnabled());
    QVERIFY(!m_program->control("button1")->hasFocus());
    delegate().setUpdateNotStarted(true);
    QVERIFY(mainButton().isEnabled());
    QVERIFY(mainButton().hasFocus());
}

void TestMainWindowBindings::theMainButtonGetsTheKeyboardBackInABackgroundWindow()
{
    delegate().setUpdateNotStarted(false);
    QLineEdit other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    delegate().setUpdateNotStarted(true);
    QVERIFY(other.isActiveWindow());
    delegate().window()->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(delegate().window()));
    QTRY_VERIFY(mainButton().hasFocus());
}

void TestMainWindowBindings::theKeyboardStaysWhereThePlayerMovedIt()
{
    delegate().setUpdateNotStarted(false);
    m_program->control("button1")->setFocus();
    delegate().setUpdateNotStarted(true);
    QVERIFY(m_program->control("button1")->hasFocus());
}

void TestMainWindowBindings::textsFromOutsideAreNoMarkup_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("tags") << u"<b>1.2.6</b>"_s;
    QTest::newRow("a picture") << u"<img src=\"https://tracker.example/x.png\">"_s;
    QTest::newRow("an ampersand") << u"Tom & Jerry"_s;
    QTest::newRow("an entity") << u"1.2.6&nbsp;&lt;b&gt;"_s;
    QTest::newRow("quotes") << u"the \"new\" one's"_s;
    QTest::newRow("a page") << u"<!DOCTYPE html><title>500</title>"_s;
}

void TestMainWindowBindings::textsFromOutsideAreNoMarkup()
{
    QFETCH(const QString, text);
    delegate().setUpdateVersion(text);
    delegate().setStatusStr(text);
    for (const char *name : {"updateVersionLabel", "statusLabel"}) {
        const ElidedLabel &shown = label(name);
        QCOMPARE(shown.text(), text);
        QCOMPARE(shownToolTip(shown), text);
        const int room = shown.fontMetrics().averageCharWidth() * 60; // where the label's own limit lies
        QVERIFY(shown.sizeHint().width() >= std::min(room, shown.fontMetrics().horizontalAdvance(text)));
    }
}

void TestMainWindowBindings::aGiantTextMovesNothing_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("one long word") << QString(1000000, u'W');
    QTest::newRow("many lines") << u"line\n"_s.repeated(1000);
    QTest::newRow("an error page") << u"<html><body><h1>Internal Server Error</h1><p>Sorry.</p></body></html>\r\n"_s;
}

void TestMainWindowBindings::aGiantTextMovesNothing()
{
    QFETCH(const QString, text);
    QLayout &layout = *m_program->control<QWidget>("centralWidget")->layout();
    layout.activate();
    const auto places = [this] {
        QMap<QString, QRect> found;
        for (const QWidget *widget : delegate().window()->findChildren<QWidget *>()) {
            if (widget->objectName().isEmpty() || widget->objectName().startsWith(u"qt_"))
                continue;
            found[widget->objectName()] = QRect(widget->mapTo(delegate().window(), QPoint()), widget->size());
        }
        found.remove(u"updateVersionLabel"_s); // it may take the free room behind it
        return found;
    };
    const QMap<QString, QRect> before = places();
    const QSize size = delegate().window()->size();
    const QSize minimum = delegate().window()->minimumSizeHint();
    delegate().setUpdateVersion(text);
    delegate().setStatusStr(text);
    layout.activate();
    QCOMPARE(delegate().window()->size(), size);
    QCOMPARE(delegate().window()->minimumSizeHint(), minimum);
    for (const auto &[name, place] : places().toStdMap())
        QVERIFY2(place == before[name], qPrintable(name));
}

QTEST_MAIN(TestMainWindowBindings)
#include "TestMainWindowBindings.moc"
