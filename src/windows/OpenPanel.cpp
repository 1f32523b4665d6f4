#include "windows/OpenPanel.h"

#include "places/GamePlaces.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"

#include <QDateTime>
#include <QDir>
#include <QHeaderView>
#include <QListView>
#include <QLocale>
#include <QScreen>
#include <QShortcut>
#include <QStyledItemDelegate>
#include <QTreeView>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{
enum Column { NameColumn, SizeColumn, TypeColumn, DateColumn };

// The view's own model calls a place by its folder, which says little: "drive_c", and "compatdata" twice.
class PlaceNames : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(4, 6); // the icons fill the row otherwise
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const QString name = index.data(Qt::AccessibleTextRole).toString();
        if (!name.isEmpty()) // the player may add folders of his own
            option->text = name;
    }
};
} // namespace

OpenPanel::OpenPanel(Choice choice, const QString &current, QWidget *parent)
    : QFileDialog(parent, choice == Folders ? u"Choose game folder"_s : u"Choose launcher"_s), m_choice(choice)
{
    setOption(QFileDialog::DontUseNativeDialog);
    setOption(QFileDialog::ShowDirsOnly, choice == Folders);
    setFileMode(choice == Folders ? QFileDialog::Directory : QFileDialog::ExistingFile);
    setLabelText(QFileDialog::Accept, u"Choose"_s);
    m_sharedPlaces = sidebarUrls();
    m_sharedColumns = columns()->saveState();
    layOut();
    addPlaces();
    openAt(current);
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_H), this), &QShortcut::activated, this,
            &OpenPanel::toggleHidden);
    if (choice == Files)
        connect(this, &QFileDialog::directoryEntered, this, &OpenPanel::folderEntered);
}

// The base class stores its places and columns for the file dialogs of all programs: ours are not for them.
OpenPanel::~OpenPanel()
{
    setSidebarUrls(m_sharedPlaces);
    columns()->restoreState(m_sharedColumns);
}

QHeaderView *OpenPanel::columns() const
{
    return findChild<QTreeView *>(u"treeView"_s)->header();
}

// Wide enough for names, dates and places, also in a large font.
void OpenPanel::layOut()
{
    const QFontMetrics metrics = fontMetrics();
    const QSize wanted(metrics.averageCharWidth() * 128, metrics.height() * 32);
    resize(wanted.boundedTo(screen()->availableGeometry().size() * 9 / 10));

    const QString date = QLocale::system().toString(QDateTime({2028, 12, 28}, {22, 58, 58}), QLocale::ShortFormat);
    QHeaderView &header = *columns();
    header.setStretchLastSection(false);
    header.setMinimumSectionSize(metrics.averageCharWidth() * 11);
    header.setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    header.resizeSection(TypeColumn, metrics.averageCharWidth() * 18);
    header.resizeSection(DateColumn, metrics.horizontalAdvance(date) + metrics.averageCharWidth() * 4);
    for (const int column : {SizeColumn, TypeColumn})
        header.setSectionHidden(column, m_choice == Folders); // which have no size, and are all of one type
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
    const QList<GamePlace> places = GamePlaces::existing();
    QList<QUrl> urls;
    for (const GamePlace &place : places)
        urls.append(QUrl::fromLocalFile(place.path));
    setSidebarUrls(urls);

    auto *const bar = findChild<QListView *>(u"sidebar"_s);
    for (int row = 0; row < bar->model()->rowCount(); ++row)
        bar->model()->setData(bar->model()->index(row, 0), places.value(row).name, Qt::AccessibleTextRole);
    bar->setItemDelegate(new PlaceNames(bar));
    bar->setTextElideMode(Qt::ElideMiddle); // places that share their beginning differ at the end
    bar->setMinimumWidth(std::min(bar->sizeHintForColumn(0) + 2 * bar->frameWidth(), width() / 3));
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
    if (m_choice == Files && Bundle::isBundle(toPath(path)))
        chooseBundle(path);
    else
        QFileDialog::accept();
}

// A bundle is chosen as one thing, also by Return or a double click. The way up from a folder inside it is no choice.
void OpenPanel::folderEntered(const QString &path)
{
    const QString before = std::exchange(m_folder, path);
    if (Bundle::isBundle(toPath(path)) && !(before + u'/').startsWith(path + u'/'))
        chooseBundle(path);
}

void OpenPanel::chooseBundle(const QString &path)
{
    m_bundle = path;
    done(QDialog::Accepted);
}
