#include "resources/Pictures.h"

#include <QFile>
#include <QGuiApplication>
#include <QIcon>

using namespace Qt::StringLiterals;

// A static library's resources are linked in only when something names them; the macro works in no namespace.
static void useResources()
{
    Q_INIT_RESOURCE(app);
}

namespace
{
bool hasFineScreen()
{
    const auto *application = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    return application && application->devicePixelRatio() > 1;
}
} // namespace

QImage Pictures::imageNamed(const QString &name)
{
    useResources();
    const QString fine = u":/%1@2x.png"_s.arg(name);
    if (hasFineScreen() && QFile::exists(fine)) {
        QImage image(fine);
        image.setDevicePixelRatio(2);
        return image;
    }
    return QImage(u":/%1.png"_s.arg(name));
}

QIcon Pictures::icon()
{
    useResources();
    QIcon icon;
    for (const int size : {16, 32, 48, 64, 128, 256})
        icon.addFile(u":/icons/wayfar-installer-%1.png"_s.arg(size));
    return icon;
}
