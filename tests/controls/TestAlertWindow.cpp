#include "controls/AlertWindow.h"

#include "controls/LongTextView.h"
#include "controls/Waiting.h"
#include "support/MarkupTexts.h"
#include "support/Modal.h"
#include "support/WindowSystem.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QWindow>

#include <functional>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{
using Deed = std::function<void(QMessageBox &)>;

// What the alert answers when the player does that with it; -1 when there was none.
int answerTo(const AlertContent &content, const Deed &deed)
{
    const WhenOpen<QMessageBox> player(deed);
    const int answer = AlertWindow().runModal(content);
    return player.opened() ? answer : -1;
}

QAbstractButton *buttonNamed(const QMessageBox &box, const QString &text)
{
    for (QAbstractButton *button : box.buttons()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

Deed press(const QString &text)
{
    return [text](QMessageBox &box) { QTest::mouseClick(buttonNamed(box, text), Qt::LeftButton); };
}

void shut(QMessageBox &box)
{
    box.close();
}

Deed type(Qt::Key key)
{
    return [key](QMessageBox &box) { QTest::keyClick(&box, key); };
}

const AlertContent question = {.messageText = u"A new version is available."_s,
                               .informativeText = u"Upgrade?"_s,
                               .defaultButton = u"YES"_s,
                               .alternateButton = u"NO"_s};
} // namespace

class TestAlertWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theTextsAndButtonsAreShown();
    void theTitleNamesWhatItIsAboutAndTheProgram();
    void itBelongsToTheSplashAndCanNotBeMinimised();
    void itLeavesTheNameOnTheSplashToBeRead_data();
    void itLeavesTheNameOnTheSplashToBeRead();
    void aPlainAlertHasOneButton();
    void markupIsShownAsItStands_data();
    void markupIsShownAsItStands();
    void aLongTextLeavesTheButtonsInReach_data();
    void aLongTextLeavesTheButtonsInReach();
    void aTextIsShownWholeAndCanBeCopied_data();
    void aTextIsShownWholeAndCanBeCopied();
    void theAnswerIsWhatThePlayerDid_data();
    void theAnswerIsWhatThePlayerDid();
    void aWorkerGetsItsAnswerFromTheMainThread();
    void theWaitCursorGivesWayToAnAlert();
    void anAlertInsideAWaitGetsItsAnswer();
    void anAlertIsModalForTheWholeProgram();
};

void TestAlertWindow::theTextsAndButtonsAreShown()
{
    const int answer = answerTo(question, [](QMessageBox &box) {
        QCOMPARE(box.text(), question.messageText);
        QCOMPARE(box.informativeText(), question.informativeText);
        QCOMPARE(box.buttons().size(), 2);
        QVERIFY(buttonNamed(box, u"YES"_s));
        QVERIFY(buttonNamed(box, u"NO"_s));
        QCOMPARE(box.defaultButton(), buttonNamed(box, u"YES"_s));
        QVERIFY(box.isModal());
    });
    QCOMPARE(answer, 0);
}

void TestAlertWindow::theTitleNamesWhatItIsAboutAndTheProgram()
{
    QGuiApplication::setApplicationDisplayName(u"Wayfar Installer"_s);
    for (const auto &[heading, title] :
         {std::pair{u"Repair"_s, u"Repair \u2014 Wayfar Installer"_s}, std::pair{QString(), u"Wayfar Installer"_s}}) {
        AlertContent content = question;
        content.heading = heading;
        const QString expected = title;
        (void)answerTo(content, [&](QMessageBox &box) { QCOMPARE(box.windowTitle(), expected); });
    }
}

// A window without a parent gets a place of its own on the desktop, and can be lost there.
void TestAlertWindow::itBelongsToTheSplashAndCanNotBeMinimised()
{
    QWidget splash(nullptr, Qt::SplashScreen);
    splash.show();
    QWindow inFront; // no widget of ours has the keyboard
    inFront.show();
    QVERIFY(QTest::qWaitForWindowActive(&inFront));
    (void)answerTo(question, [&](QMessageBox &box) {
        QCOMPARE(box.windowHandle()->transientParent(), splash.windowHandle());
        QVERIFY(box.windowFlags() & Qt::CustomizeWindowHint);
        QVERIFY(!(box.windowFlags() & Qt::WindowMinimizeButtonHint));
        QVERIFY(box.windowFlags() & Qt::WindowCloseButtonHint);
        box.showMinimized(); // as some desktops offer all the same
        QTRY_VERIFY(!box.isMinimized() && box.isVisible());
    });
}

void TestAlertWindow::itLeavesTheNameOnTheSplashToBeRead_data()
{
    QTest::addColumn<QPoint>("splashAt");
    QTest::addColumn<QString>("text");
    QTest::newRow("a short text") << QPoint(100, 100) << u"The download failed."_s;
    QTest::newRow("a long text") << QPoint(100, 100) << u"word "_s.repeated(500);
    QTest::newRow("at the top") << QPoint(0, 0) << u"The download failed."_s;
    QTest::newRow("at the bottom: it stays on the screen") << QPoint(100, 700) << u"The download failed."_s;
}

void TestAlertWindow::itLeavesTheNameOnTheSplashToBeRead()
{
    QFETCH(const QPoint, splashAt);
    QFETCH(const QString, text);
    QWidget splash(nullptr, Qt::SplashScreen);
    splash.setGeometry(QRect(splashAt, QSize(600, 340)));
    splash.show();
    (void)answerTo({text}, [&](QMessageBox &box) {
        const QRect room = box.screen()->availableGeometry();
        QVERIFY(room.contains(box.geometry()));
        const QRect name = QRect(splashAt, QSize(600, 340 * 2 / 5)); // the letters end there
        if (splashAt.y() < 200)
            QVERIFY(!box.geometry().intersects(name));
    });
}

void TestAlertWindow::aPlainAlertHasOneButton()
{
    const int answer = answerTo({u"The download failed."_s}, [](QMessageBox &box) {
        QCOMPARE(box.buttons().size(), 1);
        QVERIFY(box.informativeText().isEmpty());
        press(u"OK"_s)(box);
    });
    QCOMPARE(answer, Alert::DefaultReturn);
}

void TestAlertWindow::markupIsShownAsItStands_data()
{
    addMarkupTexts();
    QTest::newRow("lines and blanks") << u"cp: cannot create\n  '/x  y': Permission denied"_s;
}

void TestAlertWindow::markupIsShownAsItStands()
{
    QFETCH(const QString, text);
    const int answer = answerTo({.messageText = text, .informativeText = text}, [&](QMessageBox &box) {
        QStringList shown;
        for (const QLabel *label : box.findChildren<QLabel *>()) {
            if (!label->text().isEmpty())
                shown.append(readBack(label->text(), label->textFormat()));
        }
        QCOMPARE(shown, QStringList({text, text}));
        shut(box);
    });
    QCOMPARE(answer, Alert::DefaultReturn);
}

void TestAlertWindow::aLongTextLeavesTheButtonsInReach_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("informative");

    const QString hundredLines = u"A line of the page\n"_s.repeated(100);
    const QString megabyte = u"word "_s.repeated(200 * 1024);
    QTest::newRow("hundred lines") << hundredLines << u"Upgrade?"_s;
    QTest::newRow("nineteen lines twice") << u"line\n"_s.repeated(19) << u"line\n"_s.repeated(19);
    QTest::newRow("a long word") << QString(400, u'W') << u"Upgrade?"_s;
    QTest::newRow("empty lines") << QString(1000, u'\n') << u"Upgrade?"_s;
    QTest::newRow("a megabyte") << megabyte << u"Upgrade?"_s;
    QTest::newRow("a megabyte without a blank") << QString(1024 * 1024, u'W') << u"Upgrade?"_s;
    QTest::newRow("a megabyte of wide letters") << QString(1024 * 1024, QChar(0x4e16)) << u"Upgrade?"_s;
    QTest::newRow("hundred lines of information") << question.messageText << hundredLines;
    QTest::newRow("a megabyte of information") << question.messageText << megabyte;
    QTest::newRow("both a megabyte") << megabyte << megabyte;
    QTest::newRow("a megabyte of information without a blank") << question.messageText << QString(1024 * 1024, u'W');
}

void TestAlertWindow::aLongTextLeavesTheButtonsInReach()
{
    constexpr int Highest = 600;
    QFETCH(const QString, message);
    QFETCH(const QString, informative);
    AlertContent content = question;
    content.messageText = message;
    content.informativeText = informative;
    const int answer = answerTo(content, [&](QMessageBox &box) {
        QVERIFY2(box.height() <= Highest, qPrintable(QString::number(box.height())));
        QVERIFY2(box.width() <= box.screen()->availableGeometry().width(), qPrintable(QString::number(box.width())));
        for (const QAbstractButton *button : box.buttons())
            QVERIFY(box.rect().contains(QRect(button->mapTo(&box, QPoint()), button->size())));
        press(u"YES"_s)(box);
    });
    QCOMPARE(answer, Alert::DefaultReturn);
}

void TestAlertWindow::aTextIsShownWholeAndCanBeCopied_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("one line") << u"The download failed."_s;
    QTest::newRow("20 lines") << u"line\n"_s.repeated(19) + u"line"_s;
    QTest::newRow("a page") << u"A line of the page\n"_s.repeated(100);
    QTest::newRow("a line of many words") << u"word "_s.repeated(20000);
    QTest::newRow("a line without a blank") << QString(100000, u'W');
    QTest::newRow("a long word") << u"Look at "_s + QString(400, u'W');
    QTest::newRow("pairs of code units") << u"\U0001F4BE"_s.repeated(3000);
    QTest::newRow("other line ends") << u"first\rsecond\n"_s + QString(5000, u'W') + u"\nlast"_s;
}

void TestAlertWindow::aTextIsShownWholeAndCanBeCopied()
{
    QFETCH(const QString, text);
    QString copied;
    const int answer = answerTo({.messageText = text}, [&](QMessageBox &box) {
        if (auto *view = box.findChild<LongTextView *>()) {
            view->selectAll();
            view->copy();
            copied = QGuiApplication::clipboard()->text().trimmed();
        } else {
            for (const QLabel *label : box.findChildren<QLabel *>())
                QVERIFY(label->textInteractionFlags() & Qt::TextSelectableByMouse);
            copied = box.text();
        }
        shut(box);
    });
    QCOMPARE(copied, QString(text).replace(u'\r', u'\n').trimmed());
    QCOMPARE(answer, Alert::DefaultReturn);
}

void TestAlertWindow::theAnswerIsWhatThePlayerDid_data()
{
    QTest::addColumn<AlertContent>("content");
    QTest::addColumn<Deed>("deed");
    QTest::addColumn<int>("answer");

    const AlertContent plain = {u"The download failed."_s};
    QTest::newRow("default button") << question << press(u"YES"_s) << Alert::DefaultReturn;
    QTest::newRow("alternate button") << question << press(u"NO"_s) << 0;
    QTest::newRow("Return") << question << type(Qt::Key_Return) << Alert::DefaultReturn;
    QTest::newRow("Escape") << question << type(Qt::Key_Escape) << 0;
    QTest::newRow("closed") << question << Deed(shut) << 0;
    QTest::newRow("a plain alert's Escape") << plain << type(Qt::Key_Escape) << Alert::DefaultReturn;
    QTest::newRow("a plain alert closed") << plain << Deed(shut) << Alert::DefaultReturn;
}

void TestAlertWindow::theAnswerIsWhatThePlayerDid()
{
    QFETCH(const AlertContent, content);
    QFETCH(const Deed, deed);
    QTEST(answerTo(content, deed), "answer");
}

void TestAlertWindow::aWorkerGetsItsAnswerFromTheMainThread()
{
    bool shownOnMain = false;
    const WhenOpen<QMessageBox> player([&](QMessageBox &box) {
        shownOnMain = box.thread() == qApp->thread();
        press(u"YES"_s)(box);
    });
    std::atomic<int> answer = -1;
    std::jthread worker([&] { answer = AlertWindow().runModal(question); });
    QTRY_COMPARE(answer, Alert::DefaultReturn);
    QVERIFY(shownOnMain);
}

void TestAlertWindow::theWaitCursorGivesWayToAnAlert()
{
    Waiting::blockFor([] {
        const int answer = answerTo(
            question, [](QMessageBox &) { QCOMPARE(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor); });
        QCOMPARE(answer, 0);
        QCOMPARE(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
    });
}

// A worker's alert may come up just when the main thread's wait ends and throws the player's clicks away.
void TestAlertWindow::anAlertInsideAWaitGetsItsAnswer()
{
    const WhenOpen<QMessageBox> player([](QMessageBox &box) {
        WindowSystem::sendClick(*box.defaultButton());
        QTRY_VERIFY(!box.isVisible());
    });
    int answer = -1;
    Waiting::blockFor([&] {
        QMetaObject::invokeMethod(
            qApp, [&] { answer = AlertWindow().runModal(question); }, Qt::QueuedConnection);
    });
    QCOMPARE(answer, Alert::DefaultReturn);
}

void TestAlertWindow::anAlertIsModalForTheWholeProgram()
{
    QPushButton window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    int clicks = 0;
    connect(&window, &QPushButton::clicked, &window, [&] { ++clicks; });
    const int answer = answerTo(question, [&](QMessageBox &) {
        WindowSystem::sendClick(window);
        QCoreApplication::processEvents();
    });
    QCOMPARE(answer, 0);
    QCOMPARE(clicks, 0);
}

QTEST_MAIN(TestAlertWindow)
#include "TestAlertWindow.moc"
