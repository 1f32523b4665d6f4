#pragma once

#include "platform/Alert.h"

// The alert as a message box. Shown on the main thread. The texts are shown as they stand, long ones cut, never as
// markup.
class AlertWindow : public Alert
{
public:
    int runModal(const AlertContent &content) override;
};
