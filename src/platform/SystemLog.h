#pragma once

#include <QString>

namespace SystemLog
{
// One line for the system's log (syslog or the journal, as "wayfar-installer"), and the bare line on standard error.
// Any thread. Never give it a credential.
void write(const QString &line);
} // namespace SystemLog
