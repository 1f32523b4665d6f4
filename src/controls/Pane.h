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
    // Loads the file afresh; a missing file leaves the pane empty.
    void loadFile(const QString &path);

private:
    class Page;

    // Shared by all panes and deleted after the last; it stores nothing on disk.
    const std::shared_ptr<QWebEngineProfile> m_profile;
    Page *const m_page;
};
