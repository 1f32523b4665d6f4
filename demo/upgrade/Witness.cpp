#include "demo/upgrade/Witness.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Witness::Witness()
    : m_answer(qEnvironmentVariable("WAYFAR_DEMO_ANSWER")), m_log(qEnvironmentVariable("WAYFAR_DEMO_LOG"))
{
    if (m_log.isEmpty())
        return;
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
    m_timer.start(20ms);
}

void Witness::look()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            lookAt(window);
    }
}

void Witness::lookAt(QWidget *window)
{
    if (auto *question = qobject_cast<QMessageBox *>(window)) {
        answer(question);
    } else if (window->objectName() == u"InstallerDownloadWindow"_s) {
        tell(u"progress window"_s, window);
    } else if (window->objectName() == u"MainWindow"_s) {
        tell(u"main window"_s, window);
        window->close();
    }
}

void Witness::answer(QMessageBox *question)
{
    tell(u"question: "_s + question->text(), question);
    for (QAbstractButton *button : question->buttons()) {
        if (button->text() == m_answer)
            QTest::mouseClick(button, Qt::LeftButton);
    }
}

void Witness::tell(const QString &line, QWidget *window)
{
    if (m_told.contains(line))
        return;
    m_told.insert(line);
    const QString version = QCoreApplication::applicationVersion();
    window->grab().save(QFileInfo(m_log).path() + u"/%1-%2-%3.png"_s.arg(m_answer, version, line.section(u':', 0, 0)));
    QFile log(m_log);
    if (log.open(QIODevice::Append))
        log.write((version + u": "_s + line + u'\n').toUtf8());
}
