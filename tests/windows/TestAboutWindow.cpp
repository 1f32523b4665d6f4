#include "windows/AboutWindow.h"

#include "controls/LongTextView.h"
#include "places/VendorSite.h"
#include "support/DarkDesktop.h"

#include <QAccessible>
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTest>

#include <curl/curl.h>
#include <libxml/xmlversion.h>

using namespace Qt::StringLiterals;

class TestAboutWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { delete m_window; }

    void itTellsVersionsHostsAndLicences_data();
    void itTellsVersionsHostsAndLicences();
    void itsLinesEndInTheWindow();
    void theTextIsCopiedByTheButton();
    void theTextCanBeSelectedByTheKeyboard();
    void everyControlHasAName();
    void itClosesByKeyAndByButton_data();
    void itClosesByKeyAndByButton();
    void itFollowsAChangeToDarkAndBack() { verifyFollowsTheDesktop(*m_window); }

private:
    template<typename Control = QPushButton> Control *control(const char *name) const
    {
        return m_window->findChild<Control *>(QString::fromLatin1(name));
    }
    QString text() const { return control<LongTextView>("textView")->toPlainText(); }

    QPointer<AboutWindow> m_window;
};

void TestAboutWindow::init()
{
    QGuiApplication::setApplicationDisplayName(u"Wayfar Installer"_s);
    QCoreApplication::setApplicationVersion(u"7.8.9"_s);
    m_window = new AboutWindow({u"site.example"_s, u"files.example"_s}, nullptr);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window));
}

void TestAboutWindow::itTellsVersionsHostsAndLicences_data()
{
    QTest::addColumn<QString>("line");
    const auto row = [](const char *what, const QString &line) { QTest::newRow(what) << line; };
    row("the program", u"Wayfar Installer 7.8.9\n"_s);
    row("the web site's host", u"www.site.example\n"_s);
    row("the download host", u"files.example\n"_s);
    row("Qt", u"Qt "_s + QString::fromLatin1(qVersion()) + u' ');
    row("libcurl", u"libcurl "_s + QString::fromLatin1(LIBCURL_VERSION) + u':'); // the test was built beside them
    row("libxml2", u"libxml2 "_s + QString::fromLatin1(LIBXML_DOTTED_VERSION).section(u'-', 0, 0) + u':');
    row("Qt's licence", u"GNU Lesser General Public License, version 3"_s);
    row("our licence", u"Permission is hereby granted, free of charge, to any person obtaining a copy of this"_s);
    row("the licence's end", u"OTHER DEALINGS IN THE SOFTWARE."_s);
}

void TestAboutWindow::itTellsVersionsHostsAndLicences()
{
    QFETCH(const QString, line);
    QVERIFY2(text().contains(line), qPrintable(text()));
}

void TestAboutWindow::itsLinesEndInTheWindow()
{
    AboutWindow window({u"site.example"_s, u"files.example"_s}, nullptr);
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    QVERIFY(!window.grab().isNull()); // as it is painted first
    QVERIFY(!window.findChild<LongTextView *>()->horizontalScrollBar()->isVisible());
}

void TestAboutWindow::theTextIsCopiedByTheButton()
{
    QGuiApplication::clipboard()->clear();
    control("copyButton")->setFocus();
    QTest::keyClick(control("copyButton"), Qt::Key_Space);
    QCOMPARE(QGuiApplication::clipboard()->text(), text());
    QCOMPARE(control("copyButton")->text(), u"Copied"_s);
    QVERIFY(m_window->isVisible());
}

void TestAboutWindow::theTextCanBeSelectedByTheKeyboard()
{
    auto *const view = control<LongTextView>("textView");
    view->setFocus();
    QTest::keyClick(view, Qt::Key_Home, Qt::ControlModifier);
    QTest::keyClick(view, Qt::Key_End, Qt::ShiftModifier);
    QTest::keyClick(view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"Wayfar Installer 7.8.9"_s);
}

void TestAboutWindow::everyControlHasAName()
{
    const auto heard = [](QWidget *widget) {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
    };
    QCOMPARE(m_window->windowTitle(), u"About Wayfar Installer"_s);
    QCOMPARE(heard(control("copyButton")), u"Copy"_s);
    QCOMPARE(heard(control("closeButton")), u"Close"_s);
    QVERIFY(!heard(control<LongTextView>("textView")).isEmpty());
}

void TestAboutWindow::itClosesByKeyAndByButton_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("Escape") << true;
    QTest::newRow("the button") << false;
}

void TestAboutWindow::itClosesByKeyAndByButton()
{
    QFETCH(const bool, byKey);
    if (byKey)
        QTest::keyClick(m_window, Qt::Key_Escape);
    else
        QTest::mouseClick(control("closeButton"), Qt::LeftButton);
    QTRY_VERIFY(!m_window);
}

QTEST_MAIN(TestAboutWindow)
#include "TestAboutWindow.moc"
