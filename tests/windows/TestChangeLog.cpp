#include "windows/ChangeLog.h"

#include "support/Outages.h"
#include "windows/LogWindow.h"

#include <QApplication>
#include <QFontInfo>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTest>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray path = "/api/changelog";

// Whether the window's text was painted; read from another thread.
class PaintWatch : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *widget = qobject_cast<QWidget *>(watched);
        if (event->type() == QEvent::Paint && widget && qobject_cast<LogWindow *>(widget->window()))
            painted = true;
        return false;
    }

    std::atomic<bool> painted = false;
};
} // namespace

class TestChangeLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theSitesChangeLogIsFetchedOnce();
    void theWindowIsOnTheScreenBeforeTheFetch();
    void theWindowStandsInTheMiddle();
    void theTextIsShownAsItIs_data();
    void theTextIsShownAsItIs();
    void whatIsNot7BitAsciiLeavesTheWindowEmpty();
    void aTransportErrorLeavesTheWindowEmpty_data();
    void aTransportErrorLeavesTheWindowEmpty();
    void aFailureKeepsTheTextOfBefore();
    void theTextCanBeReadAndNotWritten();
    void aLongTextScrolls();
    void theFontIsLegible();
    void theWindowCloses_data();
    void theWindowCloses();
    void aClosedWindowIsLoadedAgain();
    void anotherWindowsEndChangesNothing();
    void theWindowGoesWithItsController();

private:
    QString shown() const { return textView()->toPlainText(); }
    QPlainTextEdit *textView() const { return m_log->window()->findChild<QPlainTextEdit *>(u"textView"_s); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<ChangeLog> m_log;
};

void TestChangeLog::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().setChangeLog("Version 1.2.6\n- Salt\n");
    m_log = std::make_unique<ChangeLog>(m_world->loader(), m_world->site());
}

void TestChangeLog::cleanup()
{
    m_log.reset();
    m_world.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void TestChangeLog::theSitesChangeLogIsFetchedOnce()
{
    QVERIFY(!m_log->window());
    QCOMPARE(m_log->text(), std::nullopt);
    m_log->showLogs();
    QCOMPARE(m_log->text(), u"Version 1.2.6\n- Salt\n"_s);
    QCOMPARE(shown(), u"Version 1.2.6\n- Salt\n"_s);
    QCOMPARE(askedOf(m_world->vendor()), QList<QByteArray>{"GET wayfar.example/api/changelog"});
}

// The fetch holds this thread: another one looks while the vendor keeps it waiting.
void TestChangeLog::theWindowIsOnTheScreenBeforeTheFetch()
{
    m_world->vendor().setAnswer(path, silentAfter(-1, "late"));
    PaintWatch watch;
    qApp->installEventFilter(&watch);
    std::atomic<bool> paintedFirst = false;
    std::jthread looking([&] {
        const bool asked = m_world->vendor().waitForRequests(path, 1);
        paintedFirst = asked && watch.painted;
        m_world->vendor().step();
    });
    m_log->showLogs();
    looking.join();
    QVERIFY(paintedFirst);
    QCOMPARE(shown(), u"late"_s);
    QVERIFY(m_log->window()->isVisible());
}

void TestChangeLog::theWindowStandsInTheMiddle()
{
    m_log->showLogs();
    const QPoint middle = m_log->window()->screen()->availableGeometry().center();
    const QPoint off = m_log->window()->frameGeometry().center() - middle;
    QVERIFY(std::abs(off.x()) <= 4 && std::abs(off.y()) <= 4); // nearly: the desktop adds its frame
    QTRY_VERIFY(m_log->window()->isActiveWindow());
}

void TestChangeLog::theTextIsShownAsItIs_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QByteArray &body, const QString &text) {
        QTest::newRow(name) << 200 << body << text;
    };
    row("lines", "one\ntwo\n\n", u"one\ntwo\n\n"_s);
    row("line ends of two characters", "one\r\ntwo", u"one\ntwo"_s);
    row("markup", "<b>one</b> &amp; <img src=\"a\">", u"<b>one</b> &amp; <img src=\"a\">"_s);
    row("the last of the 7 bits", "~ %@ %1", u"~ %@ %1"_s);
    row("blanks at both ends", "  one\t ", u"  one\t "_s);
    row("nothing", "", u""_s);
    for (const int status : {203, 404, 503})
        QTest::addRow("status %d", status) << status << QByteArray("<h1>Not found</h1>") << u"<h1>Not found</h1>"_s;
}

void TestChangeLog::theTextIsShownAsItIs()
{
    QFETCH(const int, status);
    QFETCH(const QByteArray, body);
    QFETCH(const QString, text);
    m_world->vendor().setAnswer(path, answerWith(body, status));
    m_log->showLogs();
    QCOMPARE(shown(), text);
    QCOMPARE(m_log->text(), QString::fromLatin1(body));
}

void TestChangeLog::whatIsNot7BitAsciiLeavesTheWindowEmpty()
{
    const QList<QByteArray> bodies = {"Caf\u00e9", "Caf\xE9", "a\x80", "\xEF\xBB\xBFVersion 1.2.6",
                                      QByteArray(100000, 'a') + '\xFF'};
    for (const QByteArray &body : bodies) {
        m_world->vendor().setAnswer(path, answerWith(body));
        m_log->showLogs();
        QVERIFY(m_log->window()->isVisible());
        QCOMPARE(shown(), QString());
        QCOMPARE(m_log->text(), std::nullopt);
    }
}

void TestChangeLog::aTransportErrorLeavesTheWindowEmpty_data()
{
    addOutages("Version 1.2.6");
}

void TestChangeLog::aTransportErrorLeavesTheWindowEmpty()
{
    QFETCH(const Outage, outage);
    outage.strike(*m_world, path);
    m_log = std::make_unique<ChangeLog>(m_world->loader(), m_world->site());
    m_log->showLogs();
    QVERIFY(m_log->window()->isVisible());
    QCOMPARE(shown(), QString());
    QCOMPARE(m_log->text(), std::nullopt);
    QVERIFY(!QApplication::activeModalWidget());
}

void TestChangeLog::aFailureKeepsTheTextOfBefore()
{
    m_log->showLogs();
    for (const VendorAnswer &answer : {brokenAfter(2, "newer"), answerWith("Caf\u00e9")}) {
        m_world->vendor().setAnswer(path, answer);
        m_log->showLogs();
        QCOMPARE(shown(), u"Version 1.2.6\n- Salt\n"_s);
    }
    m_world->vendor().setAnswer(path, answerWith("newer"));
    m_log->showLogs();
    QCOMPARE(shown(), u"newer"_s);
}

void TestChangeLog::theTextCanBeReadAndNotWritten()
{
    m_log->showLogs();
    QPlainTextEdit *view = textView();
    QVERIFY(view->isReadOnly());
    view->setFocus();
    QTest::keyClicks(view, u"scribble"_s);
    QTest::keyClick(view, Qt::Key_Delete);
    QTest::keyClick(view, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(view, Qt::Key_X, Qt::ControlModifier);
    QTest::keyClick(view, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(shown(), u"Version 1.2.6\n- Salt\n"_s);
    QCOMPARE(view->textCursor().selectedText().size(), shown().size()); // it can be copied
}

void TestChangeLog::aLongTextScrolls()
{
    m_world->vendor().setChangeLog(QByteArray("- another line\n").repeated(2000));
    m_log->showLogs();
    QPlainTextEdit *view = textView();
    QTRY_VERIFY(view->verticalScrollBar()->isVisible());
    QVERIFY(view->verticalScrollBar()->maximum() > 1000);
    QCOMPARE(view->verticalScrollBar()->value(), 0); // the newest stands first
    QTest::keyClick(view, Qt::Key_End, Qt::ControlModifier);
    QTest::keyClick(view, Qt::Key_PageDown);
    QVERIFY(view->verticalScrollBar()->value() > 0);
    QVERIFY(m_log->window()->height() <= m_log->window()->screen()->availableGeometry().height());
}

void TestChangeLog::theFontIsLegible()
{
    m_log->showLogs();
    const QPlainTextEdit *view = textView();
    QVERIFY(QFontInfo(view->font()).pixelSize() >= QFontInfo(QApplication::font()).pixelSize());
    QVERIFY(QFontInfo(view->font()).pixelSize() >= 11);
    QVERIFY(view->fontMetrics().averageCharWidth() * 60 <= view->viewport()->width()); // sixty letters a line
    const QPalette &colours = view->palette();
    QVERIFY(std::abs(colours.color(QPalette::Text).lightness() - colours.color(QPalette::Base).lightness()) > 128);
}

void TestChangeLog::theWindowCloses_data()
{
    QTest::addColumn<std::function<void(LogWindow &)>>("close");
    const auto row = [](const char *name, const std::function<void(LogWindow &)> &close) {
        QTest::newRow(name) << close;
    };
    row("by its button", [](LogWindow &window) {
        QTest::mouseClick(window.findChild<QPushButton *>(u"closeButton"_s), Qt::LeftButton);
    });
    row("by Escape", [](LogWindow &window) { QTest::keyClick(window.focusWidget(), Qt::Key_Escape); });
    row("by Ctrl+W", [](LogWindow &window) { QTest::keyClick(window.focusWidget(), Qt::Key_W, Qt::ControlModifier); });
}

void TestChangeLog::theWindowCloses()
{
    QFETCH(const std::function<void(LogWindow &)>, close);
    m_log->showLogs();
    const QPointer<LogWindow> window = m_log->window();
    QVERIFY(QTest::qWaitForWindowActive(window));
    textView()->setFocus();
    close(*window);
    QVERIFY(!m_log->window());
    QTRY_VERIFY(!window); // it is gone, not hidden
}

void TestChangeLog::aClosedWindowIsLoadedAgain()
{
    m_log->showLogs();
    const QPointer<LogWindow> first = m_log->window();
    first->close();
    QVERIFY(!m_log->window());
    QTRY_VERIFY(!first);
    m_world->vendor().setAnswer(path, brokenAfter(2, "newer"));
    m_log->showLogs();
    QVERIFY(m_log->window()->isVisible());
    QCOMPARE(shown(), u"Version 1.2.6\n- Salt\n"_s); // the controller still has it
    QCOMPARE(m_world->vendor().requests(path).size(), 2);
}

void TestChangeLog::anotherWindowsEndChangesNothing()
{
    m_log->showLogs();
    const LogWindow *window = m_log->window();
    const QObject other;
    m_log->windowWillClose(&other);
    m_log->windowWillClose(nullptr);
    QCOMPARE(m_log->window(), window);
    m_log->windowWillClose(window);
    QVERIFY(!m_log->window());
    delete window;
}

void TestChangeLog::theWindowGoesWithItsController()
{
    m_log->showLogs();
    const QPointer<LogWindow> window = m_log->window();
    m_log.reset();
    QVERIFY(!window || !window->isVisible());
    QTRY_VERIFY(!window);
}

QTEST_MAIN(TestChangeLog)
#include "TestChangeLog.moc"
