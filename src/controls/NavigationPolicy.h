#pragma once

class QUrl;

// Decides on every navigation of a pane: links, scripts that open windows, frames, refreshes.
class NavigationPolicy
{
public:
    virtual ~NavigationPolicy() = default;
    // True: the pane may go there. False: it stays where it is.
    virtual bool webViewDecidePolicyForNavigationAction(const QUrl &url) = 0;
};
