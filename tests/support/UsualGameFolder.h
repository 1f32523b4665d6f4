#pragma once

#include "support/Rerun.h"

#include "places/GameFolder.h"

#include <QDir>
#include <QTest>

// Runs the test function once more where the usual game folder is there, empty, and nobody else's: below another root
// folder, which is made in the given one and shows the machine's own folders. Skips it where the kernel forbids that.
inline void runWithUsualGameFolder(const QString &folder)
{
    if (!Rerun::canMount())
        QSKIP("This kernel lets the test have no mounts of its own.");
    QVERIFY(QDir().mkpath(folder));
    const QString script = QStringLiteral(R"(root=$1
mount -t tmpfs none "$root"
for entry in /*; do
    if [ "$entry" = /Applications ]; then continue
    elif [ -L "$entry" ]; then cp -P "$entry" "$root"
    elif [ -d "$entry" ]; then mkdir "$root$entry"; mount --rbind "$entry" "$root$entry"
    else : >"$root$entry"; mount --bind "$entry" "$root$entry"
    fi
done
mkdir -p "$root%1"; chmod 0777 "$root%1"
here=$PWD; shift
exec /usr/sbin/chroot "$root" sh -c 'cd "$0"; exec "$@"' "$here" "$@")")
                               .arg(GameFolder::usualRoot);
    const Rerun::Result result = Rerun::run(Rerun::withMounts(script, folder));
    QVERIFY2(result.status == 0, result.output.constData());
}
