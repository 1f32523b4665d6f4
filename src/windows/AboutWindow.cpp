#include "windows/AboutWindow.h"

#include "ui_AboutWindow.h"

#include "content/FeedParser.h"
#include "controls/Theme.h"
#include "places/VendorSite.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"
#include "resources/Licence.h"
#include "resources/Pictures.h"

#include <QClipboard>
#include <QFontInfo>
#include <QIcon>
#include <QScreen>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace
{
const QString sheet = uR"(
QLabel#versionLabel { color: @muted; }
)"_s;

// The versions are those in use, not those that the program was built with.
QString textAbout(const VendorSite &site)
{
    constexpr QStringView form = uR"(%@ %@

Web site: %@
Downloads: %@

Qt %@ with Qt WebEngine: GNU Lesser General Public License, version 3
libcurl %@: curl licence
libxml2 %@: MIT licence

The licence of %@ itself:

%@)";
    const QString program = QGuiApplication::applicationDisplayName();
    return Text::filled(form,
                        {program, QCoreApplication::applicationVersion(), site.wwwHost(), site.downloadHost,
                         QString::fromLatin1(qVersion()), UrlLoader::libraryVersion(), FeedParser::libraryVersion(),
                         program, Licence::text()});
}
} // namespace

AboutWindow::AboutWindow(const VendorSite &site, QWidget *parent)
    : QWidget(parent, Qt::Dialog), m_ui(std::make_unique<Ui::AboutWindow>()), m_text(textAbout(site))
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    showHead();
    m_ui->textView->showText(m_text);
    m_ui->textView->document()->setDocumentMargin(12);
    Theme::follow(*this, sheet);
    const QSize wanted(fontMetrics().averageCharWidth() * 92, fontMetrics().height() * 26);
    resize(wanted.boundedTo(screen()->availableGeometry().size() * 9 / 10));
    connect(m_ui->copyButton, &QPushButton::clicked, this, &AboutWindow::copy);
    connect(m_ui->closeButton, &QPushButton::clicked, this, &QWidget::close);
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
}

AboutWindow::~AboutWindow() = default;

void AboutWindow::showHead()
{
    QFont large = font();
    large.setPointSizeF(QFontInfo(large).pointSizeF() * 1.5);
    large.setWeight(QFont::DemiBold);
    m_ui->nameLabel->setFont(large);
    m_ui->nameLabel->setText(QGuiApplication::applicationDisplayName());
    m_ui->versionLabel->setText(u"Version "_s + QCoreApplication::applicationVersion());
    m_ui->iconLabel->setPixmap(Pictures::icon().pixmap(64));
}

void AboutWindow::copy()
{
    QGuiApplication::clipboard()->setText(m_text);
    m_ui->copyButton->setText(u"Copied"_s);
    m_ui->copyButton->setAccessibleName(u"Copied"_s);
}
