#include "platform/SystemLog.h"

#include <cstdio>
#include <mutex>

#include <syslog.h>

void SystemLog::write(const QString &line)
{
    static std::once_flag opened;
    std::call_once(opened, [] { openlog("wayfar-installer", LOG_PID, LOG_USER); });
    const QByteArray text = line.toUtf8();
    syslog(LOG_NOTICE, "%s", text.constData());
    std::fprintf(stderr, "%s\n", text.constData());
}
