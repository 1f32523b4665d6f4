#include "resources/Licence.h"

#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

// As for the pictures.
static void useResources()
{
    Q_INIT_RESOURCE(app);
}

QString Licence::text()
{
    useResources();
    QFile file(u":/LICENSE"_s);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression lineEndInParagraph(u"(?<!\\n)\\n(?!\\n|$)"_s);
    return QString::fromUtf8(file.readAll()).replace(lineEndInParagraph, u" "_s).trimmed();
}
