#pragma once

#include "windows/OpenPanel.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

// A player at the file dialog, with the keyboard or the mouse.
class PanelDriver
{
public:
    explicit PanelDriver(QFileDialog &panel) : m_panel(panel) { } // borrowed, and shown

    // The list or the table of names, whichever is open.
    QAbstractItemView *names() const
    {
        for (const auto *const name : {"listView", "treeView"}) {
            auto *view = m_panel.findChild<QAbstractItemView *>(QString::fromLatin1(name));
            if (view->isVisible())
                return view;
        }
        return nullptr;
    }
    QLineEdit *edit() const { return m_panel.findChild<QLineEdit *>(QStringLiteral("fileNameEdit")); }
    QPushButton *chooseButton() const { return buttons()->button(QDialogButtonBox::Open); }
    QPushButton *cancelButton() const { return buttons()->button(QDialogButtonBox::Cancel); }

    // The folder is read by another thread: the name may take a moment to appear, and to move to its place.
    bool waitFor(const QString &name) const
    {
        return QTest::qWaitFor([&] { return offers(name) && !names()->visualRect(find(name)).isEmpty(); });
    }
    bool offers(const QString &name) const { return find(name).isValid(); }

    void select(const QString &name) const
    {
        names()->scrollTo(find(name));
        QTest::mouseClick(names()->viewport(), Qt::LeftButton, {}, middleOf(name));
    }
    void doubleClick(const QString &name) const
    {
        select(name);
        QTest::mouseDClick(names()->viewport(), Qt::LeftButton, {}, middleOf(name));
    }
    void pressReturnOn(const QString &name) const
    {
        names()->setFocus();
        names()->setCurrentIndex(find(name));
        QTest::keyClick(names(), Qt::Key_Return);
    }
    void type(const QString &name) const
    {
        edit()->setFocus();
        edit()->selectAll();
        QTest::keyClicks(edit(), name);
        QWidget *const proposals = QApplication::activePopupWidget(); // they have the keyboard while they show
        QTest::keyClick(proposals ? proposals : edit(), Qt::Key_Return);
    }
    void goUp() const
    {
        QTest::mouseClick(m_panel.findChild<QToolButton *>(QStringLiteral("toParentButton")), Qt::LeftButton);
    }
    void click(QPushButton *button) const { QTest::mouseClick(button, Qt::LeftButton); }

private:
    QDialogButtonBox *buttons() const { return m_panel.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox")); }
    QModelIndex find(const QString &name) const
    {
        const QAbstractItemModel *model = names()->model();
        const QModelIndex folder = names()->rootIndex();
        for (int row = 0; row < model->rowCount(folder); ++row) {
            const QModelIndex index = model->index(row, 0, folder);
            if (index.data().toString() == name)
                return index;
        }
        return {};
    }
    QPoint middleOf(const QString &name) const { return names()->visualRect(find(name)).center(); }

    QFileDialog &m_panel;
};
