#include "support/Answers.h"
#include "support/Program.h"
#include "support/WindowSystem.h"

#include "controls/ElidedLabel.h"
#include "places/Preferences.h"

#include <QProgressBar>

using namespace Qt::StringLiterals;

namespace
{
const QString downloadFailed =
    u"Wayfer Installer failed to download Wayfar Pack update. Please retry and contact Wayfar "
    "support if problem persists."_s;
} // namespace

// From the press of "Update" to the button that reads "Play", or "Update" again.
class TestUpdateRoad : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void oneClickInstallsThePublishedPack();
    void clicksDuringTheInstallationAreDropped();
    void eachUpdatePostsTheAccountStoredThen();
    void theBarShowsThePiecesOfAKnownLength();
    void theBarIsBusyWhileTheLengthIsUnknown();
    void aBrokenTransferIsToldOfAndLeavesTheButtonAtUpdate_data();
    void aBrokenTransferIsToldOfAndLeavesTheButtonAtUpdate();
    void aVendorThatCannotBeReachedLeavesTheButtonAtUpdate();
    void anAnswerThatIsNoArchiveEndsInARefresh_data();
    void anAnswerThatIsNoArchiveEndsInARefresh();

private:
    void startProgram();
    void answer(const VendorAnswer &answer) { m_world->vendor().queueAnswer("/api/dlGuide", answer); }
    void clickUpdate() { m_program->click("mainButton"); }
    bool waitForTheEnd()
    {
        return QTest::qWaitFor([this] { return delegate().updateNotStarted(); }, 20000);
    }
    QAbstractButton &button() { return *m_program->control("mainButton"); }
    QProgressBar &bar() { return *m_program->control<QProgressBar>("progressIndicator"); }
    QString text(const char *label) { return m_program->control<ElidedLabel>(label)->text(); }
    QByteArray file(const QString &name) const { return m_world->read(m_world->addOnFolder() + u'/' + name); }
    void verifyUsable();
    void verifyInstalled();

    QByteArray m_archive;
};

void TestUpdateRoad::init()
{
    m_world = std::make_unique<TestWorld>();
    m_archive = m_world->zip({{u"Trailbook/Trailbook.toc"_s, "## Title: Trailbook\n## Version: 1.2.6\n"},
                              {u"Trailbook/Routes/North.lua"_s, QByteArray(3000, 'n')}});
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "page");
    m_world->vendor().setPack(m_archive);
    storeAccount(u"rowan"_s, u"secret"_s);
    m_world->installPack("1.2.5");
}

void TestUpdateRoad::startProgram()
{
    m_program = std::make_unique<Program>(*m_world);
    QVERIFY(m_program->start());
    QVERIFY(QTest::qWaitForWindowActive(delegate().window()));
    QCOMPARE(button().text(), u"Update"_s);
    QTRY_COMPARE(m_program->statuses, QStringList{u"Logged in as rowan..."_s});
    m_program->statuses.clear();
    m_world->vendor().clearRequests();
}

void TestUpdateRoad::verifyUsable()
{
    QVERIFY(button().isEnabled());
    QVERIFY(button().hasFocus());
    QCOMPARE(button().text(), u"Update"_s);
    QVERIFY(!QApplication::overrideCursor());
    QCOMPARE(m_program->terminations, 0);
    QCOMPARE(file(u"Trailbook/Trailbook.toc"_s), "## Title: Trailbook\n## Version: 1.2.5\n");
    QCOMPARE(file(u"Trailbook/Old.lua"_s), "-- old\n");
}

void TestUpdateRoad::verifyInstalled()
{
    QTRY_COMPARE(text("statusLabel"), u"Update Installed."_s);
    QTRY_COMPARE(button().text(), u"Play"_s);
    QCOMPARE(text("currentVersionLabel"), u"1.2.6"_s);
    QCOMPARE(bar().maximum(), 100);
    QCOMPARE(bar().value(), 100);
    QCOMPARE(file(u"Trailbook/Routes/North.lua"_s), QByteArray(3000, 'n'));
    QVERIFY(!QFile::exists(m_world->addOnFolder() + u"/Trailbook/Old.lua"_s));
}

void TestUpdateRoad::oneClickInstallsThePublishedPack()
{
    startProgram();
    const WaitWatch watch;
    QList<DownloadPace> paces;
    const QObject whileWeLook;
    connect(&delegate(), &ShownState::downloadPaceChanged, &whileWeLook,
            [&] { paces.append(delegate().downloadPace()); });
    clickUpdate();
    QVERIFY(!button().isEnabled());
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QVERIFY(paces.size() >= 2);
    QVERIFY(paces.constFirst().received > 0);
    QCOMPARE(paces.constFirst().expected, m_archive.size());
    QVERIFY(paces.constFirst().time.count() > 0);
    QCOMPARE(paces.constLast().time.count(), 0); // the download is over
    QCOMPARE(m_program->statuses, (QStringList{u"Downloading..."_s, u"Installing..."_s, u"Update Installed."_s}));
    QCOMPARE(watch.painted.value(0), u"Installing..."_s); // before it waits
    QVERIFY(!QApplication::overrideCursor());
    QVERIFY(m_program->alert.shown.isEmpty());
    QVERIFY(m_program->administrator.scripts.isEmpty());
    QVERIFY(button().isEnabled());
    QVERIFY(button().hasFocus());
    QList<QByteArray> paths;
    for (const VendorRequest &request : m_world->vendor().requests())
        paths.append(request.path);
    QCOMPARE(paths, (QList<QByteArray>{"/api/dlGuide", "/api/wayfarVersion"}));
}

// The button under an impatient player's pointer reads "Play" by then.
void TestUpdateRoad::clicksDuringTheInstallationAreDropped()
{
    startProgram();
    m_world->defaults().setObject(Preferences::launchPath.key, u"/games/launcher"_s);
    clickUpdate();
    const WaitWatch watch([this] { WindowSystem::sendClick(button()); });
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QVERIFY(!watch.painted.isEmpty());
    QCoreApplication::processEvents();
    QVERIFY(m_program->workspace.files.isEmpty());
    QCOMPARE(m_program->terminations, 0);
}

void TestUpdateRoad::eachUpdatePostsTheAccountStoredThen()
{
    startProgram();
    m_world->vendor().addAccount(u"ann"_s, u"other"_s, "page");
    m_world->vendor().setPackVersion("1.2.7"); // so that the button stays
    clickUpdate();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(text("currentVersionLabel"), u"1.2.6"_s);
    QTRY_COMPARE(button().text(), u"Update"_s);

    storeAccount(u"ann"_s, u"other"_s);
    m_world->vendor().setPack(m_world->zip({{u"Trailbook/Trailbook.toc"_s, "## Version: 1.2.7\n"}}));
    clickUpdate();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(text("currentVersionLabel"), u"1.2.7"_s);
    QTRY_COMPARE(button().text(), u"Play"_s);
    const QList<VendorRequest> posts = m_world->vendor().requests("/api/dlGuide");
    QCOMPARE(posts.size(), 2);
    QCOMPARE(posts[0].body, "user=rowan&pass=secret");
    QCOMPARE(posts[1].body, "user=ann&pass=other");
}

void TestUpdateRoad::theBarShowsThePiecesOfAKnownLength()
{
    const qsizetype third = m_archive.size() / 3;
    VendorAnswer pieces = answerWith(m_archive);
    pieces.pieces = {third, third};
    pieces.stepped = true;
    answer(pieces);
    startProgram();
    clickUpdate();
    for (const qsizetype received : {third, 2 * third}) {
        const auto percentage = static_cast<int>(received * 100 / m_archive.size());
        QTRY_COMPARE(bar().value(), percentage);
        QCOMPARE(bar().maximum(), 100);
        QCOMPARE(text("statusLabel"), u"Downloading..."_s);
        QVERIFY(!delegate().updateNotStarted());
        m_world->vendor().step();
    }
    QVERIFY(waitForTheEnd());
    verifyInstalled();
}

void TestUpdateRoad::theBarIsBusyWhileTheLengthIsUnknown()
{
    VendorAnswer pieces = answerOf(VendorAnswer::Length::Chunked, m_archive);
    pieces.pieces = {100};
    pieces.stepped = true;
    answer(pieces);
    startProgram();
    clickUpdate();
    QTRY_COMPARE(bar().maximum(), 0);
    m_world->vendor().step();
    QVERIFY(waitForTheEnd());
    verifyInstalled();
}

void TestUpdateRoad::aBrokenTransferIsToldOfAndLeavesTheButtonAtUpdate_data()
{
    QTest::addColumn<VendorAnswer>("broken");
    QTest::newRow("before the answer") << brokenOff();
    VendorAnswer inTheBody = answerWith("PK and no more than this");
    inTheBody.resetAfter = 10;
    QTest::newRow("in the body") << inTheBody;
}

void TestUpdateRoad::aBrokenTransferIsToldOfAndLeavesTheButtonAtUpdate()
{
    QFETCH(const VendorAnswer, broken);
    answer(broken);
    startProgram();
    QStringList statusesInAlert;
    bool notStartedInAlert = false;
    m_program->alert.whileShown = [&] {
        statusesInAlert = m_program->statuses;
        notStartedInAlert = delegate().updateNotStarted();
    };
    clickUpdate();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(text("statusLabel"), u"Update download failed. Please retry"_s);
    QCOMPARE(m_program->alert.told(), QStringList{downloadFailed});
    QVERIFY(notStartedInAlert);
    QCOMPARE(statusesInAlert, QStringList{u"Downloading..."_s});
    QCOMPARE(m_world->vendor().requests().size(), 1); // no refresh
    QVERIFY(delegate().updateInstaller());
    verifyUsable();

    clickUpdate();
    QVERIFY(waitForTheEnd());
    verifyInstalled();
    QCOMPARE(m_program->alert.shown.size(), 1);
}

void TestUpdateRoad::aVendorThatCannotBeReachedLeavesTheButtonAtUpdate()
{
    startProgram();
    m_world->stopVendor();
    for (int attempt = 1; attempt <= 2; ++attempt) {
        clickUpdate();
        QVERIFY(waitForTheEnd());
        QTRY_COMPARE(text("statusLabel"), u"Update download failed. Please retry"_s);
        QCOMPARE(m_program->alert.told(), QStringList(attempt, downloadFailed));
        verifyUsable();
    }
}

void TestUpdateRoad::anAnswerThatIsNoArchiveEndsInARefresh_data()
{
    QTest::addColumn<VendorAnswer>("page");
    QTest::addColumn<double>("bar");
    QTest::newRow("an error page") << answerWith("<h1>Internal Server Error</h1>", 500) << 100.0;
    QTest::newRow("an account that is refused") << answerWith("Error|The account has ended.") << 100.0;
    QTest::newRow("no bytes") << answerWith({}) << 0.0;
}

void TestUpdateRoad::anAnswerThatIsNoArchiveEndsInARefresh()
{
    QFETCH(const VendorAnswer, page);
    answer(page);
    startProgram();
    clickUpdate();
    QVERIFY(waitForTheEnd());
    QTRY_COMPARE(m_world->vendor().requests("/api/wayfarVersion").size(), 1);
    QCOMPARE(text("statusLabel"), u"Installing..."_s);
    QTEST(delegate().updateProgressbar(), "bar");
    QVERIFY(m_program->alert.shown.isEmpty());
    verifyUsable();

    clickUpdate();
    QVERIFY(waitForTheEnd());
    verifyInstalled();
}

QTEST_MAIN(TestUpdateRoad)
#include "TestUpdateRoad.moc"
