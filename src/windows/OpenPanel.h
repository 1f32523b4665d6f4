#pragma once

#include <QFileDialog>

class QHeaderView;

// Lets the player choose one thing: a folder, or a file, for which a folder bundle (*.app) counts. Hidden things show
// with Ctrl+H. The toolkit's own dialog, since a desktop's would walk into bundles and hide the places of games.
class OpenPanel : public QFileDialog
{
    Q_OBJECT

public:
    enum Choice { Folders, Files };

    // Opens at the current value, or the nearest parent of it that exists.
    OpenPanel(Choice choice, const QString &current, QWidget *parent);
    ~OpenPanel() override;

    // After exec() gave Accepted; empty when nothing was chosen.
    QString chosen() const;

protected:
    void accept() override;

private:
    QHeaderView *columns() const;
    void layOut();
    void addPlaces();
    void openAt(const QString &stored);
    void toggleHidden();
    void folderEntered(const QString &path);
    void chooseBundle(const QString &path);

    const Choice m_choice;
    QList<QUrl> m_sharedPlaces; // as the base class found them
    QByteArray m_sharedColumns;
    QString m_folder; // shown last
    QString m_bundle;
};
