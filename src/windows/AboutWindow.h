#pragma once

#include <QWidget>

#include <memory>

struct VendorSite;

namespace Ui
{
class AboutWindow;
}

// Tells which program this is: its version, its hosts, the libraries in use and the licences, as a text that a player
// can select and copy for the vendor's support. Deletes itself when it was closed.
class AboutWindow : public QWidget
{
    Q_OBJECT

public:
    AboutWindow(const VendorSite &site, QWidget *parent);
    ~AboutWindow() override;

private:
    void showHead();
    void copy();

    const std::unique_ptr<Ui::AboutWindow> m_ui;
    const QString m_text;
};
