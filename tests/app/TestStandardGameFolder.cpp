#include "support/Program.h"
#include "support/UsualGameFolder.h"

#include "controls/ElidedLabel.h"
#include "places/Preferences.h"

using namespace Qt::StringLiterals;

namespace
{
const QString game = GameFolder::usualRoot.toString();
const QString launcher = GameFolder(game).launcher();
const QString missing = u"%1 does not exist. Please verify you installation"_s;
} // namespace

// The detection of the game in its usual folder.
class TestStandardGameFolder : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void aMissingGameIsToldOfAndNothingIsStored();
    void aMissingLauncherIsToldOfAndNothingIsStored();
    void bothPathsAreStoredAndShownUntilCancel();

private:
    void detect()
    {
        QVERIFY(m_program->openSettings());
        m_program->pressInSettings("detectButton");
    }
    QByteArray stored() const { return m_world->read(m_world->preferencesFile()); }
};

void TestStandardGameFolder::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->goOffline();
    m_program = std::make_unique<Program>(*m_world);
}

void TestStandardGameFolder::aMissingGameIsToldOfAndNothingIsStored()
{
    QVERIFY(!QFile::exists(game));
    QVERIFY(QDir().mkpath(GameFolder(m_world->gameFolder()).launcher())); // the stored folder is not looked into
    const QByteArray before = stored();
    detect();
    QCOMPARE(m_program->alert.told(), QStringList{missing.arg(game)});
    QCOMPARE(stored(), before);
}

void TestStandardGameFolder::aMissingLauncherIsToldOfAndNothingIsStored()
{
    if (!Rerun::isRerun())
        return runWithUsualGameFolder(m_world->path(u"root"_s));
    const QByteArray before = stored();
    detect();
    QCOMPARE(m_program->alert.told(), QStringList{missing.arg(launcher)});
    QCOMPARE(stored(), before);
}

void TestStandardGameFolder::bothPathsAreStoredAndShownUntilCancel()
{
    if (!Rerun::isRerun())
        return runWithUsualGameFolder(m_world->path(u"root"_s));
    QVERIFY(QDir().mkpath(launcher));
    detect();
    QCOMPARE(m_program->alert.told(), QStringList());
    QCOMPARE(m_program->settingsControl<ElidedLabel>("installPathLabel")->text(), game);
    QCOMPARE(m_program->settingsControl<ElidedLabel>("launchPathLabel")->text(), launcher);
    QCOMPARE(m_world->defaults().dictionaryRepresentation(),
             (QJsonObject{{u"installPath"_s, game}, {u"launchPath"_s, launcher}}));
    m_program->pressInSettings("cancelButton");
    QCOMPARE(Preferences::installPath.in(m_world->defaults()), m_world->gameFolder());
    QCOMPARE(Preferences::launchPath.in(m_world->defaults()), launcher); // new, so it stays
}

QTEST_MAIN(TestStandardGameFolder)
#include "TestStandardGameFolder.moc"
