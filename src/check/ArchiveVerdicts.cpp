#include "check/ArchiveVerdicts.h"

#include "check/TextVerdicts.h"
#include "pack/ArchiveExtraction.h"
#include "pack/WayfarVersion.h"
#include "places/BundleFolder.h"
#include "places/GameFolder.h"
#include "platform/Bundle.h"
#include "platform/Text.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{
struct Unpacked {
    explicit Unpacked(const FilePath &archive) : folder(archive.parent_path() / "unpacked")
    {
        ArchiveExtraction::unpackAfresh(archive, folder);
        for (const FilePath &name : FileManager::contentsOfDirectory(folder))
            names += toText(name);
        names.sort();
    }

    const FilePath folder;
    QStringList names; // at its top
};

QString beginningOf(const FilePath &archive)
{
    QFile file(toText(archive));
    return file.open(QIODevice::ReadOnly) ? TextVerdicts::beginning(file.read(200)) : QString();
}

QString faultOfVersion(const FilePath &tableOfContents, const QString &published)
{
    const auto bytes = FileManager::contentsOfFile(tableOfContents);
    const auto text = bytes ? Text::fromUtf8(*bytes) : std::nullopt;
    const QString installed = versionInToc(text.value_or(QString())).value_or(u"none"_s);
    if (installed == published)
        return {};
    return u"Its table of contents says version \"%1\", but \"%2\" is published: the button reads \"Update\" for ever, "
           "after an update too."_s.arg(installed, published);
}

// Where a bundle of that name is, from the top; empty when it is nowhere.
QString placeOf(const FilePath &name, const FilePath &folder)
{
    QString place;
    FileManager::visitBelow(folder, [&](const FilePath &path) {
        if (path.filename() == name)
            place = toText(path.lexically_relative(folder));
    });
    return place;
}

bool isProgram(const FilePath &file)
{
    return QFileInfo(toText(file)).isExecutable();
}

QString faultOfStart(const FilePath &bundle)
{
    const QString nothingStarts = u" the old installer ends after the upgrade, and nothing starts."_s;
    const FilePath program = bundle / "usr/bin/wayfar-installer";
    if (Bundle::programOf(bundle).empty())
        return u"The bundle's AppRun is missing or has no execute bit:"_s + nothingStarts;
    if (FileManager::fileExists(program) && !isProgram(program))
        return u"The bundle's usr/bin/wayfar-installer has no execute bit:"_s + nothingStarts;
    return {};
}
} // namespace

Verdict ArchiveVerdicts::pack(const FilePath &archive, const QString &publishedVersion)
{
    const GameFolder layout({});
    const QString addOn = toText(layout.addOn().filename());
    Unpacked unpacked(archive);
    if (unpacked.names.isEmpty())
        return {.wrong = {u"This is no archive: the status stays at \"Installing...\", and nothing is installed. It "
                          "begins: %1"_s.arg(beginningOf(archive))}};
    if (!unpacked.names.removeOne(addOn))
        return {
            .wrong = {u"\"%1\" is not at the archive's top; there is: %2. That goes into the add-on folder, and the "
                      "button reads \"Update\" for ever."_s.arg(addOn, unpacked.names.join(u", "_s))}};
    Verdict verdict;
    const FilePath folder = unpacked.folder / layout.addOn().filename();
    const QString fault = faultOfVersion(folder / layout.tableOfContents().filename(), publishedVersion);
    if (fault.isEmpty())
        verdict.right += u"The update installs %1 %2."_s.arg(addOn, publishedVersion);
    else
        verdict.wrong += fault;
    if (!unpacked.names.isEmpty())
        verdict.notes +=
            u"Beside it stands %1, which goes into the add-on folder too."_s.arg(unpacked.names.join(u", "_s));
    return verdict;
}

Verdict ArchiveVerdicts::installer(const FilePath &archive, const QString &publishedVersion)
{
    const OptionalPath name = BundleFolder::nameOf(publishedVersion.toStdString());
    if (!name)
        return {.wrong = {u"The published version makes no folder's name, so nothing is replaced."_s}};
    const Unpacked unpacked(archive);
    if (unpacked.names.isEmpty())
        return {.wrong = {
                    u"This is no archive: the installer ends after the upgrade without a new one. It begins: %1"_s.arg(
                        beginningOf(archive))}};
    if (!unpacked.names.contains(toText(*name))) {
        const QString place = placeOf(*name, unpacked.folder);
        const QString found = place.isEmpty() ? u"is not in it"_s : u"is not at its top but in %1"_s.arg(place);
        return {.wrong = {u"%1 %2 (at its top: %3): the installer ends after the upgrade without a new one."_s.arg(
                    toText(*name), found, unpacked.names.join(u", "_s))}};
    }
    const QString fault = faultOfStart(unpacked.folder / *name);
    if (!fault.isEmpty())
        return {.wrong = {fault}};
    return {.right = {u"The upgrade puts %1 beside the old installer and starts it."_s.arg(toText(*name))}};
}
