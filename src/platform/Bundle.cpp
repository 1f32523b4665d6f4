#include "platform/Bundle.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>

using namespace Qt::StringLiterals;

// A static library's resources are linked in only when something names them; the macro works in no namespace.
static void useResources()
{
    Q_INIT_RESOURCE(app);
}

QString Bundle::path()
{
    const QString executableFolder = QCoreApplication::applicationDirPath();
    for (QDir folder(executableFolder); !folder.isRoot(); folder = QDir(QFileInfo(folder.path()).path())) {
        if (folder.dirName().endsWith(u".app"_s))
            return folder.path();
    }
    return executableFolder;
}

QString Bundle::version()
{
    return QCoreApplication::applicationVersion();
}

QImage Bundle::imageNamed(const QString &name)
{
    useResources();
    const QString fine = u":/%1@2x.png"_s.arg(name);
    if (qGuiApp->devicePixelRatio() > 1 && QFile::exists(fine)) {
        QImage image(fine);
        image.setDevicePixelRatio(2);
        return image;
    }
    return QImage(u":/%1.png"_s.arg(name));
}

QIcon Bundle::icon()
{
    useResources();
    QIcon icon;
    for (const int size : {16, 32, 48, 64, 128, 256})
        icon.addFile(u":/icons/wayfar-installer-%1.png"_s.arg(size));
    return icon;
}
