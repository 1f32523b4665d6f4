#include "app/Application.h"

#include "BuildSettings.h"

#include <QApplication>

int main(int argc, char **argv)
{
    QApplication qt(argc, argv);
    Application application(QStringLiteral(WAYFAR_VERSION),
                            {QStringLiteral(WAYFAR_SITE_HOST), QStringLiteral(WAYFAR_DOWNLOAD_HOST)});
    return application.exec();
}
