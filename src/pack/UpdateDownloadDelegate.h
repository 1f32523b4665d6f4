#pragma once

// Who is told of a pack download. Called on the thread that started it.
class UpdateDownloadDelegate
{
public:
    virtual ~UpdateDownloadDelegate() = default;
    // After every piece: a whole number, 0 to 100 when the length is known and true, negative when none was announced.
    virtual void downloadProgressUpdate(double percentage) = 0;
    // Once, at the end. True when the transfer ended normally, whatever it brought.
    virtual void downloadFinishedWithResult(bool result) = 0;
};
