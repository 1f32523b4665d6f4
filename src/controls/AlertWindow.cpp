#include "controls/AlertWindow.h"

#include "platform/MainThread.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace
{
// The vendor or a tool may send a text of any length: the box stays so small that its buttons are on the screen.
QString shortened(const QString &text)
{
    constexpr qsizetype mostLines = 20;
    constexpr qsizetype mostCharacters = 1000;
    QString few = text.left(mostCharacters).section(u'\n', 0, mostLines - 1);
    return few.size() < text.size() ? few + u"…"_s : few;
}

int show(const AlertContent &content)
{
    // A watched pointer: the program's end may delete the parent window, and the box with it, while it is open.
    const QPointer<QMessageBox> box(new QMessageBox(QApplication::activeWindow()));
    box->setWindowTitle(QGuiApplication::applicationDisplayName());
    const QIcon ours = QGuiApplication::windowIcon(); // the same for good news and bad
    box->setIconPixmap(ours.pixmap(box->style()->pixelMetric(QStyle::PM_MessageBoxIconSize)));
    box->setText(shortened(content.messageText));
    box->setInformativeText(shortened(content.informativeText));
    for (QLabel *label : box->findChildren<QLabel *>()) // the box's own property misses the informative text
        label->setTextFormat(Qt::PlainText);
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
