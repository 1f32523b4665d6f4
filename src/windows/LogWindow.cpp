#include "windows/LogWindow.h"

#include "ui_LogWindow.h"

#include <QCloseEvent>
#include <QShortcut>

LogWindow::LogWindow() : m_ui(std::make_unique<Ui::LogWindow>())
{
    m_ui->setupUi(this);
    m_ui->textView->document()->setDocumentMargin(12);
    setAttribute(Qt::WA_DeleteOnClose);
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    connect(m_ui->closeButton, &QPushButton::clicked, this, &QWidget::close);
}

LogWindow::~LogWindow() = default;

void LogWindow::showText(const QString &text)
{
    m_ui->textView->showText(text);
}

void LogWindow::closeEvent(QCloseEvent *event)
{
    Q_EMIT closing();
    QWidget::closeEvent(event);
}
