#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <utility>

// The running test function once more in a process of its own: with other mounts, other settings of the environment,
// or from another place. There isRerun() is true, and the function does its work instead of starting one more.
namespace Rerun
{
struct Result {
    int status = -1; // 0: the function passed
    QByteArray output;
};

bool isRerun();
// The launcher is put before the program; empty, the program is started as it is.
Result run(const QStringList &launcher,
           const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
           const QString &program = {});

// True in a rerun. Otherwise runs the function again with two pixels of the screen for one, and fails where that fails.
bool isOnAFineScreen();
// The same, and the test fails where the function does not pass. The environment is ours with these variables on top.
void verifyPasses(const QStringList &launcher, std::initializer_list<std::pair<QString, QString>> variables,
                  const QString &program = {});

// A launcher into a mount namespace: the script, which finds the folder as $1, sets it up first as root of it.
QStringList withMounts(const QString &script, const QString &folder);
// A launcher into a network that nobody else reaches, with a loopback interface alone.
QStringList withPrivateNetwork();
// Whether the kernel lets this process have mounts and a network of its own. A container may forbid it.
bool canMount();
} // namespace Rerun
