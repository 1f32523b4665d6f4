#include "support/Program.h"

#include "controls/ElidedLabel.h"
#include "places/Preferences.h"

#include <QApplication>
#include <QMouseEvent>
#include <QProgressBar>

using namespace Qt::StringLiterals;

namespace
{
const QString downloadFailed =
    u"Wayfer Installer failed to download Wayfar Pack update. Please retry and contact Wayfar "
    "support if problem persists."_s;

VendorAnswer archiveAnswer(const QByteArray &archive)
{
    VendorAnswer answer;
    answer.contentType = "application/zip";
    answer.body = archive;
    return answer;
}

// A player who goes on clicking at each repaint of the window during a wait: for the button under the pointer.
class ImpatientPlayer : public QObject
{
public:
    explicit ImpatientPlayer(QWidget &target) : m_target(target) { qApp->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && watched->objectName() == u"statusLabel" && QApplication::overrideCursor())
            click();
        return QObject::eventFilter(watched, event);
    }

    int clicks = 0;

private:
    void click()
    {
        ++clicks;
        const QPointF at = m_target.rect().center();
        const QPointF global = m_target.mapToGlobal(at);
        QCoreApplication::postEvent(
            &m_target,
            new QMouseEvent(QEvent::MouseButtonPress, at, global, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
        QCoreApplication::postEvent(
            &m_target,
            new QMouseEvent(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton, Qt::NoModifier));
    }

    QWidget &m_target;
};
} // namespace

class TestUpdateRoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void oneClickInstallsThePublishedPack();
    void clicksDuringTheInstallationAreDropped();
    void theWindowTellsOfTheInstallationBeforeItWaits();
    void eachUpdatePostsTheAccountStoredThen();
    void theBarShowsWholeStepsOfAKnownLength();
    void theBarIsBusyWhileTheLengthIsUnknown_data();
    void theBarIsBusyWhileTheLengthIsUnknown();
    void anEmptyAnswerMovesNoBar();
    void aBrokenTransferLeavesTheButtonAtUpdate_data();
    void aBrokenTransferLeavesTheButtonAtUpdate();
    void aVendorThatCannotBeReachedLeavesTheButtonAtUpdate_data();
    void aVendorThatCannotBeReachedLeavesTheButtonAtUpdate();
    void anAnswerThatIsNoArchiveEndsInARefresh_data();
    void anAnswerThatIsNoArchiveEndsInARefresh();

private:
    void startProgram();
    void clickMainButton() { QTest::mouseClick(m_program->control("mainButton"), Qt::LeftButton); }
    bool waitForTheEnd()
    {
        return QTest::qWaitFor([this] { return delegate().updateNotStarted(); }, 20000);
    }
    AppDelegate &delegate() { return m_program->delegate; }
    QProgressBar &bar() { return *m_program->control<QProgressBar>("progressIndicator"); }
    QString status() { return m_program->control<ElidedLabel>("statusLabel")->text(); }
    QString shownInstalled() { return m_program->control<ElidedLabel>("currentVersionLabel")->text(); }
    QByteArray file(const QString &name) const { return m_world->read(m_world->addOnFolder() + u'/' + name); }
    void verifyUsable();
    void verifyInstalled();

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
    QByteArray m_archive;
};

void TestUpdateRoad::init()
{
    m_world = std::make_unique<TestWorld>();
    m_archive = m_world->zip({{u"Trailbook/Trailbook.toc"_s, "## Title: Trailbook\n## Version: 1.2.6\n"},
                              {u"Trailbook/Routes/North.lua"_s, QByteArray(3000, 'n')}});
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "page");
    m_world->vendor().setPack(m_archive);
    m_world->defaults().setObject(Preferences::userName.key, u"rowan"_s);
    m_world->defaults().setObject(Preferences::password.key, u"secret"_s);
    m_world->installPack("1.2.5");
}

void TestUpdateRoad::cleanup()
{
    m_program.reset();
    m_world.reset();
}

void TestUpdateRoad::startProgram()
{
    m_program = std::make_unique<Program>(*m_world);
    QVERIFY(m_program->start());
    QVERIFY(QTest::qWaitForWindowActive(delegate().window()));
    QCOMPARE(m_program->control("mainButton")->text(), u"Update"_s);
}

void TestUpdateRoad::verifyUsable()
{
    QVERIFY(delegate().updateNotStarted());
    QVERIFY(m_program->control("mainButton")->isEnabled());
    QVERIFY(m_program->control("mainButton")->hasFocus());
    QCOMPARE(m_program->control("mainButton")->text(), u"Update"_s);
    QVERIFY(!QApplication::overrideCursor());
    QCOMPARE(m_program->terminations, 0);
    QCOMPARE(file(u"Trailbook/Trailbook.toc"_s), "## Title: Trailbook\n## Version: 1.2.5\n");
    QCOMPARE(file(u"Trailbook/Old.lua"_s), "-- old\n");
}

void TestUpdateRoad::verifyInstalled()
{
    QTRY_COMPARE(status(), u"Update Installed."_s);
    QTRY_COMPARE(m_program->control("mainButton")->text(), u"Play"_s);
    QCOMPARE(shownInstalled(), u"1.2.6"_s);
    QCOMPARE(bar().value(), 100);
    QCOMPARE(file(u"Trailbook/Routes/North.lua"_s), QByteArray(3000, 'n'));
    QVERIFY(!QFile::exists(m_world->addOnFolder() + u"/Trailbook/Old.lua"_s));
}

void TestUpdateRoad::oneClickInstallsThePublishedPack()
{
    startProgram();
    QStringList statuses;
    connect(&delegate(), &AppDelegate::statusStrChanged, this,
            [&] { statuses.append(delegate().statusStr().value_or(QString())); });
    m_world->vendor().clearRequests();
    clickMainButton();
    QVERIFY(!m_program->control("mainButton")->isEnabled());
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QCOMPARE(statuses, (QStringList{u"Downloading..."_s, u"Installing..."_s, u"Update Installed."_s}));
    QVERIFY(m_program->alert.shown.isEmpty());
    QVERIFY(m_program->administrator.scripts.isEmpty());
    QVERIFY(m_program->control("mainButton")->isEnabled());
    QVERIFY(m_program->control("mainButton")->hasFocus());
    QList<QByteArray> paths;
    for (const VendorRequest &request : m_world->vendor().requests())
        paths.append(request.path);
    QCOMPARE(paths, (QList<QByteArray>{"/api/dlGuide", "/api/wayfarVersion"}));
}

void TestUpdateRoad::clicksDuringTheInstallationAreDropped()
{
    startProgram();
    m_world->defaults().setObject(Preferences::launchPath.key, u"/games/launcher"_s);
    clickMainButton();
    const ImpatientPlayer player(*m_program->control("mainButton"));
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QVERIFY(player.clicks > 0);
    QCoreApplication::processEvents();
    QVERIFY(m_program->workspace.files.isEmpty());
    QCOMPARE(m_program->terminations, 0);
}

void TestUpdateRoad::theWindowTellsOfTheInstallationBeforeItWaits()
{
    class Watch : public QObject
    {
    public:
        bool eventFilter(QObject *watched, QEvent *event) override
        {
            const QCursor *cursor = QApplication::overrideCursor();
            const auto *label = qobject_cast<ElidedLabel *>(watched);
            if (event->type() == QEvent::Paint && label && label->objectName() == u"statusLabel" && cursor
                && cursor->shape() == Qt::WaitCursor)
                painted.append(label->text());
            return QObject::eventFilter(watched, event);
        }
        QStringList painted;
    } watch;
    startProgram();
    qApp->installEventFilter(&watch);
    clickMainButton();
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QCOMPARE(watch.painted.value(0), u"Installing..."_s);
    QVERIFY(!QApplication::overrideCursor());
}

void TestUpdateRoad::eachUpdatePostsTheAccountStoredThen()
{
    startProgram();
    m_world->vendor().addAccount(u"ann"_s, u"other"_s, "page");
    m_world->vendor().setPackVersion("1.2.7"); // so that the button stays
    clickMainButton();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(shownInstalled(), u"1.2.6"_s);
    QTRY_COMPARE(m_program->control("mainButton")->text(), u"Update"_s);

    m_world->defaults().setObject(Preferences::userName.key, u"ann"_s);
    m_world->defaults().setObject(Preferences::password.key, u"other"_s);
    m_world->vendor().setPack(m_world->zip({{u"Trailbook/Trailbook.toc"_s, "## Version: 1.2.7\n"}}));
    clickMainButton();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(shownInstalled(), u"1.2.7"_s);
    QTRY_COMPARE(m_program->control("mainButton")->text(), u"Play"_s);
    const QList<VendorRequest> posts = m_world->vendor().requests("/api/dlGuide");
    QCOMPARE(posts.size(), 2);
    QCOMPARE(posts[0].body, "user=rowan&pass=secret");
    QCOMPARE(posts[1].body, "user=ann&pass=other");
}

void TestUpdateRoad::theBarShowsWholeStepsOfAKnownLength()
{
    VendorAnswer pieces = archiveAnswer(m_archive);
    pieces.pieces = {m_archive.size() / 3, m_archive.size() / 3};
    pieces.stepped = true;
    m_world->vendor().setAnswer("/api/dlGuide", pieces);
    startProgram();
    clickMainButton();
    const qsizetype third = m_archive.size() / 3;
    for (const qsizetype received : {third, 2 * third}) {
        const auto percentage = static_cast<int>(received * 100 / m_archive.size());
        QTRY_COMPARE(delegate().updateProgressbar(), double(percentage));
        QCOMPARE(bar().value(), percentage);
        QCOMPARE(bar().maximum(), 100);
        QCOMPARE(status(), u"Downloading..."_s);
        QVERIFY(!delegate().updateNotStarted());
        m_world->vendor().step();
    }
    QVERIFY(waitForTheEnd());
    verifyInstalled();
}

void TestUpdateRoad::theBarIsBusyWhileTheLengthIsUnknown_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::newRow("chunked") << VendorAnswer::Length::Chunked;
    QTest::newRow("up to the connection's end") << VendorAnswer::Length::Absent;
}

void TestUpdateRoad::theBarIsBusyWhileTheLengthIsUnknown()
{
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer pieces = archiveAnswer(m_archive);
    pieces.length = length;
    pieces.pieces = {100};
    pieces.stepped = true;
    m_world->vendor().setAnswer("/api/dlGuide", pieces);
    startProgram();
    clickMainButton();
    QTRY_COMPARE(delegate().updateProgressbar(), -10000.0);
    QCOMPARE(bar().maximum(), 0);
    m_world->vendor().step();
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QCOMPARE(bar().maximum(), 100);
}

void TestUpdateRoad::anEmptyAnswerMovesNoBar()
{
    m_world->vendor().setAnswer("/api/dlGuide", archiveAnswer({}));
    startProgram();
    clickMainButton();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(m_world->vendor().requests("/api/wayfarVersion").size(), 2);
    QCOMPARE(delegate().updateProgressbar(), 0.0);
    QCOMPARE(status(), u"Installing..."_s);
    verifyUsable();
}

void TestUpdateRoad::aBrokenTransferLeavesTheButtonAtUpdate_data()
{
    QTest::addColumn<std::optional<qint64>>("resetAfter");
    QTest::addColumn<std::optional<qint64>>("stallAfter");
    QTest::addColumn<qint64>("missing"); // announced, but never sent
    QTest::addColumn<VendorAnswer::Length>("length");
    using After = std::optional<qint64>;
    using Length = VendorAnswer::Length;
    QTest::newRow("reset before the answer") << After(-1) << After() << qint64(0) << Length::Exact;
    QTest::newRow("reset after the headers") << After(0) << After() << qint64(0) << Length::Exact;
    QTest::newRow("reset in the body") << After(200) << After() << qint64(0) << Length::Exact;
    QTest::newRow("reset in a chunked body") << After(200) << After() << qint64(0) << Length::Chunked;
    QTest::newRow("reset in a body without a length") << After(200) << After() << qint64(0) << Length::Absent;
    QTest::newRow("a body that ends too early") << After() << After() << qint64(1000) << Length::Exact;
    QTest::newRow("silence in the body") << After() << After(200) << qint64(0) << Length::Exact;
}

void TestUpdateRoad::aBrokenTransferLeavesTheButtonAtUpdate()
{
    QFETCH(const std::optional<qint64>, resetAfter);
    QFETCH(const std::optional<qint64>, stallAfter);
    QFETCH(const qint64, missing);
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer broken = archiveAnswer(m_archive);
    broken.resetAfter = resetAfter;
    broken.stallAfter = stallAfter;
    broken.length = length;
    if (missing > 0)
        broken.announcedLength = m_archive.size() + missing;
    m_world->vendor().queueAnswer("/api/dlGuide", broken);
    UrlLoaderSettings network = m_world->network();
    network.idleSeconds = 1;
    m_world->useVendor(network);
    startProgram();

    QString statusInAlert;
    bool notStartedInAlert = false;
    m_program->alert.whileShown = [&] {
        statusInAlert = delegate().statusStr().value_or(QString());
        notStartedInAlert = delegate().updateNotStarted();
    };
    clickMainButton();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(status(), u"Update download failed. Please retry"_s);
    QCOMPARE(m_program->alert.shown.size(), 1);
    const AlertContent &alert = m_program->alert.shown.constFirst();
    QCOMPARE(alert.messageText, downloadFailed);
    QCOMPARE(alert.informativeText, QString());
    QCOMPARE(alert.defaultButton, u"OK"_s);
    QCOMPARE(alert.alternateButton, QString());
    QVERIFY(notStartedInAlert);
    QCOMPARE(statusInAlert, u"Downloading..."_s);
    QCOMPARE(m_world->vendor().requests("/api/dlGuide").size(), 1);
    QCOMPARE(m_world->vendor().requests("/api/wayfarVersion").size(), 1); // no refresh
    QVERIFY(delegate().updateInstaller());
    verifyUsable();

    clickMainButton();
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QCOMPARE(m_program->alert.shown.size(), 1);
}

void TestUpdateRoad::aVendorThatCannotBeReachedLeavesTheButtonAtUpdate_data()
{
    QTest::addColumn<bool>("trusted");
    QTest::newRow("refused") << true;
    QTest::newRow("a certificate of nobody we know") << false;
}

void TestUpdateRoad::aVendorThatCannotBeReachedLeavesTheButtonAtUpdate()
{
    QFETCH(const bool, trusted);
    startProgram();
    const quint16 port = m_world->vendor().port();
    m_world->stopVendor();
    std::unique_ptr<VendorServer> stranger; // in the vendor's place, under an authority of its own
    if (!trusted)
        stranger = std::make_unique<VendorServer>(VendorServer::Options{.port = port});
    for (int attempt = 1; attempt <= 2; ++attempt) {
        clickMainButton();
        QVERIFY(waitForTheEnd());
        QTRY_COMPARE(status(), u"Update download failed. Please retry"_s);
        QCOMPARE(m_program->alert.shown.size(), attempt);
        QCOMPARE(m_program->alert.shown.constLast().messageText, downloadFailed);
        verifyUsable();
    }
    QVERIFY(!stranger || stranger->requests().isEmpty());
}

void TestUpdateRoad::anAnswerThatIsNoArchiveEndsInARefresh_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("an error page") << 500 << QByteArray("<h1>Internal Server Error</h1>");
    QTest::newRow("an account that is refused") << 200 << QByteArray("Error|The account has ended.");
    QTest::newRow("a torn archive") << 200 << QByteArray("PK\x03\x04 and no more");
}

void TestUpdateRoad::anAnswerThatIsNoArchiveEndsInARefresh()
{
    QFETCH(const int, status);
    QFETCH(const QByteArray, body);
    VendorAnswer answer = archiveAnswer(body);
    answer.status = status;
    m_world->vendor().queueAnswer("/api/dlGuide", answer);
    startProgram();
    clickMainButton();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(m_world->vendor().requests("/api/wayfarVersion").size(), 2);
    QCOMPARE(this->status(), u"Installing..."_s);
    QVERIFY(m_program->alert.shown.isEmpty());
    verifyUsable();

    clickMainButton();
    QVERIFY(waitForTheEnd());
    verifyInstalled();
}

QTEST_MAIN(TestUpdateRoad)
#include "TestUpdateRoad.moc"
