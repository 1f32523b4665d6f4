#pragma once

#include "platform/Alert.h"

// The alert as a message box. Shown on the main thread. The texts are shown whole and as they stand, never as
// markup; long ones scroll. The title names what it is about and the program.
class AlertWindow : public Alert
{
public:
    int runModal(const AlertContent &content) override;
};
