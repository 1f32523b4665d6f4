#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

// One running program for each user and each place of the executable: a second one would write the same files. A new
// version's executable lies elsewhere, and so starts while the old one is still ending.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    // By default in the user's runtime folder, for this executable.
    SingleInstance();
    SingleInstance(const QString &folder, const QString &key);
    ~SingleInstance() override;

    // False: another one runs, and has been told; there is nothing to do but to end.
    bool isFirst() const { return m_first; }
    // Makes room for the next start, when this program is on its way out.
    void release();

Q_SIGNALS:
    void anotherStarted();

private:
    bool takeLock(const QString &file);
    void listen(const QString &socket);

    int m_lock = -1; // held while this lives; the kernel frees it when the process dies
    bool m_first = false;
    QLocalServer m_server;
};
