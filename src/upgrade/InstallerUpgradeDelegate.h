#pragma once

// Who is told of an installer download, on the main thread.
class InstallerUpgradeDelegate
{
public:
    virtual ~InstallerUpgradeDelegate() = default;
    // Once, at the end. True: the transfer ended normally; nobody has looked at what came.
    virtual void InstallerUpgradeResult(bool result) = 0;
};
