#pragma once

#include <QWebEngineView>

#include <memory>

class NavigationPolicy;
class QWebEngineProfile;

// A web view for local pages with foreign content: their scripts can't read the disk, open windows, download, store or
// ask for anything. Main thread.
class Pane : public QWebEngineView
{
    Q_OBJECT

public:
    explicit Pane(QWidget *parent = nullptr);
    ~Pane() override;

    void setPolicyDelegate(NavigationPolicy *policy); // borrowed; it outlives the pane
    void dressPages(const QString &sheet); // after the house's style and before the page's own; with Theme's names
    // Loads the file afresh; a missing file leaves the pane empty.
    void loadFile(const QString &path);

private:
    class Page;

    void dress(const QPalette &palette);

    // Shared by all panes and deleted after the last; it stores nothing on disk.
    const std::shared_ptr<QWebEngineProfile> m_profile;
    Page *const m_page;
    QString m_sheet;
};
