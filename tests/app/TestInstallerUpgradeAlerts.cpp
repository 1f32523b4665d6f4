#include "support/Answers.h"
#include "support/Program.h"

#include "controls/AlertWindow.h"
#include "windows/InstallerDownloadWindow.h"
#include "upgrade/InstallerUpgrade.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <atomic>

using namespace Qt::StringLiterals;

namespace
{
// Answers a real alert from inside its event loop.
class Player : public QObject
{
public:
    explicit Player(const std::function<void(QMessageBox &)> &answer) : m_answer(answer)
    {
        connect(&m_timer, &QTimer::timeout, this, &Player::look);
        m_timer.start(1);
    }

    bool hasAnswered = false;

private:
    void look()
    {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box || !box->isVisible() || hasAnswered)
            return;
        hasAnswered = true;
        m_answer(*box);
        box->close(); // a test that failed in there must not wait for ever
    }

    const std::function<void(QMessageBox &)> m_answer;
    QTimer m_timer;
};

QPushButton *buttonOf(const QMessageBox &box, const QString &text)
{
    for (QPushButton *button : box.findChildren<QPushButton *>()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

const QString outOfReach =
    u"Installer could not connect to www.wayfar.example or connection is blocked by a security software. Check "
    "internet connection to website and whitelist WayfarRoutes_1.2.6.app file with your security software and try "
    "again."_s;
} // namespace

// The alerts of the start-up's first step as they really stand on the screen.
class TestInstallerUpgradeAlerts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QGuiApplication::setQuitOnLastWindowClosed(false); }
    void init()
    {
        QCoreApplication::setApplicationVersion(u"1.2.6"_s);
        m_world = std::make_unique<TestWorld>();
    }
    void cleanup() { m_world.reset(); }

    void theEndWaitsUntilTheFailureIsDismissed();
    void theQuestionsButtons_data();
    void theQuestionsButtons();

private:
    std::unique_ptr<TestWorld> m_world;
};

// The worker waits for the main thread's answer.
void TestInstallerUpgradeAlerts::theEndWaitsUntilTheFailureIsDismissed()
{
    m_world->vendor().setInstallerVersion("");
    AlertWindow alert;
    RecordingWorkspace workspace;
    Administrator administrator;
    std::atomic_int status = -1;
    std::atomic_bool byTheWorker = false;
    AppDelegate real({m_world->site(), m_world->defaults(), m_world->loader(), workspace, alert, administrator, [] {},
                      [&](int number) {
                          byTheWorker = QThread::currentThread() != qApp->thread();
                          status = number;
                      },
                      m_world->path()});
    const Player player([&](QMessageBox &box) {
        QCOMPARE(box.text(), outOfReach);
        QCOMPARE(status.load(), -1);
        QVERIFY(real.isStarting());
        QTest::mouseClick(buttonOf(box, u"OK"_s), Qt::LeftButton);
    });
    real.applicationDidFinishLaunching();
    QTRY_VERIFY(!real.isStarting());
    QVERIFY(player.hasAnswered);
    QCOMPARE(status.load(), 1);
    QVERIFY(byTheWorker);
    QVERIFY(m_world->vendor().requests("/feed").isEmpty());
}

void TestInstallerUpgradeAlerts::theQuestionsButtons_data()
{
    QTest::addColumn<QString>("button"); // empty: Escape
    QTest::addColumn<bool>("downloads");
    QTest::newRow("yes") << u"YES"_s << true;
    QTest::newRow("no") << u"NO"_s << false;
    QTest::newRow("escape") << QString() << false;
}

void TestInstallerUpgradeAlerts::theQuestionsButtons()
{
    QFETCH(const QString, button);
    QFETCH(const bool, downloads);
    m_world->vendor().setInstallerVersion("1.3.0");
    m_world->vendor().setAnswer("/WayfarRoutes_1.3.0.zip", silence());
    AlertWindow alert;
    RecordingWorkspace workspace;
    Administrator administrator;
    AppDelegate real({m_world->site(), m_world->defaults(), m_world->loader(), workspace, alert, administrator, [] {},
                      [](int) {}, m_world->path()});
    const Player player([&button](QMessageBox &box) {
        QCOMPARE(box.informativeText(), u"NOTE: Upgrade to newest version is recommended"_s);
        QCOMPARE(box.buttons().size(), 2);
        QVERIFY(buttonOf(box, u"YES"_s)->isDefault());
        if (button.isEmpty())
            QTest::keyClick(&box, Qt::Key_Escape);
        else
            QTest::mouseClick(buttonOf(box, button), Qt::LeftButton);
    });
    real.applicationDidFinishLaunching();
    QTRY_VERIFY(!real.isStarting());
    QVERIFY(player.hasAnswered);
    QCOMPARE(real.upgrade()->progressWindow() != nullptr, downloads);
    QCOMPARE(real.window()->isVisible(), !downloads);
}

QTEST_MAIN(TestInstallerUpgradeAlerts)
#include "TestInstallerUpgradeAlerts.moc"
