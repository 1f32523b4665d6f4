#include "controls/AlertWindow.h"

#include "controls/Waiting.h"

#include "platform/MainThread.h"
#include "support/WindowSystem.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTextDocument>

#include <functional>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{
// A player who waits for the alert, does something with it, and closes it if it is still there.
class Player : public QObject
{
public:
    using Deed = std::function<void(QMessageBox &)>;

    explicit Player(const Deed &deed) : m_deed(deed) { qApp->installEventFilter(this); }

    int alertsSeen = 0;

private:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *box = qobject_cast<QMessageBox *>(watched);
        if (box && event->type() == QEvent::Show) {
            ++alertsSeen;
            QMetaObject::invokeMethod(
                box, [this, box] { answer(*box); }, Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

    void answer(QMessageBox &box) const
    {
        m_deed(box);
        if (box.isVisible())
            box.close();
    }

    const Deed m_deed;
};

QAbstractButton *buttonNamed(const QMessageBox &box, const QString &text)
{
    for (QAbstractButton *button : box.buttons()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

Player::Deed press(const QString &text)
{
    return [text](QMessageBox &box) { QTest::mouseClick(buttonNamed(box, text), Qt::LeftButton); };
}

Player::Deed type(Qt::Key key)
{
    return [key](QMessageBox &box) { QTest::keyClick(&box, key); };
}

// What the label lets the player read.
QString shownText(const QLabel &label)
{
    const Qt::TextFormat format = label.textFormat();
    if (format == Qt::PlainText || (format == Qt::AutoText && !Qt::mightBeRichText(label.text())))
        return label.text();
    QTextDocument document;
    document.setHtml(label.text());
    return document.toPlainText();
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
    void initTestCase();

    void theTextsAndButtonsAreShown();
    void aPlainAlertHasOneButton();
    void markupIsShownAsItStands_data();
    void markupIsShownAsItStands();
    void aLongTextLeavesTheButtonsInReach_data();
    void aLongTextLeavesTheButtonsInReach();
    void aTextIsCutOnlyWhereItIsTooLong_data();
    void aTextIsCutOnlyWhereItIsTooLong();
    void theAnswerIsTheButtonPressed_data();
    void theAnswerIsTheButtonPressed();
    void closingTheWindowIsTheAlternateAnswer();
    void closingAPlainAlertIsItsOneAnswer();
    void aWorkerGetsItsAnswerFromTheMainThread();
    void theWaitCursorGivesWayToAnAlert();
    void anAlertInsideAWaitGetsItsAnswer();
    void anAlertIsModalForTheWholeProgram();
};

void TestAlertWindow::initTestCase()
{
    WindowSystem::queueEvents();
}

void TestAlertWindow::theTextsAndButtonsAreShown()
{
    Player player([](QMessageBox &box) {
        QCOMPARE(box.text(), question.messageText);
        QCOMPARE(box.informativeText(), question.informativeText);
        QCOMPARE(box.buttons().size(), 2);
        QVERIFY(buttonNamed(box, u"YES"_s));
        QVERIFY(buttonNamed(box, u"NO"_s));
        QCOMPARE(box.defaultButton(), buttonNamed(box, u"YES"_s));
    });
    AlertWindow().runModal(question);
    QCOMPARE(player.alertsSeen, 1);
}

void TestAlertWindow::aPlainAlertHasOneButton()
{
    Player player([](QMessageBox &box) {
        QCOMPARE(box.buttons().size(), 1);
        QVERIFY(box.informativeText().isEmpty());
        press(u"OK"_s)(box);
    });
    QCOMPARE(AlertWindow().runModal({u"The download failed."_s}), Alert::DefaultReturn);
    QCOMPARE(player.alertsSeen, 1);
}

void TestAlertWindow::markupIsShownAsItStands_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("tags") << u"<b>bold</b><img src='https://wayfar.example/x.png'>"_s;
    QTest::newRow("a link") << u"<a href=\"https://wayfar.example\">press here</a>"_s;
    QTest::newRow("a whole page") << u"<!DOCTYPE html><html><body>502</body></html>"_s;
    QTest::newRow("entities") << u"&lt;b&gt; Tom & Jerry"_s;
    QTest::newRow("lines and blanks") << u"cp: cannot create\n  '/x  y': Permission denied"_s;
}

void TestAlertWindow::markupIsShownAsItStands()
{
    QFETCH(const QString, text);
    Player player([&](QMessageBox &box) {
        QStringList shown;
        for (const QLabel *label : box.findChildren<QLabel *>()) {
            if (!label->text().isEmpty())
                shown.append(shownText(*label));
        }
        QCOMPARE(shown, QStringList({text, text}));
    });
    AlertWindow().runModal({.messageText = text, .informativeText = text});
    QCOMPARE(player.alertsSeen, 1);
}

void TestAlertWindow::aLongTextLeavesTheButtonsInReach_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("informative");

    const QString hundredLines = u"A line of the page\n"_s.repeated(100);
    const QString megabyte = u"word "_s.repeated(200 * 1024);
    QTest::newRow("hundred lines") << hundredLines << u"Upgrade?"_s;
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
    const Player player([&](QMessageBox &box) {
        QVERIFY2(box.height() <= Highest, qPrintable(QString::number(box.height())));
        QVERIFY2(box.width() <= box.screen()->availableGeometry().width(), qPrintable(QString::number(box.width())));
        for (const QAbstractButton *button : box.buttons())
            QVERIFY(box.rect().contains(QRect(button->mapTo(&box, QPoint()), button->size())));
        press(u"YES"_s)(box);
    });
    QCOMPARE(AlertWindow().runModal({message, informative, question.defaultButton, question.alternateButton}),
             Alert::DefaultReturn);
    QCOMPARE(player.alertsSeen, 1);
}

void TestAlertWindow::aTextIsCutOnlyWhereItIsTooLong_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");

    const QString twentyLines = u"line\n"_s.repeated(19) + u"line"_s;
    const QString thousand(1000, u'a');
    QTest::newRow("one line") << u"The download failed."_s << u"The download failed."_s;
    QTest::newRow("none") << u""_s << u""_s;
    QTest::newRow("20 lines") << twentyLines << twentyLines;
    QTest::newRow("a line more") << twentyLines + u"\nline"_s << twentyLines + u"…"_s;
    QTest::newRow("1000 characters") << thousand << thousand;
    QTest::newRow("a character more") << thousand + u'a' << thousand + u"…"_s;
}

void TestAlertWindow::aTextIsCutOnlyWhereItIsTooLong()
{
    QFETCH(const QString, text);
    QFETCH(const QString, shown);
    const Player player([&](QMessageBox &box) {
        QCOMPARE(box.text(), shown);
        QCOMPARE(box.informativeText(), shown);
    });
    AlertWindow().runModal({.messageText = text, .informativeText = text});
    QCOMPARE(player.alertsSeen, 1);
}

void TestAlertWindow::theAnswerIsTheButtonPressed_data()
{
    QTest::addColumn<Player::Deed>("deed");
    QTest::addColumn<int>("answer");

    QTest::newRow("default button") << press(u"YES"_s) << Alert::DefaultReturn;
    QTest::newRow("alternate button") << press(u"NO"_s) << 0;
    QTest::newRow("Return") << type(Qt::Key_Return) << Alert::DefaultReturn;
    QTest::newRow("Escape") << type(Qt::Key_Escape) << 0;
}

void TestAlertWindow::theAnswerIsTheButtonPressed()
{
    QFETCH(const Player::Deed, deed);
    const Player player(deed);
    QTEST(AlertWindow().runModal(question), "answer");
    QCOMPARE(player.alertsSeen, 1);
}

void TestAlertWindow::closingTheWindowIsTheAlternateAnswer()
{
    const Player player([](QMessageBox &) {});
    QCOMPARE(AlertWindow().runModal(question), 0);
}

void TestAlertWindow::closingAPlainAlertIsItsOneAnswer()
{
    const Player player([](QMessageBox &) {});
    QCOMPARE(AlertWindow().runModal({u"The download failed."_s}), Alert::DefaultReturn);
}

void TestAlertWindow::aWorkerGetsItsAnswerFromTheMainThread()
{
    bool shownOnMain = false;
    const Player player([&](QMessageBox &box) {
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
    Qt::CursorShape shape = Qt::BlankCursor;
    const Player player([&](QMessageBox &) { shape = QGuiApplication::overrideCursor()->shape(); });
    Waiting::blockFor([&] {
        AlertWindow().runModal(question);
        QCOMPARE(shape, Qt::ArrowCursor);
        QCOMPARE(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
    });
}

// A worker's alert may come up just when the main thread's wait ends and throws the player's clicks away.
void TestAlertWindow::anAlertInsideAWaitGetsItsAnswer()
{
    const Player player([](QMessageBox &box) {
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
    const Player player([&](QMessageBox &box) {
        QVERIFY(box.isModal());
        WindowSystem::sendClick(window);
        QCoreApplication::processEvents();
    });
    AlertWindow().runModal(question);
    QCOMPARE(clicks, 0);
}

QTEST_MAIN(TestAlertWindow)
#include "TestAlertWindow.moc"
