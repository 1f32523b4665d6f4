#include "support/Rerun.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
const QString mark = u"WAYFAR_TEST_RERUN"_s;
}

bool Rerun::isRerun()
{
    return qEnvironmentVariableIsSet("WAYFAR_TEST_RERUN");
}

Rerun::Result Rerun::run(const QStringList &launcher, const QProcessEnvironment &environment, const QString &program)
{
    QString function = QString::fromLatin1(QTest::currentTestFunction());
    if (QTest::currentDataTag())
        function += u':' + QString::fromUtf8(QTest::currentDataTag());
    QStringList command = launcher;
    command << (program.isEmpty() ? QCoreApplication::applicationFilePath() : program) << function;

    QProcessEnvironment marked = environment;
    marked.insert(mark, u"1"_s);
    QProcess process;
    process.setProcessEnvironment(marked);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command.takeFirst(), command);
    process.waitForFinished(-1);
    const bool ended = process.error() == QProcess::UnknownError && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAll()};
}

bool Rerun::isOnAFineScreen()
{
    if (isRerun())
        return true;
    verifyPasses({}, {{u"QT_SCALE_FACTOR"_s, u"2"_s}});
    return false;
}

void Rerun::verifyPasses(const QStringList &launcher, std::initializer_list<std::pair<QString, QString>> variables,
                         const QString &program)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto &[name, value] : variables)
        environment.insert(name, value);
    const Result result = run(launcher, environment, program);
    QVERIFY2(result.status == 0, result.output.constData());
}

namespace
{
QStringList unshare()
{
    QStringList command = {u"unshare"_s, u"--mount"_s, u"--net"_s, u"--propagation"_s, u"private"_s};
    if (::geteuid() != 0)
        command << u"--user"_s << u"--map-root-user"_s;
    return command;
}
} // namespace

QStringList Rerun::withMounts(const QString &script, const QString &folder)
{
    return unshare() << u"/bin/sh"_s << u"-ec"_s << script + u"\nshift; exec \"$@\""_s << u"sh"_s << folder;
}

QStringList Rerun::withPrivateNetwork()
{
    return withMounts(u"ip link set lo up"_s, {});
}

bool Rerun::canMount()
{
    QStringList command = unshare() << u"true"_s;
    return QProcess::execute(command.takeFirst(), command) == 0;
}
