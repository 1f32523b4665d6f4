#include "windows/OpenPanel.h"

#include "platform/Bundle.h"

#include <QDir>
#include <QShortcut>
#include <QStandardPaths>

#include <utility>

using namespace Qt::StringLiterals;

namespace
{
// Where games, and the Windows worlds that they live in, usually are.
QStringList usualPlaces()
{
    const QString home = QDir::homePath();
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return {home,
            home + u"/Games"_s,
            home + u"/.wine/drive_c"_s,
            data + u"/wineprefixes"_s,
            data + u"/lutris"_s,
            data + u"/Steam/steamapps/compatdata"_s,
            data + u"/Steam/steamapps/common"_s,
            home + u"/.steam/steam/steamapps/compatdata"_s,
            home + u"/.var/app/com.valvesoftware.Steam/.local/share/Steam/steamapps/compatdata"_s,
            home + u"/.var/app/net.lutris.Lutris/data/lutris"_s,
            QDir::rootPath()};
}
} // namespace

OpenPanel::OpenPanel(Choice choice, const QString &current, QWidget *parent)
    : QFileDialog(parent, choice == Folders ? u"Choose game folder"_s : u"Choose launcher"_s), m_choice(choice)
{
    setOption(QFileDialog::DontUseNativeDialog);
    setOption(QFileDialog::ShowDirsOnly, choice == Folders);
    setFileMode(choice == Folders ? QFileDialog::Directory : QFileDialog::ExistingFile);
    setLabelText(QFileDialog::Accept, u"Choose"_s);
    addPlaces();
    openAt(current);
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_H), this), &QShortcut::activated, this,
            &OpenPanel::toggleHidden);
    if (choice == Files)
        connect(this, &QFileDialog::directoryEntered, this, &OpenPanel::folderEntered);
}

void OpenPanel::openAt(const QString &stored)
{
    const QString current = QDir::cleanPath(stored); // after a slash at its end the name would be empty
    QFileInfo place(current.isEmpty() ? QDir::homePath() : m_choice == Files ? QFileInfo(current).path() : current);
    while (!place.isDir() && !place.isRoot())
        place.setFile(place.path());
    setDirectory(place.filePath());
    m_folder = place.absoluteFilePath();
    if (m_choice == Files && QFileInfo::exists(current))
        selectFile(current);
}

void OpenPanel::addPlaces()
{
    QList<QUrl> urls;
    QStringList seen;
    for (const QString &place : usualPlaces()) {
        const QString real = QFileInfo(place).canonicalFilePath(); // empty where there is none
        if (real.isEmpty() || seen.contains(real))
            continue;
        seen.append(real);
        urls.append(QUrl::fromLocalFile(place));
    }
    setSidebarUrls(urls);
}

void OpenPanel::toggleHidden()
{
    setFilter(filter() ^ QDir::Hidden);
}

QString OpenPanel::chosen() const
{
    return m_bundle.isEmpty() ? selectedFiles().value(0) : m_bundle;
}

// The base class would open a folder when the button is pressed on it.
void OpenPanel::accept()
{
    const QString path = selectedFiles().value(0);
    if (m_choice == Files && Bundle::isBundle(path))
        chooseBundle(path);
    else
        QFileDialog::accept();
}

// A bundle is chosen as one thing, also by Return or a double click. The way up from a folder inside it is no choice.
void OpenPanel::folderEntered(const QString &path)
{
    const QString before = std::exchange(m_folder, path);
    if (Bundle::isBundle(path) && !(before + u'/').startsWith(path + u'/'))
        chooseBundle(path);
}

void OpenPanel::chooseBundle(const QString &path)
{
    m_bundle = path;
    done(QDialog::Accepted);
}
