#pragma once

// Who is told of an installer download, on the main thread.
class InstallerUpgradeDelegate
{
public:
    virtual ~InstallerUpgradeDelegate() = default;
    // Once, at the end. True when the transfer ended normally, whatever it brought.
    virtual void InstallerUpgradeResult(bool result) = 0;
};
