#include "support/PageScript.h"
#include "support/ScreenReader.h"
#include "support/TestWorld.h"

#include "controls/NavigationPolicy.h"
#include "controls/Pane.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
class EverywherePolicy : public NavigationPolicy
{
    bool webViewDecidePolicyForNavigationAction(const QUrl &) override { return true; }
};

// The names of all that is below, by the order of the tree.
QStringList namesBelow(QAccessibleInterface *at, QAccessible::Role role)
{
    QStringList names;
    for (int i = 0; at && i < at->childCount(); ++i) {
        QAccessibleInterface *child = at->child(i);
        if (child && child->role() == role)
            names.append(child->text(QAccessible::Name));
        names += namesBelow(child, role);
    }
    return names;
}

const QByteArray page = "<!DOCTYPE html><meta charset=utf-8><h1>Rowan</h1><p>Read <a href='https://a.example/'>one</a> "
                        "or <a href='https://b.example/'>two</a>.";
} // namespace

// A pane as an assistive tool finds it.
class TestPaneByTools : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup() { m_window.reset(); }

    void aPageIsInTheTreeOnceAToolRuns();
    void whatWeStartDoesNotInheritTheEnginesSwitch();
    void aPageWithoutATitleHasThePanesName();
    void theLinkThatTheKeyboardComesToIsToldLast();

private:
    QStringList names(QAccessible::Role role) const
    {
        return namesBelow(QAccessible::queryAccessibleInterface(m_pane), role);
    }
    bool waitForLinks() const
    {
        return waitUntil([this] { return names(QAccessible::Link).size() == 2; });
    }

    TestWorld m_world;
    EverywherePolicy m_policy;
    std::unique_ptr<QWidget> m_window;
    QPushButton *m_before = nullptr;
    Pane *m_pane = nullptr;
};

void TestPaneByTools::initTestCase()
{
    m_world.write(m_world.path(u"page.html"_s), page);
}

void TestPaneByTools::init()
{
    m_window = std::make_unique<QWidget>();
    auto *layout = new QVBoxLayout(m_window.get());
    layout->addWidget(m_before = new QPushButton(u"before"_s));
    layout->addWidget(m_pane = new Pane);
    m_pane->setAccessibleName(u"News"_s);
    m_pane->setPolicyDelegate(&m_policy);
    m_window->resize(400, 300);
    m_window->show();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    m_before->setFocus();
    m_pane->loadFile(m_world.path(u"page.html"_s));
    QVERIFY(waitUntil([this] { return textOf(*m_pane).contains(u"two"_s); }));
}

// First, before any tool: the engine goes on for tools once one came.
void TestPaneByTools::aPageIsInTheTreeOnceAToolRuns()
{
    QCOMPARE(names(QAccessible::Link), QStringList());
    const ScreenReader reader;
    QVERIFY(waitForLinks());
    QCOMPARE(names(QAccessible::Link), (QStringList{u"one"_s, u"two"_s}));
    QCOMPARE(names(QAccessible::Heading), QStringList{u"Rowan"_s});
}

void TestPaneByTools::whatWeStartDoesNotInheritTheEnginesSwitch()
{
    QVERIFY(!qEnvironmentVariableIsSet("QTWEBENGINE_ENABLE_LINUX_ACCESSIBILITY"));
}

void TestPaneByTools::aPageWithoutATitleHasThePanesName()
{
    const ScreenReader reader;
    QVERIFY(waitUntil([this] { return names(QAccessible::WebDocument) == QStringList{u"News"_s}; }));
    m_pane->setAccessibleName(u"What's \"new\""_s);
    m_pane->loadFile(m_world.path(u"page.html"_s));
    QVERIFY(waitUntil([this] { return names(QAccessible::WebDocument) == QStringList{m_pane->accessibleName()}; }));
}

void TestPaneByTools::theLinkThatTheKeyboardComesToIsToldLast()
{
    if (!isHeardByTools())
        return;
    const ScreenReader reader;
    QVERIFY(waitForLinks());
    const auto tab = [this] { QTest::keyClick(m_window->windowHandle(), Qt::Key_Tab); };
    tab();
    QVERIFY(waitUntil([&] { return reader.visited().contains(u"News"_s) && reader.visited().last() == u"one"_s; }));
    tab();
    QVERIFY(waitUntil([&] { return reader.visited().last() == u"two"_s; }));
}

QTEST_MAIN(TestPaneByTools)
#include "TestPaneByTools.moc"
