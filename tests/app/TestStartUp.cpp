#include "support/Answers.h"
#include "support/PageScript.h"
#include "support/Program.h"

#include "controls/ElidedLabel.h"

#include <QProgressBar>
#include <QScreen>
#include <QSignalSpy>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{
// Calls the action at each event of that type of a top-level window of that class.
class WindowWatch : public QObject
{
public:
    WindowWatch(const char *className, QEvent::Type type, const std::function<void()> &action)
        : m_className(className), m_type(type), m_action(action)
    {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == m_type && watched->isWidgetType() && watched->inherits(m_className))
            m_action();
        return QObject::eventFilter(watched, event);
    }

private:
    const char *const m_className;
    const QEvent::Type m_type;
    const std::function<void()> m_action;
};

// Nearly: the desktop adds its frame when the window is shown.
bool isCentred(const QWidget &window)
{
    const QPoint off = window.geometry().center() - window.screen()->availableGeometry().center();
    return std::abs(off.x()) <= 4 && std::abs(off.y()) <= 4;
}
} // namespace

class TestStartUp : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theSplashIsOnTheScreenBeforeTheWorkerStarts();
    void theMainThreadStaysFreeWhileTheVendorIsSilent();
    void theMainWindowReplacesTheSplashWhenAllIsFetched();
    void aPageOfAnEarlierRunIsNeverShown_data();
    void aPageOfAnEarlierRunIsNeverShown();
    void withoutASupportFolderBothPanesStayEmpty();
    void aVendorThatBreaksOffLeavesAUsableWindow();
    void theWindowSwitchCanBeMadeOnTheMainThread();

private:
    void launch() { delegate().applicationDidFinishLaunching(); }
};

void TestStartUp::init()
{
    m_world = std::make_unique<TestWorld>();
    UrlLoaderSettings network = m_world->network();
    network.idleSeconds = 5; // a main thread that waits for a silent vendor then fails the test instead of hanging
    m_world->useVendor(network);
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "<p>Rowan's page</p>");
    m_program = std::make_unique<Program>(*m_world);
}

void TestStartUp::cleanup()
{
    m_world->vendor().clearAnswers();
    m_world->vendor().step();
    m_program->waitForStart();
    end();
}

void TestStartUp::theSplashIsOnTheScreenBeforeTheWorkerStarts()
{
    int paintings = 0;
    bool workerStarted = false;
    const WindowWatch watch("SplashScreenView", QEvent::Paint, [&] {
        ++paintings;
        workerStarted = workerStarted || delegate().isStarting();
    });
    launch();
    QVERIFY(paintings > 0);
    QVERIFY(!workerStarted);
    QVERIFY(delegate().isStarting());
    const SplashScreen &splash = *delegate().splashWindow();
    QCOMPARE(splash.accessibleName(), u"Wayfar Installer is starting"_s);
    QVERIFY(splash.isVisible());
    QVERIFY(splash.windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(isCentred(splash));
    QVERIFY(!splash.size().isEmpty());
    QVERIFY(!delegate().window()->isVisible());
}

void TestStartUp::theMainThreadStaysFreeWhileTheVendorIsSilent()
{
    storeAccount(u"rowan"_s, u"secret"_s);
    m_world->vendor().queueAnswer("/api/dlCheckUser", silence());
    launch();
    QVERIFY(m_world->vendor().waitForRequests("/api/dlCheckUser", 1));
    bool fired = false;
    QTimer::singleShot(0, this, [&fired] { fired = true; });
    QTRY_VERIFY(fired);
    QVERIFY(delegate().isStarting());
    QVERIFY(delegate().splashWindow()->isVisible());
    QVERIFY(!delegate().window()->isVisible());
    QVERIFY(!QApplication::overrideCursor());
    QVERIFY(delegate().splashWindow()->close()); // by hand: no end of the program
    m_world->vendor().step();
    QVERIFY(m_program->waitForStart());
    QVERIFY(delegate().window()->isVisible());
    QCOMPARE(m_program->terminations, 0);
}

void TestStartUp::theMainWindowReplacesTheSplashWhenAllIsFetched()
{
    storeAccount(u"rowan"_s, u"secret"_s);
    m_world->installPack("1.2.6");
    bool splashGone = false;
    qsizetype asked = 0;
    std::optional<QString> buttonText;
    std::optional<QString> status = u"not shown"_s;
    const WindowWatch watch("MainWindow", QEvent::Show, [&] {
        splashGone = !delegate().splashWindow();
        asked = m_world->vendor().requests().size();
        buttonText = delegate().buttonText();
        status = delegate().statusStr();
    });
    QVERIFY(m_program->start());
    QVERIFY(splashGone);
    QCOMPARE(asked, 6); // all that is asked for
    QCOMPARE(buttonText, u"Play"_s);
    QCOMPARE(status, std::nullopt); // it follows
    QTRY_COMPARE(m_program->control<ElidedLabel>("statusLabel")->text(), u"Logged in as rowan..."_s);
    QVERIFY(isCentred(*delegate().window()));
    QVERIFY(delegate().window()->isActiveWindow());
    QVERIFY(waitForText(*delegate().htmlView(), u"Rowan's page"_s));
    QVERIFY(delegate().updateNotStarted());
    QCOMPARE(m_program->control("mainButton")->text(), u"Play"_s);
    QCOMPARE(m_program->control<QProgressBar>("progressIndicator")->value(), 100);
}

void TestStartUp::aPageOfAnEarlierRunIsNeverShown_data()
{
    QTest::addColumn<QString>("password"); // null: no account is stored
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<QString>("shown"); // a part of it
    QTest::newRow("the login fails") << u"guess"_s << QByteArray() << u"The login did not work"_s;
    QTest::newRow("no account is stored") << QString() << QByteArray() << u"Welcome, traveller"_s;
    QTest::newRow("the new page can't be kept") << u"secret"_s << QByteArray("\xff") << QString();
    QTest::newRow("the new page is there") << u"secret"_s << QByteArray() << u"Rowan's page"_s;
}

void TestStartUp::aPageOfAnEarlierRunIsNeverShown()
{
    QFETCH(const QString, password);
    QFETCH(const QByteArray, page);
    QFETCH(const QString, shown);
    m_world->write(m_world->supportFolder() + u"/account.html"_s, "<p>Of an earlier run</p>");
    if (!password.isNull())
        storeAccount(u"rowan"_s, password);
    if (!page.isEmpty())
        m_world->vendor().setAnswer("/api/dlCheckUser", answerWith(page));
    launch();
    const QSignalSpy loaded(delegate().htmlView(), &QWebEngineView::loadFinished);
    QVERIFY(m_program->waitForStart());
    QVERIFY(waitUntil([&] { return !loaded.isEmpty(); }));
    const QString text = textOf(*delegate().htmlView());
    QVERIFY2(shown.isEmpty() ? text.isEmpty() : text.contains(shown), qPrintable(text));
    QVERIFY(!text.contains(u"earlier"));
}

void TestStartUp::withoutASupportFolderBothPanesStayEmpty()
{
    storeAccount(u"rowan"_s, u"secret"_s);
    m_world->write(m_world->path(u"data"_s), "a file where the folder should be");
    const QByteArray log = standardErrorOf([this] { QVERIFY(m_program->start()); });
    QVERIFY(log.contains("Unable to find or create application support directory:"));
    for (const Pane *pane : {delegate().htmlView(), delegate().rssView()}) {
        QCOMPARE(textOf(*pane), QString());
        QVERIFY2(!pane->url().isLocalFile(), qPrintable(pane->url().toString()));
    }
    QVERIFY(delegate().window()->isVisible());
    QCOMPARE(delegate().statusStr(), u"Logged in as rowan..."_s);
}

void TestStartUp::aVendorThatBreaksOffLeavesAUsableWindow()
{
    storeAccount(u"rowan"_s, u"secret"_s);
    m_world->installPack("1.2.6");
    m_world->vendor().setAnswer("/api/dlCheckUser", brokenOff());
    m_world->vendor().setAnswer("/api/wayfarVersion", brokenOff());
    QVERIFY(m_program->start());
    QVERIFY(delegate().window()->isVisible());
    QCOMPARE(delegate().statusStr(), u"Incorrect Login..."_s);
    QCOMPARE(delegate().currentVersion(), u"1.2.6"_s);
    QCOMPARE(delegate().updateVersion(), std::nullopt);
    QCOMPARE(m_program->control<ElidedLabel>("updateVersionLabel")->text(), u"not available"_s);
    QCOMPARE(m_program->control("mainButton")->text(), u"Update"_s);
    QVERIFY(m_program->control("mainButton")->isEnabled());
    QVERIFY(waitUntil([this] { return textOf(*delegate().htmlView()).contains(u"The login did not work"); }));
    QVERIFY(m_program->alert.shown.isEmpty());
}

void TestStartUp::theWindowSwitchCanBeMadeOnTheMainThread()
{
    QVERIFY(m_program->start());
    const QString news = m_world->supportFolder() + u"/rssfeed.html"_s;
    m_world->write(news, "<p>The news</p>");
    delegate().closeSplashScreen();
    QVERIFY(waitForText(*delegate().rssView(), u"The news"_s));
    QVERIFY(QFile::remove(news));
    delegate().closeSplashScreen();
    QVERIFY(waitForText(*delegate().rssView(), QString()));
    QVERIFY(delegate().window()->isVisible());
}

QTEST_MAIN(TestStartUp)
#include "TestStartUp.moc"
