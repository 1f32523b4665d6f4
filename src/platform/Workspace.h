#pragma once

#include <QString>
#include <QUrl>

// Starts other programs, which live on when this one ends.
class Workspace
{
public:
    virtual ~Workspace() = default;

    // An executable, script or AppImage is started, a desktop entry by its Exec line, a folder bundle by its AppRun
    // (else the executable of its own name), a Windows program by wine; anything else by what the desktop has for it.
    // False when the path is missing or nothing started. For up to three seconds it runs an event loop without user
    // input, while the desktop's tool may still fail.
    virtual bool openFile(const QString &path);
    // Whether openFile starts a program for it, or why not: what is no program, and a Windows program without wine, it
    // leaves to the desktop, which may have something for it or not. Starts nothing.
    enum class Startable { Yes, Missing, EmptyBundle, WithoutGio, WithoutWine, NoProgram };
    static Startable startable(const QString &path);

    // A web address, in the player's browser. No other scheme is opened: pages come from outside.
    virtual bool openURL(const QUrl &url);
    // A folder bundle.
    virtual bool launchApplication(const QString &path);
};
