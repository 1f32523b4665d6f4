#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

// While it lives, no file of this process grows beyond the size: a disk that is full but for as many bytes.
class FullDisk
{
public:
    explicit FullDisk(rlim_t size)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit lower = {size, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &lower);
    }
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    rlimit m_before = {};
    void (*m_handler)(int) = nullptr;
};
