#include "controls/AlertWindow.h"

#include "controls/LongTextView.h"
#include "controls/WindowPlacement.h"
#include "platform/MainThread.h"

#include <QApplication>
#include <QEvent>
#include <QFontMetrics>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QStyle>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
// The vendor or a tool may send a text of any length. A label neither scrolls nor breaks a word.
bool isLong(const QString &text)
{
    constexpr qsizetype mostLines = 20;
    constexpr qsizetype mostCharacters = 1000;
    static const QRegularExpression longWord(u"\\S{61}"_s);
    return text.size() > mostCharacters || text.count(u'\n') >= mostLines || text.contains(longWord);
}

// In place of the box's own labels: whole, and the buttons stay on the screen.
void letScroll(QMessageBox &box, const QString &text)
{
    auto *view = new LongTextView(&box);
    view->showText(text);
    view->setAccessibleName(text.left(500)); // what a screen reader speaks when the alert opens
    const QFontMetrics metrics = view->fontMetrics();
    const QSize room = box.screen()->availableGeometry().size() / 2;
    view->setMinimumSize(QSize(metrics.averageCharWidth() * 60, metrics.height() * 16).boundedTo(room));
    auto *layout = qobject_cast<QGridLayout *>(box.layout());
    layout->addWidget(view, 0, layout->columnCount() - 1);
}

void showTexts(QMessageBox &box, const AlertContent &content)
{
    const bool isBoth = !content.informativeText.isEmpty();
    const QString text = content.messageText + (isBoth ? u"\n\n"_s + content.informativeText : QString());
    if (isLong(text))
        return letScroll(box, text);
    box.setText(content.messageText);
    box.setInformativeText(content.informativeText);
    for (QLabel *label : box.findChildren<QLabel *>()) { // the box's own properties miss the informative text
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    }
}

QWidget *shownSplash()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->windowType() == Qt::SplashScreen)
            return window;
    }
    return nullptr;
}

// Belongs to a window wherever one shows, so that it can't be lost behind it. In front of the splash it leaves the
// program's name to be read, which fills the upper part.
class Box : public QMessageBox
{
public:
    Box() : QMessageBox(QApplication::activeWindow() ? QApplication::activeWindow() : shownSplash())
    {
        setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
                       | Qt::WindowCloseButtonHint);
    }

protected:
    void showEvent(QShowEvent *event) override
    {
        QMessageBox::showEvent(event); // it has its size now
        if (const QWidget *splash = shownSplash())
            moveBelowTitleOf(*splash);
    }

    // Some desktops offer it all the same, and the whole program would wait for a window that nobody sees.
    void changeEvent(QEvent *event) override
    {
        QMessageBox::changeEvent(event);
        if (event->type() == QEvent::WindowStateChange && isMinimized())
            QMetaObject::invokeMethod(
                this, [this] { WindowPlacement::makeKeyAndOrderFront(*this); }, Qt::QueuedConnection);
    }

private:
    void moveBelowTitleOf(const QWidget &splash)
    {
        const QRect around = splash.frameGeometry();
        const QRect room = screen()->availableGeometry();
        const int frame = style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, this); // above our own top
        const int top = std::min(around.top() + around.height() * 9 / 20 + frame, room.bottom() - height() - frame);
        move(around.center().x() - width() / 2, std::max(room.top(), top));
    }
};

int show(const AlertContent &content)
{
    // A watched pointer: the program's end may delete the parent window, and the box with it, while it is open.
    const QPointer<QMessageBox> box(new Box);
    const QString program = QGuiApplication::applicationDisplayName();
    box->setWindowTitle(content.heading.isEmpty() ? program : content.heading + u" \u2014 "_s + program);
    const QIcon ours = QGuiApplication::windowIcon(); // the same for good news and bad
    box->setIconPixmap(ours.pixmap(box->style()->pixelMetric(QStyle::PM_MessageBoxIconSize)));
    showTexts(*box, content);
    QPushButton *defaultButton = box->addButton(content.defaultButton, QMessageBox::AcceptRole);
    box->setDefaultButton(defaultButton);
    box->setEscapeButton(defaultButton);
    if (!content.alternateButton.isEmpty())
        box->setEscapeButton(box->addButton(content.alternateButton, QMessageBox::RejectRole));

    QApplication::setOverrideCursor(Qt::ArrowCursor); // it may open while the program waits
    box->exec();
    QApplication::restoreOverrideCursor();
    const bool isDefault = box && box->clickedButton() == defaultButton;
    delete box;
    return isDefault ? Alert::DefaultReturn : 0;
}
} // namespace

int AlertWindow::runModal(const AlertContent &content)
{
    int answer = 0;
    MainThread::performAndWait([&] { answer = show(content); });
    return answer;
}
