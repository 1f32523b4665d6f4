#pragma once

#include <QtGlobal>

#include <unistd.h>

// While it lives, root is an ordinary user in every respect, and so are the child processes.
class OrdinaryProcess
{
public:
    OrdinaryProcess()
    {
        if (m_user == 0 && (::setresgid(nobody, nobody, m_group) != 0 || ::setresuid(nobody, nobody, m_user) != 0))
            qFatal("can't give up root's rights");
    }
    ~OrdinaryProcess()
    {
        if (m_user == 0 && (::setresuid(m_user, m_user, m_user) != 0 || ::setresgid(m_group, m_group, m_group) != 0))
            qFatal("can't get root's rights back");
    }
    Q_DISABLE_COPY_MOVE(OrdinaryProcess)

private:
    static constexpr uid_t nobody = 65534;
    const uid_t m_user = ::geteuid();
    const gid_t m_group = ::getegid();
};
