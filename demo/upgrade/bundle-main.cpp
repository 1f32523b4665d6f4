#include "demo/upgrade/Witness.h"

#include "app/Application.h"

#include <QApplication>

using namespace Qt::StringLiterals;

// The product as the demo's vendor ships it: its hosts, its port and its authority fixed when it was built.
int main(int argc, char **argv)
{
    QApplication qt(argc, argv);
    const UrlLoaderSettings network{.caFile = QStringLiteral(DEMO_CA), .connectTo = {"::127.0.0.1:" DEMO_PORT}};
    Application application(QStringLiteral(DEMO_VERSION), {u"wayfar.example"_s, u"download.wayfar.example"_s}, network);
    Witness witness;
    return application.exec();
}
