#include "platform/Bundle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{
const QString suffix = u".app"_s;
const QString starter = u"/AppRun"_s;
} // namespace

bool Bundle::isBundle(const QString &path)
{
    return QFileInfo(path).isDir() && (path.endsWith(suffix) || QFileInfo(path + starter).isFile());
}

QString Bundle::programOf(const QString &bundle)
{
    const QString ownName = u'/' + QFileInfo(bundle).completeBaseName();
    for (const QString &name : {starter, ownName}) {
        const QFileInfo program(bundle + name);
        if (program.isFile() && program.isExecutable())
            return program.filePath();
    }
    return {};
}

QString Bundle::enclosing(const QString &folder)
{
    for (QDir bundle(folder); !bundle.isRoot(); bundle.setPath(QFileInfo(bundle.path()).path())) {
        if (bundle.dirName().endsWith(suffix))
            return bundle.path();
    }
    return {};
}

QString Bundle::running()
{
    const QString executableFolder = QCoreApplication::applicationDirPath();
    const QString bundle = enclosing(executableFolder);
    return bundle.isEmpty() ? executableFolder : bundle;
}
